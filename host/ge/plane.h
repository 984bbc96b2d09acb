#pragma once

#include "ge/point.h"

namespace kx {

struct VxGeMatrix3d;

// An unbounded plane: a point on it and a unit normal. A plane made from a
// zero normal or from collinear points is invalid (zero normal); its
// operations then answer as if every point were on it, so callers check
// isValid() where that matters.
class VxGePlane {
public:
    static const VxGePlane kXYPlane;
    static const VxGePlane kYZPlane;
    static const VxGePlane kZXPlane;

    // The world XY plane.
    constexpr VxGePlane() = default;
    VxGePlane(const VxGePoint3d& point, const VxGeVector3d& normal);
    // a x + b y + c z + d = 0.
    VxGePlane(double a, double b, double c, double d);
    // Through three points, normal (p2 - p1) x (p3 - p1); invalid when they
    // are collinear.
    VxGePlane(const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3);
    // Through origin, spanned by two directions.
    static VxGePlane fromAxes(const VxGePoint3d& origin, const VxGeVector3d& uAxis, const VxGeVector3d& vAxis);

    bool isValid() const { return mNormal.x != 0.0 || mNormal.y != 0.0 || mNormal.z != 0.0; }
    const VxGePoint3d& pointOnPlane() const { return mPoint; }
    const VxGeVector3d& normal() const { return mNormal; }
    void getCoefficients(double& a, double& b, double& c, double& d) const;
    // Two unit axes in the plane by the arbitrary axis rule, and the plane's
    // point as origin.
    void getCoordSystem(VxGePoint3d& origin, VxGeVector3d& xAxis, VxGeVector3d& yAxis) const;

    // Positive on the side the normal points to.
    double signedDistanceTo(const VxGePoint3d& p) const { return (p - mPoint).dotProduct(mNormal); }
    double distanceTo(const VxGePoint3d& p) const;
    bool isOn(const VxGePoint3d& p, const VxGeTol& tol = VxGeContext::gTol) const { return distanceTo(p) <= tol.equalPoint; }
    VxGePoint3d closestPointTo(const VxGePoint3d& p) const { return p - mNormal * signedDistanceTo(p); }
    VxGePoint3d orthoProject(const VxGePoint3d& p) const { return closestPointTo(p); }
    // Projection along a direction; false when the direction lies in the plane.
    bool project(const VxGePoint3d& p, const VxGeVector3d& direction, VxGePoint3d& result,
                 const VxGeTol& tol = VxGeContext::gTol) const;
    bool isParallelTo(const VxGePlane& other, const VxGeTol& tol = VxGeContext::gTol) const;
    bool isCoplanarTo(const VxGePlane& other, const VxGeTol& tol = VxGeContext::gTol) const;
    // The line where two planes meet (point and unit direction); false for
    // parallel or invalid planes.
    bool intersectWith(const VxGePlane& other, VxGePoint3d& linePoint, VxGeVector3d& lineDirection,
                       const VxGeTol& tol = VxGeContext::gTol) const;
    // Where the line through point along direction meets the plane; false
    // when they are parallel.
    bool intersectLine(const VxGePoint3d& point, const VxGeVector3d& direction, VxGePoint3d& result,
                       const VxGeTol& tol = VxGeContext::gTol) const;

    VxGePlane& set(const VxGePoint3d& point, const VxGeVector3d& normal);
    // False (and no change) when the matrix is singular.
    bool transformBy(const VxGeMatrix3d& m);
    VxGePlane& reverseNormal() { mNormal = -mNormal; return *this; }

private:
    struct UnitNormal {};
    // For constants whose normal is already of unit length.
    constexpr VxGePlane(const VxGePoint3d& point, const VxGeVector3d& unitNormal, UnitNormal)
        : mPoint(point), mNormal(unitNormal)
    {
    }

    VxGePoint3d mPoint{};
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
};

inline constexpr VxGePlane VxGePlane::kXYPlane{VxGePoint3d{}, VxGeVector3d{0.0, 0.0, 1.0}, UnitNormal{}};
inline constexpr VxGePlane VxGePlane::kYZPlane{VxGePoint3d{}, VxGeVector3d{1.0, 0.0, 0.0}, UnitNormal{}};
inline constexpr VxGePlane VxGePlane::kZXPlane{VxGePoint3d{}, VxGeVector3d{0.0, 1.0, 0.0}, UnitNormal{}};

}  // namespace kx
