#include "containers/append.h"

#include "core/call.h"
#include "core/lookup.h"
#include "db/database.h"
#include "frame/com.h"
#include "kxauto.h"
#include "services/doclock.h"

namespace nk {
namespace {

const IID& kBlockIid = __uuidof(IVeltBlock);

// Once appended an entity is its database's: closed, never deleted.
void closeOrDelete(NewEntity& entity)
{
    if (entity && entity->isResident()) entity.release()->close();
    entity.reset();
}

}  // namespace

HRESULT appendEntity(const VxAxObjectRef& block, IDispatch* app, REFIID resultIid, void** out, EntityFactory make,
                     AfterAppend after)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kBlockIid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(block.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbBlockTableRecord> record(block, kx::VxDb::kForWrite);
        // Not the open's status: callers have always seen E_POINTER here.
        if (!record.isOpen()) return E_POINTER;
        // A block made on its own, in no drawing, has nothing to make entities with.
        if (!record->database()) check(kx::Velt::eNoDatabase);

        NewEntity entity = make(*record.get());
        if (!entity) return E_FAIL;
        kx::VxDbObjectId id;
        if (record->appendVxDbEntity(id, entity.get()) != kx::Velt::eOk) {
            closeOrDelete(entity);
            return E_FAIL;
        }
        if (after) after(*entity);
        // Wrapped while still open in our hands: no second open of the new entity.
        HRESULT hr = wrapperAs(entity.get(), app, resultIid, out);
        closeOrDelete(entity);
        return hr;
    });
}

kx::VxGeVector3d blockNormal(const kx::VxDbBlockTableRecord& block)
{
    const kx::VxDbDatabase* db = block.database();
    if (db && block.isResident()) {
        const kx::VxDbObjectId id = block.objectId();
        if (id == db->modelSpaceId()) return db->ucsxdir().crossProduct(db->ucsydir());
        if (id == db->paperSpaceId()) return db->pucsxdir().crossProduct(db->pucsydir());
    }
    return kx::VxGeVector3d::kZAxis;
}

HRESULT appendWithWrappers(kx::VxDbObjectId block, std::vector<NewEntity> entities, IDispatch* app, VARIANT* out)
{
    std::vector<kx::VxDbObjectId> ids;
    ids.reserve(entities.size());
    {
        OpenedObject<kx::VxDbBlockTableRecord> record(block, kx::VxDb::kForWrite);
        record.orThrow();
        for (NewEntity& entity : entities) {
            kx::VxDbObjectId id;
            kx::Velt::ErrorStatus es = record->appendVxDbEntity(id, entity.get());
            closeOrDelete(entity);
            check(es);
            ids.push_back(id);
        }
    }

    return wrapperArrayOf(ids, app, out);
}

HRESULT wrapperArrayOf(const std::vector<kx::VxDbObjectId>& ids, IDispatch* app, VARIANT* out)
{
    SafeArray array(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(ids.size())));
    if (!array.get()) return E_OUTOFMEMORY;
    for (LONG i = 0; i < static_cast<LONG>(ids.size()); ++i) {
        Variant item;
        HRESULT hr = wrapperAs(ids[static_cast<size_t>(i)], app, IID_IDispatch,
                               reinterpret_cast<void**>(&V_DISPATCH(item.get())));
        if (FAILED(hr)) return hr;
        V_VT(item.get()) = VT_DISPATCH;
        hr = SafeArrayPutElement(array.get(), &i, item.get());
        if (FAILED(hr)) return hr;
    }
    V_VT(out) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(out) = array.detach();
    return S_OK;
}

}  // namespace nk
