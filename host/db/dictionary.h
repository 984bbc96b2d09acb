#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "db/object.h"
#include "db/strings.h"

namespace kx {

// Walks a dictionary's entries in order, skipping erased objects. It holds
// the dictionary's id, so it stays usable while the dictionary is closed.
class VxDbDictionaryIterator {
public:
    explicit VxDbDictionaryIterator(VxDbObjectId dictionary);
    bool done() const;
    // Moves to the next entry; false when there is none.
    bool next();
    std::wstring name() const;
    VxDbObjectId objectId() const;
    Velt::ErrorStatus getObject(VxDbObject*& object, VxDb::OpenMode mode = VxDb::kForRead) const;
    // Positions the iterator on the entry of the id; false when absent.
    bool setPosition(VxDbObjectId id);

private:
    void skipErased();
    VxDbObjectId mDictionary;
    size_t mIndex = 0;
};

// An ordered map from key to object. Keys compare without regard to case
// but keep the spelling they were given. The dictionary owns its entries;
// an erased entry is treated as absent until it is restored.
class VxDbDictionary : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbDictionary)
public:
    struct Entry {
        std::wstring key;
        VxDbObjectId id;
    };

    Velt::ErrorStatus getAt(const wchar_t* key, VxDbObjectId& id) const;
    template <class T>
    Velt::ErrorStatus getAt(const wchar_t* key, T*& object, VxDb::OpenMode mode) const
    {
        object = nullptr;
        VxDbObjectId id;
        if (Velt::ErrorStatus es = getAt(key, id))
            return es;
        return vxdbOpenObject(object, id, mode);
    }
    VxDbObjectId getIdAt(const wchar_t* key) const;
    Velt::ErrorStatus nameAt(VxDbObjectId id, std::wstring& key) const;
    bool has(const wchar_t* key) const;
    bool has(VxDbObjectId id) const;
    uint32_t numEntries() const;

    // Stores an object under a key (the dictionary open for write). A new
    // object is added to the database and stays open for write for the
    // caller; an object already in the dictionary's database is moved under
    // the key. An object held under the key before is erased. The key "*"
    // gets a fresh anonymous key "*A<n>".
    Velt::ErrorStatus setAt(const wchar_t* key, VxDbObject* value, VxDbObjectId& id);
    // Takes an entry out; the object stays in the database without owner.
    Velt::ErrorStatus remove(const wchar_t* key);
    Velt::ErrorStatus remove(const wchar_t* key, VxDbObjectId& removedId);
    Velt::ErrorStatus remove(VxDbObjectId id);
    // eKeyNotFound for an unknown old key, eDuplicateKey when the new key is
    // another entry's.
    Velt::ErrorStatus setName(const wchar_t* oldName, const wchar_t* newName);
    Velt::ErrorStatus newIterator(std::unique_ptr<VxDbDictionaryIterator>& iterator) const;

    bool isTreatElementsAsHard() const { return mTreatAsHard; }
    Velt::ErrorStatus setTreatElementsAsHard(bool value) { return setField(mTreatAsHard, value); }
    VxDb::DuplicateRecordCloning mergeStyle() const { return mMergeStyle; }
    Velt::ErrorStatus setMergeStyle(VxDb::DuplicateRecordCloning style) { return setField(mMergeStyle, style); }

    // Every entry in order, erased ones included.
    const std::vector<Entry>& entries() const { return mEntries; }

    void visitReferences(VxDbReferenceVisitor& visitor) override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    const Entry* findLive(std::wstring_view key) const;
    size_t indexOf(VxDbObjectId id) const;
    void rebuildIndex();
    std::wstring anonymousKey() const;

    std::vector<Entry> mEntries;
    std::unordered_map<std::wstring, size_t, VxNoCaseHash, VxNoCaseEqual> mIndex;
    VxDb::DuplicateRecordCloning mMergeStyle = VxDb::kDrcIgnore;
    bool mTreatAsHard = false;
};

}  // namespace kx
