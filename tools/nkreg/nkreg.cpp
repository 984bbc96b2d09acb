// nkreg: the installer's registration of NkAuto.dll.
//
// The server registers only its type library. So that script clients can CreateObject its
// creatable classes, this tool writes their CLSID, InprocServer32 and ProgID keys, per
// machine or per user, and removes them again. It reads the classes from the type library
// inside the DLL and asks the DLL which of them it makes.
//
//   nkreg [/user] [/u] [path\NkAuto.dll]
//
// ProgIDs are "NkAuto." followed by the coclass name without its "Velt" or "KxDb" prefix
// ("NkAuto.Document", "NkAuto.Line"), with a ".1" versioned form.
#include <windows.h>
#include <oleauto.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

struct ClassInfo {
    std::wstring coclass;
    std::wstring clsid;
};

std::wstring guidText(const GUID& g)
{
    wchar_t text[64] = {};
    StringFromGUID2(g, text, 64);
    return text;
}

std::wstring progIdOf(const std::wstring& coclass)
{
    std::wstring name = coclass;
    for (const wchar_t* prefix : {L"Velt", L"KxDb"}) {
        size_t n = wcslen(prefix);
        if (name.compare(0, n, prefix) == 0 && name.size() > n) {
            name = name.substr(n);
            break;
        }
    }
    return L"NkAuto." + name;
}

bool setValue(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& value)
{
    HKEY key = nullptr;
    if (RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS)
        return false;
    LONG rc = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                             static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
    return rc == ERROR_SUCCESS;
}

void deleteTree(HKEY root, const std::wstring& path) { RegDeleteTreeW(root, path.c_str()); RegDeleteKeyW(root, path.c_str()); }

using GetClassObjectFn = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
using InstallFn = HRESULT(WINAPI*)(BOOL, LPCWSTR);

template <class Fn>
Fn procOf(HMODULE module, const char* name)
{
    return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// The creatable classes of the type library that the DLL makes.
std::vector<ClassInfo> creatableClasses(const std::wstring& dll, GUID& libid, std::wstring& version)
{
    std::vector<ClassInfo> out;
    ITypeLib* lib = nullptr;
    if (FAILED(LoadTypeLibEx(dll.c_str(), REGKIND_NONE, &lib))) return out;
    TLIBATTR* libAttr = nullptr;
    lib->GetLibAttr(&libAttr);
    libid = libAttr->guid;
    version = std::to_wstring(libAttr->wMajorVerNum) + L"." + std::to_wstring(libAttr->wMinorVerNum);
    lib->ReleaseTLibAttr(libAttr);

    HMODULE module = LoadLibraryW(dll.c_str());
    auto getClassObject = module ? procOf<GetClassObjectFn>(module, "DllGetClassObject") : nullptr;
    for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
        ITypeInfo* info = nullptr;
        if (FAILED(lib->GetTypeInfo(i, &info))) continue;
        TYPEATTR* attr = nullptr;
        info->GetTypeAttr(&attr);
        if (attr->typekind == TKIND_COCLASS && (attr->wTypeFlags & TYPEFLAG_FCANCREATE)) {
            IUnknown* factory = nullptr;
            if (getClassObject && SUCCEEDED(getClassObject(attr->guid, IID_IClassFactory, reinterpret_cast<void**>(&factory)))) {
                factory->Release();
                BSTR name = nullptr;
                info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
                out.push_back({name ? name : L"", guidText(attr->guid)});
                SysFreeString(name);
            }
        }
        info->ReleaseTypeAttr(attr);
        info->Release();
    }
    lib->Release();
    if (module) FreeLibrary(module);
    return out;
}

std::wstring besideThisProgram(const wchar_t* file)
{
    wchar_t exe[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, exe, MAX_PATH);
    std::wstring dir(exe);
    return dir.substr(0, dir.find_last_of(L"\\/") + 1) + file;
}

}  // namespace

int wmain(int argc, wchar_t** argv)
{
    bool perUser = false;
    bool remove = false;
    std::wstring dll;
    for (int i = 1; i < argc; ++i) {
        std::wstring a = argv[i];
        if (_wcsicmp(a.c_str(), L"/user") == 0) perUser = true;
        else if (_wcsicmp(a.c_str(), L"/u") == 0) remove = true;
        else if (a == L"/?" || a == L"-h") {
            std::fputws(L"usage: nkreg [/user] [/u] [path\\NkAuto.dll]\n", stdout);
            return 0;
        } else dll = a;
    }
    if (dll.empty()) dll = besideThisProgram(L"NkAuto.dll");
    wchar_t full[MAX_PATH] = {};
    GetFullPathNameW(dll.c_str(), MAX_PATH, full, nullptr);
    dll = full;

    CoInitialize(nullptr);
    GUID libid{};
    std::wstring version;
    auto classes = creatableClasses(dll, libid, version);
    if (classes.empty()) {
        std::fwprintf(stderr, L"nkreg: no creatable classes found in %ls\n", dll.c_str());
        CoUninitialize();
        return 1;
    }

    HKEY root = perUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    const std::wstring classesKey = L"Software\\Classes\\";
    int failures = 0;
    for (const ClassInfo& c : classes) {
        std::wstring progId = progIdOf(c.coclass);
        std::wstring clsidKey = classesKey + L"CLSID\\" + c.clsid;
        if (remove) {
            deleteTree(root, clsidKey);
            deleteTree(root, classesKey + progId);
            deleteTree(root, classesKey + progId + L".1");
            continue;
        }
        bool ok = setValue(root, clsidKey, nullptr, c.coclass) &&
                  setValue(root, clsidKey + L"\\InprocServer32", nullptr, dll) &&
                  setValue(root, clsidKey + L"\\InprocServer32", L"ThreadingModel", L"Apartment") &&
                  setValue(root, clsidKey + L"\\ProgID", nullptr, progId + L".1") &&
                  setValue(root, clsidKey + L"\\VersionIndependentProgID", nullptr, progId) &&
                  setValue(root, clsidKey + L"\\TypeLib", nullptr, guidText(libid)) &&
                  setValue(root, clsidKey + L"\\Version", nullptr, version) &&
                  setValue(root, classesKey + progId, nullptr, c.coclass) &&
                  setValue(root, classesKey + progId + L"\\CLSID", nullptr, c.clsid) &&
                  setValue(root, classesKey + progId + L"\\CurVer", nullptr, progId + L".1") &&
                  setValue(root, classesKey + progId + L".1", nullptr, c.coclass) &&
                  setValue(root, classesKey + progId + L".1\\CLSID", nullptr, c.clsid);
        if (!ok) ++failures;
        std::fwprintf(stdout, L"%ls %ls %ls\n", ok ? L"registered" : L"FAILED", progId.c_str(), c.clsid.c_str());
    }

    // The type library's own registration is the server's.
    HMODULE module = LoadLibraryW(dll.c_str());
    auto install = module ? procOf<InstallFn>(module, "DllInstall") : nullptr;
    HRESULT hr = install ? install(remove ? FALSE : TRUE, perUser ? L"user" : nullptr) : E_FAIL;
    if (FAILED(hr)) {
        std::fwprintf(stderr, L"nkreg: type library registration failed: 0x%08lx\n", static_cast<unsigned long>(hr));
        ++failures;
    }
    if (module) FreeLibrary(module);
    if (remove) std::fwprintf(stdout, L"removed %u classes\n", static_cast<unsigned>(classes.size()));
    CoUninitialize();
    return failures == 0 ? 0 : 1;
}
