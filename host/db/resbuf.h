#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "db/status.h"

namespace kx {

// A linked list of typed values: extended data, extended records and system
// variables travel in it. The union member in use follows from restype
// (vxutStorageOf). A chain and everything it points to is released with
// vxutRelRb.
struct VxResBuf {
    VxResBuf* rbnext = nullptr;
    int16_t restype = 0;
    union {
        double rreal;
        double rpoint[3];
        int16_t rint;
        int32_t rlong;
        int64_t rlong64;
        wchar_t* rstring;
        int64_t rlname[2];  // an object name: the object id's value, then 0
        struct {
            int16_t clen;
            uint8_t* buf;
        } rbinary;
    } resval{};
};

// Result and value codes of the editor-side calls (system variables).
enum VxRtCode : int {
    kRtNone = 5000,
    kRtReal = 5001,
    kRtPoint = 5002,  // 2d point in rpoint
    kRtShort = 5003,
    kRtAngle = 5004,
    kRtStr = 5005,
    kRtEname = 5006,
    kRt3dPoint = 5009,
    kRtLong = 5010,
    kRtLong64 = 5031,
    kRtNorm = 5100,
    kRtError = -5001,
};

enum class VxRbStorage { kNone, kString, kReal, kPoint, kInt16, kInt32, kInt64, kName, kBinary };
VxRbStorage vxutStorageOf(int restype);

VxResBuf* vxutNewRb(int restype);
void vxutRelRb(VxResBuf* chain);
// A deep copy of the whole chain (null for null).
VxResBuf* vxutDupRb(const VxResBuf* chain);
// A deep copy of the items from begin up to (not including) end.
VxResBuf* vxutDupRange(const VxResBuf* begin, const VxResBuf* end);
// Replaces the text of a string-kind buffer.
Velt::ErrorStatus vxutSetString(VxResBuf* rb, std::wstring_view text);
// Replaces the bytes of a binary-chunk buffer; at most 32767 bytes.
Velt::ErrorStatus vxutSetBinary(VxResBuf* rb, const uint8_t* data, size_t size);
size_t vxutChainLength(const VxResBuf* chain);
// Same types and values, item by item.
bool vxutChainsEqual(const VxResBuf* a, const VxResBuf* b);

// Convenience builders; each returns one new buffer.
VxResBuf* vxutNewString(int code, std::wstring_view text);
VxResBuf* vxutNewReal(int code, double value);
VxResBuf* vxutNewPoint(int code, double x, double y, double z);
VxResBuf* vxutNewInt16(int code, int16_t value);
VxResBuf* vxutNewInt32(int code, int32_t value);
VxResBuf* vxutNewInt64(int code, int64_t value);

struct VxResBufDeleter {
    void operator()(VxResBuf* chain) const { vxutRelRb(chain); }
};
using VxResBufPtr = std::unique_ptr<VxResBuf, VxResBufDeleter>;

// Builds a chain from a list of single buffers (takes them over).
VxResBufPtr vxutChain(std::initializer_list<VxResBuf*> items);

// The classification of group codes: which kind of value a code carries.
class VxDbDxfCode {
public:
    enum Type : int {
        kUnknown = 0,
        kName = 1,            // names: entity type, symbol names, application names
        kString = 2,          // free text
        kBool = 3,            // stored as a 16-bit value
        kInt8 = 4,            // stored as a 16-bit value
        kInt16 = 5,
        kInt32 = 6,
        kDouble = 7,
        kAngle = 8,
        kPoint = 9,
        kBinaryChunk = 10,
        kLayerName = 11,
        kHandle = 12,         // handle as hexadecimal text
        kObjectId = 13,
        kSoftPointerId = 14,
        kHardPointerId = 15,
        kSoftOwnershipId = 16,
        kHardOwnershipId = 17,
        kInt64 = 18,
    };
    static Type getType(int code);
    // Extended-data codes (1000 ... 1071) that an object may carry.
    static bool isXDataCode(int code);
};

}  // namespace kx
