// What every wrapper of a database object holds: its object reference and the application
// object, and the private binding interfaces through which the lookup sets them. The
// wrapper's link-manager record is cleared when the wrapper goes.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/binding.h"
#include "core/object_ref.h"
#include "frame/com.h"

namespace nk {

class BoundObject : public IVeltBaseObject, public IRetrieveApplication {
public:
    explicit BoundObject(const CLSID& clsid) : clsid_(clsid) {}
    BoundObject(const BoundObject&) = delete;
    BoundObject& operator=(const BoundObject&) = delete;
    virtual ~BoundObject();

    HRESULT STDMETHODCALLTYPE SetObjectId(kx::VxDbObjectId objectId, kx::VxDbObjectId ownerId,
                                          const wchar_t* keyName) override;
    HRESULT STDMETHODCALLTYPE GetObjectId(kx::VxDbObjectId* objectId) override;
    HRESULT STDMETHODCALLTYPE Clone(kx::VxDbObjectId ownerId, IUnknown** copy) override;
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override;
    HRESULT STDMETHODCALLTYPE NullObjectId() override;
    HRESULT STDMETHODCALLTYPE OnModified() override;

    HRESULT STDMETHODCALLTYPE SetApplicationObject(IDispatch* application) override;
    HRESULT STDMETHODCALLTYPE GetApplicationObject(IDispatch** application) override;

    VxAxObjectRef& objectRef() { return ref_; }
    // The wrapper's IUnknown (not counted), the pointer the link manager records.
    IUnknown* identity() const { return identity_; }
    // Binds a wrapper just made for a resident object, which has no record to forget yet;
    // the caller writes the record.
    void bindNew(kx::VxDbObjectId id, IDispatch* application)
    {
        ref_ = VxAxObjectRef(id);
        app_ = application;
    }
    // Takes a new object of the host class this wrapper stands for, kept until it goes into
    // a drawing; wrappers of classes with no host class of their own stay unbound.
    void ownNewObject();

protected:
    // Known to the class that makes the wrapper, so that binding needs no query.
    void setIdentity(IUnknown* identity) { identity_ = identity; }
    // Tells the wrapper's event sinks that its object changed.
    virtual void fireChanged() {}

public:
    IDispatch* application() const { return app_.get(); }

private:
    void forgetRecord();

    CLSID clsid_;
    VxAxObjectRef ref_;
    ComPtr<IDispatch> app_;
    IUnknown* identity_ = nullptr;  // the pointer the link manager records; not counted
};

}  // namespace nk
