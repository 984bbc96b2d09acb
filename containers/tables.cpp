#include "containers/tables.h"

#include <cwchar>
#include <memory>
#include <utility>

#include "axsupport/errors.h"
#include "core/call.h"
#include "core/lookup.h"
#include "core/enum_iterator.h"
#include "db/database.h"
#include "db/symtables.h"
#include "frame/com.h"
#include "frame/enum_variant.h"
#include "services/doclock.h"

namespace nk::tables {

using kx::VxDbObjectId;
using kx::VxDbSymbolTable;
using kx::VxDbSymbolTableRecord;
using Records = std::unique_ptr<kx::VxDbSymbolTableIterator>;

template <class Record>
VxDbSymbolTableRecord* make()
{
    return new Record;
}

const Kind kLayers{__uuidof(IVeltLayers), __uuidof(IVeltLayer), &make<kx::VxDbLayerTableRecord>, nullptr, false};
const Kind kLinetypes{__uuidof(IVeltLineTypes), __uuidof(IVeltLineType), &make<kx::VxDbLinetypeTableRecord>,
                      L"<>/\\?*:;,|=`\"", false};
const Kind kRegisteredApps{__uuidof(IVeltRegisteredApplications), __uuidof(IVeltRegisteredApplication),
                           &make<kx::VxDbRegAppTableRecord>, nullptr, true};

namespace {

// A walk over the live records of the table, from the first.
Records recordsOf(const VxDbSymbolTable& table)
{
    Records records;
    if (table.newIterator(records) != kx::Velt::eOk || !records) throw kx::Velt::eNoIterator;
    return records;
}

// The record's wrapper for the collection's owner, as the record interface.
HRESULT wrapperOf(VxDbObjectId id, IDispatch* owner, const Kind& kind, void** record)
{
    ComPtr<IUnknown> wrapper;
    VxAxGetIUnknownOfObject(wrapper.put(), id, owner);
    if (!wrapper) return E_FAIL;
    return wrapper->QueryInterface(kind.record, record);
}

}  // namespace

HRESULT item(VxAxObjectRef& table, IDispatch* owner, const Kind& kind, const VARIANT& index, void** record)
{
    if (!record) return E_POINTER;
    *record = nullptr;
    return guarded(kind.collection, [&]() -> HRESULT {
        OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForRead);
        const VxDbSymbolTable* symbols = opened.orThrow();
        Variant value;
        HRESULT hr = VariantCopyInd(value.get(), const_cast<VARIANT*>(&index));
        if (FAILED(hr)) return RaiseVxAXException(kind.collection, hr, 0);

        VxDbObjectId id;
        if (V_VT(value.get()) == VT_BSTR) {
            // The table decides how names compare.
            symbols->getAt(V_BSTR(value.get()) ? V_BSTR(value.get()) : L"", id);
            if (id.isNull()) throw kx::Velt::eKeyNotFound;
        } else {
            hr = VariantChangeType(value.get(), value.get(), 0, VT_I4);
            if (FAILED(hr)) return RaiseVxAXException(kind.collection, hr, 0);
            const LONG wanted = V_I4(value.get());
            Records records = recordsOf(*symbols);
            for (LONG n = 0; wanted >= 0 && !records->done(); records->step(), ++n) {
                if (n == wanted) {
                    id = records->currentId();
                    break;
                }
            }
            if (id.isNull()) throw kx::Velt::eInvalidIndex;
        }
        opened.close();
        return wrapperOf(id, owner, kind, record);
    });
}

HRESULT count(VxAxObjectRef& table, const Kind& kind, LONG* count)
{
    if (!count) return E_POINTER;
    *count = 0;
    return guarded(kind.collection, [&] {
        OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForRead);
        LONG n = 0;
        for (Records records = recordsOf(*opened.orThrow()); !records->done(); records->step()) ++n;
        *count = n;
        return S_OK;
    });
}

HRESULT newEnum(VxAxObjectRef& table, IDispatch* owner, const Kind& kind, IUnknown** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return guarded(kind.collection, [&] {
        Records records;
        {
            OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForRead);
            records = recordsOf(*opened.orThrow());
        }
        return EnumVariantBase::create<CEnumTableIterator>(enumerator, owner, std::move(records));
    });
}

HRESULT add(VxAxObjectRef& table, IDispatch* owner, const Kind& kind, BSTR name, void** record)
{
    if (!record) return E_POINTER;
    *record = nullptr;
    const wchar_t* text = name ? name : L"";
    if (kind.forbidden && text[std::wcscspn(text, kind.forbidden)] != L'\0') return E_INVALIDARG;
    return guarded(kind.collection, [&]() -> HRESULT {
        kx::VxAxDocLock lock(table.objectId(), kx::VxAxDocLock::kWrite);
        if (kind.lockMustSucceed) check(lock.lockStatus());
        VxDbObjectId id;
        {
            OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForWrite);
            VxDbSymbolTable* symbols = opened.orThrow();
            std::unique_ptr<VxDbSymbolTableRecord> created(kind.makeRecord());
            created->setName(text);
            const kx::Velt::ErrorStatus status = symbols->add(id, created.get());
            if (status == kx::Velt::eOk) {
                created.release()->close();
            } else if (status == kx::Velt::eDuplicateRecordName) {
                // Adding a name that is taken hands back what has it.
                symbols->getAt(text, id);
            } else {
                return E_FAIL;
            }
        }
        return wrapperOf(id, owner, kind, record);
    });
}

HRESULT generateLayerUsage(VxAxObjectRef& layers)
{
    return guarded(kLayers.collection, [&] {
        kx::VxAxDocLock lock(layers.objectId(), kx::VxAxDocLock::kWrite);
        OpenedObject<kx::VxDbLayerTable> table(layers, kx::VxDb::kForRead);
        check(table.orThrow()->generateUsageData());
        return S_OK;
    });
}

HRESULT loadLinetype(VxAxObjectRef& linetypes, BSTR name, BSTR file)
{
    return guarded(kLinetypes.collection, [&] {
        kx::VxAxDocLock lock(linetypes.objectId(), kx::VxAxDocLock::kWrite);
        kx::VxDbDatabase* database = linetypes.objectId().database();
        if (!database || !linetypes.objectId().isValid()) throw kx::Velt::eNullObjectId;
        check(database->loadLineTypeFile(name ? name : L"", file ? file : L""));
        return S_OK;
    });
}

}  // namespace nk::tables
