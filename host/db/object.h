#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "db/dbenums.h"
#include "db/objectid.h"
#include "db/resbuf.h"
#include "db/status.h"
#include "rx/rxobject.h"

namespace kx {

class VxDbDatabase;
class VxDbObject;

using VxDbObjectIdArray = std::vector<VxDbObjectId>;

// Sees every object id an object refers to and may change it in place: the
// clone machinery translates references with it, the file writer and the
// reference checks read them.
class VxDbReferenceVisitor {
public:
    virtual ~VxDbReferenceVisitor() = default;
    virtual void visit(VxDbObjectId& id, VxDb::ReferenceKind kind) = 0;
};

namespace detail {
struct ObjectExtras;
class ForcedWrite;
Velt::ErrorStatus eraseTree(VxDbObject* object, bool erasing);
// Prepares a not yet resident object for a database (cloning across drawings).
void setIntendedDatabase(VxDbObject* object, VxDbDatabase* database);
}  // namespace detail

// Called after an object that was open for write is closed: how observers (the automation
// layer's event sources) learn that an object changed. One hook per process; null removes it.
using VxDbObjectModifiedHook = void (*)(VxDbObjectId id);
void vxdbSetObjectModifiedHook(VxDbObjectModifiedHook hook);

// Base of every database object. An object is either resident (it has an id
// in a database, which owns it) or not yet: then whoever made it owns it and
// may append it to a database or delete it. Resident objects are reached by
// opening their id (vxdbOpenObject) and closed again after use: any number of
// readers or one writer at a time.
class VxDbObject : public VxRxObject {
    VX_RX_DECLARE_MEMBERS(VxDbObject)
public:
    VxDbObject();
    ~VxDbObject() override;
    VxDbObject(const VxDbObject&) = delete;
    VxDbObject& operator=(const VxDbObject&) = delete;

    static void* operator new(size_t size);
    static void operator delete(void* p, size_t size);
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}

    // Null until the object is appended to a database.
    VxDbObjectId objectId() const;
    VxDbObjectId ownerId() const { return mOwnerId; }
    Velt::ErrorStatus setOwnerId(VxDbObjectId owner);
    // The database the object lives in, or the one it was prepared for
    // (entities given database defaults before they are appended).
    VxDbDatabase* database() const;
    VxDbHandle handle() const { return objectId().handle(); }
    bool isResident() const;

    bool isReadEnabled() const;
    bool isWriteEnabled() const;
    bool isNotifyEnabled() const { return mNotifiers > 0; }
    int numReaders() const { return mReaders; }
    bool isErased() const;
    bool isModified() const { return (mState & kModified) != 0; }

    // Ends one open: the write open if there is one, else a read open, else
    // a notify open. A closed object that is not resident ignores it.
    Velt::ErrorStatus close();
    // The only reader becomes the writer; and back.
    Velt::ErrorStatus upgradeOpen();
    Velt::ErrorStatus downgradeOpen();

    // Erases (or with false restores) the object and everything it owns.
    // Needs the object open for write; objects may refuse (subErase).
    Velt::ErrorStatus erase(bool erasing = true);

    // Extended data: a chain of application groups, each a 1001 name
    // followed by its items. xData gives a new chain (release it with
    // vxutRelRb) for one application, or all with a null or empty name; null
    // when there is none. setXData replaces the data of every application the
    // chain names; a group with no items removes that application's data.
    VxResBuf* xData(const wchar_t* regappName = nullptr) const;
    Velt::ErrorStatus setXData(const VxResBuf* xdata);
    // The stored chain itself, for writers that walk every group.
    const VxResBuf* xDataChain() const;

    VxDbObjectId extensionDictionary() const;
    // Makes the extension dictionary if there is none yet; needs write.
    Velt::ErrorStatus createExtensionDictionary();
    // Removes an empty extension dictionary.
    Velt::ErrorStatus releaseExtensionDictionary();
    // For readers that rebuild an object from a file.
    Velt::ErrorStatus setExtensionDictionary(VxDbObjectId dictionaryId);

    Velt::ErrorStatus addPersistentReactor(VxDbObjectId id);
    Velt::ErrorStatus removePersistentReactor(VxDbObjectId id);
    VxDbObjectIdArray getPersistentReactors() const;

    // The automation wrapper class of the object's own runtime class;
    // eNotApplicable when that class has none.
    Velt::ErrorStatus getClassID(VxClsid* clsid) const;

    // Copies the data of an object of the same class (not its id, owner,
    // extension dictionary or reactors). Needs write.
    virtual Velt::ErrorStatus copyFrom(const VxRxObject* other);
    // A new object of the same class with the same data, not resident.
    VxDbObject* clone() const;

    // Every reference the object holds, with its kind; owned objects
    // (extension dictionary, table records, block entities ...) as ownership.
    virtual void visitReferences(VxDbReferenceVisitor& visitor);

protected:
    // eOk when the object may be changed: open for write, or not resident.
    Velt::ErrorStatus assertWriteEnabled() const;
    // Each class copies its own data after its parent's.
    virtual void copyDataFrom(const VxDbObject& other);
    // Asked before the object is erased or restored; a refusal stops it.
    virtual Velt::ErrorStatus subErase(bool erasing);
    // Sets a field after checking that the object may be changed.
    template <class T, class V>
    Velt::ErrorStatus setField(T& field, V&& value)
    {
        if (Velt::ErrorStatus es = assertWriteEnabled())
            return es;
        field = std::forward<V>(value);
        return Velt::eOk;
    }
    // Prepares a not yet resident object for a database.
    void setIntendedDatabase(VxDbDatabase* database);
    // Colour-book names kept for an entity's colour (rarely set).
    void setColorNames(const std::wstring& colorName, const std::wstring& bookName);
    bool getColorNames(std::wstring& colorName, std::wstring& bookName) const;
    void markModified() { mState |= kModified; }

private:
    friend class VxDbDatabase;
    friend class VxDbDictionary;
    friend class VxDbBlockTableRecord;
    friend Velt::ErrorStatus vxdbOpenObject(VxDbObject*&, VxDbObjectId, const VxRxClass*, VxDb::OpenMode, bool);
    friend struct detail::ObjectExtras;
    friend Velt::ErrorStatus detail::eraseTree(VxDbObject*, bool);
    friend class detail::ForcedWrite;
    friend void detail::setIntendedDatabase(VxDbObject*, VxDbDatabase*);

    enum : uint8_t { kWriter = 1, kModified = 2 };
    detail::ObjectExtras& extras();

    uint64_t mId = 0;  // packed id; slot 0 while not resident
    VxDbObjectId mOwnerId;
    std::unique_ptr<detail::ObjectExtras> mExtras;  // rarely used data
    uint16_t mReaders = 0;
    uint8_t mNotifiers = 0;
    uint8_t mState = kWriter;  // a new object is open for write by its maker
};

// Opens the object behind an id. Fails with eNullObjectId, eNoDatabase (its
// database is gone), eInvalidInput (no such slot), eNullObjectPointer (no
// object behind the id yet), eWasPermanentlyErased, eWasErased (unless
// openErased), eWrongObjectType (not of the class asked for), eWasOpenForWrite,
// eWasOpenForRead, eAtMaxReaders.
Velt::ErrorStatus vxdbOpenObject(VxDbObject*& object, VxDbObjectId id, const VxRxClass* cls, VxDb::OpenMode mode,
                                 bool openErased = false);
inline Velt::ErrorStatus vxdbOpenObject(VxDbObject*& object, VxDbObjectId id, VxDb::OpenMode mode,
                                        bool openErased = false)
{
    return vxdbOpenObject(object, id, nullptr, mode, openErased);
}
inline Velt::ErrorStatus vxdbOpenVxDbObject(VxDbObject*& object, VxDbObjectId id, VxDb::OpenMode mode,
                                            bool openErased = false)
{
    return vxdbOpenObject(object, id, nullptr, mode, openErased);
}
template <class T>
Velt::ErrorStatus vxdbOpenObject(T*& object, VxDbObjectId id, VxDb::OpenMode mode, bool openErased = false)
{
    VxDbObject* opened = nullptr;
    const Velt::ErrorStatus es = vxdbOpenObject(opened, id, T::desc(), mode, openErased);
    object = static_cast<T*>(opened);
    return es;
}

// Holds one open of an object and closes it at the end of its scope. It can
// also own an object that is not resident yet: then it deletes it at the end
// unless it has become resident, in which case it closes it.
template <class T>
class VxDbObjectPointer {
public:
    VxDbObjectPointer() = default;
    explicit VxDbObjectPointer(VxDbObjectId id, VxDb::OpenMode mode = VxDb::kForRead, bool openErased = false)
    {
        open(id, mode, openErased);
    }
    // Takes over a new, not yet resident object.
    explicit VxDbObjectPointer(T* newObject) : mObject(newObject), mStatus(newObject ? Velt::eOk : Velt::eNullObjectPointer) {}
    ~VxDbObjectPointer() { close(); }
    VxDbObjectPointer(const VxDbObjectPointer&) = delete;
    VxDbObjectPointer& operator=(const VxDbObjectPointer&) = delete;

    Velt::ErrorStatus open(VxDbObjectId id, VxDb::OpenMode mode = VxDb::kForRead, bool openErased = false)
    {
        close();
        mStatus = vxdbOpenObject(mObject, id, mode, openErased);
        return mStatus;
    }
    Velt::ErrorStatus openStatus() const { return mStatus; }
    T* get() const { return mObject; }
    T* operator->() const { return mObject; }
    explicit operator bool() const { return mObject != nullptr; }

    Velt::ErrorStatus close()
    {
        Velt::ErrorStatus es = Velt::eOk;
        if (mObject) {
            if (mObject->isResident())
                es = mObject->close();
            else
                delete mObject;
        }
        mObject = nullptr;
        mStatus = Velt::eNullObjectPointer;
        return es;
    }
    // Gives up the object without closing or deleting it.
    T* release()
    {
        T* object = mObject;
        mObject = nullptr;
        mStatus = Velt::eNullObjectPointer;
        return object;
    }

private:
    T* mObject = nullptr;
    Velt::ErrorStatus mStatus = Velt::eNullObjectPointer;
};

namespace detail {

// Lets the host change a resident object whatever its open state, for the
// length of a scope: cloning and other internal upkeep.
class ForcedWrite {
public:
    explicit ForcedWrite(VxDbObject* object) : mObject(object)
    {
        if (mObject) {
            mState = mObject->mState;
            mObject->mState |= VxDbObject::kWriter;
        }
    }
    ~ForcedWrite()
    {
        if (mObject)
            mObject->mState = uint8_t(mState | (mObject->mState & VxDbObject::kModified));
    }
    ForcedWrite(const ForcedWrite&) = delete;
    ForcedWrite& operator=(const ForcedWrite&) = delete;

private:
    VxDbObject* mObject;
    uint8_t mState = 0;
};

// Internal access to the object behind an id without opening it: used by the
// host itself for index upkeep, cascades and iteration. Null when there is
// no object.
VxDbObject* objectOf(VxDbObjectId id);

}  // namespace detail

}  // namespace kx
