// The COM object toolkit every class of the module is built from.
//
//   DispatchImpl<Itf>     IDispatch answered from the type information of Itf
//   ChainOf<Itf, Itf, S>  Itf with every interface level between it and IDispatch, each level
//                         implemented by its Level<> (by default the Pending<> stubs)
//   ComObject<T>          IUnknown for a class T: own reference count; counted live by the pool
//   AggregatedObject<T>   IUnknown for T inside an outer object
//
// A class T provides `void* findInterface(REFIID)` returning the interface for the id (not
// AddRef'd) or null; `static const CLSID& classId()`.
#pragma once

#include <windows.h>
#include <ocidl.h>
#include <oleauto.h>

#include <atomic>
#include <new>
#include <utility>

#include "frame/com.h"
#include "frame/module.h"
#include "frame/pending.h"
#include "frame/pool.h"
#include "catalogue_gen.h"
#include "dispatch_gen.h"

namespace nk {

template <class Itf>
class DispatchImpl : public Itf {
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        if (!count) return E_POINTER;
        *count = 1;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override
    {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        ITypeInfo* listed = Module::listedTypeInfo(__uuidof(Itf));
        if (!listed) return TYPE_E_ELEMENTNOTFOUND;
        listed->AddRef();
        *info = listed;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) override
    {
        // A member's name alone is the table's; argument names and unknown names are the
        // type information's, which answers them with its own errors.
        if (dispatch::gOwnDispatch && count == 1 && names && ids) {
            const DISPID id = dispatch::idOfName<Itf>(names[0]);
            if (id != DISPID_UNKNOWN) {
                ids[0] = id;
                return S_OK;
            }
        }
        ITypeInfo* info = Module::interfaceTypeInfo(__uuidof(Itf));
        if (!info) return TYPE_E_ELEMENTNOTFOUND;
        return DispGetIDsOfNames(info, names, count, ids);
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* excep, UINT* argErr) override
    {
        if (riid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
        HRESULT hr = S_OK;
        if (dispatch::tryInvoke(static_cast<Itf*>(this), id, flags, params, result, excep, hr)) return hr;
        ITypeInfo* info = Module::interfaceTypeInfo(__uuidof(Itf));
        if (!info) return TYPE_E_ELEMENTNOTFOUND;
        if (dispatch::invokeOnValue(static_cast<Itf*>(this), info, id, lcid, flags, params, result, excep, argErr, hr))
            return hr;
        dispatch::ConvertedArguments converted;
        switch (dispatch::convertArguments(info, id, flags, params, converted, hr)) {
        case dispatch::Conversion::Refused: return hr;
        case dispatch::Conversion::Converted:
            if (dispatch::tryInvoke(static_cast<Itf*>(this), id, flags, &converted.params, result, excep, hr))
                return hr;
            break;
        case dispatch::Conversion::NotMine: break;
        }
        return DispInvoke(static_cast<Itf*>(this), info, id, flags, params, result, excep, argErr);
    }
};

// The implementation of the own members of one interface level, on top of Base. By default
// every member answers from the pending list; a level whose members are written specialises
// this (see core/levels.h). Self is the class that implements the whole coclass.
template <class Itf, class Self, class Base>
struct Level {
    using type = Pending<Itf, Base>;
};

// Builds Level<Itf, ..., Level<Base, ..., DispatchImpl<Leaf>>> down the interface chain.
template <class Itf, class Leaf, class Self>
struct ChainOf {
    using type = typename Level<Itf, Self, typename ChainOf<typename BaseOf<Itf>::type, Leaf, Self>::type>::type;
};
template <class Leaf, class Self>
struct ChainOf<IDispatch, Leaf, Self> {
    using type = DispatchImpl<Leaf>;
};

// True when iid names Itf or one of the interfaces it derives from.
template <class Itf>
bool inChain(REFIID iid)
{
    if (iid == __uuidof(Itf)) return true;
    if constexpr (std::is_same_v<Itf, IUnknown>) {
        return false;
    } else if constexpr (std::is_same_v<Itf, IDispatch>) {
        return iid == IID_IUnknown;
    } else {
        return inChain<typename BaseOf<Itf>::type>(iid);
    }
}

// The count of an object being destroyed: high enough that no AddRef/Release pair made
// from its destructor reaches zero again.
constexpr ULONG kDestroying = 1u << 30;

// Its block from the pool counts it live (frame/pool.h): no locked count of its own.
template <class T>
class ComObject final : public T {
public:
    template <class... Args>
    explicit ComObject(Args&&... args) : T(std::forward<Args>(args)...) {}

    // From the module's pool of blocks (frame/pool.h).
    static void* operator new(size_t size)
    {
        if (void* block = pool::take(size)) return block;
        throw std::bad_alloc();
    }
    static void* operator new(size_t size, const std::nothrow_t&) noexcept { return pool::take(size); }
    static void operator delete(void* block, size_t size) noexcept { pool::give(block, size); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override
    {
        if (!ppv) return E_POINTER;
        *ppv = this->findInterface(iid);
        if (!*ppv) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        ULONG n = --refs_;
        if (n == 0) {
            // A call made while the object goes must not delete it again. No other thread
            // holds it now: a plain store, not the locked exchange of an atomic assignment.
            refs_.store(kDestroying, std::memory_order_relaxed);
            delete this;
        }
        return n;
    }

    // The first reference of an object no other thread can see yet: a plain store.
    void takeFirstReference() { refs_.store(1, std::memory_order_relaxed); }

    // Makes one instance and answers riid; the create-instance function of a class entry.
    static HRESULT create(IUnknown* outer, REFIID riid, void** ppv)
    {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        auto* object = new (std::nothrow) ComObject();
        if (!object) return E_OUTOFMEMORY;
        object->takeFirstReference();
        HRESULT hr = object->finalConstruct();
        if (SUCCEEDED(hr)) hr = object->QueryInterface(riid, ppv);
        object->Release();
        return hr;
    }

private:
    std::atomic<ULONG> refs_{0};
};

// A new instance of Impl kept by the caller, with its final construction done; null when
// either fails. For objects that the server makes for itself, outside the class table.
template <class Impl>
ComPtr<ComObject<Impl>> makeObject()
{
    auto* object = new (std::nothrow) ComObject<Impl>();
    if (!object) return {};
    auto held = ComPtr<ComObject<Impl>>(object);
    if (FAILED(object->finalConstruct())) return {};
    return held;
}

// An instance living inside an outer object: its interfaces delegate IUnknown to the outer
// unknown, and the outer holds the inner, non-delegating unknown.
template <class T>
class AggregatedObject final : public T, private LiveObject {
public:
    explicit AggregatedObject(IUnknown* outer) : outer_(outer) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override
    {
        return outer_->QueryInterface(iid, ppv);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return outer_->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return outer_->Release(); }

    static HRESULT create(IUnknown* outer, REFIID riid, void** ppv)
    {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (!outer) return ComObject<T>::create(nullptr, riid, ppv);
        // The creator of an aggregate may ask only for IUnknown.
        if (riid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
        auto* object = new (std::nothrow) AggregatedObject(outer);
        if (!object) return E_OUTOFMEMORY;
        IUnknown* inner = &object->inner_;
        inner->AddRef();
        HRESULT hr = object->finalConstruct();
        if (SUCCEEDED(hr)) hr = inner->QueryInterface(riid, ppv);
        inner->Release();
        return hr;
    }

private:
    // The non-delegating unknown that the outer object holds.
    struct Inner final : IUnknown {
        explicit Inner(AggregatedObject* owner) : owner(owner) {}
        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** ppv) override
        {
            if (!ppv) return E_POINTER;
            if (iid == IID_IUnknown) {
                *ppv = static_cast<IUnknown*>(this);
            } else {
                *ppv = owner->findInterface(iid);
                if (!*ppv) return E_NOINTERFACE;
            }
            static_cast<IUnknown*>(*ppv)->AddRef();
            return S_OK;
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
        ULONG STDMETHODCALLTYPE Release() override
        {
            ULONG n = --refs;
            if (n == 0) {
                refs.store(kDestroying, std::memory_order_relaxed);
                delete owner;
            }
            return n;
        }
        AggregatedObject* owner;
        std::atomic<ULONG> refs{0};
    };

    IUnknown* outer_;
    Inner inner_{this};
};

}  // namespace nk
