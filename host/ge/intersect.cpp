// Intersections between the linear, circular and elliptical curves.
//
// Every curve is reduced to one of two shapes: a linear one (point, unit
// direction, parameter interval) or a conic one (center, unit axes, radii,
// parameter interval). Line/line and line/conic have closed forms; two
// circles in one plane too; any other pair in one plane is solved as the
// roots of a trigonometric polynomial (the parameter of one conic put into
// the implicit equation of the other), and conics in different planes meet
// only on the line where their planes cross.

#include <algorithm>
#include <cmath>
#include <limits>

#include "ge/curves.h"
#include "ge/numeric.h"

namespace kx {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Linear {
    VxGePoint3d point;
    VxGeVector3d direction;  // unit
    double lo = -kInfinity;
    double hi = kInfinity;
};

struct Conic {
    VxGePoint3d center;
    VxGeVector3d u, v, n;  // unit major axis, unit minor axis, normal
    double a = 0.0, b = 0.0;
    double start = 0.0, end = kTwoPi;
    bool full = true;
    bool circle = false;

    VxGePoint3d eval(double t) const { return center + u * (a * std::cos(t)) + v * (b * std::sin(t)); }
    // Parameter of the point's projection on the plane.
    double paramOf(const VxGePoint3d& p) const
    {
        VxGeVector3d w = p - center;
        return vxgeNormalizeAngle(std::atan2(w.dotProduct(v) / b, w.dotProduct(u) / a));
    }
    double sweep() const { return end - start; }
};

bool isLinear(const VxGeCurve3d& curve)
{
    VxGeCurveKind kind = curve.kind();
    return kind == VxGeCurveKind::kLineSeg3d || kind == VxGeCurveKind::kLine3d || kind == VxGeCurveKind::kRay3d;
}

bool toLinear(const VxGeCurve3d& curve, bool extend, Linear& out)
{
    const auto& linear = static_cast<const VxGeLinearEnt3d&>(curve);
    if (linear.direction().lengthSqrd() == 0.0)
        return false;  // a zero-length segment
    out.point = linear.pointOnLine();
    out.direction = linear.direction();
    if (extend) {
        out.lo = -kInfinity;
        out.hi = kInfinity;
    } else {
        curve.getInterval(out.lo, out.hi);
    }
    return true;
}

bool toConic(const VxGeCurve3d& curve, bool extend, const VxGeTol& tol, Conic& out)
{
    if (curve.kind() == VxGeCurveKind::kCircArc3d) {
        const auto& arc = static_cast<const VxGeCircArc3d&>(curve);
        if (!arc.isValid(tol))
            return false;
        out.center = arc.center();
        out.u = arc.refVec();
        out.v = arc.perpVec();
        out.n = arc.normal();
        out.a = out.b = arc.radius();
        out.start = arc.startAng();
        out.end = arc.endAng();
        out.full = extend || arc.isFullCircle();
        out.circle = true;
    } else {
        const auto& ellipse = static_cast<const VxGeEllipArc3d&>(curve);
        if (!ellipse.isValid(tol))
            return false;
        out.center = ellipse.center();
        out.u = ellipse.majorAxis();
        out.v = ellipse.minorAxis();
        out.n = ellipse.normal();
        out.a = ellipse.majorRadius();
        out.b = ellipse.minorRadius();
        out.start = ellipse.startParam();
        out.end = ellipse.endParam();
        out.full = extend || ellipse.isFullEllipse();
        out.circle = false;
    }
    if (out.full) {
        out.start = 0.0;
        out.end = kTwoPi;
    }
    return true;
}

// Distance from a point to the whole circle or ellipse.
double distanceToConic(const Conic& conic, const VxGePoint3d& p)
{
    VxGeVector3d w = p - conic.center;
    if (conic.circle) {
        double h = w.dotProduct(conic.n);
        double rho = (w - conic.n * h).length();
        return std::hypot(h, rho - conic.a);
    }
    VxGeEllipArc3d ellipse(conic.center, conic.u, conic.v, conic.a, conic.b);
    return ellipse.closestPointTo(p).distanceTo(p);
}

bool inRange(const Conic& conic, const VxGePoint3d& p, double tol)
{
    if (conic.full)
        return true;
    if (vxgeNormalizeAngle(conic.paramOf(p) - conic.start) <= conic.sweep())
        return true;
    return p.distanceTo(conic.eval(conic.start)) <= tol || p.distanceTo(conic.eval(conic.end)) <= tol;
}

bool inRange(const Linear& linear, double param, double tol)
{
    return param >= linear.lo - tol && param <= linear.hi + tol;
}

// Collects points without repeats (closer than the tolerance).
struct Hits {
    double tol;
    std::vector<VxGePoint3d> points;

    void add(const VxGePoint3d& p)
    {
        if (!(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)))
            return;
        for (const VxGePoint3d& q : points)
            if (q.distanceTo(p) <= tol)
                return;
        points.push_back(p);
    }
};

void linearLinear(const Linear& first, const Linear& second, const VxGeTol& tol, double pointTol, Hits& hits)
{
    VxGeVector3d n = first.direction.crossProduct(second.direction);
    double n2 = n.lengthSqrd();
    if (std::sqrt(n2) <= tol.equalVector)
        return;  // parallel or collinear: nothing isolated
    VxGeVector3d w = second.point - first.point;
    // Parameters of the mutually closest points.
    double s = w.crossProduct(second.direction).dotProduct(n) / n2;
    double t = w.crossProduct(first.direction).dotProduct(n) / n2;
    VxGePoint3d p = first.point + first.direction * s;
    VxGePoint3d q = second.point + second.direction * t;
    if (p.distanceTo(q) > pointTol)
        return;  // skew
    if (!inRange(first, s, pointTol) || !inRange(second, t, pointTol))
        return;
    hits.add({0.5 * (p.x + q.x), 0.5 * (p.y + q.y), 0.5 * (p.z + q.z)});
}

// Where a line lying in the conic's plane meets the conic, as parameters of
// the line. In coordinates scaled so that the conic is the unit circle the
// line is point + s direction, and |point + s direction|^2 = 1 is a quadratic.
// A line that misses or crosses the conic by no more than the tolerance
// touches it once, at the foot of the perpendicular from the center.
int linearInPlaneParams(const Linear& line, const Conic& conic, double pointTol, double params[2])
{
    VxGeVector3d rel = line.point - conic.center;
    double x0 = rel.dotProduct(conic.u) / conic.a, y0 = rel.dotProduct(conic.v) / conic.b;
    double xd = line.direction.dotProduct(conic.u) / conic.a, yd = line.direction.dotProduct(conic.v) / conic.b;
    double qa = xd * xd + yd * yd;
    if (!(qa > 0.0))
        return 0;
    double qb = x0 * xd + y0 * yd;
    double qc = x0 * x0 + y0 * y0 - 1.0;
    double foot = -qb / qa;
    if (distanceToConic(conic, line.point + line.direction * foot) <= pointTol) {
        params[0] = foot;
        return 1;
    }
    double disc = qb * qb - qa * qc;
    if (disc <= 0.0)
        return 0;
    double q = -(qb + std::copysign(std::sqrt(disc), qb));
    if (q == 0.0) {
        params[0] = foot;
        return 1;
    }
    params[0] = q / qa;
    params[1] = qc / q;
    return 2;
}

void linearConic(const Linear& line, const Conic& conic, const VxGeTol& tol, double pointTol, Hits& hits)
{
    VxGeVector3d rel = line.point - conic.center;
    double dn = line.direction.dotProduct(conic.n);
    double pn = rel.dotProduct(conic.n);
    double params[2];
    int count = 0;
    if (std::fabs(dn) <= tol.equalVector) {
        if (std::fabs(pn) > pointTol)
            return;  // parallel to the plane, off it
        count = linearInPlaneParams(line, conic, pointTol, params);
    } else {
        // The line pierces the plane once.
        double s = -pn / dn;
        if (distanceToConic(conic, line.point + line.direction * s) <= pointTol)
            params[count++] = s;
    }
    for (int i = 0; i < count; ++i) {
        VxGePoint3d p = line.point + line.direction * params[i];
        if (inRange(line, params[i], pointTol) && inRange(conic, p, pointTol))
            hits.add(p);
    }
}

void circleCircleInPlane(const Conic& first, const Conic& second, double pointTol, Hits& hits)
{
    VxGeVector3d w = second.center - first.center;
    double dx = w.dotProduct(first.u), dy = w.dotProduct(first.v);
    double d = std::hypot(dx, dy);
    double r1 = first.a, r2 = second.a;
    if (d <= pointTol)
        return;  // concentric or the same circle: nothing isolated
    VxGeVector3d e = (first.u * dx + first.v * dy) / d;
    VxGeVector3d side = first.n.crossProduct(e);
    // Distance from the first center, along e, of the chord through the
    // intersections; h is half the chord.
    double along = (d * d + (r1 - r2) * (r1 + r2)) / (2.0 * d);
    double gapOutside = std::fabs(d - (r1 + r2));
    double gapInside = std::fabs(d - std::fabs(r1 - r2));
    if (std::min(gapOutside, gapInside) <= pointTol) {
        // Tangent, within the tolerance: one point, on the line of centers.
        // Outside each other, or the second inside the first, the touch is
        // on the side facing the second center; the first inside the second
        // touches on the far side.
        double reach = (gapOutside <= gapInside || r1 >= r2) ? r1 : -r1;
        VxGePoint3d p = first.center + e * reach;
        if (inRange(first, p, pointTol) && inRange(second, p, pointTol))
            hits.add(p);
        return;
    }
    double h2 = (r1 - along) * (r1 + along);
    if (!(h2 > 0.0))
        return;
    double h = std::sqrt(h2);
    for (double sign : {-1.0, 1.0}) {
        VxGePoint3d p = first.center + e * along + side * (sign * h);
        if (inRange(first, p, pointTol) && inRange(second, p, pointTol))
            hits.add(p);
    }
}

// Two conics in one plane, at least one of them an ellipse.
void conicConicInPlane(const Conic& first, const Conic& second, double pointTol, Hits& hits)
{
    // first(t) in the frame of second scaled to the unit circle:
    // X = x0 + xa cos t + xb sin t, Y = y0 + ya cos t + yb sin t, and
    // f(t) = X^2 + Y^2 - 1.
    VxGeVector3d w = first.center - second.center;
    double x0 = w.dotProduct(second.u) / second.a;
    double xa = first.a * first.u.dotProduct(second.u) / second.a;
    double xb = first.b * first.v.dotProduct(second.u) / second.a;
    double y0 = w.dotProduct(second.v) / second.b;
    double ya = first.a * first.u.dotProduct(second.v) / second.b;
    double yb = first.b * first.v.dotProduct(second.v) / second.b;
    const double k[5] = {
        x0 * x0 + y0 * y0 + 0.5 * (xa * xa + xb * xb + ya * ya + yb * yb) - 1.0,
        2.0 * (x0 * xa + y0 * ya),
        2.0 * (x0 * xb + y0 * yb),
        0.5 * (xa * xa - xb * xb + ya * ya - yb * yb),
        xa * xb + ya * yb,
    };
    // |f| of a point within the tolerance of the second conic is about
    // 2 distance / radius at most.
    double touchTol = 4.0 * pointTol / second.b;
    double largest = 0.0;
    for (int i = 0; i < 16; ++i)
        largest = std::max(largest, std::fabs(vxgeTrigPolyValue(k, kTwoPi * i / 16.0)));
    if (largest <= touchTol)
        return;  // the same conic: nothing isolated

    double roots[8];
    int rootCount = vxgeTrigPolyRoots(k, 0.0, roots);
    const double derivative[5] = {0.0, k[2], -k[1], 2.0 * k[4], -2.0 * k[3]};
    double extrema[8];
    int extremumCount = vxgeTrigPolyRoots(derivative, 0.0, extrema);

    bool dropped[8] = {false, false, false, false, false, false, false, false};
    std::vector<double> tangents;
    for (int i = 0; i < extremumCount; ++i) {
        double t = extrema[i];
        if (std::fabs(vxgeTrigPolyValue(k, t)) > touchTol || distanceToConic(second, first.eval(t)) > pointTol)
            continue;
        // A touch: the sign changes on either side of it up to the next
        // extrema are the same touch, split by rounding.
        tangents.push_back(t);
        if (extremumCount < 2) {
            std::fill(dropped, dropped + rootCount, true);
            continue;
        }
        double previous = extrema[(i + extremumCount - 1) % extremumCount];
        double next = extrema[(i + 1) % extremumCount];
        double span = vxgeNormalizeAngle(next - previous);
        if (span == 0.0)
            span = kTwoPi;
        for (int j = 0; j < rootCount; ++j)
            if (vxgeNormalizeAngle(roots[j] - previous) < span)
                dropped[j] = true;
    }
    auto accept = [&](double t) {
        VxGePoint3d p = first.eval(t);
        if (inRange(first, p, pointTol) && inRange(second, p, pointTol))
            hits.add(p);
    };
    for (int j = 0; j < rootCount; ++j)
        if (!dropped[j])
            accept(roots[j]);
    for (double t : tangents)
        accept(t);
}

void conicConic(const Conic& first, const Conic& second, const VxGeTol& tol, double pointTol, Hits& hits)
{
    bool parallel = first.n.crossProduct(second.n).length() <= tol.equalVector;
    if (parallel) {
        if (std::fabs((second.center - first.center).dotProduct(first.n)) > pointTol)
            return;  // parallel planes
        if (first.circle && second.circle)
            circleCircleInPlane(first, second, pointTol, hits);
        else
            conicConicInPlane(first, second, pointTol, hits);
        return;
    }
    // Different planes: the points lie on the line the planes share.
    VxGePoint3d linePoint;
    VxGeVector3d lineDirection;
    VxGePlane firstPlane(first.center, first.n), secondPlane(second.center, second.n);
    if (!firstPlane.intersectWith(secondPlane, linePoint, lineDirection, VxGeTol{tol.equalPoint, 0.0}))
        return;
    Linear line{linePoint, lineDirection, -kInfinity, kInfinity};
    double params[2];
    int count = linearInPlaneParams(line, first, pointTol, params);
    for (int i = 0; i < count; ++i) {
        VxGePoint3d p = line.point + line.direction * params[i];
        if (distanceToConic(second, p) <= pointTol && inRange(first, p, pointTol) && inRange(second, p, pointTol))
            hits.add(p);
    }
}

double magnitude(const VxGePoint3d& p)
{
    return std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
}

}  // namespace

int VxGeCurve3d::intersectWith(const VxGeCurve3d& other, VxGeExtend extend, std::vector<VxGePoint3d>& points,
                               const VxGeTol& tol) const
{
    bool extendThis = extend == VxGeExtend::kExtendThis || extend == VxGeExtend::kExtendBoth;
    bool extendOther = extend == VxGeExtend::kExtendOther || extend == VxGeExtend::kExtendBoth;
    if (!(tol.equalPoint >= 0.0) || !(tol.equalVector >= 0.0))
        return 0;

    Linear thisLinear, otherLinear;
    Conic thisConic, otherConic;
    bool thisIsLinear = isLinear(*this);
    bool otherIsLinear = isLinear(other);
    if (thisIsLinear ? !toLinear(*this, extendThis, thisLinear) : !toConic(*this, extendThis, tol, thisConic))
        return 0;
    if (otherIsLinear ? !toLinear(other, extendOther, otherLinear) : !toConic(other, extendOther, tol, otherConic))
        return 0;

    // Far from the origin the point tolerance cannot be finer than the
    // spacing of doubles there.
    double scale = 0.0;
    if (thisIsLinear)
        scale = std::max(scale, magnitude(thisLinear.point));
    else
        scale = std::max({scale, magnitude(thisConic.center), thisConic.a});
    if (otherIsLinear)
        scale = std::max(scale, magnitude(otherLinear.point));
    else
        scale = std::max({scale, magnitude(otherConic.center), otherConic.a});
    double pointTol = std::max(tol.equalPoint, 1e-14 * scale);

    Hits hits{pointTol, {}};
    if (thisIsLinear && otherIsLinear)
        linearLinear(thisLinear, otherLinear, tol, pointTol, hits);
    else if (thisIsLinear)
        linearConic(thisLinear, otherConic, tol, pointTol, hits);
    else if (otherIsLinear)
        linearConic(otherLinear, thisConic, tol, pointTol, hits);
    else
        conicConic(thisConic, otherConic, tol, pointTol, hits);

    // In order along this curve.
    auto order = [&](const VxGePoint3d& p) {
        if (thisIsLinear)
            return (p - thisLinear.point).dotProduct(thisLinear.direction);
        return vxgeNormalizeAngle(thisConic.paramOf(p) - thisConic.start);
    };
    std::sort(hits.points.begin(), hits.points.end(),
              [&](const VxGePoint3d& p, const VxGePoint3d& q) { return order(p) < order(q); });
    points.insert(points.end(), hits.points.begin(), hits.points.end());
    return static_cast<int>(hits.points.size());
}

}  // namespace kx
