// The draw order of a block's entities (IVeltSortentsTable).
#include "members_gen.h"

#include <algorithm>

#include "axsupport/conversions.h"
#include "containers/collections.h"
#include "core/call.h"
#include "db/blocks.h"
#include "db/database.h"
#include "db/sortents.h"
#include "frame/com.h"
#include "services/doclock.h"

namespace nk::drawOrder {
namespace {

using kx::VxDbObjectId;
using kx::VxDbObjectIdArray;
using kx::VxDbSortentsTable;

const IID& kSortIid = __uuidof(IVeltSortentsTable);

// What the table refuses as input is the caller's.
void accept(kx::Velt::ErrorStatus status)
{
    if (status == kx::Velt::eInvalidInput) throw E_INVALIDARG;
    check(status);
}

VxDbObjectIdArray idsOf(const VARIANT& objects)
{
    VxArray<VxDbObjectId> listed;
    NkAuToArray(objects, listed);
    return VxDbObjectIdArray(listed.asArrayPtr(), listed.asArrayPtr() + listed.length());
}

VxDbObjectId idOf(IVeltEntity* entity)
{
    if (!entity) throw E_INVALIDARG;
    LONG_PTR id = 0;
    if (FAILED(entity->get_ObjectID(&id))) throw E_INVALIDARG;
    return VxDbObjectId::fromOldId(id);
}

// A change of the order: its arguments converted first, then the table open for write.
template <class Convert, class Change>
HRESULT change(VxAxObjectRef& target, Convert&& convert, Change&& apply)
{
    return guarded(kSortIid, [&] {
        auto arguments = convert();
        kx::VxAxDocLock lock(target.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<VxDbSortentsTable> table(target, kx::VxDb::kForWrite);
        accept(apply(*table.orThrow(), arguments));
        return S_OK;
    });
}

// The entities as an array of their wrappers.
void toVariant(VxDbObjectIdArray& ids, IDispatch* app, VARIANT* out)
{
    if (ids.empty()) {
        SAFEARRAY* none = SafeArrayCreateVector(VT_VARIANT, 0, 0);
        if (!none) throw E_OUTOFMEMORY;
        V_VT(out) = VT_ARRAY | VT_VARIANT;
        V_ARRAY(out) = none;
        return;
    }
    VxArray<VxDbObjectId> list;
    for (VxDbObjectId id : ids) list.append(id);
    NkAuToVariant(out, list, app);
}

// The order read: the block's own where the drawing does not sort and the caller honours it.
bool sorted(const VxDbSortentsTable& table, VARIANT_BOOL honor)
{
    const kx::VxDbDatabase* db = table.database();
    return !(honor == VARIANT_TRUE && db && db->sortEnts() == 0);
}

}  // namespace

HRESULT moveToBottom(VxAxObjectRef& target, VARIANT objects)
{
    return change(target, [&] { return idsOf(objects); },
                  [](VxDbSortentsTable& t, const VxDbObjectIdArray& ids) { return t.moveToBottom(ids); });
}

HRESULT moveToTop(VxAxObjectRef& target, VARIANT objects)
{
    return change(target, [&] { return idsOf(objects); },
                  [](VxDbSortentsTable& t, const VxDbObjectIdArray& ids) { return t.moveToTop(ids); });
}

HRESULT moveBelow(VxAxObjectRef& target, VARIANT objects, IVeltEntity* below)
{
    return change(target, [&] { return std::make_pair(idsOf(objects), idOf(below)); },
                  [](VxDbSortentsTable& t, const auto& args) { return t.moveBelow(args.first, args.second); });
}

HRESULT moveAbove(VxAxObjectRef& target, VARIANT objects, IVeltEntity* above)
{
    return change(target, [&] { return std::make_pair(idsOf(objects), idOf(above)); },
                  [](VxDbSortentsTable& t, const auto& args) { return t.moveAbove(args.first, args.second); });
}

HRESULT swapOrder(VxAxObjectRef& target, IVeltEntity* first, IVeltEntity* second)
{
    return change(target, [&] { return std::make_pair(idOf(first), idOf(second)); },
                  [](VxDbSortentsTable& t, const auto& args) { return t.swapOrder(args.first, args.second); });
}

HRESULT setRelativeOrder(VxAxObjectRef& target, VARIANT objects)
{
    return change(target, [&] { return idsOf(objects); },
                  [](VxDbSortentsTable& t, const VxDbObjectIdArray& ids) { return t.setRelativeDrawOrder(ids); });
}

HRESULT block(VxAxObjectRef& target, IDispatch* app, IVeltBlock** out)
{
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded(kSortIid, [&] {
        VxDbObjectId block;
        {
            OpenedObject<VxDbSortentsTable> table(target, kx::VxDb::kForRead);
            block = table.orThrow()->blockId();
        }
        return collections::wrapperAs(block, app, __uuidof(IVeltBlock), reinterpret_cast<void**>(out));
    });
}

HRESULT fullOrder(VxAxObjectRef& target, IDispatch* app, VARIANT_BOOL honor, VARIANT* out)
{
    if (!out) return E_POINTER;
    VariantInit(out);
    return guarded(kSortIid, [&] {
        VxDbObjectIdArray ids;
        {
            OpenedObject<VxDbSortentsTable> table(target, kx::VxDb::kForRead);
            const VxDbSortentsTable* t = table.orThrow();
            if (sorted(*t, honor)) {
                check(t->getFullDrawOrder(ids));
            } else {
                OpenedObject<kx::VxDbBlockTableRecord> block(t->blockId(), kx::VxDb::kForRead);
                for (VxDbObjectId id : block.orThrow()->entityIds())
                    if (!id.isErased()) ids.push_back(id);
            }
        }
        Variant result;
        toVariant(ids, app, result.get());
        result.detachTo(out);
        return S_OK;
    });
}

HRESULT relativeOrder(VxAxObjectRef& target, IDispatch* app, VARIANT objects, VARIANT_BOOL honor, VARIANT* out)
{
    if (!out) return E_POINTER;
    VariantInit(out);
    return guarded(kSortIid, [&] {
        VxDbObjectIdArray ids = idsOf(objects);
        {
            OpenedObject<VxDbSortentsTable> table(target, kx::VxDb::kForRead);
            const VxDbSortentsTable* t = table.orThrow();
            VxDbObjectIdArray checked = ids;
            accept(t->getRelativeDrawOrder(checked));
            if (sorted(*t, honor)) {
                ids = checked;
            } else {
                // The block's own order among them.
                OpenedObject<kx::VxDbBlockTableRecord> block(t->blockId(), kx::VxDb::kForRead);
                VxDbObjectIdArray own;
                for (VxDbObjectId id : block.orThrow()->entityIds())
                    if (std::find(checked.begin(), checked.end(), id) != checked.end()) own.push_back(id);
                ids = own;
            }
        }
        Variant result;
        toVariant(ids, app, result.get());
        result.detachTo(out);
        return S_OK;
    });
}

}  // namespace nk::drawOrder
