// libFuzzer target for the drawing-file reader: any input must fail with a
// status or read; what reads must write and read again.
//
// Native clang build (see host/CMakeLists.txt, option KX_FUZZ):
//   dxf_fuzz -max_total_time=60 corpus/

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "db/database.h"
#include "dxf/dxffile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace kx;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    VxDbDatabase db(false, true);
    if (vxdbReadDxf(&db, input) != Velt::eOk) {
        if (db.objectSlotCount() != 1)
            __builtin_trap();  // a failed read must leave the database as it was
        return 0;
    }
    std::string written;
    if (vxdbWriteDxf(&db, written) != Velt::eOk)
        __builtin_trap();
    VxDbDatabase again(false, true);
    if (vxdbReadDxf(&again, written) != Velt::eOk)
        __builtin_trap();  // what the host writes, it reads
    return 0;
}
