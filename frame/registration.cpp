#include "frame/registration.h"

#include <oleauto.h>

#include <string>

#include "frame/class_table.h"
#include "frame/com.h"
#include "frame/module.h"

namespace nk {
namespace {

using RegisterForUserFn = HRESULT(WINAPI*)(ITypeLib*, OLECHAR*, OLECHAR*);
using UnregisterForUserFn = HRESULT(WINAPI*)(REFGUID, WORD, WORD, LCID, SYSKIND);

// Looked up by name: older systems lack the per-user functions.
template <class Fn>
Fn oleautProc(const char* name)
{
    HMODULE oleaut = GetModuleHandleW(L"OLEAUT32.DLL");
    if (!oleaut) oleaut = LoadLibraryW(L"OLEAUT32.DLL");
    FARPROC proc = oleaut ? GetProcAddress(oleaut, name) : nullptr;
    return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(proc));
}

HRESULT registerTypeLib()
{
    std::wstring path = Module::fileName();
    ComPtr<ITypeLib> lib;
    HRESULT hr = LoadTypeLibEx(path.c_str(), REGKIND_NONE, lib.put());
    if (FAILED(hr)) return hr;
    std::wstring helpDir = Module::folder();
    if (Module::perUserRegistration()) {
        if (auto forUser = oleautProc<RegisterForUserFn>("RegisterTypeLibForUser"))
            return forUser(lib.get(), path.data(), helpDir.data());
    }
    return RegisterTypeLib(lib.get(), path.data(), helpDir.data());
}

void unregisterTypeLib()
{
    ComPtr<ITypeLib> lib;
    if (FAILED(LoadTypeLibEx(Module::fileName().c_str(), REGKIND_NONE, lib.put()))) return;
    TLIBATTR* attr = nullptr;
    if (FAILED(lib->GetLibAttr(&attr))) return;
    TLIBATTR a = *attr;
    lib->ReleaseTLibAttr(attr);
    if (Module::perUserRegistration()) {
        if (auto forUser = oleautProc<UnregisterForUserFn>("UnRegisterTypeLibForUser")) {
            forUser(a.guid, a.wMajorVerNum, a.wMinorVerNum, a.lcid, a.syskind);
            return;
        }
    }
    UnRegisterTypeLib(a.guid, a.wMajorVerNum, a.wMinorVerNum, a.lcid, a.syskind);
}

}  // namespace

HRESULT registerServer()
{
    for (ClassEntry* e = classTable(); e->clsid; ++e) {
        HRESULT hr = e->updateRegistry(true);
        if (FAILED(hr)) return hr;
        // No class has component categories to register.
    }
    return registerTypeLib();
}

HRESULT unregisterServer()
{
    for (ClassEntry* e = classTable(); e->clsid; ++e) e->updateRegistry(false);
    unregisterTypeLib();
    return S_OK;
}

HRESULT installServer(bool install, const wchar_t* cmdLine)
{
    // "user" exactly, in any case: the terminator takes part in the comparison.
    if (cmdLine && _wcsnicmp(cmdLine, L"user", 5) == 0) Module::setPerUserRegistration(true);
    if (!install) return unregisterServer();
    HRESULT hr = registerServer();
    if (FAILED(hr)) {
        unregisterServer();
        return hr;
    }
    return hr;
}

}  // namespace nk
