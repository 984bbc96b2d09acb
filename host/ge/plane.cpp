#include "ge/plane.h"

#include <cmath>

#include "ge/matrix.h"

namespace kx {

namespace {
constexpr VxGeTol kExact{0.0, 0.0};
}

VxGePlane::VxGePlane(const VxGePoint3d& point, const VxGeVector3d& normal)
{
    set(point, normal);
}

VxGePlane::VxGePlane(double a, double b, double c, double d)
{
    VxGeVector3d n{a, b, c};
    double len2 = n.lengthSqrd();
    if (len2 == 0.0 || !std::isfinite(len2) || !std::isfinite(d)) {
        mNormal = {};
        return;
    }
    // The point of the plane nearest the origin.
    set(VxGePoint3d::kOrigin - n * (d / len2), n);
}

VxGePlane::VxGePlane(const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3)
{
    VxGeVector3d u = p2 - p1;
    VxGeVector3d v = p3 - p1;
    VxGeVector3d n = u.crossProduct(v);
    // Collinear when the cross product is tiny against the two edges.
    double scale = u.length() * v.length();
    if (!(n.length() > 1e-12 * scale) || scale == 0.0) {
        mPoint = p1;
        mNormal = {};
        return;
    }
    set(p1, n);
}

VxGePlane VxGePlane::fromAxes(const VxGePoint3d& origin, const VxGeVector3d& uAxis, const VxGeVector3d& vAxis)
{
    return VxGePlane(origin, origin + uAxis, origin + vAxis);
}

VxGePlane& VxGePlane::set(const VxGePoint3d& point, const VxGeVector3d& normal)
{
    mPoint = point;
    mNormal = normal.normal(kExact);
    return *this;
}

void VxGePlane::getCoefficients(double& a, double& b, double& c, double& d) const
{
    a = mNormal.x;
    b = mNormal.y;
    c = mNormal.z;
    d = -mNormal.dotProduct(mPoint.asVector());
}

void VxGePlane::getCoordSystem(VxGePoint3d& origin, VxGeVector3d& xAxis, VxGeVector3d& yAxis) const
{
    origin = mPoint;
    xAxis = mNormal.perpVector();
    yAxis = mNormal.crossProduct(xAxis);
}

double VxGePlane::distanceTo(const VxGePoint3d& p) const
{
    return std::fabs(signedDistanceTo(p));
}

bool VxGePlane::project(const VxGePoint3d& p, const VxGeVector3d& direction, VxGePoint3d& result,
                        const VxGeTol& tol) const
{
    return intersectLine(p, direction, result, tol);
}

bool VxGePlane::isParallelTo(const VxGePlane& other, const VxGeTol& tol) const
{
    return mNormal.isParallelTo(other.mNormal, tol);
}

bool VxGePlane::isCoplanarTo(const VxGePlane& other, const VxGeTol& tol) const
{
    return isParallelTo(other, tol) && isOn(other.mPoint, tol) && other.isOn(mPoint, tol);
}

bool VxGePlane::intersectWith(const VxGePlane& other, VxGePoint3d& linePoint, VxGeVector3d& lineDirection,
                              const VxGeTol& tol) const
{
    if (!isValid() || !other.isValid())
        return false;
    VxGeVector3d dir = mNormal.crossProduct(other.mNormal);
    double len = dir.length();
    if (len <= tol.equalVector)
        return false;
    // The point of the line nearest this plane's point: solve
    // n1.x = d1, n2.x = d2 with x = p1 + a n1 + b n2.
    double d2 = other.signedDistanceTo(mPoint);  // n2 . (p1 - p2)
    double c = mNormal.dotProduct(other.mNormal);
    double det = 1.0 - c * c;  // = len^2 for unit normals
    double a = (c * d2) / det;
    double b = -d2 / det;
    linePoint = mPoint + mNormal * a + other.mNormal * b;
    lineDirection = dir / len;
    return true;
}

bool VxGePlane::intersectLine(const VxGePoint3d& point, const VxGeVector3d& direction, VxGePoint3d& result,
                              const VxGeTol& tol) const
{
    if (!isValid())
        return false;
    VxGeVector3d d = direction.normal(kExact);
    double denom = d.dotProduct(mNormal);
    if (d.lengthSqrd() == 0.0 || std::fabs(denom) <= tol.equalVector)
        return false;
    result = point - d * (signedDistanceTo(point) / denom);
    return true;
}

bool VxGePlane::transformBy(const VxGeMatrix3d& m)
{
    if (!isValid())
        return false;
    VxGeVector3d n = m.transformNormal(mNormal);
    if (n.lengthSqrd() == 0.0)
        return false;
    mPoint = m.transform(mPoint);
    mNormal = n;
    return true;
}

}  // namespace kx
