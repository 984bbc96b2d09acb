// The two shapes of a hand-written member that works on its object as a whole: a change made
// with the object open for write under the document lock, and a read with it open for read.
// A refused lock or open raises the host's status; so does anything the body throws.
#pragma once

#include <utility>

#include "core/call.h"
#include "core/object_ref.h"
#include "services/doclock.h"

namespace nk {

template <class T, class Change>
HRESULT changeObject(VxAxObjectRef& ref, const IID& iid, Change&& change)
{
    return guarded(iid, [&]() -> HRESULT {
        kx::VxAxDocLock lock(ref.objectId(), kx::VxAxDocLock::kWrite);
        check(lock.lockStatus());
        OpenedObject<T> object(ref, kx::VxDb::kForWrite);
        std::forward<Change>(change)(*object.orThrow());
        return S_OK;
    });
}

template <class T, class Read>
HRESULT readObject(VxAxObjectRef& ref, const IID& iid, Read&& read)
{
    return guarded(iid, [&]() -> HRESULT {
        OpenedObject<T> object(ref, kx::VxDb::kForRead);
        std::forward<Read>(read)(static_cast<const T&>(*object.orThrow()));
        return S_OK;
    });
}

}  // namespace nk
