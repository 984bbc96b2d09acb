// The members of the object interface, for every wrapper of a database object: each
// forwards to the shared function with the wrapper's reference.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/lookup.h"
#include "core/object_ops.h"
#include "db/database.h"
#include "frame/com.h"
#include "services/linkmanager.h"

namespace nk {

template <class Self, class Base>
class ObjectMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE get_Handle(BSTR* handle) override { return VxAxGetHandle(ref(), handle); }
    HRESULT STDMETHODCALLTYPE get_ObjectName(BSTR* name) override { return VxAxGetObjectName(ref(), name); }
    HRESULT STDMETHODCALLTYPE GetXData(BSTR appName, VARIANT* types, VARIANT* values) override
    {
        return VxAxGetXData(ref(), appName, types, values);
    }
    HRESULT STDMETHODCALLTYPE SetXData(VARIANT types, VARIANT values) override { return VxAxSetXData(ref(), types, values); }
    HRESULT STDMETHODCALLTYPE Delete() override { return self().erase(); }
    HRESULT STDMETHODCALLTYPE Erase() override { return self().erase(); }
    HRESULT STDMETHODCALLTYPE get_ObjectID(LONG_PTR* id) override
    {
        if (!id) return E_POINTER;
        *id = ref().objectId().asOldId();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** application) override
    {
        return self().GetApplicationObject(application);
    }
    HRESULT STDMETHODCALLTYPE get_Database(IVeltDatabase** database) override
    {
        if (!database) return E_POINTER;
        *database = nullptr;
        kx::VxDbDatabase* db = ref().objectId().database();
        if (!db) return E_FAIL;
        return VxAxGetDatabase(db, self().application(), reinterpret_cast<IDispatch**>(database));
    }
    HRESULT STDMETHODCALLTYPE get_HasExtensionDictionary(VARIANT_BOOL* has) override
    {
        return VxAxHasExtensionDictionary(ref(), has);
    }
    HRESULT STDMETHODCALLTYPE GetExtensionDictionary(IVeltDictionary** dictionary) override
    {
        return VxAxGetExtensionDictionary(ref(), self().application(), dictionary);
    }
    HRESULT STDMETHODCALLTYPE get_OwnerID(LONG_PTR* owner) override { return VxAxGetOwnerId(ref(), owner); }
    HRESULT STDMETHODCALLTYPE get_Document(IDispatch** document) override
    {
        if (!document) return E_POINTER;
        *document = nullptr;
        kx::VxDbDatabase* db = ref().objectId().database();
        kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
        if (!db || !links) return S_OK;
        // The document of the database, when it was opened through one.
        if (auto* unknown = static_cast<IUnknown*>(links->getDocument(db)))
            return unknown->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(document));
        return S_OK;
    }

protected:
    // Erasing, for classes that erase differently (layouts, blocks) to replace.
    HRESULT erase() { return VxAxErase(ref()); }

private:
    Self& self() { return *static_cast<Self*>(this); }
    VxAxObjectRef& ref() { return self().objectRef(); }
};

}  // namespace nk
