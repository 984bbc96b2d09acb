// The entry points of NkAuto.dll.
#include <windows.h>
#include <oaidl.h>

#include <string>

#include "core/lookup.h"
#include "frame/class_table.h"
#include "frame/module.h"
#include "frame/pool.h"
#include "frame/registration.h"
#include "opm/extensions.h"

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved)
{
    if (reason == DLL_PROCESS_ATTACH) {
        nk::Module::attach(instance);
        nk::fillClassTable();
        nk::registerWrapperClasses();
        nk::initOpmPropertyExtension();
    } else if (reason == DLL_THREAD_DETACH) {
        nk::pool::threadDone();  // the thread's kept blocks, for the others
    } else if (reason == DLL_PROCESS_DETACH) {
        UninitOPMPropertyExtension();
        // At process exit other libraries may be gone already: only an unload by
        // FreeLibrary releases what the module holds.
        if (!reserved) {
            nk::releaseClassTable();
            nk::Module::detach();
        }
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, LPVOID* ppv)
{
    return nk::getClassObject(clsid, riid, ppv);
}

STDAPI DllCanUnloadNow() { return nk::Module::lockCount() == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() { return nk::registerServer(); }

STDAPI DllUnregisterServer() { return nk::unregisterServer(); }

STDAPI DllInstall(BOOL install, LPCWSTR cmdLine) { return nk::installServer(install != FALSE, cmdLine); }

// The help-string function of the type library: help strings live in the resource library
// under their help-string context.
HRESULT WINAPI DLLGetDocumentation(ITypeLib*, ITypeInfo*, LCID, DWORD context, BSTR* helpString)
{
    if (!helpString) return E_POINTER;
    std::wstring text;
    if (nk::Module::loadString(context, text)) *helpString = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return S_OK;
}

}  // extern "C"
