// Which interface levels have their members written, and by what. Every coclass's class is
// assembled from these (see frame/object.h, ChainOf); a level not named here answers from
// the pending list.
#pragma once

#include "core/object_members.h"
#include "frame/object.h"

namespace nk {

template <class Self, class Base>
struct Level<IVeltObject, Self, Base> {
    using type = ObjectMembers<Self, Pending<IVeltObject, Base>>;
};

}  // namespace nk
