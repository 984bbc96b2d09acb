// Which interface levels have their members written, and by what. Every coclass's class is
// assembled from these (see frame/object.h, ChainOf); a level not named here answers from
// the pending list.
#pragma once

#include "axsupport/conversions.h"
#include "core/hyperlinks.h"
#include "core/object_members.h"
#include "containers/block.h"
#include "frame/object.h"
#include "objects/layer_states.h"

namespace nk {

template <class Self, class Base>
struct Level<IVeltObject, Self, Base> {
    using type = ObjectMembers<Self, Pending<IVeltObject, Base>>;
};

template <class Self, class Base>
struct Level<IVeltVxCmColor, Self, Base> {
    using type = CmColorMembers<Self, Pending<IVeltVxCmColor, Base>>;
};

template <class Self, class Base>
struct Level<IVeltHyperlinks, Self, Base> {
    using type = HyperlinksMembers<Self, Pending<IVeltHyperlinks, Base>>;
};

template <class Self, class Base>
struct Level<IVeltHyperlink, Self, Base> {
    using type = HyperlinkMembers<Self, Pending<IVeltHyperlink, Base>>;
};

template <class Self, class Base>
struct Level<IVeltLayerStateManager, Self, Base> {
    using type = LayerStateManagerMembers<Self, Pending<IVeltLayerStateManager, Base>>;
};

}  // namespace nk

// The levels declared member by member (*.members files).
#include "members_gen.h"

// Levels and classes written by hand, each with its own header.
#include "objects/database.h"
#include "objects/document.h"
#include "objects/id_pair.h"
#include "objects/file_dependencies.h"
