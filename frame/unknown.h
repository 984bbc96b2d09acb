// IUnknown for a small object of the module with one interface of its own (factories,
// enumerators): its own reference count, deleted at the last release.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <atomic>

namespace nk {

template <class Itf>
class SingleInterfaceObject : public Itf {
public:
    SingleInterfaceObject() = default;
    SingleInterfaceObject(const SingleInterfaceObject&) = delete;
    SingleInterfaceObject& operator=(const SingleInterfaceObject&) = delete;
    virtual ~SingleInterfaceObject() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override
    {
        if (!ppv) return E_POINTER;
        if (iid != IID_IUnknown && iid != __uuidof(Itf)) {
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        *ppv = static_cast<Itf*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        ULONG n = --refs_;
        if (n == 0) delete this;
        return n;
    }

private:
    std::atomic<ULONG> refs_{0};
};

}  // namespace nk
