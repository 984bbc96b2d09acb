// A new drawing's contents, the symbol tables and their records, header
// variables and linetype files.

#include <gtest/gtest.h>

#include <cmath>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "services/hostservices.h"

using namespace kx;

namespace {

template <class Table>
std::vector<std::wstring> recordNames(VxDbObjectId tableId)
{
    std::vector<std::wstring> names;
    VxDbObjectPointer<Table> table(tableId, VxDb::kForRead);
    std::unique_ptr<VxDbSymbolTableIterator> it;
    if (!table || table->newIterator(it) != Velt::eOk)
        return names;
    for (; !it->done(); it->step()) {
        VxDbSymbolTableRecord* record = nullptr;
        if (it->getRecord(record) == Velt::eOk) {
            names.push_back(record->name());
            record->close();
        }
    }
    return names;
}

VxDbObjectId addLayer(VxDbDatabase& db, const wchar_t* name, Velt::ErrorStatus expected = Velt::eOk)
{
    VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForWrite);
    auto* layer = new VxDbLayerTableRecord();
    layer->setName(name);
    VxDbObjectId id;
    const Velt::ErrorStatus es = table->add(id, layer);
    EXPECT_EQ(es, expected) << Velt::statusName(es);
    if (es == Velt::eOk)
        layer->close();
    else
        delete layer;
    return id;
}

VxDbObjectId addLineOnLayer(VxDbDatabase& db, VxDbObjectId layer)
{
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
    auto* line = new VxDbLine({0, 0, 0}, {1, 0, 0});
    line->setDatabaseDefaults(&db);
    EXPECT_EQ(line->setLayer(layer), Velt::eOk);
    VxDbObjectId id;
    EXPECT_EQ(space->appendVxDbEntity(id, line), Velt::eOk);
    line->close();
    return id;
}

}  // namespace

TEST(DbDefaults, NewDrawingContents)
{
    VxDbDatabase db;
    EXPECT_EQ(recordNames<VxDbBlockTable>(db.blockTableId()),
              (std::vector<std::wstring>{L"*Model_Space", L"*Paper_Space"}));
    EXPECT_EQ(recordNames<VxDbLayerTable>(db.layerTableId()), (std::vector<std::wstring>{L"0"}));
    EXPECT_EQ(recordNames<VxDbLinetypeTable>(db.linetypeTableId()),
              (std::vector<std::wstring>{L"ByBlock", L"ByLayer", L"Continuous"}));
    EXPECT_EQ(recordNames<VxDbTextStyleTable>(db.textStyleTableId()), (std::vector<std::wstring>{L"Standard"}));
    EXPECT_EQ(recordNames<VxDbDimStyleTable>(db.dimStyleTableId()), (std::vector<std::wstring>{L"Standard"}));
    EXPECT_EQ(recordNames<VxDbViewportTable>(db.viewportTableId()), (std::vector<std::wstring>{L"*Active"}));
    EXPECT_EQ(recordNames<VxDbRegAppTable>(db.regAppTableId()), (std::vector<std::wstring>{L"ACAD"}));
    EXPECT_TRUE(recordNames<VxDbUCSTable>(db.UCSTableId()).empty());
    EXPECT_TRUE(recordNames<VxDbViewTable>(db.viewTableId()).empty());

    VxDbObjectPointer<VxDbDictionary> root(db.namedObjectsDictionaryId(), VxDb::kForRead);
    for (const wchar_t* key : {L"ACAD_GROUP", L"ACAD_LAYOUT", L"ACAD_PLOTSETTINGS", L"ACAD_PLOTSTYLENAME",
                               L"ACAD_MATERIAL", L"ACAD_MLINESTYLE", L"ACAD_TABLESTYLE", L"ACAD_MLEADERSTYLE",
                               L"ACAD_IMAGE_DICT"})
        EXPECT_TRUE(root->has(key)) << "missing " << vxToUtf8(key);
    EXPECT_EQ(db.groupDictionaryId(), root->getIdAt(L"ACAD_GROUP"));

    VxDbObjectPointer<VxDbDictionary> layouts(db.layoutDictionaryId(), VxDb::kForRead);
    EXPECT_EQ(layouts->numEntries(), 2u);
    VxDbObjectPointer<VxDbLayout> model(layouts->getIdAt(L"Model"), VxDb::kForRead);
    VxDbObjectPointer<VxDbLayout> paper(layouts->getIdAt(L"Layout1"), VxDb::kForRead);
    ASSERT_TRUE(model && paper);
    EXPECT_EQ(model->getBlockTableRecordId(), db.modelSpaceId());
    EXPECT_EQ(model->getTabOrder(), 0);
    EXPECT_TRUE(model->modelType());
    EXPECT_EQ(paper->getBlockTableRecordId(), db.paperSpaceId());
    EXPECT_EQ(paper->getTabOrder(), 1);
    VxDbObjectPointer<VxDbBlockTableRecord> paperBlock(db.paperSpaceId(), VxDb::kForRead);
    EXPECT_EQ(paperBlock->getLayoutId(), paper->objectId());
    EXPECT_TRUE(paperBlock->isLayout());

    // The header names the standard records.
    EXPECT_EQ(db.clayer(), db.layerZero());
    EXPECT_EQ(db.celtype(), db.byLayerLinetype());
    EXPECT_EQ(db.textstyle(), db.textStyleId(L"Standard"));
    EXPECT_FALSE(db.dimstyle().isNull());
    EXPECT_FALSE(db.cmlstyleID().isNull());
    EXPECT_FALSE(db.tablestyle().isNull());
    EXPECT_FALSE(db.mleaderstyle().isNull());
    EXPECT_TRUE(db.tilemode());
    EXPECT_FALSE(db.byLayerMaterialId().isNull());
    EXPECT_FALSE(db.globalMaterialId().isNull());

    // An empty database is empty.
    VxDbDatabase empty(false);
    EXPECT_TRUE(empty.blockTableId().isNull());
    EXPECT_TRUE(empty.modelSpaceId().isNull());
    EXPECT_EQ(empty.objectSlotCount(), 1u);
}

TEST(DbHeader, VariablesCheckTheirValues)
{
    VxDbDatabase db;
    EXPECT_EQ(db.setTextsize(2.5), Velt::eOk);
    EXPECT_EQ(db.textsize(), 2.5);
    EXPECT_EQ(db.setTextsize(0.0), Velt::eOutOfRange);
    EXPECT_EQ(db.setIsolines(2048), Velt::eOutOfRange);
    EXPECT_EQ(db.setIsolines(2047), Velt::eOk);
    EXPECT_EQ(db.setFacetres(0.001), Velt::eOutOfRange);
    EXPECT_EQ(db.setMaxactvp(1), Velt::eOutOfRange);
    EXPECT_EQ(db.setSortEnts(128), Velt::eOutOfRange);
    EXPECT_EQ(db.setSortEnts(0x10), Velt::eOk);
    EXPECT_EQ(db.sortEnts(), 0x10);
    EXPECT_EQ(db.setCelweight(VxDb::LineWeight(7)), Velt::eOutOfRange);
    EXPECT_EQ(db.setCelweight(VxDb::kLnWt050), Velt::eOk);
    EXPECT_EQ(db.setInsunits(VxDb::kUnitsMillimeters), Velt::eOk);
    EXPECT_EQ(db.setInsunits(VxDb::UnitsValue(21)), Velt::eOutOfRange);
    EXPECT_EQ(db.setPdmode(35), Velt::eOk);
    EXPECT_EQ(db.setPdmode(5), Velt::eOutOfRange);
    EXPECT_EQ(db.setTilemode(false), Velt::eOk);
    EXPECT_FALSE(db.tilemode());
    EXPECT_EQ(db.setElevation(NAN), Velt::eInvalidInput);

    // Current records must be of the right kind and of this drawing.
    EXPECT_EQ(db.setClayer(db.byLayerLinetype()), Velt::eWrongObjectType);
    VxDbDatabase other;
    EXPECT_EQ(db.setClayer(other.layerZero()), Velt::eWrongDatabase);
    EXPECT_EQ(db.setClayer(VxDbObjectId()), Velt::eNullObjectId);

    // The current coordinate system follows tile mode.
    EXPECT_EQ(db.setUcs({1, 2, 3}, {0, 1, 0}, {-1, 0, 0}), Velt::eOk);
    EXPECT_EQ(db.setUcs({0, 0, 0}, {1, 0, 0}, {2, 0, 0}), Velt::eInvalidInput);
    db.setTilemode(true);
    const VxGeMatrix3d ucs = db.currentUcsMatrix();
    const VxGePoint3d p = ucs.transform(VxGePoint3d{1, 0, 0});
    EXPECT_NEAR(p.x, 1.0, 1e-12);
    EXPECT_NEAR(p.y, 3.0, 1e-12);
    EXPECT_NEAR(p.z, 3.0, 1e-12);

    // By name, as the editor sees them.
    VxResBuf* value = nullptr;
    ASSERT_EQ(db.getSysVar(L"$TEXTSIZE", value), Velt::eOk);
    EXPECT_EQ(value->restype, kRtReal);
    EXPECT_EQ(value->resval.rreal, 2.5);
    vxutRelRb(value);
    ASSERT_EQ(db.getSysVar(L"clayer", value), Velt::eOk);
    EXPECT_STREQ(value->resval.rstring, L"0");
    vxutRelRb(value);
    EXPECT_EQ(db.getSysVar(L"NOSUCHVAR", value), Velt::eKeyNotFound);
    VxResBufPtr layerName(vxutNewString(kRtStr, L"Walls"));
    EXPECT_EQ(db.setSysVar(L"CLAYER", layerName.get()), Velt::eKeyNotFound);
    const VxDbObjectId walls = addLayer(db, L"Walls");
    EXPECT_EQ(db.setSysVar(L"CLAYER", layerName.get()), Velt::eOk);
    EXPECT_EQ(db.clayer(), walls);
    VxResBufPtr wrongType(vxutNewReal(kRtReal, 1.0));
    EXPECT_EQ(db.setSysVar(L"ISOLINES", wrongType.get()), Velt::eInvalidResBuf);
}

TEST(DbTables, AddFindRenameWithoutRegardToCase)
{
    VxDbDatabase db;
    const VxDbObjectId walls = addLayer(db, L"Walls");
    addLayer(db, L"WALLS", Velt::eDuplicateRecordName);
    addLayer(db, L"bad<name", Velt::eInvalidSymbolName);
    addLayer(db, L"", Velt::eInvalidSymbolName);
    // "|" separates an external reference's name: allowed.
    addLayer(db, L"site|walls");

    VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForRead);
    VxDbObjectId found;
    EXPECT_EQ(table->getAt(L"wAlLs", found), Velt::eOk);
    EXPECT_EQ(found, walls);
    EXPECT_EQ(table->getAt(L"Doors", found), Velt::eKeyNotFound);
    EXPECT_TRUE(found.isNull());
    // Adding needs the table open for write; a record of another kind is refused.
    auto* late = new VxDbLayerTableRecord();
    late->setName(L"Late");
    EXPECT_EQ(table->add(late), Velt::eNotOpenForWrite);
    ASSERT_EQ(table->upgradeOpen(), Velt::eOk);
    auto* style = new VxDbTextStyleTableRecord();
    style->setName(L"Odd");
    EXPECT_EQ(table->add(style), Velt::eWrongObjectType);
    delete style;
    EXPECT_EQ(table->add(late), Velt::eOk);
    late->close();
    table.close();

    {
        VxDbObjectPointer<VxDbLayerTableRecord> layer(walls, VxDb::kForWrite);
        EXPECT_EQ(layer->setName(L"late"), Velt::eDuplicateRecordName);
        EXPECT_EQ(layer->setName(L"WALLS"), Velt::eOk);  // a change of case only
        EXPECT_EQ(layer->setName(L"Partitions"), Velt::eOk);
    }
    {
        VxDbObjectPointer<VxDbLayerTableRecord> zero(db.layerZero(), VxDb::kForWrite);
        EXPECT_EQ(zero->setName(L"Zero"), Velt::eCannotRename);
    }
    table.open(db.layerTableId());
    EXPECT_TRUE(table->has(L"partitions"));
    EXPECT_FALSE(table->has(L"Walls"));
    EXPECT_EQ(table->numRecords(), 4u);
}

TEST(DbTables, ErasingRecordsRespectsUse)
{
    VxDbDatabase db;
    const VxDbObjectId used = addLayer(db, L"Used");
    const VxDbObjectId spare = addLayer(db, L"Spare");
    const VxDbObjectId line = addLineOnLayer(db, used);

    auto erase = [](VxDbObjectId id) {
        VxDbObjectPointer<VxDbObject> record(id, VxDb::kForWrite);
        return record ? record->erase() : record.openStatus();
    };
    EXPECT_EQ(erase(db.layerZero()), Velt::eCannotBeErased);
    EXPECT_EQ(erase(db.continuousLinetype()), Velt::eCannotBeErased);
    EXPECT_EQ(erase(db.modelSpaceId()), Velt::eCannotBeErased);
    EXPECT_EQ(erase(used), Velt::eObjectIsReferenced);
    EXPECT_EQ(erase(spare), Velt::eOk);

    // An erased record frees its name; restoring it while the name is taken
    // is refused.
    addLayer(db, L"Spare");
    {
        VxDbObjectPointer<VxDbLayerTableRecord> old(spare, VxDb::kForWrite, true);
        EXPECT_EQ(old->erase(false), Velt::eDuplicateRecordName);
    }
    // Once its entity is gone, the used layer can go too; the current layer cannot.
    EXPECT_EQ(erase(line), Velt::eOk);
    db.setClayer(used);
    EXPECT_EQ(erase(used), Velt::eObjectIsReferenced);
    db.setClayer(db.layerZero());
    EXPECT_EQ(erase(used), Velt::eOk);
}

TEST(DbTables, LayerProperties)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLayer(db, L"Walls");
    VxDbObjectPointer<VxDbLayerTableRecord> layer(id, VxDb::kForWrite);
    EXPECT_EQ(layer->colorIndex(), 7);
    EXPECT_EQ(layer->setColorIndex(0), Velt::eOutOfRange);
    EXPECT_EQ(layer->setColor(VxCmColor::fromIndex(256)), Velt::eInvalidInput);
    VxCmColor rgb;
    rgb.setRGB(10, 20, 30);
    rgb.setNames(L"Slate", L"Tarsk Colours");
    EXPECT_EQ(layer->setColor(rgb), Velt::eOk);
    EXPECT_EQ(layer->color().bookName(), L"Tarsk Colours");
    EXPECT_EQ(layer->color().red(), 10);

    EXPECT_EQ(layer->setLinetypeObjectId(db.byLayerLinetype()), Velt::eInvalidInput);
    EXPECT_EQ(layer->setLinetypeObjectId(db.layerZero()), Velt::eWrongObjectType);
    EXPECT_EQ(layer->setLinetypeObjectId(db.continuousLinetype()), Velt::eOk);
    EXPECT_EQ(layer->setLineWeight(VxDb::kLnWtByLayer), Velt::eInvalidInput);
    EXPECT_EQ(layer->setLineWeight(VxDb::kLnWt035), Velt::eOk);
    EXPECT_EQ(layer->setMaterialId(db.globalMaterialId()), Velt::eOk);
    EXPECT_EQ(layer->setMaterialId(db.layerZero()), Velt::eWrongObjectType);
    EXPECT_EQ(layer->setTransparency(VxCmTransparency(128)), Velt::eOk);
    VxCmTransparency byBlock;
    byBlock.setMethod(VxCmTransparency::kByBlock);
    EXPECT_EQ(layer->setTransparency(byBlock), Velt::eInvalidInput);
    EXPECT_EQ(layer->setPlotStyleName(L""), Velt::eInvalidInput);
    layer->setIsFrozen(true);
    layer->setIsOff(true);
    layer->setIsLocked(true);
    layer->setIsPlottable(false);
    layer->setVPDFLT(true);
    layer->setDescription(L"Outer walls");
    EXPECT_TRUE(layer->isFrozen() && layer->isOff() && layer->isLocked() && !layer->isPlottable() && layer->VPDFLT());
    EXPECT_EQ(layer->description(), L"Outer walls");
    layer.close();

    // Usage data: a layer is in use once an entity sits on it.
    const VxDbObjectId unused = addLayer(db, L"Unused");
    addLineOnLayer(db, id);
    {
        VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForWrite);
        ASSERT_EQ(table->generateUsageData(), Velt::eOk);
    }
    VxDbObjectPointer<VxDbLayerTableRecord> walls(id, VxDb::kForRead);
    VxDbObjectPointer<VxDbLayerTableRecord> other(unused, VxDb::kForRead);
    VxDbObjectPointer<VxDbLayerTableRecord> zero(db.layerZero(), VxDb::kForRead);
    EXPECT_TRUE(walls->isInUse());
    EXPECT_FALSE(other->isInUse());
    EXPECT_TRUE(zero->isInUse());
}

TEST(DbTables, TextAndDimensionStyles)
{
    VxDbDatabase db;
    VxDbObjectPointer<VxDbTextStyleTableRecord> standard(db.textStyleId(L"Standard"), VxDb::kForWrite);
    EXPECT_EQ(standard->setXScale(0.001), Velt::eOutOfRange);
    EXPECT_EQ(standard->setXScale(0.8), Velt::eOk);
    EXPECT_EQ(standard->setObliquingAngle(vxgeDegreesToRadians(86.0)), Velt::eOutOfRange);
    EXPECT_EQ(standard->setObliquingAngle(vxgeDegreesToRadians(355.0)), Velt::eOk);
    EXPECT_NEAR(standard->obliquingAngle(), vxgeDegreesToRadians(-5.0), 1e-12);
    EXPECT_EQ(standard->setFlagBits(1), Velt::eInvalidInput);
    EXPECT_EQ(standard->setFlagBits(VxDbTextStyleTableRecord::kBackward | VxDbTextStyleTableRecord::kUpsideDown),
              Velt::eOk);
    EXPECT_TRUE(standard->isBackwards() && standard->isUpsideDown());
    EXPECT_EQ(standard->setFont(L"Tahoma", true, false, 0, 34), Velt::eOk);
    std::wstring typeface;
    bool bold = false, italic = true;
    int charset = -1, pitch = -1;
    standard->font(typeface, bold, italic, charset, pitch);
    EXPECT_EQ(typeface, L"Tahoma");
    EXPECT_TRUE(bold);
    EXPECT_FALSE(italic);
    EXPECT_EQ(pitch, 34);
    standard.close();

    // A dimension style copies another's settings but keeps its name.
    VxDbObjectPointer<VxDbDimStyleTableRecord> source(db.dimstyle(), VxDb::kForWrite);
    EXPECT_EQ(source->setDimReal(VxDbDimVar::kDimScale, 48.0), Velt::eOk);
    EXPECT_EQ(source->setDimReal(VxDbDimVar::kDimScale, -1.0), Velt::eOutOfRange);
    EXPECT_EQ(source->setDimInt(VxDbDimVar::kDimScale, 1), Velt::eInvalidInput);
    EXPECT_EQ(source->setDimInt(VxDbDimVar::kDimDec, 9), Velt::eOutOfRange);
    EXPECT_EQ(source->setDimInt(VxDbDimVar::kDimLwd, 7), Velt::eOutOfRange);
    EXPECT_EQ(source->setDimId(VxDbDimVar::kDimTxSty, db.layerZero()), Velt::eWrongObjectType);
    EXPECT_EQ(source->setDimText(VxDbDimVar::kDimPost, L"<> mm"), Velt::eOk);
    EXPECT_EQ(source->dimtxsty(), db.textstyle());
    VxDbDimStyleTableRecord copy;
    copy.setName(L"Copy");
    ASSERT_EQ(copy.copyFrom(source.get()), Velt::eOk);
    EXPECT_EQ(copy.dimscale(), 48.0);
    EXPECT_EQ(copy.dimText(VxDbDimVar::kDimPost), L"<> mm");
    EXPECT_EQ(vxdbDimVarInfo(VxDbDimVar::kDimTxt).groupCode, 140);
}

TEST(DbTables, ViewsViewportsAndCoordinateSystems)
{
    VxDbDatabase db;
    VxDbObjectPointer<VxDbViewportTable> viewports(db.viewportTableId(), VxDb::kForWrite);
    VxDbObjectId activeId;
    ASSERT_EQ(viewports->getAt(L"*ACTIVE", activeId), Velt::eOk);
    // Copy the current configuration, as a new viewport does, and keep a
    // second "*Active" part: viewports may share a name.
    VxDbObjectPointer<VxDbViewportTableRecord> active(activeId, VxDb::kForRead);
    auto* second = new VxDbViewportTableRecord();
    ASSERT_EQ(second->copyFrom(active.get()), Velt::eOk);
    EXPECT_EQ(second->name(), L"*Active");
    EXPECT_EQ(second->setLowerLeftCorner({0.5, 0.0}), Velt::eOk);
    EXPECT_EQ(second->setUpperRightCorner({0.4, 1.0}), Velt::eInvalidInput);
    EXPECT_EQ(second->setCircleSides(0), Velt::eOutOfRange);
    EXPECT_EQ(second->setSnapIncrements({0.0, 1.0}), Velt::eInvalidInput);
    EXPECT_EQ(second->setIsometricSnapEnabled(true), Velt::eOk);
    EXPECT_EQ(viewports->add(second), Velt::eOk);
    second->close();
    EXPECT_EQ(viewports->numRecords(), 2u);

    VxDbObjectPointer<VxDbViewTable> views(db.viewTableId(), VxDb::kForWrite);
    auto* view = new VxDbViewTableRecord();
    view->setName(L"Front");
    EXPECT_EQ(view->setHeight(0.0), Velt::eInvalidInput);
    EXPECT_EQ(view->setViewDirection({0, 0, 0}), Velt::eInvalidInput);
    EXPECT_EQ(view->setViewDirection({0, -1, 0}), Velt::eOk);
    EXPECT_EQ(view->setCategoryName(L"Elevations"), Velt::eOk);
    EXPECT_EQ(view->setLayout(db.layerZero()), Velt::eWrongObjectType);
    EXPECT_EQ(views->add(view), Velt::eOk);
    EXPECT_EQ(view->setLayout(db.layerZero()), Velt::eWrongObjectType);
    view->close();

    VxDbUCSTableRecord ucs;
    EXPECT_EQ(ucs.setXAxis({0, 0, 0}), Velt::eInvalidInput);
    ucs.setOrigin({1, 0, 0});
    ucs.setXAxis({0, 2, 0});
    ucs.setYAxis({0, 0, 3});
    const VxGePoint3d p = ucs.ucsMatrix().transform(VxGePoint3d{1, 1, 1});
    EXPECT_NEAR(p.x, 2.0, 1e-12);  // z axis of the system is world x
    EXPECT_NEAR(p.y, 1.0, 1e-12);
    EXPECT_NEAR(p.z, 1.0, 1e-12);
}

TEST(DbLinetypes, LoadingFromTheStandardFiles)
{
    VxDbDatabase db;
    EXPECT_EQ(db.loadLineTypeFile(L"DASHED", L"tarsk.lin"), Velt::eOk);
    EXPECT_EQ(db.loadLineTypeFile(L"dashed", L"tarsk.lin"), Velt::eDuplicateRecordName);
    EXPECT_EQ(db.loadLineTypeFile(L"NOSUCH", L"tarsk.lin"), Velt::eKeyNotFound);
    EXPECT_EQ(db.loadLineTypeFile(L"DASHED", L"nosuch.lin"), Velt::eFileNotFound);
    {
        VxDbObjectPointer<VxDbLinetypeTableRecord> dashed(db.linetypeId(L"DASHED"), VxDb::kForRead);
        ASSERT_TRUE(dashed);
        EXPECT_EQ(dashed->numDashes(), 2);
        EXPECT_EQ(dashed->dashLengthAt(0), 0.5);
        EXPECT_EQ(dashed->dashLengthAt(1), -0.25);
        EXPECT_EQ(dashed->patternLength(), 0.75);
        EXPECT_EQ(dashed->dashLengthAt(5), 0.0);
        EXPECT_NE(dashed->comments().find(L"Dashed"), std::wstring::npos);
    }

    // The metric file holds the same families in millimetres; a pattern with
    // text refers to a text style.
    VxDbObjectId gas;
    ASSERT_EQ(vxdbLoadLinetypeFromFile(L"GAS_LINE", L"tarskiso.lin", &db, gas), Velt::eOk);
    VxDbObjectPointer<VxDbLinetypeTableRecord> gasLine(gas, VxDb::kForRead);
    ASSERT_EQ(gasLine->numDashes(), 3);
    EXPECT_EQ(gasLine->textAt(1), L"GAS");
    EXPECT_EQ(gasLine->shapeStyleAt(1), db.textStyleId(L"Standard"));
    EXPECT_EQ(gasLine->shapeScaleAt(1), 2.5);
    EXPECT_EQ(gasLine->shapeOffsetAt(1).x, -2.5);
    EXPECT_EQ(gasLine->dashLengthAt(0), 12.5);
    VxDbObjectId again;
    EXPECT_EQ(vxdbLoadLinetypeFromFile(L"GAS_LINE", L"tarskiso.lin", &db, again), Velt::eOk);
    EXPECT_EQ(again, gas);

    // Everything at once; what is there already is left as it is.
    EXPECT_EQ(db.loadLineTypeFile(L"*", L"tarsk.lin"), Velt::eOk);
    VxDbObjectPointer<VxDbLinetypeTable> table(db.linetypeTableId(), VxDb::kForRead);
    for (const wchar_t* family : {L"HIDDEN", L"CENTER", L"PHANTOM", L"DOT", L"DASHDOT", L"BORDER", L"DIVIDE",
                                  L"CENTER2", L"BORDERX2"})
        EXPECT_TRUE(table->has(family)) << vxToUtf8(family);
}
