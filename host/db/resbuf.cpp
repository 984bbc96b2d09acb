#include "db/resbuf.h"

#include <cstring>

#include "db/strings.h"

namespace kx {

VxDbDxfCode::Type VxDbDxfCode::getType(int code)
{
    if (code < 0) {
        if (code == -1 || code == -2)
            return kObjectId;
        return code == -4 ? kString : kUnknown;
    }
    if (code <= 9) {
        switch (code) {
        case 1: case 3: case 4: return kString;
        case 5: return kHandle;
        case 8: return kLayerName;
        default: return kName;
        }
    }
    if (code <= 17) return kPoint;
    if (code <= 49) return kDouble;
    if (code <= 59) return kAngle;
    if (code <= 79) return kInt16;
    if (code <= 89) return kUnknown;
    if (code <= 99) return kInt32;
    if (code <= 102) return kString;
    if (code == 105) return kHandle;
    if (code <= 109) return kUnknown;
    if (code <= 112) return kPoint;
    if (code <= 149) return kDouble;
    if (code <= 159) return kUnknown;
    if (code <= 169) return kInt64;
    if (code <= 179) return kInt16;
    if (code <= 209) return kUnknown;
    if (code <= 219) return kPoint;
    if (code <= 239) return kDouble;
    if (code <= 269) return kUnknown;
    if (code <= 279) return kInt16;
    if (code <= 289) return kInt8;
    if (code <= 299) return kBool;
    if (code <= 309) return kString;
    if (code <= 319) return kBinaryChunk;
    if (code <= 329) return kHandle;
    if (code <= 339) return kSoftPointerId;
    if (code <= 349) return kHardPointerId;
    if (code <= 359) return kSoftOwnershipId;
    if (code <= 369) return kHardOwnershipId;
    if (code <= 389) return kInt16;
    if (code <= 399) return kHardPointerId;
    if (code <= 409) return kInt16;
    if (code <= 419) return kString;
    if (code <= 429) return kInt32;
    if (code <= 439) return kString;
    if (code <= 459) return kInt32;
    if (code <= 469) return kDouble;
    if (code <= 479) return kString;
    if (code <= 481) return kHardPointerId;
    if (code == 999) return kString;
    if (code < 1000) return kUnknown;
    switch (code) {
    case 1000: case 1002: return kString;
    case 1001: return kName;
    case 1003: return kLayerName;
    case 1004: return kBinaryChunk;
    case 1005: return kHandle;
    default: break;
    }
    if (code >= 1010 && code <= 1013) return kPoint;
    if (code >= 1020 && code <= 1059) return kDouble;
    if (code >= 1060 && code <= 1070) return kInt16;
    if (code == 1071) return kInt32;
    return kUnknown;
}

bool VxDbDxfCode::isXDataCode(int code)
{
    return (code >= 1000 && code <= 1005) || (code >= 1010 && code <= 1013) || (code >= 1040 && code <= 1042) ||
           code == 1070 || code == 1071;
}

VxRbStorage vxutStorageOf(int restype)
{
    switch (restype) {
    case kRtNone: return VxRbStorage::kNone;
    case kRtReal: case kRtAngle: return VxRbStorage::kReal;
    case kRtPoint: case kRt3dPoint: return VxRbStorage::kPoint;
    case kRtShort: return VxRbStorage::kInt16;
    case kRtStr: return VxRbStorage::kString;
    case kRtEname: return VxRbStorage::kName;
    case kRtLong: return VxRbStorage::kInt32;
    case kRtLong64: return VxRbStorage::kInt64;
    default: break;
    }
    switch (VxDbDxfCode::getType(restype)) {
    case VxDbDxfCode::kName:
    case VxDbDxfCode::kString:
    case VxDbDxfCode::kLayerName:
    case VxDbDxfCode::kHandle:
        return VxRbStorage::kString;
    case VxDbDxfCode::kBool:
    case VxDbDxfCode::kInt8:
    case VxDbDxfCode::kInt16:
        return VxRbStorage::kInt16;
    case VxDbDxfCode::kInt32: return VxRbStorage::kInt32;
    case VxDbDxfCode::kDouble:
    case VxDbDxfCode::kAngle:
        return VxRbStorage::kReal;
    case VxDbDxfCode::kPoint: return VxRbStorage::kPoint;
    case VxDbDxfCode::kBinaryChunk: return VxRbStorage::kBinary;
    case VxDbDxfCode::kObjectId:
    case VxDbDxfCode::kSoftPointerId:
    case VxDbDxfCode::kHardPointerId:
    case VxDbDxfCode::kSoftOwnershipId:
    case VxDbDxfCode::kHardOwnershipId:
        return VxRbStorage::kName;
    case VxDbDxfCode::kInt64: return VxRbStorage::kInt64;
    case VxDbDxfCode::kUnknown: break;
    }
    return VxRbStorage::kNone;
}

VxResBuf* vxutNewRb(int restype)
{
    auto* rb = new VxResBuf;
    // An empty braced union sets only its first member: clear all of it, so that the
    // pointers of string and binary values start null whatever the compiler does.
    std::memset(&rb->resval, 0, sizeof(rb->resval));
    rb->restype = static_cast<int16_t>(restype);
    return rb;
}

void vxutRelRb(VxResBuf* chain)
{
    while (chain) {
        VxResBuf* next = chain->rbnext;
        switch (vxutStorageOf(chain->restype)) {
        case VxRbStorage::kString: delete[] chain->resval.rstring; break;
        case VxRbStorage::kBinary: delete[] chain->resval.rbinary.buf; break;
        default: break;
        }
        delete chain;
        chain = next;
    }
}

Velt::ErrorStatus vxutSetString(VxResBuf* rb, std::wstring_view text)
{
    if (!rb || vxutStorageOf(rb->restype) != VxRbStorage::kString)
        return Velt::eInvalidResBuf;
    auto* copy = new wchar_t[text.size() + 1];
    std::memcpy(copy, text.data(), text.size() * sizeof(wchar_t));
    copy[text.size()] = L'\0';
    delete[] rb->resval.rstring;
    rb->resval.rstring = copy;
    return Velt::eOk;
}

Velt::ErrorStatus vxutSetBinary(VxResBuf* rb, const uint8_t* data, size_t size)
{
    if (!rb || vxutStorageOf(rb->restype) != VxRbStorage::kBinary)
        return Velt::eInvalidResBuf;
    if (size > 32767 || (size > 0 && !data))
        return Velt::eInvalidInput;
    uint8_t* copy = size ? new uint8_t[size] : nullptr;
    if (size)
        std::memcpy(copy, data, size);
    delete[] rb->resval.rbinary.buf;
    rb->resval.rbinary.buf = copy;
    rb->resval.rbinary.clen = static_cast<int16_t>(size);
    return Velt::eOk;
}

VxResBuf* vxutDupRb(const VxResBuf* chain) { return vxutDupRange(chain, nullptr); }

VxResBuf* vxutDupRange(const VxResBuf* begin, const VxResBuf* end)
{
    VxResBuf* head = nullptr;
    VxResBuf** tail = &head;
    for (const VxResBuf* rb = begin; rb && rb != end; rb = rb->rbnext) {
        VxResBuf* copy = vxutNewRb(rb->restype);
        switch (vxutStorageOf(rb->restype)) {
        case VxRbStorage::kString:
            vxutSetString(copy, vxView(rb->resval.rstring));
            break;
        case VxRbStorage::kBinary: {
            const int16_t len = rb->resval.rbinary.clen;
            vxutSetBinary(copy, rb->resval.rbinary.buf, (len > 0 && rb->resval.rbinary.buf) ? size_t(len) : 0);
            break;
        }
        default:
            copy->resval = rb->resval;
            break;
        }
        *tail = copy;
        tail = &copy->rbnext;
    }
    return head;
}

size_t vxutChainLength(const VxResBuf* chain)
{
    size_t n = 0;
    for (; chain; chain = chain->rbnext)
        ++n;
    return n;
}

bool vxutChainsEqual(const VxResBuf* a, const VxResBuf* b)
{
    for (; a && b; a = a->rbnext, b = b->rbnext) {
        if (a->restype != b->restype)
            return false;
        switch (vxutStorageOf(a->restype)) {
        case VxRbStorage::kNone: break;
        case VxRbStorage::kString:
            if (vxView(a->resval.rstring) != vxView(b->resval.rstring))
                return false;
            break;
        case VxRbStorage::kReal:
            if (a->resval.rreal != b->resval.rreal)
                return false;
            break;
        case VxRbStorage::kPoint:
            for (int i = 0; i < 3; ++i) {
                if (a->resval.rpoint[i] != b->resval.rpoint[i])
                    return false;
            }
            break;
        case VxRbStorage::kInt16:
            if (a->resval.rint != b->resval.rint)
                return false;
            break;
        case VxRbStorage::kInt32:
            if (a->resval.rlong != b->resval.rlong)
                return false;
            break;
        case VxRbStorage::kInt64:
            if (a->resval.rlong64 != b->resval.rlong64)
                return false;
            break;
        case VxRbStorage::kName:
            if (a->resval.rlname[0] != b->resval.rlname[0] || a->resval.rlname[1] != b->resval.rlname[1])
                return false;
            break;
        case VxRbStorage::kBinary: {
            const int16_t n = a->resval.rbinary.clen;
            if (n != b->resval.rbinary.clen)
                return false;
            if (n > 0 && std::memcmp(a->resval.rbinary.buf, b->resval.rbinary.buf, size_t(n)) != 0)
                return false;
            break;
        }
        }
    }
    return a == nullptr && b == nullptr;
}

VxResBuf* vxutNewString(int code, std::wstring_view text)
{
    // A code that carries no text gets an empty buffer of that code.
    VxResBuf* rb = vxutNewRb(code);
    vxutSetString(rb, text);
    return rb;
}

VxResBuf* vxutNewReal(int code, double value)
{
    VxResBuf* rb = vxutNewRb(code);
    rb->resval.rreal = value;
    return rb;
}

VxResBuf* vxutNewPoint(int code, double x, double y, double z)
{
    VxResBuf* rb = vxutNewRb(code);
    rb->resval.rpoint[0] = x;
    rb->resval.rpoint[1] = y;
    rb->resval.rpoint[2] = z;
    return rb;
}

VxResBuf* vxutNewInt16(int code, int16_t value)
{
    VxResBuf* rb = vxutNewRb(code);
    rb->resval.rint = value;
    return rb;
}

VxResBuf* vxutNewInt32(int code, int32_t value)
{
    VxResBuf* rb = vxutNewRb(code);
    rb->resval.rlong = value;
    return rb;
}

VxResBuf* vxutNewInt64(int code, int64_t value)
{
    VxResBuf* rb = vxutNewRb(code);
    rb->resval.rlong64 = value;
    return rb;
}

VxResBufPtr vxutChain(std::initializer_list<VxResBuf*> items)
{
    VxResBuf* head = nullptr;
    VxResBuf* last = nullptr;
    for (VxResBuf* rb : items) {
        if (!rb)
            continue;
        if (last)
            last->rbnext = rb;
        else
            head = rb;
        last = rb;
        while (last->rbnext)
            last = last->rbnext;
    }
    return VxResBufPtr(head);
}

}  // namespace kx
