#include "core/xdata.h"

#include <cstring>
#include <vector>

#include "axsupport/values.h"
#include "frame/com.h"

namespace nk {
namespace {

using kx::VxDbDxfCode;

[[noreturn]] void fail(HRESULT hr) { throw hr; }

// The value of one item as automation sees it.
void itemToVariant(const kx::VxResBuf& rb, VARIANT* out)
{
    VariantInit(out);
    switch (VxDbDxfCode::getType(rb.restype)) {
    case VxDbDxfCode::kName:
    case VxDbDxfCode::kString:
    case VxDbDxfCode::kLayerName:
    case VxDbDxfCode::kHandle:
        V_VT(out) = VT_BSTR;
        V_BSTR(out) = SysAllocString(rb.resval.rstring ? rb.resval.rstring : L"");
        break;
    case VxDbDxfCode::kBool:
        V_VT(out) = VT_BOOL;
        V_BOOL(out) = rb.resval.rint > 0 ? VARIANT_TRUE : VARIANT_FALSE;
        break;
    case VxDbDxfCode::kInt8:
    case VxDbDxfCode::kInt16:
        V_VT(out) = VT_I2;
        V_I2(out) = rb.resval.rint;
        break;
    case VxDbDxfCode::kInt32:
        V_VT(out) = VT_I4;
        V_I4(out) = rb.resval.rlong;
        break;
    case VxDbDxfCode::kDouble:
    case VxDbDxfCode::kAngle:
        V_VT(out) = VT_R8;
        V_R8(out) = rb.resval.rreal;
        break;
    case VxDbDxfCode::kPoint:
        VxAxPoint3d(rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]).setVariant(*out);
        break;
    case VxDbDxfCode::kBinaryChunk: {
        LONG n = rb.resval.rbinary.clen > 0 ? rb.resval.rbinary.clen : 0;
        SAFEARRAY* sa = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(n));
        if (!sa) fail(E_OUTOFMEMORY);
        SafeArrayAccess access(sa);
        if (n > 0 && SUCCEEDED(access.status()) && rb.resval.rbinary.buf)
            std::memcpy(access.data<uint8_t>(), rb.resval.rbinary.buf, static_cast<size_t>(n));
        V_VT(out) = VT_ARRAY | VT_UI1;
        V_ARRAY(out) = sa;
        break;
    }
    case VxDbDxfCode::kObjectId:
    case VxDbDxfCode::kSoftPointerId:
    case VxDbDxfCode::kHardPointerId:
    case VxDbDxfCode::kSoftOwnershipId:
    case VxDbDxfCode::kHardOwnershipId: {
        SAFEARRAY* sa = SafeArrayCreateVector(VT_I8, 0, 2);
        if (!sa) fail(E_OUTOFMEMORY);
        for (LONG i = 0; i < 2; ++i) {
            LONGLONG word = rb.resval.rlname[i];
            SafeArrayPutElement(sa, &i, &word);
        }
        V_VT(out) = VT_ARRAY | VT_I8;
        V_ARRAY(out) = sa;
        break;
    }
    case VxDbDxfCode::kInt64:
        V_VT(out) = VT_I8;
        V_I8(out) = rb.resval.rlong64;
        break;
    default:
        break;  // left empty
    }
}

// A VARIANT coerced to one type; the conversion's failure is thrown.
void coerce(const VARIANT& in, VARTYPE vt, Variant& out)
{
    HRESULT hr = VariantChangeType(out.get(), const_cast<VARIANT*>(&in), 0, vt);
    if (FAILED(hr)) fail(hr);
}

kx::VxResBuf* variantToItem(int code, const VARIANT& value)
{
    kx::VxResBufPtr rb(kx::vxutNewRb(code));
    if (!rb) fail(E_OUTOFMEMORY);
    Variant v;
    switch (VxDbDxfCode::getType(code)) {
    case VxDbDxfCode::kName:
    case VxDbDxfCode::kString:
    case VxDbDxfCode::kLayerName:
    case VxDbDxfCode::kHandle:
        coerce(value, VT_BSTR, v);
        if (kx::vxutSetString(rb.get(), V_BSTR(v.get()) ? V_BSTR(v.get()) : L"") != kx::Velt::eOk) fail(E_INVALIDARG);
        break;
    case VxDbDxfCode::kBool:
    case VxDbDxfCode::kInt8:
    case VxDbDxfCode::kInt16:
        coerce(value, VT_I2, v);
        rb->resval.rint = V_I2(v.get());
        break;
    case VxDbDxfCode::kInt32:
        coerce(value, VT_I4, v);
        rb->resval.rlong = V_I4(v.get());
        break;
    case VxDbDxfCode::kDouble:
    case VxDbDxfCode::kAngle:
        coerce(value, VT_R8, v);
        rb->resval.rreal = V_R8(v.get());
        break;
    case VxDbDxfCode::kPoint: {
        VxAxPoint3d p(value);
        rb->resval.rpoint[0] = p.x;
        rb->resval.rpoint[1] = p.y;
        rb->resval.rpoint[2] = p.z;
        break;
    }
    case VxDbDxfCode::kBinaryChunk: {
        Variant copy;
        if (FAILED(VariantCopyInd(copy.get(), const_cast<VARIANT*>(&value))) || copy.type() != (VT_ARRAY | VT_UI1))
            fail(E_INVALIDARG);
        SAFEARRAY* sa = V_ARRAY(copy.get());
        LONG lo = 0, hi = -1;
        if (SafeArrayGetDim(sa) != 1 || FAILED(SafeArrayGetLBound(sa, 1, &lo)) || FAILED(SafeArrayGetUBound(sa, 1, &hi)))
            fail(E_INVALIDARG);
        size_t n = hi >= lo ? static_cast<size_t>(hi - lo + 1) : 0;
        SafeArrayAccess access(sa);
        if (FAILED(access.status())) fail(access.status());
        if (kx::vxutSetBinary(rb.get(), access.data<uint8_t>(), n) != kx::Velt::eOk) fail(E_INVALIDARG);
        break;
    }
    case VxDbDxfCode::kObjectId:
    case VxDbDxfCode::kSoftPointerId:
    case VxDbDxfCode::kHardPointerId:
    case VxDbDxfCode::kSoftOwnershipId:
    case VxDbDxfCode::kHardOwnershipId: {
        // The two 64-bit words that GetXData hands out, or a plain id.
        Variant copy;
        if (FAILED(VariantCopyInd(copy.get(), const_cast<VARIANT*>(&value)))) fail(E_INVALIDARG);
        if (copy.type() == (VT_ARRAY | VT_I8)) {
            SAFEARRAY* sa = V_ARRAY(copy.get());
            LONG lo = 0, hi = -1;
            if (SafeArrayGetDim(sa) != 1 || FAILED(SafeArrayGetLBound(sa, 1, &lo)) || FAILED(SafeArrayGetUBound(sa, 1, &hi)) || hi < lo)
                fail(E_INVALIDARG);
            LONGLONG word = 0;
            if (FAILED(SafeArrayGetElement(sa, &lo, &word))) fail(E_INVALIDARG);
            rb->resval.rlname[0] = word;
        } else {
            coerce(value, VT_I8, v);
            rb->resval.rlname[0] = V_I8(v.get());
        }
        rb->resval.rlname[1] = 0;
        break;
    }
    case VxDbDxfCode::kInt64:
        coerce(value, VT_I8, v);
        rb->resval.rlong64 = V_I8(v.get());
        break;
    default:
        fail(E_INVALIDARG);
    }
    return rb.release();
}

// A one-dimensional array behind a VARIANT, following one reference.
SAFEARRAY* arrayOf(const VARIANT& v)
{
    const VARIANT* p = &v;
    if (V_VT(p) == (VT_BYREF | VT_VARIANT)) p = V_VARIANTREF(p);
    if (!p || !(V_VT(p) & VT_ARRAY)) return nullptr;
    SAFEARRAY* sa = (V_VT(p) & VT_BYREF) ? (V_ARRAYREF(p) ? *V_ARRAYREF(p) : nullptr) : V_ARRAY(p);
    if (!sa || SafeArrayGetDim(sa) != 1) fail(E_INVALIDARG);
    return sa;
}

VARTYPE elementType(SAFEARRAY* sa)
{
    VARTYPE vt = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(sa, &vt))) fail(E_INVALIDARG);
    return vt;
}

}  // namespace

void chainToVariants(const kx::VxResBuf* chain, VARIANT* types, VARIANT* values)
{
    ULONG count = 0;
    for (const kx::VxResBuf* rb = chain; rb; rb = rb->rbnext) ++count;
    if (count == 0) return;
    SafeArray codes(SafeArrayCreateVector(VT_I2, 0, count));
    SafeArray items(SafeArrayCreateVector(VT_VARIANT, 0, count));
    if (!codes.get() || !items.get()) fail(E_OUTOFMEMORY);
    LONG i = 0;
    for (const kx::VxResBuf* rb = chain; rb; rb = rb->rbnext, ++i) {
        SHORT code = rb->restype;
        HRESULT hr = SafeArrayPutElement(codes.get(), &i, &code);
        if (FAILED(hr)) fail(hr);
        Variant item;
        itemToVariant(*rb, item.get());
        hr = SafeArrayPutElement(items.get(), &i, item.get());
        if (FAILED(hr)) fail(hr);
    }
    V_VT(types) = VT_ARRAY | VT_I2;
    V_ARRAY(types) = codes.detach();
    V_VT(values) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(values) = items.detach();
}

kx::VxResBufPtr variantsToChain(const VARIANT& types, const VARIANT& values)
{
    SAFEARRAY* codes = arrayOf(types);
    SAFEARRAY* items = arrayOf(values);
    kx::VxResBufPtr chain;
    if (!codes && !items) {
        // A pair of scalars is a one-item list.
        Variant code;
        coerce(types, VT_I2, code);
        const VARIANT* value = &values;
        if (V_VT(value) == (VT_BYREF | VT_VARIANT)) value = V_VARIANTREF(value);
        if (!value) fail(E_INVALIDARG);
        chain.reset(variantToItem(V_I2(code.get()), *value));
        return chain;
    }
    if (!codes || !items) fail(E_INVALIDARG);
    LONG lo = 0, hi = -1, vlo = 0, vhi = -1;
    HRESULT hr = SafeArrayGetLBound(codes, 1, &lo);
    if (SUCCEEDED(hr)) hr = SafeArrayGetUBound(codes, 1, &hi);
    if (SUCCEEDED(hr)) hr = SafeArrayGetLBound(items, 1, &vlo);
    if (SUCCEEDED(hr)) hr = SafeArrayGetUBound(items, 1, &vhi);
    if (FAILED(hr)) fail(hr);
    if (lo != vlo || hi != vhi) fail(E_INVALIDARG);
    VARTYPE codeType = elementType(codes);
    VARTYPE itemType = elementType(items);
    kx::VxResBuf* last = nullptr;
    for (LONG i = lo; i <= hi; ++i) {
        Variant codeValue;
        if (codeType == VT_VARIANT) {
            hr = SafeArrayGetElement(codes, &i, codeValue.get());
        } else if (codeType == VT_I2) {
            SHORT c = 0;
            hr = SafeArrayGetElement(codes, &i, &c);
            V_VT(codeValue.get()) = VT_I2;
            V_I2(codeValue.get()) = c;
        } else if (codeType == VT_I4) {
            LONG c = 0;
            hr = SafeArrayGetElement(codes, &i, &c);
            V_VT(codeValue.get()) = VT_I4;
            V_I4(codeValue.get()) = c;
        } else {
            fail(E_INVALIDARG);
        }
        if (FAILED(hr)) fail(hr);
        Variant code;
        coerce(*codeValue.get(), VT_I2, code);
        Variant item;
        if (itemType != VT_VARIANT) fail(E_INVALIDARG);
        hr = SafeArrayGetElement(items, &i, item.get());
        if (FAILED(hr)) fail(hr);
        kx::VxResBuf* rb = variantToItem(V_I2(code.get()), *item.get());
        if (last) last->rbnext = rb;
        else chain.reset(rb);
        last = rb;
    }
    return chain;
}

}  // namespace nk
