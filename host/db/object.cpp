#include "db/object.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <new>

#include "db/database.h"
#include "db/dictionary.h"
#include "db/internal.h"
#include "db/strings.h"
#include "db/symtables.h"

namespace kx {

// ---- allocation ----
// Objects come from per-thread free lists of 8-byte size classes: a
// drawing holds millions of small objects and the general allocator costs
// more than the rest of making one. Under the address sanitizer the plain
// allocator is used so that it can see every object.

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kUsePool = false;
#else
constexpr bool kUsePool = true;
#endif
constexpr size_t kGranule = 8;
constexpr size_t kMaxPooled = 512;
constexpr size_t kSizeClasses = kMaxPooled / kGranule;
constexpr size_t kBlockSize = 256 * 1024;

struct FreeNode {
    FreeNode* next;
};

struct ThreadPool {
    FreeNode* freeLists[kSizeClasses];
    char* cursor;
    char* end;
};

thread_local ThreadPool tPool{};

void* poolAllocate(size_t size)
{
    const size_t sizeClass = (size + kGranule - 1) / kGranule;
    ThreadPool& pool = tPool;
    FreeNode*& head = pool.freeLists[sizeClass - 1];
    if (head) {
        FreeNode* node = head;
        head = node->next;
        return node;
    }
    const size_t bytes = sizeClass * kGranule;
    if (static_cast<size_t>(pool.end - pool.cursor) < bytes) {
        // Blocks are never given back: freed objects go to the free lists.
        pool.cursor = static_cast<char*>(::operator new(kBlockSize));
        pool.end = pool.cursor + kBlockSize;
    }
    void* p = pool.cursor;
    pool.cursor += bytes;
    return p;
}

void poolFree(void* p, size_t size)
{
    const size_t sizeClass = (size + kGranule - 1) / kGranule;
    auto* node = static_cast<FreeNode*>(p);
    node->next = tPool.freeLists[sizeClass - 1];
    tPool.freeLists[sizeClass - 1] = node;
}

}  // namespace

void* VxDbObject::operator new(size_t size)
{
    if (kUsePool && size > 0 && size <= kMaxPooled)
        return poolAllocate(size);
    return ::operator new(size);
}

void VxDbObject::operator delete(void* p, size_t size)
{
    if (!p)
        return;
    if (kUsePool && size > 0 && size <= kMaxPooled)
        poolFree(p, size);
    else
        ::operator delete(p);
}

// ---- runtime class ----

VX_RX_DEFINE_MEMBERS(VxDbObject, VxRxObject, L"KxDbObject", nullptr, nullptr)

VxDbObject::VxDbObject() = default;

VxDbObject::~VxDbObject()
{
    // A resident object deleted by hand leaves its id permanently erased
    // rather than dangling.
    if (detail::slotOf(mId) != 0) {
        if (VxDbDatabase* db = detail::databaseOf(mId)) {
            if (detail::Stub* stub = detail::stubOf(objectId()); stub && stub->object() == this) {
                (void)db;
                stub->setObject(nullptr);
                stub->addFlags(detail::kStubPermanentlyErased);
            }
        }
    }
}

detail::ObjectExtras& VxDbObject::extras()
{
    if (!mExtras)
        mExtras = std::make_unique<detail::ObjectExtras>();
    return *mExtras;
}

VxDbObjectId VxDbObject::objectId() const
{
    return detail::slotOf(mId) != 0 ? VxDbObjectId(mId) : VxDbObjectId();
}

bool VxDbObject::isResident() const { return detail::slotOf(mId) != 0; }

VxDbDatabase* VxDbObject::database() const { return mId ? detail::databaseOf(mId) : nullptr; }

void VxDbObject::setColorNames(const std::wstring& colorName, const std::wstring& bookName)
{
    if (colorName.empty() && bookName.empty() && !mExtras)
        return;
    extras().colorName = colorName;
    extras().bookName = bookName;
}

bool VxDbObject::getColorNames(std::wstring& colorName, std::wstring& bookName) const
{
    if (!mExtras || mExtras->colorName.empty())
        return false;
    colorName = mExtras->colorName;
    bookName = mExtras->bookName;
    return true;
}

void VxDbObject::setIntendedDatabase(VxDbDatabase* database)
{
    if (isResident())
        return;
    mId = database ? detail::packId(database->mSerial, database->mGeneration, 0) : 0;
}

Velt::ErrorStatus VxDbObject::setOwnerId(VxDbObjectId owner)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mOwnerId = owner;
    return Velt::eOk;
}

bool VxDbObject::isReadEnabled() const
{
    return !isResident() || mReaders > 0 || (mState & kWriter);
}

bool VxDbObject::isWriteEnabled() const
{
    return !isResident() || (mState & kWriter);
}

bool VxDbObject::isErased() const
{
    return isResident() && objectId().isErased();
}

Velt::ErrorStatus VxDbObject::assertWriteEnabled() const
{
    return isWriteEnabled() ? Velt::eOk : Velt::eNotOpenForWrite;
}

namespace {
std::atomic<VxDbObjectModifiedHook> gModifiedHook{nullptr};
}

void vxdbSetObjectModifiedHook(VxDbObjectModifiedHook hook) { gModifiedHook.store(hook); }

Velt::ErrorStatus VxDbObject::close()
{
    if (!isResident())
        return Velt::eOk;
    if (mState & kWriter) {
        mState = uint8_t((mState & ~kWriter) | kModified);
        // Last: the observer may open the object again.
        if (VxDbObjectModifiedHook hook = gModifiedHook.load(std::memory_order_relaxed))
            hook(objectId());
        return Velt::eOk;
    }
    if (mReaders > 0) {
        --mReaders;
        return Velt::eOk;
    }
    if (mNotifiers > 0) {
        --mNotifiers;
        return Velt::eOk;
    }
    return Velt::eInvalidOpenState;
}

Velt::ErrorStatus VxDbObject::upgradeOpen()
{
    if (!isResident())
        return Velt::eOk;
    if (mState & kWriter)
        return Velt::eWasOpenForWrite;
    if (mReaders == 0)
        return Velt::eNotOpenForRead;
    if (mReaders > 1)
        return Velt::eHadMultipleReaders;
    mReaders = 0;
    mState |= kWriter;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbObject::downgradeOpen()
{
    if (!isResident())
        return Velt::eOk;
    if (!(mState & kWriter))
        return Velt::eNotOpenForWrite;
    mState = uint8_t((mState & ~kWriter) | kModified);
    mReaders = 1;
    return Velt::eOk;
}

Velt::ErrorStatus vxdbOpenObject(VxDbObject*& object, VxDbObjectId id, const VxRxClass* cls, VxDb::OpenMode mode,
                                 bool openErased)
{
    object = nullptr;
    if (id.isNull())
        return Velt::eNullObjectId;
    if (!detail::databaseOf(id.value()))
        return Velt::eNoDatabase;
    detail::Stub* stub = detail::stubOf(id);
    if (!stub)
        return Velt::eInvalidInput;
    VxDbObject* candidate = stub->object();
    if (!candidate)
        return (stub->flags() & detail::kStubPermanentlyErased) ? Velt::eWasPermanentlyErased : Velt::eNullObjectPointer;
    if ((stub->flags() & detail::kStubErased) && !openErased)
        return Velt::eWasErased;
    if (cls && !candidate->isKindOf(cls))
        return Velt::eWrongObjectType;
    switch (mode) {
    case VxDb::kForRead:
        if (candidate->mState & VxDbObject::kWriter)
            return Velt::eWasOpenForWrite;
        if (candidate->mReaders == UINT16_MAX)
            return Velt::eAtMaxReaders;
        ++candidate->mReaders;
        break;
    case VxDb::kForWrite:
        if (candidate->mState & VxDbObject::kWriter)
            return Velt::eWasOpenForWrite;
        if (candidate->mReaders > 0)
            return Velt::eWasOpenForRead;
        candidate->mState |= VxDbObject::kWriter;
        break;
    case VxDb::kForNotify:
        if (candidate->mNotifiers == UINT8_MAX)
            return Velt::eAtMaxReaders;
        ++candidate->mNotifiers;
        break;
    default:
        return Velt::eInvalidInput;
    }
    object = candidate;
    return Velt::eOk;
}

namespace detail {

VxDbObject* objectOf(VxDbObjectId id)
{
    Stub* stub = stubOf(id);
    return stub ? stub->object() : nullptr;
}

void setIntendedDatabase(VxDbObject* object, VxDbDatabase* database)
{
    if (object)
        object->setIntendedDatabase(database);
}

Velt::ErrorStatus checkReference(VxDbObjectId id, const VxRxClass* cls, const VxDbDatabase* database, bool allowNull)
{
    if (id.isNull())
        return allowNull ? Velt::eOk : Velt::eNullObjectId;
    Stub* stub = stubOf(id);
    if (!stub || !stub->object())
        return Velt::eInvalidInput;
    if (stub->flags() & kStubErased)
        return Velt::eWasErased;
    if (cls && !stub->object()->isKindOf(cls))
        return Velt::eWrongObjectType;
    if (database && id.database() != database)
        return Velt::eWrongDatabase;
    return Velt::eOk;
}

std::vector<VxDbObjectId> ownedIds(VxDbObject* object)
{
    struct Collector : VxDbReferenceVisitor {
        std::vector<VxDbObjectId> ids;
        void visit(VxDbObjectId& id, VxDb::ReferenceKind kind) override
        {
            if ((kind == VxDb::kHardOwnershipRef || kind == VxDb::kSoftOwnershipRef) && !id.isNull())
                ids.push_back(id);
        }
    } collector;
    object->visitReferences(collector);
    return collector.ids;
}

Velt::ErrorStatus eraseTree(VxDbObject* object, bool erasing)
{
    Stub* stub = stubOf(object->objectId());
    if (!stub)
        return Velt::eNotInDatabase;
    const bool erased = (stub->flags() & kStubErased) != 0;
    if (erased == erasing)
        return Velt::eOk;
    if (Velt::ErrorStatus es = object->subErase(erasing))
        return es;
    if (erasing)
        stub->addFlags(kStubErased);
    else
        stub->clearFlags(kStubErased);
    object->markModified();
    for (VxDbObjectId child : ownedIds(object)) {
        VxDbObject* owned = objectOf(child);
        // Only what this object really owns: a stale reference to an object
        // that has moved on is left alone.
        if (owned && owned->ownerId() == object->objectId())
            eraseTree(owned, erasing);
    }
    return Velt::eOk;
}

}  // namespace detail

Velt::ErrorStatus VxDbObject::erase(bool erasing)
{
    if (!isResident())
        return Velt::eNotInDatabase;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const bool erased = isErased();
    if (erasing && erased)
        return Velt::eWasErased;
    if (!erasing && !erased)
        return Velt::eWasNotErased;
    return detail::eraseTree(this, erasing);
}

Velt::ErrorStatus VxDbObject::subErase(bool) { return Velt::eOk; }

// ---- extended data ----

namespace {

// The end of the application group that starts at rb (the next 1001 or null).
const VxResBuf* groupEnd(const VxResBuf* rb)
{
    for (rb = rb->rbnext; rb; rb = rb->rbnext) {
        if (rb->restype == 1001)
            return rb;
    }
    return nullptr;
}

size_t itemSize(const VxResBuf* rb)
{
    switch (vxutStorageOf(rb->restype)) {
    case VxRbStorage::kString: return 3 + vxView(rb->resval.rstring).size();
    case VxRbStorage::kReal: return 10;
    case VxRbStorage::kPoint: return 26;
    case VxRbStorage::kInt16: return 4;
    case VxRbStorage::kInt32: return 6;
    case VxRbStorage::kBinary: return 3 + size_t(rb->resval.rbinary.clen > 0 ? rb->resval.rbinary.clen : 0);
    default: return 10;
    }
}

constexpr size_t kMaxXDataSize = 16383;

}  // namespace

VxResBuf* VxDbObject::xData(const wchar_t* regappName) const
{
    if (!mExtras || !mExtras->xdata)
        return nullptr;
    if (!regappName || !*regappName)
        return vxutDupRb(mExtras->xdata);
    for (const VxResBuf* rb = mExtras->xdata; rb; rb = groupEnd(rb)) {
        if (rb->restype == 1001 && vxEqualNoCase(vxView(rb->resval.rstring), regappName)) {
            return vxutDupRange(rb, groupEnd(rb));
        }
    }
    return nullptr;
}

const VxResBuf* VxDbObject::xDataChain() const { return mExtras ? mExtras->xdata : nullptr; }

Velt::ErrorStatus VxDbObject::setXData(const VxResBuf* xdata)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!xdata)
        return Velt::eOk;
    if (xdata->restype != 1001)
        return Velt::eInvalidResBuf;
    VxDbDatabase* db = database();
    // Check everything before changing anything.
    int depth = 0;
    for (const VxResBuf* rb = xdata; rb; rb = rb->rbnext) {
        if (!VxDbDxfCode::isXDataCode(rb->restype))
            return Velt::eInvalidDxfCode;
        if (rb->restype == 1001) {
            if (depth != 0)
                return Velt::eInvalidResBuf;
            const std::wstring_view app = vxView(rb->resval.rstring);
            if (!vxIsValidSymbolName(app))
                return Velt::eInvalidSymbolName;
            if (db) {
                VxDbObjectId appId;
                VxDbSymbolTable* table = VxDbSymbolTable::cast(detail::objectOf(db->regAppTableId()));
                if (!table || table->getAt(std::wstring(app).c_str(), appId) != Velt::eOk)
                    return Velt::eRegappNotFound;
            }
        } else if (rb->restype == 1002) {
            const std::wstring_view brace = vxView(rb->resval.rstring);
            if (brace == L"{")
                ++depth;
            else if (brace == L"}" && depth > 0)
                --depth;
            else
                return Velt::eInvalidResBuf;
        } else if (rb->restype == 1004 && (rb->resval.rbinary.clen < 0 || (rb->resval.rbinary.clen > 0 && !rb->resval.rbinary.buf))) {
            return Velt::eInvalidResBuf;
        }
        const bool groupEnds = !rb->rbnext || rb->rbnext->restype == 1001;
        if (groupEnds && depth != 0)
            return Velt::eInvalidResBuf;
    }

    // Merge on a copy, so that data over the size limit changes nothing:
    // each application group of the new data replaces the stored one.
    VxResBuf* merged = vxutDupRb(xDataChain());
    for (const VxResBuf* group = xdata; group; group = groupEnd(group)) {
        const std::wstring_view app = vxView(group->resval.rstring);
        const VxResBuf* end = groupEnd(group);
        VxResBuf* replacement = group->rbnext != end ? vxutDupRange(group, end) : nullptr;
        // Unlink the stored group of that application, remembering where.
        VxResBuf** link = &merged;
        bool found = false;
        while (*link) {
            VxResBuf* start = *link;
            VxResBuf* last = start;
            while (last->rbnext && last->rbnext->restype != 1001)
                last = last->rbnext;
            if (vxEqualNoCase(vxView(start->resval.rstring), app)) {
                *link = last->rbnext;
                last->rbnext = nullptr;
                vxutRelRb(start);
                found = true;
                break;
            }
            link = &last->rbnext;
        }
        if (!replacement)
            continue;
        if (!found) {
            while (*link)
                link = &(*link)->rbnext;
        }
        VxResBuf* tail = replacement;
        while (tail->rbnext)
            tail = tail->rbnext;
        tail->rbnext = *link;
        *link = replacement;
    }
    size_t total = 0;
    for (const VxResBuf* rb = merged; rb; rb = rb->rbnext)
        total += itemSize(rb);
    if (total > kMaxXDataSize) {
        vxutRelRb(merged);
        return Velt::eXdataSizeExceeded;
    }
    if (mExtras || merged) {
        vxutRelRb(extras().xdata);
        extras().xdata = merged;
    }
    markModified();
    return Velt::eOk;
}

// ---- extension dictionary and reactors ----

VxDbObjectId VxDbObject::extensionDictionary() const
{
    return mExtras ? mExtras->extensionDictionary : VxDbObjectId();
}

Velt::ErrorStatus VxDbObject::createExtensionDictionary()
{
    if (!isResident())
        return Velt::eNotInDatabase;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const VxDbObjectId existing = extensionDictionary();
    if (!existing.isNull() && !existing.isErased() && existing.isValid())
        return Velt::eAlreadyInDb;
    auto* dictionary = new VxDbDictionary();
    dictionary->setOwnerId(objectId());
    VxDbObjectId dictionaryId;
    if (Velt::ErrorStatus es = database()->addVxDbObject(dictionaryId, dictionary)) {
        delete dictionary;
        return es;
    }
    dictionary->addPersistentReactor(objectId());
    dictionary->close();
    extras().extensionDictionary = dictionaryId;
    markModified();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbObject::releaseExtensionDictionary()
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const VxDbObjectId dictionaryId = extensionDictionary();
    if (dictionaryId.isNull())
        return Velt::eKeyNotFound;
    if (auto* dictionary = VxDbDictionary::cast(detail::objectOf(dictionaryId))) {
        if (!dictionary->isErased()) {
            if (dictionary->numEntries() > 0)
                return Velt::eInvalidInput;
            detail::eraseTree(dictionary, true);
        }
    }
    extras().extensionDictionary = VxDbObjectId();
    markModified();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbObject::setExtensionDictionary(VxDbObjectId dictionaryId)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    extras().extensionDictionary = dictionaryId;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbObject::addPersistentReactor(VxDbObjectId id)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (id.isNull())
        return Velt::eNullObjectId;
    for (const VxDbObjectId& existing : extras().reactors) {
        if (existing == id)
            return Velt::eOk;
    }
    extras().reactors.push_back(id);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbObject::removePersistentReactor(VxDbObjectId id)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!mExtras)
        return Velt::eKeyNotFound;
    auto& reactors = mExtras->reactors;
    for (auto it = reactors.begin(); it != reactors.end(); ++it) {
        if (*it == id) {
            reactors.erase(it);
            return Velt::eOk;
        }
    }
    return Velt::eKeyNotFound;
}

VxDbObjectIdArray VxDbObject::getPersistentReactors() const
{
    return mExtras ? mExtras->reactors : VxDbObjectIdArray();
}

Velt::ErrorStatus VxDbObject::getClassID(VxClsid* clsid) const
{
    if (!clsid)
        return Velt::eInvalidInput;
    const VxClsid& own = isA()->classId();
    if (own.isNull())
        return Velt::eNotApplicable;
    *clsid = own;
    return Velt::eOk;
}

// ---- copying ----

void VxDbObject::copyDataFrom(const VxDbObject& other)
{
    if (mExtras) {
        vxutRelRb(mExtras->xdata);
        mExtras->xdata = nullptr;
    }
    if (other.mExtras && other.mExtras->xdata)
        extras().xdata = vxutDupRb(other.mExtras->xdata);
    if (other.mExtras && !other.mExtras->colorName.empty())
        setColorNames(other.mExtras->colorName, other.mExtras->bookName);
    else if (mExtras)
        setColorNames({}, {});
}

Velt::ErrorStatus VxDbObject::copyFrom(const VxRxObject* other)
{
    if (!other)
        return Velt::eNullObjectPointer;
    if (other->isA() != isA())
        return Velt::eWrongObjectType;
    if (other == this)
        return Velt::eOk;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    copyDataFrom(*static_cast<const VxDbObject*>(other));
    markModified();
    return Velt::eOk;
}

VxDbObject* VxDbObject::clone() const
{
    auto* copy = static_cast<VxDbObject*>(isA()->create());
    if (!copy)
        return nullptr;
    copy->setIntendedDatabase(database());
    copy->copyDataFrom(*this);
    return copy;
}

void VxDbObject::visitReferences(VxDbReferenceVisitor& visitor)
{
    if (!mExtras)
        return;
    if (!mExtras->extensionDictionary.isNull())
        visitor.visit(mExtras->extensionDictionary, VxDb::kHardOwnershipRef);
    for (VxDbObjectId& reactor : mExtras->reactors)
        visitor.visit(reactor, VxDb::kSoftPointerRef);
}

}  // namespace kx
