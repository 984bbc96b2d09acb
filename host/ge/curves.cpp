#include "ge/curves.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kx {

namespace {

constexpr VxGeTol kExact{0.0, 0.0};
constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool isFinite(const VxGePoint3d& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

bool isFinite(const VxGeVector3d& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// Sweeps this close to zero or a full turn are a full turn: a parameter
// computed from an angle of 2pi must not turn a circle into a sliver.
constexpr double kSweepTol = 1e-12;

void normalizeInterval(double start, double end, double& outStart, double& outEnd)
{
    if (!std::isfinite(start) || !std::isfinite(end)) {
        outStart = 0.0;
        outEnd = kTwoPi;
        return;
    }
    double sweep = vxgeSweep(start, end);
    if (sweep <= kSweepTol || sweep >= kTwoPi - kSweepTol)
        sweep = kTwoPi;
    outStart = vxgeNormalizeAngle(start);
    outEnd = outStart + sweep;
}

}  // namespace

// ---------------------------------------------------------------- base

bool VxGeCurve3d::isBounded() const
{
    double start = 0.0, end = 0.0;
    getInterval(start, end);
    return std::isfinite(start) && std::isfinite(end);
}

bool VxGeCurve3d::isOn(const VxGePoint3d& point, const VxGeTol& tol) const
{
    return distanceTo(point) <= tol.equalPoint;
}

bool VxGeCurve3d::paramAtPoint(const VxGePoint3d& point, double& param, const VxGeTol& tol) const
{
    double t = 0.0;
    if (!(closestPointTo(point, &t).distanceTo(point) <= tol.equalPoint))
        return false;
    param = t;
    return true;
}

// ---------------------------------------------------------------- linear

VxGeLinearEnt3d::VxGeLinearEnt3d(const VxGePoint3d& point, const VxGeVector3d& direction)
    : mPoint(point), mDirection(direction.normal(kExact))
{
}

VxGePoint3d VxGeLinearEnt3d::closestPointTo(const VxGePoint3d& point, double* param) const
{
    double start = 0.0, end = 0.0;
    getInterval(start, end);
    double t = std::clamp(paramOf(point), start, end);
    if (param)
        *param = t;
    return evalPoint(t);
}

double VxGeLinearEnt3d::length(double fromParam, double toParam) const
{
    return std::fabs(toParam - fromParam);
}

bool VxGeLinearEnt3d::isParallelTo(const VxGeLinearEnt3d& other, const VxGeTol& tol) const
{
    return mDirection.isParallelTo(other.mDirection, tol);
}

bool VxGeLinearEnt3d::isColinearTo(const VxGeLinearEnt3d& other, const VxGeTol& tol) const
{
    if (!isParallelTo(other, tol))
        return false;
    VxGePoint3d foot = mPoint + mDirection * paramOf(other.mPoint);
    return foot.isEqualTo(other.mPoint, tol);
}

VxGeVector3d VxGeLinearEnt3d::offsetDirection(const VxGeVector3d& planeNormal) const
{
    VxGeVector3d side = mDirection.crossProduct(planeNormal.normal(kExact));
    if (side.length() <= 1e-12)
        return {};
    return side.normal(kExact);
}

VxGeLineSeg3d& VxGeLineSeg3d::set(const VxGePoint3d& start, const VxGePoint3d& end)
{
    mPoint = start;
    mEnd = end;
    mDirection = (end - start).normal(kExact);
    return *this;
}

VxGePoint3d VxGeLineSeg3d::midPoint() const
{
    return {0.5 * (mPoint.x + mEnd.x), 0.5 * (mPoint.y + mEnd.y), 0.5 * (mPoint.z + mEnd.z)};
}

void VxGeLineSeg3d::getInterval(double& startParam, double& endParam) const
{
    startParam = 0.0;
    endParam = length();
}

VxGePoint3d VxGeLineSeg3d::evalPoint(double param) const
{
    // Exact end points, whatever the rounding of the unit direction.
    double len = length();
    if (param == len)
        return mEnd;
    return mPoint + mDirection * param;
}

bool VxGeLineSeg3d::getExtents(VxGeExtents3d& extents) const
{
    extents.set(mPoint, mEnd);
    return true;
}

bool VxGeLineSeg3d::transformBy(const VxGeMatrix3d& m)
{
    VxGePoint3d start = m.transform(mPoint);
    VxGePoint3d end = m.transform(mEnd);
    if (!isFinite(start) || !isFinite(end))
        return false;
    set(start, end);
    return true;
}

bool VxGeLineSeg3d::getOffset(double distance, const VxGeVector3d& planeNormal, VxGeLineSeg3d& result) const
{
    VxGeVector3d side = offsetDirection(planeNormal);
    if (side.lengthSqrd() == 0.0 || !std::isfinite(distance))
        return false;
    result.set(mPoint + side * distance, mEnd + side * distance);
    return true;
}

bool VxGeLine3d::set(const VxGePoint3d& point, const VxGeVector3d& direction)
{
    VxGeVector3d d = direction.normal(kExact);
    if (d.lengthSqrd() == 0.0 || !isFinite(point)) {
        if (mDirection.lengthSqrd() == 0.0)
            mDirection = VxGeVector3d::kXAxis;
        return false;
    }
    mPoint = point;
    mDirection = d;
    return true;
}

void VxGeLine3d::getInterval(double& startParam, double& endParam) const
{
    startParam = -kInfinity;
    endParam = kInfinity;
}

double VxGeLine3d::length() const
{
    return kInfinity;
}

bool VxGeLine3d::transformBy(const VxGeMatrix3d& m)
{
    // Two points keep projective maps right as well.
    VxGePoint3d p = m.transform(mPoint);
    VxGePoint3d q = m.transform(mPoint + mDirection);
    VxGeVector3d d = q - p;
    if (!isFinite(p) || !isFinite(d) || d.length() <= 1e-300)
        return false;
    return set(p, d);
}

bool VxGeLine3d::getOffset(double distance, const VxGeVector3d& planeNormal, VxGeLine3d& result) const
{
    VxGeVector3d side = offsetDirection(planeNormal);
    if (side.lengthSqrd() == 0.0 || !std::isfinite(distance))
        return false;
    result = *this;
    result.mPoint = mPoint + side * distance;
    return true;
}

bool VxGeRay3d::set(const VxGePoint3d& basePoint, const VxGeVector3d& direction)
{
    VxGeVector3d d = direction.normal(kExact);
    if (d.lengthSqrd() == 0.0 || !isFinite(basePoint))
        return false;
    mPoint = basePoint;
    mDirection = d;
    return true;
}

void VxGeRay3d::getInterval(double& startParam, double& endParam) const
{
    startParam = 0.0;
    endParam = kInfinity;
}

double VxGeRay3d::length() const
{
    return kInfinity;
}

bool VxGeRay3d::transformBy(const VxGeMatrix3d& m)
{
    VxGePoint3d p = m.transform(mPoint);
    VxGePoint3d q = m.transform(mPoint + mDirection);
    VxGeVector3d d = q - p;
    if (!isFinite(p) || !isFinite(d) || d.length() <= 1e-300)
        return false;
    return set(p, d);
}

bool VxGeRay3d::getOffset(double distance, const VxGeVector3d& planeNormal, VxGeRay3d& result) const
{
    VxGeVector3d side = offsetDirection(planeNormal);
    if (side.lengthSqrd() == 0.0 || !std::isfinite(distance))
        return false;
    result = *this;
    result.mPoint = mPoint + side * distance;
    return true;
}

// ---------------------------------------------------------------- circular arc

VxGeCircArc3d::VxGeCircArc3d(const VxGePoint3d& center, const VxGeVector3d& normal, double radius)
    : VxGeCircArc3d(center, normal, VxGeVector3d{}, radius, 0.0, kTwoPi)
{
}

VxGeCircArc3d::VxGeCircArc3d(const VxGePoint3d& center, const VxGeVector3d& normal, const VxGeVector3d& refVec,
                             double radius, double startAngle, double endAngle)
    : mCenter(center)
{
    if (!setAxes(normal, refVec)) {
        mNormal = {};  // marks the circle invalid
        mRefVec = {};
    }
    mRadius = (std::isfinite(radius) && radius >= 0.0) ? radius : 0.0;
    setAngles(startAngle, endAngle);
}

bool VxGeCircArc3d::fromThreePoints(const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3,
                                    VxGeCircArc3d& result)
{
    VxGeVector3d a = p1 - p3;
    VxGeVector3d b = p2 - p3;
    VxGeVector3d axb = a.crossProduct(b);
    double denom = 2.0 * axb.lengthSqrd();
    double scale = a.lengthSqrd() * b.lengthSqrd();
    if (!(denom > 1e-24 * scale) || scale == 0.0)
        return false;
    // Circumcenter relative to p3.
    VxGeVector3d offset = (b * a.lengthSqrd() - a * b.lengthSqrd()).crossProduct(axb) / denom;
    VxGePoint3d center = p3 + offset;
    VxGeVector3d normal = (p2 - p1).crossProduct(p3 - p1);
    VxGeCircArc3d arc(center, normal, p1 - center, offset.length(), 0.0, kTwoPi);
    double endAngle = arc.angleOf(p3);
    arc.setAngles(0.0, endAngle);
    result = arc;
    return true;
}

bool VxGeCircArc3d::isValid(const VxGeTol& tol) const
{
    return mNormal.lengthSqrd() != 0.0 && mRadius > tol.equalPoint && isFinite(mCenter);
}

bool VxGeCircArc3d::setRadius(double radius)
{
    if (!std::isfinite(radius) || radius < 0.0)
        return false;
    mRadius = radius;
    return true;
}

void VxGeCircArc3d::setAngles(double startAngle, double endAngle)
{
    normalizeInterval(startAngle, endAngle, mStartAngle, mEndAngle);
}

bool VxGeCircArc3d::setAxes(const VxGeVector3d& normal, const VxGeVector3d& refVec)
{
    VxGeVector3d n = normal.normal(kExact);
    if (n.lengthSqrd() == 0.0 || !isFinite(n))
        return false;
    VxGeVector3d r = refVec.orthoProject(n);
    if (r.length() <= 1e-12 * std::max(1.0, refVec.length()) || !isFinite(r))
        r = n.perpVector();
    mNormal = n;
    mRefVec = r.normal(kExact);
    return true;
}

void VxGeCircArc3d::rebaseAngles(const VxGeVector3d& refVec)
{
    VxGeVector3d r = refVec.orthoProject(mNormal);
    if (r.length() <= 1e-12 * std::max(1.0, refVec.length()) || !isFinite(r))
        r = mNormal.perpVector();
    r = r.normal(kExact);
    if (r.lengthSqrd() == 0.0)
        return;
    // The old reference vector's angle seen from the new one.
    double shift = std::atan2(mRefVec.dotProduct(mNormal.crossProduct(r)), mRefVec.dotProduct(r));
    bool full = isFullCircle();
    mRefVec = r;
    if (full)
        setAngles(vxgeNormalizeAngle(mStartAngle + shift), vxgeNormalizeAngle(mStartAngle + shift) + kTwoPi);
    else
        setAngles(mStartAngle + shift, mEndAngle + shift);
}

double VxGeCircArc3d::angleOf(const VxGePoint3d& point) const
{
    VxGeVector3d w = point - mCenter;
    double x = w.dotProduct(mRefVec);
    double y = w.dotProduct(perpVec());
    if (x == 0.0 && y == 0.0)
        return 0.0;
    return vxgeNormalizeAngle(std::atan2(y, x));
}

bool VxGeCircArc3d::isInRange(double angle, const VxGeTol& tol) const
{
    if (isFullCircle())
        return true;
    double slack = mRadius > 0.0 ? tol.equalPoint / mRadius : 0.0;
    double d = vxgeNormalizeAngle(angle - mStartAngle);
    return d <= sweep() + slack || d >= kTwoPi - slack;
}

double VxGeCircArc3d::area() const
{
    double s = sweep();
    if (isFullCircle())
        return kPi * mRadius * mRadius;
    return 0.5 * mRadius * mRadius * (s - std::sin(s));
}

void VxGeCircArc3d::getInterval(double& startParam, double& endParam) const
{
    startParam = mStartAngle;
    endParam = mEndAngle;
}

VxGePoint3d VxGeCircArc3d::evalPoint(double angle) const
{
    return mCenter + mRefVec * (mRadius * std::cos(angle)) + perpVec() * (mRadius * std::sin(angle));
}

VxGeVector3d VxGeCircArc3d::evalDeriv(double angle) const
{
    return mRefVec * (-mRadius * std::sin(angle)) + perpVec() * (mRadius * std::cos(angle));
}

VxGePoint3d VxGeCircArc3d::closestPointTo(const VxGePoint3d& point, double* param) const
{
    VxGeVector3d w = (point - mCenter).orthoProject(mNormal);
    double angle = mStartAngle;
    if (w.length() > 1e-15 * std::max(1.0, mRadius)) {
        double relative = vxgeNormalizeAngle(angleOf(point) - mStartAngle);
        if (relative <= sweep()) {
            angle = mStartAngle + relative;
        } else {
            // Outside the arc the nearer end point is the nearest point.
            angle = startPoint().distanceTo(point) <= endPoint().distanceTo(point) ? mStartAngle : mEndAngle;
        }
    }
    if (param)
        *param = angle;
    return evalPoint(angle);
}

double VxGeCircArc3d::length(double fromParam, double toParam) const
{
    return mRadius * std::fabs(toParam - fromParam);
}

namespace {

// Adds the extreme points of center + A cos t + B sin t along each world axis
// that fall within [start, end] (end - start <= 2pi).
void addConicExtents(const VxGePoint3d& center, const VxGeVector3d& a, const VxGeVector3d& b, double start, double end,
                     bool full, VxGeExtents3d& extents)
{
    auto eval = [&](double t) { return center + a * std::cos(t) + b * std::sin(t); };
    extents.reset();
    if (!full) {
        extents.addPoint(eval(start));
        extents.addPoint(eval(end));
    }
    for (int axis = 0; axis < 3; ++axis) {
        double ca = a[axis], cb = b[axis];
        if (ca == 0.0 && cb == 0.0) {
            if (full)
                extents.addPoint(eval(0.0));
            continue;
        }
        // Coordinate = center + ca cos t + cb sin t: extreme at atan2(cb, ca)
        // and half a turn from it. The extreme value itself is computed from
        // the amplitude, which is exact, rather than from the rounded angle.
        double amplitude = std::hypot(ca, cb);
        double tMax = std::atan2(cb, ca);
        for (int k = 0; k < 2; ++k) {
            double t = tMax + k * kPi;
            double d = vxgeNormalizeAngle(t - start);
            if (full || d <= end - start) {
                VxGePoint3d p = eval(t);
                p[axis] = center[axis] + (k == 0 ? amplitude : -amplitude);
                extents.addPoint(p);
            }
        }
    }
}

}  // namespace

bool VxGeCircArc3d::getExtents(VxGeExtents3d& extents) const
{
    addConicExtents(mCenter, mRefVec * mRadius, perpVec() * mRadius, mStartAngle, mEndAngle, isFullCircle(), extents);
    return extents.isValid();
}

bool VxGeCircArc3d::transformBy(const VxGeMatrix3d& m)
{
    if (!m.isUniScaledOrtho())
        return false;
    VxGeVector3d u = m.transform(mRefVec);
    double scale = u.length();
    VxGeVector3d n = m.transformNormal(mNormal);
    if (!(scale > 0.0) || n.lengthSqrd() == 0.0)
        return false;
    u /= scale;
    VxGeVector3d v = m.transform(perpVec());
    VxGeCircArc3d result = *this;
    result.mCenter = m.transform(mCenter);
    result.mNormal = n;
    result.mRefVec = u.orthoProject(n).normal(kExact);
    result.mRadius = mRadius * scale;
    // A reflection turns the arc clockwise about the new normal: the same
    // points are then swept from -end to -start.
    if (v.dotProduct(n.crossProduct(result.mRefVec)) < 0.0 && !isFullCircle())
        result.setAngles(-mEndAngle, -mStartAngle);
    if (!isFinite(result.mCenter) || !std::isfinite(result.mRadius))
        return false;
    *this = result;
    return true;
}

bool VxGeCircArc3d::getOffset(double distance, VxGeCircArc3d& result) const
{
    double radius = mRadius + distance;
    if (!std::isfinite(radius) || radius <= VxGeContext::gTol.equalPoint || mNormal.lengthSqrd() == 0.0)
        return false;
    result = *this;
    result.mRadius = radius;
    return true;
}

}  // namespace kx
