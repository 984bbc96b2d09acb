// Block definitions, block references and walking the symbol tables.

#include <gtest/gtest.h>

#include <cmath>

#include "db/blocks.h"
#include "db/clone.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/group.h"
#include "db/objects.h"
#include "db/symtables.h"

using namespace kx;

namespace {

VxDbObjectId addBlock(VxDbDatabase& db, const wchar_t* name, Velt::ErrorStatus expected = Velt::eOk)
{
    VxDbObjectPointer<VxDbBlockTable> table(db.blockTableId(), VxDb::kForWrite);
    auto* block = new VxDbBlockTableRecord();
    block->setName(name);
    VxDbObjectId id;
    const Velt::ErrorStatus es = table->add(id, block);
    EXPECT_EQ(es, expected) << Velt::statusName(es);
    if (es == Velt::eOk)
        block->close();
    else
        delete block;
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

}  // namespace

TEST(DbBlocks, NamesAndProperties)
{
    VxDbDatabase db;
    const VxDbObjectId first = addBlock(db, L"*U");
    const VxDbObjectId second = addBlock(db, L"*u");
    {
        VxDbObjectPointer<VxDbBlockTableRecord> a(first, VxDb::kForRead);
        VxDbObjectPointer<VxDbBlockTableRecord> b(second, VxDb::kForRead);
        EXPECT_EQ(a->name(), L"*U1");
        EXPECT_EQ(b->name(), L"*U2");
        EXPECT_TRUE(a->isAnonymous());
    }
    addBlock(db, L"*", Velt::eInvalidSymbolName);
    addBlock(db, L"*Model_Space", Velt::eDuplicateRecordName);
    const VxDbObjectId bolt = addBlock(db, L"Bolt");

    VxDbObjectPointer<VxDbBlockTableRecord> block(bolt, VxDb::kForWrite);
    EXPECT_FALSE(block->isAnonymous());
    EXPECT_FALSE(block->isLayout());
    EXPECT_EQ(block->setOrigin({1, 2, 3}), Velt::eOk);
    EXPECT_EQ(block->setOrigin({INFINITY, 0, 0}), Velt::eInvalidInput);
    EXPECT_EQ(block->setBlockInsertUnits(VxDb::kUnitsMeters), Velt::eOk);
    EXPECT_EQ(block->setBlockInsertUnits(VxDb::UnitsValue(99)), Velt::eOutOfRange);
    EXPECT_EQ(block->setBlockScaling(VxDb::kUniform), Velt::eOk);
    EXPECT_EQ(block->setBlockScaling(VxDb::BlockScaling(2)), Velt::eInvalidInput);
    EXPECT_EQ(block->setExplodable(false), Velt::eOk);
    EXPECT_EQ(block->setComments(L"M8 bolt"), Velt::eOk);
    EXPECT_FALSE(block->isFromExternalReference());
    EXPECT_EQ(block->setPathName(L"parts/bolt.dxf"), Velt::eOk);
    EXPECT_TRUE(block->isFromExternalReference());
    EXPECT_EQ(block->setLayoutId(db.layerZero()), Velt::eWrongObjectType);
    EXPECT_EQ(block->blockInsertUnits(), VxDb::kUnitsMeters);
    EXPECT_FALSE(block->explodable());
    EXPECT_EQ(block->comments(), L"M8 bolt");
    VxGeExtents3d extents;
    EXPECT_EQ(block->getGeomExtents(extents), Velt::eNotApplicable);

    // Model space is never anonymous, and the spaces know what they are.
    VxDbObjectPointer<VxDbBlockTableRecord> model(db.modelSpaceId(), VxDb::kForRead);
    EXPECT_TRUE(model->isModelSpace());
    EXPECT_FALSE(model->isAnonymous());
    EXPECT_TRUE(model->isLayout());
    EXPECT_EQ(model->setName(L"World"), Velt::eNotOpenForWrite);
}

TEST(DbBlocks, AppendingRules)
{
    VxDbDatabase db;
    const VxDbObjectId bolt = addBlock(db, L"Bolt");
    VxDbObjectPointer<VxDbBlockTableRecord> block(bolt, VxDb::kForRead);
    auto* line = new VxDbLine();
    EXPECT_EQ(block->appendVxDbEntity(line), Velt::eNotOpenForWrite);
    block->upgradeOpen();
    EXPECT_EQ(block->appendVxDbEntity(nullptr), Velt::eNullObjectPointer);
    ASSERT_EQ(block->appendVxDbEntity(line), Velt::eOk);
    // An entity without database defaults gets them when it is appended.
    EXPECT_EQ(line->layerId(), db.layerZero());
    EXPECT_EQ(line->linetypeId(), db.byLayerLinetype());
    line->close();
    VxDbBlockTableRecord loose;
    VxDbLine other;
    EXPECT_EQ(loose.appendVxDbEntity(&other), Velt::eNotInDatabase);
    ASSERT_EQ(block->erase(), Velt::eOk);
    auto* late = new VxDbCircle();
    EXPECT_EQ(block->appendVxDbEntity(late), Velt::eWasErased);
    delete late;
    // Erasing the block erased its entity too.
    EXPECT_TRUE(line->isErased());
}

TEST(DbBlocks, ReferencesPlaceTransformAndMirror)
{
    VxDbDatabase db;
    const VxDbObjectId bolt = addBlock(db, L"Bolt");
    addEntity(bolt, new VxDbLine({0, 0, 0}, {2, 0, 0}));
    auto* reference = new VxDbBlockReference({10, 0, 0}, bolt);
    EXPECT_EQ(reference->setScaleFactors({1, 0, 1}), Velt::eInvalidInput);
    EXPECT_EQ(reference->setNormal({0, 0, 0}), Velt::eInvalidInput);
    const VxDbObjectId id = addEntity(db.modelSpaceId(), reference);

    VxDbObjectPointer<VxDbBlockReference> open(id, VxDb::kForWrite);
    EXPECT_EQ(open->setBlockTableRecord(db.layerZero()), Velt::eWrongObjectType);
    // Rotated a quarter turn about the origin and doubled.
    const VxGeMatrix3d xform = VxGeMatrix3d::rotation(kHalfPi, VxGeVector3d::kZAxis) * VxGeMatrix3d::scaling(2.0);
    ASSERT_EQ(open->transformBy(xform), Velt::eOk);
    EXPECT_TRUE(open->position().isEqualTo({0, 20, 0}));
    EXPECT_NEAR(open->rotation(), kHalfPi, 1e-12);
    EXPECT_NEAR(open->scaleFactors().x, 2.0, 1e-12);
    VxGeExtents3d extents;
    ASSERT_EQ(open->getGeomExtents(extents), Velt::eOk);
    EXPECT_TRUE(extents.minPoint().isEqualTo({0, 20, 0}, VxGeTol{1e-9, 1e-9}));
    EXPECT_TRUE(extents.maxPoint().isEqualTo({0, 24, 0}, VxGeTol{1e-9, 1e-9}));

    // A mirror keeps the placement exact: the block's line lands where the
    // mirrored line would.
    const VxGeMatrix3d mirror = VxGeMatrix3d::mirroring(VxGePlane::kZXPlane);
    ASSERT_EQ(open->transformBy(mirror), Velt::eOk);
    ASSERT_EQ(open->getGeomExtents(extents), Velt::eOk);
    EXPECT_TRUE(extents.minPoint().isEqualTo({0, -24, 0}, VxGeTol{1e-9, 1e-9}));
    EXPECT_TRUE(extents.maxPoint().isEqualTo({0, -20, 0}, VxGeTol{1e-9, 1e-9}));
    EXPECT_LT(open->blockTransform().det(), 0.0);
    EXPECT_EQ(open->transformBy(VxGeMatrix3d::scaling(1.0, 2.0, 1.0)), Velt::eCannotScaleNonUniformly);

    // A block cannot contain a reference to itself.
    VxDbBlockReference* inner = new VxDbBlockReference({0, 0, 0}, db.modelSpaceId());
    const VxDbObjectId innerId = addEntity(bolt, inner);
    VxDbObjectPointer<VxDbBlockReference> self(innerId, VxDb::kForWrite);
    EXPECT_EQ(self->setBlockTableRecord(bolt), Velt::eSelfReference);
}

TEST(DbTables, IteratingWithErasedRecordsAndFindingThem)
{
    VxDbDatabase db;
    VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForWrite);
    std::vector<VxDbObjectId> ids;
    for (const wchar_t* name : {L"A", L"B", L"C"}) {
        auto* layer = new VxDbLayerTableRecord();
        layer->setName(name);
        VxDbObjectId id;
        table->add(id, layer);
        layer->close();
        ids.push_back(id);
    }
    {
        VxDbObjectPointer<VxDbLayerTableRecord> b(ids[1], VxDb::kForWrite);
        b->erase();
    }
    VxDbObjectId found;
    EXPECT_EQ(table->getAt(L"B", found), Velt::eKeyNotFound);
    EXPECT_EQ(table->getAt(L"b", found, true), Velt::eOk);
    EXPECT_EQ(found, ids[1]);
    EXPECT_FALSE(table->has(ids[1]));
    EXPECT_TRUE(table->has(ids[2]));

    std::unique_ptr<VxDbSymbolTableIterator> it;
    ASSERT_EQ(table->newIterator(it, false), Velt::eOk);
    std::vector<VxDbObjectId> backwards;
    for (; !it->done(); it->step(false))
        backwards.push_back(it->currentId());
    EXPECT_EQ(backwards, (std::vector<VxDbObjectId>{ids[2], ids[0], db.layerZero()}));
    ASSERT_EQ(table->newIterator(it, true, false), Velt::eOk);
    size_t all = 0;
    for (; !it->done(); it->step(true, false))
        ++all;
    EXPECT_EQ(all, 4u);
    EXPECT_EQ(it->seek(db.modelSpaceId()), Velt::eKeyNotFound);
    VxDbLayerTable loose;
    EXPECT_EQ(loose.newIterator(it), Velt::eNoIterator);
    EXPECT_EQ(it, nullptr);

    // Ids taken many at once pass over the erased record and leave the walk where step() would.
    ASSERT_EQ(table->newIterator(it), Velt::eOk);
    VxDbObjectId taken[4];
    EXPECT_EQ(it->nextIds(taken, 2), 2u);
    EXPECT_EQ(taken[0], db.layerZero());
    EXPECT_EQ(taken[1], ids[0]);
    EXPECT_EQ(it->currentId(), ids[2]);
    EXPECT_EQ(it->nextIds(taken, 4), 1u);
    EXPECT_EQ(taken[0], ids[2]);
    EXPECT_TRUE(it->done());
    EXPECT_EQ(it->nextIds(taken, 4), 0u);
    ASSERT_EQ(table->newIterator(it, true, false), Velt::eOk);
    EXPECT_EQ(it->nextIds(taken, 4, false), 4u);
    EXPECT_EQ(taken[2], ids[1]);
}

TEST(DbDictionary, EntriesMoveAndEraseWithTheirDictionary)
{
    VxDbDatabase db;
    VxDbObjectId first, second, record;
    {
        VxDbObjectPointer<VxDbDictionary> root(db.namedObjectsDictionaryId(), VxDb::kForWrite);
        auto* a = new VxDbDictionary();
        auto* b = new VxDbDictionary();
        root->setAt(L"FIRST", a, first);
        root->setAt(L"SECOND", b, second);
        auto* x = new VxDbXrecord();
        a->setAt(L"X", x, record);
        x->close();
        // Moving the record over takes it out of the first dictionary.
        ASSERT_EQ(b->setAt(L"MOVED", x, record), Velt::eOk);
        EXPECT_FALSE(a->has(L"X"));
        EXPECT_EQ(b->getIdAt(L"moved"), record);
        EXPECT_EQ(x->ownerId(), second);
        EXPECT_EQ(b->setAt(L"SELF", b, record), Velt::eSelfReference);
        a->close();
        b->close();
    }
    {
        VxDbObjectPointer<VxDbDictionary> b(second, VxDb::kForWrite);
        VxDbDatabase other;
        VxDbObjectPointer<VxDbDictionary> foreign(other.namedObjectsDictionaryId(), VxDb::kForRead);
        VxDbObjectId ignored;
        EXPECT_EQ(b->setAt(L"FOREIGN", foreign.get(), ignored), Velt::eWrongDatabase);
        std::unique_ptr<VxDbDictionaryIterator> it;
        ASSERT_EQ(b->newIterator(it), Velt::eOk);
        EXPECT_TRUE(it->setPosition(b->getIdAt(L"MOVED")));
        EXPECT_EQ(it->name(), L"MOVED");
        EXPECT_FALSE(it->next());
        ASSERT_EQ(b->erase(), Velt::eOk);
    }
    const VxDbObjectId moved = VxDbDictionary::cast(detail::objectOf(second))->entries().front().id;
    EXPECT_TRUE(moved.isErased());
    VxDbObjectPointer<VxDbDictionary> root(db.namedObjectsDictionaryId(), VxDb::kForRead);
    EXPECT_FALSE(root->has(L"SECOND"));
    EXPECT_TRUE(root->has(L"first"));
}

TEST(DbClone, ReferencesBetweenCopiesPointToTheCopies)
{
    VxDbDatabase db;
    VxDbObjectId folder, target, pointer;
    {
        VxDbObjectPointer<VxDbDictionary> root(db.namedObjectsDictionaryId(), VxDb::kForWrite);
        auto* dictionary = new VxDbDictionary();
        root->setAt(L"FOLDER", dictionary, folder);
        auto* a = new VxDbXrecord();
        dictionary->setAt(L"TARGET", a, target);
        a->close();
        auto* b = new VxDbXrecord();
        VxResBuf* ref = vxutNewRb(340);
        ref->resval.rlname[0] = target.asOldId();
        VxResBufPtr data = vxutChain({vxutNewString(1, L"points at TARGET"), ref});
        b->setFromRbChain(data.get());
        dictionary->setAt(L"POINTER", b, pointer);
        b->close();
        dictionary->close();
    }
    VxDbIdMapping map;
    ASSERT_EQ(db.deepCloneObjects({folder}, db.namedObjectsDictionaryId(), map), Velt::eOk);
    ASSERT_EQ(map.numPairs(), 3u);
    VxDbIdPair folderPair(folder, VxDbObjectId(), false);
    ASSERT_TRUE(map.compute(folderPair));
    VxDbObjectPointer<VxDbDictionary> copy(folderPair.value(), VxDb::kForRead);
    std::wstring key;
    VxDbObjectPointer<VxDbDictionary> root(db.namedObjectsDictionaryId(), VxDb::kForRead);
    ASSERT_EQ(root->nameAt(copy->objectId(), key), Velt::eOk);
    EXPECT_EQ(key, L"FOLDER(1)");  // the copy's key in the same dictionary is made unique
    VxDbObjectPointer<VxDbXrecord> pointerCopy(copy->getIdAt(L"POINTER"), VxDb::kForRead);
    ASSERT_TRUE(pointerCopy);
    EXPECT_NE(pointerCopy->objectId(), pointer);
    const VxDbObjectId pointsAt = VxDbObjectId::fromOldId(pointerCopy->data()->rbnext->resval.rlname[0]);
    EXPECT_EQ(pointsAt, copy->getIdAt(L"TARGET"));
    EXPECT_NE(pointsAt, target);
    EXPECT_TRUE(map.del(folder));
    EXPECT_FALSE(map.compute(folderPair));
}

TEST(DbClone, GroupsAcrossDrawingsLoseMembersTheyDoNotBring)
{
    VxDbDatabase source;
    VxDbObjectId member, outsider, groupId;
    {
        VxDbObjectPointer<VxDbBlockTableRecord> space(source.modelSpaceId(), VxDb::kForWrite);
        auto* a = new VxDbLine();
        auto* b = new VxDbLine();
        space->appendVxDbEntity(member, a);
        space->appendVxDbEntity(outsider, b);
        a->close();
        b->close();
        VxDbObjectPointer<VxDbDictionary> groups(source.groupDictionaryId(), VxDb::kForWrite);
        auto* group = new VxDbGroup(L"pair");
        groups->setAt(L"PAIR", group, groupId);
        group->append(VxDbObjectIdArray{member, outsider});
        group->close();
    }
    VxDbDatabase destination;
    VxDbIdMapping map;
    // The group's members are pointers: the clone of a member goes along
    // with the group, a member not cloned drops out.
    ASSERT_EQ(source.wblockCloneObjects({member}, destination.modelSpaceId(), map, VxDb::kDrcIgnore), Velt::eOk);
    ASSERT_EQ(source.wblockCloneObjects({groupId}, destination.groupDictionaryId(), map, VxDb::kDrcIgnore),
              Velt::eOk);
    VxDbIdPair pair(groupId, VxDbObjectId(), false);
    ASSERT_TRUE(map.compute(pair));
    VxDbObjectPointer<VxDbGroup> clone(pair.value(), VxDb::kForRead);
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->name(), L"PAIR");
    VxDbIdPair memberPair(member, VxDbObjectId(), false);
    ASSERT_TRUE(map.compute(memberPair));
    EXPECT_EQ(clone->allEntityIds(), VxDbObjectIdArray{memberPair.value()});
}
