#include "objects/layer_states.h"

#include "core/binding.h"
#include "core/call.h"
#include "db/database.h"
#include "db/layerstates.h"
#include "services/doclock.h"

namespace nk::layerStates {
namespace {

const IID& kIid = __uuidof(IVeltLayerStateManager);

const wchar_t* textOf(BSTR text) { return text ? text : L""; }

// The drawing of the database wrapper; a manager that was given none fails with E_FAIL.
kx::VxDbDatabase* drawingOf(IDispatch* database)
{
    if (!database) throw E_FAIL;
    ComPtr<IVeltBaseDatabase> base;
    kx::VxDbDatabase* db = nullptr;
    if (FAILED(database->QueryInterface(__uuidof(IVeltBaseDatabase), base.putVoid())) || !base ||
        FAILED(base->GetDatabase(&db)) || !db)
        throw E_FAIL;
    return db;
}

// A change of the drawing's states under its lock.
template <class Change>
HRESULT change(IDispatch* database, Change&& apply)
{
    return guarded(kIid, [&] {
        kx::VxDbDatabase* db = drawingOf(database);
        kx::VxAxDocLock lock(db, kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        check(apply(db));
        return S_OK;
    });
}

}  // namespace

HRESULT setDatabase(ComPtr<IDispatch>& held, IVeltDatabase* database)
{
    if (!database) return E_INVALIDARG;
    ComPtr<IVeltBaseDatabase> base;
    if (FAILED(database->QueryInterface(__uuidof(IVeltBaseDatabase), base.putVoid())) || !base) return E_INVALIDARG;
    ComPtr<IDispatch> dispatch;
    if (FAILED(database->QueryInterface(IID_IDispatch, dispatch.putVoid()))) return E_INVALIDARG;
    held = dispatch;
    return S_OK;
}

HRESULT mask(IDispatch* database, BSTR name, VxLayerStateMask* out)
{
    if (!out) return E_POINTER;
    *out = vxLsNone;
    return guarded(kIid, [&] {
        uint32_t value = 0;
        check(kx::vxdbLayerStateMask(drawingOf(database), textOf(name), value));
        *out = VxLayerStateMask(value);
        return S_OK;
    });
}

HRESULT setMask(IDispatch* database, BSTR name, VxLayerStateMask mask)
{
    return change(database, [&](kx::VxDbDatabase* db) {
        return kx::vxdbSetLayerStateMask(db, textOf(name), uint32_t(mask) & kx::kLsAll);
    });
}

HRESULT save(IDispatch* database, BSTR name, VxLayerStateMask mask)
{
    return change(database, [&](kx::VxDbDatabase* db) {
        return kx::vxdbSaveLayerState(db, textOf(name), uint32_t(mask) & kx::kLsAll);
    });
}

HRESULT restore(IDispatch* database, BSTR name)
{
    return change(database, [&](kx::VxDbDatabase* db) { return kx::vxdbRestoreLayerState(db, textOf(name)); });
}

HRESULT remove(IDispatch* database, BSTR name)
{
    return change(database, [&](kx::VxDbDatabase* db) { return kx::vxdbDeleteLayerState(db, textOf(name)); });
}

HRESULT rename(IDispatch* database, BSTR oldName, BSTR newName)
{
    return change(database, [&](kx::VxDbDatabase* db) {
        return kx::vxdbRenameLayerState(db, textOf(oldName), textOf(newName));
    });
}

HRESULT import(IDispatch* database, BSTR fileName)
{
    return change(database, [&](kx::VxDbDatabase* db) { return kx::vxdbImportLayerStates(db, textOf(fileName)); });
}

HRESULT exportTo(IDispatch* database, BSTR name, BSTR fileName)
{
    return guarded(kIid, [&] {
        kx::VxDbDatabase* db = drawingOf(database);
        kx::VxAxDocLock lock(db, kx::VxAxDocLock::kRead);
        check(kx::vxdbExportLayerState(db, textOf(name), textOf(fileName)));
        return S_OK;
    });
}

}  // namespace nk::layerStates
