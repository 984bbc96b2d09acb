// The base of the module's IEnumVARIANT enumerators (a block's entities, a table's
// records, a dictionary's entries). A subclass supplies the walk; the base answers the
// enumerator protocol. Enumerators cannot be cloned.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <atomic>
#include <new>

#include "frame/module.h"
#include "frame/unknown.h"

namespace nk {

class EnumVariantBase : public SingleInterfaceObject<IEnumVARIANT>, private LiveObject {
public:
    EnumVariantBase() = default;

    // Fills up to `count` VARIANTs with the items under the walk, advancing past each.
    // S_FALSE when fewer than asked were left.
    HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* items, ULONG* fetched) override
    {
        if (!items || (count != 1 && !fetched)) return E_POINTER;
        ULONG n = 0;
        HRESULT hr = fill(count, items, n);
        if (FAILED(hr)) {
            for (ULONG i = 0; i < n; ++i) VariantClear(&items[i]);
            if (fetched) *fetched = 0;
            return hr;
        }
        if (fetched) *fetched = n;
        return n < count ? S_FALSE : S_OK;
    }
    // Steps past `count` items; past the end is not an error.
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override
    {
        for (ULONG i = 0; i < count && !done(); ++i) advance();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Reset() override
    {
        restart();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** out) override
    {
        if (out) *out = nullptr;
        return E_NOTIMPL;
    }

    // Makes an enumerator of type E and hands out its IUnknown, or E_OUTOFMEMORY.
    template <class E, class... Args>
    static HRESULT create(IUnknown** out, Args&&... args)
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        auto* e = new (std::nothrow) E(std::forward<Args>(args)...);
        if (!e) return E_OUTOFMEMORY;
        e->AddRef();
        *out = static_cast<IEnumVARIANT*>(e);
        return S_OK;
    }

protected:
    // Fills items one by one; n counts the items filled, which the caller clears on failure,
    // and the walk stays on the item that failed. A walk that can take many items for the
    // cost of one overrides this.
    virtual HRESULT fill(ULONG count, VARIANT* items, ULONG& n)
    {
        while (n < count && !done()) {
            VariantInit(&items[n]);
            if (HRESULT hr = current(&items[n]); FAILED(hr)) return hr;
            advance();
            ++n;
        }
        return S_OK;
    }
    virtual bool done() = 0;
    // The item under the walk, as a VARIANT (a VT_DISPATCH wrapper, usually).
    virtual HRESULT current(VARIANT* item) = 0;
    virtual void advance() = 0;
    virtual void restart() = 0;
};

}  // namespace nk
