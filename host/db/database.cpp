#include "db/database.h"

#include <atomic>
#include <algorithm>
#include <mutex>

#include "db/blocks.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "db/objects.h"
#include "db/summaryinfo.h"
#include "db/symtables.h"

namespace kx {

// ---- the registry of live databases ----
// An id names its database by serial and generation. Serials are reused;
// the generation changes with each reuse, so that an id of a deleted
// database resolves to nothing instead of to a newer one.

namespace {

constexpr unsigned kRegistryChunkBits = 10;
constexpr size_t kRegistryChunkSize = size_t(1) << kRegistryChunkBits;
constexpr size_t kRegistryChunks = 64;  // 65536 serials
constexpr uint32_t kMaxSerial = uint32_t(kRegistryChunkSize * kRegistryChunks) - 1;

struct RegistryEntry {
    std::atomic<VxDbDatabase*> database{nullptr};
    std::atomic<uint32_t> generation{0};
};

std::atomic<RegistryEntry*> gRegistry[kRegistryChunks];

struct SerialPool {
    std::mutex mutex;
    std::vector<uint32_t> free;
    uint32_t next = 1;
};

SerialPool& serialPool()
{
    static SerialPool pool;
    return pool;
}

RegistryEntry* registryEntry(uint32_t serial)
{
    RegistryEntry* chunk = gRegistry[serial >> kRegistryChunkBits].load(std::memory_order_acquire);
    return chunk ? &chunk[serial & (kRegistryChunkSize - 1)] : nullptr;
}

void registerDatabase(VxDbDatabase* database, uint32_t& serial, uint32_t& generation)
{
    SerialPool& pool = serialPool();
    std::lock_guard lock(pool.mutex);
    if (!pool.free.empty()) {
        serial = pool.free.back();
        pool.free.pop_back();
    } else {
        if (pool.next > kMaxSerial)
            vxrxAbort("more drawing databases open at once than the host can tell apart");
        serial = pool.next++;
    }
    const size_t chunkIndex = serial >> kRegistryChunkBits;
    if (!gRegistry[chunkIndex].load(std::memory_order_acquire))
        gRegistry[chunkIndex].store(new RegistryEntry[kRegistryChunkSize], std::memory_order_release);
    RegistryEntry* entry = registryEntry(serial);
    generation = entry->generation.load(std::memory_order_relaxed);
    entry->database.store(database, std::memory_order_release);
}

void unregisterDatabase(uint32_t serial)
{
    SerialPool& pool = serialPool();
    std::lock_guard lock(pool.mutex);
    RegistryEntry* entry = registryEntry(serial);
    if (!entry)
        return;
    entry->database.store(nullptr, std::memory_order_release);
    entry->generation.store((entry->generation.load(std::memory_order_relaxed) + 1) & 0x7F,
                            std::memory_order_relaxed);
    pool.free.push_back(serial);
}

}  // namespace

VxDbDatabase* detail::databaseOf(uint64_t idValue)
{
    const uint32_t serial = uint32_t((idValue >> kSlotBits) & 0xFFFF);
    if (serial == 0)
        return nullptr;
    RegistryEntry* entry = registryEntry(serial);
    if (!entry)
        return nullptr;
    VxDbDatabase* database = entry->database.load(std::memory_order_acquire);
    if (!database || entry->generation.load(std::memory_order_relaxed) != uint32_t((idValue >> 56) & 0x7F))
        return nullptr;
    return database;
}

detail::Stub* detail::stubOf(VxDbObjectId id)
{
    VxDbDatabase* database = databaseOf(id.value());
    return database ? database->stubAt(slotOf(id.value())) : nullptr;
}

void** detail::wrapperSlotOf(VxDbObjectId id, bool create)
{
    VxDbDatabase* database = databaseOf(id.value());
    const uint64_t slot = slotOf(id.value());
    if (!database || !database->stubAt(slot))
        return nullptr;
    auto& chunks = database->mWrapperChunks;
    const size_t chunk = size_t(slot >> VxDbDatabase::kChunkBits);
    if (chunk >= chunks.size() || !chunks[chunk]) {
        if (!create)
            return nullptr;
        if (chunk >= chunks.size())
            chunks.resize(chunk + 1);
        chunks[chunk] = std::make_unique<void*[]>(size_t(1) << VxDbDatabase::kChunkBits);
    }
    return &chunks[chunk][slot & VxDbDatabase::kChunkMask];
}

// ---- ids ----

bool VxDbObjectId::isValid() const
{
    const detail::Stub* stub = detail::stubOf(*this);
    return stub && stub->object();
}

bool VxDbObjectId::isErased() const
{
    const detail::Stub* stub = detail::stubOf(*this);
    return stub && (stub->flags() & (detail::kStubErased | detail::kStubPermanentlyErased));
}

bool VxDbObjectId::isPermanentlyErased() const
{
    const detail::Stub* stub = detail::stubOf(*this);
    return stub && (stub->flags() & detail::kStubPermanentlyErased);
}

VxDbDatabase* VxDbObjectId::database() const { return isNull() ? nullptr : detail::databaseOf(mValue); }

VxDbHandle VxDbObjectId::handle() const
{
    const detail::Stub* stub = detail::stubOf(*this);
    return stub ? VxDbHandle(stub->handle) : VxDbHandle();
}

VxRxClass* VxDbObjectId::objectClass() const
{
    const detail::Stub* stub = detail::stubOf(*this);
    return stub && stub->object() ? stub->object()->isA() : nullptr;
}

// ---- the database ----

VX_RX_DEFINE_MEMBERS(VxDbDatabase, VxRxObject, L"KxDbDatabase", nullptr, nullptr)

VxDbDatabase::VxDbDatabase(bool buildDefaultDrawing, bool noDocument)
    : mNoDocument(noDocument),
      mSummaryInfo(std::make_unique<VxDbDatabaseSummaryInfo>()),
      mFileDependencies(std::make_unique<VxDbFileDependencyManager>(this))
{
    registerDatabase(this, mSerial, mGeneration);
    mSummaryInfo->setDatabase(this);
    initHeader();
    if (buildDefaultDrawing)
        this->buildDefaultDrawing();
}

VxDbDatabase::~VxDbDatabase()
{
    mTearingDown = true;
    detail::notifyDatabaseDestroyed(this);
    // Ids of this database resolve to nothing from here on, so objects that
    // look each other up while they are deleted find nothing.
    unregisterDatabase(mSerial);
    for (uint64_t slot = 1; slot < mStubCount; ++slot) {
        detail::Stub& stub = mStubChunks[slot >> kChunkBits][slot & kChunkMask];
        delete stub.object();
        stub.setObject(nullptr);
    }
}

size_t VxDbDatabase::clearWrapperRecords()
{
    size_t cleared = 0;
    for (const auto& chunk : mWrapperChunks) {
        for (size_t i = 0; chunk && i < (size_t(1) << kChunkBits); ++i)
            cleared += chunk[i] != nullptr;
    }
    mWrapperChunks.clear();
    return cleared;
}

uint64_t VxDbDatabase::packSlot(uint64_t slot) const { return detail::packId(mSerial, mGeneration, slot); }

VxDbObjectId VxDbDatabase::objectIdAtSlot(size_t slot) const
{
    if (slot == 0 || slot >= mStubCount)
        return VxDbObjectId();
    return VxDbObjectId(packSlot(slot));
}

uint64_t VxDbDatabase::newStub(uint64_t handle)
{
    const uint64_t slot = mStubCount;
    if ((slot >> kChunkBits) >= mStubChunks.size())
        mStubChunks.push_back(std::make_unique<detail::Stub[]>(size_t(1) << kChunkBits));
    ++mStubCount;
    detail::Stub& stub = mStubChunks[slot >> kChunkBits][slot & kChunkMask];
    stub.handle = handle;
    indexHandle(handle, slot);
    return slot;
}

namespace {

// Consecutive handles land in consecutive buckets; the high bits are mixed
// in so that handles far apart do not pile up.
inline size_t handleBucket(uint64_t handle, size_t mask)
{
    return size_t(handle ^ (handle >> 21) ^ (handle >> 42)) & mask;
}

}  // namespace

void VxDbDatabase::indexHandle(uint64_t handle, uint64_t slot)
{
    // Objects made one after another, and drawings read in handle order, give handles and
    // slots that both count up: one run holds them all, at no cost per object.
    const auto next = std::upper_bound(mHandleRuns.begin(), mHandleRuns.end(), handle,
                                       [](uint64_t h, const HandleRun& run) { return h < run.handle; });
    if (next != mHandleRuns.begin()) {
        HandleRun& previous = *(next - 1);
        if (handle == previous.handle + previous.count && slot == uint64_t(previous.slot) + previous.count &&
            previous.count < UINT32_MAX) {
            ++previous.count;
            return;
        }
    }
    if (next == mHandleRuns.end()) {
        mHandleRuns.push_back(HandleRun{handle, uint32_t(slot), 1});
        return;
    }
    // Three quarters full at most.
    if ((mHandleCount + 1) * 4 > mHandleIndex.size() * 3) {
        std::vector<uint32_t> old(mHandleIndex.empty() ? 1024 : mHandleIndex.size() * 2, 0);
        old.swap(mHandleIndex);
        const size_t mask = mHandleIndex.size() - 1;
        for (uint32_t s : old) {
            if (s == 0)
                continue;
            size_t bucket = handleBucket(stubAt(s)->handle, mask);
            while (mHandleIndex[bucket] != 0)
                bucket = (bucket + 1) & mask;
            mHandleIndex[bucket] = s;
        }
    }
    const size_t mask = mHandleIndex.size() - 1;
    size_t bucket = handleBucket(handle, mask);
    while (mHandleIndex[bucket] != 0)
        bucket = (bucket + 1) & mask;
    mHandleIndex[bucket] = uint32_t(slot);
    ++mHandleCount;
}

uint64_t VxDbDatabase::findHandle(uint64_t handle) const
{
    const auto next = std::upper_bound(mHandleRuns.begin(), mHandleRuns.end(), handle,
                                       [](uint64_t h, const HandleRun& run) { return h < run.handle; });
    if (next != mHandleRuns.begin()) {
        const HandleRun& run = *(next - 1);
        if (handle - run.handle < run.count)
            return run.slot + (handle - run.handle);
    }
    if (mHandleIndex.empty())
        return 0;
    const size_t mask = mHandleIndex.size() - 1;
    for (size_t bucket = handleBucket(handle, mask);; bucket = (bucket + 1) & mask) {
        const uint32_t slot = mHandleIndex[bucket];
        if (slot == 0)
            return 0;
        if (stubAt(slot)->handle == handle)
            return slot;
    }
}

Velt::ErrorStatus VxDbDatabase::makeResident(VxDbObjectId& id, VxDbObject* object, uint64_t handle)
{
    id = VxDbObjectId();
    if (!object)
        return Velt::eNullObjectPointer;
    if (object->isResident())
        return Velt::eAlreadyInDb;
    if (VxDbDatabase* intended = object->database(); intended && intended != this)
        return Velt::eWrongDatabase;
    if (mStubCount >= UINT32_MAX)
        return Velt::eOutOfMemory;
    uint64_t slot = 0;
    if (handle == 0) {
        // The last handle is never given out: the seed would wrap to the null handle.
        if (mHandseed == UINT64_MAX)
            return Velt::eOutOfRange;
        handle = mHandseed++;
        slot = newStub(handle);
    } else {
        if (handle == UINT64_MAX)
            return Velt::eOutOfRange;  // the seed could not move past it
        slot = findHandle(handle);
        if (slot != 0) {
            detail::Stub* stub = stubAt(slot);
            if (stub->object() || (stub->flags() & detail::kStubPermanentlyErased))
                return Velt::eHandleInUse;
        } else {
            slot = newStub(handle);
        }
        if (handle >= mHandseed)
            mHandseed = handle + 1;
    }
    detail::Stub* stub = stubAt(slot);
    stub->setObject(object);
    stub->clearFlags(~0u);
    object->mId = packSlot(slot);
    object->mReaders = 0;
    object->mState = VxDbObject::kWriter;
    id = VxDbObjectId(object->mId);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabase::addVxDbObject(VxDbObjectId& id, VxDbObject* object)
{
    return makeResident(id, object, 0);
}

Velt::ErrorStatus VxDbDatabase::addVxDbObject(VxDbObject* object)
{
    VxDbObjectId id;
    return makeResident(id, object, 0);
}

Velt::ErrorStatus VxDbDatabase::addVxDbObjectWithHandle(VxDbObjectId& id, VxDbObject* object, VxDbHandle handle)
{
    if (handle.isNull())
        return Velt::eNullHandle;
    return makeResident(id, object, handle.value());
}

Velt::ErrorStatus VxDbDatabase::getVxDbObjectId(VxDbObjectId& id, bool createIfNotFound, const VxDbHandle& handle)
{
    id = VxDbObjectId();
    if (handle.isNull())
        return Velt::eNullHandle;
    uint64_t slot = findHandle(handle.value());
    if (slot == 0) {
        if (!createIfNotFound)
            return Velt::eKeyNotFound;
        if (mStubCount >= UINT32_MAX)
            return Velt::eOutOfMemory;
        if (handle.value() == UINT64_MAX)
            return Velt::eOutOfRange;  // the seed could not move past it
        slot = newStub(handle.value());
        if (handle.value() >= mHandseed)
            mHandseed = handle.value() + 1;
    }
    id = VxDbObjectId(packSlot(slot));
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDatabase::setHandseed(const VxDbHandle& seed)
{
    if (seed.value() < mHandseed)
        return Velt::eInvalidInput;
    mHandseed = seed.value();
    return Velt::eOk;
}

bool VxDbDatabase::isReferenced(VxDbObjectId id) const
{
    if (id.isNull())
        return false;
    for (size_t i = 0; i < mHeader.size(); ++i) {
        if (mHeader[i].id == id)
            return true;
    }
    struct Finder : VxDbReferenceVisitor {
        VxDbObjectId target;
        bool found = false;
        void visit(VxDbObjectId& ref, VxDb::ReferenceKind kind) override
        {
            if (ref == target && (kind == VxDb::kHardPointerRef || kind == VxDb::kSoftPointerRef))
                found = true;
        }
    } finder;
    finder.target = id;
    for (uint64_t slot = 1; slot < mStubCount && !finder.found; ++slot) {
        const detail::Stub* stub = stubAt(slot);
        if (!stub->object() || (stub->flags() & detail::kStubErased) || stub->object()->objectId() == id)
            continue;
        // Entities of erased blocks are as good as erased.
        if (auto* entity = VxDbEntity::cast(stub->object())) {
            const detail::Stub* owner = detail::stubOf(entity->ownerId());
            if (owner && (owner->flags() & detail::kStubErased))
                continue;
        }
        stub->object()->visitReferences(finder);
    }
    return finder.found;
}

// ---- well-known objects ----

VxDbObjectId VxDbDatabase::namedDictionaryId(const wchar_t* key, bool create)
{
    auto* root = VxDbDictionary::cast(detail::objectOf(mNamedObjectsDictionary));
    if (!root)
        return VxDbObjectId();
    VxDbObjectId id = root->getIdAt(key);
    if (!id.isNull() || !create)
        return id;
    VxDbObjectPointer<VxDbDictionary> open(mNamedObjectsDictionary, VxDb::kForWrite);
    if (!open)
        return VxDbObjectId();
    auto* dictionary = new VxDbDictionary();
    if (open->setAt(key, dictionary, id) != Velt::eOk) {
        delete dictionary;
        return VxDbObjectId();
    }
    dictionary->close();
    return id;
}

namespace {

VxDbObjectId childOf(VxDbObjectId root, const wchar_t* key)
{
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(root));
    return dictionary ? dictionary->getIdAt(key) : VxDbObjectId();
}

}  // namespace

VxDbObjectId VxDbDatabase::groupDictionaryId() const { return childOf(mNamedObjectsDictionary, L"ACAD_GROUP"); }
VxDbObjectId VxDbDatabase::layoutDictionaryId() const { return childOf(mNamedObjectsDictionary, L"ACAD_LAYOUT"); }
VxDbObjectId VxDbDatabase::plotSettingsDictionaryId() const
{
    return childOf(mNamedObjectsDictionary, L"ACAD_PLOTSETTINGS");
}
VxDbObjectId VxDbDatabase::plotStyleNameDictionaryId() const
{
    return childOf(mNamedObjectsDictionary, L"ACAD_PLOTSTYLENAME");
}
VxDbObjectId VxDbDatabase::materialDictionaryId() const { return childOf(mNamedObjectsDictionary, L"ACAD_MATERIAL"); }
VxDbObjectId VxDbDatabase::mLStyleDictionaryId() const { return childOf(mNamedObjectsDictionary, L"ACAD_MLINESTYLE"); }
VxDbObjectId VxDbDatabase::tableStyleDictionaryId() const
{
    return childOf(mNamedObjectsDictionary, L"ACAD_TABLESTYLE");
}
VxDbObjectId VxDbDatabase::mleaderStyleDictionaryId() const
{
    return childOf(mNamedObjectsDictionary, L"ACAD_MLEADERSTYLE");
}
VxDbObjectId VxDbDatabase::imageDictionaryId() const { return childOf(mNamedObjectsDictionary, L"ACAD_IMAGE_DICT"); }

VxDbObjectId VxDbDatabase::byLayerMaterialId() const
{
    const detail::Stub* stub = detail::stubOf(mByLayerMaterialCache);
    if (!stub || !stub->object() || (stub->flags() & detail::kStubErased))
        mByLayerMaterialCache = childOf(materialDictionaryId(), L"ByLayer");
    return mByLayerMaterialCache;
}
VxDbObjectId VxDbDatabase::byBlockMaterialId() const { return childOf(materialDictionaryId(), L"ByBlock"); }
VxDbObjectId VxDbDatabase::globalMaterialId() const { return childOf(materialDictionaryId(), L"Global"); }

namespace {

VxDbObjectId recordIn(VxDbObjectId table, const wchar_t* name)
{
    auto* symbols = VxDbSymbolTable::cast(detail::objectOf(table));
    return symbols && name ? symbols->getIdAt(name) : VxDbObjectId();
}

}  // namespace

VxDbObjectId VxDbDatabase::modelSpaceId() const { return recordIn(mBlockTable, VxDbBlockTableRecord::kModelSpaceName); }
VxDbObjectId VxDbDatabase::paperSpaceId() const { return recordIn(mBlockTable, VxDbBlockTableRecord::kPaperSpaceName); }
VxDbObjectId VxDbDatabase::layerId(const wchar_t* name) const { return recordIn(mLayerTable, name); }
VxDbObjectId VxDbDatabase::linetypeId(const wchar_t* name) const { return recordIn(mLinetypeTable, name); }
VxDbObjectId VxDbDatabase::textStyleId(const wchar_t* name) const { return recordIn(mTextStyleTable, name); }
VxDbObjectId VxDbDatabase::blockId(const wchar_t* name) const { return recordIn(mBlockTable, name); }

VxDbObjectId VxDbDatabase::tableIdForRecordClass(const VxRxClass* recordClass) const
{
    const VxDbObjectId tables[] = {mBlockTable, mLayerTable, mLinetypeTable, mTextStyleTable, mDimStyleTable,
                                   mUcsTable, mViewTable, mViewportTable, mRegAppTable};
    for (VxDbObjectId id : tables) {
        auto* table = VxDbSymbolTable::cast(detail::objectOf(id));
        if (table && recordClass && recordClass->isDerivedFrom(table->recordClass()))
            return id;
    }
    return VxDbObjectId();
}

Velt::ErrorStatus VxDbDatabase::setRootObject(VxDbObjectId id)
{
    VxDbObject* object = detail::objectOf(id);
    if (!object || id.database() != this)
        return Velt::eInvalidInput;
    if (VxDbDictionary::cast(object)) {
        mNamedObjectsDictionary = id;
        return Velt::eOk;
    }
    struct Slot {
        const VxRxClass* cls;
        VxDbObjectId* target;
    };
    const Slot slots[] = {
        {VxDbBlockTable::desc(), &mBlockTable},         {VxDbLayerTable::desc(), &mLayerTable},
        {VxDbLinetypeTable::desc(), &mLinetypeTable},   {VxDbTextStyleTable::desc(), &mTextStyleTable},
        {VxDbDimStyleTable::desc(), &mDimStyleTable},   {VxDbUCSTable::desc(), &mUcsTable},
        {VxDbViewTable::desc(), &mViewTable},           {VxDbViewportTable::desc(), &mViewportTable},
        {VxDbRegAppTable::desc(), &mRegAppTable},
    };
    for (const Slot& slot : slots) {
        if (object->isA() == slot.cls) {
            *slot.target = id;
            refreshWellKnownRecords();
            return Velt::eOk;
        }
    }
    return Velt::eWrongObjectType;
}

void VxDbDatabase::refreshWellKnownRecords()
{
    mLayerZero = recordIn(mLayerTable, L"0");
    mByLayerLinetype = recordIn(mLinetypeTable, L"ByLayer");
    mByBlockLinetype = recordIn(mLinetypeTable, L"ByBlock");
    mContinuousLinetype = recordIn(mLinetypeTable, L"Continuous");
}

bool vxdbGetExtnames(const VxDbDatabase* database) { return database && database->extnames(); }

Velt::ErrorStatus vxdbSetExtnames(VxDbDatabase* database, bool value)
{
    if (!database)
        return Velt::eNoDatabase;
    return database->setExtnames(value);
}

const wchar_t* vxdbGetReservedString(int index, bool)
{
    static const wchar_t* const kWords[] = {L"ByLayer", L"ByBlock", L"None",  L"Continuous", L"Standard",
                                            L"Normal",  L"Default", L"Model", L"Global"};
    if (index < 0 || index >= int(sizeof(kWords) / sizeof(kWords[0])))
        return L"";
    return kWords[index];
}

}  // namespace kx
