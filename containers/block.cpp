#include "containers/block.h"

#include <memory>
#include <utility>

#include "axsupport/errors.h"
#include "axsupport/values.h"
#include "containers/append.h"
#include "core/call.h"
#include "core/lookup.h"
#include "core/object_ops.h"
#include "db/blocks.h"
#include "db/entities.h"
#include "frame/com.h"
#include "frame/enum_variant.h"
#include "services/doclock.h"

namespace nk {
namespace {

using kx::VxDbBlockTableRecord;
using Entities = std::unique_ptr<kx::VxDbBlockTableRecordIterator>;

const IID& kBlockIid = __uuidof(IVeltBlock);

// A walk over the live entities of the block, from the first.
Entities entitiesOf(const VxDbBlockTableRecord& block)
{
    Entities entities;
    if (block.newIterator(entities) != kx::Velt::eOk || !entities) throw kx::Velt::eNoIterator;
    return entities;
}

// The enumerator of a block's entities: each item is the entity's wrapper as IDispatch.
class CEnumObjectIterator final : public EnumVariantBase {
public:
    CEnumObjectIterator(IDispatch* owner, Entities entities) : owner_(owner), entities_(std::move(entities)) {}

protected:
    bool done() override
    {
        // Entities erased since the walk reached them are passed over.
        while (!entities_->done() && entities_->currentId().isErased()) entities_->step();
        return entities_->done();
    }
    HRESULT current(VARIANT* item) override
    {
        ComPtr<IUnknown> wrapper;
        VxAxGetIUnknownOfObject(wrapper.put(), entities_->currentId(), owner_.get());
        if (!wrapper) return E_FAIL;
        IDispatch* dispatch = nullptr;
        HRESULT hr = wrapper->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch));
        if (FAILED(hr) && hr != E_NOINTERFACE) return RaiseVxAXException(IID_IEnumVARIANT, hr, 0);
        V_VT(item) = VT_DISPATCH;
        V_DISPATCH(item) = dispatch;
        return S_OK;
    }
    void advance() override { entities_->step(); }
    void restart() override { entities_->start(); }

private:
    ComPtr<IDispatch> owner_;
    Entities entities_;
};

}  // namespace

namespace blocks {

HRESULT item(VxAxObjectRef& block, IDispatch* app, const VARIANT& index, IVeltEntity** entity)
{
    if (!entity) return E_POINTER;
    *entity = nullptr;
    return guarded(kBlockIid, [&]() -> HRESULT {
        Variant position;
        HRESULT hr = VariantChangeType(position.get(), const_cast<VARIANT*>(&index), 0, VT_I4);
        if (FAILED(hr)) return RaiseVxAXException(kBlockIid, hr, 0);
        const LONG wanted = V_I4(position.get());

        OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
        Entities entities = entitiesOf(*record.orThrow());
        for (LONG n = 0; !entities->done(); entities->step(), ++n) {
            if (n != wanted) continue;
            ComPtr<IUnknown> wrapper;
            VxAxGetIUnknownOfObject(wrapper.put(), entities->currentId(), app);
            if (!wrapper) return E_FAIL;
            return wrapper->QueryInterface(__uuidof(IVeltEntity), reinterpret_cast<void**>(entity));
        }
        return E_INVALIDARG;
    });
}

HRESULT count(VxAxObjectRef& block, LONG* count)
{
    if (!count) return E_POINTER;
    *count = 0;
    OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
    if (!record.isOpen()) return E_POINTER;  // not the open's status: kept so
    return guarded(kBlockIid, [&] {
        LONG n = 0;
        for (Entities entities = entitiesOf(*record.get()); !entities->done(); entities->step()) ++n;
        *count = n;
        return S_OK;
    });
}

HRESULT newEnum(VxAxObjectRef& block, IDispatch* app, IUnknown** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return guarded(kBlockIid, [&] {
        Entities entities;
        {
            OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
            entities = entitiesOf(*record.orThrow());
        }
        // The walk holds the block's id, not the open block, so it outlives this call.
        return EnumVariantBase::create<CEnumObjectIterator>(enumerator, app, std::move(entities));
    });
}

HRESULT getName(VxAxObjectRef& block, BSTR* name)
{
    if (!name) return E_POINTER;
    *name = nullptr;
    return guarded(kBlockIid, [&] {
        OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
        const std::wstring& text = record.orThrow()->name();
        *name = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        return *name ? S_OK : E_OUTOFMEMORY;
    });
}

HRESULT putName(VxAxObjectRef& block, BSTR name)
{
    return guarded(kBlockIid, [&] {
        kx::VxAxDocLock lock(block.objectId(), kx::VxAxDocLock::kWrite);
        if (lock.lockStatus() != kx::Velt::eOk) return E_FAIL;
        OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForWrite);
        if (!record.isOpen()) return E_POINTER;
        // The host judges the name; whatever it refuses is reported alike.
        return record->setName(name ? name : L"") == kx::Velt::eOk ? S_OK : E_FAIL;
    });
}

HRESULT getOrigin(VxAxObjectRef& block, VARIANT* origin)
{
    if (!origin) return E_POINTER;
    VariantInit(origin);
    return guarded(kBlockIid, [&] {
        OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
        VxAxPoint3d(record.orThrow()->origin()).setVariant(*origin);
        return S_OK;
    });
}

HRESULT putOrigin(VxAxObjectRef& block, const VARIANT& origin)
{
    return guarded(kBlockIid, [&] {
        const VxAxPoint3d point(origin);
        kx::VxAxDocLock lock(block.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForWrite);
        check(record.orThrow()->setOrigin(point));
        return S_OK;
    });
}

HRESULT addLine(VxAxObjectRef& block, IDispatch* app, const VARIANT& start, const VARIANT& end, IVeltLine** line)
{
    if (!line) return E_POINTER;
    *line = nullptr;
    VxAxPoint3d from, to;
    HRESULT hr = guarded(kBlockIid, [&] {
        from = start;
        to = end;
        return S_OK;
    });
    if (FAILED(hr)) return hr;
    return appendEntity(block, app, line, [&](VxDbBlockTableRecord& record) {
        auto made = std::make_unique<kx::VxDbLine>();
        check(made->setDatabaseDefaults(record.database()));
        check(made->setStartPoint(from));
        check(made->setEndPoint(to));
        return NewEntity(std::move(made));
    });
}

HRESULT erase(VxAxObjectRef& block)
{
    return guarded(kBlockIid, [&] {
        {
            OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
            kx::VxDbObjectIdArray references;
            check(record.orThrow()->getBlockReferenceIds(references));
            if (!references.empty()) throw kx::Velt::eBlockStillReferenced;
        }
        return VxAxErase(block);
    });
}

}  // namespace blocks
}  // namespace nk
