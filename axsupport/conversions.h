// Lists of numbers, lists of objects, single points and colours between automation values
// and the host's types, and one coordinate of a point in the current user coordinate system.
//
// Unacceptable input is thrown as an HRESULT (a long): E_INVALIDARG, or kNotWholePoints for
// an odd number of 2d coordinates. Lists are appended to; a failure part way keeps what was
// appended.
#pragma once

#include <windows.h>
#include <oaidl.h>

#include <cstdint>
#include <limits>

#include "axsupport/export.h"
#include "axsupport/varray.h"
#include "db/color.h"
#include "db/objectid.h"
#include "frame/com.h"
#include "ge/point.h"
#include "kxauto.h"

// Every element of a one-dimensional array, as a double.
NK_EXPORT void NkAuToArray(const VARIANT& v, VxArray<double>& values);
// Consecutive pairs of elements as points.
NK_EXPORT void NkAuToArray(const VARIANT& v, VxArray<kx::VxGePoint2d>& points);
// The object ids of an array of wrappers.
NK_EXPORT void NkAuToArray(const VARIANT& v, VxArray<kx::VxDbObjectId>& ids);

// The VARIANT is set without being cleared: callers pass an empty one.
NK_EXPORT void NkAuToVariant(VARIANT* v, const VxArray<double>& values);
// The wrappers of the ids as VT_DISPATCH elements; an empty list gives VT_EMPTY.
NK_EXPORT void NkAuToVariant(VARIANT* v, VxArray<kx::VxDbObjectId>& ids, IDispatch* app);
NK_EXPORT void NkAuToVariant(VARIANT* v, const kx::VxGePoint2d& point);
NK_EXPORT void NkAuToVariant(VARIANT* v, const kx::VxGePoint3d& point);

// A point from an array of coordinates or a text "x,y,z"; the origin for an empty VARIANT.
NK_EXPORT kx::VxGePoint3d NkAuToPoint(const VARIANT& v);

// Replaces coordinate `axis` (0 x, 1 y, 2 z) of pt, as seen in the current UCS, with value.
NK_EXPORT void getWcsPoint(kx::VxGePoint3d& pt, int axis, VARIANT value);
// Coordinate `axis` of pt as seen in the current UCS, as VT_R8; *out is not cleared first.
NK_EXPORT void wcsPoint2UcsVariant(kx::VxGePoint3d& pt, VARIANT* out, DWORD axis);

// The colour a colour object holds: its packed colour, then its names.
NK_EXPORT kx::VxCmColor NkAuToCmColor(IVeltVxCmColor* color);
// A new colour object holding the colour and its names, with one reference.
NK_EXPORT IVeltVxCmColor* NkAuToVeltVxCmColor(const kx::VxCmColor& color);

namespace nk {

// The members of the true-colour object: it owns one colour by value and is bound to no
// database object. Setters do not report the colour's own refusals.
template <class Self, class Base>
class CmColorMembers : public Base {
public:
    HRESULT STDMETHODCALLTYPE put_EntityColor(LONG packed) override
    {
        color_.setColor(static_cast<uint32_t>(packed));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_EntityColor(LONG* packed) override
    {
        if (!packed) return E_POINTER;
        *packed = static_cast<LONG>(color_.color());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_ColorName(BSTR* name) override { return copyText(color_.colorName().c_str(), name); }
    HRESULT STDMETHODCALLTYPE get_BookName(BSTR* name) override { return copyText(color_.bookName().c_str(), name); }
    HRESULT STDMETHODCALLTYPE SetNames(BSTR colorName, BSTR bookName) override
    {
        color_.setNames(colorName ? colorName : L"", bookName ? bookName : L"");
        return S_OK;
    }
    // The object goes with its last reference; there is nothing to delete before that.
    HRESULT STDMETHODCALLTYPE Delete() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE get_Red(LONG* red) override { return component(color_.red(), red); }
    HRESULT STDMETHODCALLTYPE get_Blue(LONG* blue) override { return component(color_.blue(), blue); }
    HRESULT STDMETHODCALLTYPE get_Green(LONG* green) override { return component(color_.green(), green); }
    HRESULT STDMETHODCALLTYPE SetRGB(LONG red, LONG green, LONG blue) override
    {
        // A component the colour cannot hold is refused like any other bad value: silently.
        if (isByte(red) && isByte(green) && isByte(blue))
            color_.setRGB(static_cast<uint8_t>(red), static_cast<uint8_t>(green), static_cast<uint8_t>(blue));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_ColorMethod(VxColorMethod method) override
    {
        if (isByte(method)) color_.setColorMethod(static_cast<kx::VxCmEntityColor::ColorMethod>(method));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_ColorMethod(VxColorMethod* method) override
    {
        if (!method) return E_POINTER;
        *method = static_cast<VxColorMethod>(color_.colorMethod());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_ColorIndex(VxColor* index) override
    {
        if (!index) return E_POINTER;
        *index = static_cast<VxColor>(color_.colorIndex());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE put_ColorIndex(VxColor index) override
    {
        if (index >= std::numeric_limits<int16_t>::min() && index <= std::numeric_limits<int16_t>::max())
            color_.setColorIndex(static_cast<int16_t>(index));
        return S_OK;
    }
    // The host keeps no colour books: the names are recorded, the colour stays as it is.
    HRESULT STDMETHODCALLTYPE SetColorBookColor(BSTR bookName, BSTR colorName) override
    {
        color_.setNames(colorName ? colorName : L"", bookName ? bookName : L"");
        return S_OK;
    }

    const kx::VxCmColor& cmColor() const { return color_; }

private:
    static bool isByte(LONG value) { return value >= 0 && value <= 255; }
    static HRESULT component(uint8_t value, LONG* out)
    {
        if (!out) return E_POINTER;
        *out = value;
        return S_OK;
    }
    static HRESULT copyText(const wchar_t* text, BSTR* out)
    {
        if (!out) return E_POINTER;
        *out = SysAllocString(text);
        return *out ? S_OK : E_OUTOFMEMORY;
    }

    kx::VxCmColor color_;
};

}  // namespace nk
