// Ownership over several levels: erasing and restoring whole trees,
// dictionaries that would come to own their own owners, open states of
// objects in such trees, handles given out after readers and clones, and
// clones of nested owners.

#include <gtest/gtest.h>

#include <algorithm>

#include "db/blocks.h"
#include "db/clone.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/objects.h"
#include "services/hostservices.h"

using namespace kx;

namespace {

VxDbObjectId addLine(VxDbDatabase& db, double x = 0)
{
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
    auto* line = new VxDbLine({x, 0, 0}, {x + 1, 0, 0});
    VxDbObjectId id;
    EXPECT_EQ(space->appendVxDbEntity(id, line), Velt::eOk);
    line->close();
    return id;
}

// A new dictionary under key in the dictionary parent.
VxDbObjectId addDictionary(VxDbObjectId parent, const wchar_t* key)
{
    VxDbObjectPointer<VxDbDictionary> owner(parent, VxDb::kForWrite);
    EXPECT_EQ(owner.openStatus(), Velt::eOk);
    auto* dictionary = new VxDbDictionary();
    VxDbObjectId id;
    EXPECT_EQ(owner->setAt(key, dictionary, id), Velt::eOk);
    dictionary->close();
    return id;
}

VxDbObjectId addXrecord(VxDbObjectId parent, const wchar_t* key, VxResBuf* data = nullptr)
{
    VxDbObjectPointer<VxDbDictionary> owner(parent, VxDb::kForWrite);
    auto* xrecord = new VxDbXrecord();
    VxResBufPtr chain(data ? data : vxutNewInt16(70, 1));
    EXPECT_EQ(xrecord->setFromRbChain(chain.get()), Velt::eOk);
    VxDbObjectId id;
    EXPECT_EQ(owner->setAt(key, xrecord, id), Velt::eOk);
    xrecord->close();
    return id;
}

Velt::ErrorStatus eraseId(VxDbObjectId id, bool erasing = true)
{
    VxDbObject* object = nullptr;
    if (Velt::ErrorStatus es = vxdbOpenObject(object, id, VxDb::kForWrite, true))
        return es;
    const Velt::ErrorStatus es = object->erase(erasing);
    object->close();
    return es;
}

const VxDbIdPair* pairOf(const VxDbIdMapping& map, VxDbObjectId key)
{
    for (const VxDbIdPair& pair : map.pairs()) {
        if (pair.key() == key)
            return &pair;
    }
    return nullptr;
}

}  // namespace

// Erasing an owner takes everything below it along, over any number of
// levels; restoring it brings the same objects back, and each level can be
// looked up again by its key.
TEST(DbOwnership, ErasingAndRestoringATree)
{
    VxDbDatabase db;
    const VxDbObjectId root = db.namedDictionaryId(L"KX_TREE", true);
    const VxDbObjectId middle = addDictionary(root, L"MIDDLE");
    const VxDbObjectId leaf = addDictionary(middle, L"LEAF");
    const VxDbObjectId record = addXrecord(leaf, L"DATA");
    const VxDbObjectId side = addXrecord(middle, L"SIDE");
    const VxDbObjectId line = addLine(db);
    VxDbObjectId xdict, note;
    {
        VxDbObjectPointer<VxDbLine> open(line, VxDb::kForWrite);
        ASSERT_EQ(open->createExtensionDictionary(), Velt::eOk);
        xdict = open->extensionDictionary();
    }
    note = addXrecord(xdict, L"NOTE");

    ASSERT_EQ(eraseId(middle), Velt::eOk);
    for (VxDbObjectId id : {middle, leaf, record, side})
        EXPECT_TRUE(id.isErased());
    {
        VxDbObjectPointer<VxDbDictionary> top(root);
        EXPECT_FALSE(top->has(L"MIDDLE"));
        EXPECT_EQ(top->numEntries(), 0u);
    }
    // The erased tree can be opened on request, not otherwise.
    VxDbObject* object = nullptr;
    EXPECT_EQ(vxdbOpenObject(object, record, VxDb::kForRead), Velt::eWasErased);
    ASSERT_EQ(vxdbOpenObject(object, record, VxDb::kForRead, true), Velt::eOk);
    EXPECT_TRUE(object->isErased());
    object->close();

    ASSERT_EQ(eraseId(middle, false), Velt::eOk);
    for (VxDbObjectId id : {middle, leaf, record, side})
        EXPECT_FALSE(id.isErased());
    {
        VxDbObjectPointer<VxDbDictionary> top(root);
        EXPECT_EQ(top->getIdAt(L"middle"), middle);
        VxDbObjectPointer<VxDbDictionary> mid(middle);
        EXPECT_EQ(mid->getIdAt(L"leaf"), leaf);
        VxDbObjectPointer<VxDbDictionary> bottom(leaf);
        EXPECT_EQ(bottom->getIdAt(L"Data"), record);
    }

    // An entity takes its extension dictionary and what it holds along, and
    // brings them back.
    ASSERT_EQ(eraseId(line), Velt::eOk);
    EXPECT_TRUE(xdict.isErased());
    EXPECT_TRUE(note.isErased());
    ASSERT_EQ(eraseId(line, false), Velt::eOk);
    EXPECT_FALSE(xdict.isErased());
    EXPECT_FALSE(note.isErased());

    // An erased entry's key may be used again; restoring the old entry then
    // does not give the key two live objects.
    ASSERT_EQ(eraseId(side), Velt::eOk);
    const VxDbObjectId replacement = addXrecord(middle, L"SIDE");
    EXPECT_NE(replacement, side);
    eraseId(side, false);
    {
        VxDbObjectPointer<VxDbDictionary> mid(middle);
        EXPECT_EQ(mid->getIdAt(L"SIDE"), replacement);
        size_t live = 0;
        for (const auto& entry : mid->entries())
            live += vxEqualNoCase(entry.key, L"SIDE") && !entry.id.isErased();
        EXPECT_EQ(live, 1u);
    }
    // Erasing needs write; an object open for read by someone else cannot be erased.
    VxDbObject* reader = nullptr;
    ASSERT_EQ(vxdbOpenObject(reader, leaf, VxDb::kForRead), Velt::eOk);
    EXPECT_EQ(reader->erase(), Velt::eNotOpenForWrite);
    EXPECT_EQ(eraseId(leaf), Velt::eWasOpenForRead);
    reader->close();
    EXPECT_FALSE(leaf.isErased());
}

// A dictionary may hold an object of another dictionary (it moves over),
// but never one of its own owners: ownership would go round, and the tree
// would be lost from the drawing.
TEST(DbOwnership, DictionariesNeverOwnTheirOwners)
{
    VxDbDatabase db;
    const VxDbObjectId root = db.namedDictionaryId(L"KX_TREE", true);
    const VxDbObjectId a = addDictionary(root, L"A");
    const VxDbObjectId b = addDictionary(a, L"B");
    const VxDbObjectId c = addDictionary(b, L"C");
    const VxDbObjectId other = addDictionary(root, L"OTHER");
    const VxDbObjectId record = addXrecord(c, L"R");

    for (VxDbObjectId ancestor : {a, b, root, db.namedObjectsDictionaryId()}) {
        VxDbObjectPointer<VxDbDictionary> inner(c, VxDb::kForWrite);
        ASSERT_EQ(inner.openStatus(), Velt::eOk);
        VxDbObject* value = detail::objectOf(ancestor);
        VxDbObjectId id;
        EXPECT_EQ(inner->setAt(L"LOOP", value, id), Velt::eSelfReference);
        EXPECT_FALSE(inner->has(L"LOOP"));
    }
    // Nothing moved: the tree hangs from the root as before.
    EXPECT_EQ(detail::objectOf(a)->ownerId(), root);
    EXPECT_EQ(detail::objectOf(b)->ownerId(), a);
    EXPECT_EQ(detail::objectOf(c)->ownerId(), b);
    EXPECT_EQ(detail::objectOf(root)->ownerId(), db.namedObjectsDictionaryId());
    {
        VxDbObjectPointer<VxDbDictionary> top(root);
        EXPECT_TRUE(top->has(L"A"));
    }

    // Moving an entry to another dictionary: it leaves the old one.
    {
        VxDbObjectPointer<VxDbDictionary> target(other, VxDb::kForWrite);
        VxDbObjectId id;
        ASSERT_EQ(target->setAt(L"MOVED", detail::objectOf(record), id), Velt::eOk);
        EXPECT_EQ(id, record);
    }
    EXPECT_EQ(detail::objectOf(record)->ownerId(), other);
    {
        VxDbObjectPointer<VxDbDictionary> from(c);
        EXPECT_FALSE(from->has(L"R"));
        EXPECT_EQ(from->numEntries(), 0u);
    }
    // Erasing the old dictionary no longer takes the record along.
    ASSERT_EQ(eraseId(c), Velt::eOk);
    EXPECT_FALSE(record.isErased());
}

// Open states: upgrading and downgrading only from the right state, notify
// opens next to readers, and the reader limit.
TEST(DbOwnership, OpenStatesAndTheirLimits)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLine(db);
    VxDbObject* object = detail::objectOf(id);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->upgradeOpen(), Velt::eNotOpenForRead);
    EXPECT_EQ(object->downgradeOpen(), Velt::eNotOpenForWrite);
    EXPECT_EQ(object->close(), Velt::eInvalidOpenState);

    VxDbObject* opened = nullptr;
    ASSERT_EQ(vxdbOpenObject(opened, id, VxDb::kForWrite), Velt::eOk);
    EXPECT_EQ(opened->upgradeOpen(), Velt::eWasOpenForWrite);
    ASSERT_EQ(opened->downgradeOpen(), Velt::eOk);
    EXPECT_TRUE(opened->isModified());
    EXPECT_FALSE(opened->isWriteEnabled());
    EXPECT_EQ(opened->downgradeOpen(), Velt::eNotOpenForWrite);
    EXPECT_EQ(opened->close(), Velt::eOk);
    EXPECT_FALSE(opened->isReadEnabled());

    // An open mode that does not exist is refused.
    EXPECT_EQ(vxdbOpenObject(opened, id, VxDb::OpenMode(77)), Velt::eInvalidInput);
    EXPECT_EQ(opened, nullptr);
    EXPECT_EQ(object->numReaders(), 0);

    // The reader count does not wrap: at the limit one more is refused, and
    // closing them all leaves the object closed.
    int readers = 0;
    Velt::ErrorStatus es = Velt::eOk;
    while (readers < 70000 && (es = vxdbOpenObject(opened, id, VxDb::kForRead)) == Velt::eOk)
        ++readers;
    EXPECT_EQ(es, Velt::eAtMaxReaders);
    EXPECT_EQ(readers, 65535);
    EXPECT_EQ(vxdbOpenObject(opened, id, VxDb::kForWrite), Velt::eWasOpenForRead);
    for (int i = 0; i < readers; ++i)
        ASSERT_EQ(object->close(), Velt::eOk);
    EXPECT_EQ(object->numReaders(), 0);
    EXPECT_EQ(object->close(), Velt::eInvalidOpenState);
    int notifiers = 0;
    while (notifiers < 300 && vxdbOpenObject(opened, id, VxDb::kForNotify) == Velt::eOk)
        ++notifiers;
    EXPECT_EQ(notifiers, 255);
    // Notify opens stay out of the way of a writer.
    ASSERT_EQ(vxdbOpenObject(opened, id, VxDb::kForWrite), Velt::eOk);
    EXPECT_EQ(opened->close(), Velt::eOk);
    for (int i = 0; i < notifiers; ++i)
        ASSERT_EQ(object->close(), Velt::eOk);
    EXPECT_FALSE(object->isNotifyEnabled());
}

// Handles: given ones are reserved, the seed only moves forward, and ids
// asked for before their object exists are filled later.
TEST(DbOwnership, HandlesGivenAndReserved)
{
    VxDbDatabase db;
    const uint64_t start = db.handseed().value();
    EXPECT_EQ(db.setHandseed(VxDbHandle(start - 1)), Velt::eInvalidInput);
    EXPECT_EQ(db.handseed().value(), start);
    ASSERT_EQ(db.setHandseed(VxDbHandle(start + 100)), Velt::eOk);
    const VxDbObjectId next = addLine(db);
    EXPECT_EQ(next.handle().value(), start + 100);

    // A placeholder id first, its object later under the same handle.
    VxDbObjectId placeholder;
    ASSERT_EQ(db.getVxDbObjectId(placeholder, true, VxDbHandle(start + 500)), Velt::eOk);
    EXPECT_FALSE(placeholder.isNull());
    VxDbObject* object = nullptr;
    EXPECT_EQ(vxdbOpenObject(object, placeholder, VxDb::kForRead), Velt::eNullObjectPointer);
    auto* xrecord = new VxDbXrecord();
    VxDbObjectId filled;
    ASSERT_EQ(db.addVxDbObjectWithHandle(filled, xrecord, VxDbHandle(start + 500)), Velt::eOk);
    xrecord->close();
    EXPECT_EQ(filled, placeholder);
    EXPECT_EQ(vxdbOpenObject(object, placeholder, VxDb::kForRead), Velt::eOk);
    object->close();
    EXPECT_GT(db.handseed().value(), start + 500);

    // A handle in use, or the null handle, is refused and the object stays the caller's.
    auto* taken = new VxDbXrecord();
    VxDbObjectId none;
    EXPECT_EQ(db.addVxDbObjectWithHandle(none, taken, next.handle()), Velt::eHandleInUse);
    EXPECT_FALSE(taken->isResident());
    EXPECT_NE(db.addVxDbObjectWithHandle(none, taken, VxDbHandle()), Velt::eOk);
    EXPECT_FALSE(taken->isResident());
    delete taken;

    // Handles never repeat, whatever was erased or given by hand.
    eraseId(next);
    std::vector<uint64_t> handles;
    for (int i = 0; i < 50; ++i)
        handles.push_back(addLine(db, i).handle().value());
    for (uint64_t h : handles) {
        EXPECT_NE(h, next.handle().value());
        EXPECT_NE(h, start + 500);
    }
    std::sort(handles.begin(), handles.end());
    EXPECT_EQ(std::adjacent_find(handles.begin(), handles.end()), handles.end());
}

// Cloning a tree of dictionaries copies every level, each copy owned by the
// copy of its owner, and references inside the tree point into the copy.
TEST(DbOwnership, ClonesOfNestedOwners)
{
    VxDbDatabase db;
    const VxDbObjectId root = db.namedDictionaryId(L"KX_TREE", true);
    const VxDbObjectId top = addDictionary(root, L"TOP");
    const VxDbObjectId inner = addDictionary(top, L"INNER");
    const VxDbObjectId deep = addDictionary(inner, L"DEEP");
    const VxDbObjectId target = addXrecord(deep, L"TARGET");
    VxResBuf* data = vxutNewRb(340);
    data->resval.rlname[0] = target.asOldId();
    const VxDbObjectId pointer = addXrecord(inner, L"POINTER", data);

    VxDbIdMapping map;
    ASSERT_EQ(db.deepCloneObjects({top}, root, map), Velt::eOk);
    for (VxDbObjectId original : {top, inner, deep, target, pointer}) {
        const VxDbIdPair* pair = pairOf(map, original);
        ASSERT_NE(pair, nullptr);
        EXPECT_TRUE(pair->isCloned());
        EXPECT_NE(pair->value(), original);
        EXPECT_EQ(pair->isPrimary(), original == top);
        VxDbObject* copy = detail::objectOf(pair->value());
        ASSERT_NE(copy, nullptr);
        EXPECT_FALSE(copy->isWriteEnabled());
        if (original == top) {
            EXPECT_EQ(copy->ownerId(), root);
        } else {
            const VxDbIdPair* ownerPair = pairOf(map, detail::objectOf(original)->ownerId());
            ASSERT_NE(ownerPair, nullptr);
            EXPECT_EQ(copy->ownerId(), ownerPair->value());
            VxDbObjectPointer<VxDbDictionary> owner(ownerPair->value());
            EXPECT_TRUE(owner->has(pair->value()));
        }
    }
    {
        VxDbObjectPointer<VxDbDictionary> dictionary(root);
        EXPECT_EQ(dictionary->numEntries(), 2u);  // the original and its copy under a key of its own
    }
    {
        VxDbObjectPointer<VxDbXrecord> copy(pairOf(map, pointer)->value());
        VxResBuf* chain = nullptr;
        ASSERT_EQ(copy->rbChain(chain), Velt::eOk);
        VxResBufPtr owned(chain);
        ASSERT_NE(chain, nullptr);
        EXPECT_EQ(chain->resval.rlname[0], pairOf(map, target)->value().asOldId());
    }

    // Across drawings: the line's extension dictionary tree comes along
    // whole; a reference to an object left behind is cleared.
    VxDbDatabase other;
    const VxDbObjectId line = addLine(db);
    const VxDbObjectId stay = addLine(db, 5);
    VxDbObjectId xdict;
    {
        VxDbObjectPointer<VxDbLine> open(line, VxDb::kForWrite);
        ASSERT_EQ(open->createExtensionDictionary(), Velt::eOk);
        xdict = open->extensionDictionary();
    }
    const VxDbObjectId nested = addDictionary(xdict, L"NESTED");
    VxResBuf* refs = vxutNewRb(340);
    refs->resval.rlname[0] = stay.asOldId();
    const VxDbObjectId away = addXrecord(nested, L"AWAY", refs);
    VxDbIdMapping across;
    ASSERT_EQ(db.wblockCloneObjects({line}, other.modelSpaceId(), across, VxDb::kDrcIgnore), Velt::eOk);
    for (VxDbObjectId original : {line, xdict, nested, away}) {
        const VxDbIdPair* pair = pairOf(across, original);
        ASSERT_NE(pair, nullptr);
        EXPECT_EQ(pair->value().database(), &other);
    }
    VxDbObjectPointer<VxDbXrecord> copy(pairOf(across, away)->value());
    ASSERT_EQ(copy.openStatus(), Velt::eOk);
    EXPECT_EQ(copy->ownerId(), pairOf(across, nested)->value());
    VxResBuf* chain = nullptr;
    ASSERT_EQ(copy->rbChain(chain), Velt::eOk);
    VxResBufPtr owned(chain);
    ASSERT_NE(chain, nullptr);
    const VxDbObjectId referenced = VxDbObjectId::fromOldId(chain->resval.rlname[0]);
    EXPECT_TRUE(referenced.isNull() || referenced.database() == &other);
    EXPECT_EQ(pairOf(across, stay), nullptr);
}
