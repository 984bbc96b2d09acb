#include "db/hatch.h"

#include <algorithm>
#include <cmath>
#include <cwctype>

#include "db/color.h"
#include "db/entities.h"
#include "db/polylines.h"
#include "dxf/dxffields.h"
#include "dxf/dxfinternal.h"
#include "dxf/dxfstream.h"

namespace kx {

namespace {

constexpr double kDeg = kPi / 180.0;

double cross(const VxGeVector2d& a, const VxGeVector2d& b) { return a.x * b.y - a.y * b.x; }
VxGeVector2d perp(const VxGeVector2d& v) { return {-v.y, v.x}; }
VxGeVector2d rotated(const VxGeVector2d& v, double a)
{
    return {v.x * std::cos(a) - v.y * std::sin(a), v.x * std::sin(a) + v.y * std::cos(a)};
}

// The two vectors of an edge's curve: point(t) = center + a cos t + b sin t.
void axes(const VxDbHatchEdge& e, VxGeVector2d& a, VxGeVector2d& b)
{
    if (e.type == VxDbHatchEdge::kCircArc) {
        a = {e.radius, 0.0};
        b = {0.0, e.radius};
    } else {
        a = e.majorAxis;
        b = perp(e.majorAxis) * e.radius;
    }
}

VxGePoint2d curvePoint(const VxDbHatchEdge& e, double t)
{
    VxGeVector2d a, b;
    axes(e, a, b);
    return e.center + a * std::cos(t) + b * std::sin(t);
}

bool finite2(const VxGePoint2d& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

std::wstring upper(std::wstring_view text)
{
    std::wstring out(text);
    for (wchar_t& c : out)
        c = wchar_t(std::towupper(c));
    return out;
}

// The host's patterns: per line its angle (degrees), base point, offset (along the line,
// across it) and dashes, at scale 1.
struct LineDef {
    double angle, x, y, dx, dy;
    std::vector<double> dashes;
};
struct PatternDef {
    const wchar_t* name;
    std::vector<LineDef> lines;
};
const std::vector<PatternDef>& patternTable()
{
    static const std::vector<PatternDef> table = {
        {L"ANSI31", {{45, 0, 0, 0, 3.175, {}}}},
        {L"ANSI32", {{45, 0, 0, 0, 9.525, {}}, {45, 4.490128, 0, 0, 9.525, {}}}},
        {L"ANSI33", {{45, 0, 0, 0, 6.35, {}}, {45, 4.490128, 0, 0, 6.35, {3.175, -1.5875}}}},
        {L"ANSI37", {{45, 0, 0, 0, 3.175, {}}, {135, 0, 0, 0, 3.175, {}}}},
        {L"BRICK", {{0, 0, 0, 0, 6.35, {}}, {90, 0, 0, 6.35, 6.35, {6.35, -6.35}}}},
        {L"DASH", {{0, 0, 0, 3.175, 3.175, {3.175, -3.175}}}},
        {L"LINE", {{0, 0, 0, 0, 3.175, {}}}},
        {L"NET", {{0, 0, 0, 0, 3.175, {}}, {90, 0, 0, 0, 3.175, {}}}},
        {L"ISO02W100", {{0, 0, 0, 0, 5, {12, -3}}}},
        {L"ISO03W100", {{0, 0, 0, 0, 5, {12, -18}}}},
    };
    return table;
}
const PatternDef* findPattern(std::wstring_view name)
{
    const std::wstring wanted = upper(name);
    for (const PatternDef& def : patternTable()) {
        if (wanted == def.name)
            return &def;
    }
    return nullptr;
}

const wchar_t* const kGradients[] = {L"LINEAR",      L"CYLINDER",         L"INVCYLINDER", L"SPHERICAL",
                                     L"INVSPHERICAL", L"HEMISPHERICAL",   L"INVHEMISPHERICAL",
                                     L"CURVED",       L"INVCURVED"};
constexpr int32_t kPenWidths[] = {13, 18, 25, 35, 50, 70, 100, 140, 200};

bool readNumber(std::string_view text, double& out) { return dxf::parseDouble(text, out) && std::isfinite(out); }
bool readInt(std::string_view text, int64_t& out) { return dxf::parseInt(text, out); }

// Sub-records a file may hold by the thousand: no count is trusted, but none grows past this.
constexpr size_t kMaxItems = 1u << 20;

}  // namespace

// ---- edges and loops ----

VxDbHatchEdge VxDbHatchEdge::line(const VxGePoint2d& from, const VxGePoint2d& to)
{
    VxDbHatchEdge e;
    e.type = kLine;
    e.start = from;
    e.end = to;
    return e;
}

VxDbHatchEdge VxDbHatchEdge::arc(const VxGePoint2d& center, double radius, double from, double to, bool ccw)
{
    VxDbHatchEdge e;
    e.type = kCircArc;
    e.center = center;
    e.radius = radius;
    e.startParam = from;
    e.endParam = to;
    e.ccw = ccw;
    return e;
}

VxDbHatchEdge VxDbHatchEdge::ellipse(const VxGePoint2d& center, const VxGeVector2d& majorAxis, double ratio,
                                     double from, double to, bool ccw)
{
    VxDbHatchEdge e = arc(center, ratio, from, to, ccw);
    e.type = kEllipArc;
    e.majorAxis = majorAxis;
    return e;
}

VxGePoint2d VxDbHatchEdge::startPoint() const { return type == kLine ? start : curvePoint(*this, startParam); }
VxGePoint2d VxDbHatchEdge::endPoint() const { return type == kLine ? end : curvePoint(*this, endParam); }

double VxDbHatchEdge::sweep() const
{
    if (type == kLine)
        return 0.0;
    double d = vxgeNormalizeAngle(ccw ? endParam - startParam : startParam - endParam);
    return d <= 1e-12 ? kTwoPi : d;
}

void VxDbHatchEdge::reverse()
{
    std::swap(start, end);
    std::swap(startParam, endParam);
    ccw = !ccw;
}

std::vector<VxDbHatchEdge> VxDbHatchLoop::asEdges() const
{
    if (!isPolyline())
        return edges;
    std::vector<VxDbHatchEdge> out;
    const size_t n = vertices.size();
    for (size_t i = 0; i < n; ++i) {
        const VxGeBulgeVertex& v = vertices[i];
        const VxGePoint2d& next = vertices[(i + 1) % n].point;
        VxGePoint2d center;
        double radius = 0.0;
        if (v.bulge != 0.0 && vxgeBulgeArc(v.point, next, v.bulge, center, radius))
            out.push_back(VxDbHatchEdge::arc(center, radius, std::atan2(v.point.y - center.y, v.point.x - center.x),
                                             std::atan2(next.y - center.y, next.x - center.x), v.bulge > 0.0));
        else if (!(v.point == next))
            out.push_back(VxDbHatchEdge::line(v.point, next));
    }
    return out;
}

double VxDbHatchLoop::signedArea() const
{
    if (isPolyline())
        return vxgeBulgePolylineSignedArea(vertices, true);
    // Half the integral of x dy - y dx along each edge.
    double twice = 0.0;
    for (const VxDbHatchEdge& e : edges) {
        if (e.type == VxDbHatchEdge::kLine) {
            twice += e.start.x * e.end.y - e.end.x * e.start.y;
            continue;
        }
        VxGeVector2d a, b;
        axes(e, a, b);
        const VxGeVector2d c = e.center - VxGePoint2d::kOrigin;
        const double t0 = e.startParam;
        const double t1 = t0 + (e.ccw ? e.sweep() : -e.sweep());
        twice += cross(c, a) * (std::cos(t1) - std::cos(t0)) + cross(c, b) * (std::sin(t1) - std::sin(t0)) +
                 cross(a, b) * (t1 - t0);
    }
    return 0.5 * twice;
}

std::vector<VxGePoint2d> VxDbHatchLoop::samples() const
{
    std::vector<VxGePoint2d> out;
    for (const VxDbHatchEdge& e : asEdges()) {
        if (e.type == VxDbHatchEdge::kLine) {
            out.push_back(e.start);
            continue;
        }
        const double sweep = e.sweep();
        const int steps = std::max(2, int(std::ceil(sweep / (kPi / 32.0))));
        for (int i = 0; i < steps; ++i)
            out.push_back(curvePoint(e, e.startParam + (e.ccw ? 1.0 : -1.0) * sweep * i / steps));
    }
    return out;
}

bool VxDbHatchLoop::chainEdges()
{
    if (isPolyline() || edges.empty())
        return false;
    double size = 1.0;
    for (const VxDbHatchEdge& e : edges)
        size = std::max({size, std::fabs(e.startPoint().x), std::fabs(e.startPoint().y)});
    const double tol = 1e-8 * size;
    std::vector<VxDbHatchEdge> pool = edges;
    std::vector<VxDbHatchEdge> chain{pool.front()};
    std::vector<bool> used(pool.size(), false);
    used[0] = true;
    // Each step takes the first unused edge that starts or ends where the chain ends.
    for (size_t step = 1; step < pool.size(); ++step) {
        const VxGePoint2d end = chain.back().endPoint();
        size_t found = pool.size();
        for (size_t i = 1; i < pool.size() && found == pool.size(); ++i) {
            if (used[i])
                continue;
            if (pool[i].startPoint().distanceTo(end) <= tol) {
                found = i;
            } else if (pool[i].endPoint().distanceTo(end) <= tol) {
                found = i;
                pool[i].reverse();
            }
        }
        if (found == pool.size())
            return false;
        used[found] = true;
        chain.push_back(pool[found]);
    }
    if (chain.back().endPoint().distanceTo(chain.front().startPoint()) > tol)
        return false;
    edges = std::move(chain);
    return true;
}

namespace {

bool inside(const std::vector<VxGePoint2d>& polygon, const VxGePoint2d& p)
{
    bool in = false;
    for (size_t i = 0, j = polygon.size() - 1; i < polygon.size(); j = i++) {
        const VxGePoint2d& a = polygon[i];
        const VxGePoint2d& b = polygon[j];
        if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x)
            in = !in;
    }
    return in;
}

// A loop is closed when each edge starts where the one before ends.
bool isClosedLoop(const VxDbHatchLoop& loop)
{
    if (loop.isPolyline()) {
        if (loop.vertices.size() < 2)
            return false;
        for (const VxGeBulgeVertex& v : loop.vertices) {
            if (!finite2(v.point) || !std::isfinite(v.bulge))
                return false;
        }
        return loop.vertices.size() > 2 || loop.vertices[0].bulge != 0.0 || loop.vertices[1].bulge != 0.0;
    }
    if (loop.edges.empty())
        return false;
    double size = 1.0;
    for (const VxDbHatchEdge& e : loop.edges) {
        const bool curve = e.type != VxDbHatchEdge::kLine;
        if (!finite2(e.start) || !finite2(e.end) || !finite2(e.center) || !std::isfinite(e.majorAxis.x) ||
            !std::isfinite(e.majorAxis.y) || !std::isfinite(e.startParam) || !std::isfinite(e.endParam) ||
            !std::isfinite(e.radius) || (curve && e.radius <= 0.0) ||
            (e.type == VxDbHatchEdge::kEllipArc && (e.radius > 1.0 || e.majorAxis.isZeroLength())))
            return false;
        size = std::max({size, std::fabs(e.startPoint().x), std::fabs(e.startPoint().y)});
    }
    const double tol = 1e-8 * size;
    for (size_t i = 0; i < loop.edges.size(); ++i) {
        const VxDbHatchEdge& e = loop.edges[i];
        const VxDbHatchEdge& next = loop.edges[(i + 1) % loop.edges.size()];
        if (e.endPoint().distanceTo(next.startPoint()) > tol)
            return false;
    }
    return true;
}

}  // namespace

// ---- the hatch ----

VxGeMatrix3d VxDbHatch::planeToWorld() const
{
    return VxGeMatrix3d::planeToWorld(mFields.normal) * VxGeMatrix3d::translation(VxGeVector3d{0.0, 0.0, mElevation});
}

Velt::ErrorStatus VxDbHatch::setElevation(double elevation)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!std::isfinite(elevation))
        return Velt::eInvalidInput;
    mElevation = elevation;
    return Velt::eOk;
}

std::vector<std::wstring> VxDbHatch::predefinedPatterns()
{
    std::vector<std::wstring> names{L"SOLID"};
    for (const PatternDef& def : patternTable())
        names.emplace_back(def.name);
    return names;
}

Velt::ErrorStatus VxDbHatch::setPattern(int16_t type, std::wstring_view name)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (type < kUserDefined || type > kCustomDefined)
        return Velt::eInvalidInput;
    std::wstring stored(name);
    const bool solid = upper(name) == L"SOLID";
    if (solid) {
        stored = L"SOLID";
        type = kPreDefined;
    } else if (type == kPreDefined) {
        const PatternDef* def = findPattern(name);
        if (!def)
            return Velt::eInvalidInput;
        stored = def->name;
    } else if (type == kUserDefined && stored.empty()) {
        stored = L"_USER";
    } else if (type == kCustomDefined && stored.empty()) {
        return Velt::eInvalidInput;
    }
    mFields.patternName = std::move(stored);
    mFields.patternType = type;
    mFields.solidFill = solid || mFields.hatchObjectType == kGradientObject;
    makeLines();
    return Velt::eOk;
}

void VxDbHatch::makeLines()
{
    // A custom pattern keeps the lines it has: the host has no definition of it.
    const PatternDef* def = mFields.patternType == kPreDefined ? findPattern(mFields.patternName) : nullptr;
    if (mFields.solidFill) {
        mLines.clear();
        return;
    }
    const VxGePoint2d origin{mFields.origin.x, mFields.origin.y};
    const double turn = mFields.patternAngle;
    if (mFields.patternType == kUserDefined) {
        mLines.clear();
        for (int i = 0; i < (mFields.patternDouble ? 2 : 1); ++i) {
            const double angle = turn + i * kPi / 2.0;
            mLines.push_back({vxgeNormalizeAngle(angle), origin, rotated({0.0, mFields.patternSpace}, angle), {}});
        }
        return;
    }
    if (!def)
        return;
    const double s = mFields.patternScale;
    mLines.clear();
    for (const LineDef& line : def->lines) {
        VxDbHatchPatternLine out;
        out.angle = vxgeNormalizeAngle(line.angle * kDeg + turn);
        out.base = origin + rotated({line.x * s, line.y * s}, turn);
        out.offset = rotated({line.dx * s, line.dy * s}, out.angle);
        for (double d : line.dashes)
            out.dashes.push_back(d * s);
        mLines.push_back(std::move(out));
    }
}

// Lines of no definition of the host's turn and scale about the origin.
void VxDbHatch::turnLines(double angle, double scale)
{
    const VxGePoint2d origin{mFields.origin.x, mFields.origin.y};
    for (VxDbHatchPatternLine& line : mLines) {
        line.angle = vxgeNormalizeAngle(line.angle + angle);
        line.base = origin + rotated((line.base - origin) * scale, angle);
        line.offset = rotated(line.offset * scale, angle);
        for (double& d : line.dashes)
            d *= scale;
    }
}

void VxDbHatch::refreshLines(double turn, double ratio)
{
    if (mFields.patternType == kCustomDefined)
        turnLines(turn, ratio);
    else
        makeLines();
}

Velt::ErrorStatus VxDbHatch::setPatternAngle(double angle)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    angle = vxgeNormalizeAngle(angle);
    const double turn = angle - mFields.patternAngle;
    mFields.patternAngle = angle;
    refreshLines(turn, 1.0);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::setPatternScale(double scale)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!std::isfinite(scale) || scale <= 0.0)
        return Velt::eInvalidInput;
    const double ratio = scale / mFields.patternScale;
    mFields.patternScale = scale;
    refreshLines(0.0, ratio);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::setPatternSpace(double space)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!std::isfinite(space) || space <= 0.0)
        return Velt::eInvalidInput;
    mFields.patternSpace = space;
    makeLines();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::setPatternDouble(bool crossed)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.patternDouble = crossed;
    makeLines();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::setOrigin(const VxGePoint3d& origin)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!fieldcheck::isFinite(origin))
        return Velt::eInvalidInput;
    const VxGeVector2d move{origin.x - mFields.origin.x, origin.y - mFields.origin.y};
    mFields.origin = VxGePoint3d{origin.x, origin.y, 0.0};
    for (VxDbHatchPatternLine& line : mLines)
        line.base += move;
    return Velt::eOk;
}

namespace {
bool isIsoName(const std::wstring& name) { return name.size() > 3 && upper(name).compare(0, 3, L"ISO") == 0; }
}  // namespace

Velt::ErrorStatus VxDbHatch::isoPenWidth(int32_t& width) const
{
    width = -1;
    if (mFields.patternType != kPreDefined || !isIsoName(mFields.patternName))
        return Velt::eNotApplicable;
    const double scaled = mFields.patternScale * 100.0;
    for (int32_t w : kPenWidths) {
        if (std::fabs(scaled - w) < 1e-9 * w)
            width = w;
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::setIsoPenWidth(int32_t width)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (std::find(std::begin(kPenWidths), std::end(kPenWidths), width) == std::end(kPenWidths))
        return Velt::eInvalidInput;
    if (mFields.patternType != kPreDefined || !isIsoName(mFields.patternName))
        return Velt::eNotApplicable;
    return setPatternScale(width / 100.0);
}

bool VxDbHatch::isGradientName(std::wstring_view name)
{
    const std::wstring wanted = upper(name);
    return std::any_of(std::begin(kGradients), std::end(kGradients), [&](const wchar_t* g) { return wanted == g; });
}

Velt::ErrorStatus VxDbHatch::setHatchObjectType(int16_t type)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (type != kHatchObject && type != kGradientObject)
        return Velt::eInvalidInput;
    mFields.hatchObjectType = type;
    if (type == kGradientObject)
        return setPattern(kPreDefined, L"SOLID");
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::setGradientName(std::wstring_view name)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!isGradientName(name))
        return Velt::eInvalidInput;
    mFields.gradientName = upper(name);
    return Velt::eOk;
}

namespace {
// Gradient colours are true colours or colour indices.
bool isFillColor(uint32_t packed)
{
    VxCmEntityColor color;
    return color.setColor(packed) == Velt::eOk && (color.isByColor() || color.isByACI());
}
}  // namespace

Velt::ErrorStatus VxDbHatch::setGradientColor1(uint32_t packed)
{
    if (!isFillColor(packed))
        return Velt::eInvalidInput;
    return setField(mFields.gradientColor1, int32_t(packed));
}

Velt::ErrorStatus VxDbHatch::setGradientColor2(uint32_t packed)
{
    if (!isFillColor(packed))
        return Velt::eInvalidInput;
    return setField(mFields.gradientColor2, int32_t(packed));
}

Velt::ErrorStatus VxDbHatch::setBackgroundColor(uint32_t packed)
{
    VxCmEntityColor color;
    if (color.setColor(packed) != Velt::eOk)
        return Velt::eInvalidInput;
    return setField(mFields.backgroundColor, int32_t(packed));
}

Velt::ErrorStatus VxDbHatch::getLoopAt(int index, VxDbHatchLoop& loop) const
{
    if (index < 0 || index >= numLoops())
        return Velt::eInvalidIndex;
    loop = mLoops[size_t(index)];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::insertLoopAt(int index, const VxDbHatchLoop& loop)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (index < 0 || index > numLoops())
        return Velt::eInvalidIndex;
    if (!isClosedLoop(loop) || loop.type < 0 || loop.type > 31)
        return Velt::eInvalidInput;
    mLoops.insert(mLoops.begin() + index, loop);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::removeLoopAt(int index)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (index < 0 || index >= numLoops())
        return Velt::eInvalidIndex;
    mLoops.erase(mLoops.begin() + index);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::loopFromEntities(const std::vector<const VxDbEntity*>& entities, int32_t type,
                                              VxDbHatchLoop& loop, double& elevation) const
{
    if (entities.empty() || type < 0 || type > 31)
        return Velt::eInvalidInput;
    const VxGeVector3d n = mFields.normal;
    const VxGeMatrix3d toPlane = VxGeMatrix3d::worldToPlane(n);
    bool haveZ = false;
    double z = 0.0;
    bool flat = true;
    // Each world point to the plane; every point of the loop at one elevation.
    auto plane = [&](const VxGePoint3d& p) {
        const VxGePoint3d q = toPlane.transform(p);
        if (!haveZ) {
            z = q.z;
            haveZ = true;
        } else if (std::fabs(q.z - z) > 1e-8 * std::max(1.0, std::fabs(z))) {
            flat = false;
        }
        return VxGePoint2d{q.x, q.y};
    };
    // +1 when the curve's normal is the hatch's, -1 when opposite, 0 when neither.
    auto facing = [&](const VxGeVector3d& normal) {
        const double d = normal.normal().dotProduct(n);
        return d > 1.0 - 1e-9 ? 1 : d < -1.0 + 1e-9 ? -1 : 0;
    };
    loop = VxDbHatchLoop{};
    loop.type = type & ~kPolyline;
    std::vector<VxDbHatchEdge> edges;
    for (const VxDbEntity* entity : entities) {
        if (!entity)
            return Velt::eInvalidInput;
        if (auto* line = VxDbLine::cast(entity)) {
            edges.push_back(VxDbHatchEdge::line(plane(line->startPoint()), plane(line->endPoint())));
        } else if (auto* arc = VxDbArc::cast(entity)) {
            const int side = facing(arc->normal());
            VxGePoint3d s, e;
            if (!side || arc->getStartPoint(s) || arc->getEndPoint(e))
                return Velt::eInvalidInput;
            const VxGePoint2d c = plane(arc->center());
            const VxGePoint2d a = plane(s), b = plane(e);
            edges.push_back(VxDbHatchEdge::arc(c, arc->radius(), std::atan2(a.y - c.y, a.x - c.x),
                                               std::atan2(b.y - c.y, b.x - c.x), side > 0));
        } else if (auto* circle = VxDbCircle::cast(entity)) {
            if (!facing(circle->normal()) || entities.size() != 1)
                return Velt::eInvalidInput;  // a closed curve is a loop of its own
            edges.push_back(VxDbHatchEdge::arc(plane(circle->center()), circle->radius(), 0.0, kTwoPi, true));
        } else if (auto* ellipse = VxDbEllipse::cast(entity)) {
            const int side = facing(ellipse->normal());
            if (!side || (ellipse->isFullEllipse() && entities.size() != 1))
                return Velt::eInvalidInput;
            const VxGePoint2d c = plane(ellipse->center());
            const VxGePoint3d tip = toPlane.transform(ellipse->center() + ellipse->majorAxis());
            const VxGeVector2d major{tip.x - c.x, tip.y - c.y};
            // Seen from the other side the ellipse runs the other way: its parameters turn round.
            const double s = side > 0 ? ellipse->startParam() : -ellipse->startParam();
            const double e = side > 0 ? ellipse->endParam() : -ellipse->endParam();
            edges.push_back(VxDbHatchEdge::ellipse(c, major, ellipse->radiusRatio(), s, e, side > 0));
        } else if (auto* pline = VxDbPolyline::cast(entity)) {
            const int side = facing(pline->normal());
            if (!side || pline->numVerts() < 2)
                return Velt::eInvalidInput;
            VxDbHatchLoop own;
            own.type = kPolyline;
            for (int i = 0; i < pline->numVerts(); ++i) {
                VxGePoint3d p;
                double bulge = 0.0;
                pline->getPointAt(i, p);
                pline->getBulgeAt(i, bulge);
                own.vertices.push_back({plane(p), side > 0 ? bulge : -bulge});
            }
            if (entities.size() == 1) {
                // One polyline is a polyline loop, its last vertex back at the first when open.
                if (!pline->isClosed()) {
                    if (own.vertices.front().point.distanceTo(own.vertices.back().point) >
                        1e-8 * std::max(1.0, own.vertices.front().point.distanceTo(VxGePoint2d::kOrigin)))
                        return Velt::eInvalidInput;
                    own.vertices.pop_back();
                }
                loop.type |= kPolyline;
                loop.vertices = std::move(own.vertices);
                break;
            }
            if (!pline->isClosed())
                own.vertices.back().bulge = 0.0;
            std::vector<VxDbHatchEdge> segments = own.asEdges();
            if (!pline->isClosed() && !segments.empty())
                segments.pop_back();  // the closing segment an open polyline does not have
            edges.insert(edges.end(), segments.begin(), segments.end());
        } else {
            return Velt::eInvalidInput;
        }
    }
    if (!flat || (!mLoops.empty() && std::fabs(z - mElevation) > 1e-8 * std::max(1.0, std::fabs(z))))
        return Velt::eInvalidInput;
    elevation = z;
    if (!loop.isPolyline()) {
        // Each edge either way round, so that it starts where the one before ends.
        double size = 1.0;
        for (const VxDbHatchEdge& e : edges)
            size = std::max({size, std::fabs(e.startPoint().x), std::fabs(e.startPoint().y)});
        const double tol = 1e-8 * size;
        if (edges.size() > 1) {
            const VxGePoint2d s = edges[1].startPoint(), e = edges[1].endPoint();
            if (edges[0].endPoint().distanceTo(s) > tol && edges[0].endPoint().distanceTo(e) > tol)
                edges[0].reverse();
        }
        for (size_t i = 1; i < edges.size(); ++i) {
            if (edges[i].startPoint().distanceTo(edges[i - 1].endPoint()) > tol)
                edges[i].reverse();
        }
        loop.edges = std::move(edges);
    }
    return isClosedLoop(loop) ? Velt::eOk : Velt::eInvalidInput;
}

Velt::ErrorStatus VxDbHatch::evaluateHatch()
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    makeLines();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::getArea(double& area) const
{
    area = 0.0;
    std::vector<std::vector<VxGePoint2d>> outlines;
    for (const VxDbHatchLoop& loop : mLoops)
        outlines.push_back(loop.samples());
    // How deep each loop lies among the others decides whether it fills or cuts.
    for (size_t i = 0; i < mLoops.size(); ++i) {
        if (outlines[i].empty())
            continue;
        const VxGePoint2d probe = outlines[i][outlines[i].size() / 2];
        int depth = 0;
        for (size_t j = 0; j < mLoops.size(); ++j)
            depth += j != i && outlines[j].size() > 2 && inside(outlines[j], probe) ? 1 : 0;
        const double a = std::fabs(mLoops[i].signedArea());
        const int reach = mFields.hatchStyle == 0 ? INT32_MAX : mFields.hatchStyle == 1 ? 1 : 0;
        if (depth <= reach)
            area += depth % 2 == 0 ? a : -a;
    }
    area = std::max(area, 0.0);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbHatch::getGeomExtents(VxGeExtents3d& extents) const
{
    extents = VxGeExtents3d();
    const VxGeMatrix3d world = planeToWorld();
    bool any = false;
    for (const VxDbHatchLoop& loop : mLoops) {
        for (const VxGePoint2d& p : loop.samples()) {
            extents.addPoint(world.transform(VxGePoint3d{p.x, p.y, 0.0}));
            any = true;
        }
    }
    return any ? Velt::eOk : Velt::eNotApplicable;
}

Velt::ErrorStatus VxDbHatch::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!xform.isUniScaledOrtho())
        return Velt::eCannotScaleNonUniformly;
    VxGeVector3d normal = xform.transformNormal(mFields.normal).normal();
    if (normal.isZeroLength())
        normal = mFields.normal;
    const VxGeMatrix3d old = planeToWorld();
    const VxGeMatrix3d toPlane = VxGeMatrix3d::worldToPlane(normal);
    const double scale = xform.scale();
    const bool mirrored = xform.det() < 0.0 && normal.dotProduct(xform.transform(mFields.normal)) > 0.0;
    bool ok = std::isfinite(scale) && scale > 0.0;
    double elevation = toPlane.transform(xform.transform(old.transform(VxGePoint3d::kOrigin))).z;
    auto map = [&](const VxGePoint2d& p) {
        const VxGePoint3d q = toPlane.transform(xform.transform(old.transform(VxGePoint3d{p.x, p.y, 0.0})));
        ok = ok && std::isfinite(q.x) && std::isfinite(q.y);
        return VxGePoint2d{q.x, q.y};
    };
    auto mapVector = [&](const VxGeVector2d& v) { return map(VxGePoint2d::kOrigin + v) - map(VxGePoint2d::kOrigin); };
    auto mapAngle = [&](double a) {
        const VxGeVector2d d = mapVector({std::cos(a), std::sin(a)});
        return std::atan2(d.y, d.x);
    };
    std::vector<VxDbHatchLoop> loops = mLoops;
    for (VxDbHatchLoop& loop : loops) {
        for (VxGeBulgeVertex& v : loop.vertices) {
            v.point = map(v.point);
            if (mirrored)
                v.bulge = -v.bulge;
        }
        for (VxDbHatchEdge& e : loop.edges) {
            if (e.type == VxDbHatchEdge::kLine) {
                e.start = map(e.start);
                e.end = map(e.end);
            } else if (e.type == VxDbHatchEdge::kCircArc) {
                e.startParam = mapAngle(e.startParam);
                e.endParam = mapAngle(e.endParam);
                e.center = map(e.center);
                e.radius *= scale;
                e.ccw = mirrored ? !e.ccw : e.ccw;
            } else {
                e.center = map(e.center);
                e.majorAxis = mapVector(e.majorAxis);
                if (mirrored) {
                    e.startParam = -e.startParam;
                    e.endParam = -e.endParam;
                    e.ccw = !e.ccw;
                }
            }
        }
    }
    std::vector<VxDbHatchPatternLine> lines = mLines;
    for (VxDbHatchPatternLine& line : lines) {
        line.angle = vxgeNormalizeAngle(mapAngle(line.angle));
        line.base = map(line.base);
        line.offset = mapVector(line.offset);
        for (double& d : line.dashes)
            d *= scale;
    }
    const VxGePoint2d origin = map({mFields.origin.x, mFields.origin.y});
    const double angle = vxgeNormalizeAngle(mapAngle(mFields.patternAngle));
    if (!ok || !std::isfinite(elevation))
        return Velt::eInvalidInput;
    mLoops = std::move(loops);
    mLines = std::move(lines);
    for (VxGePoint2d& seed : mSeeds)
        seed = map(seed);
    mFields.normal = normal;
    mElevation = elevation;
    mFields.origin = VxGePoint3d{origin.x, origin.y, 0.0};
    mFields.patternAngle = angle;
    if (mFields.patternType == kUserDefined)
        mFields.patternSpace *= scale;
    else
        mFields.patternScale *= scale;
    return Velt::eOk;
}

// ---- drawing files ----

void VxDbHatch::writeDxfGroupsBefore(int code, dxf::GroupWriter& out, VxDbDxfVersion, bool) const
{
    if (code == 210) {
        // The elevation as a point in the plane.
        out.point(10, VxGePoint3d{0.0, 0.0, mElevation});
        return;
    }
    if (code != 75)
        return;
    out.integer(91, numLoops());
    for (const VxDbHatchLoop& loop : mLoops) {
        out.integer(92, loop.type);
        if (loop.isPolyline()) {
            const bool bulges = std::any_of(loop.vertices.begin(), loop.vertices.end(),
                                            [](const VxGeBulgeVertex& v) { return v.bulge != 0.0; });
            out.integer(72, bulges ? 1 : 0);
            out.integer(73, 1);
            out.integer(93, int64_t(loop.vertices.size()));
            for (const VxGeBulgeVertex& v : loop.vertices) {
                out.point2d(10, v.point.x, v.point.y);
                if (bulges)
                    out.real(42, v.bulge);
            }
        } else {
            out.integer(93, int64_t(loop.edges.size()));
            for (const VxDbHatchEdge& e : loop.edges) {
                out.integer(72, e.type);
                if (e.type == VxDbHatchEdge::kLine) {
                    out.point2d(10, e.start.x, e.start.y);
                    out.point2d(11, e.end.x, e.end.y);
                    continue;
                }
                // A clockwise edge keeps its parameters as seen from below.
                double s = e.ccw ? e.startParam : -e.startParam;
                double t = s + e.sweep();
                if (e.sweep() < kTwoPi)
                    s = vxgeNormalizeAngle(s), t = s + e.sweep();
                out.point2d(10, e.center.x, e.center.y);
                if (e.type == VxDbHatchEdge::kEllipArc)
                    out.point2d(11, e.majorAxis.x, e.majorAxis.y);
                out.real(40, e.radius);
                out.real(50, vxgeRadiansToDegrees(s));
                out.real(51, vxgeRadiansToDegrees(t));
                out.integer(73, e.ccw ? 1 : 0);
            }
        }
        out.integer(97, 0);  // the loop keeps its own geometry, no boundary objects
    }
}

void VxDbHatch::writeDxfGroups(dxf::GroupWriter& out, VxDbDxfVersion version, bool utf8File) const
{
    if (!mFields.solidFill) {
        out.integer(78, int64_t(mLines.size()));
        for (const VxDbHatchPatternLine& line : mLines) {
            out.real(53, vxgeRadiansToDegrees(line.angle));
            out.real(43, line.base.x);
            out.real(44, line.base.y);
            out.real(45, line.offset.x);
            out.real(46, line.offset.y);
            out.integer(79, int64_t(line.dashes.size()));
            for (double d : line.dashes)
                out.real(49, d);
        }
    }
    out.integer(98, int64_t(mSeeds.size()));
    for (const VxGePoint2d& seed : mSeeds)
        out.point2d(10, seed.x, seed.y);
    if (mFields.hatchObjectType != kGradientObject || version < VxDbDxfVersion::kR2004)
        return;
    out.integer(450, 1);
    out.integer(451, 0);
    out.integer(452, 0);
    out.integer(453, 2);
    for (int i = 0; i < 2; ++i) {
        const VxCmEntityColor color(uint32_t(i == 0 ? mFields.gradientColor1 : mFields.gradientColor2));
        out.real(463, double(i));
        if (color.isByACI())
            out.integer(63, color.colorIndex());
        out.integer(421, (int32_t(color.red()) << 16) | (int32_t(color.green()) << 8) | color.blue());
    }
    out.real(460, mFields.gradientAngle);
    out.real(461, mFields.gradientCentered ? 0.0 : 1.0);
    out.real(462, 0.0);
    std::string name;
    dxf::appendEncoded(name, mFields.gradientName, utf8File);
    out.text(470, name);
}

bool VxDbHatch::readDxfGroup(int code, std::string_view value)
{
    double v = 0.0;
    int64_t n = 0;
    const bool number = code == 470 || code == 330 ? true : code >= 70 && code < 80      ? readInt(value, n)
                                           : code >= 90 && code < 100     ? readInt(value, n)
                                           : code >= 450 && code < 460    ? readInt(value, n)
                                           : code == 63 || code == 421    ? readInt(value, n)
                                                                          : readNumber(value, v);
    if (!number)
        return false;
    if (!mRead)
        mRead = std::make_unique<ReadValues>();
    ReadValues& read = *mRead;
    switch (code) {
    case 91: mReading = Reading::kLoops; return true;
    case 78: mReading = Reading::kPattern; return true;
    case 98: mReading = Reading::kSeeds; return true;
    case 47: return true;  // the size of a pixel the fill was drawn for
    default: break;
    }
    if (code >= 450 && code <= 470) {
        mReading = Reading::kGradient;
        switch (code) {
        case 450: read.objectType = n == 1 ? kGradientObject : kHatchObject; return true;
        case 460: read.gradientAngle = vxgeNormalizeAngle(v); return true;
        case 461: read.centered = v == 0.0; return true;
        case 463: ++read.color; return read.color < 2;
        case 470: {
            const std::wstring name = dxf::decodeText(value, false);
            if (isGradientName(name))
                read.gradientName = upper(name);
            return true;
        }
        default: return true;
        }
    }
    if (code == 63 || code == 421) {
        if (mReading != Reading::kGradient || read.color < 0 || read.color > 1)
            return false;
        VxCmEntityColor color;
        if (code == 63 ? color.setColorIndex(int16_t(n)) != Velt::eOk
                       : color.setRGB(uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)) != Velt::eOk)
            return false;
        // A colour index comes with its RGB: the index stands.
        if (code == 63 || !VxCmEntityColor(uint32_t(read.colors[read.color])).isByACI())
            read.colors[read.color] = int32_t(color.color());
        return true;
    }
    switch (mReading) {
    case Reading::kHead:
        // The elevation point; only its z counts.
        if (code == 30)
            read.elevation = v;
        return code == 10 || code == 20 || code == 30;
    case Reading::kSeeds:
        if (code == 10 && mSeeds.size() < kMaxItems)
            return mSeeds.push_back({v, 0.0}), true;
        if (code == 20 && !mSeeds.empty())
            return mSeeds.back().y = v, true;
        return false;
    case Reading::kPattern: {
        if (code == 53) {
            if (mLines.size() >= kMaxItems)
                return false;
            mLines.push_back({});
            mLines.back().angle = vxgeNormalizeAngle(v * kDeg);
            return true;
        }
        if (mLines.empty())
            return false;
        VxDbHatchPatternLine& line = mLines.back();
        switch (code) {
        case 43: line.base.x = v; return true;
        case 44: line.base.y = v; return true;
        case 45: line.offset.x = v; return true;
        case 46: line.offset.y = v; return true;
        case 79: return true;
        case 49: return line.dashes.size() < kMaxItems && (line.dashes.push_back(v), true);
        default: return false;
        }
    }
    case Reading::kLoops: break;
    default: return false;
    }
    // Boundary loops.
    if (code == 92) {
        if (mLoops.size() >= kMaxItems || n < 0 || n > 0x7FFFFFFF)
            return false;
        mLoops.push_back({});
        mLoops.back().type = int32_t(n) & 31;
        mLoops.back().type |= int32_t(n) & kPolyline;
        return true;
    }
    if (mLoops.empty())
        return false;
    VxDbHatchLoop& loop = mLoops.back();
    if (code == 97 || code == 330)
        return true;  // boundary objects: the loop keeps its own geometry
    if (code == 93)
        return true;
    if (loop.isPolyline()) {
        switch (code) {
        case 72: case 73: return true;
        case 10:
            if (loop.vertices.size() >= kMaxItems)
                return false;
            loop.vertices.push_back({{v, 0.0}, 0.0});
            return true;
        case 20: return !loop.vertices.empty() && (loop.vertices.back().point.y = v, true);
        case 42: return !loop.vertices.empty() && (loop.vertices.back().bulge = v, true);
        default: return false;
        }
    }
    if (code == 72) {
        if (n < VxDbHatchEdge::kLine || n > VxDbHatchEdge::kEllipArc || loop.edges.size() >= kMaxItems)
            return false;  // spline edges are not the host's: the record stays as it is
        loop.edges.push_back({});
        loop.edges.back().type = VxDbHatchEdge::Type(n);
        return true;
    }
    if (loop.edges.empty())
        return false;
    VxDbHatchEdge& e = loop.edges.back();
    const bool line = e.type == VxDbHatchEdge::kLine;
    switch (code) {
    case 10: (line ? e.start.x : e.center.x) = v; return true;
    case 20: (line ? e.start.y : e.center.y) = v; return true;
    case 11: (line ? e.end.x : e.majorAxis.x) = v; return true;
    case 21: (line ? e.end.y : e.majorAxis.y) = v; return true;
    case 40: return !line && (e.radius = v, true);
    case 50: return !line && (e.startParam = v * kDeg, true);
    case 51: return !line && (e.endParam = v * kDeg, true);
    case 73:
        if (line)
            return false;
        e.ccw = n != 0;
        return true;
    default: return false;
    }
}

Velt::ErrorStatus VxDbHatch::checkFields(uint64_t)
{
    mReading = Reading::kDone;
    if (std::unique_ptr<ReadValues> read = std::move(mRead)) {
        mElevation = read->elevation;
        mFields.hatchObjectType = read->objectType;
        if (!read->gradientName.empty())
            mFields.gradientName = read->gradientName;
        mFields.gradientAngle = read->gradientAngle;
        mFields.gradientCentered = read->centered;
        for (int i = 0; i < 2; ++i) {
            if (read->colors[i])
                (i == 0 ? mFields.gradientColor1 : mFields.gradientColor2) = read->colors[i];
        }
    }
    for (VxDbHatchLoop& loop : mLoops) {
        for (VxDbHatchEdge& e : loop.edges) {
            if (e.type == VxDbHatchEdge::kLine)
                continue;
            // The sweep as the file gives it; a clockwise edge's parameters are seen from below.
            const double sweep = e.endParam - e.startParam;
            const bool full = std::fabs(sweep) >= kTwoPi - 1e-12;
            if (!e.ccw) {
                e.startParam = -e.startParam;
                e.endParam = -e.endParam;
            }
            if (!full) {
                e.startParam = vxgeNormalizeAngle(e.startParam);
                e.endParam = vxgeNormalizeAngle(e.endParam);
            } else {
                e.endParam = e.startParam + (e.ccw ? kTwoPi : -kTwoPi);
            }
        }
        // Some writers give a loop's edges in no order.
        if (!isClosedLoop(loop) && !(loop.chainEdges() && isClosedLoop(loop)))
            return Velt::eInvalidInput;
    }
    if (mFields.patternType == kUserDefined && !mLines.empty() && !mLines[0].offset.isZeroLength())
        mFields.patternSpace = mLines[0].offset.length();
    if (!mLines.empty())
        mFields.origin = VxGePoint3d{mLines[0].base.x, mLines[0].base.y, 0.0};
    return Velt::eOk;
}

void VxDbHatch::copyExtraData(const VxDbHatch& other)
{
    mElevation = other.mElevation;
    mLoops = other.mLoops;
    mLines = other.mLines;
    mSeeds = other.mSeeds;
}

KX_DB_DEFINE_KIND(VxDbHatch, VxDbEntity, L"KxDbHatch", &vxrxCreateInstance<VxDbHatch>, L"HATCH", "AcDbHatch")

}  // namespace kx
