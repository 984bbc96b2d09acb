// A wrapper's reference to its database object, and the scope-bound open of that object.
//
// A reference names a resident object by id, or owns an object that is not in a database
// yet (made through automation and not appended). Every member call opens the object for
// the length of the call and closes it on every path; an owned object is reached directly
// and never closed or deleted by the open.
#pragma once

#include <memory>

#include "axsupport/export.h"
#include "db/object.h"
#include "db/status.h"

class NK_EXPORT VxAxObjectRef {
public:
    VxAxObjectRef() = default;
    explicit VxAxObjectRef(kx::VxDbObjectId id) : id_(id) {}
    // Takes over an object that is not in a database.
    explicit VxAxObjectRef(kx::VxDbObject* owned);
    VxAxObjectRef(const VxAxObjectRef&) = delete;
    VxAxObjectRef& operator=(const VxAxObjectRef&) = delete;
    VxAxObjectRef(VxAxObjectRef&&) noexcept = default;
    VxAxObjectRef& operator=(VxAxObjectRef&&) noexcept = default;
    ~VxAxObjectRef();

    // The id of the object; the id an owned object got once it was appended.
    kx::VxDbObjectId objectId() const { return owned_ ? ownedObjectId() : id_; }
    void setObjectId(kx::VxDbObjectId id);
    // The object the reference owns, while it is not in a database.
    kx::VxDbObject* ownedObject() const { return owned_.get(); }
    bool isNull() const { return objectId().isNull() && !owned_; }

private:
    kx::VxDbObjectId ownedObjectId() const;

    kx::VxDbObjectId id_;
    struct Deleter {
        void operator()(kx::VxDbObject* object) const;
    };
    std::unique_ptr<kx::VxDbObject, Deleter> owned_;
};

namespace nk {

// One open of the object a reference names, as class T, closed at the end of the scope.
template <class T = kx::VxDbObject>
class OpenedObject {
public:
    // Inlined always: it is the first step of every member call.
    [[gnu::always_inline]] OpenedObject(const VxAxObjectRef& ref, kx::VxDb::OpenMode mode)
    {
        if (kx::VxDbObject* owned = ref.ownedObject(); owned && !owned->isResident()) {
            object_ = T::cast(owned);
            status_ = object_ ? kx::Velt::eOk : kx::Velt::eWrongObjectType;
            owned_ = true;
            return;
        }
        open(ref.objectId(), mode);
    }
    OpenedObject(kx::VxDbObjectId id, kx::VxDb::OpenMode mode) { open(id, mode); }
    OpenedObject(const OpenedObject&) = delete;
    OpenedObject& operator=(const OpenedObject&) = delete;
    ~OpenedObject() { close(); }

    kx::Velt::ErrorStatus status() const { return status_; }
    bool isOpen() const { return object_ != nullptr; }
    T* get() const { return object_; }
    T* operator->() const { return object_; }
    // The object, or the open's status thrown.
    T* orThrow() const
    {
        if (!object_) throw status_ == kx::Velt::eOk ? kx::Velt::eNullObjectId : status_;
        return object_;
    }
    void close()
    {
        if (object_ && !owned_) object_->close();
        object_ = nullptr;
    }

private:
    [[gnu::always_inline]] void open(kx::VxDbObjectId id, kx::VxDb::OpenMode mode)
    {
        kx::VxDbObject* opened = nullptr;
        status_ = kx::vxdbOpenObject(opened, id, T::desc(), mode);
        object_ = status_ == kx::Velt::eOk ? static_cast<T*>(opened) : nullptr;
    }

    T* object_ = nullptr;
    kx::Velt::ErrorStatus status_ = kx::Velt::eNullObjectId;
    bool owned_ = false;
};

}  // namespace nk
