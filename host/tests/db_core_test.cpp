// Objects, ids, handles, opening, erasing, extended data and extension
// dictionaries, and the runtime classes behind them.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/entities.h"
#include "db/objects.h"
#include "services/hostservices.h"

using namespace kx;

namespace {

// A line in model space, closed again.
VxDbObjectId addLine(VxDbDatabase& db, const VxGePoint3d& from = {0, 0, 0}, const VxGePoint3d& to = {1, 0, 0})
{
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
    auto* line = new VxDbLine(from, to);
    VxDbObjectId id;
    EXPECT_EQ(space->appendVxDbEntity(id, line), Velt::eOk);
    line->close();
    return id;
}

}  // namespace

TEST(DbHandles, TextFormAndParsing)
{
    wchar_t buffer[128];
    EXPECT_TRUE(VxDbHandle(0x2AF).getIntoAsciiBuffer(buffer, 128));
    EXPECT_STREQ(buffer, L"2AF");
    EXPECT_EQ(VxDbHandle().toString(), L"0");
    EXPECT_FALSE(VxDbHandle(0xFFFF).getIntoAsciiBuffer(buffer, 4));

    VxDbHandle parsed;
    EXPECT_TRUE(VxDbHandle::fromString(L"2af", parsed));
    EXPECT_EQ(parsed.value(), 0x2AFu);
    EXPECT_TRUE(VxDbHandle::fromString(L"FFFFFFFFFFFFFFFF", parsed));
    EXPECT_EQ(parsed.value(), ~uint64_t(0));
    EXPECT_FALSE(VxDbHandle::fromString(L"", parsed));
    EXPECT_FALSE(VxDbHandle::fromString(L"12G", parsed));
    EXPECT_FALSE(VxDbHandle::fromString(L"10000000000000000", parsed));
}

TEST(DbIds, ResidencyHandlesAndSeed)
{
    VxDbDatabase db;
    const VxDbHandle seed = db.handseed();
    auto* line = new VxDbLine({0, 0, 0}, {1, 1, 0});
    EXPECT_TRUE(line->objectId().isNull());
    EXPECT_FALSE(line->isResident());
    EXPECT_TRUE(line->isWriteEnabled());

    VxDbObjectId id;
    {
        VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForWrite);
        ASSERT_EQ(space->appendVxDbEntity(id, line), Velt::eOk);
        EXPECT_EQ(space->appendVxDbEntity(line), Velt::eAlreadyInDb);
    }
    EXPECT_EQ(line->objectId(), id);
    EXPECT_EQ(line->ownerId(), db.modelSpaceId());
    EXPECT_EQ(id.handle(), seed);
    EXPECT_EQ(db.handseed().value(), seed.value() + 1);
    EXPECT_EQ(id.database(), &db);
    EXPECT_EQ(id.objectClass(), VxDbLine::desc());
    // A new resident object stays open for write until its maker closes it.
    EXPECT_TRUE(line->isWriteEnabled());
    EXPECT_EQ(line->close(), Velt::eOk);
    EXPECT_FALSE(line->isWriteEnabled());

    VxDbObjectId byHandle;
    EXPECT_EQ(db.getVxDbObjectId(byHandle, false, seed), Velt::eOk);
    EXPECT_EQ(byHandle, id);
    EXPECT_EQ(db.getVxDbObjectId(byHandle, false, VxDbHandle(0xFFFFFF)), Velt::eKeyNotFound);

    // The id survives the trip through a 64-bit integer.
    EXPECT_EQ(VxDbObjectId::fromOldId(id.asOldId()), id);
    EXPECT_GT(id.asOldId(), 0);
}

// Handles come in runs (objects made in order, files read in order) and out of order (files
// with forward references, objects given handles below the seed): every handle must find its
// own object whichever way it was indexed, and none that was not given may be found.
TEST(DbIds, HandlesInAndOutOfOrderAllFindTheirObjects)
{
    VxDbDatabase db(false);
    std::vector<std::pair<uint64_t, VxDbObjectId>> given;
    auto add = [&](uint64_t handle) {
        auto* object = new VxDbXrecord();
        VxDbObjectId id;
        ASSERT_EQ(db.addVxDbObjectWithHandle(id, object, VxDbHandle(handle)), Velt::eOk) << handle;
        object->close();
        given.emplace_back(handle, id);
    };
    for (uint64_t h = 100; h < 200; ++h)  // one run
        add(h);
    add(5000);                              // a run of its own, far ahead
    for (uint64_t h = 200; h < 300; h += 2) // continues nothing: gaps between
        add(h);
    for (uint64_t h = 3000; h > 1000; --h)  // descending, enough to grow the table
        add(h);
    add(0xFFFFFFFFFFFFFFFEull);             // the highest handle there may be

    // Placeholders made by looking up handles not seen yet, later filled.
    VxDbObjectId placeholder;
    ASSERT_EQ(db.getVxDbObjectId(placeholder, true, VxDbHandle(50)), Velt::eOk);
    {
        auto* object = new VxDbXrecord();
        VxDbObjectId filled;
        ASSERT_EQ(db.addVxDbObjectWithHandle(filled, object, VxDbHandle(50)), Velt::eOk);
        EXPECT_EQ(filled, placeholder);
        object->close();
    }

    for (const auto& [handle, id] : given) {
        VxDbObjectId found;
        ASSERT_EQ(db.getVxDbObjectId(found, false, VxDbHandle(handle)), Velt::eOk) << handle;
        EXPECT_EQ(found, id) << handle;
        EXPECT_EQ(id.handle().value(), handle);
        auto* object = new VxDbXrecord();
        VxDbObjectId again;
        EXPECT_EQ(db.addVxDbObjectWithHandle(again, object, VxDbHandle(handle)), Velt::eHandleInUse) << handle;
        delete object;
    }
    for (uint64_t missing : {99ull, 201ull, 299ull, 300ull, 1000ull, 3001ull, 4999ull, 5001ull, 0xFFFFFFFFFFFFFFFDull}) {
        VxDbObjectId found;
        EXPECT_EQ(db.getVxDbObjectId(found, false, VxDbHandle(missing)), Velt::eKeyNotFound) << missing;
    }
    EXPECT_EQ(db.handseed().value(), 0xFFFFFFFFFFFFFFFFull);
}

// The erase state lives beside the object's address: each state must survive the others.
TEST(DbIds, EraseStatesKeepTheirObjects)
{
    VxDbDatabase db;
    const VxDbObjectId kept = addLine(db);
    const VxDbObjectId erased = addLine(db);
    const VxDbObjectId deleted = addLine(db);
    {
        VxDbObjectPointer<VxDbLine> line(erased, VxDb::kForWrite);
        ASSERT_EQ(line->erase(), Velt::eOk);
    }
    VxDbLine* line = nullptr;
    ASSERT_EQ(vxdbOpenObject(line, deleted, VxDb::kForWrite), Velt::eOk);
    delete line;  // by hand: its id is left permanently erased

    EXPECT_FALSE(kept.isErased());
    EXPECT_TRUE(erased.isErased());
    EXPECT_FALSE(erased.isPermanentlyErased());
    EXPECT_EQ(erased.objectClass(), VxDbLine::desc());
    EXPECT_TRUE(deleted.isPermanentlyErased());
    EXPECT_FALSE(deleted.isValid());

    VxDbObjectPointer<VxDbLine> open(erased, VxDb::kForWrite, true);
    ASSERT_EQ(open.openStatus(), Velt::eOk);
    EXPECT_DOUBLE_EQ(open->endPoint().x, 1.0);
    ASSERT_EQ(open->erase(false), Velt::eOk);
    EXPECT_FALSE(erased.isErased());
    EXPECT_EQ(open->objectId(), erased);
}

TEST(DbIds, StaleAndGarbageIdsResolveToNothing)
{
    VxDbObjectId stale;
    {
        VxDbDatabase db;
        stale = addLine(db);
        EXPECT_TRUE(stale.isValid());
    }
    EXPECT_FALSE(stale.isValid());
    EXPECT_EQ(stale.database(), nullptr);
    VxDbObject* object = nullptr;
    EXPECT_EQ(vxdbOpenObject(object, stale, VxDb::kForRead), Velt::eNoDatabase);
    EXPECT_EQ(object, nullptr);

    // A new database may reuse the old one's registry slot; the old id still
    // names nothing.
    VxDbDatabase other;
    addLine(other);
    EXPECT_FALSE(stale.isValid());

    for (int64_t garbage : {int64_t(1), int64_t(-1), int64_t(0x7FFFFFFFFFFFFFFF), int64_t(0x0100000000000005)}) {
        const VxDbObjectId id = VxDbObjectId::fromOldId(garbage);
        EXPECT_NE(vxdbOpenObject(object, id, VxDb::kForRead), Velt::eOk);
        EXPECT_FALSE(id.isValid());
    }
    EXPECT_EQ(vxdbOpenObject(object, VxDbObjectId(), VxDb::kForRead), Velt::eNullObjectId);
}

TEST(DbOpen, ManyReadersOrOneWriter)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLine(db);
    VxDbLine* first = nullptr;
    VxDbLine* second = nullptr;
    VxDbLine* writer = nullptr;
    ASSERT_EQ(vxdbOpenObject(first, id, VxDb::kForRead), Velt::eOk);
    ASSERT_EQ(vxdbOpenObject(second, id, VxDb::kForRead), Velt::eOk);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->numReaders(), 2);
    EXPECT_EQ(vxdbOpenObject(writer, id, VxDb::kForWrite), Velt::eWasOpenForRead);
    EXPECT_EQ(writer, nullptr);
    EXPECT_EQ(first->upgradeOpen(), Velt::eHadMultipleReaders);
    // Reading the line does not allow changing it.
    EXPECT_EQ(first->setStartPoint({5, 5, 5}), Velt::eNotOpenForWrite);
    EXPECT_TRUE(first->startPoint().isEqualTo({0, 0, 0}));

    EXPECT_EQ(second->close(), Velt::eOk);
    EXPECT_EQ(first->upgradeOpen(), Velt::eOk);
    EXPECT_TRUE(first->isWriteEnabled());
    EXPECT_EQ(vxdbOpenObject(second, id, VxDb::kForRead), Velt::eWasOpenForWrite);
    EXPECT_EQ(vxdbOpenObject(writer, id, VxDb::kForWrite), Velt::eWasOpenForWrite);
    EXPECT_EQ(first->setStartPoint({5, 5, 5}), Velt::eOk);
    EXPECT_EQ(first->downgradeOpen(), Velt::eOk);
    EXPECT_EQ(first->numReaders(), 1);
    EXPECT_EQ(first->close(), Velt::eOk);
    // Closing more often than opening is refused.
    EXPECT_EQ(first->close(), Velt::eInvalidOpenState);

    // Notify opens go with any other open.
    ASSERT_EQ(vxdbOpenObject(writer, id, VxDb::kForWrite), Velt::eOk);
    VxDbObject* notified = nullptr;
    EXPECT_EQ(vxdbOpenObject(notified, id, VxDb::kForNotify), Velt::eOk);
    EXPECT_TRUE(notified->isNotifyEnabled());
    EXPECT_EQ(writer->close(), Velt::eOk);
    EXPECT_EQ(notified->close(), Velt::eOk);
    EXPECT_FALSE(notified->isNotifyEnabled());
    EXPECT_TRUE(writer->isModified());
}

TEST(DbOpen, WrongClassAndErased)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLine(db);
    VxDbCircle* circle = nullptr;
    EXPECT_EQ(vxdbOpenObject(circle, id, VxDb::kForRead), Velt::eWrongObjectType);
    EXPECT_EQ(circle, nullptr);
    VxDbObject* object = nullptr;
    EXPECT_EQ(vxdbOpenObject(object, id, VxDbEntity::desc(), VxDb::kForRead), Velt::eOk);
    object->close();

    {
        VxDbObjectPointer<VxDbLine> line(id, VxDb::kForWrite);
        ASSERT_EQ(line.openStatus(), Velt::eOk);
        EXPECT_EQ(line->erase(), Velt::eOk);
        EXPECT_EQ(line->erase(), Velt::eWasErased);
    }
    EXPECT_TRUE(id.isErased());
    EXPECT_TRUE(id.isValid());
    EXPECT_EQ(vxdbOpenObject(object, id, VxDb::kForRead), Velt::eWasErased);
    ASSERT_EQ(vxdbOpenObject(object, id, VxDb::kForWrite, true), Velt::eOk);
    EXPECT_EQ(object->erase(false), Velt::eOk);
    EXPECT_EQ(object->erase(false), Velt::eWasNotErased);
    object->close();
    EXPECT_FALSE(id.isErased());

    // An object not in a database cannot be erased; deleting a resident one
    // by hand leaves its id permanently erased instead of dangling.
    VxDbLine loose;
    EXPECT_EQ(loose.erase(), Velt::eNotInDatabase);
    ASSERT_EQ(vxdbOpenObject(object, id, VxDb::kForWrite), Velt::eOk);
    delete object;
    EXPECT_TRUE(id.isPermanentlyErased());
    EXPECT_EQ(vxdbOpenObject(object, id, VxDb::kForRead), Velt::eWasPermanentlyErased);
}

TEST(DbOpen, IteratorsSkipErasedObjects)
{
    VxDbDatabase db;
    const VxDbObjectId a = addLine(db, {0, 0, 0}, {1, 0, 0});
    const VxDbObjectId b = addLine(db, {0, 0, 0}, {2, 0, 0});
    const VxDbObjectId c = addLine(db, {0, 0, 0}, {3, 0, 0});
    {
        VxDbObjectPointer<VxDbLine> line(b, VxDb::kForWrite);
        line->erase();
    }
    VxDbObjectPointer<VxDbBlockTableRecord> space(db.modelSpaceId(), VxDb::kForRead);
    std::unique_ptr<VxDbBlockTableRecordIterator> it;
    ASSERT_EQ(space->newIterator(it), Velt::eOk);
    space.close();
    std::vector<VxDbObjectId> seen;
    for (; !it->done(); it->step()) {
        VxDbObjectId id;
        it->getEntityId(id);
        seen.push_back(id);
    }
    EXPECT_EQ(seen, (std::vector<VxDbObjectId>{a, c}));

    // Backwards, and with the erased one included.
    std::vector<VxDbObjectId> all;
    for (it->start(false, false); !it->done(); it->step(false, false))
        all.push_back(it->currentId());
    EXPECT_EQ(all, (std::vector<VxDbObjectId>{c, b, a}));
    EXPECT_EQ(it->seek(b), Velt::eOk);
    VxDbEntity* entity = nullptr;
    EXPECT_EQ(it->getEntity(entity), Velt::eWasErased);

    // The iterator outlives its block's database without harm.
    db.~VxDbDatabase();
    new (&db) VxDbDatabase();
    it->start();
    EXPECT_TRUE(it->done());
}

TEST(DbObjects, NotResidentObjectsAreTheirMakersToKeep)
{
    VxDbDatabase db;
    VxDbObjectPointer<VxDbLine> line(new VxDbLine({1, 2, 3}, {4, 5, 6}));
    EXPECT_EQ(line->setEndPoint({7, 8, 9}), Velt::eOk);
    EXPECT_EQ(line->setDatabaseDefaults(&db), Velt::eOk);
    EXPECT_EQ(line->database(), &db);
    EXPECT_TRUE(line->objectId().isNull());
    EXPECT_EQ(line->setLayer(L"0"), Velt::eOk);
    EXPECT_EQ(line->layerId(), db.layerZero());
    // Prepared for one drawing, it cannot go into another.
    VxDbDatabase other;
    VxDbObjectPointer<VxDbBlockTableRecord> space(other.modelSpaceId(), VxDb::kForWrite);
    EXPECT_EQ(space->appendVxDbEntity(line.get()), Velt::eWrongDatabase);
    // The pointer deletes it at the end of the scope (checked by the leak checker).
}

TEST(DbXData, SetGetMergeAndChecks)
{
    VxDbDatabase db;
    ASSERT_EQ(vxdbRegApp(L"APP_ONE", &db), Velt::eOk);
    ASSERT_EQ(vxdbRegApp(L"APP_TWO", &db), Velt::eOk);
    const VxDbObjectId id = addLine(db);
    VxDbObjectPointer<VxDbLine> line(id, VxDb::kForWrite);

    // Unregistered application, wrong first code, bad codes and braces refuse
    // the whole list and change nothing.
    VxResBufPtr unknownApp = vxutChain({vxutNewString(1001, L"NOBODY"), vxutNewInt16(1070, 1)});
    EXPECT_EQ(line->setXData(unknownApp.get()), Velt::eRegappNotFound);
    VxResBufPtr noApp = vxutChain({vxutNewString(1000, L"text")});
    EXPECT_EQ(line->setXData(noApp.get()), Velt::eInvalidResBuf);
    VxResBufPtr badCode = vxutChain({vxutNewString(1001, L"APP_ONE"), vxutNewInt16(70, 1)});
    EXPECT_EQ(line->setXData(badCode.get()), Velt::eInvalidDxfCode);
    VxResBufPtr openBrace = vxutChain({vxutNewString(1001, L"APP_ONE"), vxutNewString(1002, L"{")});
    EXPECT_EQ(line->setXData(openBrace.get()), Velt::eInvalidResBuf);
    EXPECT_EQ(line->xData(), nullptr);

    VxResBufPtr one = vxutChain({vxutNewString(1001, L"APP_ONE"), vxutNewString(1000, L"hello"),
                                 vxutNewString(1002, L"{"), vxutNewReal(1040, 2.5), vxutNewString(1002, L"}"),
                                 vxutNewPoint(1010, 1, 2, 3), vxutNewInt32(1071, 70000)});
    VxResBufPtr two = vxutChain({vxutNewString(1001, L"APP_TWO"), vxutNewInt16(1070, 7)});
    ASSERT_EQ(line->setXData(one.get()), Velt::eOk);
    ASSERT_EQ(line->setXData(two.get()), Velt::eOk);

    VxResBufPtr readOne(line->xData(L"app_one"));
    EXPECT_TRUE(vxutChainsEqual(readOne.get(), one.get()));
    VxResBufPtr all(line->xData());
    EXPECT_EQ(vxutChainLength(all.get()), vxutChainLength(one.get()) + vxutChainLength(two.get()));

    // Replacing one application's data leaves the other's; an empty group
    // removes it.
    VxResBufPtr newOne = vxutChain({vxutNewString(1001, L"APP_ONE"), vxutNewInt16(1070, 9)});
    ASSERT_EQ(line->setXData(newOne.get()), Velt::eOk);
    VxResBufPtr readTwo(line->xData(L"APP_TWO"));
    EXPECT_TRUE(vxutChainsEqual(readTwo.get(), two.get()));
    VxResBufPtr removeTwo = vxutChain({vxutNewString(1001, L"APP_TWO")});
    ASSERT_EQ(line->setXData(removeTwo.get()), Velt::eOk);
    EXPECT_EQ(line->xData(L"APP_TWO"), nullptr);
    VxResBufPtr left(line->xData());
    EXPECT_TRUE(vxutChainsEqual(left.get(), newOne.get()));

    // Data beyond the size limit is refused as a whole.
    VxResBufPtr big = vxutChain({vxutNewString(1001, L"APP_TWO")});
    VxResBuf* tail = big.get();
    for (int i = 0; i < 200; ++i) {
        tail->rbnext = vxutNewString(1000, std::wstring(200, L'x'));
        tail = tail->rbnext;
    }
    EXPECT_EQ(line->setXData(big.get()), Velt::eXdataSizeExceeded);
    VxResBufPtr unchanged(line->xData());
    EXPECT_TRUE(vxutChainsEqual(unchanged.get(), newOne.get()));
}

TEST(DbXData, GroupCodeClassification)
{
    struct Case {
        int code;
        VxDbDxfCode::Type type;
    };
    const Case cases[] = {
        {1000, VxDbDxfCode::kString},         {1001, VxDbDxfCode::kName},
        {1002, VxDbDxfCode::kString},         {1003, VxDbDxfCode::kLayerName},
        {1004, VxDbDxfCode::kBinaryChunk},    {1005, VxDbDxfCode::kHandle},
        {1010, VxDbDxfCode::kPoint},          {1013, VxDbDxfCode::kPoint},
        {1040, VxDbDxfCode::kDouble},         {1070, VxDbDxfCode::kInt16},
        {1071, VxDbDxfCode::kInt32},          {1, VxDbDxfCode::kString},
        {2, VxDbDxfCode::kName},              {5, VxDbDxfCode::kHandle},
        {8, VxDbDxfCode::kLayerName},         {10, VxDbDxfCode::kPoint},
        {40, VxDbDxfCode::kDouble},           {50, VxDbDxfCode::kAngle},
        {62, VxDbDxfCode::kInt16},            {90, VxDbDxfCode::kInt32},
        {160, VxDbDxfCode::kInt64},           {280, VxDbDxfCode::kInt8},
        {290, VxDbDxfCode::kBool},            {310, VxDbDxfCode::kBinaryChunk},
        {330, VxDbDxfCode::kSoftPointerId},   {340, VxDbDxfCode::kHardPointerId},
        {350, VxDbDxfCode::kSoftOwnershipId}, {360, VxDbDxfCode::kHardOwnershipId},
        {-1, VxDbDxfCode::kObjectId},         {85, VxDbDxfCode::kUnknown},
        {1014, VxDbDxfCode::kUnknown},        {1072, VxDbDxfCode::kUnknown},
    };
    for (const Case& c : cases)
        EXPECT_EQ(VxDbDxfCode::getType(c.code), c.type) << "code " << c.code;
}

TEST(DbExtensionDictionary, CreateUseReleaseAndEraseWithOwner)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLine(db);
    VxDbObjectId dictionaryId;
    {
        VxDbObjectPointer<VxDbLine> line(id, VxDb::kForRead);
        EXPECT_TRUE(line->extensionDictionary().isNull());
        EXPECT_EQ(line->createExtensionDictionary(), Velt::eNotOpenForWrite);
        ASSERT_EQ(line->upgradeOpen(), Velt::eOk);
        ASSERT_EQ(line->createExtensionDictionary(), Velt::eOk);
        EXPECT_EQ(line->createExtensionDictionary(), Velt::eAlreadyInDb);
        dictionaryId = line->extensionDictionary();
    }
    VxDbObjectPointer<VxDbDictionary> dictionary(dictionaryId, VxDb::kForWrite);
    ASSERT_EQ(dictionary.openStatus(), Velt::eOk);
    EXPECT_EQ(dictionary->ownerId(), id);
    auto* record = new VxDbXrecord();
    VxDbObjectId recordId;
    ASSERT_EQ(dictionary->setAt(L"DATA", record, recordId), Velt::eOk);
    record->close();
    dictionary.close();

    {
        VxDbObjectPointer<VxDbLine> line(id, VxDb::kForWrite);
        EXPECT_EQ(line->releaseExtensionDictionary(), Velt::eInvalidInput);  // not empty
        ASSERT_EQ(line->erase(), Velt::eOk);
    }
    // Erasing the line erased what it owns, and restoring it brings it back.
    EXPECT_TRUE(dictionaryId.isErased());
    EXPECT_TRUE(recordId.isErased());
    {
        VxDbObjectPointer<VxDbLine> line(id, VxDb::kForWrite, true);
        ASSERT_EQ(line->erase(false), Velt::eOk);
    }
    EXPECT_FALSE(dictionaryId.isErased());
    EXPECT_FALSE(recordId.isErased());
}

TEST(DbObjects, ClassIdsCopyAndReactors)
{
    VxDbDatabase db;
    const VxDbObjectId id = addLine(db);
    VxDbObjectPointer<VxDbLine> line(id, VxDb::kForWrite);
    VxClsid clsid;
    // The host knows no class ids: the automation layer gives them.
    const VxClsid saved = VxDbLine::desc()->classId();
    VxDbLine::desc()->setClassId(VxClsid{});
    EXPECT_EQ(line->getClassID(&clsid), Velt::eNotApplicable);
    VxClsid given{0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};
    VxDbLine::desc()->setClassId(given);
    ASSERT_EQ(line->getClassID(&clsid), Velt::eOk);
    EXPECT_EQ(clsid, given);
    // Only the exact class answers: an arc has none.
    VxDbArc arc;
    EXPECT_EQ(arc.getClassID(&clsid), Velt::eNotApplicable);
    EXPECT_EQ(line->getClassID(nullptr), Velt::eInvalidInput);
    VxDbLine::desc()->setClassId(saved);

    VxDbLine other({9, 9, 9}, {8, 8, 8});
    EXPECT_EQ(line->copyFrom(&other), Velt::eOk);
    EXPECT_TRUE(line->startPoint().isEqualTo({9, 9, 9}));
    EXPECT_EQ(line->objectId(), id);
    EXPECT_EQ(line->copyFrom(&arc), Velt::eWrongObjectType);

    EXPECT_EQ(line->addPersistentReactor(db.modelSpaceId()), Velt::eOk);
    EXPECT_EQ(line->addPersistentReactor(db.modelSpaceId()), Velt::eOk);
    EXPECT_EQ(line->getPersistentReactors().size(), 1u);
    EXPECT_EQ(line->removePersistentReactor(db.modelSpaceId()), Velt::eOk);
    EXPECT_EQ(line->removePersistentReactor(db.modelSpaceId()), Velt::eKeyNotFound);
}

TEST(DbRx, ClassesByNameDerivationAndProtocolExtensions)
{
    VxRxClass* line = vxrxFindClass(L"KxDbLine");
    ASSERT_EQ(line, VxDbLine::desc());
    EXPECT_STREQ(line->name(), L"KxDbLine");
    EXPECT_EQ(line->myParent(), VxDbCurve::desc());
    EXPECT_TRUE(line->isDerivedFrom(VxDbEntity::desc()));
    EXPECT_FALSE(VxDbEntity::desc()->isDerivedFrom(line));
    EXPECT_EQ(vxrxFindClass(L"VxDbLine"), nullptr);
    EXPECT_EQ(vxrxSysRegistry()->at(L"ClassDictionary"), vxrxClassDictionary());

    std::unique_ptr<VxRxObject> made(vxrxFindClass(L"KxDbXrecord")->create());
    EXPECT_NE(VxDbXrecord::cast(made.get()), nullptr);
    EXPECT_EQ(VxDbEntity::desc()->create(), nullptr);  // abstract

    VxRxClass* protocol = newVxRxClass(L"TestProtocol", L"VxRxObject");
    ASSERT_NE(protocol, nullptr);
    EXPECT_EQ(newVxRxClass(L"TestProtocol", L"VxRxObject"), nullptr);
    EXPECT_EQ(newVxRxClass(L"TestOrphan", L"NoSuchParent"), nullptr);
    VxRxClass* child = newVxRxClass(L"TestChild", L"TestProtocol");
    ASSERT_NE(child, nullptr);
    EXPECT_FALSE(deleteVxRxClass(protocol));  // has a child
    EXPECT_FALSE(deleteVxRxClass(VxDbLine::desc()));  // built in

    VxRxObject extension;
    EXPECT_EQ(VxDbEntity::desc()->addX(protocol, &extension), nullptr);
    EXPECT_EQ(VxDbLine::desc()->queryX(protocol), &extension);
    EXPECT_EQ(VxDbLine::desc()->getX(protocol), nullptr);
    VxDbLine object;
    EXPECT_EQ(object.queryX(protocol), &extension);
    EXPECT_EQ(VxDbEntity::desc()->delX(protocol), &extension);
    EXPECT_EQ(VxDbLine::desc()->queryX(protocol), nullptr);

    EXPECT_TRUE(deleteVxRxClass(child));
    EXPECT_TRUE(deleteVxRxClass(protocol));
    EXPECT_EQ(vxrxFindClass(L"TestProtocol"), nullptr);
}

TEST(DbStatus, EveryFailureIsKnownToTheAutomationLayer)
{
    // The keys of the automation layer's status table that map to failures.
    const std::pair<int, int> failures[] = {
        {1, 18},    {20, 59},   {61, 77},   {80, 107},  {110, 110}, {120, 120}, {122, 142}, {150, 173},
        {180, 180}, {190, 193}, {200, 207}, {210, 213}, {220, 222}, {230, 232}, {250, 254}, {260, 261},
        {290, 292}, {300, 303}, {310, 312}, {314, 314}, {320, 323}, {325, 325}, {330, 335}, {337, 338},
        {340, 340}, {342, 346}, {348, 352}, {354, 376}, {378, 411}, {420, 420}, {430, 431}, {550, 550},
        {1001, 1003}, {1101, 1104}, {1201, 1203}, {20002, 20011}, {20013, 20052},
    };
    int named = 0;
    for (int status = 1; status <= 20100; ++status) {
        if (std::strcmp(Velt::statusName(Velt::ErrorStatus(status)), "(unknown status)") == 0)
            continue;
        ++named;
        bool known = false;
        for (const auto& run : failures)
            known = known || (status >= run.first && status <= run.second);
        EXPECT_TRUE(known) << "status " << status << " would pass for success";
    }
    EXPECT_GT(named, 50);
}

TEST(DbStatus, NamesOfStatuses)
{
    EXPECT_STREQ(Velt::statusName(Velt::eWasErased), "eWasErased");
    EXPECT_EQ(int(Velt::eKeyNotFound), 22);
    EXPECT_EQ(int(Velt::eDuplicateKey), 23);
    EXPECT_EQ(int(Velt::eInvalidIndex), 24);
    EXPECT_EQ(int(Velt::eDuplicateRecordName), 95);
    EXPECT_EQ(int(Velt::eNoDatabase), 124);
    EXPECT_EQ(int(Velt::eNoIterator), 130);
    EXPECT_EQ(int(Velt::eLayoutNotFound), 343);
    EXPECT_EQ(int(Velt::eBlockStillReferenced), 392);
}
