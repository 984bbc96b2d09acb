// libFuzzer target for the drawing-file reader: any input, ASCII or binary,
// must fail with a status or read; what reads must give up its extended data
// and dictionary entries, and write and read again.
//
// Native clang build (see host/CMakeLists.txt, option KX_FUZZ):
//   dxf_fuzz -max_total_time=60 corpus/

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "db/database.h"
#include "db/dictionary.h"
#include "db/object.h"
#include "db/resbuf.h"
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
    // Every object's extended data and every dictionary's entries.
    for (size_t slot = 1; slot < db.objectSlotCount(); ++slot) {
        const VxDbObjectId id = db.objectIdAtSlot(slot);
        const VxDbObject* object = detail::objectOf(id);
        if (!object)
            continue;
        vxutRelRb(object->xData());
        if (VxDbDictionary::cast(object))
            for (VxDbDictionaryIterator it(id); !it.done(); it.next())
                (void)it.name();
    }
    std::string written;
    if (vxdbWriteDxf(&db, written) != Velt::eOk)
        __builtin_trap();
    VxDbDatabase again(false, true);
    if (vxdbReadDxf(&again, written) != Velt::eOk)
        __builtin_trap();  // what the host writes, it reads
    return 0;
}
