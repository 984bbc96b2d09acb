#include <algorithm>
#include <cmath>
#include <limits>

#include "ge/curves.h"
#include "ge/numeric.h"

namespace kx {

namespace {

constexpr VxGeTol kExact{0.0, 0.0};
constexpr double kSweepTol = 1e-12;

bool isFinite(const VxGePoint3d& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// Wraps into (-pi, pi].
double wrapToPi(double angle)
{
    double a = vxgeNormalizeAngle(angle);
    return a > kPi ? a - kTwoPi : a;
}

}  // namespace

VxGeEllipArc3d::VxGeEllipArc3d(const VxGePoint3d& center, const VxGeVector3d& majorAxis,
                               const VxGeVector3d& minorAxis, double majorRadius, double minorRadius,
                               double startParam, double endParam)
{
    if (!set(center, majorAxis, minorAxis, majorRadius, minorRadius)) {
        // Keep the given center but mark the ellipse invalid.
        mCenter = isFinite(center) ? center : VxGePoint3d{};
        mMajorRadius = 0.0;
        mMinorRadius = 0.0;
    }
    setParams(startParam, endParam);
}

VxGeEllipArc3d VxGeEllipArc3d::fromAxisRatio(const VxGePoint3d& center, const VxGeVector3d& normal,
                                             const VxGeVector3d& majorAxisVector, double radiusRatio,
                                             double startParam, double endParam)
{
    double major = majorAxisVector.length();
    VxGeVector3d minorDir = normal.normal(kExact).crossProduct(majorAxisVector.normal(kExact));
    return VxGeEllipArc3d(center, majorAxisVector, minorDir, major, major * radiusRatio, startParam, endParam);
}

VxGeEllipArc3d::VxGeEllipArc3d(const VxGeCircArc3d& arc)
    : VxGeEllipArc3d(arc.center(), arc.refVec(), arc.perpVec(), arc.radius(), arc.radius(), arc.startAng(),
                     arc.endAng())
{
}

bool VxGeEllipArc3d::set(const VxGePoint3d& center, const VxGeVector3d& majorAxis, const VxGeVector3d& minorAxis,
                         double majorRadius, double minorRadius)
{
    VxGeVector3d u = majorAxis.normal(kExact);
    // The minor axis keeps its side of the major one but is made exactly
    // perpendicular to it.
    VxGeVector3d v = (minorAxis - u * minorAxis.dotProduct(u)).normal(kExact);
    if (u.lengthSqrd() == 0.0 || v.length() < 0.5 || !isFinite(center) || !std::isfinite(majorRadius) ||
        !std::isfinite(minorRadius) || majorRadius < 0.0 || minorRadius < 0.0)
        return false;
    if (minorAxis.length() < 1e-12 * std::max(1.0, majorAxis.length()))
        return false;
    mCenter = center;
    mMajorAxis = u;
    mMinorAxis = v;
    mMajorRadius = majorRadius;
    mMinorRadius = minorRadius;
    return true;
}

void VxGeEllipArc3d::setParams(double startParam, double endParam)
{
    if (!std::isfinite(startParam) || !std::isfinite(endParam)) {
        mStartParam = 0.0;
        mEndParam = kTwoPi;
        return;
    }
    double sweep = vxgeSweep(startParam, endParam);
    if (sweep <= kSweepTol || sweep >= kTwoPi - kSweepTol)
        sweep = kTwoPi;
    mStartParam = vxgeNormalizeAngle(startParam);
    mEndParam = mStartParam + sweep;
}

bool VxGeEllipArc3d::isCircular(const VxGeTol& tol) const
{
    return std::fabs(mMajorRadius - mMinorRadius) <= tol.equalPoint;
}

bool VxGeEllipArc3d::isValid(const VxGeTol& tol) const
{
    return mMajorRadius > tol.equalPoint && mMinorRadius > tol.equalPoint && isFinite(mCenter);
}

double VxGeEllipArc3d::paramFromAngle(double angle) const
{
    if (!std::isfinite(angle) || !(mMajorRadius > 0.0) || !(mMinorRadius > 0.0))
        return angle;
    // The point at that angle satisfies tan(angle) = (b sin t) / (a cos t).
    // The parameter differs from the angle by less than a quarter turn, so
    // the turn of the input is kept.
    double t = std::atan2(mMajorRadius * std::sin(angle), mMinorRadius * std::cos(angle));
    return angle + wrapToPi(t - angle);
}

double VxGeEllipArc3d::angleFromParam(double param) const
{
    if (!std::isfinite(param))
        return param;
    double angle = std::atan2(mMinorRadius * std::sin(param), mMajorRadius * std::cos(param));
    return param + wrapToPi(angle - param);
}

double VxGeEllipArc3d::paramOf(const VxGePoint3d& point) const
{
    if (!(mMajorRadius > 0.0) || !(mMinorRadius > 0.0))
        return 0.0;
    VxGeVector3d w = point - mCenter;
    double x = w.dotProduct(mMajorAxis) / mMajorRadius;
    double y = w.dotProduct(mMinorAxis) / mMinorRadius;
    if (x == 0.0 && y == 0.0)
        return 0.0;
    return vxgeNormalizeAngle(std::atan2(y, x));
}

bool VxGeEllipArc3d::isInRange(double param, const VxGeTol& tol) const
{
    if (isFullEllipse())
        return true;
    double speed = std::max(evalDeriv(param).length(), mMinorRadius);
    double slack = speed > 0.0 ? tol.equalPoint / speed : 0.0;
    double d = vxgeNormalizeAngle(param - mStartParam);
    return d <= sweep() + slack || d >= kTwoPi - slack;
}

double VxGeEllipArc3d::area() const
{
    double ab = mMajorRadius * mMinorRadius;
    if (isFullEllipse())
        return kPi * ab;
    double s = sweep();
    // An affine image of the circular segment.
    return 0.5 * ab * (s - std::sin(s));
}

void VxGeEllipArc3d::getInterval(double& startParam, double& endParam) const
{
    startParam = mStartParam;
    endParam = mEndParam;
}

VxGePoint3d VxGeEllipArc3d::evalPoint(double param) const
{
    return mCenter + mMajorAxis * (mMajorRadius * std::cos(param)) + mMinorAxis * (mMinorRadius * std::sin(param));
}

VxGeVector3d VxGeEllipArc3d::evalDeriv(double param) const
{
    return mMajorAxis * (-mMajorRadius * std::sin(param)) + mMinorAxis * (mMinorRadius * std::cos(param));
}

VxGePoint3d VxGeEllipArc3d::evalOffsetPoint(double param, double distance) const
{
    // Outward normal in the plane: b cos t majorAxis + a sin t minorAxis.
    VxGeVector3d outward = mMajorAxis * (mMinorRadius * std::cos(param)) + mMinorAxis * (mMajorRadius * std::sin(param));
    return evalPoint(param) + outward.normal(kExact) * distance;
}

std::vector<double> VxGeEllipArc3d::offsetSampleParams(double distance, double maxDeviation) const
{
    std::vector<double> params;
    if (!isValid() || !std::isfinite(distance) || !(maxDeviation > 0.0)) {
        params.push_back(mStartParam);
        params.push_back(mEndParam);
        return params;
    }
    constexpr int kInitial = 16;
    constexpr int kMaxDepth = 20;
    constexpr std::size_t kMaxPoints = 100000;
    double step = sweep() / kInitial;
    params.push_back(mStartParam);
    // Depth-first halving of every piece whose middle strays from its chord.
    struct Piece {
        double from, to;
        int depth;
    };
    for (int i = 0; i < kInitial; ++i) {
        std::vector<Piece> stack{{mStartParam + i * step, mStartParam + (i + 1) * step, 0}};
        while (!stack.empty()) {
            Piece piece = stack.back();
            stack.pop_back();
            double mid = 0.5 * (piece.from + piece.to);
            VxGePoint3d a = evalOffsetPoint(piece.from, distance);
            VxGePoint3d b = evalOffsetPoint(piece.to, distance);
            VxGePoint3d m = evalOffsetPoint(mid, distance);
            VxGeVector3d chord = b - a;
            VxGeVector3d w = m - a;
            double chordLen = chord.length();
            double deviation = chordLen > 0.0 ? w.crossProduct(chord).length() / chordLen : w.length();
            if (deviation > maxDeviation && piece.depth < kMaxDepth && params.size() < kMaxPoints) {
                stack.push_back({mid, piece.to, piece.depth + 1});
                stack.push_back({piece.from, mid, piece.depth + 1});
            } else {
                params.push_back(piece.to);
            }
        }
    }
    params.back() = mEndParam;
    return params;
}

VxGePoint3d VxGeEllipArc3d::closestPointTo(const VxGePoint3d& point, double* param) const
{
    // Candidates: where (P(t) - point) . P'(t) = 0, plus the end points.
    // With A = a majorAxis, B = b minorAxis perpendicular and w = center -
    // point that is  w.B cos t - w.A sin t + (b^2 - a^2)/2 sin 2t = 0.
    double a = mMajorRadius, b = mMinorRadius;
    VxGeVector3d w = mCenter - point;
    const double k[5] = {0.0, b * w.dotProduct(mMinorAxis), -a * w.dotProduct(mMajorAxis), 0.0, 0.5 * (b * b - a * a)};
    double roots[8];
    // Every extremum of that function is a harmless extra candidate and
    // catches the double roots.
    int n = vxgeTrigPolyRoots(k, std::numeric_limits<double>::max(), roots);
    double bestParam = mStartParam;
    double bestDistance = evalPoint(mStartParam).distanceTo(point);
    auto consider = [&](double t) {
        double d = evalPoint(t).distanceTo(point);
        if (d < bestDistance) {
            bestDistance = d;
            bestParam = t;
        }
    };
    consider(mEndParam);
    for (int i = 0; i < n; ++i) {
        double relative = vxgeNormalizeAngle(roots[i] - mStartParam);
        if (relative <= sweep())
            consider(mStartParam + relative);
    }
    if (param)
        *param = bestParam;
    return evalPoint(bestParam);
}

double VxGeEllipArc3d::length(double fromParam, double toParam) const
{
    if (!std::isfinite(fromParam) || !std::isfinite(toParam))
        return 0.0;
    return std::fabs(vxgeEllipseArcLength(mMajorRadius, mMinorRadius, toParam) -
                     vxgeEllipseArcLength(mMajorRadius, mMinorRadius, fromParam));
}

bool VxGeEllipArc3d::getExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    VxGeVector3d a = majorAxisVector(), b = minorAxisVector();
    auto eval = [&](double t) { return mCenter + a * std::cos(t) + b * std::sin(t); };
    if (!isFullEllipse()) {
        extents.addPoint(eval(mStartParam));
        extents.addPoint(eval(mEndParam));
    }
    for (int axis = 0; axis < 3; ++axis) {
        double ca = a[axis], cb = b[axis];
        double amplitude = std::hypot(ca, cb);
        double tMax = std::atan2(cb, ca);
        for (int k = 0; k < 2; ++k) {
            double t = tMax + k * kPi;
            if (isFullEllipse() || vxgeNormalizeAngle(t - mStartParam) <= sweep()) {
                VxGePoint3d p = eval(t);
                p[axis] = mCenter[axis] + (k == 0 ? amplitude : -amplitude);
                extents.addPoint(p);
            }
        }
    }
    return extents.isValid();
}

bool VxGeEllipArc3d::transformBy(const VxGeMatrix3d& m)
{
    if (m.isPerspective())
        return false;
    // The images of the semi-axes are conjugate semi-diameters A and B of the
    // new ellipse: P'(t) = c' + A cos t + B sin t. Its axes lie at the
    // parameter t0 with tan 2t0 = 2 A.B / (A.A - B.B).
    VxGeVector3d A = m.transform(majorAxisVector());
    VxGeVector3d B = m.transform(minorAxisVector());
    VxGeVector3d preferredNormal = m.transformNormal(normal());
    double areaScale = A.crossProduct(B).length();
    if (!(areaScale > 1e-300) || preferredNormal.lengthSqrd() == 0.0 ||
        areaScale <= 1e-14 * A.length() * B.length())
        return false;
    double cross = 2.0 * A.dotProduct(B);
    double diff = A.dotProduct(A) - B.dotProduct(B);
    // A circle stays put instead of taking its axes from rounding noise.
    bool circular = std::fabs(cross) <= 1e-14 * (A.dotProduct(A) + B.dotProduct(B)) &&
                    std::fabs(diff) <= 1e-14 * (A.dotProduct(A) + B.dotProduct(B));
    double t0 = circular ? 0.0 : 0.5 * std::atan2(cross, diff);
    VxGeVector3d major = A * std::cos(t0) + B * std::sin(t0);
    VxGeVector3d minor = B * std::cos(t0) - A * std::sin(t0);
    if (!circular && minor.length() > major.length()) {
        t0 += kHalfPi;
        major = A * std::cos(t0) + B * std::sin(t0);
        minor = B * std::cos(t0) - A * std::sin(t0);
    }
    double start = mStartParam - t0, end = mEndParam - t0;
    // Keep the normal on the side the transformed normal points to; a
    // reflection then runs the parameter the other way.
    if (major.crossProduct(minor).dotProduct(preferredNormal) < 0.0) {
        minor = -minor;
        double newStart = -end, newEnd = -start;
        start = newStart;
        end = newEnd;
    }
    VxGeEllipArc3d result;
    if (!result.set(m.transform(mCenter), major, minor, major.length(), minor.length()))
        return false;
    if (isFullEllipse())
        result.setParams(0.0, kTwoPi);
    else
        result.setParams(start, end);
    *this = result;
    return true;
}

}  // namespace kx
