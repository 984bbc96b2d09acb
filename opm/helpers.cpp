#include "opm/helpers.h"

#include <any>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <new>

#include "core/binding.h"
#include "core/lookup.h"
#include "db/object.h"
#include "frame/com.h"
#include "frame/module.h"
#include "frame/unknown.h"
#include "kxauto.h"
#include "opm/palette.h"
#include "res/strings.h"
#include "services/linkmanager.h"

namespace {

using nk::Bstr;
using nk::ComPtr;

constexpr int kNameChars = 512;
constexpr int kListChars = 3072;
constexpr LONG kGeneralCategory = -12;

// The row of a DISPID; the map ends at the first row without a property page.
const VELT_OPMPROPMAP_ENTRY* findRow(const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid)
{
    if (!map) return nullptr;
    for (const VELT_OPMPROPMAP_ENTRY* row = map; row->propertyPage; ++row)
        if (row->dispid == dispid) return row;
    return nullptr;
}

const CATEGORY_ENTRY* findCategory(const OpmCategories& categories, LONG id)
{
    for (const CATEGORY_ENTRY& c : categories)
        if (c.id == id) return &c;
    return nullptr;
}

// The DISPID a display-table question names: only whole numbers name one.
bool dispidOf(const VARIANT& id, DISPID& dispid)
{
    switch (V_VT(&id)) {
    case VT_I4: dispid = V_I4(&id); return true;
    case VT_INT: dispid = V_INT(&id); return true;
    case VT_UI4: dispid = static_cast<DISPID>(V_UI4(&id)); return true;
    case VT_I2: dispid = V_I2(&id); return true;
    default: return false;
    }
}

const PER_PROP_DISP_ENTRY* findDisplay(const OpmDisplays& displays, const VARIANT& id)
{
    DISPID dispid = 0;
    if (!dispidOf(id, dispid)) return nullptr;
    for (const PER_PROP_DISP_ENTRY& d : displays)
        if (d.dispid == dispid) return &d;
    return nullptr;
}

// A string resource cut at `chars` characters, as a new BSTR; null when it does not load.
BSTR loadText(HINSTANCE instance, UINT id, int chars)
{
    std::wstring buffer(static_cast<size_t>(chars) + 1, L'\0');
    const int n = LoadStringW(instance, id, buffer.data(), chars);
    if (n <= 0) return nullptr;
    return SysAllocStringLen(buffer.data(), static_cast<UINT>(n));
}

// The items of a ";"-separated list; consecutive separators make no empty items.
std::vector<std::wstring> splitList(const wchar_t* text)
{
    std::vector<std::wstring> items;
    std::wstring current;
    for (const wchar_t* p = text; p && *p; ++p) {
        if (*p == L';') {
            if (!current.empty()) items.push_back(std::move(current));
            current.clear();
        } else {
            current += *p;
        }
    }
    if (!current.empty()) items.push_back(std::move(current));
    return items;
}

// A predefined value as the palette gets it: text when it holds a letter, a real when it
// holds a point (read in single precision, as the tables always were), else an integer.
std::any parseValue(const std::wstring& item)
{
    bool text = false, point = false;
    for (wchar_t c : item) {
        text = text || std::iswalpha(c);
        point = point || c == L'.';
    }
    if (text) return item;
    if (point) {
        float f = 0;
        if (swscanf(item.c_str(), L"%f", &f) != 1) return {};
        return f;
    }
    int n = 0;
    if (swscanf(item.c_str(), L"%d", &n) != 1) return {};
    return n;
}

HRESULT toVariant(const std::any& value, VARIANT* out)
{
    if (const auto* text = std::any_cast<std::wstring>(&value)) {
        V_BSTR(out) = SysAllocStringLen(text->data(), static_cast<UINT>(text->size()));
        if (!V_BSTR(out)) return E_OUTOFMEMORY;
        V_VT(out) = VT_BSTR;
    } else if (const auto* real = std::any_cast<float>(&value)) {
        V_VT(out) = VT_R8;
        V_R8(out) = *real;
    } else if (const auto* whole = std::any_cast<int>(&value)) {
        V_VT(out) = VT_I4;
        V_I4(out) = *whole;
    } else {
        return E_FAIL;
    }
    return S_OK;
}

// The first hyperlink of an object as the palette shows it: its address, else its description.
bool firstHyperlinkText(IUnknown* object, BSTR* text, bool& noInterface)
{
    ComPtr<IVeltEntity> entity;
    if (!object || FAILED(object->QueryInterface(__uuidof(IVeltEntity), entity.putVoid())) || !entity) {
        noInterface = true;
        return false;
    }
    ComPtr<IVeltHyperlinks> links;
    if (FAILED(entity->get_Hyperlinks(links.put())) || !links) return false;
    VARIANT first;
    VariantInit(&first);
    V_VT(&first) = VT_I4;
    V_I4(&first) = 0;
    ComPtr<IVeltHyperlink> link;
    if (FAILED(links->Item(first, link.put())) || !link) return false;
    Bstr found;
    if (FAILED(link->get_URL(found.put())) || found.length() == 0) {
        if (FAILED(link->get_URLDescription(found.put())) || found.length() == 0) return false;
    }
    *text = found.detach();
    return true;
}

}  // namespace

namespace nk::opm {

// A picture made from a bitmap or icon resource at its natural size; the picture owns it.
HRESULT loadPicture(HINSTANCE instance, const wchar_t* resource, uint32_t type, IUnknown** picture)
{
    *picture = nullptr;
    if (type != kOpmIconBitmap && type != kOpmIcon) return E_FAIL;
    if (!resource) return E_FAIL;
    HANDLE image = LoadImageW(instance, resource, type == kOpmIconBitmap ? IMAGE_BITMAP : IMAGE_ICON, 0, 0, 0);
    if (!image) return E_FAIL;
    PICTDESC desc{};
    desc.cbSizeofstruct = sizeof(desc);
    desc.picType = type;
    if (type == kOpmIconBitmap) desc.bmp.hbitmap = static_cast<HBITMAP>(image);
    else desc.icon.hicon = static_cast<HICON>(image);
    ComPtr<IUnknown> made;
    if (FAILED(OleCreatePictureIndirect(&desc, IID_IUnknown, TRUE, made.putVoid())) || !made) {
        if (type == kOpmIconBitmap) DeleteObject(image);
        else DestroyIcon(static_cast<HICON>(image));
        return E_FAIL;
    }
    return made->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(picture)) == S_OK ? S_OK : E_FAIL;
}

UINT specialClassNameId(const wchar_t* className)
{
    static const struct {
        const wchar_t* name;
        UINT id;
    } kSpecial[] = {
        {L"KxDbProxyEntity", IDS_ENTITY_PROXY},   {L"VxDbUndeadEntity", IDS_ENTITY_PROXY},
        {L"KxDbLight", IDS_ENTITY_LIGHT},          {L"VxDbSmartVoice", IDS_ENTITY_VOICE_NOTE},
        {L"KxDbSectionSymbol", IDS_ENTITY_SECTION_SYMBOL}, {L"KxDbDetailSymbol", IDS_ENTITY_DETAIL_SYMBOL},
    };
    if (!className) return 0;
    for (const auto& s : kSpecial)
        if (_wcsicmp(s.name, className) == 0) return s.id;
    return 0;
}

namespace {

// A button of the palette: a copy of its row, the module whose texts it shows, and the
// object it belongs to.
class CommandButton final : public SingleInterfaceObject<IVxPiCommandButton>, private LiveObject {
public:
    CommandButton(const CMDBTN_ENTRY& row, HINSTANCE instance, IUnknown* object)
        : row_(row), instance_(instance), object_(object)
    {
    }

    HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override
    {
        if (!name) return E_POINTER;
        *name = loadText(instance_, row_.nameId, kNameChars);
        return *name ? S_OK : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE get_Description(BSTR* description) override
    {
        if (!description) return E_POINTER;
        *description = nullptr;
        if (row_.descriptionId == 0) return S_FALSE;
        *description = loadText(instance_, row_.descriptionId, kNameChars);
        return *description ? S_OK : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE get_Style(DWORD* style) override
    {
        if (!style) return E_POINTER;
        *style = row_.style;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Enabled(VARIANT_BOOL* enabled) override
    {
        if (!enabled) return E_POINTER;
        *enabled = enabled_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_Enabled(VARIANT_BOOL enabled) override
    {
        enabled_ = enabled;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Checked(VARIANT_BOOL* checked) override
    {
        if (!checked) return E_POINTER;
        *checked = checked_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_Checked(VARIANT_BOOL checked) override
    {
        checked_ = checked;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Picture(IUnknown** picture) override
    {
        if (!picture) return E_POINTER;
        return loadPicture(instance_, row_.iconResource, row_.iconType, picture);
    }
    HRESULT STDMETHODCALLTYPE Execute(VARIANT argument) override
    {
        if (!row_.execute) return S_OK;
        // The action borrows its own copy for the call.
        Variant copy;
        HRESULT hr = VariantCopy(copy.get(), &argument);
        if (FAILED(hr)) return hr;
        row_.execute(*copy.get());
        return S_OK;
    }

private:
    CMDBTN_ENTRY row_;
    HINSTANCE instance_;
    ComPtr<IUnknown> object_;
    VARIANT_BOOL enabled_ = VARIANT_TRUE;
    VARIANT_BOOL checked_ = VARIANT_FALSE;
};

}  // namespace
}  // namespace nk::opm

using namespace nk;

HRESULT VxOpmGetDisplayName(IUnknown*, HINSTANCE instance, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid,
                            BSTR* name)
{
    if (!name) return E_POINTER;
    *name = nullptr;
    const VELT_OPMPROPMAP_ENTRY* row = findRow(map, dispid);
    if (!row || row->displayNameId == 0) return S_FALSE;
    *name = loadText(instance, row->displayNameId, kNameChars);
    return *name ? S_OK : E_FAIL;
}

HRESULT VxOpmMapPropertyToCategory(IUnknown*, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid, LONG* category)
{
    if (!category) return E_POINTER;
    *category = kGeneralCategory;
    if (const VELT_OPMPROPMAP_ENTRY* row = findRow(map, dispid)) *category = row->categoryId;
    return S_OK;
}

HRESULT VxOpmGetCategoryName(IUnknown*, HINSTANCE instance, const VELT_OPMPROPMAP_ENTRY* map, LONG category, LCID,
                             BSTR* name)
{
    if (!name) return E_POINTER;
    *name = nullptr;
    const VELT_OPMPROPMAP_ENTRY* found = nullptr;
    for (const VELT_OPMPROPMAP_ENTRY* row = map; row && row->propertyPage && !found; ++row)
        if (row->categoryId == category) found = row;
    if (!found || found->categoryNameId == 0) return S_FALSE;
    *name = loadText(instance, found->categoryNameId, kNameChars);
    return *name ? S_OK : E_UNEXPECTED;
}

HRESULT VxOpmGetCategoryName(IUnknown*, HINSTANCE instance, const OpmCategories& categories, LONG category, LCID,
                             BSTR* name)
{
    if (!name) return E_POINTER;
    *name = nullptr;
    const CATEGORY_ENTRY* found = findCategory(categories, category);
    if (!found) return E_FAIL;
    if (found->nameId == 0) return S_FALSE;
    *name = loadText(instance, found->nameId, kNameChars);
    return *name ? S_OK : E_UNEXPECTED;
}

HRESULT VxOpmGetCategoryDescription(IUnknown*, HINSTANCE instance, const OpmCategories& categories, LONG category,
                                    LCID, BSTR* description)
{
    if (!description) return E_POINTER;
    *description = nullptr;
    const CATEGORY_ENTRY* found = findCategory(categories, category);
    if (!found) return E_FAIL;
    if (found->descriptionId == 0) return S_FALSE;
    *description = loadText(instance, found->descriptionId, kNameChars);
    return *description ? S_OK : E_UNEXPECTED;
}

HRESULT VxOpmGetCategoryWeight(IUnknown*, const OpmCategories& categories, LONG category, LONG* weight)
{
    if (!weight) return E_POINTER;
    const CATEGORY_ENTRY* found = findCategory(categories, category);
    if (!found) return E_FAIL;
    *weight = found->weight;
    return S_OK;
}

HRESULT VxOpmGetParentCategory(IUnknown*, const OpmCategories& categories, LONG category, LONG* parent)
{
    if (!parent) return E_POINTER;
    const CATEGORY_ENTRY* found = findCategory(categories, category);
    if (!found) return E_FAIL;
    *parent = found->parentId;
    return S_OK;
}

HRESULT VxOpmMapPropertyToPage(IUnknown*, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid, CLSID* page)
{
    if (!page) return E_POINTER;
    if (dispid == kDispidHyperlinks) {
        *page = kHyperlinkPropertyPage;
        return S_OK;
    }
    const VELT_OPMPROPMAP_ENTRY* row = findRow(map, dispid);
    if (!row) return E_NOTIMPL;
    uint64_t halves[2];
    std::memcpy(halves, row->propertyPage, sizeof(halves));
    if (halves[0] == 0 && halves[1] == 0) return E_NOTIMPL;
    *page = *row->propertyPage;
    return S_OK;
}

HRESULT VxOpmGetPredefinedStrings(IUnknown* object, HINSTANCE instance, const VELT_OPMPROPMAP_ENTRY* map,
                                  DISPID dispid, CALPOLESTR* strings, CADWORD* cookies)
{
    if (!object || !map || !strings || !cookies) return E_POINTER;
    const VELT_OPMPROPMAP_ENTRY* row = findRow(map, dispid);
    if (!row) return E_NOTIMPL;
    if (row->predefinedStringsId == 0) return E_UNEXPECTED;
    std::wstring buffer(kListChars + 1, L'\0');
    if (LoadStringW(instance, row->predefinedStringsId, buffer.data(), kListChars) <= 0) return E_UNEXPECTED;
    const std::vector<std::wstring> items = splitList(buffer.c_str());
    const ULONG n = static_cast<ULONG>(items.size());

    auto* names = static_cast<LPOLESTR*>(n ? CoTaskMemAlloc(n * sizeof(LPOLESTR)) : nullptr);
    auto* values = static_cast<DWORD*>(n ? CoTaskMemAlloc(n * sizeof(DWORD)) : nullptr);
    if (n && (!names || !values)) {
        CoTaskMemFree(names);
        CoTaskMemFree(values);
        return E_OUTOFMEMORY;
    }
    for (ULONG i = 0; i < n; ++i) {
        names[i] = SysAllocStringLen(items[i].data(), static_cast<UINT>(items[i].size()));
        values[i] = i;
        if (!names[i]) {
            for (ULONG j = 0; j < i; ++j) SysFreeString(names[j]);
            CoTaskMemFree(names);
            CoTaskMemFree(values);
            return E_OUTOFMEMORY;
        }
    }
    strings->cElems = n;
    strings->pElems = names;
    cookies->cElems = n;
    cookies->pElems = values;
    return S_OK;
}

HRESULT VxOpmGetPredefinedValue(IUnknown* object, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid, DWORD cookie,
                                VARIANT* value)
{
    if (!object || !map || !value) return E_POINTER;
    HRESULT hr = VariantClear(value);
    if (FAILED(hr)) return hr;
    const VELT_OPMPROPMAP_ENTRY* row = findRow(map, dispid);
    if (!row || !row->predefinedValues || !*row->predefinedValues) return E_NOTIMPL;
    const std::vector<std::wstring> items = splitList(row->predefinedValues);
    if (cookie >= items.size()) return S_OK;
    return toVariant(parseValue(items[cookie]), value);
}

HRESULT VxOpmGetDisplayString(IUnknown* object, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid, BSTR* text)
{
    if (!text) return E_POINTER;
    if (dispid == kDispidHyperlinks) {
        bool noInterface = false;
        if (firstHyperlinkText(object, text, noInterface)) return S_OK;
        if (noInterface) return E_FAIL;
    }
    *text = nullptr;
    const VELT_OPMPROPMAP_ENTRY* row = findRow(map, dispid);
    if (!row || !row->displayString || !*row->displayString) return E_NOTIMPL;
    *text = SysAllocString(row->displayString);
    return *text ? S_OK : E_OUTOFMEMORY;
}

HRESULT VxOpmEditable(IUnknown*, const VELT_OPMPROPMAP_ENTRY* map, DISPID dispid, BOOL* editable)
{
    if (!editable) return E_POINTER;
    const VELT_OPMPROPMAP_ENTRY* row = findRow(map, dispid);
    if (!row) return E_NOTIMPL;
    *editable = row->editable;
    return S_OK;
}

HRESULT VxOpmGetCustomPropertyCtrl(IUnknown*, const OpmDisplays& displays, const VARIANT& id, LONG, BSTR* progId)
{
    if (!progId) return E_POINTER;
    *progId = nullptr;
    const PER_PROP_DISP_ENTRY* row = findDisplay(displays, id);
    if (!row) return E_FAIL;
    *progId = SysAllocString(row->editorProgId ? row->editorProgId : L"");
    return *progId ? S_OK : E_FAIL;
}

HRESULT VxOpmGetPropertyIcon(IUnknown*, HINSTANCE instance, const OpmDisplays& displays, const VARIANT& id,
                             IUnknown** icon)
{
    if (!icon) return E_POINTER;
    *icon = nullptr;
    const PER_PROP_DISP_ENTRY* row = findDisplay(displays, id);
    if (!row) return E_FAIL;
    return opm::loadPicture(instance, row->iconResource, row->iconType, icon);
}

HRESULT VxOpmGetPropertyWeight(IUnknown*, const OpmDisplays& displays, const VARIANT& id, LONG* weight)
{
    if (!weight) return E_POINTER;
    const PER_PROP_DISP_ENTRY* row = findDisplay(displays, id);
    if (!row) return E_FAIL;
    *weight = static_cast<LONG>(row->weight);
    return S_OK;
}

HRESULT VxOpmIsPropFullView(IUnknown*, const OpmDisplays& displays, const VARIANT& id, VARIANT_BOOL* visible,
                            DWORD* integralHeight)
{
    if (!visible || !integralHeight) return E_POINTER;
    const PER_PROP_DISP_ENTRY* row = findDisplay(displays, id);
    if (!row) return E_FAIL;
    *visible = row->fullView > 0 ? VARIANT_TRUE : VARIANT_FALSE;
    *integralHeight = row->integralHeight;
    return S_OK;
}

HRESULT VxOpmGetPropTextColor(IUnknown*, const OpmDisplays& displays, const VARIANT& id, OLE_COLOR* color)
{
    if (!color) return E_POINTER;
    const PER_PROP_DISP_ENTRY* row = findDisplay(displays, id);
    if (!row) return E_FAIL;
    *color = row->textColor;
    return S_OK;
}

HRESULT VxOpmGetCommandButtons(IUnknown* object, HINSTANCE instance, const OpmButtons& buttons, VARIANT* result)
{
    if (!result) return E_POINTER;
    VariantInit(result);
    SafeArray array(SafeArrayCreateVector(VT_UNKNOWN, 0, static_cast<ULONG>(buttons.size())));
    if (!array.get()) return E_OUTOFMEMORY;
    for (LONG i = 0; i < static_cast<LONG>(buttons.size()); ++i) {
        auto* button = new (std::nothrow) opm::CommandButton(buttons[static_cast<size_t>(i)], instance, object);
        if (!button) return E_OUTOFMEMORY;
        ComPtr<IUnknown> held(static_cast<IVxPiCommandButton*>(button));
        HRESULT hr = SafeArrayPutElement(array.get(), &i, held.get());  // the array takes its own reference
        if (FAILED(hr)) return hr;
    }
    V_VT(result) = VT_ARRAY | VT_UNKNOWN;
    V_ARRAY(result) = array.detach();
    return S_OK;
}

std::wstring NkOPMUtils::GetEntityDisplayName(const kx::VxDbObjectId& id)
{
    std::wstring name;
    {
        kx::VxDbObjectPointer<kx::VxDbObject> object(id);
        if (!object) return name;
        const kx::VxRxClass* cls = object->isA();
        name = cls->name();
        if (name.empty()) name = cls->dxfName();
    }
    if (UINT special = opm::specialClassNameId(name.c_str())) {
        std::wstring text;
        if (Module::loadString(special, text, kNameChars)) return text;
        return name;
    }

    const HRESULT init = CoInitialize(nullptr);
    if (FAILED(init)) return name;
    {
        ComPtr<IUnknown> wrapper;
        kx::VxAxOleLinkManager* links = kx::VxAxGetOleLinkManager();
        if (links) wrapper = static_cast<IUnknown*>(links->getIUnknown(id));
        CLSID clsid = GUID_NULL;
        if (!wrapper && SUCCEEDED(GetCLSID(id, &clsid)) && SUCCEEDED(createWrapper(clsid, wrapper.put()))) {
            if (auto bound = wrapper.as<IVeltBaseObject>()) bound->SetObjectId(id, kx::VxDbObjectId::kNull, nullptr);
        }
        if (auto extension = wrapper ? wrapper.as<IOPMPropertyExtension>() : ComPtr<IOPMPropertyExtension>()) {
            Bstr text;
            if (extension->GetDisplayName(kDispidObjectName, text.put()) == S_OK && text.get()) name = text.c_str();
        }
    }
    CoUninitialize();
    return name;
}

HRESULT NkOPMUtils::GetCLSID(const kx::VxDbObjectId& id, CLSID* clsid)
{
    if (!clsid) return E_POINTER;
    *clsid = GUID_NULL;
    kx::VxDbObjectPointer<kx::VxDbObject> object(id);
    if (!object) return E_FAIL;
    *clsid = wrapperClassOfObject(object.get());
    return S_OK;
}
