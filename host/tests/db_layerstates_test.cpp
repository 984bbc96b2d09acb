// Named layer states: what a mask restores, names, files, and the drawing file that keeps them.

#include <gtest/gtest.h>

#include "db/layerstates.h"
#include "dxf_test_util.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

VxDbObjectId addLayer(VxDbDatabase& db, const wchar_t* name, int16_t color)
{
    auto* layer = new VxDbLayerTableRecord();
    layer->setColorIndex(color);
    return addRecord(db.layerTableId(), layer, name);
}

template <class Change>
void changeLayer(VxDbObjectId id, Change&& apply)
{
    VxDbObjectPointer<VxDbLayerTableRecord> layer(id, VxDb::kForWrite);
    ASSERT_TRUE(layer);
    apply(*layer.get());
}

}  // namespace

TEST(DbLayerStates, RestoreBringsBackWhatTheMaskNames)
{
    VxDbDatabase db;
    const VxDbObjectId walls = addLayer(db, L"Walls", 1);
    db.loadLineTypeFile(L"HIDDEN", L"tarsk.lin");
    ASSERT_EQ(vxdbSaveLayerState(&db, L"Plan", kLsColor | kLsOn | kLsLinetype), Velt::eOk);
    EXPECT_EQ(vxdbSaveLayerState(&db, L"PLAN", kLsAll), Velt::eDuplicateKey);
    EXPECT_EQ(vxdbSaveLayerState(&db, L"", kLsAll), Velt::eInvalidInput);
    changeLayer(walls, [&](VxDbLayerTableRecord& l) {
        l.setColorIndex(5);
        l.setIsOff(true);
        l.setIsLocked(true);
        l.setLinetypeObjectId(db.linetypeId(L"HIDDEN"));
    });
    ASSERT_EQ(vxdbRestoreLayerState(&db, L"plan"), Velt::eOk);
    {
        VxDbObjectPointer<VxDbLayerTableRecord> layer(walls, VxDb::kForRead);
        EXPECT_EQ(layer->colorIndex(), 1);
        EXPECT_FALSE(layer->isOff());
        EXPECT_TRUE(layer->isLocked()) << "not in the mask";
        EXPECT_EQ(layer->linetypeObjectId(), db.linetypeId(L"Continuous"));
    }
    uint32_t mask = 0;
    ASSERT_EQ(vxdbSetLayerStateMask(&db, L"Plan", kLsLocked), Velt::eOk);
    ASSERT_EQ(vxdbLayerStateMask(&db, L"Plan", mask), Velt::eOk);
    EXPECT_EQ(mask, uint32_t(kLsLocked));
    EXPECT_EQ(vxdbRenameLayerState(&db, L"Plan", L"Site"), Velt::eOk);
    EXPECT_EQ(vxdbRestoreLayerState(&db, L"Plan"), Velt::eKeyNotFound);
    EXPECT_EQ(vxdbLayerStateNames(&db), std::vector<std::wstring>{L"Site"});
}

TEST(DbLayerStates, FilesCarryThemAndBadFilesAddNothing)
{
    VxDbDatabase db;
    const VxDbObjectId walls = addLayer(db, L"Walls", 3);
    ASSERT_EQ(vxdbSaveLayerState(&db, L"Plan", kLsColor), Velt::eOk);

    // The drawing file keeps them where other programs look.
    const std::string text = toDxf(db);
    EXPECT_NE(text.find("ACAD_LAYERSTATES"), std::string::npos);
    auto copy = fromDxf(text);
    ASSERT_TRUE(copy);
    EXPECT_EQ(vxdbLayerStateNames(copy.get()), std::vector<std::wstring>{L"Plan"});

    TempFolder folder;
    const std::wstring file = wide(folder / "plan.las"), bad = wide(folder / "bad.las");
    ASSERT_EQ(vxdbExportLayerState(&db, L"Plan", file.c_str()), Velt::eOk);
    writeText(folder / "bad.las", "0\nLAYERSTATE\n1\nBroken\n91\nnot a number\n0\nEOF\n");
    EXPECT_EQ(vxdbImportLayerStates(&db, bad.c_str()), Velt::eInvalidInput);
    EXPECT_EQ(vxdbImportLayerStates(&db, wide(folder / "none.las").c_str()), Velt::eFileNotFound);
    EXPECT_EQ(vxdbLayerStateNames(&db).size(), 1u);

    ASSERT_EQ(vxdbDeleteLayerState(&db, L"Plan"), Velt::eOk);
    EXPECT_TRUE(vxdbLayerStateNames(&db).empty());
    ASSERT_EQ(vxdbImportLayerStates(&db, file.c_str()), Velt::eOk);
    changeLayer(walls, [](VxDbLayerTableRecord& l) { l.setColorIndex(7); });
    ASSERT_EQ(vxdbRestoreLayerState(&db, L"Plan"), Velt::eOk);
    VxDbObjectPointer<VxDbLayerTableRecord> layer(walls, VxDb::kForRead);
    EXPECT_EQ(layer->colorIndex(), 3);
}
