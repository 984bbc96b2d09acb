// One source and clone pair of a copy of objects, handed out by the database wrapper.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/wrapper.h"
#include "db/clone.h"
#include "frame/com.h"

namespace nk {

template <class Self, class Base>
class IdPairMembers : public Base {
public:
    void setPair(const kx::VxDbIdPair& pair, IDispatch* application)
    {
        pair_ = pair;
        app_ = application;
    }

    HRESULT STDMETHODCALLTYPE get_IsCloned(VARIANT_BOOL* v) override { return flag(v, pair_.isCloned()); }
    HRESULT STDMETHODCALLTYPE get_IsOwnerXlated(VARIANT_BOOL* v) override { return flag(v, pair_.isOwnerXlated()); }
    HRESULT STDMETHODCALLTYPE get_IsPrimary(VARIANT_BOOL* v) override { return flag(v, pair_.isPrimary()); }
    HRESULT STDMETHODCALLTYPE get_Key(LONG_PTR* id) override { return objectId(id, pair_.key()); }
    HRESULT STDMETHODCALLTYPE get_Value(LONG_PTR* id) override { return objectId(id, pair_.value()); }
    HRESULT STDMETHODCALLTYPE get_Application(IDispatch** application) override
    {
        if (!application) return E_POINTER;
        *application = app_.get();
        if (*application) (*application)->AddRef();
        return S_OK;
    }

private:
    static HRESULT flag(VARIANT_BOOL* out, bool value)
    {
        if (!out) return E_POINTER;
        *out = value ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    static HRESULT objectId(LONG_PTR* out, kx::VxDbObjectId id)
    {
        if (!out) return E_POINTER;
        *out = id.asOldId();
        return S_OK;
    }

    kx::VxDbIdPair pair_;
    ComPtr<IDispatch> app_;
};

template <class Self, class Base>
struct Level<IVeltIdPair, Self, Base> {
    using type = IdPairMembers<Self, Pending<IVeltIdPair, Base>>;
};

}  // namespace nk
