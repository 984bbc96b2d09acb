#pragma once

#include <cmath>
#include <type_traits>

#include "ge/angle.h"
#include "ge/tol.h"

namespace kx {

struct VxGeMatrix3d;
struct VxGeMatrix2d;
class VxGePlane;

// Plain aggregates: the automation layer copies them as raw doubles, so they
// hold nothing but their coordinates.

struct VxGeVector2d {
    double x = 0.0;
    double y = 0.0;

    static const VxGeVector2d kIdentity;
    static const VxGeVector2d kXAxis;
    static const VxGeVector2d kYAxis;

    double length() const { return std::hypot(x, y); }
    double lengthSqrd() const { return x * x + y * y; }
    double dotProduct(const VxGeVector2d& v) const { return x * v.x + y * v.y; }
    // z of the 3d cross product: positive when v lies counter-clockwise.
    double crossProduct(const VxGeVector2d& v) const { return x * v.y - y * v.x; }
    // Angle from the x axis, counter-clockwise, in [0, 2pi).
    double angle() const { return (x == 0.0 && y == 0.0) ? 0.0 : vxgeNormalizeAngle(std::atan2(y, x)); }
    // Unsigned angle between the two vectors, in [0, pi].
    double angleTo(const VxGeVector2d& v) const { return std::atan2(std::fabs(crossProduct(v)), dotProduct(v)); }
    VxGeVector2d normal(const VxGeTol& tol = VxGeContext::gTol) const;
    VxGeVector2d& normalize(const VxGeTol& tol = VxGeContext::gTol) { return *this = normal(tol); }
    // The vector turned a quarter turn counter-clockwise.
    VxGeVector2d perpVector() const { return {-y, x}; }
    bool isZeroLength(const VxGeTol& tol = VxGeContext::gTol) const { return length() <= tol.equalVector; }
    bool isUnitLength(const VxGeTol& tol = VxGeContext::gTol) const { return std::fabs(length() - 1.0) <= tol.equalVector; }
    bool isEqualTo(const VxGeVector2d& v, const VxGeTol& tol = VxGeContext::gTol) const
    {
        return std::hypot(x - v.x, y - v.y) <= tol.equalVector;
    }
    bool isParallelTo(const VxGeVector2d& v, const VxGeTol& tol = VxGeContext::gTol) const;
    bool isPerpendicularTo(const VxGeVector2d& v, const VxGeTol& tol = VxGeContext::gTol) const;
    VxGeVector2d& rotateBy(double angle);
    VxGeVector2d& transformBy(const VxGeMatrix2d& m);
    VxGeVector2d& negate() { x = -x; y = -y; return *this; }

    VxGeVector2d operator-() const { return {-x, -y}; }
    VxGeVector2d operator+(const VxGeVector2d& v) const { return {x + v.x, y + v.y}; }
    VxGeVector2d operator-(const VxGeVector2d& v) const { return {x - v.x, y - v.y}; }
    VxGeVector2d operator*(double s) const { return {x * s, y * s}; }
    VxGeVector2d operator/(double s) const { return {x / s, y / s}; }
    VxGeVector2d& operator+=(const VxGeVector2d& v) { x += v.x; y += v.y; return *this; }
    VxGeVector2d& operator-=(const VxGeVector2d& v) { x -= v.x; y -= v.y; return *this; }
    VxGeVector2d& operator*=(double s) { x *= s; y *= s; return *this; }
    VxGeVector2d& operator/=(double s) { x /= s; y /= s; return *this; }
    // Equality within the global tolerance.
    bool operator==(const VxGeVector2d& v) const { return isEqualTo(v); }
    double operator[](int i) const { return i == 0 ? x : y; }
    double& operator[](int i) { return i == 0 ? x : y; }
};

struct VxGePoint2d {
    double x = 0.0;
    double y = 0.0;

    static const VxGePoint2d kOrigin;

    double distanceTo(const VxGePoint2d& p) const { return std::hypot(x - p.x, y - p.y); }
    bool isEqualTo(const VxGePoint2d& p, const VxGeTol& tol = VxGeContext::gTol) const
    {
        return distanceTo(p) <= tol.equalPoint;
    }
    VxGeVector2d asVector() const { return {x, y}; }
    VxGePoint2d& transformBy(const VxGeMatrix2d& m);
    VxGePoint2d& rotateBy(double angle, const VxGePoint2d& center = kOrigin);
    VxGePoint2d& scaleBy(double factor, const VxGePoint2d& center = kOrigin);

    VxGeVector2d operator-(const VxGePoint2d& p) const { return {x - p.x, y - p.y}; }
    VxGePoint2d operator+(const VxGeVector2d& v) const { return {x + v.x, y + v.y}; }
    VxGePoint2d operator-(const VxGeVector2d& v) const { return {x - v.x, y - v.y}; }
    VxGePoint2d& operator+=(const VxGeVector2d& v) { x += v.x; y += v.y; return *this; }
    VxGePoint2d& operator-=(const VxGeVector2d& v) { x -= v.x; y -= v.y; return *this; }
    bool operator==(const VxGePoint2d& p) const { return isEqualTo(p); }
    double operator[](int i) const { return i == 0 ? x : y; }
    double& operator[](int i) { return i == 0 ? x : y; }
};

struct VxGeVector3d {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    static const VxGeVector3d kIdentity;
    static const VxGeVector3d kXAxis;
    static const VxGeVector3d kYAxis;
    static const VxGeVector3d kZAxis;

    double length() const { return std::sqrt(x * x + y * y + z * z); }
    double lengthSqrd() const { return x * x + y * y + z * z; }
    double dotProduct(const VxGeVector3d& v) const { return x * v.x + y * v.y + z * v.z; }
    VxGeVector3d crossProduct(const VxGeVector3d& v) const
    {
        return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
    }
    // Unsigned angle between the vectors, in [0, pi]; 0 when either is zero.
    double angleTo(const VxGeVector3d& v) const;
    // Angle from this vector to v, counter-clockwise about reference, in
    // [0, 2pi).
    double angleTo(const VxGeVector3d& v, const VxGeVector3d& reference) const;
    // The unit vector; a zero-length vector (within tol) stays zero.
    VxGeVector3d normal(const VxGeTol& tol = VxGeContext::gTol) const;
    VxGeVector3d& normalize(const VxGeTol& tol = VxGeContext::gTol) { return *this = normal(tol); }
    // A unit vector perpendicular to this one: the x axis of the arbitrary
    // axis rule for this vector as a normal. Zero for a zero vector.
    VxGeVector3d perpVector() const;
    bool isZeroLength(const VxGeTol& tol = VxGeContext::gTol) const { return length() <= tol.equalVector; }
    bool isUnitLength(const VxGeTol& tol = VxGeContext::gTol) const { return std::fabs(length() - 1.0) <= tol.equalVector; }
    bool isEqualTo(const VxGeVector3d& v, const VxGeTol& tol = VxGeContext::gTol) const
    {
        return (*this - v).length() <= tol.equalVector;
    }
    // Parallel or anti-parallel; false when either vector is zero.
    bool isParallelTo(const VxGeVector3d& v, const VxGeTol& tol = VxGeContext::gTol) const;
    bool isCodirectionalTo(const VxGeVector3d& v, const VxGeTol& tol = VxGeContext::gTol) const;
    bool isPerpendicularTo(const VxGeVector3d& v, const VxGeTol& tol = VxGeContext::gTol) const;
    // Rotation by angle counter-clockwise about axis (which need not be unit).
    VxGeVector3d& rotateBy(double angle, const VxGeVector3d& axis);
    // The component of the vector in the plane of the given normal.
    VxGeVector3d orthoProject(const VxGeVector3d& planeNormal) const;
    VxGeVector3d& transformBy(const VxGeMatrix3d& m);
    VxGeVector3d& negate() { x = -x; y = -y; z = -z; return *this; }

    VxGeVector3d operator-() const { return {-x, -y, -z}; }
    VxGeVector3d operator+(const VxGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
    VxGeVector3d operator-(const VxGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
    VxGeVector3d operator*(double s) const { return {x * s, y * s, z * s}; }
    VxGeVector3d operator/(double s) const { return {x / s, y / s, z / s}; }
    VxGeVector3d& operator+=(const VxGeVector3d& v) { x += v.x; y += v.y; z += v.z; return *this; }
    VxGeVector3d& operator-=(const VxGeVector3d& v) { x -= v.x; y -= v.y; z -= v.z; return *this; }
    VxGeVector3d& operator*=(double s) { x *= s; y *= s; z *= s; return *this; }
    VxGeVector3d& operator/=(double s) { x /= s; y /= s; z /= s; return *this; }
    bool operator==(const VxGeVector3d& v) const { return isEqualTo(v); }
    double operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
    double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
};

struct VxGePoint3d {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    static const VxGePoint3d kOrigin;

    double distanceTo(const VxGePoint3d& p) const { return (*this - p).length(); }
    bool isEqualTo(const VxGePoint3d& p, const VxGeTol& tol = VxGeContext::gTol) const
    {
        return distanceTo(p) <= tol.equalPoint;
    }
    VxGeVector3d asVector() const { return {x, y, z}; }
    VxGePoint2d convert2d() const { return {x, y}; }
    VxGePoint3d& transformBy(const VxGeMatrix3d& m);
    VxGePoint3d& rotateBy(double angle, const VxGeVector3d& axis, const VxGePoint3d& center = kOrigin);
    VxGePoint3d& scaleBy(double factor, const VxGePoint3d& center = kOrigin);
    VxGePoint3d& mirror(const VxGePlane& plane);
    // Foot of the perpendicular on the plane.
    VxGePoint3d orthoProject(const VxGePlane& plane) const;

    VxGeVector3d operator-(const VxGePoint3d& p) const { return {x - p.x, y - p.y, z - p.z}; }
    VxGePoint3d operator+(const VxGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
    VxGePoint3d operator-(const VxGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
    VxGePoint3d& operator+=(const VxGeVector3d& v) { x += v.x; y += v.y; z += v.z; return *this; }
    VxGePoint3d& operator-=(const VxGeVector3d& v) { x -= v.x; y -= v.y; z -= v.z; return *this; }
    bool operator==(const VxGePoint3d& p) const { return isEqualTo(p); }
    double operator[](int i) const { return i == 0 ? x : (i == 1 ? y : z); }
    double& operator[](int i) { return i == 0 ? x : (i == 1 ? y : z); }
};

inline VxGeVector2d operator*(double s, const VxGeVector2d& v) { return v * s; }
inline VxGeVector3d operator*(double s, const VxGeVector3d& v) { return v * s; }

inline constexpr VxGeVector2d VxGeVector2d::kIdentity{0.0, 0.0};
inline constexpr VxGeVector2d VxGeVector2d::kXAxis{1.0, 0.0};
inline constexpr VxGeVector2d VxGeVector2d::kYAxis{0.0, 1.0};
inline constexpr VxGePoint2d VxGePoint2d::kOrigin{0.0, 0.0};
inline constexpr VxGeVector3d VxGeVector3d::kIdentity{0.0, 0.0, 0.0};
inline constexpr VxGeVector3d VxGeVector3d::kXAxis{1.0, 0.0, 0.0};
inline constexpr VxGeVector3d VxGeVector3d::kYAxis{0.0, 1.0, 0.0};
inline constexpr VxGeVector3d VxGeVector3d::kZAxis{0.0, 0.0, 1.0};
inline constexpr VxGePoint3d VxGePoint3d::kOrigin{0.0, 0.0, 0.0};

static_assert(sizeof(VxGePoint2d) == 2 * sizeof(double) && sizeof(VxGeVector2d) == 2 * sizeof(double));
static_assert(sizeof(VxGePoint3d) == 3 * sizeof(double) && sizeof(VxGeVector3d) == 3 * sizeof(double));
static_assert(std::is_standard_layout_v<VxGePoint3d> && std::is_trivially_copyable_v<VxGePoint3d>);
static_assert(std::is_standard_layout_v<VxGeVector3d> && std::is_trivially_copyable_v<VxGeVector3d>);
static_assert(std::is_standard_layout_v<VxGePoint2d> && std::is_trivially_copyable_v<VxGePoint2d>);
static_assert(std::is_standard_layout_v<VxGeVector2d> && std::is_trivially_copyable_v<VxGeVector2d>);
static_assert(std::is_aggregate_v<VxGePoint3d> && std::is_aggregate_v<VxGeVector3d>);

}  // namespace kx
