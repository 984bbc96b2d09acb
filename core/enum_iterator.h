// The enumerator of a container's objects (a block's entities, a table's records): a walk
// over the container's ids that hands out each object's wrapper as IDispatch.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <memory>
#include <utility>

#include "axsupport/errors.h"
#include "core/lookup.h"
#include "db/symtables.h"
#include "frame/com.h"
#include "frame/enum_variant.h"

namespace nk {

class CEnumObjectIterator final : public EnumVariantBase {
public:
    CEnumObjectIterator(IDispatch* owner, std::unique_ptr<kx::VxDbIdListIterator> ids)
        : owner_(owner), ids_(std::move(ids))
    {
    }

protected:
    // The ids of a batch come from one look at the container; only the wrappers cost per item.
    HRESULT fill(ULONG count, VARIANT* items, ULONG& n) override
    {
        kx::VxDbObjectId batch[kBatch];
        while (n < count) {
            const size_t want = count - n < kBatch ? count - n : kBatch;
            const size_t got = ids_->nextIds(batch, want);
            for (size_t i = 0; i < got; ++i) {
                VariantInit(&items[n]);
                if (HRESULT hr = wrap(batch[i], &items[n]); FAILED(hr)) {
                    ids_->seek(batch[i]);  // the walk stays on the item that failed
                    return hr;
                }
                ++n;
            }
            if (got < want) break;
        }
        return S_OK;
    }
    bool done() override
    {
        // Objects erased since the walk began are passed over.
        while (!ids_->done() && ids_->currentId().isErased()) ids_->step();
        return ids_->done();
    }
    HRESULT current(VARIANT* item) override { return wrap(ids_->currentId(), item); }
    void advance() override { ids_->step(); }
    void restart() override { ids_->start(); }

private:
    static constexpr size_t kBatch = 128;

    HRESULT wrap(kx::VxDbObjectId id, VARIANT* item)
    {
        IDispatch* dispatch = nullptr;
        HRESULT hr = wrapperAs(id, owner_.get(), IID_IDispatch, reinterpret_cast<void**>(&dispatch));
        if (hr == E_FAIL) return hr;  // no wrapper
        if (FAILED(hr) && hr != E_NOINTERFACE) return RaiseVxAXException(IID_IEnumVARIANT, hr, 0);
        V_VT(item) = VT_DISPATCH;
        V_DISPATCH(item) = dispatch;
        return S_OK;
    }

    ComPtr<IDispatch> owner_;
    std::unique_ptr<kx::VxDbIdListIterator> ids_;
};

// A table's records walk the same way.
using CEnumTableIterator = CEnumObjectIterator;

// The enumerator of a dictionary's entries or a group's members, in their own order: a walk
// (kx::VxDbDictionaryIterator, kx::VxDbGroupIterator) made afresh from the container's id on
// Reset.
template <class Walk>
class CEnumEntryIterator final : public EnumVariantBase {
public:
    CEnumEntryIterator(IDispatch* owner, kx::VxDbObjectId container)
        : owner_(owner), container_(container), walk_(container)
    {
    }

protected:
    bool done() override
    {
        while (!walk_.done() && walk_.objectId().isErased()) walk_.next();
        return walk_.done();
    }
    HRESULT current(VARIANT* item) override
    {
        ComPtr<IUnknown> wrapper;
        VxAxGetIUnknownOfObject(wrapper.put(), walk_.objectId(), owner_.get());
        if (!wrapper) return E_FAIL;
        IDispatch* dispatch = nullptr;
        HRESULT hr = wrapper->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch));
        if (FAILED(hr)) return RaiseVxAXException(IID_IEnumVARIANT, hr, 0);
        V_VT(item) = VT_DISPATCH;
        V_DISPATCH(item) = dispatch;
        return S_OK;
    }
    void advance() override { walk_.next(); }
    void restart() override { walk_ = Walk(container_); }

private:
    ComPtr<IDispatch> owner_;
    kx::VxDbObjectId container_;
    Walk walk_;
};

}  // namespace nk
