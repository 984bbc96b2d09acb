// Putting new entities into a block: the one routine every Add method of a block follows,
// the normal that entities get from the block that receives them, and the appending of
// entities made by other operations (offsets) with their wrappers handed back.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "core/object_ref.h"
#include "db/blocks.h"
#include "ge/point.h"

namespace nk {

using NewEntity = std::unique_ptr<kx::VxDbEntity>;

// Makes the entity of one Add call for the block record (open for write), with the
// database defaults and the call's arguments. Rejected input is thrown as an HRESULT, a
// refusing host as its status. A non-owning view of the caller's callable.
class EntityFactory {
public:
    template <class F, class = std::enable_if_t<!std::is_same_v<std::decay_t<F>, EntityFactory>>>
    EntityFactory(F&& make)
        : callable_(static_cast<const void*>(&make)),
          call_([](const void* f, kx::VxDbBlockTableRecord& block) -> NewEntity {
              return (*static_cast<std::remove_reference_t<F>*>(const_cast<void*>(f)))(block);
          })
    {
    }
    NewEntity operator()(kx::VxDbBlockTableRecord& block) const { return call_(callable_, block); }

private:
    const void* callable_;
    NewEntity (*call_)(const void*, kx::VxDbBlockTableRecord&);
};

// Locks the block's document, opens the block for write (E_POINTER when it will not open),
// makes the entity, appends it (E_FAIL and the entity deleted when that fails), closes it,
// and answers its wrapper as resultIid in *out (E_FAIL when no wrapper comes).
// A factory may finish its entity once it is resident, still open for write (a block
// reference makes its attributes then); what that answers does not change the call's result.
using AfterAppend = void (*)(kx::VxDbEntity& entity);
HRESULT appendEntity(const VxAxObjectRef& block, IDispatch* app, REFIID resultIid, void** out, EntityFactory make,
                     AfterAppend after = nullptr);

template <class Itf>
HRESULT appendEntity(const VxAxObjectRef& block, IDispatch* app, Itf** out, EntityFactory make,
                     AfterAppend after = nullptr)
{
    return appendEntity(block, app, __uuidof(Itf), reinterpret_cast<void**>(out), make, after);
}

// The normal of entities that carry one: from the user coordinate system in model space,
// from the paper one in the paper-space block, the world z axis in any other block.
kx::VxGeVector3d blockNormal(const kx::VxDbBlockTableRecord& block);

// Appends entities made elsewhere to a block, the caller holding the document lock, and
// answers their wrappers as a VARIANT array of IDispatch. Statuses are thrown; entities
// that were not appended are deleted.
HRESULT appendWithWrappers(kx::VxDbObjectId block, std::vector<NewEntity> entities, IDispatch* app, VARIANT* out);

// The wrappers of objects as a VARIANT array of IDispatch (empty when there are none).
HRESULT wrapperArrayOf(const std::vector<kx::VxDbObjectId>& ids, IDispatch* app, VARIANT* out);

}  // namespace nk
