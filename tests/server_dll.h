// The built NkAuto.dll, loaded as a host would load it, with its entry points.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>

struct ServerDll {
    using GetClassObjectFn = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
    using NoArgFn = HRESULT(WINAPI*)();
    using InstallFn = HRESULT(WINAPI*)(BOOL, LPCWSTR);
    using DocumentationFn = HRESULT(WINAPI*)(ITypeLib*, ITypeInfo*, LCID, DWORD, BSTR*);
    using UninitFn = void (*)();

    HMODULE module = nullptr;
    GetClassObjectFn getClassObject = nullptr;
    NoArgFn canUnloadNow = nullptr;
    NoArgFn registerServer = nullptr;
    NoArgFn unregisterServer = nullptr;
    InstallFn install = nullptr;
    DocumentationFn documentation = nullptr;
    UninitFn uninitOpm = nullptr;

    ServerDll() { load(); }
    ~ServerDll() { unload(); }
    ServerDll(const ServerDll&) = delete;
    ServerDll& operator=(const ServerDll&) = delete;

    static std::wstring path()
    {
        wchar_t exe[MAX_PATH] = {};
        GetModuleFileNameW(nullptr, exe, MAX_PATH);
        std::wstring dir(exe);
        dir = dir.substr(0, dir.find_last_of(L"\\/"));
        return dir + L"\\NkAuto.dll";
    }

    void load()
    {
        module = LoadLibraryW(path().c_str());
        if (!module) return;
        getClassObject = proc<GetClassObjectFn>("DllGetClassObject");
        canUnloadNow = proc<NoArgFn>("DllCanUnloadNow");
        registerServer = proc<NoArgFn>("DllRegisterServer");
        unregisterServer = proc<NoArgFn>("DllUnregisterServer");
        install = proc<InstallFn>("DllInstall");
        documentation = proc<DocumentationFn>("DLLGetDocumentation");
        uninitOpm = proc<UninitFn>("UninitOPMPropertyExtension");
    }

    void unload()
    {
        if (module) FreeLibrary(module);
        module = nullptr;
    }

    template <class Fn>
    Fn proc(const char* name) const
    {
        return reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
    }
};
