// The one live wrapper of each database object and of each database: found through the
// host's link manager, or made from this module's class table and bound.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstdint>
#include <type_traits>

#include "axsupport/export.h"
#include "db/object.h"
#include "db/objectid.h"

namespace kx {
class VxDbDatabase;
}  // namespace kx

// The wrapper of the object with this id, with one reference for the caller.
NK_EXPORT HRESULT VxAxGetIUnknownOfObject(IUnknown** ppUnk, kx::VxDbObjectId id, IDispatch* app);
// The wrapper of an opened object; an object open for write stays open for write.
NK_EXPORT HRESULT VxAxGetIUnknownOfObject(IUnknown** ppUnk, kx::VxDbObject* object, IDispatch* app);
// The wrapper of a database with one reference for the caller; null on failure.
NK_EXPORT IUnknown* NkAuGetIUnknownOfDatabase(kx::VxDbDatabase* database, IDispatch* app);
// The database wrapper as IVeltDatabase.
NK_EXPORT HRESULT VxAxGetDatabase(kx::VxDbDatabase* database, IDispatch* app, IDispatch** ppDb);
// Kept for old callers; ids cross the interface as 64-bit integers. Both answer 0.
NK_EXPORT int32_t VxAxGetObjectId32(int64_t& id);
NK_EXPORT int64_t VxAxGetObjectId64(int32_t& id);

namespace nk {

// Tells the host which wrapper class stands for each of its database classes.
void registerWrapperClasses();
// For the classes whose interface is declared (generated from the *.members files).
void registerDeclaredWrappers();
void setWrapperClass(kx::VxRxClass* cls, const CLSID& clsid);
// The host class whose objects a wrapper class stands for; null when it has none.
const kx::VxRxClass* hostClassOfWrapper(const CLSID& clsid);
template <class T>
void bindWrapperClass(const CLSID& clsid)
{
    if constexpr (std::is_base_of_v<kx::VxDbObject, T>) setWrapperClass(T::desc(), clsid);
}

// The wrapper class that stands for an object.
CLSID wrapperClassOfObject(const kx::VxDbObject* object);

// The wrapper of an object as iid, with one reference for the caller: E_FAIL when no
// wrapper comes, E_NOINTERFACE when it does not answer iid. A new wrapper is handed out as
// asked, with no query and release of its own.
HRESULT wrapperAs(kx::VxDbObject* object, IDispatch* app, REFIID iid, void** out);
HRESULT wrapperAs(kx::VxDbObjectId id, IDispatch* app, REFIID iid, void** out);

// Makes an instance of a class of this module's table, or failing that through COM.
HRESULT createWrapper(REFCLSID clsid, IUnknown** out);

}  // namespace nk
