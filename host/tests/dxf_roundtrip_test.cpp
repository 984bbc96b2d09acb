// Writing a drawing and reading it back gives the same drawing, at every
// version the host writes, with consistent handles and owners.

#include <algorithm>
#include <map>
#include <set>

#include "db/clone.h"
#include "db/polylines.h"
#include "dxf/dxfstream.h"
#include "dxf_test_util.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

const VxDbDxfVersion kWritten[] = {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2004, VxDbDxfVersion::kR2007,
                                   VxDbDxfVersion::kR2010, VxDbDxfVersion::kR2013, VxDbDxfVersion::kR2018};

template <class T>
T* objectAt(VxDbDatabase& db, VxDbObjectId original)
{
    VxDbObjectId id;
    if (db.getVxDbObjectId(id, false, original.handle()) != Velt::eOk)
        return nullptr;
    return T::cast(detail::objectOf(id));
}

void expectNear(const VxGePoint3d& a, const VxGePoint3d& b)
{
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
    EXPECT_NEAR(a.z, b.z, 1e-9);
}
void expectNear(const VxGeVector3d& a, const VxGeVector3d& b) { expectNear(VxGePoint3d::kOrigin + a, VxGePoint3d::kOrigin + b); }

// R2000 files have neither true colours nor transparency.
void expectSameCommon(const VxDbEntity* a, const VxDbEntity* b, VxDbDxfVersion version)
{
    EXPECT_EQ(a->layer(), b->layer());
    EXPECT_EQ(a->linetype(), b->linetype());
    if (version >= VxDbDxfVersion::kR2004) {
        EXPECT_EQ(a->entityColor().color(), b->entityColor().color());
        EXPECT_EQ(a->transparency().serializeOut(), b->transparency().serializeOut());
    } else {
        EXPECT_EQ(a->colorIndex(), b->colorIndex());
    }
    EXPECT_EQ(a->lineWeight(), b->lineWeight());
    EXPECT_EQ(a->linetypeScale(), b->linetypeScale());
    EXPECT_EQ(a->visibility(), b->visibility());
}

// Every group of a written file: handles unique, owners and pointers naming
// objects of the file, the seed above every handle.
void checkHandles(std::string_view text)
{
    dxf::GroupReader in(text);
    std::set<uint64_t> handles;
    std::vector<uint64_t> references;
    uint64_t seed = 0;
    bool nextIsSeed = false;
    std::string type;
    while (in.next()) {
        uint64_t h = 0;
        if (in.code() == 0)
            type = std::string(in.value());
        if (in.code() == 9)
            nextIsSeed = in.value() == "$HANDSEED";
        else if (in.code() == 5 && nextIsSeed) {
            ASSERT_TRUE(in.toHandle(seed));
            nextIsSeed = false;
        } else if ((in.code() == 5 || (in.code() == 105 && type == "DIMSTYLE")) && in.toHandle(h)) {
            EXPECT_TRUE(handles.insert(h).second) << "handle " << std::hex << h << " twice";
        } else if (dxf::isReferenceCode(in.code()) && in.toHandle(h) && h != 0) {
            references.push_back(h);
        }
    }
    ASSERT_FALSE(in.failed()) << in.message();
    ASSERT_FALSE(handles.empty());
    EXPECT_GT(seed, *handles.rbegin());
    for (uint64_t h : references)
        EXPECT_TRUE(handles.count(h)) << "a reference to " << std::hex << h << ", which is no object";
}

// The text without what a new write gives out anew (block begin and end
// handles, the seed), reals to 12 digits: object coordinates go through a
// transformation and back.
std::string withoutFreshHandles(std::string_view text)
{
    dxf::GroupReader in(text);
    std::string out;
    std::string type;
    bool seed = false;
    while (in.next()) {
        if (in.code() == 0)
            type = std::string(in.value());
        const bool skip = (in.code() == 5 && (type == "BLOCK" || type == "ENDBLK" || seed)) ||
                          (in.code() == 330 && (type == "APPID"));
        seed = in.code() == 9 && in.value() == "$HANDSEED";
        if (skip)
            continue;
        double real = 0.0;
        char digits[32];
        if (dxf::valueKindOf(in.code()) == dxf::ValueKind::kDouble && in.toDouble(real)) {
            std::snprintf(digits, sizeof(digits), "%.12g", std::fabs(real) < 1e-12 ? 0.0 : real);
            out += std::to_string(in.code()) + "=" + digits + "\n";
        } else {
            out += std::to_string(in.code()) + "=" + std::string(in.value()) + "\n";
        }
    }
    return out;
}

}  // namespace

TEST(DxfRoundTrip, EveryVersionKeepsWhatTheHostModels)
{
    VxDbDatabase db;
    const Sample s = buildSample(db);
    for (VxDbDxfVersion version : kWritten) {
        SCOPED_TRACE(vxdbDxfVersionName(version));
        const std::string text = toDxf(db, version);
        checkHandles(text);
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> back = fromDxf(text, &info);
        ASSERT_TRUE(back);
        EXPECT_EQ(info.version, version);
        EXPECT_EQ(info.opaqueEntities, 0u);
        EXPECT_EQ(info.remappedHandles, 0u);

        // Tables.
        auto* walls = objectAt<VxDbLayerTableRecord>(*back, s.walls);
        ASSERT_NE(walls, nullptr);
        EXPECT_EQ(walls->name(), L"Walls");
        EXPECT_EQ(walls->color().colorIndex(), VxCmColor(static_cast<VxDbLayerTableRecord*>(detail::objectOf(s.walls))->color()).colorIndex());
        if (version >= VxDbDxfVersion::kR2004) {
            EXPECT_EQ(walls->color().red(), 10);
            EXPECT_EQ(walls->color().green(), 200);
        }
        EXPECT_EQ(walls->linetypeObjectId().handle(), s.hidden.handle());
        EXPECT_EQ(walls->lineWeight(), VxDb::kLnWt050);
        EXPECT_TRUE(walls->isLocked());
        EXPECT_EQ(walls->description(), L"Outer walls");
        EXPECT_EQ(walls->transparency().alpha(), 128);
        auto* schema = VxDbLayerTableRecord::cast(detail::objectOf(back->layerId(L"Схема")));
        ASSERT_NE(schema, nullptr);
        EXPECT_TRUE(schema->isOff());
        EXPECT_TRUE(schema->isFrozen());
        EXPECT_FALSE(schema->isPlottable());
        EXPECT_EQ(schema->colorIndex(), 5);
        auto* hidden = objectAt<VxDbLinetypeTableRecord>(*back, s.hidden);
        ASSERT_NE(hidden, nullptr);
        EXPECT_EQ(hidden->numDashes(), 2);
        EXPECT_EQ(hidden->dashLengthAt(1), -0.125);
        EXPECT_EQ(hidden->comments(), L"Hidden __ __ __");
        auto* notes = VxDbTextStyleTableRecord::cast(detail::objectOf(back->textStyleId(L"Notes")));
        ASSERT_NE(notes, nullptr);
        EXPECT_NEAR(notes->obliquingAngle(), 0.2, 1e-12);
        std::wstring face;
        bool bold = false, italic = true;
        int charset = -1, pitch = -1;
        notes->font(face, bold, italic, charset, pitch);
        EXPECT_EQ(face, L"Arial");
        EXPECT_TRUE(bold);
        EXPECT_FALSE(italic);
        EXPECT_EQ(pitch, 34);
        auto* metric = VxDbDimStyleTableRecord::cast(
            detail::objectOf(VxDbSymbolTable::cast(detail::objectOf(back->dimStyleTableId()))->getIdAt(L"Metric")));
        ASSERT_NE(metric, nullptr);
        EXPECT_EQ(metric->dimasz(), 0.25);
        EXPECT_EQ(metric->dimInt(VxDbDimVar::kDimDec), 2);
        EXPECT_EQ(metric->dimText(VxDbDimVar::kDimPost), L"<> mm");
        auto* ucs = VxDbUCSTableRecord::cast(
            detail::objectOf(VxDbSymbolTable::cast(detail::objectOf(back->UCSTableId()))->getIdAt(L"Turned")));
        ASSERT_NE(ucs, nullptr);
        expectNear(ucs->xAxis(), VxGeVector3d{0, 1, 0});

        // Blocks and entities.
        auto* door = objectAt<VxDbBlockTableRecord>(*back, s.block);
        ASSERT_NE(door, nullptr);
        EXPECT_EQ(door->entityIds().size(), 2u);
        EXPECT_EQ(door->comments(), L"A door");
        expectNear(door->origin(), VxGePoint3d{1, 1, 0});

        auto* line = objectAt<VxDbLine>(*back, s.line);
        auto* line0 = VxDbLine::cast(detail::objectOf(s.line));
        ASSERT_NE(line, nullptr);
        expectSameCommon(line0, line, version);
        expectNear(line->startPoint(), line0->startPoint());
        expectNear(line->endPoint(), line0->endPoint());
        EXPECT_EQ(line->thickness(), 0.5);
        VxResBufPtr xdata(line->xData(L"KXTEST"));
        VxResBufPtr xdata0(line0->xData(L"KXTEST"));
        EXPECT_TRUE(vxutChainsEqual(xdata.get(), xdata0.get()));
        auto* circle = objectAt<VxDbCircle>(*back, s.circle);
        auto* circle0 = VxDbCircle::cast(detail::objectOf(s.circle));
        ASSERT_NE(circle, nullptr);
        expectSameCommon(circle0, circle, version);
        expectNear(circle->center(), circle0->center());
        expectNear(circle->normal(), circle0->normal());
        EXPECT_NEAR(circle->radius(), 2.0, 1e-12);
        auto* arc = objectAt<VxDbArc>(*back, s.arc);
        auto* arc0 = VxDbArc::cast(detail::objectOf(s.arc));
        ASSERT_NE(arc, nullptr);
        expectSameCommon(arc0, arc, version);
        expectNear(arc->center(), arc0->center());
        EXPECT_NEAR(arc->startAngle(), arc0->startAngle(), 1e-12);
        EXPECT_NEAR(arc->endAngle(), arc0->endAngle(), 1e-12);
        auto* ellipse = objectAt<VxDbEllipse>(*back, s.ellipse);
        ASSERT_NE(ellipse, nullptr);
        EXPECT_EQ(ellipse->visibility(), VxDb::kInvisible);
        expectNear(ellipse->majorAxis(), VxGeVector3d{3, 4, 0});
        EXPECT_EQ(ellipse->radiusRatio(), 0.4);
        auto* ellipse0 = VxDbEllipse::cast(detail::objectOf(s.ellipse));
        EXPECT_EQ(ellipse->startParam(), ellipse0->startParam());
        EXPECT_EQ(ellipse->endParam(), ellipse0->endParam());
        auto* point = objectAt<VxDbPoint>(*back, s.point);
        ASSERT_NE(point, nullptr);
        EXPECT_NEAR(point->ecsRotation(), 0.75, 1e-12);
        auto* ray = objectAt<VxDbRay>(*back, s.ray);
        ASSERT_NE(ray, nullptr);
        expectNear(ray->unitDir(), VxGeVector3d{1, 1, 0}.normal());
        auto* xline = objectAt<VxDbXline>(*back, s.xline);
        ASSERT_NE(xline, nullptr);
        expectNear(xline->unitDir(), VxGeVector3d{0, 0, 1});
        auto* insert = objectAt<VxDbBlockReference>(*back, s.insert);
        ASSERT_NE(insert, nullptr);
        EXPECT_EQ(insert->blockTableRecord(), door->objectId());
        expectNear(insert->scaleFactors(), VxGeVector3d{2, 2, 1});
        EXPECT_NEAR(insert->rotation(), kPi / 6, 1e-12);
        auto* paper = VxDbBlockTableRecord::cast(detail::objectOf(back->paperSpaceId()));
        ASSERT_NE(paper, nullptr);
        EXPECT_EQ(paper->entityIds().size(), 1u);

        // Objects: the extension dictionary and its record, the group.
        auto* xrecord = objectAt<VxDbXrecord>(*back, s.xrecord);
        ASSERT_NE(xrecord, nullptr);
        EXPECT_EQ(xrecord->ownerId(), line->extensionDictionary());
        const VxResBuf* data = xrecord->data();
        ASSERT_EQ(vxutChainLength(data), 5u);
        EXPECT_EQ(std::wstring(data->resval.rstring), L"note");
        EXPECT_EQ(data->rbnext->resval.rreal, 3.25);
        const VxResBuf* ref = data->rbnext->rbnext->rbnext->rbnext;
        EXPECT_EQ(ref->restype, 340);
        EXPECT_EQ(VxDbObjectId::fromOldId(ref->resval.rlname[0]), circle->objectId());
        auto* group = objectAt<VxDbGroup>(*back, s.group);
        ASSERT_NE(group, nullptr);
        EXPECT_EQ(group->name(), L"PAIR");
        EXPECT_EQ(group->description(), L"Two shapes");
        EXPECT_EQ(group->allEntityIds(), (VxDbObjectIdArray{line->objectId(), circle->objectId()}));

        // The header, and the drawing's standard contents.
        EXPECT_EQ(back->textsize(), 0.35);
        EXPECT_EQ(back->insunits(), VxDb::kUnitsMillimeters);
        EXPECT_EQ(back->limmax().x, 420.0);
        EXPECT_EQ(back->clayer(), walls->objectId());
        EXPECT_EQ(back->ltscale(), 2.0);
        EXPECT_FALSE(back->layerZero().isNull());
        EXPECT_FALSE(back->byLayerLinetype().isNull());
        EXPECT_EQ(back->layoutDictionaryId().handle(), db.layoutDictionaryId().handle());
        EXPECT_GE(back->handseed().value(), db.handseed().value());
        VxDbLayoutManager* layouts = vxdbHostApplicationServices()->layoutManager();
        EXPECT_TRUE(layouts->layoutExists(L"Model", back.get()));
        EXPECT_TRUE(layouts->layoutExists(L"Layout1", back.get()));
    }
}

TEST(DxfRoundTrip, WritingWhatWasReadGivesTheSameFile)
{
    VxDbDatabase db;
    buildSample(db);
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        const std::string first = toDxf(db, version);
        std::unique_ptr<VxDbDatabase> back = fromDxf(first);
        ASSERT_TRUE(back);
        const std::string second = toDxf(*back, version);
        EXPECT_EQ(withoutFreshHandles(first), withoutFreshHandles(second));
    }
}

TEST(DxfRoundTrip, PrecisionAndVersionCodes)
{
    VxDbDatabase db;
    append(db, db.modelSpaceId(), new VxDbLine({1.0 / 3.0, 0.1, 0}, {2, 1e-20, 12345.678901234567}));
    const std::string exact = toDxf(db, VxDbDxfVersion::kR2018, 0);
    EXPECT_NE(exact.find("\n0.3333333333333333\n"), std::string::npos);
    EXPECT_NE(exact.find("\n1e-20\n"), std::string::npos);
    const std::string rounded = toDxf(db, VxDbDxfVersion::kR2018, 6);
    EXPECT_NE(rounded.find("\n0.333333\n"), std::string::npos);
    EXPECT_NE(rounded.find("\n12345.7\n"), std::string::npos);
    std::string out;
    EXPECT_EQ(vxdbWriteDxf(&db, out, VxDbDxfVersion::kR12), Velt::eInvalidInput);
    EXPECT_EQ(vxdbWriteDxf(&db, out, VxDbDxfVersion::kR2018, -1), Velt::eInvalidInput);
    EXPECT_EQ(vxdbWriteDxf(nullptr, out), Velt::eNoDatabase);

    VxDbDxfVersion version;
    EXPECT_EQ(vxdbDxfVersionOfSaveCode(VxDb::kSaveCurrent, version), Velt::eOk);
    EXPECT_EQ(version, VxDbDxfVersion::kR2018);
    EXPECT_EQ(vxdbDxfVersionOfSaveCode(24, version), Velt::eOk);
    EXPECT_EQ(version, VxDbDxfVersion::kR2000);
    EXPECT_EQ(vxdbDxfVersionOfSaveCode(30, version), Velt::eOk);
    EXPECT_EQ(version, VxDbDxfVersion::kR2010);
    EXPECT_EQ(vxdbDxfVersionOfSaveCode(12, version), Velt::eInvalidInput);
    EXPECT_EQ(vxdbDxfVersionOfSaveCode(99, version), Velt::eInvalidInput);
    EXPECT_TRUE(vxdbDxfVersionFromName("AC1024", version));
    EXPECT_EQ(version, VxDbDxfVersion::kR2010);
    EXPECT_FALSE(vxdbDxfVersionFromName("AC10x4", version));
}

TEST(DxfRoundTrip, TextBeyondAsciiInEveryEncoding)
{
    VxDbDatabase db;
    vxdbRegApp(L"KXTEST", &db);
    auto* layer = new VxDbLayerTableRecord();
    addRecord(db.layerTableId(), layer, L"Ébène-層");
    const VxDbObjectId id = append(db, db.modelSpaceId(), new VxDbPoint({1, 2, 3}));
    {
        VxDbObjectPointer<VxDbPoint> point(id, VxDb::kForWrite);
        point->setLayer(L"Ébène-層");
        VxResBufPtr xdata = vxutChain({vxutNewString(1001, L"KXTEST"), vxutNewString(1000, L"€ 5 \\ ∑ 😀")});
        ASSERT_EQ(point->setXData(xdata.get()), Velt::eOk);
    }
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2004, VxDbDxfVersion::kR2007}) {
        const std::string text = toDxf(db, version);
        if (version < VxDbDxfVersion::kR2007) {
            // The code page where it has the character, an escape where not.
            EXPECT_NE(text.find("\xC9" "b\xE8" "ne-\\U+5C64"), std::string::npos);
            EXPECT_NE(text.find("\x80 5 \\ \\U+2211 \\U+D83D\\U+DE00"), std::string::npos);
        }
        std::unique_ptr<VxDbDatabase> back = fromDxf(text);
        ASSERT_TRUE(back);
        auto* point = objectAt<VxDbPoint>(*back, id);
        ASSERT_NE(point, nullptr);
        EXPECT_EQ(point->layer(), L"Ébène-層");
        VxResBufPtr xdata(point->xData(L"KXTEST"));
        ASSERT_TRUE(xdata && xdata->rbnext);
        EXPECT_EQ(std::wstring(xdata->rbnext->resval.rstring), L"€ 5 \\ ∑ 😀");
    }
}

TEST(DxfRoundTrip, KeptRecordsFollowTheirReferences)
{
    // A kind the host does not model, pointing at a layer and an entity.
    const std::string text =
        "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1032\n9\n$HANDSEED\n5\n100\n9\n$SOMEVAR\n70\n42\n0\nENDSEC\n"
        "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLAYER\n5\n2\n330\n0\n100\nAcDbSymbolTable\n70\n1\n"
        "0\nLAYER\n5\n10\n330\n2\n100\nAcDbSymbolTableRecord\n100\nAcDbLayerTableRecord\n2\n0\n70\n0\n62\n7\n6\nContinuous\n"
        "0\nLAYER\n5\n11\n330\n2\n100\nAcDbSymbolTableRecord\n100\nAcDbLayerTableRecord\n2\nA\n70\n0\n62\n3\n6\nContinuous\n"
        "0\nENDTAB\n0\nENDSEC\n"
        "0\nSECTION\n2\nENTITIES\n"
        "0\nLINE\n5\n20\n100\nAcDbEntity\n8\nA\n100\nAcDbLine\n10\n0\n20\n0\n30\n0\n11\n1\n21\n1\n31\n0\n"
        "0\nFANCY\n5\n21\n100\nAcDbEntity\n8\nA\n62\n4\n100\nAcDbFancy\n1\n  text with blanks  \n40\n1.50\n340\n20\n"
        "0\nPOLYLINE\n5\n22\n100\nAcDbEntity\n8\n0\n100\nAcDbPolygonMesh\n66\n1\n10\n0\n20\n0\n30\n0\n70\n16\n"
        "0\nVERTEX\n5\n23\n100\nAcDbEntity\n8\n0\n100\nAcDbVertex\n100\nAcDbPolygonMeshVertex\n10\n1\n20\n2\n30\n0\n"
        "70\n64\n"
        "0\nSEQEND\n5\n24\n100\nAcDbEntity\n8\n0\n"
        "0\nENDSEC\n0\nEOF\n";
    VxDbDxfReadInfo info;
    std::unique_ptr<VxDbDatabase> db = fromDxf(text, &info);
    ASSERT_TRUE(db);
    EXPECT_EQ(info.opaqueEntities, 2u);
    VxDbObjectId fancyId, lineId;
    ASSERT_EQ(db->getVxDbObjectId(fancyId, false, VxDbHandle(0x21)), Velt::eOk);
    ASSERT_EQ(db->getVxDbObjectId(lineId, false, VxDbHandle(0x20)), Velt::eOk);
    auto* fancy = VxDbDxfOpaqueEntity::cast(detail::objectOf(fancyId));
    ASSERT_NE(fancy, nullptr);
    EXPECT_EQ(fancy->dxfName(), "FANCY");
    EXPECT_EQ(fancy->layer(), L"A");
    EXPECT_EQ(fancy->colorIndex(), 4);
    ASSERT_EQ(fancy->groups().size(), 4u);
    EXPECT_EQ(fancy->groups()[1].value, "  text with blanks  ");
    EXPECT_EQ(fancy->groups()[2].value, "1.50");
    EXPECT_EQ(fancy->groups()[3].ref, lineId);

    // Written back: the kept groups unchanged, the vertices after their polyline.
    const std::string written = toDxf(*db);
    EXPECT_NE(written.find("100\nAcDbFancy\n  1\n  text with blanks  \n 40\n1.50\n340\n20\n"), std::string::npos);
    EXPECT_NE(written.find("  0\nVERTEX\n  5\n23\n330\n22\n"), std::string::npos);
    EXPECT_NE(written.find("  0\nSEQEND\n  5\n24\n330\n22\n"), std::string::npos);
    EXPECT_NE(written.find("$SOMEVAR\n 70\n42\n"), std::string::npos);
    checkHandles(written);

    // Copied within the drawing, the copy's records get handles of their own.
    {
        VxDbObjectPointer<VxDbBlockTableRecord> space(db->modelSpaceId(), VxDb::kForWrite);
        VxDbObjectId polylineId;
        ASSERT_EQ(db->getVxDbObjectId(polylineId, false, VxDbHandle(0x22)), Velt::eOk);
        VxDbIdMapping map;
        space.close();
        ASSERT_EQ(db->deepCloneObjects({polylineId, fancyId}, db->modelSpaceId(), map), Velt::eOk);
    }
    const std::string copied = toDxf(*db);
    checkHandles(copied);
    std::unique_ptr<VxDbDatabase> again = fromDxf(copied);
    ASSERT_TRUE(again);
}

TEST(DxfRoundTrip, KeptRecordNamesAreWrittenWhole)
{
    // A record type with zero bytes in it is no "ENDSEC": written whole (in caret notation), it
    // stays a kept record rather than ending the section early.
    std::string text = "0\nSECTION\n2\nENTITIES\n0\nENDSEC";
    text += std::string(3, '\0') + "  \n5\n30\n100\nAcDbEntity\n8\n0\n0\nENDSEC\n0\nEOF\n";
    std::unique_ptr<VxDbDatabase> db = fromDxf(text);
    ASSERT_TRUE(db);
    const std::string written = toDxf(*db);
    EXPECT_NE(written.find("  0\nENDSEC^@^@^@\n"), std::string::npos);
    std::unique_ptr<VxDbDatabase> again = fromDxf(written);
    ASSERT_TRUE(again);
    EXPECT_NE(toDxf(*again).find("  0\nENDSEC^@^@^@\n  5\n30\n"), std::string::npos);
}

TEST(DxfRoundTrip, ErasedObjectsAreLeftOut)
{
    VxDbDatabase db;
    const Sample s = buildSample(db);
    {
        VxDbObjectPointer<VxDbCircle> circle(s.circle, VxDb::kForWrite);
        ASSERT_EQ(circle->erase(), Velt::eOk);
    }
    const std::string text = toDxf(db);
    checkHandles(text);  // the group and the extended record no longer point at it
    std::unique_ptr<VxDbDatabase> back = fromDxf(text);
    ASSERT_TRUE(back);
    VxDbObjectId id;
    EXPECT_EQ(back->getVxDbObjectId(id, false, s.circle.handle()), Velt::eKeyNotFound);
    auto* group = objectAt<VxDbGroup>(*back, s.group);
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->numEntities(), 1);
}

// Records that entities add of their own (vertices and end records) take handles the seed
// must cover, whether or not such an entity is there, in a space or a block's definition.
TEST(DxfRoundTrip, SeedCoversRecordsEntitiesAdd)
{
    auto polyline = [] {
        auto* poly = new VxDb3dPolyline();
        for (double x : {0.0, 1.0, 2.0})
            EXPECT_EQ(poly->appendVertex(std::make_unique<VxDb3dPolylineVertex>(VxGePoint3d{x, x * x, 0.0})), Velt::eOk);
        return poly;
    };
    VxDbDatabase db;
    for (int i = 0; i < 3; ++i)
        append(db, db.modelSpaceId(), new VxDbLine({0, 0, 0}, {double(i), 1, 0}));
    const std::string linesOnly = toDxf(db);
    checkHandles(linesOnly);

    const VxDbObjectId frame = addRecord(db.blockTableId(), new VxDbBlockTableRecord(), L"FRAME");
    append(db, frame, polyline());
    append(db, frame, polyline());
    const std::string inBlock = toDxf(db);
    checkHandles(inBlock);
    append(db, db.paperSpaceId(), polyline());
    checkHandles(toDxf(db));

    // Read back and written again: the vertices are still there to count.
    std::unique_ptr<VxDbDatabase> back = fromDxf(inBlock);
    ASSERT_TRUE(back);
    const std::string again = toDxf(*back);
    checkHandles(again);
    EXPECT_EQ(std::count(again.begin(), again.end(), '\n') - std::count(inBlock.begin(), inBlock.end(), '\n'), 0);
}
