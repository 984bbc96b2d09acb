// The module: its instance, lock count, critical section, registration mode, resource
// library and type library. One per process; set up by DllMain.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>

#include "frame/com.h"

namespace nk {

class Module {
public:
    // Process attach and detach of the DLL; a program that links the automation layer
    // statically calls them itself.
    static void attach(HINSTANCE instance);
    static void detach();
    static bool initialised();

    static HINSTANCE instance();
    static std::wstring fileName();  // full path of this module
    static std::wstring folder();    // fileName() up to its last '\\', '/' or ':'

    // Live objects and LockServer(TRUE) keep the module loaded. Objects made by ComObject
    // are counted by the pool their memory comes from; lockCount() adds them in.
    static LONG lock();
    static LONG unlock();
    static LONG lockCount();

    // Guards the lazy creation of class factories.
    static CriticalSection& criticalSection();

    // Set by DllInstall(..., L"user"): register for the current user only.
    static bool perUserRegistration();
    static void setPerUserRegistration(bool on);

    // The resource-only library that holds every user-visible string; loaded on first use
    // and kept until detach. Null when it cannot be found.
    static HINSTANCE resourceInstance();
    static std::wstring resourceLibraryName();
    // Loads a string of the resource library; false when it is missing.
    static bool loadString(UINT id, std::wstring& text, int maxChars = 4096);

    // The type library carried by this module (resource 1), loaded on first use.
    static ITypeLib* typeLib();
    // The type information of an interface, for IDispatch; for a dual interface the
    // vtable description. Cached until detach; not AddRef'd for the caller.
    static ITypeInfo* interfaceTypeInfo(REFIID iid);
    // The type information as the type library lists it (the dispatch view of a dual).
    static ITypeInfo* listedTypeInfo(REFGUID guid);
};

// Counts one live object of the module for as long as it exists.
class LiveObject {
public:
    LiveObject() { Module::lock(); }
    LiveObject(const LiveObject&) { Module::lock(); }
    LiveObject& operator=(const LiveObject&) = default;
    ~LiveObject() { Module::unlock(); }
};

}  // namespace nk
