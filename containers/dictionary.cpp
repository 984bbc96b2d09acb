// The members of dictionaries, extended records and groups that are written by hand; the
// others are declared in containers/dictionary.members.
#include "containers/collections.h"
#include "members_gen.h"

#include <algorithm>
#include <memory>
#include <string>

#include "axsupport/conversions.h"
#include "core/call.h"
#include "core/enum_iterator.h"
#include "core/entity_ops.h"
#include "core/xdata.h"
#include "db/blocks.h"
#include "db/dictionary.h"
#include "db/entity.h"
#include "db/group.h"
#include "db/objects.h"
#include "db/sortents.h"
#include "db/symtables.h"
#include "frame/com.h"
#include "rx/rxobject.h"
#include "services/doclock.h"

namespace nk {
namespace {

using kx::VxDbDictionary;
using kx::VxDbObjectId;

const IID& kDictionaryIid = __uuidof(IVeltDictionary);
const IID& kGroupIid = __uuidof(IVeltGroup);

const wchar_t* textOf(BSTR text) { return text ? text : L""; }

// The id of the object behind a wrapper a client passed in; E_INVALIDARG for anything else.
VxDbObjectId idOfObject(IUnknown* wrapper)
{
    if (!wrapper) throw E_INVALIDARG;
    ComPtr<IVeltBaseObject> base;
    if (FAILED(wrapper->QueryInterface(__uuidof(IVeltBaseObject), base.putVoid())) || !base) throw E_INVALIDARG;
    VxDbObjectId id;
    if (FAILED(base->GetObjectId(&id)) || id.isNull()) throw E_INVALIDARG;
    return id;
}

// The entities of an array of wrappers; anything that is no live entity of the drawing:
// E_INVALIDARG.
kx::VxDbObjectIdArray entitiesOf(const VARIANT& objects, kx::VxDbDatabase* db)
{
    VxArray<VxDbObjectId> listed;
    NkAuToArray(objects, listed);
    kx::VxDbObjectIdArray ids;
    for (int i = 0; i < listed.length(); ++i) {
        const VxDbObjectId id = listed[i];
        if (id.database() != db) throw E_INVALIDARG;
        OpenedObject<kx::VxDbEntity> entity(id, kx::VxDb::kForRead);
        if (!entity.isOpen()) throw E_INVALIDARG;
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    }
    return ids;
}

// The class a dictionary may make by name: "Vx" in front reads as "Kx"; null for a name that
// is no class, a class that makes nothing, and classes that live elsewhere than in
// dictionaries (entities, tables and their records).
const kx::VxRxClass* storableClass(std::wstring name)
{
    if (name.compare(0, 2, L"Vx") == 0) name.replace(0, 2, L"Kx");
    const kx::VxRxClass* cls = kx::VxRxClass::cast(kx::vxrxClassDictionary()->at(name.c_str()));
    if (!cls || !cls->isDerivedFrom(kx::VxDbObject::desc())) return nullptr;
    for (const kx::VxRxClass* kind : {kx::VxDbEntity::desc(), kx::VxDbSymbolTable::desc(),
                                      kx::VxDbSymbolTableRecord::desc()})
        if (cls->isDerivedFrom(kind)) return nullptr;
    return cls;
}

}  // namespace

// ---- the key of a dictionary's entry ----

namespace dictionaries {

HRESULT keyName(VxAxObjectRef& target, BSTR* out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDictionaryIid, [&] {
        VxDbObjectId owner;
        {
            OpenedObject<> object(target, kx::VxDb::kForRead);
            owner = object.orThrow()->ownerId();
        }
        std::wstring key;
        OpenedObject<VxDbDictionary> dictionary(owner, kx::VxDb::kForRead);
        if (dictionary.isOpen()) dictionary->nameAt(target.objectId(), key);
        conv::Text::out(key, out);
        return S_OK;
    });
}

HRESULT setKeyName(VxAxObjectRef& target, BSTR name)
{
    return guarded(kDictionaryIid, [&] {
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId owner;
        {
            OpenedObject<> object(target, kx::VxDb::kForRead);
            owner = object.orThrow()->ownerId();
        }
        OpenedObject<VxDbDictionary> dictionary(owner, kx::VxDb::kForWrite);
        std::wstring key;
        if (!dictionary.isOpen() || dictionary->nameAt(target.objectId(), key) != kx::Velt::eOk)
            throw kx::Velt::eInvalidOwner;
        check(dictionary->setName(key.c_str(), textOf(name)));
        return S_OK;
    });
}

// ---- dictionaries ----

HRESULT addObject(VxAxObjectRef& target, IDispatch* app, BSTR keyword, BSTR className, IVeltObject** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDictionaryIid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId id, owner;
        {
            OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForRead);
            if (!dictionary.isOpen()) return E_POINTER;
            id = dictionary->getIdAt(textOf(keyword));
            owner = dictionary->ownerId();
        }
        if (id.isNull()) {
            const kx::VxRxClass* cls = storableClass(textOf(className));
            if (!cls) return E_POINTER;
            std::unique_ptr<kx::VxRxObject> made(cls->create());
            auto* object = kx::VxDbObject::cast(made.get());
            if (!object) return E_POINTER;
            // A block's draw order lives in the block's extension dictionary.
            if (auto* sorting = kx::VxDbSortentsTable::cast(object)) {
                OpenedObject<kx::VxDbBlockTableRecord> block(owner, kx::VxDb::kForRead);
                if (!block.isOpen() || block->extensionDictionary() != target.objectId()) return E_POINTER;
                check(sorting->setBlockId(owner));
            }
            OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForWrite);
            if (!dictionary.isOpen()) return E_POINTER;
            check(dictionary->setAt(textOf(keyword), object, id));
            made.release();
            object->close();
        }
        return collections::wrapperAs(id, app, __uuidof(IVeltObject), reinterpret_cast<void**>(out));
    });
}

HRESULT getObject(VxAxObjectRef& target, IDispatch* app, BSTR name, IVeltObject** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDictionaryIid, [&] {
        VxDbObjectId id;
        {
            OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForRead);
            check(dictionary.orThrow()->getAt(textOf(name), id));
        }
        return collections::wrapperAs(id, app, __uuidof(IVeltObject), reinterpret_cast<void**>(out));
    });
}

HRESULT getName(VxAxObjectRef& target, IVeltObject* object, BSTR* out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDictionaryIid, [&] {
        const VxDbObjectId id = idOfObject(object);
        OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForRead);
        std::wstring key;
        if (!dictionary.orThrow()->has(id)) throw kx::Velt::eKeyNotFound;
        check(dictionary->nameAt(id, key));
        conv::Text::out(key, out);
        return S_OK;
    });
}

HRESULT remove(VxAxObjectRef& target, IDispatch* app, BSTR name, IVeltObject** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDictionaryIid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId removed;
        {
            OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForWrite);
            if (!dictionary.isOpen()) return E_POINTER;
            check(dictionary->remove(textOf(name), removed));
        }
        return collections::wrapperAs(removed, app, __uuidof(IVeltObject), reinterpret_cast<void**>(out));
    });
}

HRESULT rename(VxAxObjectRef& target, BSTR oldName, BSTR newName)
{
    return guarded(kDictionaryIid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForWrite);
        if (!dictionary.isOpen()) return E_POINTER;
        const VxDbObjectId taken = dictionary->getIdAt(textOf(newName));
        if (!taken.isNull() && taken != dictionary->getIdAt(textOf(oldName))) throw kx::Velt::eDuplicateKey;
        if (dictionary->setName(textOf(oldName), textOf(newName)) != kx::Velt::eOk) throw kx::Velt::eKeyNotFound;
        return S_OK;
    });
}

HRESULT replace(VxAxObjectRef& target, BSTR oldName, IVeltObject* object)
{
    if (!object) return E_POINTER;
    return guarded(kDictionaryIid, [&]() -> HRESULT {
        const VxDbObjectId id = idOfObject(object);
        if (id.database() != target.objectId().database()) return E_INVALIDARG;
        {
            // Objects of blocks and tables stay where they are.
            OpenedObject<> replacement(id, kx::VxDb::kForRead);
            if (!replacement.isOpen()) return E_INVALIDARG;
            const VxDbObjectId owner = replacement->ownerId();
            if (!owner.isNull() && !VxDbDictionary::cast(kx::detail::objectOf(owner))) return E_INVALIDARG;
            if (kx::VxDbEntity::cast(replacement.get()) || kx::VxDbSymbolTableRecord::cast(replacement.get()))
                return E_INVALIDARG;
        }
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForWrite);
        if (!dictionary.isOpen()) return E_POINTER;
        if (dictionary->getIdAt(textOf(oldName)).isNull()) throw kx::Velt::eKeyNotFound;
        // The object moves in; it must be open for none but this call's own reads.
        OpenedObject<> replacement(id, kx::VxDb::kForWrite);
        VxDbObjectId stored;
        check(dictionary->setAt(textOf(oldName), replacement.orThrow(), stored));
        return S_OK;
    });
}

HRESULT addXRecord(VxAxObjectRef& target, IDispatch* app, BSTR keyword, IVeltXRecord** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kDictionaryIid, [&] {
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        VxDbObjectId id;
        {
            OpenedObject<VxDbDictionary> dictionary(target, kx::VxDb::kForWrite);
            VxDbDictionary* entries = dictionary.orThrow();
            id = entries->getIdAt(textOf(keyword));
            if (!id.isNull()) {
                OpenedObject<kx::VxDbXrecord> existing(id, kx::VxDb::kForRead);
                if (!existing.isOpen()) throw kx::Velt::eDuplicateKey;
            } else {
                auto made = std::make_unique<kx::VxDbXrecord>();
                check(entries->setAt(textOf(keyword), made.get(), id));
                made.release()->close();
            }
        }
        return collections::wrapperAs(id, app, __uuidof(IVeltXRecord), reinterpret_cast<void**>(out));
    });
}

}  // namespace dictionaries

// ---- extended records ----

namespace xrecords {

HRESULT getData(VxAxObjectRef& target, VARIANT* types, VARIANT* values)
{
    if (!types || !values) return E_POINTER;
    VariantInit(types);
    VariantInit(values);
    OpenedObject<kx::VxDbXrecord> record(target, kx::VxDb::kForRead);
    if (!record.isOpen()) return E_POINTER;
    return guarded(__uuidof(IVeltXRecord), [&] {
        kx::VxResBuf* chain = nullptr;
        check(record->rbChain(chain));
        kx::VxResBufPtr owned(chain);
        Variant codes, data;
        chainToVariants(owned.get(), codes.get(), data.get());
        codes.detachTo(types);
        data.detachTo(values);
        return S_OK;
    });
}

HRESULT setData(VxAxObjectRef& target, VARIANT types, VARIANT values)
{
    return guarded(__uuidof(IVeltXRecord), [&] {
        kx::VxResBufPtr chain = variantsToChain(types, values);
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbXrecord> record(target, kx::VxDb::kForWrite);
        check(record.orThrow()->setFromRbChain(chain.get()));
        return S_OK;
    });
}

}  // namespace xrecords

// ---- groups ----

namespace groups {

HRESULT item(VxAxObjectRef& target, IDispatch* app, VARIANT index, IVeltEntity** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    Variant position;
    if (FAILED(VariantChangeType(position.get(), &index, 0, VT_I4))) return E_INVALIDARG;
    const LONG wanted = V_I4(position.get());
    return guarded(kGroupIid, [&] {
        VxDbObjectId id;
        {
            OpenedObject<kx::VxDbGroup> group(target, kx::VxDb::kForRead);
            const kx::VxDbObjectIdArray members = group.orThrow()->allEntityIds();
            if (wanted < 0 || size_t(wanted) >= members.size()) return E_INVALIDARG;
            id = members[size_t(wanted)];
        }
        return collections::wrapperAs(id, app, __uuidof(IVeltEntity), reinterpret_cast<void**>(out));
    });
}

HRESULT newEnum(VxAxObjectRef& target, IDispatch* app, IUnknown** enumerator)
{
    if (!enumerator) return E_POINTER;
    *enumerator = nullptr;
    return guarded(kGroupIid, [&] {
        VxDbObjectId id;
        {
            OpenedObject<kx::VxDbGroup> group(target, kx::VxDb::kForRead);
            id = group.orThrow()->objectId();
        }
        return EnumVariantBase::create<CEnumEntryIterator<kx::VxDbGroupIterator>>(enumerator, app, id);
    });
}

HRESULT setTrueColor(VxAxObjectRef& target, IVeltVxCmColor* color)
{
    if (!color) return E_POINTER;
    return StatusAccess<IVeltGroup, kx::VxDbGroup>::write(
        target, [&] { return NkAuToCmColor(color); },
        [](kx::VxDbGroup& group, const kx::VxCmColor& value) { return group.setColor(value); });
}

namespace {

// Applies an entity member to each member of the group; the first failure is reported
// after every member was tried.
template <class Apply>
HRESULT eachMember(VxAxObjectRef& target, Apply&& apply)
{
    kx::VxDbObjectIdArray members;
    HRESULT hr = guarded(kGroupIid, [&] {
        OpenedObject<kx::VxDbGroup> group(target, kx::VxDb::kForRead);
        members = group.orThrow()->allEntityIds();
        return S_OK;
    });
    if (FAILED(hr)) return hr;
    HRESULT first = S_OK;
    for (VxDbObjectId id : members) {
        hr = apply(id);
        if (FAILED(hr) && SUCCEEDED(first)) first = hr;
    }
    return first;
}

}  // namespace

HRESULT setPlotStyleName(VxAxObjectRef& target, BSTR name)
{
    return eachMember(target, [&](VxDbObjectId id) { return VxAxPutPlotStyleName(id, name); });
}

HRESULT setLineweight(VxAxObjectRef& target, VELT_LWEIGHT weight)
{
    return eachMember(target, [&](VxDbObjectId id) { return VxAxPutLineWeight(id, weight); });
}

HRESULT update(VxAxObjectRef& target)
{
    // Members that cannot be drawn are passed over.
    eachMember(target, [](VxDbObjectId id) { return VxAxUpdate(id); });
    return guarded(kGroupIid, [&] {
        OpenedObject<kx::VxDbGroup> group(target, kx::VxDb::kForRead);
        group.orThrow();
        return S_OK;
    });
}

HRESULT setName(VxAxObjectRef& target, BSTR name) { return dictionaries::setKeyName(target, name); }

HRESULT appendItems(VxAxObjectRef& target, VARIANT objects)
{
    return guarded(kGroupIid, [&] {
        kx::VxDbObjectIdArray ids = entitiesOf(objects, target.objectId().database());
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbGroup> group(target, kx::VxDb::kForWrite);
        kx::VxDbGroup* members = group.orThrow();
        ids.erase(std::remove_if(ids.begin(), ids.end(), [&](VxDbObjectId id) { return members->has(id); }),
                  ids.end());
        if (!ids.empty()) check(members->append(ids));
        return S_OK;
    });
}

HRESULT removeItems(VxAxObjectRef& target, VARIANT objects)
{
    return guarded(kGroupIid, [&] {
        const kx::VxDbObjectIdArray ids = entitiesOf(objects, target.objectId().database());
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<kx::VxDbGroup> group(target, kx::VxDb::kForWrite);
        kx::VxDbGroup* members = group.orThrow();
        for (VxDbObjectId id : ids)
            if (!members->has(id)) return E_INVALIDARG;
        check(members->remove(ids));
        return S_OK;
    });
}

}  // namespace groups

}  // namespace nk
