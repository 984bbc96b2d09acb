// What a block wrapper has besides its declared members (containers/block.members).
#pragma once

#include <windows.h>

#include "core/object_ref.h"

namespace nk::blocks {
// Erases a block that nothing inserts.
HRESULT erase(VxAxObjectRef& block);
}  // namespace nk::blocks

namespace nk {

// Delete and Erase of the object members come here: an inserted block stays, an erased one
// leaves its wrapper unbound.
template <class Self, class Base>
class BlockErase : public Base {
public:
    HRESULT erase()
    {
        Self& self = *static_cast<Self*>(this);
        HRESULT hr = blocks::erase(self.objectRef());
        if (SUCCEEDED(hr)) self.NullObjectId();
        return hr;
    }
};

}  // namespace nk
