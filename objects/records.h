// What the records' declarations (objects/records.members) use besides the common
// conversions.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstdint>

#include "core/member.h"
#include "db/objectid.h"

namespace nk::conv {

// A layer is on when it is not off; any value but 0 turns it on.
struct LayerOn {
    using Host = bool;
    static bool in(VARIANT_BOOL v) { return v == 0; }
    static void out(bool off, VARIANT_BOOL* o) { *o = off ? VARIANT_FALSE : VARIANT_TRUE; }
    static void clear(VARIANT_BOOL* o) { *o = VARIANT_FALSE; }
};

// An object id as automation passes it.
struct ObjectId {
    using Host = kx::VxDbObjectId;
    static kx::VxDbObjectId in(LONG_PTR v) { return kx::VxDbObjectId::fromOldId(v); }
    static void out(kx::VxDbObjectId id, LONG_PTR* o) { *o = id.asOldId(); }
    static void clear(LONG_PTR* o) { *o = 0; }
};

// A text style's generation flags: the low 16 bits of a new value reach the style, which
// takes only the backward (2) and upside-down (4) bits.
struct GenerationFlags {
    using Host = uint8_t;
    static uint8_t in(LONG v)
    {
        const LONG low = v & 0xFFFF;
        return low > 0xFF ? uint8_t(0xFF) : uint8_t(low);  // bits the style refuses
    }
    static void out(uint8_t bits, LONG* o) { *o = bits & 6; }
    static void clear(LONG* o) { *o = 0; }
};

}  // namespace nk::conv
