// The members of a block definition (model space and paper space included): the entities
// it holds as a collection, the factories that add new ones, and its own properties.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/object_ref.h"
#include "kxauto.h"

namespace nk::blocks {

// The entity at a 0-based position, erased ones skipped; E_INVALIDARG past the end.
HRESULT item(VxAxObjectRef& block, IDispatch* app, const VARIANT& index, IVeltEntity** entity);
HRESULT count(VxAxObjectRef& block, LONG* count);
// An IEnumVARIANT over the entities, handing out their wrappers.
HRESULT newEnum(VxAxObjectRef& block, IDispatch* app, IUnknown** enumerator);
HRESULT getName(VxAxObjectRef& block, BSTR* name);
HRESULT putName(VxAxObjectRef& block, BSTR name);
HRESULT getOrigin(VxAxObjectRef& block, VARIANT* origin);
HRESULT putOrigin(VxAxObjectRef& block, const VARIANT& origin);
HRESULT addLine(VxAxObjectRef& block, IDispatch* app, const VARIANT& start, const VARIANT& end, IVeltLine** line);
// Erases a block that nothing inserts.
HRESULT erase(VxAxObjectRef& block);

}  // namespace nk::blocks

namespace nk {

template <class Self, class Base>
class BlockMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE Item(VARIANT index, IVeltEntity** entity) override
    {
        return blocks::item(ref(), app(), index, entity);
    }
    HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** enumerator) override
    {
        return blocks::newEnum(ref(), app(), enumerator);
    }
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override { return blocks::count(ref(), count); }
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override { return blocks::getName(ref(), name); }
    HRESULT STDMETHODCALLTYPE put_Name(BSTR name) override { return blocks::putName(ref(), name); }
    HRESULT STDMETHODCALLTYPE get_Origin(VARIANT* origin) override { return blocks::getOrigin(ref(), origin); }
    HRESULT STDMETHODCALLTYPE put_Origin(VARIANT origin) override { return blocks::putOrigin(ref(), origin); }
    HRESULT STDMETHODCALLTYPE AddLine(VARIANT start, VARIANT end, IVeltLine** line) override
    {
        return blocks::addLine(ref(), app(), start, end, line);
    }

    // Delete and Erase of the object members come here: an inserted block stays, an
    // erased one leaves its wrapper unbound.
    HRESULT erase()
    {
        HRESULT hr = blocks::erase(ref());
        if (SUCCEEDED(hr)) self().NullObjectId();
        return hr;
    }

private:
    Self& self() { return *static_cast<Self*>(this); }
    VxAxObjectRef& ref() { return self().objectRef(); }
    IDispatch* app() { return self().application(); }
};

}  // namespace nk
