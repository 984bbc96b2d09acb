#include "core/bound_object.h"

#include <memory>
#include <string>

#include "core/lookup.h"
#include "rx/rxobject.h"
#include "services/linkmanager.h"

namespace nk {

BoundObject::~BoundObject() { forgetRecord(); }

void BoundObject::forgetRecord()
{
    if (!identity_) return;
    const kx::VxDbObjectId id = ref_.objectId();
    if (id.isNull()) return;
    // Read and cleared through one look-up of the record's place.
    kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
    void** record = links ? links->recordOf(id, false) : nullptr;
    if (record && *record == identity_) links->setRecord(record, nullptr);
}

void BoundObject::ownNewObject()
{
    const kx::VxRxClass* cls = hostClassOfWrapper(clsid_);
    if (!cls) return;
    std::unique_ptr<kx::VxRxObject> made(cls->create());
    if (kx::VxDbObject* object = kx::VxDbObject::cast(made.get())) {
        made.release();
        ref_ = VxAxObjectRef(object);
    }
}

HRESULT BoundObject::SetObjectId(kx::VxDbObjectId objectId, kx::VxDbObjectId, const wchar_t*)
{
    forgetRecord();
    ref_ = VxAxObjectRef(objectId);  // an object of its own, if it had one, goes
    if (!identity_) {
        // Ask once, while the object is whole: the destructor can no longer.
        IUnknown* unknown = nullptr;
        if (SUCCEEDED(static_cast<IVeltBaseObject*>(this)->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)))) {
            identity_ = unknown;
            unknown->Release();
        }
    }
    return S_OK;
}

HRESULT BoundObject::GetObjectId(kx::VxDbObjectId* objectId)
{
    if (!objectId) return E_POINTER;
    *objectId = ref_.objectId();
    return S_OK;
}

HRESULT BoundObject::Clone(kx::VxDbObjectId, IUnknown** copy)
{
    if (copy) *copy = nullptr;
    return E_NOTIMPL;
}

HRESULT BoundObject::GetClassID(CLSID* clsid)
{
    if (!clsid) return E_POINTER;
    *clsid = clsid_;
    return S_OK;
}

HRESULT BoundObject::NullObjectId()
{
    forgetRecord();
    ref_.setObjectId(kx::VxDbObjectId::kNull);
    return S_OK;
}

HRESULT BoundObject::OnModified()
{
    fireChanged();
    return S_OK;
}

HRESULT BoundObject::SetApplicationObject(IDispatch* application)
{
    app_ = application;
    return S_OK;
}

HRESULT BoundObject::GetApplicationObject(IDispatch** application)
{
    if (!application) return E_POINTER;
    *application = app_.get();
    if (*application) (*application)->AddRef();
    return S_OK;
}

}  // namespace nk
