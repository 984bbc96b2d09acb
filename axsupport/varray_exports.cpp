// The point arrays are exported for other modules of the host. The instantiations must come
// first in their translation unit, before any use makes them implicitly.
#include "axsupport/export.h"
#include "axsupport/varray.h"
#include "ge/point.h"

template class NK_EXPORT VxArray<kx::VxGePoint2d>;
template class NK_EXPORT VxArray<kx::VxGePoint3d>;
