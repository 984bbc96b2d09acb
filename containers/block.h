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

// A reference to a block of the drawing, or to a drawing file brought in as a block.
HRESULT insertBlock(VxAxObjectRef& block, IDispatch* app, const VARIANT& point, BSTR name, double xScale,
                    double yScale, double zScale, double rotation, IVeltBlockReference** reference);
HRESULT attachExternalReference(VxAxObjectRef& block, IDispatch* app, BSTR path, BSTR name, const VARIANT& point,
                                double xScale, double yScale, double zScale, double rotation, VARIANT_BOOL overlay,
                                const VARIANT& password, IVeltExternalReference** reference);
HRESULT bind(VxAxObjectRef& block, VARIANT_BOOL prefixName);
HRESULT detach(VxAxObjectRef& block);
HRESULT xrefDatabase(VxAxObjectRef& block, IDispatch* app, IVeltDatabase** database);

// The block record's own properties.
HRESULT getPath(VxAxObjectRef& block, BSTR* path);
HRESULT putPath(VxAxObjectRef& block, BSTR path);
HRESULT getComments(VxAxObjectRef& block, BSTR* comments);
HRESULT putComments(VxAxObjectRef& block, BSTR comments);
HRESULT getUnits(VxAxObjectRef& block, VxInsertUnits* units);
HRESULT putUnits(VxAxObjectRef& block, VxInsertUnits units);
HRESULT getExplodable(VxAxObjectRef& block, VARIANT_BOOL* explodable);
HRESULT putExplodable(VxAxObjectRef& block, VARIANT_BOOL explodable);
HRESULT getBlockScaling(VxAxObjectRef& block, VxBlockScaling* scaling);
HRESULT putBlockScaling(VxAxObjectRef& block, VxBlockScaling scaling);
HRESULT getIsLayout(VxAxObjectRef& block, VARIANT_BOOL* isLayout);
HRESULT getIsXRef(VxAxObjectRef& block, VARIANT_BOOL* isXRef);
HRESULT getIsDynamicBlock(VxAxObjectRef& block, VARIANT_BOOL* isDynamic);
HRESULT getLayout(VxAxObjectRef& block, IDispatch* app, IVeltLayout** layout);

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

    HRESULT STDMETHODCALLTYPE InsertBlock(VARIANT point, BSTR name, double xScale, double yScale, double zScale,
                                          double rotation, VARIANT, IVeltBlockReference** reference) override
    {
        return blocks::insertBlock(ref(), app(), point, name, xScale, yScale, zScale, rotation, reference);
    }
    HRESULT STDMETHODCALLTYPE AttachExternalReference(BSTR path, BSTR name, VARIANT point, double xScale,
                                                      double yScale, double zScale, double rotation,
                                                      VARIANT_BOOL overlay, VARIANT password,
                                                      IVeltExternalReference** reference) override
    {
        return blocks::attachExternalReference(ref(), app(), path, name, point, xScale, yScale, zScale, rotation,
                                               overlay, password, reference);
    }
    HRESULT STDMETHODCALLTYPE Bind(VARIANT_BOOL prefixName) override { return blocks::bind(ref(), prefixName); }
    HRESULT STDMETHODCALLTYPE Detach() override { return blocks::detach(ref()); }
    // Unloading and reloading a reference are not offered here.
    HRESULT STDMETHODCALLTYPE Unload() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reload() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_XRefDatabase(IVeltDatabase** database) override
    {
        return blocks::xrefDatabase(ref(), app(), database);
    }
    HRESULT STDMETHODCALLTYPE get_Path(BSTR* path) override { return blocks::getPath(ref(), path); }
    HRESULT STDMETHODCALLTYPE put_Path(BSTR path) override { return blocks::putPath(ref(), path); }
    HRESULT STDMETHODCALLTYPE get_Comments(BSTR* comments) override { return blocks::getComments(ref(), comments); }
    HRESULT STDMETHODCALLTYPE put_Comments(BSTR comments) override { return blocks::putComments(ref(), comments); }
    HRESULT STDMETHODCALLTYPE get_Units(VxInsertUnits* units) override { return blocks::getUnits(ref(), units); }
    HRESULT STDMETHODCALLTYPE put_Units(VxInsertUnits units) override { return blocks::putUnits(ref(), units); }
    HRESULT STDMETHODCALLTYPE get_Explodable(VARIANT_BOOL* value) override { return blocks::getExplodable(ref(), value); }
    HRESULT STDMETHODCALLTYPE put_Explodable(VARIANT_BOOL value) override { return blocks::putExplodable(ref(), value); }
    HRESULT STDMETHODCALLTYPE get_BlockScaling(VxBlockScaling* value) override
    {
        return blocks::getBlockScaling(ref(), value);
    }
    HRESULT STDMETHODCALLTYPE put_BlockScaling(VxBlockScaling value) override
    {
        return blocks::putBlockScaling(ref(), value);
    }
    HRESULT STDMETHODCALLTYPE get_IsLayout(VARIANT_BOOL* value) override { return blocks::getIsLayout(ref(), value); }
    HRESULT STDMETHODCALLTYPE get_IsXRef(VARIANT_BOOL* value) override { return blocks::getIsXRef(ref(), value); }
    HRESULT STDMETHODCALLTYPE get_IsDynamicBlock(VARIANT_BOOL* value) override
    {
        return blocks::getIsDynamicBlock(ref(), value);
    }
    HRESULT STDMETHODCALLTYPE get_Layout(IVeltLayout** layout) override { return blocks::getLayout(ref(), app(), layout); }

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
