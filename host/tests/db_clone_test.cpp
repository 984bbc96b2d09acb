// Cloning within a drawing and across drawings, and drawings inserted as
// blocks.

#include <gtest/gtest.h>

#include "db/blocks.h"
#include "db/clone.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "services/hostservices.h"

using namespace kx;

namespace {

VxDbObjectId addLayer(VxDbDatabase& db, const wchar_t* name, int16_t color, VxDbObjectId linetype = {})
{
    VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForWrite);
    auto* layer = new VxDbLayerTableRecord();
    layer->setName(name);
    layer->setColorIndex(color);
    layer->setLinetypeObjectId(linetype.isNull() ? db.continuousLinetype() : linetype);
    VxDbObjectId id;
    EXPECT_EQ(table->add(id, layer), Velt::eOk);
    layer->close();
    return id;
}

VxDbObjectId addEntity(VxDbObjectId blockId, VxDbEntity* entity)
{
    VxDbObjectPointer<VxDbBlockTableRecord> block(blockId, VxDb::kForWrite);
    VxDbObjectId id;
    EXPECT_EQ(block->appendVxDbEntity(id, entity), Velt::eOk);
    entity->close();
    return id;
}

const VxDbIdPair* pairOf(const VxDbIdMapping& map, VxDbObjectId key)
{
    for (const VxDbIdPair& pair : map.pairs()) {
        if (pair.key() == key)
            return &pair;
    }
    return nullptr;
}

std::vector<VxDbObjectId> primaryClones(const VxDbIdMapping& map)
{
    std::vector<VxDbObjectId> ids;
    for (const VxDbIdPair& pair : map.pairs()) {
        if (pair.isCloned() && pair.isPrimary())
            ids.push_back(pair.value());
    }
    return ids;
}

}  // namespace

TEST(DbClone, DeepCloneKeepsExtendedDataAndExtensionDictionary)
{
    VxDbDatabase db;
    vxdbRegApp(L"TARSK_TEST", &db);
    const VxDbObjectId lineId = addEntity(db.modelSpaceId(), new VxDbLine({0, 0, 0}, {3, 4, 0}));
    VxDbObjectId dictionaryId, recordId;
    {
        VxDbObjectPointer<VxDbLine> line(lineId, VxDb::kForWrite);
        VxResBufPtr xdata = vxutChain({vxutNewString(1001, L"TARSK_TEST"), vxutNewString(1000, L"tag")});
        line->setXData(xdata.get());
        line->createExtensionDictionary();
        dictionaryId = line->extensionDictionary();
        VxDbObjectPointer<VxDbDictionary> dictionary(dictionaryId, VxDb::kForWrite);
        auto* record = new VxDbXrecord();
        VxResBufPtr data = vxutChain({vxutNewInt16(70, 42)});
        record->setFromRbChain(data.get());
        dictionary->setAt(L"NOTE", record, recordId);
        record->close();
    }

    VxDbIdMapping map;
    EXPECT_EQ(db.deepCloneObjects({}, db.modelSpaceId(), map), Velt::eInvalidInput);
    ASSERT_EQ(db.deepCloneObjects({lineId}, db.modelSpaceId(), map), Velt::eOk);
    const std::vector<VxDbObjectId> clones = primaryClones(map);
    ASSERT_EQ(clones.size(), 1u);
    const VxDbObjectId cloneId = clones[0];
    EXPECT_NE(cloneId, lineId);
    EXPECT_EQ(map.numPairs(), 3u);  // the line, its dictionary, the record
    EXPECT_FALSE(pairOf(map, dictionaryId)->isPrimary());
    EXPECT_TRUE(pairOf(map, recordId)->isCloned());

    VxDbObjectPointer<VxDbLine> clone(cloneId, VxDb::kForRead);
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->ownerId(), db.modelSpaceId());
    EXPECT_TRUE(clone->endPoint().isEqualTo({3, 4, 0}));
    VxResBufPtr xdata(clone->xData(L"TARSK_TEST"));
    ASSERT_NE(xdata, nullptr);
    EXPECT_STREQ(xdata->rbnext->resval.rstring, L"tag");
    // Its own extension dictionary, owned by it, holding its own record.
    const VxDbObjectId cloneDictionary = clone->extensionDictionary();
    EXPECT_EQ(cloneDictionary, pairOf(map, dictionaryId)->value());
    EXPECT_NE(cloneDictionary, dictionaryId);
    VxDbObjectPointer<VxDbDictionary> dictionary(cloneDictionary, VxDb::kForRead);
    EXPECT_EQ(dictionary->ownerId(), cloneId);
    const VxDbObjectId cloneRecord = dictionary->getIdAt(L"NOTE");
    EXPECT_EQ(cloneRecord, pairOf(map, recordId)->value());
    VxDbObjectPointer<VxDbXrecord> record(cloneRecord, VxDb::kForRead);
    EXPECT_EQ(record->data()->resval.rint, 42);
    // Its layer is the same record: within a drawing nothing else is copied.
    EXPECT_EQ(clone->layerId(), db.layerZero());
}

TEST(DbClone, CrossDatabaseCloneBringsLayerAndLinetypeAlong)
{
    VxDbDatabase source;
    VxDbDatabase destination;
    source.loadLineTypeFile(L"DASHED", L"tarsk.lin");
    source.loadLineTypeFile(L"HIDDEN", L"tarsk.lin");
    const VxDbObjectId walls = addLayer(source, L"Walls", 1, source.linetypeId(L"DASHED"));
    auto* line = new VxDbLine({0, 0, 0}, {1, 1, 0});
    line->setDatabaseDefaults(&source);
    line->setLayer(walls);
    line->setLinetype(L"HIDDEN");
    const VxDbObjectId lineId = addEntity(source.modelSpaceId(), line);

    VxDbIdMapping map;
    ASSERT_EQ(source.wblockCloneObjects({lineId}, destination.modelSpaceId(), map, VxDb::kDrcIgnore), Velt::eOk);
    EXPECT_EQ(map.destDb(), &destination);
    const std::vector<VxDbObjectId> clones = primaryClones(map);
    ASSERT_EQ(clones.size(), 1u);
    VxDbObjectPointer<VxDbLine> clone(clones[0], VxDb::kForRead);
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->database(), &destination);

    const VxDbObjectId newWalls = destination.layerId(L"Walls");
    ASSERT_FALSE(newWalls.isNull());
    EXPECT_EQ(clone->layerId(), newWalls);
    EXPECT_EQ(clone->linetypeId(), destination.linetypeId(L"HIDDEN"));
    VxDbObjectPointer<VxDbLayerTableRecord> layer(newWalls, VxDb::kForRead);
    EXPECT_EQ(layer->colorIndex(), 1);
    EXPECT_EQ(layer->linetypeObjectId(), destination.linetypeId(L"DASHED"));
    ASSERT_FALSE(destination.linetypeId(L"DASHED").isNull());
    VxDbObjectPointer<VxDbLinetypeTableRecord> dashed(destination.linetypeId(L"DASHED"), VxDb::kForRead);
    EXPECT_EQ(dashed->numDashes(), 2);
    // Records the destination had already stand for the source's.
    const VxDbIdPair* material = pairOf(map, source.byLayerMaterialId());
    ASSERT_NE(material, nullptr);
    EXPECT_FALSE(material->isCloned());
    EXPECT_EQ(clone->materialId(), destination.byLayerMaterialId());
    EXPECT_TRUE(pairOf(map, walls)->isCloned());
    EXPECT_FALSE(pairOf(map, walls)->isPrimary());
}

TEST(DbClone, DuplicateRecordModes)
{
    auto run = [](VxDb::DuplicateRecordCloning drc, VxDbDatabase& destination, VxDbIdMapping& map) {
        VxDbDatabase source;
        const VxDbObjectId walls = addLayer(source, L"Walls", 1);
        auto* circle = new VxDbCircle({0, 0, 0}, {0, 0, 1}, 1.0);
        circle->setDatabaseDefaults(&source);
        circle->setLayer(walls);
        const VxDbObjectId id = addEntity(source.modelSpaceId(), circle);
        EXPECT_EQ(source.wblockCloneObjects({id}, destination.modelSpaceId(), map, drc), Velt::eOk);
        return walls;
    };
    {
        VxDbDatabase destination;
        const VxDbObjectId existing = addLayer(destination, L"Walls", 3);
        VxDbIdMapping map;
        const VxDbObjectId walls = run(VxDb::kDrcIgnore, destination, map);
        (void)walls;
        VxDbObjectPointer<VxDbLayerTableRecord> layer(existing, VxDb::kForRead);
        EXPECT_EQ(layer->colorIndex(), 3);
        VxDbObjectPointer<VxDbCircle> clone(primaryClones(map)[0], VxDb::kForRead);
        EXPECT_EQ(clone->layerId(), existing);
    }
    {
        VxDbDatabase destination;
        const VxDbObjectId existing = addLayer(destination, L"Walls", 3);
        VxDbIdMapping map;
        run(VxDb::kDrcReplace, destination, map);
        VxDbObjectPointer<VxDbLayerTableRecord> layer(existing, VxDb::kForRead);
        EXPECT_EQ(layer->colorIndex(), 1);
        EXPECT_EQ(layer->name(), L"Walls");
    }
    {
        VxDbDatabase destination;
        addLayer(destination, L"Walls", 3);
        VxDbIdMapping map;
        run(VxDb::kDrcMangleName, destination, map);
        const VxDbObjectId mangled = destination.layerId(L"$0$Walls");
        ASSERT_FALSE(mangled.isNull());
        VxDbObjectPointer<VxDbCircle> clone(primaryClones(map)[0], VxDb::kForRead);
        EXPECT_EQ(clone->layerId(), mangled);
    }
}

TEST(DbClone, BlocksReferencesAndInsertingADrawing)
{
    VxDbDatabase part;
    part.setInsbase({5, 5, 0});
    part.setInsunits(VxDb::kUnitsMillimeters);
    addEntity(part.modelSpaceId(), new VxDbLine({0, 0, 0}, {10, 0, 0}));
    addEntity(part.modelSpaceId(), new VxDbCircle({5, 5, 0}, {0, 0, 1}, 2.0));
    const VxDbObjectId gone = addEntity(part.modelSpaceId(), new VxDbPoint({1, 1, 1}));
    {
        VxDbObjectPointer<VxDbPoint> point(gone, VxDb::kForWrite);
        point->erase();
    }

    VxDbDatabase drawing;
    VxDbObjectId blockId;
    ASSERT_EQ(drawing.insert(blockId, L"Part", &part), Velt::eOk);
    {
        VxDbObjectPointer<VxDbBlockTableRecord> block(blockId, VxDb::kForRead);
        ASSERT_TRUE(block);
        EXPECT_EQ(block->name(), L"Part");
        EXPECT_TRUE(block->origin().isEqualTo({5, 5, 0}));
        EXPECT_EQ(block->blockInsertUnits(), VxDb::kUnitsMillimeters);
        EXPECT_EQ(block->entityIds().size(), 2u);  // the erased point stays behind
        VxGeExtents3d extents;
        ASSERT_EQ(block->getGeomExtents(extents), Velt::eOk);
        EXPECT_TRUE(extents.maxPoint().isEqualTo({10, 7, 0}));
    }
    VxDbObjectId again;
    EXPECT_EQ(drawing.insert(again, L"part", &part), Velt::eDuplicateRecordName);
    EXPECT_EQ(drawing.insert(again, L"Self", &drawing), Velt::eSelfReference);
    EXPECT_EQ(drawing.insert(again, L"*Bad", &part), Velt::eInvalidSymbolName);

    // A referenced block cannot be erased.
    auto* reference = new VxDbBlockReference({100, 0, 0}, blockId);
    reference->setScaleFactors({2, 2, 2});
    const VxDbObjectId referenceId = addEntity(drawing.modelSpaceId(), reference);
    {
        VxDbObjectPointer<VxDbBlockTableRecord> block(blockId, VxDb::kForWrite);
        VxDbObjectIdArray references;
        ASSERT_EQ(block->getBlockReferenceIds(references), Velt::eOk);
        EXPECT_EQ(references, VxDbObjectIdArray{referenceId});
        EXPECT_EQ(block->erase(), Velt::eBlockStillReferenced);
    }
    {
        // The reference places the block: origin (5,5) lands on (100,0), doubled.
        VxDbObjectPointer<VxDbBlockReference> open(referenceId, VxDb::kForRead);
        VxGeExtents3d extents;
        ASSERT_EQ(open->getGeomExtents(extents), Velt::eOk);
        EXPECT_TRUE(extents.minPoint().isEqualTo({90, -10, 0}, VxGeTol{1e-9, 1e-9}));
        EXPECT_TRUE(extents.maxPoint().isEqualTo({110, 4, 0}, VxGeTol{1e-9, 1e-9}));
    }

    // Cloning the reference into another drawing brings its block.
    VxDbDatabase other;
    VxDbIdMapping map;
    ASSERT_EQ(drawing.wblockCloneObjects({referenceId}, other.modelSpaceId(), map, VxDb::kDrcIgnore), Velt::eOk);
    const VxDbObjectId otherBlock = other.blockId(L"Part");
    ASSERT_FALSE(otherBlock.isNull());
    VxDbObjectPointer<VxDbBlockReference> clone(primaryClones(map)[0], VxDb::kForRead);
    EXPECT_EQ(clone->blockTableRecord(), otherBlock);
    VxDbObjectPointer<VxDbBlockTableRecord> copied(otherBlock, VxDb::kForRead);
    EXPECT_EQ(copied->entityIds().size(), 2u);

    {
        VxDbObjectPointer<VxDbBlockReference> open(referenceId, VxDb::kForWrite);
        open->erase();
    }
    VxDbObjectPointer<VxDbBlockTableRecord> block(blockId, VxDb::kForWrite);
    EXPECT_EQ(block->erase(), Velt::eOk);
}

TEST(DbClone, Refusals)
{
    VxDbDatabase db;
    VxDbDatabase other;
    const VxDbObjectId line = addEntity(db.modelSpaceId(), new VxDbLine());
    VxDbIdMapping map;
    EXPECT_EQ(db.deepCloneObjects({line}, other.modelSpaceId(), map), Velt::eWrongDatabase);
    EXPECT_EQ(other.deepCloneObjects({line}, other.modelSpaceId(), map), Velt::eWrongDatabase);
    EXPECT_EQ(db.wblockCloneObjects({VxDbObjectId()}, other.modelSpaceId(), map, VxDb::kDrcIgnore),
              Velt::eNullObjectId);
    // An entity cannot become a record of a table.
    EXPECT_EQ(db.deepCloneObjects({line}, db.layerTableId(), map), Velt::eInvalidOwner);
}
