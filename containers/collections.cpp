#include "containers/collections.h"
#include "members_gen.h"

#include <cwchar>
#include <memory>
#include <utility>

#include "axsupport/errors.h"
#include "axsupport/values.h"
#include "core/call.h"
#include "core/enum_iterator.h"
#include "core/lookup.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/dictionary.h"
#include "db/group.h"
#include "db/layout.h"
#include "db/objects.h"
#include "db/symtables.h"
#include "frame/com.h"
#include "frame/enum_variant.h"
#include "services/doclock.h"
#include "services/hostservices.h"

namespace nk::collections {

using kx::VxDbDictionary;
using kx::VxDbObjectId;
using kx::VxDbSymbolTable;
using kx::VxDbSymbolTableRecord;
using Records = std::unique_ptr<kx::VxDbSymbolTableIterator>;

const Kind kLayers{__uuidof(IVeltLayers), __uuidof(IVeltLayer), Family::kTable};
const Kind kLinetypes{__uuidof(IVeltLineTypes), __uuidof(IVeltLineType), Family::kTable};
const Kind kTextStyles{__uuidof(IVeltTextStyles), __uuidof(IVeltTextStyle), Family::kTable};
const Kind kDimStyles{__uuidof(IVeltDimStyles), __uuidof(IVeltDimStyle), Family::kTable};
const Kind kUCSs{__uuidof(IVeltUCSs), __uuidof(IVeltUCS), Family::kTable};
const Kind kViews{__uuidof(IVeltViews), __uuidof(IVeltView), Family::kTable};
const Kind kViewports{__uuidof(IVeltViewports), __uuidof(IVeltViewport), Family::kTable};
const Kind kRegisteredApps{__uuidof(IVeltRegisteredApplications), __uuidof(IVeltRegisteredApplication),
                           Family::kTable};
const Kind kBlocks{__uuidof(IVeltBlocks), __uuidof(IVeltBlock), Family::kBlocks};
const Kind kGroups{__uuidof(IVeltGroups), __uuidof(IVeltGroup), Family::kDictionary};
const Kind kDictionaries{__uuidof(IVeltDictionaries), __uuidof(IVeltObject), Family::kDictionary};
const Kind kMaterials{__uuidof(IVeltMaterials), __uuidof(IVeltMaterial), Family::kDictionary};
const Kind kLayouts{__uuidof(IVeltLayouts), __uuidof(IVeltLayout), Family::kDictionary};
const Kind kPlotConfigurations{__uuidof(IVeltPlotConfigurations), __uuidof(IVeltPlotConfiguration),
                               Family::kDictionary};
const Kind kDictionary{__uuidof(IVeltDictionary), __uuidof(IVeltObject), Family::kDictionary};

namespace {

// A walk over the live records of the table, from the first.
Records recordsOf(const VxDbSymbolTable& table)
{
    Records records;
    if (table.newIterator(records) != kx::Velt::eOk || !records) throw kx::Velt::eNoIterator;
    return records;
}

const wchar_t* textOf(BSTR text) { return text ? text : L""; }

// The index argument, read through a reference: a name, or a number as a 32-bit integer.
struct Index {
    bool isName = false;
    std::wstring name;
    LONG position = 0;
    HRESULT coercion = S_OK;  // of a number that is not one
};

Index readIndex(const VARIANT& given)
{
    Index index;
    Variant value;
    HRESULT hr = VariantCopyInd(value.get(), const_cast<VARIANT*>(&given));
    if (FAILED(hr)) {
        index.coercion = hr;
        return index;
    }
    if (value.type() == VT_BSTR) {
        index.isName = true;
        index.name = textOf(V_BSTR(value.get()));
        return index;
    }
    hr = VariantChangeType(value.get(), value.get(), 0, VT_I4);
    if (FAILED(hr)) index.coercion = hr;
    else index.position = V_I4(value.get());
    return index;
}

// The live record at a position, or a null id.
VxDbObjectId recordAt(const VxDbSymbolTable& symbols, LONG position)
{
    Records records = recordsOf(symbols);
    for (LONG n = 0; position >= 0 && !records->done(); records->step(), ++n)
        if (n == position) return records->currentId();
    return {};
}

// Item of a symbol table: the name as the table compares it, or the position among the live
// records.
VxDbObjectId tableItem(VxAxObjectRef& table, const Kind& kind, const VARIANT& given)
{
    OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForRead);
    const VxDbSymbolTable* symbols = opened.orThrow();
    const Index index = readIndex(given);
    if (FAILED(index.coercion)) throw RaiseVxAXException(kind.collection, index.coercion, 0);
    VxDbObjectId id;
    if (index.isName) {
        symbols->getAt(index.name.c_str(), id);
        if (id.isNull()) throw kx::Velt::eKeyNotFound;
        return id;
    }
    id = recordAt(*symbols, index.position);
    if (id.isNull()) throw kx::Velt::eInvalidIndex;
    return id;
}

// Item of the blocks: every miss alike.
VxDbObjectId blockItem(VxAxObjectRef& table, const VARIANT& given)
{
    const Index index = readIndex(given);
    if (!index.isName && FAILED(index.coercion)) throw E_FAIL;
    OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForRead);
    if (!opened.isOpen()) throw E_POINTER;
    VxDbObjectId id;
    if (index.isName) {
        opened->getAt(index.name.c_str(), id);
    } else {
        id = recordAt(*opened.get(), index.position);
    }
    if (id.isNull()) throw E_FAIL;
    return id;
}

// Item of a dictionary: its key, or the position among the live entries.
VxDbObjectId dictionaryItem(VxAxObjectRef& dictionary, const Kind& kind, const VARIANT& given)
{
    OpenedObject<VxDbDictionary> opened(dictionary, kx::VxDb::kForRead);
    const VxDbDictionary* entries = opened.orThrow();
    const Index index = readIndex(given);
    if (FAILED(index.coercion)) throw RaiseVxAXException(kind.collection, index.coercion, 0);
    VxDbObjectId id;
    if (index.isName) {
        check(entries->getAt(index.name.c_str(), id));
    } else {
        if (index.position >= 0 && uint32_t(index.position) >= entries->numEntries()) throw kx::Velt::eInvalidIndex;
        kx::VxDbDictionaryIterator walk(entries->objectId());
        for (LONG n = 0; index.position >= 0 && !walk.done(); walk.next(), ++n) {
            if (n == index.position) {
                id = walk.objectId();
                break;
            }
        }
    }
    if (id.isNull()) throw E_INVALIDARG;
    return id;
}

}  // namespace

HRESULT wrapperAs(VxDbObjectId id, IDispatch* owner, const IID& iid, void** out)
{
    ComPtr<IUnknown> wrapper;
    VxAxGetIUnknownOfObject(wrapper.put(), id, owner);
    if (!wrapper) return E_FAIL;
    return wrapper->QueryInterface(iid, out);
}

HRESULT itemOf(VxAxObjectRef& collection, IDispatch* owner, const Kind& kind, const VARIANT& index, void** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kind.collection, [&]() -> HRESULT {
        VxDbObjectId id;
        switch (kind.family) {
        case Family::kTable: id = tableItem(collection, kind, index); break;
        case Family::kBlocks: id = blockItem(collection, index); break;
        case Family::kDictionary: id = dictionaryItem(collection, kind, index); break;
        }
        return wrapperAs(id, owner, kind.item, out);
    });
}

HRESULT countOf(VxAxObjectRef& collection, const Kind& kind, LONG* count)
{
    if (!count) return E_POINTER;
    *count = 0;
    return guarded(kind.collection, [&] {
        if (kind.family == Family::kDictionary) {
            OpenedObject<VxDbDictionary> opened(collection, kx::VxDb::kForRead);
            *count = LONG(opened.orThrow()->numEntries());
            return S_OK;
        }
        OpenedObject<VxDbSymbolTable> opened(collection, kx::VxDb::kForRead);
        LONG n = 0;
        for (Records records = recordsOf(*opened.orThrow()); !records->done(); records->step()) ++n;
        *count = n;
        return S_OK;
    });
}

HRESULT enumOf(VxAxObjectRef& collection, IDispatch* owner, const Kind& kind, IUnknown** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return guarded(kind.collection, [&] {
        if (kind.family == Family::kDictionary) {
            VxDbObjectId id;
            {
                OpenedObject<VxDbDictionary> opened(collection, kx::VxDb::kForRead);
                id = opened.orThrow()->objectId();
            }
            return EnumVariantBase::create<CEnumEntryIterator<kx::VxDbDictionaryIterator>>(enumerator, owner, id);
        }
        Records records;
        {
            OpenedObject<VxDbSymbolTable> opened(collection, kx::VxDb::kForRead);
            records = recordsOf(*opened.orThrow());
        }
        return EnumVariantBase::create<CEnumTableIterator>(enumerator, owner, std::move(records));
    });
}

// ---- Add of the tables ----

namespace {

// What a table's Add does besides the common add-or-get step.
struct TableAdd {
    const Kind& kind;
    const wchar_t* forbidden = nullptr;  // characters a new name must not hold
    bool lockMustSucceed = false;        // a refused document lock is reported at once
    bool lookUpFirst = false;            // an existing name is returned before anything is made
    bool openFailsAsPointer = false;     // the blocks answer a table that will not open so
};

// Adds a new record made by `make` (from the table open for write) under the name, or hands
// back the record that has the name already.
template <class Make>
HRESULT addRecord(VxAxObjectRef& table, IDispatch* owner, const TableAdd& how, const wchar_t* name, void** out,
                  Make&& make)
{
    return guarded(how.kind.collection, [&]() -> HRESULT {
        kx::VxAxDocLock lock(table.objectId(), kx::VxAxDocLock::kWrite);
        if (how.lockMustSucceed) check(lock.lockStatus());
        VxDbObjectId id;
        {
            OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForWrite);
            if (!opened.isOpen() && how.openFailsAsPointer) return E_POINTER;
            VxDbSymbolTable* symbols = opened.orThrow();
            if (how.lookUpFirst) id = symbols->getIdAt(name);
            if (id.isNull()) {
                std::unique_ptr<VxDbSymbolTableRecord> created = make(*symbols);
                created->setName(name);
                const kx::Velt::ErrorStatus status = symbols->add(id, created.get());
                if (status == kx::Velt::eOk) {
                    created.release()->close();
                } else if (status == kx::Velt::eDuplicateRecordName) {
                    // Adding a name that is taken hands back what has it.
                    symbols->getAt(name, id);
                } else {
                    return E_FAIL;
                }
            }
        }
        return wrapperAs(id, owner, how.kind.item, out);
    });
}

template <class Record>
std::unique_ptr<VxDbSymbolTableRecord> plain(const VxDbSymbolTable&)
{
    return std::make_unique<Record>();
}

// A new record with the settings of the table's record of that name, when there is one.
template <class Record>
std::unique_ptr<VxDbSymbolTableRecord> copyOf(const VxDbSymbolTable& table, const wchar_t* source)
{
    auto made = std::make_unique<Record>();
    Record* original = nullptr;
    if (table.getAt(source, original, kx::VxDb::kForRead) == kx::Velt::eOk) {
        made->copyFrom(original);
        original->close();
    }
    return made;
}

// The first record named "*Active", the viewports shown now; null when there is none.
VxDbObjectId activeViewport(const VxDbSymbolTable& table)
{
    for (Records records = recordsOf(table); !records->done(); records->step()) {
        OpenedObject<VxDbSymbolTableRecord> record(records->currentId(), kx::VxDb::kForRead);
        if (record.isOpen() && kx::vxEqualNoCase(record->name(), L"*Active")) return records->currentId();
    }
    return {};
}

bool hasForbidden(const wchar_t* name, const wchar_t* forbidden)
{
    return forbidden && name[std::wcscspn(name, forbidden)] != L'\0';
}

template <class Out>
HRESULT begin(Out** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return S_OK;
}

}  // namespace

HRESULT addLayer(VxAxObjectRef& table, IDispatch* app, BSTR name, IVeltLayer** out)
{
    if (HRESULT hr = begin(out)) return hr;
    return addRecord(table, app, {kLayers}, textOf(name), reinterpret_cast<void**>(out),
                     plain<kx::VxDbLayerTableRecord>);
}

HRESULT addLinetype(VxAxObjectRef& table, IDispatch* app, BSTR name, IVeltLineType** out)
{
    if (HRESULT hr = begin(out)) return hr;
    const TableAdd how{kLinetypes, kForbiddenLinetypeCharacters};
    if (hasForbidden(textOf(name), how.forbidden)) return E_INVALIDARG;
    return addRecord(table, app, how, textOf(name), reinterpret_cast<void**>(out),
                     plain<kx::VxDbLinetypeTableRecord>);
}

HRESULT addTextStyle(VxAxObjectRef& table, IDispatch* app, BSTR name, IVeltTextStyle** out)
{
    if (HRESULT hr = begin(out)) return hr;
    if (!*textOf(name)) return E_INVALIDARG;  // a style needs a name; nameless ones are shape files
    TableAdd how{kTextStyles};
    how.lookUpFirst = true;
    return addRecord(table, app, how, textOf(name), reinterpret_cast<void**>(out), [](const VxDbSymbolTable& t) {
        return copyOf<kx::VxDbTextStyleTableRecord>(t, L"Standard");
    });
}

HRESULT addDimStyle(VxAxObjectRef& table, IDispatch* app, BSTR name, IVeltDimStyle** out)
{
    if (HRESULT hr = begin(out)) return hr;
    TableAdd how{kDimStyles};
    how.lookUpFirst = true;
    return addRecord(table, app, how, textOf(name), reinterpret_cast<void**>(out), [](const VxDbSymbolTable& t) {
        return copyOf<kx::VxDbDimStyleTableRecord>(t, L"Standard");
    });
}

HRESULT addUCS(VxAxObjectRef& table, IDispatch* app, VARIANT origin, VARIANT xAxisPoint, VARIANT yAxisPoint,
               BSTR name, IVeltUCS** out)
{
    if (HRESULT hr = begin(out)) return hr;
    kx::VxGePoint3d o, px, py;
    HRESULT hr = guarded(kUCSs.collection, [&] {
        o = VxAxPoint3d(origin);
        px = VxAxPoint3d(xAxisPoint);
        py = VxAxPoint3d(yAxisPoint);
        return S_OK;
    });
    if (FAILED(hr)) return hr;
    // The y axis is the part of the second direction square to the first.
    const kx::VxGeVector3d x = px - o;
    kx::VxGeVector3d y = py - o;
    if (x.isZeroLength() || y.isZeroLength() || x.isParallelTo(y)) return E_INVALIDARG;
    const kx::VxGeVector3d unitX = x.normal();
    y = (y - unitX * y.dotProduct(unitX)).normal();
    TableAdd how{kUCSs};
    how.lookUpFirst = true;
    return addRecord(table, app, how, textOf(name), reinterpret_cast<void**>(out), [&](const VxDbSymbolTable&) {
        auto made = std::make_unique<kx::VxDbUCSTableRecord>();
        check(made->setOrigin(o));
        check(made->setXAxis(unitX));
        check(made->setYAxis(y));
        return std::unique_ptr<VxDbSymbolTableRecord>(std::move(made));
    });
}

HRESULT addView(VxAxObjectRef& table, IDispatch* app, BSTR name, IVeltView** out)
{
    if (HRESULT hr = begin(out)) return hr;
    TableAdd how{kViews};
    how.lookUpFirst = true;
    return addRecord(table, app, how, textOf(name), reinterpret_cast<void**>(out), plain<kx::VxDbViewTableRecord>);
}

HRESULT addViewport(VxAxObjectRef& table, IDispatch* app, BSTR name, IVeltViewport** out)
{
    if (HRESULT hr = begin(out)) return hr;
    const wchar_t* text = textOf(name);
    return guarded(kViewports.collection, [&]() -> HRESULT {
        kx::VxAxDocLock lock(table.objectId(), kx::VxAxDocLock::kWrite);
        VxDbObjectId id;
        {
            OpenedObject<VxDbSymbolTable> opened(table, kx::VxDb::kForWrite);
            VxDbSymbolTable* symbols = opened.orThrow();
            const VxDbObjectId active = activeViewport(*symbols);
            if (kx::vxEqualNoCase(text, L"*Active") && !active.isNull()) {
                id = active;
            } else {
                // A new configuration starts as a copy of the active one (defaults without one).
                auto made = std::make_unique<kx::VxDbViewportTableRecord>();
                if (!active.isNull()) {
                    OpenedObject<kx::VxDbViewportTableRecord> source(active, kx::VxDb::kForRead);
                    if (source.isOpen()) made->copyFrom(source.get());
                }
                made->setName(text);
                if (symbols->add(id, made.get()) == kx::Velt::eOk) made.release()->close();
            }
        }
        return wrapperAs(id, app, kViewports.item, reinterpret_cast<void**>(out));
    });
}

HRESULT addRegisteredApplication(VxAxObjectRef& table, IDispatch* app, BSTR name, IVeltRegisteredApplication** out)
{
    if (HRESULT hr = begin(out)) return hr;
    TableAdd how{kRegisteredApps};
    how.lockMustSucceed = true;
    return addRecord(table, app, how, textOf(name), reinterpret_cast<void**>(out),
                     plain<kx::VxDbRegAppTableRecord>);
}

HRESULT addBlock(VxAxObjectRef& table, IDispatch* app, VARIANT insertionPoint, BSTR name, IVeltBlock** out)
{
    if (HRESULT hr = begin(out)) return hr;
    kx::VxGePoint3d origin;
    HRESULT hr = guarded(kBlocks.collection, [&] {
        origin = VxAxPoint3d(insertionPoint);
        return S_OK;
    });
    if (FAILED(hr)) return hr;
    TableAdd how{kBlocks};
    how.lockMustSucceed = true;
    how.openFailsAsPointer = true;
    return addRecord(table, app, how, textOf(name), reinterpret_cast<void**>(out), [&](const VxDbSymbolTable&) {
        auto made = std::make_unique<kx::VxDbBlockTableRecord>();
        check(made->setOrigin(origin));
        return std::unique_ptr<VxDbSymbolTableRecord>(std::move(made));
    });
}

HRESULT generateUsageData(VxAxObjectRef& layers)
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
        check(database->loadLineTypeFile(textOf(name), textOf(file)));
        return S_OK;
    });
}

HRESULT deleteConfiguration(VxAxObjectRef& viewports, BSTR name)
{
    const wchar_t* text = textOf(name);
    // The configuration on the screen stays.
    if (kx::vxEqualNoCase(text, L"*Active")) return E_INVALIDARG;
    return guarded(kViewports.collection, [&] {
        kx::VxAxDocLock lock(viewports.objectId(), kx::VxAxDocLock::kWrite);
        OpenedObject<VxDbSymbolTable> table(viewports, kx::VxDb::kForWrite);
        VxDbSymbolTable* symbols = table.orThrow();
        if (symbols->getIdAt(text).isNull()) throw kx::Velt::eKeyNotFound;
        // A configuration split into several viewports goes as a whole.
        for (VxDbObjectId id = symbols->getIdAt(text); !id.isNull(); id = symbols->getIdAt(text)) {
            OpenedObject<VxDbSymbolTableRecord> record(id, kx::VxDb::kForWrite);
            check(record.orThrow()->erase());
        }
        return S_OK;
    });
}

// ---- Add of the named dictionaries ----

namespace {

// Keys of the named dictionaries: 1 ... 255 characters; null for a name that is no key.
const wchar_t* keyOf(BSTR name)
{
    constexpr size_t kMaxKey = 255;
    const wchar_t* key = textOf(name);
    const size_t length = std::wcslen(key);
    return length == 0 || length > kMaxKey ? nullptr : key;
}

// The entry of the key, or a new object made by `make` stored under it (through `store`
// when the object has its own way in).
template <class Make>
HRESULT addEntry(VxAxObjectRef& dictionary, IDispatch* owner, const Kind& kind, BSTR name, void** out, Make&& make)
{
    const wchar_t* key = keyOf(name);
    if (!key) return E_INVALIDARG;
    return guarded(kind.collection, [&]() -> HRESULT {
        kx::VxAxDocLock lock(dictionary.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId id;
        {
            OpenedObject<VxDbDictionary> opened(dictionary, kx::VxDb::kForWrite);
            VxDbDictionary* entries = opened.orThrow();
            id = entries->getIdAt(key);
            if (id.isNull()) id = make(*entries, key);
        }
        return wrapperAs(id, owner, kind.item, out);
    });
}

// Stores a new object under the key of a dictionary open for write.
VxDbObjectId store(VxDbDictionary& entries, const wchar_t* key, std::unique_ptr<kx::VxDbObject> made)
{
    VxDbObjectId id;
    check(entries.setAt(key, made.get(), id));
    made.release()->close();
    return id;
}

}  // namespace

HRESULT addGroup(VxAxObjectRef& groups, IDispatch* app, BSTR name, IVeltGroup** out)
{
    if (HRESULT hr = begin(out)) return hr;
    return addEntry(groups, app, kGroups, name, reinterpret_cast<void**>(out),
                    [](VxDbDictionary& entries, const wchar_t* key) {
                        return store(entries, key, std::make_unique<kx::VxDbGroup>());
                    });
}

HRESULT addDictionary(VxAxObjectRef& dictionaries, IDispatch* app, BSTR name, IVeltDictionary** out)
{
    if (HRESULT hr = begin(out)) return hr;
    return addEntry(dictionaries, app, kDictionaries, name, reinterpret_cast<void**>(out),
                    [](VxDbDictionary& entries, const wchar_t* key) {
                        return store(entries, key, std::make_unique<VxDbDictionary>());
                    });
}

HRESULT addMaterial(VxAxObjectRef& materials, IDispatch* app, BSTR name, IVeltMaterial** out)
{
    if (HRESULT hr = begin(out)) return hr;
    return addEntry(materials, app, kMaterials, name, reinterpret_cast<void**>(out),
                    [](VxDbDictionary& entries, const wchar_t* key) {
                        auto made = std::make_unique<kx::VxDbMaterial>();
                        check(made->setName(key));
                        return store(entries, key, std::move(made));
                    });
}

HRESULT addLayout(VxAxObjectRef& layouts, IDispatch* app, BSTR name, IVeltLayout** out)
{
    if (HRESULT hr = begin(out)) return hr;
    const wchar_t* key = keyOf(name);
    if (!key) return E_INVALIDARG;
    return guarded(kLayouts.collection, [&]() -> HRESULT {
        kx::VxAxDocLock lock(layouts.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId id;
        {
            OpenedObject<VxDbDictionary> opened(layouts, kx::VxDb::kForRead);
            id = opened.orThrow()->getIdAt(key);
        }
        if (id.isNull()) {
            // The layout manager makes the layout with its block and its tab.
            VxDbObjectId block;
            check(kx::vxdbHostApplicationServices()->layoutManager()->createLayout(key, id, block,
                                                                                  layouts.objectId().database()));
        }
        return wrapperAs(id, app, kLayouts.item, reinterpret_cast<void**>(out));
    });
}

HRESULT addPlotConfiguration(VxAxObjectRef& configurations, IDispatch* app, BSTR name, VARIANT modelType,
                             IVeltPlotConfiguration** out)
{
    if (HRESULT hr = begin(out)) return hr;
    const wchar_t* key = keyOf(name);
    if (!key) return E_INVALIDARG;
    // Model space's settings when asked for; a layout's when the argument is missing.
    bool model = false;
    if (!(V_VT(&modelType) == VT_ERROR && V_ERROR(&modelType) == DISP_E_PARAMNOTFOUND)) {
        Variant flag;
        if (FAILED(VariantChangeType(flag.get(), &modelType, 0, VT_BOOL))) return E_INVALIDARG;
        model = V_BOOL(flag.get()) == VARIANT_TRUE;
    }
    return guarded(kPlotConfigurations.collection, [&]() -> HRESULT {
        kx::VxAxDocLock lock(configurations.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId id;
        {
            OpenedObject<VxDbDictionary> opened(configurations, kx::VxDb::kForWrite);
            VxDbDictionary* entries = opened.orThrow();
            auto made = std::make_unique<kx::VxDbPlotSettings>(model);
            check(made->setPlotSettingsName(key));
            // A configuration of that name is replaced.
            id = store(*entries, key, std::move(made));
        }
        return wrapperAs(id, app, kPlotConfigurations.item, reinterpret_cast<void**>(out));
    });
}

}  // namespace nk::collections
