// The members of block references that are more than one value of the reference: its block
// by name, its attributes, exploding, the effective scales and the blocks it can be moved to.
#include <vector>

#include "containers/append.h"
#include "core/lookup.h"
#include "db/clone.h"
#include "db/database.h"
#include "frame/com.h"
#include "members_gen.h"

namespace nk::refs {
namespace {

using Reference = OwnAccess<IVeltBlockReference, kx::VxDbBlockReference>;
using kx::VxDbBlockTableRecord;
using kx::VxDbObjectId;

// Ids read from the reference (or its block) under a read open.
template <class Collect>
HRESULT answerWrappers(VxAxObjectRef& ref, IDispatch* app, VARIANT* out, Collect&& collect)
{
    if (!out) return E_POINTER;
    VariantInit(out);
    return guarded(__uuidof(IVeltBlockReference), [&]() -> HRESULT {
        std::vector<VxDbObjectId> ids;
        {
            OpenedObject<kx::VxDbBlockReference> reference(ref, kx::VxDb::kForRead);
            if (!reference.isOpen()) return E_POINTER;
            collect(*reference.get(), ids);
        }
        return wrapperArrayOf(ids, app, out);
    });
}

std::vector<VxDbObjectId> constantDefinitions(const kx::VxDbBlockReference& reference)
{
    std::vector<VxDbObjectId> ids;
    kx::VxDbObjectPointer<VxDbBlockTableRecord> block(reference.blockTableRecord(), kx::VxDb::kForRead);
    if (!block) return ids;
    for (VxDbObjectId id : block->entityIds()) {
        kx::VxDbObjectPointer<kx::VxDbAttributeDefinition> definition(id, kx::VxDb::kForRead);
        if (definition && definition->isConstant()) ids.push_back(id);
    }
    return ids;
}

std::vector<VxDbObjectId> liveAttributes(const kx::VxDbBlockReference& reference)
{
    std::vector<VxDbObjectId> ids;
    for (VxDbObjectId id : reference.attributeIds())
        if (!id.isErased()) ids.push_back(id);
    return ids;
}

std::wstring blockName(VxDbObjectId block)
{
    kx::VxDbObjectPointer<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
    return record ? record->name() : std::wstring();
}

// The block's units in the drawing's.
double unitsFactor(const kx::VxDbBlockReference& reference)
{
    kx::VxDbObjectPointer<VxDbBlockTableRecord> block(reference.blockTableRecord(), kx::VxDb::kForRead);
    const kx::VxDbDatabase* db = reference.database();
    if (!block || !db) return 1.0;
    return kx::vxdbUnitsConversion(block->blockInsertUnits(), db->insunits());
}

// A new block of the drawing with the entities of another, copied.
VxDbObjectId copyOfBlock(kx::VxDbDatabase& db, VxDbObjectId source, const wchar_t* name)
{
    std::vector<VxDbObjectId> entities;
    auto record = std::make_unique<VxDbBlockTableRecord>();
    {
        kx::VxDbObjectPointer<VxDbBlockTableRecord> original(source, kx::VxDb::kForRead);
        check(original.openStatus());
        if (original->isLayout() || original->isFromExternalReference()) throw E_INVALIDARG;
        for (VxDbObjectId id : original->entityIds())
            if (!id.isErased()) entities.push_back(id);
        check(record->setOrigin(original->origin()));
        check(record->setBlockInsertUnits(original->blockInsertUnits()));
    }
    check(record->setName(name));
    VxDbObjectId made;
    {
        kx::VxDbObjectPointer<kx::VxDbBlockTable> table(db.blockTableId(), kx::VxDb::kForWrite);
        check(table.openStatus());
        check(table->add(made, record.get()));
        record.release()->close();
    }
    if (!entities.empty()) {
        kx::VxDbIdMapping map;
        check(db.deepCloneObjects(entities, made, map));
    }
    return made;
}

HRESULT moveToCopy(VxAxObjectRef& ref, const wchar_t* name)
{
    return member::call<Reference>(ref, [&](kx::VxDbBlockReference& reference) {
        kx::VxDbDatabase* db = reference.database();
        if (!db) throw kx::Velt::eNoDatabase;
        return reference.setBlockTableRecord(copyOfBlock(*db, reference.blockTableRecord(), name));
    });
}

}  // namespace

HRESULT name(VxAxObjectRef& ref, BSTR* out)
{
    return member::get<Reference, conv::Text>(ref, out, [](const kx::VxDbBlockReference& r) {
        return blockName(r.blockTableRecord());
    });
}

HRESULT setName(VxAxObjectRef& ref, BSTR value)
{
    return member::put<Reference, conv::Text>(ref, value, [](kx::VxDbBlockReference& r, const wchar_t* name) {
        kx::VxDbDatabase* db = r.database();
        if (!db) throw kx::Velt::eNoDatabase;
        const VxDbObjectId block = db->blockId(name);
        if (block.isNull()) throw kx::Velt::eKeyNotFound;
        kx::VxDbObjectPointer<VxDbBlockTableRecord> record(block, kx::VxDb::kForRead);
        if (record && record->isLayout()) throw E_INVALIDARG;
        return r.setBlockTableRecord(block);
    });
}

// The block's entities where the reference shows them, added beside it; the reference stays.
HRESULT explode(VxAxObjectRef& ref, IDispatch* app, VARIANT* entities)
{
    if (!entities) return E_POINTER;
    VariantInit(entities);
    return guarded(__uuidof(IVeltBlockReference), [&]() -> HRESULT {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        std::vector<NewEntity> made;
        VxDbObjectId owner;
        {
            OpenedObject<kx::VxDbBlockReference> reference(ref, kx::VxDb::kForRead);
            if (!reference.isOpen()) return E_POINTER;
            if (!reference->isResident()) throw kx::Velt::eNotInDatabase;
            std::vector<kx::VxDbEntity*> raw;
            const kx::Velt::ErrorStatus es = reference->explode(raw);
            for (kx::VxDbEntity* e : raw) made.emplace_back(e);
            check(es);
            owner = reference->ownerId();
        }
        return appendWithWrappers(owner, std::move(made), app, entities);
    });
}

HRESULT getAttributes(VxAxObjectRef& ref, IDispatch* app, VARIANT* attributes)
{
    return answerWrappers(ref, app, attributes, [](const kx::VxDbBlockReference& r, std::vector<VxDbObjectId>& ids) {
        ids = liveAttributes(r);
    });
}

// The block's constant attribute definitions: their values are the same in every reference.
HRESULT getConstantAttributes(VxAxObjectRef& ref, IDispatch* app, VARIANT* attributes)
{
    return answerWrappers(ref, app, attributes, [](const kx::VxDbBlockReference& r, std::vector<VxDbObjectId>& ids) {
        ids = constantDefinitions(r);
    });
}

HRESULT hasAttributes(VxAxObjectRef& ref, VARIANT_BOOL* has)
{
    return member::get<Reference, conv::Bool>(ref, has, [](const kx::VxDbBlockReference& r) {
        return !liveAttributes(r).empty() || !constantDefinitions(r).empty();
    });
}

// Without dynamic blocks a reference's effective block is its own.
HRESULT effectiveName(VxAxObjectRef& ref, BSTR* out) { return name(ref, out); }

// No block of the host has parameters: no properties.
HRESULT dynamicBlockProperties(VxAxObjectRef& ref, VARIANT* properties)
{
    if (!properties) return E_POINTER;
    VariantInit(properties);
    return guarded(__uuidof(IVeltBlockReference), [&]() -> HRESULT {
        {
            OpenedObject<kx::VxDbBlockReference> reference(ref, kx::VxDb::kForRead);
            if (!reference.isOpen()) return E_POINTER;
        }
        return wrapperArrayOf({}, nullptr, properties);
    });
}

// A static block has nothing to reset.
HRESULT resetBlock(VxAxObjectRef& ref)
{
    return member::call<Reference>(ref, [](kx::VxDbBlockReference&) { return kx::Velt::eOk; });
}

HRESULT convertToAnonymousBlock(VxAxObjectRef& ref) { return moveToCopy(ref, L"*U"); }

HRESULT convertToStaticBlock(VxAxObjectRef& ref, BSTR newName)
{
    if (!newName || !*newName) return E_INVALIDARG;
    return moveToCopy(ref, newName);
}

#define NK_EFFECTIVE_SCALE(AXIS, GET, SET)                                                                      \
    HRESULT AXIS##EffectiveScale(VxAxObjectRef& ref, VELT_NOUNITS* value)                                       \
    {                                                                                                           \
        return member::get<Reference, conv::Double>(ref, value, [](const kx::VxDbBlockReference& r) {           \
            return r.GET() * unitsFactor(r);                                                                    \
        });                                                                                                     \
    }                                                                                                           \
    HRESULT set##SET##EffectiveScale(VxAxObjectRef& ref, VELT_NOUNITS value)                                    \
    {                                                                                                           \
        return member::put<Reference, conv::Double>(ref, value, [](kx::VxDbBlockReference& r, double scale) {  \
            return r.set##SET##Scale(scale / unitsFactor(r));                                                   \
        });                                                                                                     \
    }
NK_EFFECTIVE_SCALE(x, xScale, X)
NK_EFFECTIVE_SCALE(y, yScale, Y)
NK_EFFECTIVE_SCALE(z, zScale, Z)
#undef NK_EFFECTIVE_SCALE

HRESULT insertionUnits(VxAxObjectRef& ref, VxInsertUnits* units)
{
    return member::get<Reference, conv::Long>(ref, units, [](const kx::VxDbBlockReference& r) {
        kx::VxDbObjectPointer<VxDbBlockTableRecord> block(r.blockTableRecord(), kx::VxDb::kForRead);
        return block ? long(block->blockInsertUnits()) : 0L;
    });
}

HRESULT insertionUnitsFactor(VxAxObjectRef& ref, double* factor)
{
    return member::get<Reference, conv::Double>(ref, factor, [](const kx::VxDbBlockReference& r) { return unitsFactor(r); });
}

// The drawing of a reference's block; setting it points the block at another file.
HRESULT path(VxAxObjectRef& ref, BSTR* out)
{
    return member::get<Reference, conv::Text>(ref, out, [](const kx::VxDbBlockReference& r) {
        kx::VxDbObjectPointer<VxDbBlockTableRecord> block(r.blockTableRecord(), kx::VxDb::kForRead);
        return block ? block->pathName() : std::wstring();
    });
}

HRESULT setPath(VxAxObjectRef& ref, BSTR value)
{
    return member::put<Reference, conv::Text>(ref, value, [](kx::VxDbBlockReference& r, const wchar_t* newPath) {
        kx::VxDbObjectPointer<VxDbBlockTableRecord> block(r.blockTableRecord(), kx::VxDb::kForWrite);
        check(block.openStatus());
        if (!block->isFromExternalReference() || !*newPath) throw E_INVALIDARG;
        return block->setPathName(newPath);
    });
}

HRESULT layerPropertyOverrides(VxAxObjectRef& ref, VARIANT_BOOL* overrides)
{
    return member::get<Reference, conv::Bool>(ref, overrides, [](const kx::VxDbBlockReference&) { return false; });
}

// ---- the property of a static block (no reference hands one out) ----

HRESULT propertyName(Unbound&, BSTR* name)
{
    if (!name) return E_POINTER;
    *name = SysAllocString(L"");
    return *name ? S_OK : E_OUTOFMEMORY;
}

HRESULT propertyDescription(Unbound& self, BSTR* description) { return propertyName(self, description); }

HRESULT propertyReadOnly(Unbound&, VARIANT_BOOL* readOnly)
{
    if (!readOnly) return E_POINTER;
    *readOnly = VARIANT_TRUE;
    return S_OK;
}

HRESULT propertyShow(Unbound&, VARIANT_BOOL* show)
{
    if (!show) return E_POINTER;
    *show = VARIANT_FALSE;
    return S_OK;
}

HRESULT propertyAllowedValues(Unbound&, VARIANT* values)
{
    if (!values) return E_POINTER;
    VariantInit(values);
    SAFEARRAY* none = SafeArrayCreateVector(VT_VARIANT, 0, 0);
    if (!none) return E_OUTOFMEMORY;
    V_VT(values) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(values) = none;
    return S_OK;
}

HRESULT propertyValue(Unbound&, VARIANT* value)
{
    if (!value) return E_POINTER;
    VariantInit(value);
    return S_OK;
}

HRESULT setPropertyValue(Unbound&, VARIANT)
{
    return guarded(__uuidof(IVeltDynamicBlockReferenceProperty), []() -> HRESULT { throw kx::Velt::eNotApplicable; });
}

HRESULT propertyUnitsType(Unbound&, VxDynamicBlockReferencePropertyUnitsType* units)
{
    if (!units) return E_POINTER;
    *units = vxNoUnits;
    return S_OK;
}

}  // namespace nk::refs
