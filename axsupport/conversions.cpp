#include "axsupport/conversions.h"

#include <cstring>
#include <cwchar>
#include <string>

#include "axsupport/values.h"
#include "core/binding.h"
#include "core/lookup.h"
#include "services/hostservices.h"

namespace {

using nk::Bstr;
using nk::ComPtr;
using nk::SafeArray;
using nk::SafeArrayAccess;
using nk::Variant;

[[noreturn]] void fail(HRESULT hr) { throw hr; }

// A reference may still come from a null pointer in a caller's C code; look through a
// volatile copy so that the check survives optimisation.
const VARIANT& checked(const VARIANT& v)
{
    const VARIANT* volatile p = &v;
    if (!p) fail(E_INVALIDARG);
    return *p;
}

// Follows VARIANTs that refer to VARIANTs; a chain that does not end is refused.
const VARIANT& followed(const VARIANT& v)
{
    const VARIANT* p = &checked(v);
    for (int depth = 0; V_VT(p) == (VT_BYREF | VT_VARIANT); ++depth) {
        p = V_VARIANTREF(p);
        if (!p || depth > 16) fail(E_INVALIDARG);
    }
    return *p;
}

// Only the flag bits an array VARIANT may carry: anything else is not a VARIANT we can read.
bool wellFormedArrayType(VARTYPE vt) { return (vt & ~(VT_BYREF | VT_ARRAY | VT_TYPEMASK)) == 0; }

SAFEARRAY* arrayOf(const VARIANT& v)
{
    if (!(V_VT(&v) & VT_BYREF)) return V_ARRAY(&v);
    SAFEARRAY** ref = V_ARRAYREF(&v);
    return ref ? *ref : nullptr;
}

// The element types a list may hold, with the size the array must give them.
ULONG elementSize(VARTYPE vt)
{
    switch (vt) {
    case VT_I1: case VT_UI1: return 1;
    case VT_I2: case VT_UI2: case VT_BOOL: return 2;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_R4: return 4;
    case VT_R8: case VT_CY: case VT_DATE: case VT_I8: case VT_UI8: return 8;
    case VT_DECIMAL: return sizeof(DECIMAL);
    case VT_BSTR: case VT_UNKNOWN: case VT_DISPATCH: return sizeof(void*);
    case VT_VARIANT: return sizeof(VARIANT);
    default: return 0;
    }
}

// A one-dimensional array of a list VARIANT, read element by element with the type the
// array itself says its elements have.
class ListArray {
public:
    // The array of a list VARIANT. Both forms of the type test are kept: they admit arrays
    // of doubles and of VARIANTs (and a few other kinds, read by their own element type).
    static ListArray of(const VARIANT& source)
    {
        const VARIANT& v = followed(source);
        const VARTYPE vt = V_VT(&v);
        if ((vt & 0x2004) != 0x2004 && (vt & 0x2005) != 0x2005) fail(E_INVALIDARG);
        return ListArray(v);
    }

    // Any one-dimensional array VARIANT.
    explicit ListArray(const VARIANT& v)
    {
        const VARTYPE vt = V_VT(&v);
        if (!(vt & VT_ARRAY) || !wellFormedArrayType(vt)) fail(E_INVALIDARG);
        sa_ = arrayOf(v);
        if (!sa_ || SafeArrayGetDim(sa_) != 1) fail(E_INVALIDARG);
        if (FAILED(SafeArrayGetLBound(sa_, 1, &lower_)) || FAILED(SafeArrayGetUBound(sa_, 1, &upper_)))
            fail(E_INVALIDARG);
        if (FAILED(SafeArrayGetVartype(sa_, &type_))) type_ = vt & VT_TYPEMASK;
        if (elementSize(type_) == 0 || SafeArrayGetElemsize(sa_) != elementSize(type_)) fail(E_INVALIDARG);
    }

    LONG lower() const { return lower_; }
    long long count() const { return static_cast<long long>(upper_) - lower_ + 1; }

    // Element `index` as a VARIANT of its own, references followed.
    void read(LONG index, Variant& out) const
    {
        out.clear();
        if (type_ == VT_VARIANT) {
            Variant raw;
            if (FAILED(SafeArrayGetElement(sa_, &index, raw.get()))) fail(E_INVALIDARG);
            if (FAILED(VariantCopyInd(out.get(), raw.get()))) fail(E_INVALIDARG);
            return;
        }
        if (type_ == VT_DECIMAL) {
            DECIMAL d{};
            if (FAILED(SafeArrayGetElement(sa_, &index, &d))) fail(E_INVALIDARG);
            V_DECIMAL(out.get()) = d;  // overlaps the type field: set the type after it
            V_VT(out.get()) = VT_DECIMAL;
            return;
        }
        if (FAILED(SafeArrayGetElement(sa_, &index, &V_I8(out.get())))) fail(E_INVALIDARG);
        V_VT(out.get()) = type_;
    }

    double number(LONG index) const
    {
        Variant element;
        read(index, element);
        return toDouble(*element.get());
    }

    static double toDouble(const VARIANT& value)
    {
        const VARTYPE vt = V_VT(&value);
        if (vt == VT_R8) return V_R8(&value);
        // Objects would be asked for their default value: not a number we were given.
        if ((vt & VT_ARRAY) || vt == VT_UNKNOWN || vt == VT_DISPATCH || vt == VT_NULL || vt == VT_ERROR)
            fail(E_INVALIDARG);
        Variant converted;
        if (FAILED(VariantChangeType(converted.get(), const_cast<VARIANT*>(&value), 0, VT_R8))) fail(E_INVALIDARG);
        return V_R8(converted.get());
    }

private:
    SAFEARRAY* sa_ = nullptr;
    LONG lower_ = 0;
    LONG upper_ = -1;
    VARTYPE type_ = VT_EMPTY;
};

kx::VxDbObjectId idOfWrapper(const VARIANT& element)
{
    IUnknown* unknown = nullptr;
    if (V_VT(&element) == VT_DISPATCH) unknown = V_DISPATCH(&element);
    else if (V_VT(&element) == VT_UNKNOWN) unknown = V_UNKNOWN(&element);
    if (!unknown) fail(E_INVALIDARG);
    ComPtr<IVeltBaseObject> base;
    if (FAILED(unknown->QueryInterface(__uuidof(IVeltBaseObject), base.putVoid())) || !base) fail(E_INVALIDARG);
    kx::VxDbObjectId id;
    if (FAILED(base->GetObjectId(&id))) fail(E_INVALIDARG);
    return id;
}

void setDoubles(VARIANT* v, const double* values, int count)
{
    if (!v) fail(E_POINTER);
    if (count < 0) fail(E_INVALIDARG);
    SafeArray sa(SafeArrayCreateVector(VT_R8, 0, static_cast<ULONG>(count)));
    if (!sa.get()) fail(E_OUTOFMEMORY);
    if (count > 0) {
        SafeArrayAccess access(sa.get());
        if (FAILED(access.status())) fail(access.status());
        std::memcpy(access.data<double>(), values, sizeof(double) * static_cast<size_t>(count));
    }
    V_VT(v) = VT_ARRAY | VT_R8;
    V_ARRAY(v) = sa.detach();
}

// The part of a text before its first comma; the text becomes what follows the comma.
std::wstring_view takePart(std::wstring_view& rest)
{
    const size_t comma = rest.find(L',');
    std::wstring_view part = rest.substr(0, comma);
    rest = comma == std::wstring_view::npos ? std::wstring_view{} : rest.substr(comma + 1);
    return part;
}

// Leading blanks are skipped and trailing text ignored, as the C library reads numbers.
double readNumber(std::wstring_view part)
{
    std::wstring text(part);
    return std::wcstod(text.c_str(), nullptr);
}

kx::VxGePoint3d pointFromText(BSTR text)
{
    std::wstring_view rest(text ? text : L"", text ? SysStringLen(text) : 0);
    std::wstring_view first = takePart(rest);
    if (first.empty()) fail(E_INVALIDARG);
    kx::VxGePoint3d p;
    p.x = readNumber(first);
    p.y = readNumber(takePart(rest));  // a missing part reads as 0
    p.z = readNumber(takePart(rest));
    return p;
}

kx::VxGePoint3d pointFromArray(const VARIANT& v)
{
    ListArray list(v);
    // x, y and z; a point given in the plane has z 0.
    if (list.count() < 2) fail(E_INVALIDARG);
    kx::VxGePoint3d p;
    p.x = list.number(list.lower());
    p.y = list.number(list.lower() + 1);
    if (list.count() >= 3) p.z = list.number(list.lower() + 2);
    return p;
}

void ucsOf(const kx::VxGePoint3d& world, double ucs[3])
{
    const double in[3] = {world.x, world.y, world.z};
    if (kx::vxdbWcs2Ucs(in, ucs, false) != kx::Velt::eOk) fail(E_FAIL);
}

}  // namespace

// ---- lists ----

void NkAuToArray(const VARIANT& v, VxArray<double>& values)
{
    ListArray list = ListArray::of(v);
    for (long long i = 0; i < list.count(); ++i) values.append(list.number(static_cast<LONG>(list.lower() + i)));
}

void NkAuToArray(const VARIANT& v, VxArray<kx::VxGePoint2d>& points)
{
    ListArray list = ListArray::of(v);
    if (list.count() % 2 != 0) fail(nk::kNotWholePoints);
    for (long long i = 0; i < list.count(); i += 2) {
        const LONG at = static_cast<LONG>(list.lower() + i);
        points.append(kx::VxGePoint2d{list.number(at), list.number(at + 1)});
    }
}

void NkAuToArray(const VARIANT& v, VxArray<kx::VxDbObjectId>& ids)
{
    ListArray list = ListArray::of(v);
    Variant element;
    for (long long i = 0; i < list.count(); ++i) {
        list.read(static_cast<LONG>(list.lower() + i), element);
        ids.append(idOfWrapper(*element.get()));
    }
}

void NkAuToVariant(VARIANT* v, const VxArray<double>& values) { setDoubles(v, values.asArrayPtr(), values.length()); }

void NkAuToVariant(VARIANT* v, VxArray<kx::VxDbObjectId>& ids, IDispatch* app)
{
    if (!v) fail(E_POINTER);
    if (ids.isEmpty()) {
        V_VT(v) = VT_EMPTY;
        return;
    }
    SafeArray sa(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(ids.length())));
    if (!sa.get()) fail(E_OUTOFMEMORY);
    {
        SafeArrayAccess access(sa.get());
        if (FAILED(access.status())) fail(access.status());
        VARIANT* elements = access.data<VARIANT>();
        for (int i = 0; i < ids.length(); ++i) {
            // An object without a wrapper keeps its place as a null object.
            ComPtr<IUnknown> wrapper;
            ComPtr<IDispatch> object;
            if (SUCCEEDED(VxAxGetIUnknownOfObject(wrapper.put(), ids[i], app)) && wrapper)
                object = wrapper.as<IDispatch>();
            V_VT(&elements[i]) = VT_DISPATCH;
            V_DISPATCH(&elements[i]) = object.detach();
        }
    }
    V_VT(v) = VT_ARRAY | VT_VARIANT;
    V_ARRAY(v) = sa.detach();
}

void NkAuToVariant(VARIANT* v, const kx::VxGePoint2d& point)
{
    const double c[2] = {point.x, point.y};
    setDoubles(v, c, 2);
}

void NkAuToVariant(VARIANT* v, const kx::VxGePoint3d& point)
{
    const double c[3] = {point.x, point.y, point.z};
    setDoubles(v, c, 3);
}

// ---- points ----

kx::VxGePoint3d NkAuToPoint(const VARIANT& source)
{
    const VARIANT& v = followed(source);
    const VARTYPE vt = V_VT(&v);
    if (vt == VT_EMPTY) return {};
    if (vt == VT_BSTR) return pointFromText(V_BSTR(&v));
    if ((vt & 0x2005) == 0x2005) return pointFromArray(v);
    fail(E_INVALIDARG);
}

void getWcsPoint(kx::VxGePoint3d& pt, int axis, VARIANT value)
{
    if (axis < 0 || axis > 2) fail(E_INVALIDARG);
    double ucs[3];
    ucsOf(pt, ucs);
    ucs[axis] = ListArray::toDouble(followed(value));
    double world[3];
    if (kx::vxdbUcs2Wcs(ucs, world, false) != kx::Velt::eOk) fail(E_FAIL);
    pt = kx::VxGePoint3d{world[0], world[1], world[2]};
}

void wcsPoint2UcsVariant(kx::VxGePoint3d& pt, VARIANT* out, DWORD axis)
{
    if (!out) fail(E_POINTER);
    if (axis > 2) fail(E_INVALIDARG);
    double ucs[3];
    ucsOf(pt, ucs);
    V_VT(out) = VT_R8;
    V_R8(out) = ucs[axis];
}

// ---- colours ----

kx::VxCmColor NkAuToCmColor(IVeltVxCmColor* color)
{
    if (!color) fail(E_POINTER);
    LONG packed = 0;
    Bstr colorName, bookName;
    HRESULT hr = color->get_EntityColor(&packed);
    if (SUCCEEDED(hr)) hr = color->get_ColorName(colorName.put());
    if (SUCCEEDED(hr)) hr = color->get_BookName(bookName.put());
    if (FAILED(hr)) fail(hr);
    kx::VxCmColor result;
    result.setColor(static_cast<uint32_t>(packed));
    result.setNames(colorName.c_str(), bookName.c_str());
    return result;
}

IVeltVxCmColor* NkAuToVeltVxCmColor(const kx::VxCmColor& color)
{
    ComPtr<IUnknown> object;
    HRESULT hr = nk::createWrapper(CLSID_VeltVxCmColor, object.put());
    if (FAILED(hr) || !object) fail(FAILED(hr) ? hr : E_OUTOFMEMORY);
    ComPtr<IVeltVxCmColor> result = object.as<IVeltVxCmColor>();
    if (!result) fail(E_NOINTERFACE);
    Bstr colorName(color.colorName().c_str());
    Bstr bookName(color.bookName().c_str());
    if (!colorName.get() || !bookName.get()) fail(E_OUTOFMEMORY);
    result->put_EntityColor(static_cast<LONG>(color.color()));
    result->SetNames(colorName.get(), bookName.get());
    return result.detach();
}
