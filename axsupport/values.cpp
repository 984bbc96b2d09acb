#include "axsupport/values.h"

#include <cstring>
#include <new>

#include "frame/com.h"


namespace {

using namespace nk;

[[noreturn]] void fail(HRESULT hr) { throw hr; }

// A reference may still come from a null pointer in a caller's C code; look through a
// volatile copy so that the check survives optimisation.
const VARIANT* checkedAddress(const VARIANT& v)
{
    const VARIANT* volatile p = &v;
    if (!p) fail(E_INVALIDARG);
    return p;
}

// The array a VARIANT holds, a reference to a VARIANT or to an array followed once; null for
// a VARIANT of another kind. Nothing is copied: the caller's VARIANT outlives the read.
SAFEARRAY* arrayOf(const VARIANT& v)
{
    const VARIANT* value = checkedAddress(v);
    if (V_VT(value) == (VT_BYREF | VT_VARIANT)) {
        value = V_VARIANTREF(value);
        if (!value || (V_VT(value) & VT_BYREF)) fail(E_INVALIDARG);
    }
    const VARTYPE vt = V_VT(value);
    if (!(vt & VT_ARRAY)) return nullptr;
    if (vt & VT_BYREF) return V_ARRAYREF(value) ? *V_ARRAYREF(value) : nullptr;
    return V_ARRAY(value);
}

struct Bounds {
    LONG lower;
    LONG upper;
};

Bounds bounds(const SAFEARRAY* sa, UINT dim, HRESULT onFailure)
{
    Bounds b{};
    auto* a = const_cast<SAFEARRAY*>(sa);
    if (FAILED(SafeArrayGetLBound(a, dim, &b.lower)) || FAILED(SafeArrayGetUBound(a, dim, &b.upper)))
        fail(onFailure);
    return b;
}

// Reads one element as a double. Only an array of doubles has doubles to read: the
// elements of any other array (VARIANTs among them) are refused, never reinterpreted.
double readDouble(const SAFEARRAY* sa, LONG* indices)
{
    auto* a = const_cast<SAFEARRAY*>(sa);
    VARTYPE vt = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(a, &vt)) || vt != VT_R8) fail(kElementNotRead);
    double d = 0.0;
    if (FAILED(SafeArrayGetElement(a, indices, &d))) fail(kElementNotRead);
    return d;
}

// Reads the N doubles of a one-dimensional array of N doubles, checked once and read in
// one access.
// The common case read straight from the descriptor: a one-dimensional array of N doubles
// that carries its element type (SafeArrayGetVartype reads the same word). Anything else
// takes the checked path below, which answers each fault with its own code.
template <int N>
bool readPlainPoint(const SAFEARRAY* sa, double (&out)[N])
{
    if (!sa || sa->cDims != 1 || !(sa->fFeatures & FADF_HAVEVARTYPE) || sa->cbElements != sizeof(double) ||
        sa->rgsabound[0].cElements != ULONG(N) || !sa->pvData)
        return false;
    if (reinterpret_cast<const DWORD*>(sa)[-1] != VT_R8) return false;
    std::memcpy(out, sa->pvData, sizeof(out));
    return true;
}

template <int N>
void readPoint(const SAFEARRAY* sa, double (&out)[N])
{
    if (readPlainPoint(sa, out)) return;
    auto* a = const_cast<SAFEARRAY*>(sa);
    if (!a || SafeArrayGetDim(a) != 1) fail(kNotAnArray);
    Bounds b = bounds(sa, 1, kBoundsUnreadable);
    if (static_cast<long long>(b.upper) - b.lower != N - 1) fail(kWrongElementCount);
    VARTYPE vt = VT_EMPTY;
    if (FAILED(SafeArrayGetVartype(a, &vt)) || vt != VT_R8 || SafeArrayGetElemsize(a) != sizeof(double))
        fail(kElementNotRead);
    SafeArrayAccess access(a);
    if (FAILED(access.status())) fail(kElementNotRead);
    const double* values = access.data<double>();
    for (int i = 0; i < N; ++i) out[i] = values[i];
}

SAFEARRAY* makeDoubles(const double* values, LONG count)
{
    SAFEARRAY* sa = SafeArrayCreateVector(VT_R8, 0, static_cast<ULONG>(count));
    if (!sa) fail(kArrayNotCreated);
    SafeArray owner(sa);
    for (LONG i = 0; i < count; ++i) {
        double d = values[i];
        if (FAILED(SafeArrayPutElement(sa, &i, &d))) fail(kElementNotStored);
    }
    return owner.detach();
}

VARIANT& storeArray(VARIANT& v, SAFEARRAY* sa)
{
    SafeArray owner(sa);
    HRESULT hr = VariantClear(&v);
    if (FAILED(hr)) fail(hr);
    V_VT(&v) = VT_ARRAY | VT_R8;
    V_ARRAY(&v) = owner.detach();
    return v;
}

VARIANT* newVariant(SAFEARRAY* sa)
{
    SafeArray owner(sa);
    auto* v = new (std::nothrow) VARIANT;
    if (!v) fail(E_OUTOFMEMORY);
    VariantInit(v);
    V_VT(v) = VT_ARRAY | VT_R8;
    V_ARRAY(v) = owner.detach();
    return v;
}

// Appends the points of a flat array of doubles, N per point.
template <int N, class Array, class Point>
void appendPoints(Array& list, const SAFEARRAY* sa)
{
    if (!sa || SafeArrayGetDim(const_cast<SAFEARRAY*>(sa)) != 1) fail(kNotAnArray);
    Bounds b = bounds(sa, 1, kBoundsUnreadable);
    long long count = static_cast<long long>(b.upper) - b.lower + 1;
    if (count < 0 || count % N != 0) fail(kNotWholePoints);
    for (long long k = 0; k < count; k += N) {
        double c[N] = {};
        for (int i = 0; i < N; ++i) {
            LONG index = static_cast<LONG>(b.lower + k + i);
            c[i] = readDouble(sa, &index);
        }
        Point p{};
        std::memcpy(static_cast<void*>(&p), c, sizeof(c));
        list.VxArray<Point>::append(p);
    }
}

template <int N, class Point>
SAFEARRAY* pointsToArray(const VxArray<Point>& list)
{
    static_assert(sizeof(Point) == N * sizeof(double), "a point is its coordinates");
    LONG count = static_cast<LONG>(list.length()) * N;
    SAFEARRAY* sa = SafeArrayCreateVector(VT_R8, 0, static_cast<ULONG>(count));
    if (!sa) fail(kArrayNotCreated);
    SafeArray owner(sa);
    for (int p = 0; p < list.length(); ++p) {
        double c[N];
        std::memcpy(c, &list[p], sizeof(c));
        for (int i = 0; i < N; ++i) {
            LONG index = p * N + i;
            if (FAILED(SafeArrayPutElement(sa, &index, &c[i]))) fail(kElementNotStored);
        }
    }
    return owner.detach();
}

}  // namespace

// ---- 3d point ----

VxAxPoint3d::VxAxPoint3d(double x, double y, double z) : kx::VxGePoint3d{x, y, z} {}
VxAxPoint3d::VxAxPoint3d(const kx::VxGePoint3d& p) : kx::VxGePoint3d(p) {}
VxAxPoint3d::VxAxPoint3d(const VARIANT& v) { *this = v; }
VxAxPoint3d::VxAxPoint3d(const SAFEARRAY* sa) { *this = sa; }

VxAxPoint3d& VxAxPoint3d::operator=(const kx::VxGePoint3d& p)
{
    kx::VxGePoint3d::operator=(p);
    return *this;
}

VxAxPoint3d& VxAxPoint3d::operator=(const VARIANT& v)
{
    return *this = arrayOf(v);
}

VxAxPoint3d& VxAxPoint3d::operator=(const SAFEARRAY* sa)
{
    double c[3];
    readPoint(sa, c);
    x = c[0];
    y = c[1];
    z = c[2];
    return *this;
}

SAFEARRAY* VxAxPoint3d::asSafeArrayPtr() const
{
    const double c[3] = {x, y, z};
    return makeDoubles(c, 3);
}

VARIANT* VxAxPoint3d::asVariantPtr() const { return newVariant(asSafeArrayPtr()); }
VARIANT& VxAxPoint3d::setVariant(VARIANT& v) const { return storeArray(v, asSafeArrayPtr()); }
VARIANT* VxAxPoint3d::setVariant(VARIANT* v) const
{
    if (!v) fail(E_POINTER);
    setVariant(*v);
    return v;
}

// ---- 2d point ----

VxAxPoint2d::VxAxPoint2d(double x, double y) : kx::VxGePoint2d{x, y} {}
VxAxPoint2d::VxAxPoint2d(const kx::VxGePoint2d& p) : kx::VxGePoint2d(p) {}
VxAxPoint2d::VxAxPoint2d(const VARIANT& v) { *this = v; }
VxAxPoint2d::VxAxPoint2d(const SAFEARRAY* sa) { *this = sa; }

VxAxPoint2d& VxAxPoint2d::operator=(const kx::VxGePoint2d& p)
{
    kx::VxGePoint2d::operator=(p);
    return *this;
}

VxAxPoint2d& VxAxPoint2d::operator=(const VARIANT& v)
{
    return *this = arrayOf(v);
}

VxAxPoint2d& VxAxPoint2d::operator=(const SAFEARRAY* sa)
{
    double c[2];
    readPoint(sa, c);
    x = c[0];
    y = c[1];
    return *this;
}

SAFEARRAY* VxAxPoint2d::asSafeArrayPtr() const
{
    const double c[2] = {x, y};
    return makeDoubles(c, 2);
}

VARIANT* VxAxPoint2d::asVariantPtr() const { return newVariant(asSafeArrayPtr()); }
VARIANT& VxAxPoint2d::setVariant(VARIANT& v) const { return storeArray(v, asSafeArrayPtr()); }
VARIANT* VxAxPoint2d::setVariant(VARIANT* v) const
{
    if (!v) fail(E_POINTER);
    setVariant(*v);
    return v;
}

// ---- point lists ----

VxAxPoint3dArray& VxAxPoint3dArray::append(const kx::VxGePoint3d& p)
{
    VxArray<kx::VxGePoint3d>::append(p);
    return *this;
}

VxAxPoint3dArray& VxAxPoint3dArray::append(const VARIANT& v)
{
    return append(arrayOf(v));
}

VxAxPoint3dArray& VxAxPoint3dArray::append(const SAFEARRAY* sa)
{
    appendPoints<3, VxAxPoint3dArray, kx::VxGePoint3d>(*this, sa);
    return *this;
}

SAFEARRAY* VxAxPoint3dArray::asSafeArrayPtr() const { return pointsToArray<3>(*this); }
VARIANT& VxAxPoint3dArray::setVariant(VARIANT& v) const { return storeArray(v, asSafeArrayPtr()); }

VxAxPoint2dArray& VxAxPoint2dArray::append(const kx::VxGePoint2d& p)
{
    VxArray<kx::VxGePoint2d>::append(p);
    return *this;
}

VxAxPoint2dArray& VxAxPoint2dArray::append(const VARIANT& v)
{
    return append(arrayOf(v));
}

VxAxPoint2dArray& VxAxPoint2dArray::append(const SAFEARRAY* sa)
{
    appendPoints<2, VxAxPoint2dArray, kx::VxGePoint2d>(*this, sa);
    return *this;
}

SAFEARRAY* VxAxPoint2dArray::asSafeArrayPtr() const { return pointsToArray<2>(*this); }
VARIANT& VxAxPoint2dArray::setVariant(VARIANT& v) const { return storeArray(v, asSafeArrayPtr()); }

// ---- matrix ----

VxAxMatrix3d::VxAxMatrix3d(const VARIANT& v) { *this = v; }
VxAxMatrix3d::VxAxMatrix3d(const SAFEARRAY* sa) { *this = sa; }

VxAxMatrix3d& VxAxMatrix3d::operator=(const VARIANT& v)
{
    return *this = arrayOf(v);
}

VxAxMatrix3d& VxAxMatrix3d::operator=(const SAFEARRAY* sa)
{
    if (!sa || SafeArrayGetDim(const_cast<SAFEARRAY*>(sa)) != 2) fail(kNotAnArray);
    Bounds first = bounds(sa, 1, kNotAnArray);
    Bounds second = bounds(sa, 2, kNotAnArray);
    if (first.upper - first.lower != 3 || second.upper - second.lower != 3) fail(kWrongElementCount);
    // SafeArrayGetElement takes the last dimension's index first.
    LONG indices[2] = {second.lower, first.lower};
    for (int row = 0; row < 4; ++row) {
        for (int col = 0; col < 4; ++col) {
            entry[row][col] = readDouble(sa, indices);
            ++indices[0];  // never set back at the start of a row: see the class comment
        }
        ++indices[1];
    }
    return *this;
}
