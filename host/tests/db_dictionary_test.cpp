// Dictionaries, extended records and groups.

#include <gtest/gtest.h>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/group.h"
#include "db/objects.h"
#include "services/display.h"

using namespace kx;

namespace {

VxDbObjectId addXrecord(VxDbObjectId dictionaryId, const wchar_t* key, Velt::ErrorStatus expected = Velt::eOk)
{
    VxDbObjectPointer<VxDbDictionary> dictionary(dictionaryId, VxDb::kForWrite);
    auto* record = new VxDbXrecord();
    VxDbObjectId id;
    const Velt::ErrorStatus es = dictionary->setAt(key, record, id);
    EXPECT_EQ(es, expected) << Velt::statusName(es);
    if (es == Velt::eOk)
        record->close();
    else
        delete record;
    return id;
}

std::vector<std::wstring> keysOf(VxDbObjectId dictionaryId)
{
    VxDbObjectPointer<VxDbDictionary> dictionary(dictionaryId, VxDb::kForRead);
    std::unique_ptr<VxDbDictionaryIterator> it;
    std::vector<std::wstring> keys;
    if (dictionary->newIterator(it) != Velt::eOk)
        return keys;
    for (; !it->done(); it->next())
        keys.push_back(it->name());
    return keys;
}

VxDbObjectId addCircle(VxDbDatabase& db, double radius)
{
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
    auto* circle = new VxDbCircle({0, 0, 0}, {0, 0, 1}, radius);
    VxDbObjectId id;
    EXPECT_EQ(space->appendVxDbEntity(id, circle), Velt::eOk);
    circle->close();
    return id;
}

}  // namespace

TEST(DbDictionary, OrderedAndWithoutRegardToCase)
{
    VxDbDatabase db;
    const VxDbObjectId root = db.namedObjectsDictionaryId();
    VxDbObjectId mine;
    {
        VxDbObjectPointer<VxDbDictionary> dictionary(root, VxDb::kForWrite);
        auto* sub = new VxDbDictionary();
        ASSERT_EQ(dictionary->setAt(L"MY_DATA", sub, mine), Velt::eOk);
        sub->close();
    }
    const VxDbObjectId zebra = addXrecord(mine, L"Zebra");
    const VxDbObjectId apple = addXrecord(mine, L"apple");
    addXrecord(mine, L"", Velt::eInvalidInput);
    EXPECT_EQ(keysOf(mine), (std::vector<std::wstring>{L"Zebra", L"apple"}));

    VxDbObjectPointer<VxDbDictionary> dictionary(mine, VxDb::kForWrite);
    EXPECT_EQ(dictionary->getIdAt(L"ZEBRA"), zebra);
    EXPECT_TRUE(dictionary->has(L"APPLE"));
    EXPECT_TRUE(dictionary->has(apple));
    std::wstring key;
    EXPECT_EQ(dictionary->nameAt(apple, key), Velt::eOk);
    EXPECT_EQ(key, L"apple");
    EXPECT_EQ(dictionary->nameAt(root, key), Velt::eKeyNotFound);
    EXPECT_EQ(dictionary->numEntries(), 2u);

    // Renaming: unknown old key, taken new key, then a real one.
    EXPECT_EQ(dictionary->setName(L"pear", L"plum"), Velt::eKeyNotFound);
    EXPECT_EQ(dictionary->setName(L"apple", L"zebra"), Velt::eDuplicateKey);
    EXPECT_EQ(dictionary->setName(L"APPLE", L"Cherry"), Velt::eOk);
    EXPECT_EQ(dictionary->getIdAt(L"cherry"), apple);
    EXPECT_FALSE(dictionary->has(L"apple"));

    // Replacing an entry erases the object it held.
    auto* replacement = new VxDbXrecord();
    VxDbObjectId replacementId;
    ASSERT_EQ(dictionary->setAt(L"zebra", replacement, replacementId), Velt::eOk);
    replacement->close();
    EXPECT_TRUE(zebra.isErased());
    EXPECT_EQ(dictionary->getIdAt(L"Zebra"), replacementId);

    // Anonymous keys are made up; removing keeps the object, without owner.
    auto* anonymous = new VxDbXrecord();
    VxDbObjectId anonymousId;
    ASSERT_EQ(dictionary->setAt(L"*", anonymous, anonymousId), Velt::eOk);
    anonymous->close();
    ASSERT_EQ(dictionary->nameAt(anonymousId, key), Velt::eOk);
    EXPECT_EQ(key.substr(0, 2), L"*A");
    VxDbObjectId removed;
    EXPECT_EQ(dictionary->remove(L"cherry", removed), Velt::eOk);
    EXPECT_EQ(removed, apple);
    EXPECT_EQ(dictionary->remove(L"cherry"), Velt::eKeyNotFound);
    EXPECT_FALSE(apple.isErased());
    VxDbObjectPointer<VxDbXrecord> orphan(apple, VxDb::kForRead);
    EXPECT_TRUE(orphan->ownerId().isNull());
    dictionary.close();

    // An erased entry is absent until it is restored.
    {
        VxDbObjectPointer<VxDbXrecord> record(replacementId, VxDb::kForWrite);
        record->erase();
    }
    EXPECT_EQ(keysOf(mine).size(), 1u);
    dictionary.open(mine, VxDb::kForRead);
    EXPECT_FALSE(dictionary->has(L"zebra"));
    EXPECT_EQ(dictionary->getAt(L"zebra", key.empty() ? removed : removed), Velt::eKeyNotFound);
}

TEST(DbXrecord, DataAndReferenceTranslationFlag)
{
    VxDbDatabase db;
    VxDbXrecord record;
    EXPECT_TRUE(record.isXlateReferences());
    VxResBufPtr bad = vxutChain({vxutNewInt16(1070, 1)});
    EXPECT_EQ(record.setFromRbChain(bad.get()), Velt::eInvalidDxfCode);
    VxResBufPtr handle = vxutChain({vxutNewString(5, L"1F")});
    EXPECT_EQ(record.setFromRbChain(handle.get()), Velt::eInvalidDxfCode);

    VxResBuf* name = vxutNewRb(340);
    name->resval.rlname[0] = db.layerZero().asOldId();
    VxResBufPtr data = vxutChain({vxutNewString(1, L"text"), vxutNewReal(40, 1.5), vxutNewInt16(70, 3),
                                  vxutNewInt32(90, 100000), vxutNewInt64(160, 1ll << 40), vxutNewInt16(290, 1),
                                  vxutNewPoint(10, 1, 2, 3), name});
    ASSERT_EQ(record.setFromRbChain(data.get()), Velt::eOk);
    VxResBuf* copy = nullptr;
    ASSERT_EQ(record.rbChain(copy), Velt::eOk);
    EXPECT_TRUE(vxutChainsEqual(copy, data.get()));
    vxutRelRb(copy);
    EXPECT_EQ(record.setXlateReferences(false), Velt::eOk);
    EXPECT_FALSE(record.isXlateReferences());
    EXPECT_EQ(record.setFromRbChain(nullptr), Velt::eOk);
    EXPECT_EQ(record.data(), nullptr);
}

TEST(DbGroup, MembersAndTheSettersThatReachThem)
{
    VxDbDatabase db;
    const VxDbObjectId a = addCircle(db, 1.0);
    const VxDbObjectId b = addCircle(db, 2.0);
    const VxDbObjectId c = addCircle(db, 3.0);
    VxDbObjectId groupId;
    {
        VxDbObjectPointer<VxDbDictionary> groups(db.groupDictionaryId(), VxDb::kForWrite);
        auto* group = new VxDbGroup(L"Bolts");
        ASSERT_EQ(groups->setAt(L"BOLTS", group, groupId), Velt::eOk);
        EXPECT_EQ(group->append(VxDbObjectIdArray{a, b}), Velt::eOk);
        EXPECT_EQ(group->append(a), Velt::eDuplicateKey);
        EXPECT_EQ(group->append(db.layerZero()), Velt::eWrongObjectType);
        EXPECT_EQ(group->insertAt(0, c), Velt::eOk);
        EXPECT_EQ(group->insertAt(9, c), Velt::eInvalidIndex);
        group->close();
    }
    VxDbObjectPointer<VxDbGroup> group(groupId, VxDb::kForWrite);
    EXPECT_EQ(group->name(), L"BOLTS");
    EXPECT_FALSE(group->isAnonymous());
    EXPECT_EQ(group->allEntityIds(), (VxDbObjectIdArray{c, a, b}));

    VxDbObjectId layer;
    {
        VxDbObjectPointer<VxDbLayerTable> table(db.layerTableId(), VxDb::kForWrite);
        auto* record = new VxDbLayerTableRecord();
        record->setName(L"Bolts");
        table->add(layer, record);
        record->close();
    }
    EXPECT_EQ(group->setLayer(L"Bolts"), Velt::eOk);
    EXPECT_EQ(group->setColorIndex(3), Velt::eOk);
    EXPECT_EQ(group->setLinetypeScale(2.0), Velt::eOk);
    EXPECT_EQ(group->setVisibility(VxDb::kInvisible), Velt::eOk);
    EXPECT_EQ(group->setLayer(L"NoSuchLayer"), Velt::eKeyNotFound);
    for (VxDbObjectId id : {a, b, c}) {
        VxDbObjectPointer<VxDbEntity> member(id, VxDb::kForRead);
        EXPECT_EQ(member->layerId(), layer);
        EXPECT_EQ(member->colorIndex(), 3);
        EXPECT_EQ(member->linetypeScale(), 2.0);
        EXPECT_EQ(member->visibility(), VxDb::kInvisible);
    }
    EXPECT_EQ(group->setHighlight(true), Velt::eOk);
    EXPECT_TRUE(VxHostDisplay::instance().isHighlighted(b));
    EXPECT_EQ(group->setHighlight(false), Velt::eOk);
    EXPECT_FALSE(VxHostDisplay::instance().isHighlighted(b));

    // An erased member drops out of the count and the iteration.
    {
        VxDbObjectPointer<VxDbEntity> member(a, VxDb::kForWrite);
        member->erase();
    }
    EXPECT_EQ(group->numEntities(), 2);
    group->downgradeOpen();
    std::unique_ptr<VxDbGroupIterator> it;
    ASSERT_EQ(group->newIterator(it), Velt::eOk);
    std::vector<VxDbObjectId> seen;
    for (; !it->done(); it->next())
        seen.push_back(it->objectId());
    EXPECT_EQ(seen, (std::vector<VxDbObjectId>{c, b}));
    EXPECT_EQ(group->remove(b), Velt::eNotOpenForWrite);
    group->upgradeOpen();
    EXPECT_EQ(group->remove(b), Velt::eOk);
    EXPECT_EQ(group->remove(b), Velt::eKeyNotFound);
}
