// An automation client of the server: creates each creatable class by its ProgID, asks what
// it is through IDispatch, and calls a member by name, printing what the server answers.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <string>

#include "frame/com.h"

using nk::Bstr;
using nk::ComPtr;

namespace {

const wchar_t* const kProgIds[] = {
    L"NkAuto.Document", L"NkAuto.Database", L"NkAuto.Line", L"NkAuto.Circle", L"NkAuto.VxCmColor",
    L"NkAuto.Dictionary", L"NkAuto.XRecord", L"NkAuto.3DFace", L"NkAuto.TableStyle",
};

std::wstring describe(HRESULT hr)
{
    wchar_t text[32];
    swprintf(text, 32, L"0x%08lX", static_cast<unsigned long>(hr));
    if (hr == S_OK) return L"S_OK";
    if (hr == E_NOTIMPL) return std::wstring(text) + L" (not implemented yet)";
    return text;
}

// Reads a property by name, as a script would.
HRESULT getByName(IDispatch* object, const wchar_t* name, VARIANT* result, DISPID* id)
{
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, id);
    if (FAILED(hr)) return hr;
    DISPPARAMS none = {};
    EXCEPINFO info = {};
    hr = object->Invoke(*id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, result, &info, nullptr);
    if (hr == DISP_E_EXCEPTION) hr = info.scode;
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
    return hr;
}

}  // namespace

int wmain()
{
    if (FAILED(CoInitialize(nullptr))) return 1;
    int failures = 0;
    for (const wchar_t* progId : kProgIds) {
        CLSID clsid;
        ComPtr<IDispatch> object;
        HRESULT hr = CLSIDFromProgID(progId, &clsid);
        if (SUCCEEDED(hr)) hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.putVoid());
        if (FAILED(hr)) {
            std::wprintf(L"%-20ls cannot be created: %ls\n", progId, describe(hr).c_str());
            ++failures;
            continue;
        }
        ComPtr<ITypeInfo> info;
        object->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.put());
        Bstr name;
        if (info) info->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr);
        TYPEATTR* attr = nullptr;
        UINT members = 0;
        if (info && SUCCEEDED(info->GetTypeAttr(&attr))) {
            members = attr->cFuncs;
            info->ReleaseTypeAttr(attr);
        }
        std::wprintf(L"%-20ls answers %ls with %u members\n", progId, name.c_str(), members);

        const wchar_t* probe = wcscmp(progId, L"NkAuto.Document") == 0 || wcscmp(progId, L"NkAuto.Database") == 0
                                   ? L"ModelSpace"
                               : wcscmp(progId, L"NkAuto.VxCmColor") == 0 ? L"ColorMethod"
                                                                          : L"ObjectName";
        nk::Variant value;
        DISPID id = 0;
        hr = getByName(object.get(), probe, value.get(), &id);
        std::wprintf(L"%-20ls   %ls (DISPID 0x%lX) -> %ls\n", L"", probe, static_cast<unsigned long>(id), describe(hr).c_str());
    }
    CoUninitialize();
    std::wprintf(failures ? L"%d classes could not be created\n" : L"all classes created\n", failures);
    return failures == 0 ? 0 : 1;
}
