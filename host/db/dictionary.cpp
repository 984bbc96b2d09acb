#include "db/dictionary.h"

#include "db/database.h"
#include "db/internal.h"

namespace kx {

namespace {

bool isLive(VxDbObjectId id)
{
    const detail::Stub* stub = detail::stubOf(id);
    return stub && stub->object() && !(stub->flags() & detail::kStubErased);
}

}  // namespace

// ---- iterator ----

VxDbDictionaryIterator::VxDbDictionaryIterator(VxDbObjectId dictionary) : mDictionary(dictionary)
{
    skipErased();
}

void VxDbDictionaryIterator::skipErased()
{
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(mDictionary));
    if (!dictionary)
        return;
    const auto& entries = dictionary->entries();
    while (mIndex < entries.size() && !isLive(entries[mIndex].id))
        ++mIndex;
}

bool VxDbDictionaryIterator::done() const
{
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(mDictionary));
    return !dictionary || mIndex >= dictionary->entries().size();
}

bool VxDbDictionaryIterator::next()
{
    if (done())
        return false;
    ++mIndex;
    skipErased();
    return !done();
}

std::wstring VxDbDictionaryIterator::name() const
{
    if (done())
        return std::wstring();
    return VxDbDictionary::cast(detail::objectOf(mDictionary))->entries()[mIndex].key;
}

VxDbObjectId VxDbDictionaryIterator::objectId() const
{
    if (done())
        return VxDbObjectId();
    return VxDbDictionary::cast(detail::objectOf(mDictionary))->entries()[mIndex].id;
}

Velt::ErrorStatus VxDbDictionaryIterator::getObject(VxDbObject*& object, VxDb::OpenMode mode) const
{
    object = nullptr;
    if (done())
        return Velt::eInvalidIndex;
    return vxdbOpenObject(object, objectId(), mode);
}

bool VxDbDictionaryIterator::setPosition(VxDbObjectId id)
{
    auto* dictionary = VxDbDictionary::cast(detail::objectOf(mDictionary));
    if (!dictionary)
        return false;
    const auto& entries = dictionary->entries();
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].id == id && isLive(id)) {
            mIndex = i;
            return true;
        }
    }
    return false;
}

// ---- dictionary ----

VX_RX_DEFINE_MEMBERS(VxDbDictionary, VxDbObject, L"KxDbDictionary", &vxrxCreateInstance<VxDbDictionary>,
                     L"DICTIONARY")

const VxDbDictionary::Entry* VxDbDictionary::findLive(std::wstring_view key) const
{
    auto it = mIndex.find(key);
    if (it == mIndex.end())
        return nullptr;
    const Entry& entry = mEntries[it->second];
    return isLive(entry.id) ? &entry : nullptr;
}

size_t VxDbDictionary::indexOf(VxDbObjectId id) const
{
    for (size_t i = 0; i < mEntries.size(); ++i) {
        if (mEntries[i].id == id)
            return i;
    }
    return mEntries.size();
}

void VxDbDictionary::rebuildIndex()
{
    mIndex.clear();
    for (size_t i = 0; i < mEntries.size(); ++i)
        mIndex[mEntries[i].key] = i;
}

Velt::ErrorStatus VxDbDictionary::getAt(const wchar_t* key, VxDbObjectId& id) const
{
    id = VxDbObjectId();
    if (!key)
        return Velt::eInvalidInput;
    const Entry* entry = findLive(key);
    if (!entry)
        return Velt::eKeyNotFound;
    id = entry->id;
    return Velt::eOk;
}

VxDbObjectId VxDbDictionary::getIdAt(const wchar_t* key) const
{
    VxDbObjectId id;
    getAt(key, id);
    return id;
}

Velt::ErrorStatus VxDbDictionary::nameAt(VxDbObjectId id, std::wstring& key) const
{
    key.clear();
    const size_t i = indexOf(id);
    if (i == mEntries.size() || !isLive(id))
        return Velt::eKeyNotFound;
    key = mEntries[i].key;
    return Velt::eOk;
}

bool VxDbDictionary::has(const wchar_t* key) const { return key && findLive(key) != nullptr; }

bool VxDbDictionary::has(VxDbObjectId id) const
{
    return !id.isNull() && indexOf(id) != mEntries.size() && isLive(id);
}

uint32_t VxDbDictionary::numEntries() const
{
    uint32_t count = 0;
    for (const Entry& entry : mEntries) {
        if (isLive(entry.id))
            ++count;
    }
    return count;
}

std::wstring VxDbDictionary::anonymousKey() const
{
    for (size_t n = mEntries.size() + 1;; ++n) {
        std::wstring key = L"*A" + std::to_wstring(n);
        if (mIndex.find(key) == mIndex.end())
            return key;
    }
}

Velt::ErrorStatus VxDbDictionary::setAt(const wchar_t* key, VxDbObject* value, VxDbObjectId& id)
{
    id = VxDbObjectId();
    if (!key || !*key)
        return Velt::eInvalidInput;
    if (!value)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    VxDbDatabase* db = database();
    if (!isResident() || !db)
        return Velt::eNotInDatabase;
    if (value == this)
        return Velt::eSelfReference;
    // Nor one of its own owners: ownership would go round and the whole
    // loop would hang from nothing.
    if (value->isResident()) {
        VxDbObjectId at = ownerId();
        for (int steps = 0; steps < 4096 && !at.isNull(); ++steps) {
            if (at == value->objectId())
                return Velt::eSelfReference;
            VxDbObject* owner = detail::objectOf(at);
            at = owner ? owner->ownerId() : VxDbObjectId();
        }
    }
    std::wstring keyText = (std::wstring_view(key) == L"*") ? anonymousKey() : std::wstring(key);

    if (value->isResident()) {
        if (value->database() != db)
            return Velt::eWrongDatabase;
        if (value->isErased())
            return Velt::eWasErased;
        // An entry of another dictionary moves over.
        if (auto* previous = VxDbDictionary::cast(detail::objectOf(value->ownerId())); previous && previous != this) {
            const size_t at = previous->indexOf(value->objectId());
            if (at != previous->mEntries.size()) {
                previous->mEntries.erase(previous->mEntries.begin() + ptrdiff_t(at));
                previous->rebuildIndex();
            }
        }
        // Moving an entry under another key of this dictionary: drop the old key.
        const size_t old = indexOf(value->objectId());
        if (old != mEntries.size()) {
            if (vxEqualNoCase(mEntries[old].key, keyText)) {
                id = value->objectId();
                return Velt::eOk;
            }
            mEntries.erase(mEntries.begin() + ptrdiff_t(old));
            rebuildIndex();
        }
        id = value->objectId();
    } else {
        if (Velt::ErrorStatus es = db->addVxDbObject(id, value))
            return es;
    }
    value->mOwnerId = objectId();

    auto it = mIndex.find(std::wstring_view(keyText));
    if (it != mIndex.end()) {
        Entry& entry = mEntries[it->second];
        // The object it held before is replaced and erased.
        if (VxDbObject* previous = detail::objectOf(entry.id); previous && previous != value && isLive(entry.id))
            detail::eraseTree(previous, true);
        entry.key = keyText;
        entry.id = id;
    } else {
        mEntries.push_back({keyText, id});
        mIndex.emplace(keyText, mEntries.size() - 1);
    }
    markModified();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDictionary::remove(const wchar_t* key)
{
    VxDbObjectId removed;
    return remove(key, removed);
}

Velt::ErrorStatus VxDbDictionary::remove(const wchar_t* key, VxDbObjectId& removedId)
{
    removedId = VxDbObjectId();
    if (!key)
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const Entry* entry = findLive(key);
    if (!entry)
        return Velt::eKeyNotFound;
    removedId = entry->id;
    return remove(removedId);
}

Velt::ErrorStatus VxDbDictionary::remove(VxDbObjectId id)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const size_t i = indexOf(id);
    if (i == mEntries.size())
        return Velt::eKeyNotFound;
    mEntries.erase(mEntries.begin() + ptrdiff_t(i));
    rebuildIndex();
    if (VxDbObject* object = detail::objectOf(id); object && object->ownerId() == objectId())
        object->mOwnerId = VxDbObjectId();
    markModified();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDictionary::setName(const wchar_t* oldName, const wchar_t* newName)
{
    if (!oldName || !newName || !*newName)
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const Entry* entry = findLive(oldName);
    if (!entry)
        return Velt::eKeyNotFound;
    const size_t index = size_t(entry - mEntries.data());
    auto other = mIndex.find(std::wstring_view(newName));
    if (other != mIndex.end() && other->second != index) {
        if (isLive(mEntries[other->second].id))
            return Velt::eDuplicateKey;
        // An erased entry gives up its key.
        mEntries.erase(mEntries.begin() + ptrdiff_t(other->second));
        rebuildIndex();
    }
    for (Entry& e : mEntries) {
        if (vxEqualNoCase(e.key, oldName) && isLive(e.id)) {
            e.key = newName;
            break;
        }
    }
    rebuildIndex();
    markModified();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbDictionary::newIterator(std::unique_ptr<VxDbDictionaryIterator>& iterator) const
{
    if (!isResident()) {
        iterator.reset();
        return Velt::eNoIterator;
    }
    iterator = std::make_unique<VxDbDictionaryIterator>(objectId());
    return Velt::eOk;
}

void VxDbDictionary::visitReferences(VxDbReferenceVisitor& visitor)
{
    VxDbObject::visitReferences(visitor);
    const VxDb::ReferenceKind kind = mTreatAsHard ? VxDb::kHardOwnershipRef : VxDb::kSoftOwnershipRef;
    for (Entry& entry : mEntries)
        visitor.visit(entry.id, kind);
}

void VxDbDictionary::copyDataFrom(const VxDbObject& other)
{
    VxDbObject::copyDataFrom(other);
    const auto& dictionary = static_cast<const VxDbDictionary&>(other);
    mMergeStyle = dictionary.mMergeStyle;
    mTreatAsHard = dictionary.mTreatAsHard;
}

}  // namespace kx
