// Texts and attributed blocks in the host: the attributes a reference gets from its block,
// what exploding gives, the character-cell extents, the plain view of a multiline text, and
// references with their attributes through a file and back.

#include "dxf_test_util.h"
#include "db/arctext.h"
#include "db/dimoverride.h"
#include "ge/matrix.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

VxDbObjectId addDefinition(VxDbDatabase& db, VxDbObjectId block, const wchar_t* tag, const wchar_t* value,
                           int16_t flags, double y)
{
    auto* definition = new VxDbAttributeDefinition();
    definition->setDatabaseDefaults(&db);
    definition->setTag(tag);
    definition->setTextString(value);
    definition->setAttributeFlags(flags);
    definition->setPosition({1, y, 0});
    definition->setHeight(0.5);
    return append(db, block, definition);
}

// A block with a line and three attribute definitions (the last constant), inserted once with
// its attributes.
struct TitleBlock {
    VxDbObjectId block, insert;
};

TitleBlock titleBlock(VxDbDatabase& db)
{
    TitleBlock t;
    t.block = addRecord(db.blockTableId(), new VxDbBlockTableRecord(), L"TITLE");
    append(db, t.block, new VxDbLine({0, 0, 0}, {10, 0, 0}));
    addDefinition(db, t.block, L"PROJECT", L"Unnamed", 0, 1);
    addDefinition(db, t.block, L"DRAWN", L"nobody", VxDbAttributeFlags::kInvisible, 2);
    addDefinition(db, t.block, L"COMPANY", L"NkAuto Works", VxDbAttributeFlags::kConstant, 3);
    auto* insert = new VxDbBlockReference({100, 50, 0}, t.block);
    insert->setDatabaseDefaults(&db);
    insert->setScaleFactors({2, 2, 2});
    t.insert = append(db, db.modelSpaceId(), insert);
    VxDbObjectPointer<VxDbBlockReference> reference(t.insert, VxDb::kForWrite);
    EXPECT_EQ(UpdataBlkAttribute(reference.get()), Velt::eOk);
    return t;
}

std::vector<std::pair<std::wstring, std::wstring>> attributesOf(VxDbObjectId insert)
{
    std::vector<std::pair<std::wstring, std::wstring>> out;
    VxDbObjectPointer<VxDbBlockReference> reference(insert, VxDb::kForRead);
    for (VxDbObjectId id : reference->attributeIds()) {
        VxDbObjectPointer<VxDbAttribute> attribute(id, VxDb::kForRead);
        if (attribute)
            out.emplace_back(attribute->tag(), attribute->textString());
    }
    return out;
}

}  // namespace

// The block's definitions that are not constant become attributes where the reference puts
// them; a second call adds none.
TEST(DbTexts, ReferencesGetTheirBlocksAttributesOnce)
{
    VxDbDatabase db;
    const TitleBlock t = titleBlock(db);
    using Pairs = std::vector<std::pair<std::wstring, std::wstring>>;
    EXPECT_EQ(attributesOf(t.insert), (Pairs{{L"PROJECT", L"Unnamed"}, {L"DRAWN", L"nobody"}}));
    {
        VxDbObjectPointer<VxDbBlockReference> reference(t.insert, VxDb::kForWrite);
        EXPECT_EQ(UpdataBlkAttribute(reference.get()), Velt::eOk);
        ASSERT_EQ(reference->attributeIds().size(), 2u);
        VxDbObjectPointer<VxDbAttribute> project(reference->attributeIds()[0], VxDb::kForRead);
        EXPECT_TRUE(project->position().isEqualTo({102, 52, 0}));
        EXPECT_DOUBLE_EQ(project->height(), 1.0);
        EXPECT_EQ(project->ownerId(), t.insert);
    }
    // Moved, the attributes go along.
    {
        VxDbObjectPointer<VxDbBlockReference> reference(t.insert, VxDb::kForWrite);
        ASSERT_EQ(reference->transformBy(VxGeMatrix3d::translation({-100, 0, 0})), Velt::eOk);
    }
    VxDbObjectPointer<VxDbBlockReference> reference(t.insert, VxDb::kForRead);
    VxDbObjectPointer<VxDbAttribute> project(reference->attributeIds()[0], VxDb::kForRead);
    EXPECT_TRUE(project->position().isEqualTo({2, 52, 0}));
}

// Exploding leaves the definitions out, gives the constant one as a text and the visible
// attributes as texts of their values.
TEST(DbTexts, ExplodeGivesTextsForValues)
{
    VxDbDatabase db;
    const TitleBlock t = titleBlock(db);
    VxDbObjectPointer<VxDbBlockReference> reference(t.insert, VxDb::kForRead);
    std::vector<VxDbEntity*> made;
    ASSERT_EQ(reference->explode(made), Velt::eOk);
    std::vector<std::unique_ptr<VxDbEntity>> owned(made.begin(), made.end());
    std::vector<std::wstring> texts;
    size_t lines = 0;
    for (const auto& e : owned) {
        EXPECT_EQ(VxDbAttributeDefinition::cast(e.get()), nullptr);
        EXPECT_EQ(VxDbAttribute::cast(e.get()), nullptr);
        if (auto* text = VxDbText::cast(e.get()))
            texts.push_back(text->textString());
        if (auto* line = VxDbLine::cast(e.get())) {
            ++lines;
            EXPECT_TRUE(line->endPoint().isEqualTo({120, 50, 0}));
        }
    }
    EXPECT_EQ(lines, 1u);
    EXPECT_EQ(texts, (std::vector<std::wstring>{L"NkAuto Works", L"Unnamed"}));  // DRAWN is invisible
}

// Character cells: height × width factor a character, slanted, turned with the text.
TEST(DbTexts, ExtentsComeFromCharacterCells)
{
    VxDbText text({1, 2, 0}, L"ABCD", 2.0);
    text.setWidthFactor(0.5);
    VxGeExtents3d box;
    ASSERT_EQ(text.getGeomExtents(box), Velt::eOk);
    EXPECT_TRUE(box.minPoint().isEqualTo({1, 2, 0}));
    EXPECT_TRUE(box.maxPoint().isEqualTo({5, 4, 0}));
    text.setRotation(kPi / 2);
    ASSERT_EQ(text.getGeomExtents(box), Velt::eOk);
    EXPECT_TRUE(box.minPoint().isEqualTo({-1, 2, 0}));
    EXPECT_TRUE(box.maxPoint().isEqualTo({1, 6, 0}));

    VxDbMText mtext;
    mtext.setContents(L"{\\fArial|b1;Bold} \\S1/2; and\\Pnext %%d \\\\ done");
    EXPECT_EQ(mtext.plainText(), L"Bold 1/2 and\nnext \u00B0 \\ done");
}

// A reference with its attributes, written and read again, owns the same attributes; the
// end record is not left behind as an entity of its own.
TEST(DbTexts, AttributesTravelWithTheirReferenceThroughFiles)
{
    VxDbDatabase db;
    const TitleBlock t = titleBlock(db);
    {
        VxDbObjectPointer<VxDbBlockReference> reference(t.insert, VxDb::kForRead);
        VxDbObjectPointer<VxDbAttribute> project(reference->attributeIds()[0], VxDb::kForWrite);
        project->setTextString(L"Harbour Office");
    }
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> back = fromDxf(toDxf(db, version), &info);
        ASSERT_TRUE(back);
        EXPECT_EQ(info.opaqueEntities, 0u);
        VxDbObjectId insert;
        ASSERT_EQ(back->getVxDbObjectId(insert, false, t.insert.handle()), Velt::eOk);
        using Pairs = std::vector<std::pair<std::wstring, std::wstring>>;
        EXPECT_EQ(attributesOf(insert), (Pairs{{L"PROJECT", L"Harbour Office"}, {L"DRAWN", L"nobody"}}));
        VxDbObjectPointer<VxDbBlockTableRecord> space(back->modelSpaceId(), VxDb::kForRead);
        EXPECT_EQ(space->entityIds().size(), 1u);
        // And out and in again, the same attributes.
        std::unique_ptr<VxDbDatabase> again = fromDxf(toDxf(*back, version));
        ASSERT_TRUE(again);
        VxDbObjectId insertAgain;
        ASSERT_EQ(again->getVxDbObjectId(insertAgain, false, t.insert.handle()), Velt::eOk);
        EXPECT_EQ(attributesOf(insertAgain), attributesOf(insert));
    }
}

// A frame takes its text height, colours, scale and text style from its dimension style
// until it has its own; its own are kept as the style overrides of drawing files, beside
// other data of "ACAD", and come back from a file.
TEST(DbTexts, FrameOverridesItsDimensionStyle)
{
    VxDbDatabase db;
    auto* frame = new VxDbFcf(L"%%v0.1", {0, 0, 0}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis);
    const VxDbObjectId id = append(db, db.modelSpaceId(), frame);
    const VxDbObjectId standardText = db.textStyleId(L"Standard");
    auto* notesStyle = new VxDbTextStyleTableRecord();
    const VxDbObjectId notes = addRecord(db.textStyleTableId(), notesStyle, L"Notes");
    {
        VxDbObjectPointer<VxDbFcf> f(id, VxDb::kForWrite);
        EXPECT_DOUBLE_EQ(f->textHeight(), 0.18);
        EXPECT_DOUBLE_EQ(f->scaleFactor(), 1.0);
        EXPECT_EQ(f->textColor(), 0);
        EXPECT_EQ(f->textStyle(), standardText);
        VxResBufPtr other(vxutChain({vxutNewString(1001, L"ACAD"), vxutNewString(1000, L"keep")}));
        ASSERT_EQ(f->setXData(other.get()), Velt::eOk);
        ASSERT_EQ(f->setTextHeight(0.5), Velt::eOk);
        ASSERT_EQ(f->setTextHeight(0.75), Velt::eOk);  // replaces, does not add
        ASSERT_EQ(f->setTextColor(1), Velt::eOk);
        ASSERT_EQ(f->setTextStyle(notes), Velt::eOk);
        // Refused: nothing changes.
        VxDbDatabase elsewhere;
        EXPECT_NE(f->setTextHeight(std::nan("")), Velt::eOk);
        EXPECT_NE(f->setTextHeight(0.0), Velt::eOk);
        EXPECT_NE(f->setScaleFactor(-1.0), Velt::eOk);
        EXPECT_NE(f->setTextColor(257), Velt::eOk);
        EXPECT_NE(f->setDimensionLineColor(-1), Velt::eOk);
        EXPECT_NE(f->setTextStyle(elsewhere.textStyleId(L"Standard")), Velt::eOk);
        EXPECT_NE(f->setTextStyle(db.layerZero()), Velt::eOk);
        EXPECT_NE(f->setTextStyle(VxDbObjectId()), Velt::eOk);
        const VxResBufPtr acad(f->xData(L"ACAD"));
        std::vector<std::wstring> items;
        for (const VxResBuf* rb = acad.get(); rb; rb = rb->rbnext) {
            std::wstring item = std::to_wstring(rb->restype) + L"=";
            if (vxutStorageOf(rb->restype) == VxRbStorage::kString) item += vxView(rb->resval.rstring);
            else if (rb->restype == 1070) item += std::to_wstring(rb->resval.rint);
            else if (rb->restype == 1040) item += std::to_wstring(rb->resval.rreal);
            items.push_back(item);
        }
        EXPECT_EQ(items, (std::vector<std::wstring>{L"1001=ACAD", L"1000=keep", L"1000=DSTYLE", L"1002={", L"1070=140",
                                                    L"1040=0.750000", L"1070=178", L"1070=1", L"1070=340",
                                                    L"1005=" + notes.handle().toString(), L"1002=}"}));
    }
    {
        // What is not overridden follows the style.
        VxDbObjectPointer<VxDbSymbolTable> styles(db.dimStyleTableId(), VxDb::kForRead);
        VxDbDimStyleTableRecord* standard = nullptr;
        ASSERT_EQ(styles->getAt(L"Standard", standard, VxDb::kForWrite), Velt::eOk);
        ASSERT_EQ(standard->setDimReal(VxDbDimVar::kDimScale, 4.0), Velt::eOk);
        ASSERT_EQ(standard->setDimReal(VxDbDimVar::kDimTxt, 0.3), Velt::eOk);
        standard->close();
    }
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        std::unique_ptr<VxDbDatabase> back = fromDxf(toDxf(db, version));
        ASSERT_TRUE(back);
        VxDbObjectId again;
        ASSERT_EQ(back->getVxDbObjectId(again, false, id.handle()), Velt::eOk);
        VxDbObjectPointer<VxDbFcf> f(again, VxDb::kForWrite);
        ASSERT_TRUE(f);
        EXPECT_DOUBLE_EQ(f->textHeight(), 0.75);
        EXPECT_DOUBLE_EQ(f->scaleFactor(), 4.0);
        EXPECT_EQ(f->textColor(), 1);
        EXPECT_EQ(f->textStyle(), back->textStyleId(L"Notes"));
        // Removing the overrides leaves the other data.
        for (VxDbDimVar var : {VxDbDimVar::kDimTxt, VxDbDimVar::kDimClrT, VxDbDimVar::kDimTxSty})
            ASSERT_EQ(vxdbRemoveDimOverride(f.get(), var), Velt::eOk);
        EXPECT_DOUBLE_EQ(f->textHeight(), 0.3);
        const VxResBufPtr acad(f->xData(L"ACAD"));
        ASSERT_TRUE(acad && acad->rbnext);
        EXPECT_EQ(vxView(acad->rbnext->resval.rstring), L"keep");
        EXPECT_EQ(acad->rbnext->rbnext, nullptr);
    }
}

// Text along an arc keeps the arc's geometry and the arc itself: through a file (the arc by
// its handle), a copy and a move it follows the arc's place, and it forgets an erased arc.
TEST(DbTexts, ArcTextKeepsItsArc)
{
    VxDbDatabase db;
    auto* arc = new VxDbArc({10, 0, 0}, 4.0, 0.5, 2.0);
    const VxDbObjectId arcId = append(db, db.modelSpaceId(), arc);
    auto* text = new VxDbArcAlignedText();
    text->setDatabaseDefaults(&db);
    text->setTextString(L"North gate");
    {
        VxDbObjectPointer<VxDbArc> a(arcId, VxDb::kForRead);
        ASSERT_EQ(text->setArc(*a.get()), Velt::eOk);
    }
    EXPECT_EQ(text->setTextHeight(0.0), Velt::eInvalidInput);
    EXPECT_EQ(text->setAlignment(5), Velt::eInvalidInput);
    ASSERT_EQ(text->setOffsetFromArc(-0.5), Velt::eOk);
    const VxDbObjectId id = append(db, db.modelSpaceId(), text);
    {
        VxDbObjectPointer<VxDbArcAlignedText> t(id, VxDb::kForWrite);
        EXPECT_EQ(t->arcId(), arcId);
        EXPECT_DOUBLE_EQ(t->radius(), 4.0);
        EXPECT_TRUE(t->center().isEqualTo({10, 0, 0}));
        VxGeExtents3d box;
        ASSERT_EQ(t->getGeomExtents(box), Velt::eOk);
        EXPECT_NEAR(box.maxPoint().y, 4.5, 1e-9);  // the top of the arc (at 90 degrees) and the letters
        ASSERT_EQ(t->transformBy(VxGeMatrix3d::translation({0, 5, 0}) * VxGeMatrix3d::scaling(2.0)), Velt::eOk);
        EXPECT_TRUE(t->center().isEqualTo({20, 5, 0}));
        EXPECT_DOUBLE_EQ(t->textHeight(), 2.0);
        EXPECT_DOUBLE_EQ(t->offsetFromArc(), -1.0);
        EXPECT_NEAR(t->startAngle(), 0.5, 1e-12);
    }
    for (VxDbDxfVersion version : {VxDbDxfVersion::kR2000, VxDbDxfVersion::kR2018}) {
        const std::string file = toDxf(db, version);
        EXPECT_NE(file.find("AcDbArcAlignedText"), std::string::npos);
        VxDbDxfReadInfo info;
        std::unique_ptr<VxDbDatabase> back = fromDxf(file, &info);
        ASSERT_TRUE(back);
        EXPECT_EQ(info.opaqueEntities, 0u);
        VxDbObjectId again;
        ASSERT_EQ(back->getVxDbObjectId(again, false, id.handle()), Velt::eOk);
        VxDbObjectPointer<VxDbArcAlignedText> t(again, VxDb::kForRead);
        ASSERT_TRUE(t);
        EXPECT_EQ(t->textString(), L"North gate");
        EXPECT_EQ(t->arcId().handle(), arcId.handle());
        EXPECT_DOUBLE_EQ(t->radius(), 8.0);
    }
    {
        VxDbObjectPointer<VxDbArc> a(arcId, VxDb::kForWrite);
        ASSERT_EQ(a->erase(), Velt::eOk);
    }
    VxDbObjectPointer<VxDbArcAlignedText> t(id, VxDb::kForRead);
    EXPECT_TRUE(t->arcId().isNull());
    EXPECT_DOUBLE_EQ(t->radius(), 8.0);  // the text stays where it was
}
