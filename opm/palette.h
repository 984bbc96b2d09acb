// The interfaces of the host's Properties palette. The palette asks a selected object about
// its properties through them, keyed by DISPID, and never needs to know the object's class.
// They belong to the palette, not to the type library; their IIDs are fixed here. Clients
// that show or drive the palette include this header alone.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <olectl.h>

// Names and editing of an object's properties. GetDisplayName answers, for the object-name
// DISPID (0x401), the palette's name of the object's kind.
struct IOPMPropertyExtension : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetDisplayName(DISPID dispid, BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE Editable(DISPID dispid, BOOL* editable) = 0;
    virtual HRESULT STDMETHODCALLTYPE ShowProperty(DISPID dispid, BOOL* show) = 0;
};
__CRT_UUID_DECL(IOPMPropertyExtension, 0x96003d04, 0x0546, 0x48ab, 0x83, 0x44, 0x03, 0xe3, 0x0c, 0xed, 0x1f, 0x67)

// The category each property is shown under. Negative ids are the palette's own categories,
// positive ones a class's.
struct IVxPiCategorizeProperties : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE MapPropertyToCategory(DISPID dispid, LONG* category) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCategoryName(LONG category, LCID locale, BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCategoryDescription(LONG category, LCID locale, BSTR* description) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCategoryWeight(LONG category, LONG* weight) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetParentCategory(LONG category, LONG* parent) = 0;
};
__CRT_UUID_DECL(IVxPiCategorizeProperties, 0x3ebeb93c, 0x88e0, 0x4a31, 0x82, 0x8c, 0xb4, 0xb8, 0x1d, 0x7f, 0xaa, 0x12)

// How each property is shown: its editor control, icon, text colour, height and sort weight.
// The property is named by a VARIANT holding its DISPID as a 32-bit integer.
struct IVxPiPerPropertyDisplay : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE GetCustomPropertyCtrl(VARIANT id, LCID locale, BSTR* progId) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyIcon(VARIANT id, IUnknown** icon) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropTextColor(VARIANT id, OLE_COLOR* color) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsFullView(VARIANT id, VARIANT_BOOL* visible, DWORD* integralHeight) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPropertyWeight(VARIANT id, LONG* weight) = 0;
};
__CRT_UUID_DECL(IVxPiPerPropertyDisplay, 0x0c79e888, 0x4098, 0x41cb, 0x8e, 0x74, 0xc6, 0xcf, 0xb9, 0x91, 0x10, 0xa4)

// A button the palette shows above an object's properties.
struct IVxPiCommandButton : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Description(BSTR* description) = 0;
    // 0: a push button; 1: a button that stays pressed while Checked.
    virtual HRESULT STDMETHODCALLTYPE get_Style(DWORD* style) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Enabled(VARIANT_BOOL* enabled) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Enabled(VARIANT_BOOL enabled) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Checked(VARIANT_BOOL* checked) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_Checked(VARIANT_BOOL checked) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Picture(IUnknown** picture) = 0;
    // The palette passes the objects the button acts on.
    virtual HRESULT STDMETHODCALLTYPE Execute(VARIANT argument) = 0;
};
__CRT_UUID_DECL(IVxPiCommandButton, 0x6be44f87, 0xec17, 0x46f0, 0xb4, 0x63, 0xa3, 0x79, 0xf7, 0x17, 0x7f, 0x5d)

// A property that a module adds to every object of a class, beside the class's own.
struct IVeltDynamicProperty : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Category(BSTR* category) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_ReadOnly(VARIANT_BOOL* readOnly) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue(IUnknown* object, VARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetValue(IUnknown* object, VARIANT value) = 0;
};
__CRT_UUID_DECL(IVeltDynamicProperty, 0x84e8fd26, 0x4ba5, 0x4c95, 0x87, 0xa4, 0x71, 0x8f, 0xe3, 0x6f, 0xaf, 0x2e)

// The dynamic properties of one class, in the order they were added.
struct IVeltPropertyManager : public IUnknown {
    // S_FALSE when the property is there already (it is not added twice).
    virtual HRESULT STDMETHODCALLTYPE AddProperty(IVeltDynamicProperty* property) = 0;
    // S_FALSE when the property is not there.
    virtual HRESULT STDMETHODCALLTYPE RemoveProperty(IVeltDynamicProperty* property) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Count(LONG* count) = 0;
    // E_INVALIDARG outside 0 ... count - 1.
    virtual HRESULT STDMETHODCALLTYPE Item(LONG index, IVeltDynamicProperty** property) = 0;
};
__CRT_UUID_DECL(IVeltPropertyManager, 0x053f73db, 0xc7d3, 0x45c9, 0xa0, 0x84, 0x61, 0x47, 0xc5, 0x4c, 0x71, 0xde)

// What the palette asks of an object as a whole (its per-property browsing is the standard
// IPerPropertyBrowsing).
struct IVeltOpmBaseObject : public IUnknown {
    // The wrapper class.
    virtual HRESULT STDMETHODCALLTYPE GetWrapperClass(CLSID* clsid) = 0;
    // The DISPIDs of the class's properties in the order the palette lists them
    // (VT_ARRAY | VT_I4).
    virtual HRESULT STDMETHODCALLTYPE GetPropertyOrder(VARIANT* dispids) = 0;
    // The class's command buttons (VT_ARRAY | VT_UNKNOWN of IVxPiCommandButton).
    virtual HRESULT STDMETHODCALLTYPE GetCommandButtons(VARIANT* buttons) = 0;
    // The properties modules added to the object's class and its parents, and to every class
    // (VT_ARRAY | VT_UNKNOWN of IVeltDynamicProperty; empty when there are none).
    virtual HRESULT STDMETHODCALLTYPE GetDynamicProperties(VARIANT* properties) = 0;
};
__CRT_UUID_DECL(IVeltOpmBaseObject, 0x6bd7a0fb, 0xc78c, 0x4aec, 0xb6, 0xb8, 0x06, 0xb2, 0x34, 0x97, 0xf3, 0xcd)

// The palette's own property page for hyperlinks, whatever a class's table says.
inline constexpr CLSID kHyperlinkPropertyPage = {
    0xd5d59e6b, 0x72c5, 0x4be7, {0xb5, 0xc4, 0x28, 0x01, 0x8d, 0x6d, 0x48, 0x47}};

// DISPIDs the palette treats specially.
inline constexpr DISPID kDispidObjectName = 0x401;
inline constexpr DISPID kDispidHyperlinks = 1301;
