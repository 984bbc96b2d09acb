#include "core/object_ops.h"

#include <string>

#include "core/call.h"
#include "core/lookup.h"
#include "core/xdata.h"
#include "db/database.h"
#include "db/layout.h"
#include "frame/com.h"
#include "services/doclock.h"
#include "services/hostservices.h"

namespace {

using namespace nk;
using kx::Velt::ErrorStatus;
using kx::VxDb::kForRead;
using kx::VxDb::kForWrite;

const IID& kObjectIid = __uuidof(IVeltObject);

// Takes the document lock of the object's database; a refused lock is thrown.
class WriteLock {
public:
    explicit WriteLock(kx::VxDbObjectId id) : lock_(id, kx::VxAxDocLock::kWrite) { check(lock_.lockStatus()); }

private:
    kx::VxAxDocLock lock_;
};

// Both overloads run the same body, opening the object through an id or a reference.
template <class Target>
HRESULT getObjectName(const Target& target, BSTR* name)
{
    if (!name) return E_POINTER;
    *name = nullptr;
    OpenedObject<> object(target, kForRead);
    if (!object.isOpen()) return E_POINTER;  // not a database status: kept so
    *name = SysAllocString(object->isA()->name());
    return *name ? S_OK : E_OUTOFMEMORY;
}

template <class Target>
HRESULT getOwnerId(const Target& target, LONG_PTR* owner)
{
    if (!owner) return E_POINTER;
    *owner = 0;
    return guarded(kObjectIid, [&] {
        OpenedObject<> object(target, kForRead);
        *owner = object.orThrow()->ownerId().asOldId();
        return S_OK;
    });
}

template <class Target>
HRESULT hasExtensionDictionary(const Target& target, VARIANT_BOOL* has)
{
    if (!has) return E_POINTER;
    *has = VARIANT_FALSE;
    return guarded(kObjectIid, [&] {
        OpenedObject<> object(target, kForRead);
        *has = object.orThrow()->extensionDictionary().isValid() ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    });
}

template <class Target>
HRESULT getExtensionDictionary(const Target& target, kx::VxDbObjectId id, IDispatch* app, IVeltDictionary** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kObjectIid, [&] {
        kx::VxAxDocLock lock(id, kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<> object(target, kForRead);
        kx::VxDbObject* o = object.orThrow();
        // Reading the dictionary makes it when there is none yet.
        if (!o->extensionDictionary().isValid()) {
            bool resident = o->isResident();
            if (resident) check(o->upgradeOpen());
            ErrorStatus es = o->createExtensionDictionary();
            if (resident) o->downgradeOpen();
            check(es);
        }
        ComPtr<IUnknown> wrapper;
        HRESULT hr = VxAxGetIUnknownOfObject(wrapper.put(), o->extensionDictionary(), app);
        if (FAILED(hr)) return hr;
        if (wrapper) wrapper->QueryInterface(__uuidof(IVeltDictionary), reinterpret_cast<void**>(out));
        return S_OK;
    });
}

template <class Target>
HRESULT setXData(const Target& target, kx::VxDbObjectId id, const VARIANT& types, const VARIANT& values)
{
    return guarded(kObjectIid, [&] {
        kx::VxResBufPtr chain = variantsToChain(types, values);
        if (!chain || chain->restype != 1001) return E_INVALIDARG;
        WriteLock lock(id);
        OpenedObject<> object(target, kForWrite);
        kx::VxDbObject* o = object.orThrow();
        // Writing data for an application registers the application.
        for (const kx::VxResBuf* rb = chain.get(); rb; rb = rb->rbnext)
            if (rb->restype == 1001 && rb->resval.rstring) check(kx::vxdbRegApp(rb->resval.rstring, o->database()));
        check(o->setXData(chain.get()));
        return S_OK;
    });
}

template <class Target>
HRESULT getXData(const Target& target, BSTR appName, VARIANT* types, VARIANT* values)
{
    if (!values) return E_INVALIDARG;
    if (types) VariantClear(types);
    VariantClear(values);
    OpenedObject<> object(target, kForRead);
    if (!object.isOpen()) return E_FAIL;
    return guarded(kObjectIid, [&] {
        kx::VxResBufPtr chain(object->xData(appName && *appName ? appName : nullptr));
        Variant codes;
        chainToVariants(chain.get(), codes.get(), values);
        if (types) codes.detachTo(types);
        return S_OK;
    });
}

}  // namespace

HRESULT VxAxGetHandle(const kx::VxDbObjectId& id, BSTR* handle)
{
    if (!handle) return E_POINTER;
    wchar_t text[128] = {};
    id.handle().getIntoAsciiBuffer(text, 128);
    *handle = SysAllocString(text);
    return *handle ? S_OK : E_OUTOFMEMORY;
}
HRESULT VxAxGetHandle(VxAxObjectRef& ref, BSTR* handle) { return VxAxGetHandle(ref.objectId(), handle); }

HRESULT VxAxGetObjectName(const kx::VxDbObjectId& id, BSTR* name) { return getObjectName(id, name); }
HRESULT VxAxGetObjectName(VxAxObjectRef& ref, BSTR* name) { return getObjectName(ref, name); }

HRESULT VxAxGetOwnerId(const kx::VxDbObjectId& id, LONG_PTR* owner) { return getOwnerId(id, owner); }
HRESULT VxAxGetOwnerId(VxAxObjectRef& ref, LONG_PTR* owner) { return getOwnerId(ref, owner); }

HRESULT VxAxHasExtensionDictionary(const kx::VxDbObjectId& id, VARIANT_BOOL* has) { return hasExtensionDictionary(id, has); }
HRESULT VxAxHasExtensionDictionary(VxAxObjectRef& ref, VARIANT_BOOL* has) { return hasExtensionDictionary(ref, has); }

HRESULT VxAxGetExtensionDictionary(const kx::VxDbObjectId& id, IDispatch* app, IVeltDictionary** dictionary)
{
    return getExtensionDictionary(id, id, app, dictionary);
}
HRESULT VxAxGetExtensionDictionary(VxAxObjectRef& ref, IDispatch* app, IVeltDictionary** dictionary)
{
    return getExtensionDictionary(ref, ref.objectId(), app, dictionary);
}

HRESULT VxAxSetXData(const kx::VxDbObjectId& id, VARIANT types, VARIANT values) { return setXData(id, id, types, values); }
HRESULT VxAxSetXData(VxAxObjectRef& ref, VARIANT types, VARIANT values) { return setXData(ref, ref.objectId(), types, values); }

HRESULT VxAxGetXData(const kx::VxDbObjectId& id, BSTR appName, VARIANT* types, VARIANT* values)
{
    return getXData(id, appName, types, values);
}
HRESULT VxAxGetXData(VxAxObjectRef& ref, BSTR appName, VARIANT* types, VARIANT* values)
{
    return getXData(ref, appName, types, values);
}

HRESULT VxAxErase(const kx::VxDbObjectId& id)
{
    return guarded(kObjectIid, [&] {
        if (id.isValid()) {
            kx::VxDbDatabase* db = id.database();
            // The layout and group dictionaries themselves may not go.
            if (db && (id == db->layoutDictionaryId() || id == db->groupDictionaryId())) return E_FAIL;
        }
        WriteLock lock(id);
        bool isLayout = false;
        {
            OpenedObject<> object(id, kForRead);
            isLayout = object.orThrow()->isKindOf(kx::VxDbLayout::desc());
        }
        if (isLayout) {
            // A layout goes through the layout manager, by name.
            std::wstring name;
            {
                OpenedObject<kx::VxDbLayout> layout(id, kForRead);
                check(layout.orThrow()->getName(name));
            }
            kx::VxDbLayoutManager* manager = kx::veltGetLayoutManager();
            if (!manager) throw kx::Velt::eNoDatabase;
            ErrorStatus es = manager->deleteLayout(name.c_str(), id.database());
            if (es != kx::Velt::eOk && static_cast<int>(es) != 343) throw es;
            return S_OK;
        }
        OpenedObject<> object(id, kForWrite);
        check(object.orThrow()->erase(true));
        return S_OK;
    });
}
HRESULT VxAxErase(VxAxObjectRef& ref) { return VxAxErase(ref.objectId()); }
