#include "ge/polyline.h"

#include <algorithm>
#include <cmath>

#include "ge/angle.h"

namespace kx {

namespace {

constexpr double kTiny = 1e-10;

VxGeVector2d leftOf(const VxGeVector2d& v) { return {-v.y, v.x}; }

double signedAngle(const VxGeVector2d& from, const VxGeVector2d& to)
{
    return std::atan2(from.crossProduct(to), from.dotProduct(to));
}

// theta - sin(theta), without the cancellation of small angles.
double angleMinusSine(double theta)
{
    if (std::fabs(theta) >= 0.1)
        return theta - std::sin(theta);
    const double t2 = theta * theta;
    // theta^3/3! - theta^5/5! + ... to theta^13: exact to rounding below 0.1.
    double term = theta * t2 / 6.0;
    double sum = term;
    for (int k = 5; k <= 13; k += 2) {
        term *= -t2 / double((k - 1) * k);
        sum += term;
    }
    return sum;
}

}  // namespace

bool vxgeBulgeArc(const VxGePoint2d& p0, const VxGePoint2d& p1, double bulge, VxGePoint2d& center, double& radius)
{
    const VxGeVector2d chord = p1 - p0;
    const double c = chord.length();
    if (bulge == 0.0 || !std::isfinite(bulge) || !(c > 0.0))
        return false;
    const VxGeVector2d unit = chord / c;
    const VxGePoint2d middle{(p0.x + p1.x) * 0.5, (p0.y + p1.y) * 0.5};
    // The centre is off the chord's middle by (c/2) / tan(theta/2), tan(theta/2) = 2b / (1 - b^2).
    center = middle + leftOf(unit) * (c * (1.0 - bulge * bulge) / (4.0 * bulge));
    radius = c * (1.0 + bulge * bulge) / (4.0 * std::fabs(bulge));
    return true;
}

double vxgeBulgeSegmentLength(const VxGePoint2d& p0, const VxGePoint2d& p1, double bulge)
{
    const double c = p0.distanceTo(p1);
    if (bulge == 0.0 || c == 0.0)
        return c;
    const double b = std::fabs(bulge);
    // radius * theta = c (1 + b^2) / (4b) * 4 atan(b)
    return c * (1.0 + b * b) * (std::atan(b) / b);
}

double vxgeBulgeSegmentArea(const VxGePoint2d& p0, const VxGePoint2d& p1, double bulge)
{
    const double c = p0.distanceTo(p1);
    if (bulge == 0.0 || c == 0.0)
        return 0.0;
    const double b = std::fabs(bulge);
    const double r = c * (1.0 + b * b) / (4.0 * b);
    const double area = 0.5 * r * r * angleMinusSine(4.0 * std::atan(b));
    return bulge > 0.0 ? area : -area;
}

double vxgeBulgePolylineLength(const std::vector<VxGeBulgeVertex>& vertices, bool closed)
{
    const size_t n = vertices.size();
    double length = 0.0;
    const size_t segments = n < 2 ? 0 : (closed ? n : n - 1);
    for (size_t i = 0; i < segments; ++i) {
        const VxGeBulgeVertex& a = vertices[i];
        length += vxgeBulgeSegmentLength(a.point, vertices[(i + 1) % n].point, a.bulge);
    }
    return length;
}

double vxgeBulgePolylineSignedArea(const std::vector<VxGeBulgeVertex>& vertices, bool closed)
{
    const size_t n = vertices.size();
    if (n < 2)
        return 0.0;
    // Relative to the first vertex, so that far-off coordinates cost no precision.
    const VxGePoint2d origin = vertices[0].point;
    double twice = 0.0;
    double arcs = 0.0;
    for (size_t i = 0; i < n; ++i) {
        const VxGeBulgeVertex& a = vertices[i];
        const VxGeBulgeVertex& b = vertices[(i + 1) % n];
        twice += (a.point - origin).crossProduct(b.point - origin);
        if (closed || i + 1 < n)
            arcs += vxgeBulgeSegmentArea(a.point, b.point, a.bulge);
    }
    return 0.5 * twice + arcs;
}

std::vector<std::unique_ptr<VxGeCurve3d>> vxgeBulgePolylineCurves(const std::vector<VxGeBulgeVertex>& vertices,
                                                                  bool closed, const VxGeMatrix3d& planeToWorld,
                                                                  const VxGeVector3d& normal)
{
    std::vector<std::unique_ptr<VxGeCurve3d>> curves;
    const size_t n = vertices.size();
    const size_t segments = n < 2 ? 0 : (closed ? n : n - 1);
    auto world = [&](const VxGePoint2d& p) { return planeToWorld.transform(VxGePoint3d{p.x, p.y, 0.0}); };
    for (size_t i = 0; i < segments; ++i) {
        const VxGeBulgeVertex& a = vertices[i];
        const VxGePoint2d& p1 = vertices[(i + 1) % n].point;
        if (a.point.distanceTo(p1) <= kTiny)
            continue;
        VxGePoint2d center;
        double radius = 0.0;
        if (!vxgeBulgeArc(a.point, p1, a.bulge, center, radius)) {
            curves.push_back(std::make_unique<VxGeLineSeg3d>(world(a.point), world(p1)));
            continue;
        }
        const VxGePoint3d c = world(center);
        const VxGePoint3d start = world(a.point);
        const double sweep = 4.0 * std::atan(std::fabs(a.bulge));
        curves.push_back(std::make_unique<VxGeCircArc3d>(c, a.bulge > 0.0 ? normal : -normal, start - c,
                                                         start.distanceTo(c), 0.0, sweep));
    }
    return curves;
}

// ---- offsets ----

namespace {

struct OffsetSegment {
    VxGePoint2d start, end;
    bool arc = false;
    VxGePoint2d center;
    double radius = 0.0;
    double orientation = 0.0;  // +1 counter-clockwise, -1 clockwise
    double sweep = 0.0;        // of the arc it came from
    int source = -1;
    bool bridgeAfter = false;  // joined to the next by a straight segment
};

// Where two segments, extended (lines to lines, arcs to circles), meet.
std::vector<VxGePoint2d> meetings(const OffsetSegment& a, const OffsetSegment& b)
{
    std::vector<VxGePoint2d> out;
    auto lineCircle = [&](const OffsetSegment& line, const OffsetSegment& circle) {
        const VxGeVector2d u = (line.end - line.start).normal();
        const VxGeVector2d w = line.start - circle.center;
        const double along = w.dotProduct(u);
        const double disc = along * along - (w.lengthSqrd() - circle.radius * circle.radius);
        if (disc < 0.0) {
            // Touching within rounding still meets.
            if (disc > -kTiny * std::max(1.0, circle.radius * circle.radius))
                out.push_back(line.start + u * (-along));
            return;
        }
        const double root = std::sqrt(disc);
        out.push_back(line.start + u * (-along - root));
        out.push_back(line.start + u * (-along + root));
    };
    if (!a.arc && !b.arc) {
        const VxGeVector2d u = a.end - a.start, v = b.end - b.start;
        const double denom = u.crossProduct(v);
        if (std::fabs(denom) <= 1e-12 * u.length() * v.length())
            return out;
        const double t = (b.start - a.start).crossProduct(v) / denom;
        out.push_back(a.start + u * t);
    } else if (!a.arc) {
        lineCircle(a, b);
    } else if (!b.arc) {
        lineCircle(b, a);
    } else {
        const VxGeVector2d between = b.center - a.center;
        const double d = between.length();
        if (!(d > kTiny) || d > a.radius + b.radius + kTiny || d < std::fabs(a.radius - b.radius) - kTiny)
            return out;
        const double along = (d * d + a.radius * a.radius - b.radius * b.radius) / (2.0 * d);
        const double h = std::sqrt(std::max(0.0, a.radius * a.radius - along * along));
        const VxGeVector2d u = between / d;
        const VxGePoint2d foot = a.center + u * along;
        out.push_back(foot + leftOf(u) * h);
        out.push_back(foot - leftOf(u) * h);
    }
    return out;
}

// Joins segment a to segment b: at their common point, where they meet, or by a bridge.
void join(OffsetSegment& a, OffsetSegment& b)
{
    if (a.end.distanceTo(b.start) <= kTiny * std::max(1.0, a.end.asVector().length())) {
        const VxGePoint2d common{(a.end.x + b.start.x) * 0.5, (a.end.y + b.start.y) * 0.5};
        a.end = b.start = common;
        return;
    }
    const VxGePoint2d middle{(a.end.x + b.start.x) * 0.5, (a.end.y + b.start.y) * 0.5};
    const std::vector<VxGePoint2d> candidates = meetings(a, b);
    if (candidates.empty()) {
        a.bridgeAfter = true;
        return;
    }
    VxGePoint2d best = candidates[0];
    for (const VxGePoint2d& p : candidates) {
        if (p.distanceTo(middle) < best.distanceTo(middle))
            best = p;
    }
    a.end = b.start = best;
}

// The bulge of an arc segment after its ends moved along its circle.
double trimmedBulge(const OffsetSegment& s)
{
    if (!s.arc)
        return 0.0;
    const double a0 = std::atan2(s.start.y - s.center.y, s.start.x - s.center.x);
    const double a1 = std::atan2(s.end.y - s.center.y, s.end.x - s.center.x);
    double sweep = s.orientation > 0.0 ? vxgeNormalizeAngle(a1 - a0) : vxgeNormalizeAngle(a0 - a1);
    if (sweep == 0.0 && s.sweep > kPi)
        sweep = kTwoPi;  // a full turn, not none
    // Trimmed past its other end, the arc would turn inside out: straight instead.
    if (s.sweep < sweep - kPi)
        return 0.0;
    return s.orientation * std::tan(sweep / 4.0);
}

}  // namespace

bool vxgeOffsetBulgePolyline(const std::vector<VxGeBulgeVertex>& vertices, bool closed, double distance,
                             std::vector<VxGeBulgeVertex>& result, std::vector<int>* source)
{
    result.clear();
    if (source)
        source->clear();
    const size_t n = vertices.size();
    if (n < 2 || !std::isfinite(distance))
        return false;
    const size_t count = closed ? n : n - 1;
    std::vector<OffsetSegment> segments;
    for (size_t i = 0; i < count; ++i) {
        const VxGePoint2d& p0 = vertices[i].point;
        const VxGePoint2d& p1 = vertices[(i + 1) % n].point;
        if (p0.distanceTo(p1) <= kTiny)
            continue;
        OffsetSegment s;
        s.source = int(i);
        VxGePoint2d center;
        double radius = 0.0;
        if (vxgeBulgeArc(p0, p1, vertices[i].bulge, center, radius)) {
            s.arc = true;
            s.center = center;
            s.orientation = vertices[i].bulge > 0.0 ? 1.0 : -1.0;
            s.radius = radius + s.orientation * distance;
            s.sweep = 4.0 * std::atan(std::fabs(vertices[i].bulge));
            if (!(s.radius > kTiny))
                continue;  // shrunk to nothing
            const double scale = s.radius / radius;
            s.start = center + (p0 - center) * scale;
            s.end = center + (p1 - center) * scale;
        } else {
            const VxGeVector2d u = (p1 - p0).normal();
            const VxGeVector2d right{u.y, -u.x};
            s.start = p0 + right * distance;
            s.end = p1 + right * distance;
        }
        segments.push_back(s);
    }
    if (segments.empty())
        return false;
    for (size_t k = 0; k + 1 < segments.size(); ++k)
        join(segments[k], segments[k + 1]);
    if (closed && segments.size() > 1)
        join(segments.back(), segments.front());

    auto push = [&](const VxGePoint2d& p, double bulge, int from) {
        result.push_back({p, bulge});
        if (source)
            source->push_back(from);
    };
    for (const OffsetSegment& s : segments) {
        push(s.start, trimmedBulge(s), s.source);
        if (s.bridgeAfter)
            push(s.end, 0.0, -1);
    }
    if (!closed)
        push(segments.back().end, 0.0, int(n - 1));
    return true;
}

// ---- fitting ----

namespace {

// The direction at b of the circle through a, b and c.
VxGeVector2d circleTangent(const VxGePoint2d& a, const VxGePoint2d& b, const VxGePoint2d& c)
{
    const VxGeVector2d in = b - a, out = c - b;
    VxGeVector2d t = out * in.lengthSqrd() + in * out.lengthSqrd();
    if (t.length() <= kTiny * std::max(1.0, in.lengthSqrd() + out.lengthSqrd()))
        t = c - a;
    if (t.length() == 0.0)
        t = out.length() > 0.0 ? out : in;
    return t.length() > 0.0 ? t / t.length() : VxGeVector2d{1.0, 0.0};
}

// The tangent of a circle at one end of a chord, given the tangent at the other: mirrored
// across the chord.
VxGeVector2d mirroredAcross(const VxGeVector2d& tangent, const VxGeVector2d& chord)
{
    const double length = chord.length();
    if (length == 0.0)
        return tangent;
    const VxGeVector2d u = chord / length;
    return u * (2.0 * tangent.dotProduct(u)) - tangent;
}

// Two arcs from p0 (leaving along t0) to p1 (arriving along t1) meeting at joint.
void biarc(const VxGePoint2d& p0, const VxGeVector2d& t0, const VxGePoint2d& p1, const VxGeVector2d& t1,
           VxGePoint2d& joint, double& bulge0, double& bulge1)
{
    const VxGeVector2d v = p1 - p0;
    joint = {(p0.x + p1.x) * 0.5, (p0.y + p1.y) * 0.5};
    bulge0 = bulge1 = 0.0;
    const double vv = v.lengthSqrd();
    if (vv == 0.0)
        return;
    const VxGeVector2d t = t0 + t1;
    const double vt = v.dotProduct(t);
    const double denominator = 2.0 * (1.0 - t0.dotProduct(t1));
    double d = 0.0;
    if (std::fabs(denominator) <= 1e-12) {
        const double vt1 = v.dotProduct(t1);
        if (std::fabs(vt1) <= 1e-12 * std::sqrt(vv))
            return;  // no pair of arcs: straight
        d = vv / (4.0 * vt1);
    } else {
        d = (-vt + std::sqrt(vt * vt + denominator * vv)) / denominator;
    }
    if (!(d > 0.0) || !std::isfinite(d))
        return;
    const VxGePoint2d c0 = p0 + t0 * d;
    const VxGePoint2d c1 = p1 - t1 * d;
    joint = {(c0.x + c1.x) * 0.5, (c0.y + c1.y) * 0.5};
    // Half an arc's included angle lies between its tangent and its chord.
    if ((joint - p0).length() > 0.0)
        bulge0 = std::tan(signedAngle(t0, joint - p0) * 0.5);
    if ((p1 - joint).length() > 0.0)
        bulge1 = std::tan(signedAngle(p1 - joint, t1) * 0.5);
}

}  // namespace

std::vector<VxGeFitVertex> vxgeCurveFit(const std::vector<VxGePoint2d>& points, bool closed)
{
    std::vector<VxGeFitVertex> out;
    const size_t n = points.size();
    if (n == 0)
        return out;
    if (n < 2 || (closed && n < 3 && points[0].isEqualTo(points[n - 1]))) {
        for (const VxGePoint2d& p : points)
            out.push_back({{p, 0.0}, 0.0, false});
        return out;
    }
    std::vector<VxGeVector2d> tangents(n);
    for (size_t i = 0; i < n; ++i) {
        if (closed)
            tangents[i] = circleTangent(points[(i + n - 1) % n], points[i], points[(i + 1) % n]);
        else if (i > 0 && i + 1 < n)
            tangents[i] = circleTangent(points[i - 1], points[i], points[i + 1]);
    }
    if (!closed) {
        if (n == 2) {
            const VxGeVector2d chord = points[1] - points[0];
            tangents[0] = tangents[1] = chord.length() > 0.0 ? chord / chord.length() : VxGeVector2d{1.0, 0.0};
        } else {
            tangents[0] = mirroredAcross(tangents[1], points[1] - points[0]);
            tangents[n - 1] = mirroredAcross(tangents[n - 2], points[n - 1] - points[n - 2]);
        }
    }
    const size_t segments = closed ? n : n - 1;
    for (size_t i = 0; i < segments; ++i) {
        const size_t j = (i + 1) % n;
        VxGePoint2d joint;
        double b0 = 0.0, b1 = 0.0;
        biarc(points[i], tangents[i], points[j], tangents[j], joint, b0, b1);
        out.push_back({{points[i], b0}, tangents[i].angle(), false});
        out.push_back({{joint, b1}, 0.0, true});
    }
    if (!closed)
        out.push_back({{points[n - 1], 0.0}, tangents[n - 1].angle(), false});
    return out;
}

namespace {

// The point at u of the B-spline of degree k over the points and knots (de Boor).
VxGePoint3d deBoor(int k, const std::vector<double>& knots, const std::vector<VxGePoint3d>& points, double u)
{
    const int count = int(points.size());
    int span = k;
    while (span < count - 1 && u >= knots[size_t(span + 1)])
        ++span;
    VxGePoint3d d[4];
    for (int j = 0; j <= k; ++j)
        d[j] = points[size_t(j + span - k)];
    for (int r = 1; r <= k; ++r) {
        for (int j = k; j >= r; --j) {
            const int i = j + span - k;
            const double denominator = knots[size_t(i + k + 1 - r)] - knots[size_t(i)];
            const double alpha = denominator > 0.0 ? (u - knots[size_t(i)]) / denominator : 0.0;
            d[j] = VxGePoint3d::kOrigin + d[j - 1].asVector() * (1.0 - alpha) + d[j].asVector() * alpha;
        }
    }
    return d[k];
}

// A curve of the points that can be evaluated at t in [0, 1] (open) or [0, 1) (closed).
class SplineCurve {
public:
    SplineCurve(const std::vector<VxGePoint3d>& points, bool closed, int degree)
    {
        const int n = int(points.size());
        mClosed = closed && n >= 3;
        mDegree = std::clamp(degree, 1, std::max(1, n - 1));
        if (n < 2) {
            mPoints = points;
            mDegree = 0;
            return;
        }
        if (mClosed) {
            mPoints = points;
            for (int j = 0; j < mDegree; ++j)
                mPoints.push_back(points[size_t(j)]);
            for (int i = 0; i <= n + 2 * mDegree; ++i)
                mKnots.push_back(double(i));
            mStart = mDegree;
            mEnd = n + mDegree;
        } else {
            mPoints = points;
            for (int i = 0; i <= mDegree; ++i)
                mKnots.push_back(0.0);
            for (int i = 1; i < n - mDegree; ++i)
                mKnots.push_back(double(i));
            for (int i = 0; i <= mDegree; ++i)
                mKnots.push_back(double(n - mDegree));
            mStart = 0;
            mEnd = n - mDegree;
        }
    }
    VxGePoint3d at(double t) const
    {
        if (mDegree == 0)
            return mPoints.empty() ? VxGePoint3d::kOrigin : mPoints[0];
        return deBoor(mDegree, mKnots, mPoints, mStart + (mEnd - mStart) * t);
    }

private:
    std::vector<VxGePoint3d> mPoints;
    std::vector<double> mKnots;
    int mDegree = 0;
    double mStart = 0.0, mEnd = 1.0;
    bool mClosed = false;
};

// The point at t of the Bezier curve of the points (de Casteljau).
VxGePoint3d bezier(std::vector<VxGePoint3d> points, double t)
{
    for (size_t level = points.size(); level > 1; --level) {
        for (size_t i = 0; i + 1 < level; ++i)
            points[i] = VxGePoint3d::kOrigin + points[i].asVector() * (1.0 - t) + points[i + 1].asVector() * t;
    }
    return points.empty() ? VxGePoint3d::kOrigin : points[0];
}

}  // namespace

std::vector<VxGePoint3d> vxgeSplineFitPoints(const std::vector<VxGePoint3d>& control, bool closed, int degree,
                                             int segmentsPerEdge)
{
    const int n = int(control.size());
    if (n < 2)
        return control;
    const bool loop = closed && n >= 3;
    const int edges = loop ? n : n - 1;
    const int total = std::max(1, segmentsPerEdge) * edges;
    const SplineCurve curve(control, loop, degree);
    std::vector<VxGePoint3d> out;
    out.reserve(size_t(total + 1));
    for (int j = 0; j < total; ++j)
        out.push_back(curve.at(double(j) / double(total)));
    if (!loop)
        out.push_back(control.back());  // the clamped end, exactly
    if (!loop)
        out.front() = control.front();
    return out;
}

std::vector<VxGePoint3d> vxgeSurfaceFitPoints(const std::vector<VxGePoint3d>& control, int m, int n, bool closedM,
                                              bool closedN, VxGeSurfaceType type, int densityM, int densityN)
{
    std::vector<VxGePoint3d> out;
    if (m < 1 || n < 1 || size_t(m) * size_t(n) != control.size() || densityM < 2 || densityN < 2)
        return out;
    const int degree = type == VxGeSurfaceType::kQuadratic ? 2 : 3;
    const bool bez = type == VxGeSurfaceType::kBezier;
    auto parameter = [](int j, int density, bool closed) {
        return closed ? double(j) / double(density) : double(j) / double(density - 1);
    };
    // Along N first, each row of control points, then along M through the results.
    std::vector<std::vector<VxGePoint3d>> rows(static_cast<size_t>(densityN));
    for (int i = 0; i < m; ++i) {
        const std::vector<VxGePoint3d> row(control.begin() + ptrdiff_t(i) * n, control.begin() + ptrdiff_t(i + 1) * n);
        const SplineCurve curve(row, closedN && !bez, degree);
        for (int j = 0; j < densityN; ++j) {
            const double v = parameter(j, densityN, closedN && !bez);
            rows[size_t(j)].push_back(bez ? bezier(row, v) : curve.at(v));
        }
    }
    out.assign(size_t(densityM) * size_t(densityN), VxGePoint3d::kOrigin);
    for (int j = 0; j < densityN; ++j) {
        const SplineCurve curve(rows[size_t(j)], closedM && !bez, degree);
        for (int i = 0; i < densityM; ++i) {
            const double u = parameter(i, densityM, closedM && !bez);
            out[size_t(i) * size_t(densityN) + size_t(j)] = bez ? bezier(rows[size_t(j)], u) : curve.at(u);
        }
    }
    return out;
}

}  // namespace kx
