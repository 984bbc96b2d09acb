// Points, point lists and matrices between automation arrays and host geometry.
//
// A point crosses the interface as a VARIANT holding a one-dimensional SAFEARRAY of doubles
// (3 or 2 of them), a list of points as a flat run of them, a matrix as a 4x4 SAFEARRAY.
// Every failure is thrown as the HRESULT (a long) that names it; the wrapper method that
// converts returns it as its result.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include "axsupport/export.h"
#include "axsupport/varray.h"
#include "ge/matrix.h"
#include "ge/point.h"

namespace nk {
// Failure codes of the conversions.
constexpr HRESULT kArrayNotCreated = static_cast<HRESULT>(0x8021000C);
constexpr HRESULT kBoundsUnreadable = static_cast<HRESULT>(0x8021000D);
constexpr HRESULT kNotAnArray = static_cast<HRESULT>(0x8021000F);
constexpr HRESULT kWrongElementCount = static_cast<HRESULT>(0x80210010);
constexpr HRESULT kNotWholePoints = static_cast<HRESULT>(0x80210011);
constexpr HRESULT kElementNotStored = static_cast<HRESULT>(0x80210018);
constexpr HRESULT kElementNotRead = static_cast<HRESULT>(0x80210019);
}  // namespace nk


class NK_EXPORT VxAxPoint3d : public kx::VxGePoint3d {
public:
    VxAxPoint3d() = default;
    VxAxPoint3d(double x, double y, double z);
    VxAxPoint3d(const kx::VxGePoint3d& p);
    VxAxPoint3d(const VARIANT& v);
    VxAxPoint3d(const SAFEARRAY* sa);
    VxAxPoint3d(const VxAxPoint3d&) = default;
    VxAxPoint3d& operator=(const VxAxPoint3d&) = default;
    VxAxPoint3d& operator=(const kx::VxGePoint3d& p);
    VxAxPoint3d& operator=(const VARIANT& v);
    VxAxPoint3d& operator=(const SAFEARRAY* sa);

    // A new VARIANT of VT_ARRAY | VT_R8; the caller clears it and deletes it.
    VARIANT* asVariantPtr() const;
    // A new one-dimensional VT_R8 array of x, y, z with lower bound 0; the caller owns it.
    SAFEARRAY* asSafeArrayPtr() const;
    VARIANT& setVariant(VARIANT& v) const;
    VARIANT* setVariant(VARIANT* v) const;
};

class NK_EXPORT VxAxPoint2d : public kx::VxGePoint2d {
public:
    VxAxPoint2d() = default;
    VxAxPoint2d(double x, double y);
    VxAxPoint2d(const kx::VxGePoint2d& p);
    VxAxPoint2d(const VARIANT& v);
    VxAxPoint2d(const SAFEARRAY* sa);
    VxAxPoint2d(const VxAxPoint2d&) = default;
    VxAxPoint2d& operator=(const VxAxPoint2d&) = default;
    VxAxPoint2d& operator=(const kx::VxGePoint2d& p);
    VxAxPoint2d& operator=(const VARIANT& v);
    VxAxPoint2d& operator=(const SAFEARRAY* sa);

    VARIANT* asVariantPtr() const;
    SAFEARRAY* asSafeArrayPtr() const;
    VARIANT& setVariant(VARIANT& v) const;
    VARIANT* setVariant(VARIANT* v) const;
};

// A list of points is built by appending to an empty array.
class NK_EXPORT VxAxPoint3dArray : public VxArray<kx::VxGePoint3d> {
public:
    VxAxPoint3dArray() = default;
    VxAxPoint3dArray(const VxAxPoint3dArray&) = default;
    VxAxPoint3dArray(VxAxPoint3dArray&&) = default;
    VxAxPoint3dArray& operator=(const VxAxPoint3dArray&) = default;
    VxAxPoint3dArray& operator=(VxAxPoint3dArray&&) = default;
    ~VxAxPoint3dArray() = default;

    VxAxPoint3dArray& append(const kx::VxGePoint3d& p);
    VxAxPoint3dArray& append(const VARIANT& v);
    VxAxPoint3dArray& append(const SAFEARRAY* sa);
    SAFEARRAY* asSafeArrayPtr() const;
    VARIANT& setVariant(VARIANT& v) const;
};

class NK_EXPORT VxAxPoint2dArray : public VxArray<kx::VxGePoint2d> {
public:
    VxAxPoint2dArray() = default;
    VxAxPoint2dArray(const VxAxPoint2dArray&) = default;
    VxAxPoint2dArray(VxAxPoint2dArray&&) = default;
    VxAxPoint2dArray& operator=(const VxAxPoint2dArray&) = default;
    VxAxPoint2dArray& operator=(VxAxPoint2dArray&&) = default;
    ~VxAxPoint2dArray() = default;

    VxAxPoint2dArray& append(const kx::VxGePoint2d& p);
    VxAxPoint2dArray& append(const VARIANT& v);
    VxAxPoint2dArray& append(const SAFEARRAY* sa);
    SAFEARRAY* asSafeArrayPtr() const;
    VARIANT& setVariant(VARIANT& v) const;
};

// A matrix from a 4x4 automation array. The reader keeps the column index running across
// rows, so only the first row of a 4x4 array can be read: the fifth read fails with
// 0x80210019. Callers that need a whole matrix from a VARIANT use their own reader.
class NK_EXPORT VxAxMatrix3d : public kx::VxGeMatrix3d {
public:
    VxAxMatrix3d() = default;
    VxAxMatrix3d(const VxAxMatrix3d&) = default;
    VxAxMatrix3d& operator=(const VxAxMatrix3d&) = default;
    VxAxMatrix3d(const VARIANT& v);
    VxAxMatrix3d(const SAFEARRAY* sa);
    VxAxMatrix3d& operator=(const VARIANT& v);
    VxAxMatrix3d& operator=(const SAFEARRAY* sa);
};
