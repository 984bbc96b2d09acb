#include "containers/block.h"
#include "members_gen.h"

#include <memory>
#include <utility>

#include "axsupport/errors.h"
#include "axsupport/values.h"
#include "containers/append.h"
#include "core/call.h"
#include "core/lookup.h"
#include "core/object_ops.h"
#include "core/enum_iterator.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/entities.h"
#include "db/symtables.h"
#include "dxf/dxfxref.h"
#include "services/hostservices.h"
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

}  // namespace

namespace blocks {

HRESULT item(VxAxObjectRef& block, IDispatch* app, VARIANT index, IVeltEntity** entity)
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

HRESULT setName(VxAxObjectRef& block, BSTR name)
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

namespace nk::blocks {
namespace {

using kx::VxDbObjectId;

std::wstring nameOf(VxAxObjectRef& block)
{
    OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
    if (!record.isOpen()) throw E_FAIL;
    return record->name();
}

// "C:\\parts\\bolt.dxf" names the block "bolt"; doubled backslashes are collapsed first.
void splitBlockName(const std::wstring& given, std::wstring& path, std::wstring& blockName)
{
    path = given;
    for (size_t at; (at = path.find(L"\\\\")) != std::wstring::npos;) path.erase(at, 1);
    const size_t slash = path.find_last_of(L"\\/");
    blockName = slash == std::wstring::npos ? path : path.substr(slash + 1);
    const size_t dot = blockName.find_last_of(L'.');
    if (dot != std::wstring::npos && dot > 0) blockName.erase(dot);
}

}  // namespace

namespace {

// The block a Name of InsertBlock names: one of the drawing's, or a drawing file brought in as
// a block of its base name.
VxDbObjectId resolveBlock(kx::VxDbDatabase* db, const std::wstring& path, const std::wstring& blockName)
{
    VxDbObjectId blockId;
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTable> table(db->blockTableId(), kx::VxDb::kForRead);
        check(table.openStatus());
        table->getAt(blockName.c_str(), blockId);
    }
    if (blockId.isNull()) check(kx::vxdbInsertDrawingFile(db, blockName.c_str(), path.c_str(), blockId));
    return blockId;
}

// Once resident, a reference gets the attributes its block defines.
void makeAttributes(kx::VxDbEntity& entity)
{
    auto* reference = kx::VxDbBlockReference::cast(&entity);
    if (!reference) return;
    kx::VxDbObjectPointer<VxDbBlockTableRecord> block(reference->blockTableRecord(), kx::VxDb::kForRead);
    if (block && block->hasAttributeDefinitions()) kx::UpdataBlkAttribute(reference);
}

}  // namespace

HRESULT insertBlock(VxAxObjectRef& block, IDispatch* app, VARIANT point, BSTR name, double xScale, double yScale,
                    double zScale, double rotation, VARIANT /*password: drawing files have none*/,
                    IVeltBlockReference** reference)
{
    if (!reference) return E_POINTER;
    *reference = nullptr;
    VxAxPoint3d position;
    HRESULT hr = guarded(kBlockIid, [&] {
        position = point;
        return S_OK;
    });
    if (FAILED(hr)) return hr;
    std::wstring path, blockName;
    splitBlockName(name ? name : L"", path, blockName);
    if (blockName.empty()) return E_INVALIDARG;
    return appendEntity(
        block, app, reference,
        [&](VxDbBlockTableRecord& record) {
            kx::VxDbDatabase* db = record.database();
            const VxDbObjectId blockId = resolveBlock(db, path, blockName);
            auto made = std::make_unique<kx::VxDbBlockReference>();
            check(made->setDatabaseDefaults(db));
            check(made->setBlockTableRecord(blockId));
            check(made->setPosition(position));
            check(made->setScaleFactors({xScale, yScale, zScale}));
            check(made->setRotation(rotation));
            return NewEntity(std::move(made));
        },
        makeAttributes);
}

// Rows and columns from 1 to 32767; spacings are whole drawing units.
HRESULT addMInsertBlock(VxAxObjectRef& block, IDispatch* app, VARIANT point, BSTR name, double xScale, double yScale,
                        double zScale, VELT_ANGLE rotation, long rows, long columns, long rowSpacing,
                        long columnSpacing, VARIANT /*password*/, IVeltMInsertBlock** reference)
{
    if (!reference) return E_POINTER;
    *reference = nullptr;
    VxAxPoint3d position;
    HRESULT hr = guarded(kBlockIid, [&] {
        position = point;
        return S_OK;
    });
    if (FAILED(hr)) return hr;
    if (rows < 1 || rows > 32767 || columns < 1 || columns > 32767) return E_INVALIDARG;
    std::wstring path, blockName;
    splitBlockName(name ? name : L"", path, blockName);
    if (blockName.empty()) return E_INVALIDARG;
    return appendEntity(
        block, app, reference,
        [&](VxDbBlockTableRecord& record) {
            kx::VxDbDatabase* db = record.database();
            const VxDbObjectId blockId = resolveBlock(db, path, blockName);
            auto made = std::make_unique<kx::VxDbMInsertBlock>();
            check(made->setDatabaseDefaults(db));
            check(made->setBlockTableRecord(blockId));
            if (made->setPosition(position) || made->setScaleFactors({xScale, yScale, zScale}) ||
                made->setRotation(rotation))
                throw E_INVALIDARG;
            check(made->setRows(int16_t(rows)));
            check(made->setColumns(int16_t(columns)));
            check(made->setRowSpacing(double(rowSpacing)));
            check(made->setColumnSpacing(double(columnSpacing)));
            return NewEntity(std::move(made));
        },
        makeAttributes);
}

HRESULT attachExternalReference(VxAxObjectRef& block, IDispatch* app, BSTR path, BSTR name, VARIANT point,
                                double xScale, double yScale, double zScale, double rotation, VARIANT_BOOL overlay,
                                VARIANT password, IVeltExternalReference** reference)
{
    if (!reference) return E_POINTER;
    *reference = nullptr;
    if (xScale < 0 || yScale < 0 || zScale < 0) return E_FAIL;
    return guarded(kBlockIid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(block.objectId(), kx::VxAxDocLock::kWrite);
        const wchar_t* secret = nullptr;
        if (V_VT(&password) == VT_BSTR) secret = V_BSTR(&password);
        if (V_VT(&password) == (VT_BSTR | VT_BYREF) && V_BSTRREF(&password)) secret = *V_BSTRREF(&password);
        if (secret && !*secret) secret = nullptr;
        VxAxPoint3d position;
        position = point;
        const kx::VxGeVector3d scale{xScale, yScale, zScale};
        VxDbObjectId made;
        auto attach = overlay == VARIANT_TRUE ? &kx::vxedXrefOverlay : &kx::vxedXrefAttach;
        // Into the current space of the block's own drawing: without an editor, the drawing
        // being worked on is the one the client called.
        kx::VxDbDatabase* drawing = block.objectId().database();
        if (!drawing) drawing = kx::vxdbHostApplicationServices()->workingDatabase();
        if (attach(path ? path : L"", name ? name : L"", VxDbObjectId(), made, position, scale, rotation, true,
                   drawing, secret) != kx::Velt::eOk)
            return E_FAIL;
        ComPtr<IUnknown> wrapper;
        VxAxGetIUnknownOfObject(wrapper.put(), made, app);
        if (!wrapper) return E_FAIL;
        return wrapper->QueryInterface(__uuidof(IVeltExternalReference), reinterpret_cast<void**>(reference));
    });
}

HRESULT bind(VxAxObjectRef& block, VARIANT_BOOL prefixName)
{
    return guarded(kBlockIid, [&] {
        const std::wstring name = nameOf(block);
        const bool insertBind = prefixName == VARIANT_TRUE;
        return kx::vxedXrefBind(name.c_str(), insertBind, true, block.objectId().database()) == kx::Velt::eOk ? S_OK
                                                                                                              : E_FAIL;
    });
}

HRESULT detach(VxAxObjectRef& block)
{
    return guarded(kBlockIid, [&] {
        kx::VxAxDocLock lock(block.objectId(), kx::VxAxDocLock::kWrite);
        const std::wstring name = nameOf(block);
        return kx::vxedXrefDetach(name.c_str(), true, block.objectId().database()) == kx::Velt::eOk ? S_OK : E_FAIL;
    });
}

HRESULT unload(VxAxObjectRef&) { return E_NOTIMPL; }
HRESULT reload(VxAxObjectRef&) { return E_NOTIMPL; }

HRESULT xrefDatabase(VxAxObjectRef& block, IDispatch* app, IVeltDatabase** database)
{
    if (!database) return E_POINTER;
    *database = nullptr;
    return guarded(kBlockIid, [&] {
        kx::VxDbDatabase* side = kx::vxdbXrefDatabase(block.objectId());
        if (!side) return E_FAIL;  // not a loaded reference
        ComPtr<IUnknown> wrapper = ComPtr<IUnknown>::adopt(NkAuGetIUnknownOfDatabase(side, app));
        if (!wrapper) return E_FAIL;
        return wrapper->QueryInterface(__uuidof(IVeltDatabase), reinterpret_cast<void**>(database));
    });
}

HRESULT layout(VxAxObjectRef& block, IDispatch* app, IVeltLayout** layout)
{
    if (!layout) return E_POINTER;
    *layout = nullptr;
    return guarded(kBlockIid, [&]() -> HRESULT {
        VxDbObjectId id;
        {
            OpenedObject<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
            id = record.orThrow()->getLayoutId();
        }
        if (id.isNull()) return E_FAIL;  // not a layout's block
        ComPtr<IUnknown> wrapper;
        VxAxGetIUnknownOfObject(wrapper.put(), id, app);
        if (!wrapper) return E_FAIL;
        return wrapper->QueryInterface(__uuidof(IVeltLayout), reinterpret_cast<void**>(layout));
    });
}

}  // namespace nk::blocks
