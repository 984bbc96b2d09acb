#include "ge/point.h"

#include "ge/matrix.h"
#include "ge/plane.h"

namespace kx {

VxGeVector2d VxGeVector2d::normal(const VxGeTol& tol) const
{
    double len = length();
    if (len <= tol.equalVector || !std::isfinite(len))
        return {};
    return {x / len, y / len};
}

bool VxGeVector2d::isParallelTo(const VxGeVector2d& v, const VxGeTol& tol) const
{
    VxGeVector2d a = normal(tol);
    VxGeVector2d b = v.normal(tol);
    if (a.lengthSqrd() == 0.0 || b.lengthSqrd() == 0.0)
        return false;
    return std::fabs(a.crossProduct(b)) <= tol.equalVector;
}

bool VxGeVector2d::isPerpendicularTo(const VxGeVector2d& v, const VxGeTol& tol) const
{
    VxGeVector2d a = normal(tol);
    VxGeVector2d b = v.normal(tol);
    if (a.lengthSqrd() == 0.0 || b.lengthSqrd() == 0.0)
        return false;
    return std::fabs(a.dotProduct(b)) <= tol.equalVector;
}

VxGeVector2d& VxGeVector2d::rotateBy(double angle)
{
    double c = std::cos(angle);
    double s = std::sin(angle);
    *this = {c * x - s * y, s * x + c * y};
    return *this;
}

VxGeVector2d& VxGeVector2d::transformBy(const VxGeMatrix2d& m)
{
    return *this = m.transform(*this);
}

VxGePoint2d& VxGePoint2d::transformBy(const VxGeMatrix2d& m)
{
    return *this = m.transform(*this);
}

VxGePoint2d& VxGePoint2d::rotateBy(double angle, const VxGePoint2d& center)
{
    VxGeVector2d v = *this - center;
    v.rotateBy(angle);
    return *this = center + v;
}

VxGePoint2d& VxGePoint2d::scaleBy(double factor, const VxGePoint2d& center)
{
    return *this = center + (*this - center) * factor;
}

double VxGeVector3d::angleTo(const VxGeVector3d& v) const
{
    // atan2 of |a x b| and a . b keeps full precision near 0 and pi, where
    // acos of the normalised dot product would not.
    return std::atan2(crossProduct(v).length(), dotProduct(v));
}

double VxGeVector3d::angleTo(const VxGeVector3d& v, const VxGeVector3d& reference) const
{
    VxGeVector3d cross = crossProduct(v);
    double angle = std::atan2(cross.length(), dotProduct(v));
    if (cross.dotProduct(reference) < 0.0)
        angle = kTwoPi - angle;
    return angle >= kTwoPi ? 0.0 : angle;
}

VxGeVector3d VxGeVector3d::normal(const VxGeTol& tol) const
{
    double len = length();
    if (len <= tol.equalVector || !std::isfinite(len))
        return {};
    return {x / len, y / len, z / len};
}

VxGeVector3d VxGeVector3d::perpVector() const
{
    VxGeVector3d n = normal(VxGeTol{0.0, 0.0});
    if (n.lengthSqrd() == 0.0)
        return {};
    constexpr double kLimit = 1.0 / 64.0;
    VxGeVector3d axis = (std::fabs(n.x) < kLimit && std::fabs(n.y) < kLimit) ? kYAxis.crossProduct(n)
                                                                            : kZAxis.crossProduct(n);
    return axis.normal(VxGeTol{0.0, 0.0});
}

bool VxGeVector3d::isParallelTo(const VxGeVector3d& v, const VxGeTol& tol) const
{
    VxGeVector3d a = normal(tol);
    VxGeVector3d b = v.normal(tol);
    if (a.lengthSqrd() == 0.0 || b.lengthSqrd() == 0.0)
        return false;
    return a.crossProduct(b).length() <= tol.equalVector;
}

bool VxGeVector3d::isCodirectionalTo(const VxGeVector3d& v, const VxGeTol& tol) const
{
    return isParallelTo(v, tol) && dotProduct(v) > 0.0;
}

bool VxGeVector3d::isPerpendicularTo(const VxGeVector3d& v, const VxGeTol& tol) const
{
    VxGeVector3d a = normal(tol);
    VxGeVector3d b = v.normal(tol);
    if (a.lengthSqrd() == 0.0 || b.lengthSqrd() == 0.0)
        return false;
    return std::fabs(a.dotProduct(b)) <= tol.equalVector;
}

VxGeVector3d& VxGeVector3d::rotateBy(double angle, const VxGeVector3d& axis)
{
    return *this = VxGeMatrix3d::rotation(angle, axis).transform(*this);
}

VxGeVector3d VxGeVector3d::orthoProject(const VxGeVector3d& planeNormal) const
{
    VxGeVector3d n = planeNormal.normal(VxGeTol{0.0, 0.0});
    return *this - n * dotProduct(n);
}

VxGeVector3d& VxGeVector3d::transformBy(const VxGeMatrix3d& m)
{
    return *this = m.transform(*this);
}

VxGePoint3d& VxGePoint3d::transformBy(const VxGeMatrix3d& m)
{
    return *this = m.transform(*this);
}

VxGePoint3d& VxGePoint3d::rotateBy(double angle, const VxGeVector3d& axis, const VxGePoint3d& center)
{
    return *this = VxGeMatrix3d::rotation(angle, axis, center).transform(*this);
}

VxGePoint3d& VxGePoint3d::scaleBy(double factor, const VxGePoint3d& center)
{
    return *this = center + (*this - center) * factor;
}

VxGePoint3d& VxGePoint3d::mirror(const VxGePlane& plane)
{
    if (plane.isValid())
        *this = *this - plane.normal() * (2.0 * plane.signedDistanceTo(*this));
    return *this;
}

VxGePoint3d VxGePoint3d::orthoProject(const VxGePlane& plane) const
{
    return plane.closestPointTo(*this);
}

}  // namespace kx
