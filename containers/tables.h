// The collections of named records (layers, linetypes, registered applications): Item by
// name or position, Count, the enumerator, and Add, which hands back the existing record
// when the name is taken.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/object_ref.h"
#include "kxauto.h"

namespace kx {
class VxDbSymbolTableRecord;
}

namespace nk::tables {

// What differs between the record collections.
struct Kind {
    const IID& collection;  // reported with errors
    const IID& record;      // the interface Item and Add hand out
    kx::VxDbSymbolTableRecord* (*makeRecord)();
    const wchar_t* forbidden;  // characters a new name must not hold, or null
    bool lockMustSucceed;      // Add reports a refused document lock at once
};

extern const Kind kLayers;
extern const Kind kLinetypes;
extern const Kind kRegisteredApps;

HRESULT item(VxAxObjectRef& table, IDispatch* owner, const Kind& kind, const VARIANT& index, void** record);
HRESULT count(VxAxObjectRef& table, const Kind& kind, LONG* count);
HRESULT newEnum(VxAxObjectRef& table, IDispatch* owner, const Kind& kind, IUnknown** enumerator);
HRESULT add(VxAxObjectRef& table, IDispatch* owner, const Kind& kind, BSTR name, void** record);
// Marks each layer used or not, for the layers' Used.
HRESULT generateLayerUsage(VxAxObjectRef& layers);
// Loads a linetype by name from a linetype file.
HRESULT loadLinetype(VxAxObjectRef& linetypes, BSTR name, BSTR file);

}  // namespace nk::tables

namespace nk {

template <class Self, class Base, class Record, const tables::Kind& kind>
class TableMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE Item(VARIANT index, Record** record) override
    {
        return tables::item(ref(), app(), kind, index, reinterpret_cast<void**>(record));
    }
    HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override { return tables::count(ref(), kind, count); }
    HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** enumerator) override
    {
        return tables::newEnum(ref(), app(), kind, enumerator);
    }
    HRESULT STDMETHODCALLTYPE Add(BSTR name, Record** record) override
    {
        return tables::add(ref(), app(), kind, name, reinterpret_cast<void**>(record));
    }

protected:
    Self& self() { return *static_cast<Self*>(this); }
    VxAxObjectRef& ref() { return self().objectRef(); }
    IDispatch* app() { return self().application(); }
};

template <class Self, class Base>
class LayersMembers : public TableMembers<Self, Base, IVeltLayer, tables::kLayers> {
public:
    HRESULT STDMETHODCALLTYPE GenerateUsageData() override { return tables::generateLayerUsage(this->ref()); }
};

template <class Self, class Base>
class LinetypesMembers : public TableMembers<Self, Base, IVeltLineType, tables::kLinetypes> {
public:
    HRESULT STDMETHODCALLTYPE Load(BSTR name, BSTR file) override
    {
        return tables::loadLinetype(this->ref(), name, file);
    }
};

}  // namespace nk
