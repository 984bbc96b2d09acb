// The private interfaces through which the module binds a wrapper to what it stands for.
// They are not in the type library; their IIDs are fixed here.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include "db/objectid.h"

namespace kx {
class VxDbDatabase;
}

// Every wrapper of a database object.
struct IVeltBaseObject : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetObjectId(kx::VxDbObjectId objectId, kx::VxDbObjectId ownerId,
                                                  const wchar_t* keyName) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetObjectId(kx::VxDbObjectId* objectId) = 0;
    virtual HRESULT STDMETHODCALLTYPE Clone(kx::VxDbObjectId ownerId, IUnknown** copy) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) = 0;
    virtual HRESULT STDMETHODCALLTYPE NullObjectId() = 0;
    virtual HRESULT STDMETHODCALLTYPE OnModified() = 0;
};
__CRT_UUID_DECL(IVeltBaseObject, 0x5a0c2f4e, 0x8d1b, 0x4c57, 0x9e, 0x21, 0x6b, 0x3f, 0x0a, 0x94, 0xd2, 0x71)

// The database wrapper.
struct IVeltBaseDatabase : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetDatabase(kx::VxDbDatabase* database) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDatabase(kx::VxDbDatabase** database) = 0;
};
__CRT_UUID_DECL(IVeltBaseDatabase, 0x0e6f7a93, 0x2b4c, 0x4f0d, 0xa5, 0x18, 0x3c, 0x77, 0xe2, 0x90, 0x4b, 0x16)

// Gives a wrapper the application object it reports as its Application.
struct IRetrieveApplication : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE SetApplicationObject(IDispatch* application) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetApplicationObject(IDispatch** application) = 0;
};
__CRT_UUID_DECL(IRetrieveApplication, 0x9b27d8c1, 0x6e40, 0x4a83, 0x8f, 0x52, 0xd1, 0x0c, 0x4e, 0x6a, 0x37, 0xb9)
