// The answers to the Properties palette's questions, read from a class's static tables.
// Every wrapper class with palette support forwards to these; other modules of the host
// use them with tables of their own. The first argument is the object asked about; texts
// are loaded from `instance`.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <string>
#include <vector>

#include "axsupport/export.h"
#include "db/objectid.h"
#include "opm/tables.h"

using OpmCategories = std::vector<CATEGORY_ENTRY>;
using OpmDisplays = std::vector<PER_PROP_DISP_ENTRY>;
using OpmButtons = std::vector<CMDBTN_ENTRY>;

// S_FALSE (and a null name) for a DISPID that is not in the map or has no name; E_FAIL when
// the text does not load.
NK_EXPORT HRESULT VxOpmGetDisplayName(IUnknown* object, HINSTANCE instance, const VELT_OPMPROPMAP_ENTRY* map,
                                      DISPID dispid, BSTR* name);
// The general category (-12) for a DISPID that is not in the map.
NK_EXPORT HRESULT VxOpmMapPropertyToCategory(IUnknown* object, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid,
                                             LONG* category);
// The name of the first row's category with that id; S_FALSE when none, E_UNEXPECTED when
// the text does not load.
NK_EXPORT HRESULT VxOpmGetCategoryName(IUnknown* object, HINSTANCE instance, const VELT_OPMPROPMAP_ENTRY* map,
                                       LONG category, LCID locale, BSTR* name);
// The category table's answers: E_FAIL for a category that is not in it.
NK_EXPORT HRESULT VxOpmGetCategoryName(IUnknown* object, HINSTANCE instance, const OpmCategories& categories,
                                       LONG category, LCID locale, BSTR* name);
NK_EXPORT HRESULT VxOpmGetCategoryDescription(IUnknown* object, HINSTANCE instance, const OpmCategories& categories,
                                              LONG category, LCID locale, BSTR* description);
NK_EXPORT HRESULT VxOpmGetCategoryWeight(IUnknown* object, const OpmCategories& categories, LONG category,
                                         LONG* weight);
NK_EXPORT HRESULT VxOpmGetParentCategory(IUnknown* object, const OpmCategories& categories, LONG category,
                                         LONG* parent);
// The hyperlinks DISPID always has the palette's hyperlink page; others E_NOTIMPL unless
// their row names a page.
NK_EXPORT HRESULT VxOpmMapPropertyToPage(IUnknown* object, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid,
                                         CLSID* page);
// The names of an enumerated property, one BSTR each, with cookies 0 ... n - 1; the caller
// frees the BSTRs and both arrays (CoTaskMemFree).
NK_EXPORT HRESULT VxOpmGetPredefinedStrings(IUnknown* object, HINSTANCE instance, const VELT_OPMPROPMAP_ENTRY* map,
                                            DISPID dispid, CALPOLESTR* strings, CADWORD* cookies);
// The value that belongs to a cookie: text, a 32-bit integer, or a real read in single
// precision. S_OK with an empty value past the last.
NK_EXPORT HRESULT VxOpmGetPredefinedValue(IUnknown* object, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid,
                                          DWORD cookie, VARIANT* value);
// For the hyperlinks DISPID the object's first hyperlink; otherwise the row's display string.
NK_EXPORT HRESULT VxOpmGetDisplayString(IUnknown* object, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid,
                                        BSTR* text);
NK_EXPORT HRESULT VxOpmEditable(IUnknown* object, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid, BOOL* editable);

// The display table's answers, the DISPID given as a 32-bit integer in a VARIANT: E_FAIL for
// one that is not in the table.
NK_EXPORT HRESULT VxOpmGetCustomPropertyCtrl(IUnknown* object, const OpmDisplays& displays, const VARIANT& id,
                                             LONG flags, BSTR* progId);
NK_EXPORT HRESULT VxOpmGetPropertyIcon(IUnknown* object, HINSTANCE instance, const OpmDisplays& displays,
                                       const VARIANT& id, IUnknown** icon);
NK_EXPORT HRESULT VxOpmGetPropertyWeight(IUnknown* object, const OpmDisplays& displays, const VARIANT& id,
                                         LONG* weight);
NK_EXPORT HRESULT VxOpmIsPropFullView(IUnknown* object, const OpmDisplays& displays, const VARIANT& id,
                                      VARIANT_BOOL* visible, DWORD* integralHeight);
NK_EXPORT HRESULT VxOpmGetPropTextColor(IUnknown* object, const OpmDisplays& displays, const VARIANT& id,
                                        OLE_COLOR* color);

// One new button object per row (VT_ARRAY | VT_UNKNOWN); an empty array for no rows.
NK_EXPORT HRESULT VxOpmGetCommandButtons(IUnknown* object, HINSTANCE instance, const OpmButtons& buttons,
                                         VARIANT* result);

class NK_EXPORT NkOPMUtils {
public:
    // The palette's name of an object's kind ("Line"); the runtime class's name when the
    // object's wrapper has none.
    static std::wstring GetEntityDisplayName(const kx::VxDbObjectId& id);
    // The wrapper class that stands for the object.
    static HRESULT GetCLSID(const kx::VxDbObjectId& id, CLSID* clsid);
};

namespace nk::opm {

// The string resource of a special class that no wrapper names ("KxDbLight"), or 0.
UINT specialClassNameId(const wchar_t* className);

}  // namespace nk::opm
