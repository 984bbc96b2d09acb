// What the Properties palette shows for an object of a drawing: each property's category,
// name, value as text, editor and whether it can be edited, in the order of the object's
// class, then the properties another module added to the class. Optionally picks a new
// value for one property from its list of choices, as the palette's drop-down would, and
// saves the drawing.
//
//   palette_view FILE HANDLE [HANDLE ...] [/set "Property=Choice"] [/save OUT.dxf]
//
// The edit applies to the first handle. The example also plays the part of a module that
// adds a property ("Checked by") to the class of the first object.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "frame/com.h"
#include "kxauto.h"
#include "opm/palette.h"

using nk::Bstr;
using nk::ComPtr;
using nk::Variant;

namespace {

struct Failure {
    std::wstring what;
    HRESULT hr;
};

void check(HRESULT hr, const std::wstring& what)
{
    if (FAILED(hr)) throw Failure{what, hr};
}

// A property a module adds to a class: read-only, the same text for every object.
class CheckedBy final : public IVeltDynamicProperty {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override
    {
        if (!ppv) return E_POINTER;
        *ppv = iid == IID_IUnknown || iid == __uuidof(IVeltDynamicProperty) ? this : nullptr;
        if (!*ppv) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        ULONG n = --refs_;
        if (n == 0) delete this;
        return n;
    }
    HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override { return text(L"Checked by", name); }
    HRESULT STDMETHODCALLTYPE get_Category(BSTR* category) override { return text(L"Review", category); }
    HRESULT STDMETHODCALLTYPE get_ReadOnly(VARIANT_BOOL* readOnly) override
    {
        if (!readOnly) return E_POINTER;
        *readOnly = VARIANT_TRUE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetValue(IUnknown*, VARIANT* value) override
    {
        if (!value) return E_POINTER;
        V_VT(value) = VT_BSTR;
        V_BSTR(value) = SysAllocString(L"palette_view");
        return V_BSTR(value) ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT STDMETHODCALLTYPE SetValue(IUnknown*, VARIANT) override { return E_ACCESSDENIED; }

private:
    static HRESULT text(const wchar_t* s, BSTR* out)
    {
        if (!out) return E_POINTER;
        *out = SysAllocString(s);
        return *out ? S_OK : E_OUTOFMEMORY;
    }
    ULONG refs_ = 1;
};

HRESULT getProperty(IDispatch* object, DISPID id, VARIANT* result)
{
    DISPPARAMS none = {};
    EXCEPINFO info = {};
    HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, result, &info, nullptr);
    if (hr == DISP_E_EXCEPTION) hr = info.scode;
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
    return hr;
}

HRESULT getByName(IDispatch* object, const wchar_t* name, VARIANT* result)
{
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    DISPID id = 0;
    HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    return FAILED(hr) ? hr : getProperty(object, id, result);
}

HRESULT putProperty(IDispatch* object, DISPID id, VARIANT& value)
{
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS args = {&value, &named, 1, 1};
    EXCEPINFO info = {};
    HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &args, nullptr, &info, nullptr);
    if (hr == DISP_E_EXCEPTION) hr = info.scode;
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
    return hr;
}

std::wstring asText(const VARIANT& value)
{
    if (V_VT(&value) == (VT_ARRAY | VT_R8)) {
        // A point or a vector: its coordinates.
        std::wstring out;
        nk::SafeArrayAccess access(V_ARRAY(&value));
        const ULONG n = V_ARRAY(&value)->rgsabound[0].cElements;
        for (ULONG i = 0; SUCCEEDED(access.status()) && i < n; ++i) {
            wchar_t number[32];
            swprintf(number, 32, L"%s%.4g", i ? L", " : L"", access.data<double>()[i]);
            out += number;
        }
        return out;
    }
    if (V_VT(&value) == VT_DISPATCH && V_DISPATCH(&value)) {
        // A colour shows its index, a collection its size.
        Variant index;
        if (SUCCEEDED(getByName(V_DISPATCH(&value), L"ColorIndex", index.get()))) {
            const LONG i = V_VT(index.get()) == VT_I4 ? V_I4(index.get()) : -1;
            return i == 256 ? L"ByLayer" : i == 0 ? L"ByBlock" : L"colour " + std::to_wstring(i);
        }
        Variant count;
        if (SUCCEEDED(getByName(V_DISPATCH(&value), L"Count", count.get())) && V_VT(count.get()) == VT_I4)
            return V_I4(count.get()) == 0 ? L"(none)" : std::to_wstring(V_I4(count.get())) + L" items";
        return L"(object)";
    }
    Variant text;
    if (FAILED(VariantChangeType(text.get(), const_cast<VARIANT*>(&value), VARIANT_ALPHABOOL, VT_BSTR))) return L"(no text)";
    return V_BSTR(text.get()) ? V_BSTR(text.get()) : L"";
}

// The choice the palette shows for a value that has a list of choices; empty when none fits.
std::wstring choiceOf(IPerPropertyBrowsing* browsing, DISPID id, const VARIANT& value)
{
    CALPOLESTR names{};
    CADWORD cookies{};
    if (browsing->GetPredefinedStrings(id, &names, &cookies) != S_OK) return L"";
    std::wstring found;
    for (ULONG i = 0; i < names.cElems; ++i) {
        Variant candidate;
        if (found.empty() && browsing->GetPredefinedValue(id, cookies.pElems[i], candidate.get()) == S_OK &&
            VarCmp(candidate.get(), const_cast<VARIANT*>(&value), LOCALE_USER_DEFAULT, 0) == static_cast<HRESULT>(VARCMP_EQ))
            found = names.pElems[i];
        SysFreeString(names.pElems[i]);
    }
    CoTaskMemFree(names.pElems);
    CoTaskMemFree(cookies.pElems);
    return found;
}

std::wstring shortEditor(const wchar_t* progId)
{
    std::wstring editor = progId;
    const std::wstring prefix = L"NkPropEditCtrls.VxPePropertyEditor", suffix = L".21";
    if (editor.rfind(prefix, 0) == 0) editor.erase(0, prefix.size());
    if (editor.size() > suffix.size() && editor.compare(editor.size() - suffix.size(), suffix.size(), suffix) == 0)
        editor.resize(editor.size() - suffix.size());
    return editor;
}

// The palette's interfaces of one object.
struct Palette {
    ComPtr<IDispatch> object;
    ComPtr<IVeltOpmBaseObject> base;
    ComPtr<IOPMPropertyExtension> extension;
    ComPtr<IVxPiCategorizeProperties> categories;
    ComPtr<IVxPiPerPropertyDisplay> display;
    ComPtr<IPerPropertyBrowsing> browsing;

    explicit Palette(IDispatch* o)
        : object(o), base(object.as<IVeltOpmBaseObject>()), extension(object.as<IOPMPropertyExtension>()),
          categories(object.as<IVxPiCategorizeProperties>()), display(object.as<IVxPiPerPropertyDisplay>()),
          browsing(object.as<IPerPropertyBrowsing>())
    {
    }
    bool shown() const { return base && extension && categories && display && browsing; }

    std::vector<DISPID> order() const
    {
        Variant dispids;
        check(base->GetPropertyOrder(dispids.get()), L"reading the order of the properties");
        std::vector<DISPID> out;
        if (dispids.type() != (VT_ARRAY | VT_I4)) return out;
        nk::SafeArrayAccess access(V_ARRAY(dispids.get()));
        const ULONG n = V_ARRAY(dispids.get())->rgsabound[0].cElements;
        for (ULONG i = 0; SUCCEEDED(access.status()) && i < n; ++i) out.push_back(access.data<LONG>()[i]);
        return out;
    }

    std::wstring name(DISPID id) const
    {
        Bstr text;
        return extension->GetDisplayName(id, text.put()) == S_OK ? text.c_str() : L"";
    }

    void printRow(DISPID id) const
    {
        LONG category = 0;
        Bstr categoryName, progId, shownText;
        categories->MapPropertyToCategory(id, &category);
        categories->GetCategoryName(category, LOCALE_USER_DEFAULT, categoryName.put());
        Variant id32;
        V_VT(id32.get()) = VT_I4;
        V_I4(id32.get()) = id;
        display->GetCustomPropertyCtrl(*id32.get(), LOCALE_USER_DEFAULT, progId.put());
        BOOL editable = FALSE;
        extension->Editable(id, &editable);

        std::wstring value;
        if (browsing->GetDisplayString(id, shownText.put()) == S_OK) {
            value = shownText.c_str();
        } else {
            Variant v;
            HRESULT hr = getProperty(object.get(), id, v.get());
            if (hr == E_NOTIMPL) {
                value = L"(not available yet)";
            } else if (FAILED(hr)) {
                wchar_t code[32];
                swprintf(code, 32, L"(fails: 0x%08lX)", static_cast<unsigned long>(hr));
                value = code;
            } else {
                value = choiceOf(browsing.get(), id, *v.get());
                if (value.empty()) value = asText(*v.get());
            }
        }
        std::wprintf(L"  %-10ls %-24ls %-28ls %-18ls %ls\n", categoryName.c_str(), name(id).c_str(), value.c_str(),
                     shortEditor(progId.c_str()).c_str(), editable ? L"editable" : L"read-only");
    }

    void printAdded() const
    {
        Variant added;
        check(base->GetDynamicProperties(added.get()), L"reading the added properties");
        if (added.type() != (VT_ARRAY | VT_UNKNOWN)) return;
        const ULONG n = V_ARRAY(added.get())->rgsabound[0].cElements;
        for (LONG i = 0; i < static_cast<LONG>(n); ++i) {
            ComPtr<IUnknown> item;
            if (FAILED(SafeArrayGetElement(V_ARRAY(added.get()), &i, item.put()))) continue;
            ComPtr<IVeltDynamicProperty> property = item.as<IVeltDynamicProperty>();
            if (!property) continue;
            Bstr name, category;
            VARIANT_BOOL readOnly = VARIANT_TRUE;
            Variant value;
            property->get_Name(name.put());
            property->get_Category(category.put());
            property->get_ReadOnly(&readOnly);
            const bool read = SUCCEEDED(property->GetValue(object.get(), value.get()));
            std::wprintf(L"  %-10ls %-24ls %-28ls %-18ls %ls\n", category.c_str(), name.c_str(),
                         read ? asText(*value.get()).c_str() : L"(fails)", L"(module)",
                         readOnly == VARIANT_TRUE ? L"read-only" : L"editable");
        }
    }

    void print() const
    {
        Bstr kind;
        extension->GetDisplayName(kDispidObjectName, kind.put());
        std::wprintf(L"%ls\n", kind.c_str());
        for (DISPID id : order()) printRow(id);
        printAdded();
    }

    // Sets a property to one of its choices, by the choice's name.
    void choose(const std::wstring& property, const std::wstring& choice) const
    {
        for (DISPID id : order()) {
            if (_wcsicmp(name(id).c_str(), property.c_str()) != 0) continue;
            CALPOLESTR names{};
            CADWORD cookies{};
            check(browsing->GetPredefinedStrings(id, &names, &cookies), L"listing the choices of " + property);
            LONG cookie = -1;
            for (ULONG i = 0; i < names.cElems; ++i) {
                if (cookie < 0 && _wcsicmp(names.pElems[i], choice.c_str()) == 0) cookie = static_cast<LONG>(cookies.pElems[i]);
                SysFreeString(names.pElems[i]);
            }
            CoTaskMemFree(names.pElems);
            CoTaskMemFree(cookies.pElems);
            if (cookie < 0) throw Failure{L"finding the choice " + choice, E_INVALIDARG};
            Variant value;
            check(browsing->GetPredefinedValue(id, static_cast<DWORD>(cookie), value.get()), L"reading the choice's value");
            check(putProperty(object.get(), id, *value.get()), L"setting " + property);
            std::wprintf(L"%ls set to %ls (%ls)\n", property.c_str(), choice.c_str(), asText(*value.get()).c_str());
            printRow(id);
            return;
        }
        throw Failure{L"finding the property " + property, DISP_E_UNKNOWNNAME};
    }
};

// Adds the example's own property to the class of an object, as another module of the host
// would: through the library's export for that, found in the loaded library.
void addCheckedBy(IDispatch* object)
{
    using GetManager = HRESULT (*)(const wchar_t*, IVeltPropertyManager**);
    HMODULE library = GetModuleHandleW(L"NkAuto.dll");
    auto getManager = library ? reinterpret_cast<GetManager>(
                                    reinterpret_cast<void*>(GetProcAddress(library, "VxOpmGetClassPropertyManager")))
                              : nullptr;
    if (!getManager) throw Failure{L"finding VxOpmGetClassPropertyManager", E_NOINTERFACE};
    Variant className;
    check(getByName(object, L"ObjectName", className.get()), L"reading the object's class");
    if (className.type() != VT_BSTR) throw Failure{L"reading the object's class", DISP_E_TYPEMISMATCH};
    ComPtr<IVeltPropertyManager> manager;
    check(getManager(V_BSTR(className.get()), manager.put()), L"finding the class's property manager");
    IVeltDynamicProperty* property = new CheckedBy;
    HRESULT hr = manager->AddProperty(property);
    property->Release();
    check(hr, L"adding a property to the class");
}

int run(int argc, wchar_t** argv)
{
    std::vector<std::wstring> handles;
    std::wstring edit, saveAs;
    for (int i = 2; i < argc; ++i) {
        if (_wcsicmp(argv[i], L"/set") == 0 && i + 1 < argc) edit = argv[++i];
        else if (_wcsicmp(argv[i], L"/save") == 0 && i + 1 < argc) saveAs = argv[++i];
        else handles.emplace_back(argv[i]);
    }
    if (handles.empty()) throw Failure{L"reading the arguments (palette_view FILE HANDLE ...)", E_INVALIDARG};

    CLSID clsid;
    check(CLSIDFromProgID(L"NkAuto.Document", &clsid), L"finding NkAuto.Document (run nkreg.exe first)");
    ComPtr<IKxDbDocument> document;
    check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IKxDbDocument), document.putVoid()),
          L"creating the document");
    Variant noPassword;
    V_VT(noPassword.get()) = VT_ERROR;
    V_ERROR(noPassword.get()) = DISP_E_PARAMNOTFOUND;
    check(document->Open(Bstr(argv[1]).get(), *noPassword.get()), std::wstring(L"opening ") + argv[1]);

    for (size_t i = 0; i < handles.size(); ++i) {
        ComPtr<IDispatch> object;
        check(document->HandleToObject(Bstr(handles[i].c_str()).get(), object.put()), L"finding handle " + handles[i]);
        if (i == 0) addCheckedBy(object.get());
        Palette palette(object.get());
        std::wprintf(L"handle %ls: ", handles[i].c_str());
        if (!palette.shown()) {
            std::wprintf(L"not shown on the palette\n");
            continue;
        }
        palette.print();
        if (i == 0 && !edit.empty()) {
            const size_t equals = edit.find(L'=');
            if (equals == std::wstring::npos) throw Failure{L"reading /set (Property=Choice)", E_INVALIDARG};
            palette.choose(edit.substr(0, equals), edit.substr(equals + 1));
        }
    }
    if (!saveAs.empty()) {
        check(document->SaveAs(Bstr(saveAs.c_str()).get(), *noPassword.get()), L"saving as " + saveAs);
        std::wprintf(L"saved as %ls\n", saveAs.c_str());
    }
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc < 3) {
        std::fwprintf(stderr, L"usage: palette_view FILE HANDLE [HANDLE ...] [/set \"Property=Choice\"] [/save OUT.dxf]\n");
        return 2;
    }
    if (FAILED(CoInitialize(nullptr))) return 1;
    int result = 0;
    try {
        result = run(argc, argv);
    } catch (const Failure& failure) {
        std::fwprintf(stderr, L"palette_view: %ls failed: 0x%08lX\n", failure.what.c_str(),
                      static_cast<unsigned long>(failure.hr));
        result = 1;
    }
    CoUninitialize();
    return result;
}
