#include "frame/module.h"

#include <map>
#include <memory>
#include <vector>

#include "frame/host_info.h"
#include "frame/pool.h"

namespace nk {
namespace {

struct GuidLess {
    bool operator()(const GUID& a, const GUID& b) const { return memcmp(&a, &b, sizeof(GUID)) < 0; }
};

struct ModuleState {
    HINSTANCE instance = nullptr;
    bool initialised = false;
    volatile LONG lockCount = 0;
    bool perUser = false;
    HINSTANCE resources = nullptr;
    bool resourcesTried = false;
    ITypeLib* typeLib = nullptr;
    std::map<GUID, ITypeInfo*, GuidLess> interfaceInfos;
    std::map<GUID, ITypeInfo*, GuidLess> listedInfos;
};

ModuleState& state()
{
    static ModuleState s;
    return s;
}

CriticalSection& sectionInstance()
{
    static CriticalSection cs;
    return cs;
}

}  // namespace

void Module::attach(HINSTANCE instance)
{
    state().instance = instance;
    state().initialised = true;
}

void Module::detach()
{
    pool::drain();
    ModuleState& s = state();
    for (auto& [guid, info] : s.interfaceInfos) info->Release();
    for (auto& [guid, info] : s.listedInfos) info->Release();
    s.interfaceInfos.clear();
    s.listedInfos.clear();
    if (s.typeLib) {
        s.typeLib->Release();
        s.typeLib = nullptr;
    }
    if (s.resources) {
        FreeLibrary(s.resources);
        s.resources = nullptr;
    }
    s.resourcesTried = false;
    s.initialised = false;
}

bool Module::initialised() { return state().initialised; }

HINSTANCE Module::instance()
{
    return state().instance ? state().instance : GetModuleHandleW(nullptr);
}

std::wstring Module::fileName()
{
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        DWORD n = GetModuleFileNameW(instance(), buffer.data(), static_cast<DWORD>(buffer.size()));
        if (n == 0) return {};
        if (n < buffer.size()) return std::wstring(buffer.data(), n);
        buffer.resize(buffer.size() * 2);
    }
}

std::wstring Module::folder()
{
    std::wstring path = fileName();
    size_t cut = path.find_last_of(L"\\/:");
    return cut == std::wstring::npos ? std::wstring() : path.substr(0, cut);
}

LONG Module::lock() { return InterlockedIncrement(&state().lockCount); }
LONG Module::unlock() { return InterlockedDecrement(&state().lockCount); }
LONG Module::lockCount() { return state().lockCount + pool::live(); }

CriticalSection& Module::criticalSection() { return sectionInstance(); }

bool Module::perUserRegistration() { return state().perUser; }
void Module::setPerUserRegistration(bool on) { state().perUser = on; }

std::wstring Module::resourceLibraryName()
{
    std::wstring prefix = hostProductPrefix();
    return prefix.empty() ? std::wstring(L"NkAutores.dll") : prefix + L"AutoRes.dll";
}

HINSTANCE Module::resourceInstance()
{
    ModuleState& s = state();
    if (s.resourcesTried) return s.resources;
    s.resourcesTried = true;
    // The resource library sits beside this module; failing that, the loader searches.
    const DWORD flags = LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE;
    std::wstring name = resourceLibraryName();
    std::wstring dir = folder();
    if (!dir.empty()) s.resources = LoadLibraryExW((dir + L"\\" + name).c_str(), nullptr, flags);
    if (!s.resources) s.resources = LoadLibraryExW(name.c_str(), nullptr, flags);
    return s.resources;
}

bool Module::loadString(UINT id, std::wstring& text, int maxChars)
{
    HINSTANCE res = resourceInstance();
    if (!res) return false;
    std::vector<wchar_t> buffer(static_cast<size_t>(maxChars) + 1, L'\0');
    int n = LoadStringW(res, id, buffer.data(), maxChars);
    if (n <= 0) return false;
    text.assign(buffer.data(), static_cast<size_t>(n));
    return true;
}

ITypeLib* Module::typeLib()
{
    ModuleState& s = state();
    if (!s.typeLib) {
        CriticalSectionLock guard(criticalSection());
        if (!s.typeLib) LoadTypeLibEx(fileName().c_str(), REGKIND_NONE, &s.typeLib);
    }
    return s.typeLib;
}

ITypeInfo* Module::listedTypeInfo(REFGUID guid)
{
    ModuleState& s = state();
    CriticalSectionLock guard(criticalSection());
    auto it = s.listedInfos.find(guid);
    if (it != s.listedInfos.end()) return it->second;
    ITypeLib* lib = typeLib();
    ITypeInfo* info = nullptr;
    if (!lib || FAILED(lib->GetTypeInfoOfGuid(guid, &info))) return nullptr;
    s.listedInfos.emplace(guid, info);
    return info;
}

ITypeInfo* Module::interfaceTypeInfo(REFIID iid)
{
    ModuleState& s = state();
    {
        CriticalSectionLock guard(criticalSection());
        auto it = s.interfaceInfos.find(iid);
        if (it != s.interfaceInfos.end()) return it->second;
    }
    ITypeInfo* listed = listedTypeInfo(iid);
    if (!listed) return nullptr;
    ComPtr<ITypeInfo> info(listed);
    TYPEATTR* attr = nullptr;
    if (SUCCEEDED(listed->GetTypeAttr(&attr))) {
        bool dual = attr->typekind == TKIND_DISPATCH && (attr->wTypeFlags & TYPEFLAG_FDUAL);
        listed->ReleaseTypeAttr(attr);
        HREFTYPE vtableRef = 0;
        ComPtr<ITypeInfo> vtable;
        // DispInvoke calls through the vtable: it needs the interface half of a dual.
        if (dual && SUCCEEDED(listed->GetRefTypeOfImplType(-1, &vtableRef)) &&
            SUCCEEDED(listed->GetRefTypeInfo(vtableRef, vtable.put())))
            info = vtable;
    }
    CriticalSectionLock guard(criticalSection());
    auto [it, inserted] = s.interfaceInfos.emplace(iid, info.get());
    if (inserted) info.detach();
    return it->second;
}

}  // namespace nk
