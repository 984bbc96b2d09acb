// The Properties palette's view of a wrapper class: three mixins that answer the palette's
// interfaces from the class's generated tables, through the exported helpers. A wrapper
// class whose coclass has tables (opm/classes.palette) takes all three; the others none.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <type_traits>

#include "core/lookup.h"
#include "db/object.h"
#include "frame/com.h"
#include "frame/module.h"
#include "opm/extensions.h"
#include "opm/helpers.h"
#include "opm/palette.h"
#include "opm/tables.h"
#include "palette_gen.h"

namespace nk {

// What the three share: the class's tables, where their texts are, and the object asked about.
template <class T, class Tag>
struct PaletteBase {
    static const PaletteTables& tables() { return *kPaletteTablesOf<Tag>; }
    static HINSTANCE texts() { return Module::resourceInstance(); }
    static IUnknown* unknownOf(T& object) { return static_cast<IUnknown*>(object.findInterface(IID_IUnknown)); }
};

template <class T, class Tag>
class IOPMPropertyExtensionImpl2 : public IOPMPropertyExtension {
    using B = PaletteBase<T, Tag>;
    IUnknown* paletteObject() { return B::unknownOf(*static_cast<T*>(this)); }

public:
    HRESULT STDMETHODCALLTYPE GetDisplayName(DISPID dispid, BSTR* name) override
    {
        if (dispid == kDispidObjectName) {
            // The palette's name of the class's objects, for the head of the palette.
            if (!name) return E_POINTER;
            *name = nullptr;
            std::wstring text;
            if (!Module::loadString(B::tables().classNameId, text, 512)) return E_FAIL;
            *name = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
            return *name ? S_OK : E_OUTOFMEMORY;
        }
        return VxOpmGetDisplayName(paletteObject(), B::texts(), B::tables().map, dispid, name);
    }
    HRESULT STDMETHODCALLTYPE Editable(DISPID dispid, BOOL* editable) override
    {
        return VxOpmEditable(paletteObject(), B::tables().map, dispid, editable);
    }
    // The palette shows the properties of the map and leaves the others out.
    HRESULT STDMETHODCALLTYPE ShowProperty(DISPID dispid, BOOL* show) override
    {
        if (!show) return E_POINTER;
        BOOL editable = FALSE;
        *show = SUCCEEDED(VxOpmEditable(paletteObject(), B::tables().map, dispid, &editable));
        return S_OK;
    }
};

template <class T, class Tag>
class IVxPiCategorizePropertiesImpl : public IVxPiCategorizeProperties {
    using B = PaletteBase<T, Tag>;
    IUnknown* paletteObject() { return B::unknownOf(*static_cast<T*>(this)); }

public:
    HRESULT STDMETHODCALLTYPE MapPropertyToCategory(DISPID dispid, LONG* category) override
    {
        return VxOpmMapPropertyToCategory(paletteObject(), B::tables().map, dispid, category);
    }
    // The class's category table first, then the categories its rows name.
    HRESULT STDMETHODCALLTYPE GetCategoryName(LONG category, LCID locale, BSTR* name) override
    {
        HRESULT hr = VxOpmGetCategoryName(paletteObject(), B::texts(), *B::tables().categories, category, locale, name);
        if (hr != E_FAIL) return hr;
        return VxOpmGetCategoryName(paletteObject(), B::texts(), B::tables().map, category, locale, name);
    }
    HRESULT STDMETHODCALLTYPE GetCategoryDescription(LONG category, LCID locale, BSTR* description) override
    {
        return VxOpmGetCategoryDescription(paletteObject(), B::texts(), *B::tables().categories, category, locale,
                                           description);
    }
    HRESULT STDMETHODCALLTYPE GetCategoryWeight(LONG category, LONG* weight) override
    {
        return VxOpmGetCategoryWeight(paletteObject(), *B::tables().categories, category, weight);
    }
    HRESULT STDMETHODCALLTYPE GetParentCategory(LONG category, LONG* parent) override
    {
        return VxOpmGetParentCategory(paletteObject(), *B::tables().categories, category, parent);
    }
};

// The object as a whole, its per-property browsing and its per-property display; over the
// class and its CLSID (the tag's).
template <class T, class Tag>
class IVeltOpmBaseObjectImpl : public IVeltOpmBaseObject,
                               public IPerPropertyBrowsing,
                               public IVxPiPerPropertyDisplay {
    using B = PaletteBase<T, Tag>;
    IUnknown* paletteObject() { return B::unknownOf(*static_cast<T*>(this)); }

public:
    HRESULT STDMETHODCALLTYPE GetWrapperClass(CLSID* clsid) override
    {
        if (!clsid) return E_POINTER;
        *clsid = Tag::clsid();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetPropertyOrder(VARIANT* dispids) override
    {
        if (!dispids) return E_POINTER;
        VariantInit(dispids);
        ULONG n = 0;
        for (const VELT_OPMPROPMAP_ENTRY* row = B::tables().map; row->propertyPage; ++row) ++n;
        SafeArray array(SafeArrayCreateVector(VT_I4, 0, n));
        if (!array.get()) return E_OUTOFMEMORY;
        for (LONG i = 0; i < static_cast<LONG>(n); ++i) {
            LONG dispid = B::tables().map[i].dispid;
            if (FAILED(SafeArrayPutElement(array.get(), &i, &dispid))) return E_OUTOFMEMORY;
        }
        V_VT(dispids) = VT_ARRAY | VT_I4;
        V_ARRAY(dispids) = array.detach();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetCommandButtons(VARIANT* buttons) override
    {
        return VxOpmGetCommandButtons(paletteObject(), B::texts(), *B::tables().buttons, buttons);
    }
    HRESULT STDMETHODCALLTYPE GetDynamicProperties(VARIANT* properties) override
    {
        if (!properties) return E_POINTER;
        VariantInit(properties);
        const std::vector<ComPtr<IVeltDynamicProperty>> found = dynamicPropertiesOf(hostClass());
        SafeArray array(SafeArrayCreateVector(VT_UNKNOWN, 0, static_cast<ULONG>(found.size())));
        if (!array.get()) return E_OUTOFMEMORY;
        for (LONG i = 0; i < static_cast<LONG>(found.size()); ++i)
            if (FAILED(SafeArrayPutElement(array.get(), &i, found[static_cast<size_t>(i)].get()))) return E_OUTOFMEMORY;
        V_VT(properties) = VT_ARRAY | VT_UNKNOWN;
        V_ARRAY(properties) = array.detach();
        return S_OK;
    }

    // IPerPropertyBrowsing
    HRESULT STDMETHODCALLTYPE GetDisplayString(DISPID dispid, BSTR* text) override
    {
        return VxOpmGetDisplayString(paletteObject(), B::tables().map, dispid, text);
    }
    HRESULT STDMETHODCALLTYPE MapPropertyToPage(DISPID dispid, CLSID* page) override
    {
        return VxOpmMapPropertyToPage(paletteObject(), B::tables().map, dispid, page);
    }
    HRESULT STDMETHODCALLTYPE GetPredefinedStrings(DISPID dispid, CALPOLESTR* strings, CADWORD* cookies) override
    {
        return VxOpmGetPredefinedStrings(paletteObject(), B::texts(), B::tables().map, dispid, strings, cookies);
    }
    HRESULT STDMETHODCALLTYPE GetPredefinedValue(DISPID dispid, DWORD cookie, VARIANT* value) override
    {
        return VxOpmGetPredefinedValue(paletteObject(), B::tables().map, dispid, cookie, value);
    }

    // IVxPiPerPropertyDisplay
    HRESULT STDMETHODCALLTYPE GetCustomPropertyCtrl(VARIANT id, LCID locale, BSTR* progId) override
    {
        return VxOpmGetCustomPropertyCtrl(paletteObject(), *B::tables().displays, id, static_cast<LONG>(locale), progId);
    }
    HRESULT STDMETHODCALLTYPE GetPropertyIcon(VARIANT id, IUnknown** icon) override
    {
        return VxOpmGetPropertyIcon(paletteObject(), B::texts(), *B::tables().displays, id, icon);
    }
    HRESULT STDMETHODCALLTYPE GetPropTextColor(VARIANT id, OLE_COLOR* color) override
    {
        return VxOpmGetPropTextColor(paletteObject(), *B::tables().displays, id, color);
    }
    HRESULT STDMETHODCALLTYPE IsFullView(VARIANT id, VARIANT_BOOL* visible, DWORD* integralHeight) override
    {
        return VxOpmIsPropFullView(paletteObject(), *B::tables().displays, id, visible, integralHeight);
    }
    HRESULT STDMETHODCALLTYPE GetPropertyWeight(VARIANT id, LONG* weight) override
    {
        return VxOpmGetPropertyWeight(paletteObject(), *B::tables().displays, id, weight);
    }

private:
    // The runtime class of the object the wrapper stands for; of the wrapper's host class
    // when it stands for none.
    const kx::VxRxClass* hostClass()
    {
        if constexpr (requires(T& t) { t.objectRef(); }) {
            kx::VxDbObjectPointer<kx::VxDbObject> object(static_cast<T*>(this)->objectRef().objectId());
            if (object) return object->isA();
        }
        return hostClassOfWrapper(Tag::clsid());
    }
};

template <class T, class Tag>
class PaletteMixins : public IVeltOpmBaseObjectImpl<T, Tag>,
                      public IOPMPropertyExtensionImpl2<T, Tag>,
                      public IVxPiCategorizePropertiesImpl<T, Tag> {
public:
    void* paletteInterface(REFIID iid)
    {
        if (iid == __uuidof(IVeltOpmBaseObject)) return static_cast<IVeltOpmBaseObject*>(this);
        if (iid == IID_IPerPropertyBrowsing) return static_cast<IPerPropertyBrowsing*>(this);
        if (iid == __uuidof(IVxPiPerPropertyDisplay)) return static_cast<IVxPiPerPropertyDisplay*>(this);
        if (iid == __uuidof(IOPMPropertyExtension)) return static_cast<IOPMPropertyExtension*>(this);
        if (iid == __uuidof(IVxPiCategorizeProperties)) return static_cast<IVxPiCategorizeProperties*>(this);
        return nullptr;
    }
};

struct NoPalette {
    void* paletteInterface(REFIID) { return nullptr; }
};

// The palette's part of the wrapper class of a coclass.
template <class Tag, class T>
using PaletteOf = std::conditional_t<kPaletteTablesOf<Tag> != nullptr, PaletteMixins<T, Tag>, NoPalette>;

}  // namespace nk
