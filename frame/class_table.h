// The class-object table: which automation classes this module makes, and how.
#pragma once

#include <windows.h>
#include <unknwn.h>

namespace nk {

class BoundObject;

using CreateInstanceFn = HRESULT (*)(IUnknown* outer, REFIID riid, void** ppv);

struct ClassEntry {
    const CLSID* clsid;                                                  // null ends the table
    HRESULT (*updateRegistry)(bool registering);                         // no class keys: S_OK
    HRESULT (*getClassObject)(CreateInstanceFn create, REFIID riid, void** ppv);
    CreateInstanceFn createInstance;
    IUnknown* cachedFactory;                                             // made on first request
    DWORD registrationCookie;                                            // unused in-process
    const wchar_t* (*getDescription)();                                  // null for every class
    const void* (*getCategoryMap)();                                     // no component categories
    void (*objectMain)(bool starting);                                   // class start-up hook
};

constexpr int kClassEntryCount = 113;

// The table, kClassEntryCount entries and a zeroed terminator.
ClassEntry* classTable();
// Fills every entry by its class's own routine, in table order; calls objectMain(true).
void fillClassTable();
// Releases the cached class factories and calls objectMain(false).
void releaseClassTable();
// DllGetClassObject.
HRESULT getClassObject(REFCLSID clsid, REFIID riid, void** ppv);
// A new wrapper of a database object of the class, with one reference, ready to be bound
// without a query for its binding interfaces; null when the class is not one of the
// table's wrappers of database objects. *asked is the wrapper as iid, sharing that one
// reference (not counted again), or null when it does not answer iid.
BoundObject* makeBoundWrapper(REFCLSID clsid, REFIID iid, void** asked);
// An instance of a class of the table as the module makes one for itself (a wrapper for an
// object that exists), without its class factory; CLASS_E_CLASSNOTAVAILABLE for others.
HRESULT createInstance(REFCLSID clsid, REFIID riid, void** ppv);

}  // namespace nk
