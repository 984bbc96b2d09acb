// The property objects of dynamic blocks. The host has no block with parameters, so no
// reference hands one out (GetDynamicBlockProperties is empty); an object of the class made
// otherwise stands for no parameter and answers as the property of a static block would.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include "core/wrapper.h"

namespace nk {

// Nothing to open: the members answer from the wrapper alone.
template <class Itf, class T>
struct StaticPropertyAccess {
    using Target = Unbound;
    using Object = T;
    template <class Self>
    static Target& target(Self& self)
    {
        return self;
    }
    static const IID& iid() { return __uuidof(Itf); }
};

}  // namespace nk
