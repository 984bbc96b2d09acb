// Drawing files as blocks and as external references.

#include "dxf/dxfxref.h"
#include "dxf_test_util.h"

using namespace kx;
using namespace kx::dxftest;

namespace {

// A drawing of two lines on a layer of its own, saved in the folder.
std::filesystem::path saveDrawing(const TempFolder& folder, const std::string& name, const wchar_t* layerName = L"Pipes")
{
    VxDbDatabase db;
    auto* layer = new VxDbLayerTableRecord();
    layer->setColorIndex(4);
    const VxDbObjectId layerId = addRecord(db.layerTableId(), layer, layerName);
    for (double y : {0.0, 1.0}) {
        auto* line = new VxDbLine({0, y, 0}, {5, y, 0});
        line->setDatabaseDefaults(&db);
        line->setLayer(layerId);
        append(db, db.modelSpaceId(), line);
    }
    db.setInsbase({1, 0, 0});
    const std::filesystem::path path = folder / name;
    EXPECT_EQ(vxdbSaveAs(&db, wide(path).c_str()), Velt::eOk);
    return path;
}

size_t entityCount(VxDbDatabase& db, VxDbObjectId blockId)
{
    auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId));
    size_t count = 0;
    for (VxDbObjectId id : block ? block->entityIds() : std::vector<VxDbObjectId>())
        count += !id.isErased();
    return count;
}

}  // namespace

TEST(DxfXref, DrawingFileInsertedAsBlock)
{
    TempFolder folder;
    const std::filesystem::path path = saveDrawing(folder, "valve.dxf");
    VxDbDatabase db;
    VxDbObjectId blockId;
    ASSERT_EQ(vxdbInsertDrawingFile(&db, L"VALVE", wide(path).c_str(), blockId), Velt::eOk);
    EXPECT_EQ(db.blockId(L"VALVE"), blockId);
    EXPECT_EQ(entityCount(db, blockId), 2u);
    EXPECT_FALSE(db.layerId(L"Pipes").isNull());  // the layer came along
    auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId));
    EXPECT_TRUE(block->origin().isEqualTo({1, 0, 0}));
    EXPECT_FALSE(block->isFromExternalReference());

    VxDbObjectId other;
    EXPECT_EQ(vxdbInsertDrawingFile(&db, L"VALVE", wide(path).c_str(), other), Velt::eDuplicateRecordName);
    EXPECT_EQ(vxdbInsertDrawingFile(&db, L"NONE", wide(folder / "none.dxf").c_str(), other), Velt::eFileNotFound);
    EXPECT_TRUE(db.blockId(L"NONE").isNull());
}

TEST(DxfXref, AttachSaveReopenUnloadReloadDetach)
{
    TempFolder folder;
    const std::filesystem::path part = saveDrawing(folder, "part.dxf");
    VxDbDatabase db;
    VxDbObjectId referenceId;
    ASSERT_EQ(vxedXrefAttach(wide(part).c_str(), L"PART", VxDbObjectId(), referenceId, {10, 0, 0}, {2, 2, 2}, 0.5,
                             true, &db),
              Velt::eOk);
    const VxDbObjectId blockId = db.blockId(L"PART");
    auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(block->isFromExternalReference());
    EXPECT_FALSE(block->isFromOverlayReference());
    EXPECT_EQ(entityCount(db, blockId), 0u);  // the drawing stays in its side database
    VxDbDatabase* side = vxdbXrefDatabase(blockId);
    ASSERT_NE(side, nullptr);
    EXPECT_EQ(entityCount(*side, side->modelSpaceId()), 2u);
    auto* reference = VxDbBlockReference::cast(detail::objectOf(referenceId));
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(reference->ownerId(), db.modelSpaceId());
    EXPECT_TRUE(reference->position().isEqualTo({10, 0, 0}));

    // Bad requests change nothing.
    VxDbObjectId none;
    EXPECT_EQ(vxedXrefAttach(wide(part).c_str(), L"PART", VxDbObjectId(), none, {}, {1, 1, 1}, 0, true, &db),
              Velt::eDuplicateRecordName);
    EXPECT_EQ(vxedXrefAttach(wide(folder / "missing.dxf").c_str(), L"GONE", VxDbObjectId(), none, {}, {1, 1, 1}, 0,
                             true, &db),
              Velt::eFileNotFound);
    EXPECT_EQ(vxedXrefAttach(wide(part).c_str(), L"FLAT", VxDbObjectId(), none, {}, {1, 0, 1}, 0, true, &db),
              Velt::eInvalidInput);
    EXPECT_TRUE(db.blockId(L"GONE").isNull() && db.blockId(L"FLAT").isNull());

    // Saved and opened again, the reference loads again.
    const std::filesystem::path host = folder / "host.dxf";
    ASSERT_EQ(vxdbSaveAs(&db, wide(host).c_str()), Velt::eOk);
    EXPECT_EQ(readText(host).find("Pipes"), std::string::npos);  // nothing of the part is written
    VxDbDatabase opened(false, true);
    ASSERT_EQ(vxdbReadDwgFile(&opened, wide(host).c_str()), Velt::eOk);
    const VxDbObjectId reopened = opened.blockId(L"PART");
    auto* reopenedBlock = VxDbBlockTableRecord::cast(detail::objectOf(reopened));
    ASSERT_NE(reopenedBlock, nullptr);
    EXPECT_EQ(reopenedBlock->pathName(), wide(part));
    ASSERT_NE(vxdbXrefDatabase(reopened), nullptr);
    EXPECT_EQ(entityCount(*vxdbXrefDatabase(reopened), vxdbXrefDatabase(reopened)->modelSpaceId()), 2u);

    // Unload drops the side database, reload reads the file again.
    ASSERT_EQ(vxedXrefUnload(L"PART", true, &db), Velt::eOk);
    EXPECT_EQ(vxdbXrefDatabase(blockId), nullptr);
    EXPECT_TRUE(block->isUnloaded());
    saveDrawing(folder, "part.dxf");
    ASSERT_EQ(vxedXrefReload(L"PART", true, &db), Velt::eOk);
    EXPECT_NE(vxdbXrefDatabase(blockId), nullptr);
    EXPECT_FALSE(block->isUnloaded());

    // Detach removes the block and its insertions.
    EXPECT_EQ(vxedXrefDetach(L"NOSUCH", true, &db), Velt::eKeyNotFound);
    EXPECT_EQ(vxedXrefDetach(L"*Model_Space", true, &db), Velt::eNotApplicable);
    ASSERT_EQ(vxedXrefDetach(L"PART", true, &db), Velt::eOk);
    EXPECT_TRUE(db.blockId(L"PART").isNull());
    EXPECT_TRUE(referenceId.isErased());
    EXPECT_EQ(vxdbXrefDatabase(blockId), nullptr);
}

TEST(DxfXref, BindWithAndWithoutPrefixes)
{
    TempFolder folder;
    const std::filesystem::path part = saveDrawing(folder, "part.dxf");
    for (bool insertBind : {false, true}) {
        SCOPED_TRACE(insertBind ? "insert" : "bind");
        VxDbDatabase db;
        VxDbObjectId referenceId;
        ASSERT_EQ(vxedXrefOverlay(wide(part).c_str(), L"PART", VxDbObjectId(), referenceId, {}, {1, 1, 1}, 0, true, &db),
                  Velt::eOk);
        const VxDbObjectId blockId = db.blockId(L"PART");
        EXPECT_TRUE(VxDbBlockTableRecord::cast(detail::objectOf(blockId))->isFromOverlayReference());
        ASSERT_EQ(vxedXrefBind(L"PART", insertBind, true, &db), Velt::eOk);
        auto* block = VxDbBlockTableRecord::cast(detail::objectOf(blockId));
        EXPECT_FALSE(block->isFromExternalReference());
        EXPECT_EQ(entityCount(db, blockId), 2u);
        EXPECT_EQ(vxdbXrefDatabase(blockId), nullptr);
        const VxDbObjectId layer = db.layerId(insertBind ? L"Pipes" : L"PART$0$Pipes");
        ASSERT_FALSE(layer.isNull());
        auto* line = VxDbLine::cast(detail::objectOf(block->entityIds().front()));
        EXPECT_EQ(line->layerId(), layer);
        EXPECT_EQ(vxedXrefBind(L"PART", insertBind, true, &db), Velt::eNotApplicable);  // bound already
    }
}

TEST(DxfXref, ReferencesThatReferToEachOtherStillLoad)
{
    TempFolder folder;
    saveDrawing(folder, "a.dxf");
    saveDrawing(folder, "b.dxf");
    // a refers to b, b refers to a.
    for (auto [from, to] : {std::pair<const char*, const char*>{"a.dxf", "b.dxf"}, {"b.dxf", "a.dxf"}}) {
        VxDbDatabase db(false, true);
        ASSERT_EQ(vxdbReadDwgFile(&db, wide(folder / from).c_str()), Velt::eOk);
        VxDbObjectId referenceId;
        ASSERT_EQ(vxedXrefAttach(wide(folder / to).c_str(), L"OTHER", VxDbObjectId(), referenceId, {}, {1, 1, 1}, 0,
                                 true, &db),
                  Velt::eOk);
        ASSERT_EQ(vxdbSaveAs(&db, wide(folder / from).c_str(), false), Velt::eOk);
    }
    VxDbDatabase db(false, true);
    ASSERT_EQ(vxdbReadDwgFile(&db, wide(folder / "a.dxf").c_str()), Velt::eOk);
    VxDbDatabase* b = vxdbXrefDatabase(db.blockId(L"OTHER"));
    ASSERT_NE(b, nullptr);
    // b's own reference back to a is where the cycle is cut.
    EXPECT_EQ(vxdbXrefDatabase(b->blockId(L"OTHER")), nullptr);
}
