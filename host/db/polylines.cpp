#include "db/polylines.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "db/database.h"
#include "db/entities.h"
#include "dxf/dxffields.h"
#include "dxf/dxfstream.h"

namespace kx {

namespace {

bool isWidth(double width) { return width == -1.0 || (std::isfinite(width) && width >= 0.0); }

VxGeVector3d transformedNormal(const VxGeMatrix3d& xform, const VxGeVector3d& normal)
{
    const VxGeVector3d n = xform.transformNormal(normal).normal();
    return n.isZeroLength() ? normal : n;
}

// Arrays a vertex does not need stay empty; the first vertex that needs one sizes it.
template <class T>
void insertAt(std::vector<T>& values, size_t count, int index, T value, T none)
{
    if (values.empty() && value == none)
        return;
    if (values.empty())
        values.assign(count, none);
    values.insert(values.begin() + index, value);
}

bool readNumber(std::string_view text, double& out) { return dxf::parseDouble(text, out) && std::isfinite(out); }

// ---- the vertex lists of the polylines and meshes ----

template <class Vertex>
using VertexList = std::vector<std::unique_ptr<Vertex>>;

// A walk of the vertices; a polyface mesh's faces follow its vertices.
template <class... Vertex>
std::unique_ptr<VxDbVertexIterator> iterateVertices(const VertexList<Vertex>&... lists)
{
    std::vector<const VxDbVertex*> vertices;
    vertices.reserve((lists.size() + ...));
    auto add = [&vertices](const auto& list) {
        for (const auto& v : list)
            vertices.push_back(v.get());
    };
    (add(lists), ...);
    return std::make_unique<VxDbVertexIterator>(std::move(vertices));
}

template <class Vertex>
const Vertex* vertexAtIndex(const VertexList<Vertex>& list, int index)
{
    return index >= 0 && size_t(index) < list.size() ? list[size_t(index)].get() : nullptr;
}

template <class Vertex>
void copyVertices(VertexList<Vertex>& to, const VertexList<Vertex>& from)
{
    to.clear();
    to.reserve(from.size());
    for (const auto& v : from) {
        auto copy = std::make_unique<Vertex>();
        detail::FieldAccess::fieldsOf(*copy) = detail::FieldAccess::fieldsOf(*v);
        to.push_back(std::move(copy));
    }
}

template <class Vertex>
void listVertexRecords(const VertexList<Vertex>& list, std::vector<dxf::SubObject>& out)
{
    for (const auto& v : list)
        out.push_back({"VERTEX", "AcDbVertex", v.get()});
}

// The VERTEX records up to SEQEND; `accept` sets each vertex right or refuses it (a vertex of
// another kind of polyline), which refuses the whole record.
template <class Vertex, class Accept>
bool readVertexRecords(const std::vector<dxf::SubRecord>& records, bool utf8File, VertexList<Vertex>& list,
                       Accept accept)
{
    list.clear();
    for (const dxf::SubRecord& record : records) {
        if (record.type == "SEQEND")
            continue;
        if (record.type != "VERTEX")
            return false;
        auto vertex = std::make_unique<Vertex>();
        if (!dxf::readFields(*vertex, Vertex::kind(), record.groups, utf8File) || !accept(*vertex))
            return false;
        list.push_back(std::move(vertex));
    }
    return true;
}

// Fit vertices a polyline may get: each is an object.
constexpr size_t kMaxFitVertices = 1u << 20;

// How many fitted points a spline-fit polyline puts between two control points: the drawing's
// SPLINESEGS, within what keeps the whole fit to a bounded size.
int splineFitSegments(const VxDbDatabase* db, size_t controlCount)
{
    const int segments = db ? std::abs(int(db->splinesegs())) : 8;
    return std::clamp(segments, 1, int(kMaxFitVertices / std::max<size_t>(controlCount, 1) / 2));
}

}  // namespace

// ---- lightweight polyline ----

KX_DB_DEFINE_KIND(VxDbPolyline, VxDbCurve, L"KxDbPolyline", &vxrxCreateInstance<VxDbPolyline>, L"LWPOLYLINE",
                  "AcDbPolyline")

Velt::ErrorStatus VxDbPolyline::getPointAt(int index, VxGePoint2d& point) const
{
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    point = mPoints[size_t(index)];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::getPointAt(int index, VxGePoint3d& point) const
{
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    const VxGePoint2d& p = mPoints[size_t(index)];
    point = planeToWorld().transform(VxGePoint3d{p.x, p.y, 0.0});
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::setPointAt(int index, const VxGePoint2d& point)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    if (!std::isfinite(point.x) || !std::isfinite(point.y))
        return Velt::eInvalidInput;
    mPoints[size_t(index)] = point;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::addVertexAt(int index, const VxGePoint2d& point, double bulge, double startWidth,
                                            double endWidth, int32_t vertexIdentifier)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (index < 0 || index > numVerts())
        return Velt::eInvalidIndex;
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(bulge) || !isWidth(startWidth) ||
        !isWidth(endWidth))
        return Velt::eInvalidInput;
    const size_t n = mPoints.size();
    insertAt(mBulges, n, index, bulge, 0.0);
    insertAt(mWidths, n, index, VxGePoint2d{startWidth, endWidth}, VxGePoint2d{-1.0, -1.0});
    insertAt(mIdentifiers, n, index, vertexIdentifier, 0);
    mPoints.insert(mPoints.begin() + index, point);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::removeVertexAt(int index)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    mPoints.erase(mPoints.begin() + index);
    if (!mBulges.empty())
        mBulges.erase(mBulges.begin() + index);
    if (!mWidths.empty())
        mWidths.erase(mWidths.begin() + index);
    if (!mIdentifiers.empty())
        mIdentifiers.erase(mIdentifiers.begin() + index);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::getBulgeAt(int index, double& bulge) const
{
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    bulge = mBulges.empty() ? 0.0 : mBulges[size_t(index)];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::setBulgeAt(int index, double bulge)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    if (!std::isfinite(bulge))
        return Velt::eInvalidInput;
    if (mBulges.empty()) {
        if (bulge == 0.0)
            return Velt::eOk;
        mBulges.assign(mPoints.size(), 0.0);
    }
    mBulges[size_t(index)] = bulge;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::getWidthsAt(int index, double& startWidth, double& endWidth) const
{
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    const VxGePoint2d w = mWidths.empty() ? VxGePoint2d{-1.0, -1.0} : mWidths[size_t(index)];
    startWidth = w.x;
    endWidth = w.y;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::setWidthsAt(int index, double startWidth, double endWidth)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    if (!isWidth(startWidth) || !isWidth(endWidth))
        return Velt::eInvalidInput;
    if (mWidths.empty()) {
        if (startWidth == -1.0 && endWidth == -1.0)
            return Velt::eOk;
        mWidths.assign(mPoints.size(), VxGePoint2d{-1.0, -1.0});
    }
    mWidths[size_t(index)] = VxGePoint2d{startWidth, endWidth};
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::getVertexIdentifierAt(int index, int32_t& identifier) const
{
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    identifier = mIdentifiers.empty() ? 0 : mIdentifiers[size_t(index)];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::setVertexIdentifierAt(int index, int32_t identifier)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!isIndex(index))
        return Velt::eInvalidIndex;
    if (mIdentifiers.empty()) {
        if (identifier == 0)
            return Velt::eOk;
        mIdentifiers.assign(mPoints.size(), 0);
    }
    mIdentifiers[size_t(index)] = identifier;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::setConstantWidth(double width)
{
    if (!std::isfinite(width) || width < 0.0)
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = setField(mFields.constantWidth, width))
        return es;
    mWidths.clear();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::setClosed(bool closed)
{
    return setField(mFields.polylineFlags, int16_t(closed ? mFields.polylineFlags | 1 : mFields.polylineFlags & ~1));
}

Velt::ErrorStatus VxDbPolyline::setPlinegen(bool on)
{
    return setField(mFields.polylineFlags,
                    int16_t(on ? mFields.polylineFlags | 128 : mFields.polylineFlags & ~128));
}

bool VxDbPolyline::hasBulges() const
{
    return std::any_of(mBulges.begin(), mBulges.end(), [](double b) { return b != 0.0; });
}

bool VxDbPolyline::hasWidth() const
{
    if (mFields.constantWidth != 0.0)
        return true;
    return std::any_of(mWidths.begin(), mWidths.end(), [](const VxGePoint2d& w) { return w.x > 0.0 || w.y > 0.0; });
}

std::vector<VxGeBulgeVertex> VxDbPolyline::bulgeVertices() const
{
    std::vector<VxGeBulgeVertex> vertices(mPoints.size());
    for (size_t i = 0; i < mPoints.size(); ++i)
        vertices[i] = {mPoints[i], mBulges.empty() ? 0.0 : mBulges[i]};
    return vertices;
}

void VxDbPolyline::setVertices(const std::vector<VxGeBulgeVertex>& vertices)
{
    mPoints.resize(vertices.size());
    mBulges.clear();
    for (size_t i = 0; i < vertices.size(); ++i) {
        mPoints[i] = vertices[i].point;
        if (vertices[i].bulge != 0.0 && mBulges.empty())
            mBulges.assign(vertices.size(), 0.0);
        if (!mBulges.empty())
            mBulges[i] = vertices[i].bulge;
    }
}

double VxDbPolyline::length() const { return vxgeBulgePolylineLength(bulgeVertices(), isClosed()); }

VxGeMatrix3d VxDbPolyline::planeToWorld() const
{
    return VxGeMatrix3d::planeToWorld(mFields.normal) *
           VxGeMatrix3d::translation(VxGeVector3d{0.0, 0.0, mFields.elevation});
}

Velt::ErrorStatus VxDbPolyline::getArea(double& area) const
{
    area = std::fabs(vxgeBulgePolylineSignedArea(bulgeVertices(), isClosed()));
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const bool uniform = xform.isUniScaledOrtho();
    if (!uniform && hasBulges())
        return Velt::eCannotScaleNonUniformly;
    const VxGeVector3d normal = transformedNormal(xform, mFields.normal);
    VxGeMatrix3d toPlane;
    if (!VxGeMatrix3d::planeToWorld(normal).inverse(toPlane))
        return Velt::eInvalidInput;
    const VxGeMatrix3d old = planeToWorld();
    std::vector<VxGePoint2d> points(mPoints.size());
    double elevation = mFields.elevation;
    for (size_t i = 0; i < mPoints.size(); ++i) {
        const VxGePoint3d p =
            toPlane.transform(xform.transform(old.transform(VxGePoint3d{mPoints[i].x, mPoints[i].y, 0.0})));
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z))
            return Velt::eInvalidInput;
        points[i] = {p.x, p.y};
        if (i == 0)
            elevation = p.z;
    }
    if (mPoints.empty())
        elevation = toPlane.transform(xform.transform(old.transform(VxGePoint3d::kOrigin))).z;
    // A mirror turns every arc the other way about the normal it keeps.
    const bool mirrored = xform.det() < 0.0 && normal.dotProduct(xform.transform(mFields.normal)) > 0.0;
    const double scale = uniform ? xform.scale() : 1.0;
    mPoints = std::move(points);
    if (mirrored) {
        for (double& b : mBulges)
            b = -b;
    }
    for (VxGePoint2d& w : mWidths) {
        w.x = w.x < 0.0 ? w.x : w.x * scale;
        w.y = w.y < 0.0 ? w.y : w.y * scale;
    }
    mFields.constantWidth *= scale;
    mFields.thickness *= scale;
    mFields.normal = normal;
    mFields.elevation = elevation;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::getGeomExtents(VxGeExtents3d& extents) const
{
    if (mPoints.empty())
        return Velt::eNotApplicable;
    extents = VxGeExtents3d();
    const VxGeMatrix3d world = planeToWorld();
    for (const VxGePoint2d& p : mPoints)
        extents.addPoint(world.transform(VxGePoint3d{p.x, p.y, 0.0}));
    for (const auto& curve : vxgeBulgePolylineCurves(bulgeVertices(), isClosed(), world, mFields.normal)) {
        VxGeExtents3d piece;
        if (curve->getExtents(piece))
            extents.addExt(piece);
    }
    if (mFields.thickness != 0.0) {
        const VxGeVector3d offset = mFields.normal * mFields.thickness;
        VxGeExtents3d shifted(extents.minPoint() + offset, extents.maxPoint() + offset);
        extents.addExt(shifted);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyline::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    std::vector<VxGeBulgeVertex> result;
    std::vector<int> source;
    if (!vxgeOffsetBulgePolyline(bulgeVertices(), isClosed(), distance, result, &source))
        return Velt::eDegenerateGeometry;
    std::unique_ptr<VxDbPolyline> offset(static_cast<VxDbPolyline*>(clone()));
    offset->setVertices(result);
    // The vertices' own widths and identifiers follow the vertex each comes from.
    offset->mWidths.clear();
    offset->mIdentifiers.clear();
    for (size_t i = 0; i < result.size(); ++i) {
        const int from = source[i];
        if (from < 0)
            continue;
        double start = -1.0, end = -1.0;
        int32_t identifier = 0;
        getWidthsAt(from, start, end);
        getVertexIdentifierAt(from, identifier);
        offset->setWidthsAt(int(i), start, end);
        offset->setVertexIdentifierAt(int(i), identifier);
    }
    curves.push_back(offset.release());
    return Velt::eOk;
}

namespace {

// Lines and arcs of bulge vertices in the plane of the matrix, with the entity's properties.
void explodeBulges(const std::vector<VxGeBulgeVertex>& vertices, bool closed, const VxGeMatrix3d& world,
                   const VxGeVector3d& normal, double thickness, const VxDbEntity& from,
                   std::vector<VxDbEntity*>& entities)
{
    const size_t n = vertices.size();
    const size_t segments = n < 2 ? 0 : (closed ? n : n - 1);
    auto at = [&](const VxGePoint2d& p) { return world.transform(VxGePoint3d{p.x, p.y, 0.0}); };
    std::vector<std::unique_ptr<VxDbEntity>> made;
    for (size_t i = 0; i < segments; ++i) {
        const VxGePoint2d& p0 = vertices[i].point;
        const VxGePoint2d& p1 = vertices[(i + 1) % n].point;
        if (p0.distanceTo(p1) <= 1e-12)
            continue;
        VxGePoint2d center;
        double radius = 0.0;
        std::unique_ptr<VxDbCurve> piece;
        if (vxgeBulgeArc(p0, p1, vertices[i].bulge, center, radius)) {
            // Arcs run counter-clockwise: a clockwise segment is the arc from its end to its start.
            const bool ccw = vertices[i].bulge > 0.0;
            const VxGePoint2d& a = ccw ? p0 : p1;
            const VxGePoint2d& b = ccw ? p1 : p0;
            auto arc = std::make_unique<VxDbArc>(at(center), normal, radius, std::atan2(a.y - center.y, a.x - center.x),
                                                 std::atan2(b.y - center.y, b.x - center.x));
            arc->setThickness(thickness);
            piece = std::move(arc);
        } else {
            auto line = std::make_unique<VxDbLine>(at(p0), at(p1));
            line->setNormal(normal);
            line->setThickness(thickness);
            piece = std::move(line);
        }
        piece->setPropertiesFrom(&from);
        made.push_back(std::move(piece));
    }
    for (auto& entity : made)
        entities.push_back(entity.release());
}

// The bulge polyline's curves, reaching on at the ends of an open one when extended.
void bulgeCurves(const std::vector<VxGeBulgeVertex>& vertices, bool closed, const VxGeMatrix3d& world,
                 const VxGeVector3d& normal, bool extended, std::vector<std::unique_ptr<VxGeCurve3d>>& curves)
{
    curves = vxgeBulgePolylineCurves(vertices, closed, world, normal);
    if (extended && !closed && !curves.empty()) {
        for (size_t i : {size_t(0), curves.size() - 1}) {
            if (auto* line = dynamic_cast<VxGeLineSeg3d*>(curves[i].get()))
                curves[i] = std::make_unique<VxGeLine3d>(VxGeLine3d::through(line->startPoint(), line->endPoint()));
            else if (auto* arc = dynamic_cast<VxGeCircArc3d*>(curves[i].get()))
                curves[i] = std::make_unique<VxGeCircArc3d>(arc->center(), arc->normal(), arc->radius());
        }
    }
}

}  // namespace

Velt::ErrorStatus VxDbPolyline::explode(std::vector<VxDbEntity*>& entities) const
{
    explodeBulges(bulgeVertices(), isClosed(), planeToWorld(), mFields.normal, mFields.thickness, *this, entities);
    return Velt::eOk;
}

bool VxDbPolyline::getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const
{
    bulgeCurves(bulgeVertices(), isClosed(), planeToWorld(), mFields.normal, extended, curves);
    return true;
}

// Per vertex: 10/20 the point (a 10 starts the vertex), 40/41 its widths, 42 the bulge, 91
// the identifier; 90 the count, which the vertices themselves decide.
bool VxDbPolyline::readDxfGroup(int code, std::string_view value)
{
    if (code == 90)
        return true;
    if (code == 91) {
        int32_t identifier = 0;
        const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), identifier);
        return ec == std::errc() && !mPoints.empty() &&
               setVertexIdentifierAt(numVerts() - 1, identifier) == Velt::eOk;
    }
    double v = 0.0;
    if (!readNumber(value, v))
        return false;
    if (code == 10) {
        mPoints.push_back(VxGePoint2d{v, 0.0});
        if (!mBulges.empty())
            mBulges.push_back(0.0);
        if (!mWidths.empty())
            mWidths.push_back(VxGePoint2d{-1.0, -1.0});
        if (!mIdentifiers.empty())
            mIdentifiers.push_back(0);
        return true;
    }
    if (mPoints.empty())
        return false;
    const int last = numVerts() - 1;
    double start = -1.0, end = -1.0;
    switch (code) {
    case 20: mPoints.back().y = v; return true;
    case 30: return true;  // some writers give vertices a z; the elevation holds it
    case 42: return setBulgeAt(last, v) == Velt::eOk;
    case 40:
    case 41:
        if (v < 0.0)
            return false;
        getWidthsAt(last, start, end);
        // A vertex with one width of its own has both; the other is 0 as files default it.
        if (code == 40)
            return setWidthsAt(last, v, end < 0.0 ? 0.0 : end) == Velt::eOk;
        return setWidthsAt(last, start < 0.0 ? 0.0 : start, v) == Velt::eOk;
    default: return false;
    }
}

void VxDbPolyline::writeDxfGroups(dxf::GroupWriter& out, VxDbDxfVersion version, bool) const
{
    out.integer(90, numVerts());
    for (size_t i = 0; i < mPoints.size(); ++i) {
        out.point2d(10, mPoints[i].x, mPoints[i].y);
        if (!mWidths.empty() && (mWidths[i].x >= 0.0 || mWidths[i].y >= 0.0)) {
            out.real(40, std::max(mWidths[i].x, 0.0));
            out.real(41, std::max(mWidths[i].y, 0.0));
        }
        if (!mBulges.empty() && mBulges[i] != 0.0)
            out.real(42, mBulges[i]);
        if (!mIdentifiers.empty() && mIdentifiers[i] != 0 && version >= VxDbDxfVersion::kR2010)
            out.integer(91, mIdentifiers[i]);
    }
}

Velt::ErrorStatus VxDbPolyline::checkFields(uint64_t)
{
    // The vertices were checked as they were read; the count in the file is not trusted.
    return Velt::eOk;
}

void VxDbPolyline::copyExtraData(const VxDbPolyline& other)
{
    mPoints = other.mPoints;
    mBulges = other.mBulges;
    mWidths = other.mWidths;
    mIdentifiers = other.mIdentifiers;
}

// ---- 2D polyline ----

VX_RX_DEFINE_MEMBERS(VxDbVertex, VxDbObject, L"KxDbVertex", nullptr, nullptr)
KX_DB_DEFINE_KIND(VxDb2dVertex, VxDbVertex, L"KxDb2dVertex", &vxrxCreateInstance<VxDb2dVertex>, L"", "AcDb2dVertex")
KX_DB_DEFINE_KIND(VxDb2dPolyline, VxDbCurve, L"KxDb2dPolyline", &vxrxCreateInstance<VxDb2dPolyline>, L"POLYLINE",
                  "AcDb2dPolyline")

namespace {

constexpr int16_t kCurveFitMade = 1, kTangentUsed = 2, kSplineFitMade = 8, kSplineControl = 16;
constexpr int16_t kCurveFitted = 2, kSplineFitted = 4;

}  // namespace

VxDb2dVertex::VxDb2dVertex(const VxGePoint3d& position, double bulge, double startWidth, double endWidth)
{
    mFields.position = position;
    mFields.bulge = bulge;
    mFields.startWidth = startWidth;
    mFields.endWidth = endWidth;
}

VxDb::Vertex2dType VxDb2dVertex::vertexType() const
{
    const int16_t f = mFields.vertexFlags;
    if (f & kCurveFitMade)
        return VxDb::k2dCurveFitVertex;
    if (f & kSplineFitMade)
        return VxDb::k2dSplineFitVertex;
    if (f & kSplineControl)
        return VxDb::k2dSplineCtlVertex;
    return VxDb::k2dVertex;
}

std::unique_ptr<VxDbVertexIterator> VxDb2dPolyline::vertexIterator() const { return iterateVertices(mVertices); }

const VxDb2dVertex* VxDb2dPolyline::vertexAt(int index) const { return vertexAtIndex(mVertices, index); }

std::vector<VxDb2dVertex*> VxDb2dPolyline::controlVertices() const
{
    std::vector<VxDb2dVertex*> out;
    for (const auto& v : mVertices) {
        if (v->vertexType() < VxDb::k2dSplineFitVertex)
            out.push_back(v.get());
    }
    return out;
}

int VxDb2dPolyline::numControlVerts() const { return int(controlVertices().size()); }

std::vector<VxGePoint3d> VxDb2dPolyline::controlPoints() const
{
    std::vector<VxGePoint3d> points;
    for (const VxDb2dVertex* v : controlVertices())
        points.push_back(v->position());
    return points;
}

Velt::ErrorStatus VxDb2dPolyline::appendVertex(std::unique_ptr<VxDb2dVertex> vertex)
{
    if (!vertex)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const VxDb2dVertex::Fields& f = vertex->mFields;
    if (!fieldcheck::isFinite(f.position) || !std::isfinite(f.bulge) || !isWidth(f.startWidth) ||
        !isWidth(f.endWidth) || f.startWidth < 0.0 || f.endWidth < 0.0)
        return Velt::eInvalidInput;
    const VxDb::Poly2dType type = polyType();
    vertex->mFields.position.z = elevation();
    vertex->mFields.vertexFlags = 0;
    // A simple polyline grows at its end: no fit to take away (a long one is built this way).
    if (type == VxDb::k2dSimplePoly) {
        mVertices.push_back(std::move(vertex));
        return Velt::eOk;
    }
    removeFit();
    mVertices.push_back(std::move(vertex));
    fit(type);
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::setControlPointAt(int index, const VxGePoint2d& point)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    std::vector<VxDb2dVertex*> control = controlVertices();
    if (index < 0 || index >= int(control.size()))
        return Velt::eInvalidIndex;
    if (!std::isfinite(point.x) || !std::isfinite(point.y))
        return Velt::eInvalidInput;
    control[size_t(index)]->mFields.position = VxGePoint3d{point.x, point.y, elevation()};
    return refit();
}

Velt::ErrorStatus VxDb2dPolyline::setControlPoints(const std::vector<VxGePoint2d>& points)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (const VxGePoint2d& p : points) {
        if (!std::isfinite(p.x) || !std::isfinite(p.y))
            return Velt::eInvalidInput;
    }
    const VxDb::Poly2dType type = polyType();
    removeFit();
    if (mVertices.size() > points.size())
        mVertices.resize(points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        const VxGePoint3d p{points[i].x, points[i].y, elevation()};
        if (i < mVertices.size())
            mVertices[i]->mFields.position = p;
        else
            mVertices.push_back(std::make_unique<VxDb2dVertex>(p, 0.0, mFields.defaultStartWidth, mFields.defaultEndWidth));
    }
    fit(type);
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::getBulgeAt(int index, double& bulge) const
{
    const std::vector<VxDb2dVertex*> control = controlVertices();
    if (index < 0 || index >= int(control.size()))
        return Velt::eInvalidIndex;
    bulge = control[size_t(index)]->mFields.bulge;
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::setBulgeAt(int index, double bulge)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const std::vector<VxDb2dVertex*> control = controlVertices();
    if (index < 0 || index >= int(control.size()))
        return Velt::eInvalidIndex;
    if (!std::isfinite(bulge))
        return Velt::eInvalidInput;
    // A fitted curve decides its own bulges.
    if (polyType() != VxDb::k2dSimplePoly)
        return Velt::eNotApplicable;
    control[size_t(index)]->mFields.bulge = bulge;
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::getWidthsAt(int index, double& startWidth, double& endWidth) const
{
    const std::vector<VxDb2dVertex*> control = controlVertices();
    if (index < 0 || index >= int(control.size()))
        return Velt::eInvalidIndex;
    startWidth = control[size_t(index)]->mFields.startWidth;
    endWidth = control[size_t(index)]->mFields.endWidth;
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::setWidthsAt(int index, double startWidth, double endWidth)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const std::vector<VxDb2dVertex*> control = controlVertices();
    if (index < 0 || index >= int(control.size()))
        return Velt::eInvalidIndex;
    if (!std::isfinite(startWidth) || !std::isfinite(endWidth) || startWidth < 0.0 || endWidth < 0.0)
        return Velt::eInvalidInput;
    control[size_t(index)]->mFields.startWidth = startWidth;
    control[size_t(index)]->mFields.endWidth = endWidth;
    return refit();
}

VxDb::Poly2dType VxDb2dPolyline::polyType() const
{
    if (mFields.polylineFlags & kSplineFitted)
        return mFields.curveType == 5 ? VxDb::k2dQuadSplinePoly : VxDb::k2dCubicSplinePoly;
    if (mFields.polylineFlags & kCurveFitted)
        return VxDb::k2dFitCurvePoly;
    return VxDb::k2dSimplePoly;
}

void VxDb2dPolyline::setFlags(int16_t flags, int16_t curveType)
{
    mFields.polylineFlags = int16_t((mFields.polylineFlags & ~(kCurveFitted | kSplineFitted)) | flags);
    mFields.curveType = curveType;
}

Velt::ErrorStatus VxDb2dPolyline::setPolyType(VxDb::Poly2dType type)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    switch (type) {
    case VxDb::k2dSimplePoly: setFlags(0, 0); break;
    case VxDb::k2dFitCurvePoly: setFlags(kCurveFitted, 0); break;
    case VxDb::k2dQuadSplinePoly: setFlags(kSplineFitted, 5); break;
    case VxDb::k2dCubicSplinePoly: setFlags(kSplineFitted, 6); break;
    default: return Velt::eInvalidInput;
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::convertToPolyType(VxDb::Poly2dType type)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (type < VxDb::k2dSimplePoly || type > VxDb::k2dCubicSplinePoly)
        return Velt::eInvalidInput;
    const bool wasCurveFit = polyType() == VxDb::k2dFitCurvePoly;
    removeFit();
    // Taking a curve fit away straightens its arcs.
    if (wasCurveFit || type != VxDb::k2dSimplePoly) {
        for (auto& v : mVertices)
            v->mFields.bulge = 0.0;
    }
    fit(type);
    return Velt::eOk;
}

void VxDb2dPolyline::removeFit()
{
    std::vector<std::unique_ptr<VxDb2dVertex>> kept;
    for (auto& v : mVertices) {
        const VxDb::Vertex2dType t = v->vertexType();
        if (t == VxDb::k2dCurveFitVertex && !kept.empty())
            kept.back()->mFields.endWidth = v->mFields.endWidth;  // the given vertex's own end width
        if (t == VxDb::k2dSplineFitVertex || t == VxDb::k2dCurveFitVertex)
            continue;
        v->mFields.vertexFlags = 0;
        v->mFields.tangent = 0.0;
        kept.push_back(std::move(v));
    }
    mVertices = std::move(kept);
    setFlags(0, 0);
}

void VxDb2dPolyline::fit(VxDb::Poly2dType type)
{
    const size_t n = mVertices.size();
    if (type == VxDb::k2dSimplePoly || n < 2) {
        setPolyType(type);
        return;
    }
    const double z = elevation();
    if (type == VxDb::k2dFitCurvePoly) {
        std::vector<VxGePoint2d> points;
        for (const auto& v : mVertices)
            points.push_back({v->mFields.position.x, v->mFields.position.y});
        const std::vector<VxGeFitVertex> fitted = vxgeCurveFit(points, isClosed());
        std::vector<std::unique_ptr<VxDb2dVertex>> given = std::move(mVertices);
        mVertices.clear();
        size_t next = 0;
        for (const VxGeFitVertex& f : fitted) {
            std::unique_ptr<VxDb2dVertex> v;
            if (!f.generated && next < given.size()) {
                v = std::move(given[next++]);
                v->mFields.vertexFlags = kTangentUsed;
            } else {
                // Halfway between the widths of the given vertex before it.
                VxDb2dVertex* before = mVertices.empty() ? nullptr : mVertices.back().get();
                const double s = before ? before->mFields.startWidth : 0.0;
                const double e = before ? before->mFields.endWidth : 0.0;
                const double mid = 0.5 * (s + e);
                v = std::make_unique<VxDb2dVertex>(VxGePoint3d{}, 0.0, mid, e);
                if (before)
                    before->mFields.endWidth = mid;
                v->mFields.vertexFlags = kCurveFitMade | kTangentUsed;
            }
            v->mFields.position = VxGePoint3d{f.vertex.point.x, f.vertex.point.y, z};
            v->mFields.bulge = f.vertex.bulge;
            v->mFields.tangent = vxgeNormalizeAngle(f.tangent);
            mVertices.push_back(std::move(v));
        }
        setFlags(kCurveFitted, 0);
        return;
    }
    const int degree = type == VxDb::k2dQuadSplinePoly ? 2 : 3;
    const int segments = splineFitSegments(database(), n);
    std::vector<VxGePoint3d> control;
    for (auto& v : mVertices) {
        v->mFields.vertexFlags = kSplineControl;
        v->mFields.bulge = 0.0;
        control.push_back(v->mFields.position);
    }
    for (const VxGePoint3d& p : vxgeSplineFitPoints(control, isClosed(), degree, segments)) {
        auto v = std::make_unique<VxDb2dVertex>(VxGePoint3d{p.x, p.y, z}, 0.0, mFields.defaultStartWidth,
                                                mFields.defaultEndWidth);
        v->mFields.vertexFlags = kSplineFitMade;
        mVertices.push_back(std::move(v));
    }
    setFlags(kSplineFitted, int16_t(degree == 2 ? 5 : 6));
}

Velt::ErrorStatus VxDb2dPolyline::refit()
{
    const VxDb::Poly2dType type = polyType();
    if (type == VxDb::k2dSimplePoly)
        return Velt::eOk;
    removeFit();
    fit(type);
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::setElevation(double elevation)
{
    if (!std::isfinite(elevation))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.elevationPoint.z = elevation;
    for (auto& v : mVertices)
        v->mFields.position.z = elevation;
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::setClosed(bool closed)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (closed == isClosed())
        return Velt::eOk;
    mFields.polylineFlags = int16_t(closed ? mFields.polylineFlags | 1 : mFields.polylineFlags & ~1);
    return refit();
}

Velt::ErrorStatus VxDb2dPolyline::setLinetypeGeneration(bool on)
{
    return setField(mFields.polylineFlags,
                    int16_t(on ? mFields.polylineFlags | 128 : mFields.polylineFlags & ~128));
}

Velt::ErrorStatus VxDb2dPolyline::setConstantWidth(double width)
{
    if (!std::isfinite(width) || width < 0.0)
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.defaultStartWidth = width;
    mFields.defaultEndWidth = width;
    for (auto& v : mVertices) {
        v->mFields.startWidth = width;
        v->mFields.endWidth = width;
    }
    return Velt::eOk;
}

std::vector<VxGeBulgeVertex> VxDb2dPolyline::bulgeVertices() const
{
    // A spline's curve runs through its fit points; without them, through its control points.
    const bool splineFitted = std::any_of(mVertices.begin(), mVertices.end(), [](const auto& v) {
        return v->vertexType() == VxDb::k2dSplineFitVertex;
    });
    std::vector<VxGeBulgeVertex> out;
    for (const auto& v : mVertices) {
        if (splineFitted && v->vertexType() == VxDb::k2dSplineCtlVertex)
            continue;
        out.push_back({VxGePoint2d{v->mFields.position.x, v->mFields.position.y}, v->mFields.bulge});
    }
    return out;
}

VxGeMatrix3d VxDb2dPolyline::planeToWorld() const
{
    return VxGeMatrix3d::planeToWorld(mFields.normal) * VxGeMatrix3d::translation(VxGeVector3d{0.0, 0.0, elevation()});
}

double VxDb2dPolyline::length() const { return vxgeBulgePolylineLength(bulgeVertices(), isClosed()); }

Velt::ErrorStatus VxDb2dPolyline::getArea(double& area) const
{
    area = std::fabs(vxgeBulgePolylineSignedArea(bulgeVertices(), isClosed()));
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const bool uniform = xform.isUniScaledOrtho();
    const bool arcs = std::any_of(mVertices.begin(), mVertices.end(), [](const auto& v) { return v->mFields.bulge != 0.0; });
    if (!uniform && arcs)
        return Velt::eCannotScaleNonUniformly;
    const VxGeVector3d normal = transformedNormal(xform, mFields.normal);
    VxGeMatrix3d toPlane;
    if (!VxGeMatrix3d::planeToWorld(normal).inverse(toPlane))
        return Velt::eInvalidInput;
    const VxGeMatrix3d old = planeToWorld();
    const VxGeMatrix3d whole = toPlane * xform * old;
    std::vector<VxGePoint3d> points(mVertices.size());
    std::vector<double> tangents(mVertices.size());
    for (size_t i = 0; i < mVertices.size(); ++i) {
        const VxDb2dVertex::Fields& f = mVertices[i]->mFields;
        const VxGePoint3d p = whole.transform(VxGePoint3d{f.position.x, f.position.y, 0.0});
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
        points[i] = p;
        const VxGeVector3d d = whole.transform(VxGeVector3d{std::cos(f.tangent), std::sin(f.tangent), 0.0});
        tangents[i] = vxgeNormalizeAngle(std::atan2(d.y, d.x));
    }
    const double elevation =
        points.empty() ? whole.transform(VxGePoint3d::kOrigin).z : points.front().z;
    const bool mirrored = xform.det() < 0.0 && normal.dotProduct(xform.transform(mFields.normal)) > 0.0;
    const double scale = uniform ? xform.scale() : 1.0;
    for (size_t i = 0; i < mVertices.size(); ++i) {
        VxDb2dVertex::Fields& f = mVertices[i]->mFields;
        f.position = VxGePoint3d{points[i].x, points[i].y, elevation};
        if (mirrored)
            f.bulge = -f.bulge;
        if (f.vertexFlags & kTangentUsed)
            f.tangent = tangents[i];
        f.startWidth *= scale;
        f.endWidth *= scale;
    }
    mFields.defaultStartWidth *= scale;
    mFields.defaultEndWidth *= scale;
    mFields.thickness *= scale;
    mFields.normal = normal;
    mFields.elevationPoint.z = elevation;
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::getGeomExtents(VxGeExtents3d& extents) const
{
    const std::vector<VxGeBulgeVertex> vertices = bulgeVertices();
    if (vertices.empty())
        return Velt::eNotApplicable;
    extents = VxGeExtents3d();
    const VxGeMatrix3d world = planeToWorld();
    for (const VxGeBulgeVertex& v : vertices)
        extents.addPoint(world.transform(VxGePoint3d{v.point.x, v.point.y, 0.0}));
    for (const auto& curve : vxgeBulgePolylineCurves(vertices, isClosed(), world, mFields.normal)) {
        VxGeExtents3d piece;
        if (curve->getExtents(piece))
            extents.addExt(piece);
    }
    if (mFields.thickness != 0.0) {
        const VxGeVector3d offset = mFields.normal * mFields.thickness;
        VxGeExtents3d shifted(extents.minPoint() + offset, extents.maxPoint() + offset);
        extents.addExt(shifted);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    std::vector<VxGeBulgeVertex> result;
    if (!vxgeOffsetBulgePolyline(bulgeVertices(), isClosed(), distance, result))
        return Velt::eDegenerateGeometry;
    auto offset = std::make_unique<VxDb2dPolyline>();
    offset->setPropertiesFrom(this);
    offset->mFields = mFields;
    offset->setFlags(0, 0);
    for (const VxGeBulgeVertex& v : result)
        offset->mVertices.push_back(std::make_unique<VxDb2dVertex>(VxGePoint3d{v.point.x, v.point.y, elevation()},
                                                                   v.bulge, mFields.defaultStartWidth,
                                                                   mFields.defaultEndWidth));
    curves.push_back(offset.release());
    return Velt::eOk;
}

Velt::ErrorStatus VxDb2dPolyline::explode(std::vector<VxDbEntity*>& entities) const
{
    explodeBulges(bulgeVertices(), isClosed(), planeToWorld(), mFields.normal, mFields.thickness, *this, entities);
    return Velt::eOk;
}

bool VxDb2dPolyline::getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const
{
    bulgeCurves(bulgeVertices(), isClosed(), planeToWorld(), mFields.normal, extended, curves);
    return true;
}

namespace {

// Which kind a POLYLINE record is, by its flags.
const VxRxClass* polylineRecordClass(const std::vector<dxf::FieldGroup>& groups)
{
    int64_t flags = 0;
    for (const dxf::FieldGroup& g : groups) {
        if (g.code == 70 && !dxf::parseInt(g.value, flags))
            return nullptr;
    }
    if (flags & 64)
        return VxDbPolyFaceMesh::desc();
    if (flags & 16)
        return VxDbPolygonMesh::desc();
    return (flags & 8) ? VxDb3dPolyline::desc() : VxDb2dPolyline::desc();
}

}  // namespace

const VxRxClass* VxDb2dPolyline::dxfRecordClass(const std::vector<dxf::FieldGroup>& groups)
{
    return polylineRecordClass(groups);
}

// Counts and densities of meshes that some writers give every POLYLINE.
bool VxDb2dPolyline::readDxfGroup(int code, std::string_view value)
{
    int64_t number = 0;
    return code >= 71 && code <= 74 && dxf::parseInt(value, number);
}

bool VxDb2dPolyline::readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File)
{
    return readVertexRecords(records, utf8File, mVertices, [this](VxDb2dVertex& vertex) {
        VxDb2dVertex::Fields& f = vertex.mFields;
        if (f.vertexFlags & (32 | 64 | 128))
            return false;  // a vertex of a 3D polyline or mesh
        f.position.z = elevation();
        // Tangent 50 without flag 2 says nothing.
        if (!(f.vertexFlags & kTangentUsed))
            f.tangent = 0.0;
        return true;
    });
}

void VxDb2dPolyline::dxfSubObjects(std::vector<dxf::SubObject>& out) const { listVertexRecords(mVertices, out); }

Velt::ErrorStatus VxDb2dPolyline::checkFields(uint64_t)
{
    // The vertices decide what follows; the flags say only what a 2D polyline can be.
    mFields.verticesFollow = 1;
    mFields.polylineFlags = int16_t(mFields.polylineFlags & (1 | kCurveFitted | kSplineFitted | 128));
    if (mFields.curveType != 0 && mFields.curveType != 5 && mFields.curveType != 6)
        mFields.curveType = 0;
    return Velt::eOk;
}

void VxDb2dPolyline::copyExtraData(const VxDb2dPolyline& other) { copyVertices(mVertices, other.mVertices); }

// ---- 3D polyline ----

KX_DB_DEFINE_KIND(VxDb3dPolylineVertex, VxDbVertex, L"KxDb3dPolylineVertex", &vxrxCreateInstance<VxDb3dPolylineVertex>,
                  L"", "AcDb3dPolylineVertex")
KX_DB_DEFINE_KIND(VxDb3dPolyline, VxDbCurve, L"KxDb3dPolyline", &vxrxCreateInstance<VxDb3dPolyline>, L"POLYLINE",
                  "AcDb3dPolyline")

namespace {
constexpr int16_t k3dVertexFlag = 32, k3dPolylineFlag = 8;
}  // namespace

VxDb::Vertex3dType VxDb3dPolylineVertex::vertexType() const
{
    if (mFields.vertexFlags & kSplineFitMade)
        return VxDb::k3dFitVertex;
    if (mFields.vertexFlags & kSplineControl)
        return VxDb::k3dControlVertex;
    return VxDb::k3dSimpleVertex;
}

std::unique_ptr<VxDbVertexIterator> VxDb3dPolyline::vertexIterator() const { return iterateVertices(mVertices); }

const VxDb3dPolylineVertex* VxDb3dPolyline::vertexAt(int index) const { return vertexAtIndex(mVertices, index); }

std::vector<VxDb3dPolylineVertex*> VxDb3dPolyline::controlVertices() const
{
    std::vector<VxDb3dPolylineVertex*> out;
    for (const auto& v : mVertices) {
        if (v->vertexType() != VxDb::k3dFitVertex)
            out.push_back(v.get());
    }
    return out;
}

std::vector<VxGePoint3d> VxDb3dPolyline::controlPoints() const
{
    std::vector<VxGePoint3d> points;
    for (const VxDb3dPolylineVertex* v : controlVertices())
        points.push_back(v->position());
    return points;
}

Velt::ErrorStatus VxDb3dPolyline::appendVertex(std::unique_ptr<VxDb3dPolylineVertex> vertex)
{
    if (!vertex)
        return Velt::eNullObjectPointer;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!fieldcheck::isFinite(vertex->mFields.position))
        return Velt::eInvalidInput;
    const VxDb::Poly3dType type = polyType();
    vertex->mFields.vertexFlags = k3dVertexFlag;
    if (type == VxDb::k3dSimplePoly) {
        mVertices.push_back(std::move(vertex));
        return Velt::eOk;
    }
    removeFit();
    mVertices.push_back(std::move(vertex));
    fit(type);
    return Velt::eOk;
}

Velt::ErrorStatus VxDb3dPolyline::setControlPointAt(int index, const VxGePoint3d& point)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const std::vector<VxDb3dPolylineVertex*> control = controlVertices();
    if (index < 0 || index >= int(control.size()))
        return Velt::eInvalidIndex;
    if (!fieldcheck::isFinite(point))
        return Velt::eInvalidInput;
    control[size_t(index)]->mFields.position = point;
    const VxDb::Poly3dType type = polyType();
    if (type != VxDb::k3dSimplePoly) {
        removeFit();
        fit(type);
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDb3dPolyline::setControlPoints(const std::vector<VxGePoint3d>& points)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (const VxGePoint3d& p : points) {
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
    }
    const VxDb::Poly3dType type = polyType();
    removeFit();
    if (mVertices.size() > points.size())
        mVertices.resize(points.size());
    for (size_t i = 0; i < points.size(); ++i) {
        if (i < mVertices.size())
            mVertices[i]->mFields.position = points[i];
        else
            mVertices.push_back(std::make_unique<VxDb3dPolylineVertex>(points[i]));
    }
    fit(type);
    return Velt::eOk;
}

VxDb::Poly3dType VxDb3dPolyline::polyType() const
{
    if (mFields.polylineFlags & kSplineFitted)
        return mFields.curveType == 5 ? VxDb::k3dQuadSplinePoly : VxDb::k3dCubicSplinePoly;
    return VxDb::k3dSimplePoly;
}

void VxDb3dPolyline::setFitFlags(int16_t flags, int16_t curveType)
{
    mFields.polylineFlags = int16_t((mFields.polylineFlags & ~kSplineFitted) | flags | k3dPolylineFlag);
    mFields.curveType = curveType;
}

Velt::ErrorStatus VxDb3dPolyline::setPolyType(VxDb::Poly3dType type)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    switch (type) {
    case VxDb::k3dSimplePoly: setFitFlags(0, 0); break;
    case VxDb::k3dQuadSplinePoly: setFitFlags(kSplineFitted, 5); break;
    case VxDb::k3dCubicSplinePoly: setFitFlags(kSplineFitted, 6); break;
    default: return Velt::eInvalidInput;
    }
    return Velt::eOk;
}

Velt::ErrorStatus VxDb3dPolyline::convertToPolyType(VxDb::Poly3dType type)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (type < VxDb::k3dSimplePoly || type > VxDb::k3dCubicSplinePoly)
        return Velt::eInvalidInput;
    removeFit();
    fit(type);
    return Velt::eOk;
}

void VxDb3dPolyline::removeFit()
{
    std::vector<std::unique_ptr<VxDb3dPolylineVertex>> kept;
    for (auto& v : mVertices) {
        if (v->vertexType() == VxDb::k3dFitVertex)
            continue;
        v->mFields.vertexFlags = k3dVertexFlag;
        kept.push_back(std::move(v));
    }
    mVertices = std::move(kept);
    setFitFlags(0, 0);
}

void VxDb3dPolyline::fit(VxDb::Poly3dType type)
{
    const size_t n = mVertices.size();
    if (type == VxDb::k3dSimplePoly || n < 2) {
        setPolyType(type);
        return;
    }
    const int degree = type == VxDb::k3dQuadSplinePoly ? 2 : 3;
    const int segments = splineFitSegments(database(), n);
    std::vector<VxGePoint3d> control;
    for (auto& v : mVertices) {
        v->mFields.vertexFlags = k3dVertexFlag | kSplineControl;
        control.push_back(v->mFields.position);
    }
    for (const VxGePoint3d& p : vxgeSplineFitPoints(control, isClosed(), degree, segments)) {
        auto v = std::make_unique<VxDb3dPolylineVertex>(p);
        v->mFields.vertexFlags = k3dVertexFlag | kSplineFitMade;
        mVertices.push_back(std::move(v));
    }
    setFitFlags(kSplineFitted, int16_t(degree == 2 ? 5 : 6));
}

Velt::ErrorStatus VxDb3dPolyline::setClosed(bool closed)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (closed == isClosed())
        return Velt::eOk;
    mFields.polylineFlags = int16_t(closed ? mFields.polylineFlags | 1 : mFields.polylineFlags & ~1);
    const VxDb::Poly3dType type = polyType();
    if (type != VxDb::k3dSimplePoly) {
        removeFit();
        fit(type);
    }
    return Velt::eOk;
}

std::vector<VxGePoint3d> VxDb3dPolyline::drawnPoints() const
{
    const bool fitted = std::any_of(mVertices.begin(), mVertices.end(),
                                    [](const auto& v) { return v->vertexType() == VxDb::k3dFitVertex; });
    std::vector<VxGePoint3d> points;
    for (const auto& v : mVertices) {
        if (fitted && v->vertexType() == VxDb::k3dControlVertex)
            continue;
        points.push_back(v->mFields.position);
    }
    return points;
}

double VxDb3dPolyline::length() const
{
    const std::vector<VxGePoint3d> points = drawnPoints();
    double total = 0.0;
    for (size_t i = 1; i < points.size(); ++i)
        total += points[i - 1].distanceTo(points[i]);
    if (isClosed() && points.size() > 2)
        total += points.back().distanceTo(points.front());
    return total;
}

Velt::ErrorStatus VxDb3dPolyline::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    std::vector<VxGePoint3d> points;
    for (const auto& v : mVertices) {
        const VxGePoint3d p = xform.transform(v->mFields.position);
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
        points.push_back(p);
    }
    for (size_t i = 0; i < points.size(); ++i)
        mVertices[i]->mFields.position = points[i];
    return Velt::eOk;
}

Velt::ErrorStatus VxDb3dPolyline::getGeomExtents(VxGeExtents3d& extents) const
{
    const std::vector<VxGePoint3d> points = drawnPoints();
    if (points.empty())
        return Velt::eNotApplicable;
    extents = VxGeExtents3d();
    for (const VxGePoint3d& p : points)
        extents.addPoint(p);
    return Velt::eOk;
}

Velt::ErrorStatus VxDb3dPolyline::explode(std::vector<VxDbEntity*>& entities) const
{
    const std::vector<VxGePoint3d> points = drawnPoints();
    const size_t n = points.size();
    const size_t segments = n < 2 ? 0 : (isClosed() && n > 2 ? n : n - 1);
    std::vector<std::unique_ptr<VxDbEntity>> made;
    for (size_t i = 0; i < segments; ++i) {
        const VxGePoint3d& a = points[i];
        const VxGePoint3d& b = points[(i + 1) % n];
        if (a.distanceTo(b) <= 1e-12)
            continue;
        auto line = std::make_unique<VxDbLine>(a, b);
        line->setPropertiesFrom(this);
        made.push_back(std::move(line));
    }
    for (auto& entity : made)
        entities.push_back(entity.release());
    return Velt::eOk;
}

bool VxDb3dPolyline::getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const
{
    curves.clear();
    const std::vector<VxGePoint3d> points = drawnPoints();
    const size_t n = points.size();
    const size_t segments = n < 2 ? 0 : (isClosed() && n > 2 ? n : n - 1);
    for (size_t i = 0; i < segments; ++i) {
        const VxGePoint3d& a = points[i];
        const VxGePoint3d& b = points[(i + 1) % n];
        if (a.distanceTo(b) <= 1e-12)
            continue;
        curves.push_back(std::make_unique<VxGeLineSeg3d>(a, b));
    }
    if (extended && !isClosed() && !curves.empty()) {
        for (size_t i : {size_t(0), curves.size() - 1}) {
            auto* line = static_cast<VxGeLineSeg3d*>(curves[i].get());
            curves[i] = std::make_unique<VxGeLine3d>(VxGeLine3d::through(line->startPoint(), line->endPoint()));
        }
    }
    return true;
}

const VxRxClass* VxDb3dPolyline::dxfRecordClass(const std::vector<dxf::FieldGroup>& groups)
{
    return polylineRecordClass(groups);
}

// Widths, counts and densities that some writers give every POLYLINE: nothing here.
bool VxDb3dPolyline::readDxfGroup(int code, std::string_view value)
{
    double number = 0.0;
    return ((code >= 71 && code <= 74) || code == 40 || code == 41 || code == 39 || code == 210 || code == 220 ||
            code == 230) &&
           readNumber(value, number);
}

bool VxDb3dPolyline::readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File)
{
    return readVertexRecords(records, utf8File, mVertices, [](VxDb3dPolylineVertex& vertex) {
        int16_t& flags = vertex.mFields.vertexFlags;
        if (flags & (64 | 128))
            return false;  // a mesh's vertex
        flags = int16_t((flags & (kSplineFitMade | kSplineControl)) | k3dVertexFlag);
        return true;
    });
}

void VxDb3dPolyline::dxfSubObjects(std::vector<dxf::SubObject>& out) const { listVertexRecords(mVertices, out); }

Velt::ErrorStatus VxDb3dPolyline::checkFields(uint64_t)
{
    mFields.verticesFollow = 1;
    mFields.unusedPoint = VxGePoint3d::kOrigin;
    mFields.polylineFlags = int16_t((mFields.polylineFlags & (1 | kSplineFitted | 128)) | k3dPolylineFlag);
    if (mFields.curveType != 0 && mFields.curveType != 5 && mFields.curveType != 6)
        mFields.curveType = 0;
    return Velt::eOk;
}

void VxDb3dPolyline::copyExtraData(const VxDb3dPolyline& other) { copyVertices(mVertices, other.mVertices); }

// ---- polygon mesh ----

KX_DB_DEFINE_KIND(VxDbPolygonMeshVertex, VxDbVertex, L"KxDbPolygonMeshVertex",
                  &vxrxCreateInstance<VxDbPolygonMeshVertex>, L"", "AcDbPolygonMeshVertex")
KX_DB_DEFINE_KIND(VxDbPolygonMesh, VxDbEntity, L"KxDbPolygonMesh", &vxrxCreateInstance<VxDbPolygonMesh>, L"POLYLINE",
                  "AcDbPolygonMesh")

namespace {

constexpr int16_t kMeshVertexFlag = 64, kPolygonMeshFlag = 16, kSmoothed = 4, kNClosed = 32;

bool isMeshSize(int size) { return size >= 2 && size <= VxDbPolygonMesh::kMaxSize; }

}  // namespace

Velt::ErrorStatus VxDbPolygonMesh::setGrid(int m, int n, const std::vector<VxGePoint3d>& positions)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!isMeshSize(m) || !isMeshSize(n) || positions.size() != size_t(m) * size_t(n))
        return Velt::eInvalidInput;
    for (const VxGePoint3d& p : positions) {
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
    }
    mVertices.clear();
    for (const VxGePoint3d& p : positions)
        mVertices.push_back(std::make_unique<VxDbPolygonMeshVertex>(p));
    mFields.mSize = int16_t(m);
    mFields.nSize = int16_t(n);
    mFields.meshFlags = int16_t((mFields.meshFlags & (1 | kNClosed)) | kPolygonMeshFlag);
    mFields.surfaceType = 0;
    return Velt::eOk;
}

std::unique_ptr<VxDbVertexIterator> VxDbPolygonMesh::vertexIterator() const { return iterateVertices(mVertices); }

const VxDbPolygonMeshVertex* VxDbPolygonMesh::vertexAt(int index) const { return vertexAtIndex(mVertices, index); }

std::vector<VxGePoint3d> VxDbPolygonMesh::controlPoints() const
{
    std::vector<VxGePoint3d> points;
    for (const auto& v : mVertices) {
        if (!v->isGenerated())
            points.push_back(v->mFields.position);
    }
    return points;
}

Velt::ErrorStatus VxDbPolygonMesh::setControlPointAt(int index, const VxGePoint3d& position)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (index < 0 || index >= int(mFields.mSize) * int(mFields.nSize) || size_t(index) >= mVertices.size())
        return Velt::eInvalidIndex;
    if (!fieldcheck::isFinite(position))
        return Velt::eInvalidInput;
    mVertices[size_t(index)]->mFields.position = position;
    refit();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::setControlPoints(const std::vector<VxGePoint3d>& positions)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (positions.size() != size_t(mFields.mSize) * size_t(mFields.nSize))
        return Velt::eInvalidInput;
    for (const VxGePoint3d& p : positions) {
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
    }
    for (size_t i = 0; i < positions.size() && i < mVertices.size(); ++i)
        mVertices[i]->mFields.position = positions[i];
    refit();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::appendRow(const std::vector<VxGePoint3d>& row)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (row.size() != size_t(mFields.nSize) || mFields.mSize >= kMaxSize)
        return Velt::eInvalidInput;
    for (const VxGePoint3d& p : row) {
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
    }
    const VxDb::PolyMeshType type = polyMeshType();
    removeFit();
    for (const VxGePoint3d& p : row)
        mVertices.push_back(std::make_unique<VxDbPolygonMeshVertex>(p));
    ++mFields.mSize;
    fit(type);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::setMClosed(bool closed)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.meshFlags = int16_t(closed ? mFields.meshFlags | 1 : mFields.meshFlags & ~1);
    refit();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::setNClosed(bool closed)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.meshFlags = int16_t(closed ? mFields.meshFlags | kNClosed : mFields.meshFlags & ~kNClosed);
    refit();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::setMSurfaceDensity(int density)
{
    if (!isMeshSize(density))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.mSurfaceDensity = int16_t(density);
    refit();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::setNSurfaceDensity(int density)
{
    if (!isMeshSize(density))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.nSurfaceDensity = int16_t(density);
    refit();
    return Velt::eOk;
}

VxDb::PolyMeshType VxDbPolygonMesh::polyMeshType() const
{
    if (!(mFields.meshFlags & kSmoothed))
        return VxDb::kSimpleMesh;
    switch (mFields.surfaceType) {
    case 5: return VxDb::kQuadSurfaceMesh;
    case 8: return VxDb::kBezierSurfaceMesh;
    default: return VxDb::kCubicSurfaceMesh;
    }
}

Velt::ErrorStatus VxDbPolygonMesh::setPolyMeshType(VxDb::PolyMeshType type)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    switch (type) {
    case VxDb::kSimpleMesh:
        mFields.meshFlags = int16_t(mFields.meshFlags & ~kSmoothed);
        mFields.surfaceType = 0;
        return Velt::eOk;
    case VxDb::kQuadSurfaceMesh:
    case VxDb::kCubicSurfaceMesh:
    case VxDb::kBezierSurfaceMesh:
        mFields.meshFlags = int16_t(mFields.meshFlags | kSmoothed);
        mFields.surfaceType = int16_t(type);
        return Velt::eOk;
    default: return Velt::eInvalidInput;
    }
}

Velt::ErrorStatus VxDbPolygonMesh::convertToPolyMeshType(VxDb::PolyMeshType type)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (type != VxDb::kSimpleMesh && type != VxDb::kQuadSurfaceMesh && type != VxDb::kCubicSurfaceMesh &&
        type != VxDb::kBezierSurfaceMesh)
        return Velt::eInvalidInput;
    removeFit();
    fit(type);
    return Velt::eOk;
}

void VxDbPolygonMesh::removeFit()
{
    std::vector<std::unique_ptr<VxDbPolygonMeshVertex>> kept;
    for (auto& v : mVertices) {
        if (v->isGenerated())
            continue;
        v->mFields.vertexFlags = kMeshVertexFlag;
        kept.push_back(std::move(v));
    }
    mVertices = std::move(kept);
    mFields.meshFlags = int16_t(mFields.meshFlags & ~kSmoothed);
    mFields.surfaceType = 0;
}

void VxDbPolygonMesh::fit(VxDb::PolyMeshType type)
{
    const int m = mFields.mSize, n = mFields.nSize;
    if (type == VxDb::kSimpleMesh || mVertices.size() != size_t(m) * size_t(n) || !isMeshSize(m) || !isMeshSize(n)) {
        setPolyMeshType(type);
        return;
    }
    // The mesh's own densities, else the drawing's SURFU and SURFV, else 6.
    auto density = [this](int16_t own, VxDbHeaderVar var) {
        int d = own;
        if (!isMeshSize(d) && database())
            d = database()->headerInt(var);
        return isMeshSize(d) ? d : 6;
    };
    const int dm = density(mFields.mSurfaceDensity, VxDbHeaderVar::kSurfU);
    const int dn = density(mFields.nSurfaceDensity, VxDbHeaderVar::kSurfV);
    std::vector<VxGePoint3d> control;
    for (auto& v : mVertices) {
        v->mFields.vertexFlags = kMeshVertexFlag | kSplineControl;
        control.push_back(v->mFields.position);
    }
    for (const VxGePoint3d& p :
         vxgeSurfaceFitPoints(control, m, n, isMClosed(), isNClosed(), VxGeSurfaceType(int(type)), dm, dn)) {
        auto v = std::make_unique<VxDbPolygonMeshVertex>(p);
        v->mFields.vertexFlags = kMeshVertexFlag | kSplineFitMade;
        mVertices.push_back(std::move(v));
    }
    mFields.mSurfaceDensity = int16_t(dm);
    mFields.nSurfaceDensity = int16_t(dn);
    setPolyMeshType(type);
}

void VxDbPolygonMesh::refit()
{
    const VxDb::PolyMeshType type = polyMeshType();
    if (type == VxDb::kSimpleMesh)
        return;
    removeFit();
    fit(type);
}

std::vector<VxGePoint3d> VxDbPolygonMesh::drawnGrid(int& m, int& n) const
{
    std::vector<VxGePoint3d> control, fitted;
    for (const auto& v : mVertices)
        (v->isGenerated() ? fitted : control).push_back(v->mFields.position);
    if (!fitted.empty() && fitted.size() == size_t(mFields.mSurfaceDensity) * size_t(mFields.nSurfaceDensity)) {
        m = mFields.mSurfaceDensity;
        n = mFields.nSurfaceDensity;
        return fitted;
    }
    m = mFields.mSize;
    n = mFields.nSize;
    if (control.size() != size_t(std::max(m, 0)) * size_t(std::max(n, 0)))
        m = n = 0;
    return control;
}

Velt::ErrorStatus VxDbPolygonMesh::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    std::vector<VxGePoint3d> points;
    for (const auto& v : mVertices) {
        const VxGePoint3d p = xform.transform(v->mFields.position);
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
        points.push_back(p);
    }
    for (size_t i = 0; i < points.size(); ++i)
        mVertices[i]->mFields.position = points[i];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::getGeomExtents(VxGeExtents3d& extents) const
{
    int m = 0, n = 0;
    const std::vector<VxGePoint3d> grid = drawnGrid(m, n);
    if (grid.empty())
        return Velt::eNotApplicable;
    extents = VxGeExtents3d();
    for (const VxGePoint3d& p : grid)
        extents.addPoint(p);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolygonMesh::explode(std::vector<VxDbEntity*>& entities) const
{
    int m = 0, n = 0;
    const std::vector<VxGePoint3d> grid = drawnGrid(m, n);
    if (m < 2 || n < 2)
        return Velt::eOk;
    // A smoothed surface closes as its control grid does.
    const int rows = isMClosed() ? m : m - 1, columns = isNClosed() ? n : n - 1;
    auto at = [&](int i, int j) { return grid[size_t(i % m) * size_t(n) + size_t(j % n)]; };
    std::vector<std::unique_ptr<VxDbEntity>> made;
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < columns; ++j) {
            auto face = std::make_unique<VxDbFace>(at(i, j), at(i, j + 1), at(i + 1, j + 1), at(i + 1, j));
            face->setPropertiesFrom(this);
            made.push_back(std::move(face));
        }
    }
    for (auto& entity : made)
        entities.push_back(entity.release());
    return Velt::eOk;
}

// Which kind a POLYLINE record is, by its flags.
const VxRxClass* VxDbPolygonMesh::dxfRecordClass(const std::vector<dxf::FieldGroup>& groups)
{
    return polylineRecordClass(groups);
}

bool VxDbPolygonMesh::readDxfGroup(int code, std::string_view value)
{
    double number = 0.0;
    return (code == 40 || code == 41 || code == 39 || code == 210 || code == 220 || code == 230) &&
           readNumber(value, number);
}

bool VxDbPolygonMesh::readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File)
{
    size_t control = 0, fitted = 0;
    const bool read = readVertexRecords(records, utf8File, mVertices, [&](VxDbPolygonMeshVertex& vertex) {
        int16_t& flags = vertex.mFields.vertexFlags;
        if (!(flags & kMeshVertexFlag) || (flags & 128))
            return false;
        flags = int16_t((flags & (kSplineFitMade | kSplineControl)) | kMeshVertexFlag);
        ++(vertex.isGenerated() ? fitted : control);
        return true;
    });
    if (!read)
        return false;
    // The counts must describe the grid that came (a mesh with no vertices yet has none to
    // describe): a mesh that does not add up is kept as read.
    const Fields& f = mFields;
    if (control == 0 && fitted == 0)
        return true;
    if (!isMeshSize(f.mSize) || !isMeshSize(f.nSize) || control != size_t(f.mSize) * size_t(f.nSize))
        return false;
    if (fitted && fitted != size_t(std::max<int>(f.mSurfaceDensity, 0)) * size_t(std::max<int>(f.nSurfaceDensity, 0)))
        return false;
    return true;
}

// The flags say what a polygon mesh can be; a smoothed one has a surface type.
Velt::ErrorStatus VxDbPolygonMesh::checkFields(uint64_t)
{
    Fields& f = mFields;
    f.meshFlags = int16_t((f.meshFlags & (1 | kNClosed | kSmoothed)) | kPolygonMeshFlag);
    if (!(f.meshFlags & kSmoothed))
        f.surfaceType = 0;
    else if (f.surfaceType != 5 && f.surfaceType != 6 && f.surfaceType != 8)
        f.surfaceType = 6;
    f.verticesFollow = 1;
    f.unusedPoint = VxGePoint3d::kOrigin;
    return Velt::eOk;
}

void VxDbPolygonMesh::dxfSubObjects(std::vector<dxf::SubObject>& out) const { listVertexRecords(mVertices, out); }

void VxDbPolygonMesh::copyExtraData(const VxDbPolygonMesh& other) { copyVertices(mVertices, other.mVertices); }

// ---- polyface mesh ----

KX_DB_DEFINE_KIND(VxDbPolyFaceMeshVertex, VxDbVertex, L"KxDbPolyFaceMeshVertex",
                  &vxrxCreateInstance<VxDbPolyFaceMeshVertex>, L"", "AcDbPolyFaceMeshVertex")
KX_DB_DEFINE_KIND(VxDbFaceRecord, VxDbVertex, L"KxDbFaceRecord", &vxrxCreateInstance<VxDbFaceRecord>, L"",
                  "AcDbFaceRecord")
KX_DB_DEFINE_KIND(VxDbPolyFaceMesh, VxDbEntity, L"KxDbPolyFaceMesh", &vxrxCreateInstance<VxDbPolyFaceMesh>,
                  L"POLYLINE", "AcDbPolyFaceMesh")

Velt::ErrorStatus VxDbFaceRecord::getVertexAt(int corner, int16_t& vertex) const
{
    switch (corner) {
    case 0: vertex = mFields.vertex0; return Velt::eOk;
    case 1: vertex = mFields.vertex1; return Velt::eOk;
    case 2: vertex = mFields.vertex2; return Velt::eOk;
    case 3: vertex = mFields.vertex3; return Velt::eOk;
    default: return Velt::eInvalidIndex;
    }
}

Velt::ErrorStatus VxDbPolyFaceMesh::appendVertex(const VxGePoint3d& position)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!fieldcheck::isFinite(position) || mVertices.size() >= size_t(kMaxVertices))
        return Velt::eInvalidInput;
    mVertices.push_back(std::make_unique<VxDbPolyFaceMeshVertex>(position));
    mFields.numVertices = int16_t(mVertices.size());
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyFaceMesh::appendFace(int16_t v0, int16_t v1, int16_t v2, int16_t v3)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const int count = int(mVertices.size());
    auto valid = [count](int16_t v, bool mayBeNone) {
        const int a = std::abs(int(v));
        return (a == 0 && mayBeNone) || (a >= 1 && a <= count);
    };
    if (!valid(v0, false) || !valid(v1, false) || !valid(v2, false) || !valid(v3, true) ||
        mFaces.size() >= size_t(kMaxVertices))
        return Velt::eInvalidInput;
    auto face = std::make_unique<VxDbFaceRecord>();
    face->mFields.vertex0 = v0;
    face->mFields.vertex1 = v1;
    face->mFields.vertex2 = v2;
    face->mFields.vertex3 = v3;
    mFaces.push_back(std::move(face));
    mFields.numFaces = int16_t(mFaces.size());
    return Velt::eOk;
}

std::vector<VxGePoint3d> VxDbPolyFaceMesh::vertexPositions() const
{
    std::vector<VxGePoint3d> points;
    for (const auto& v : mVertices)
        points.push_back(v->mFields.position);
    return points;
}

Velt::ErrorStatus VxDbPolyFaceMesh::setVertexPositionAt(int index, const VxGePoint3d& position)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (index < 0 || size_t(index) >= mVertices.size())
        return Velt::eInvalidIndex;
    if (!fieldcheck::isFinite(position))
        return Velt::eInvalidInput;
    mVertices[size_t(index)]->mFields.position = position;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyFaceMesh::setVertexPositions(const std::vector<VxGePoint3d>& positions)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (positions.size() != mVertices.size())
        return Velt::eInvalidInput;
    for (const VxGePoint3d& p : positions) {
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
    }
    for (size_t i = 0; i < positions.size(); ++i)
        mVertices[i]->mFields.position = positions[i];
    return Velt::eOk;
}

std::vector<int16_t> VxDbPolyFaceMesh::faceNumbers() const
{
    std::vector<int16_t> numbers;
    for (const auto& f : mFaces)
        numbers.insert(numbers.end(), {f->mFields.vertex0, f->mFields.vertex1, f->mFields.vertex2, f->mFields.vertex3});
    return numbers;
}

std::unique_ptr<VxDbVertexIterator> VxDbPolyFaceMesh::vertexIterator() const
{
    return iterateVertices(mVertices, mFaces);
}

Velt::ErrorStatus VxDbPolyFaceMesh::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    std::vector<VxGePoint3d> points;
    for (const auto& v : mVertices) {
        const VxGePoint3d p = xform.transform(v->mFields.position);
        if (!fieldcheck::isFinite(p))
            return Velt::eInvalidInput;
        points.push_back(p);
    }
    for (size_t i = 0; i < points.size(); ++i)
        mVertices[i]->mFields.position = points[i];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyFaceMesh::getGeomExtents(VxGeExtents3d& extents) const
{
    if (mVertices.empty())
        return Velt::eNotApplicable;
    extents = VxGeExtents3d();
    for (const auto& v : mVertices)
        extents.addPoint(v->mFields.position);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPolyFaceMesh::explode(std::vector<VxDbEntity*>& entities) const
{
    std::vector<std::unique_ptr<VxDbEntity>> made;
    for (const auto& f : mFaces) {
        const int16_t numbers[4] = {f->mFields.vertex0, f->mFields.vertex1, f->mFields.vertex2, f->mFields.vertex3};
        VxGePoint3d corners[4];
        int used = 0;
        bool ok = true;
        for (int c = 0; c < 4; ++c) {
            const int a = std::abs(int(numbers[c]));
            if (a == 0)
                break;
            ok = ok && size_t(a) <= mVertices.size();
            if (ok)
                corners[used++] = mVertices[size_t(a - 1)]->mFields.position;
        }
        if (!ok || used < 3)
            continue;
        if (used == 3)
            corners[3] = corners[2];
        auto face = std::make_unique<VxDbFace>(corners[0], corners[1], corners[2], corners[3]);
        for (int c = 0; c < used; ++c) {
            if (numbers[c] < 0)
                face->setEdgeVisibleAt(c, false);
        }
        face->setPropertiesFrom(this);
        made.push_back(std::move(face));
    }
    for (auto& entity : made)
        entities.push_back(entity.release());
    return Velt::eOk;
}

const VxRxClass* VxDbPolyFaceMesh::dxfRecordClass(const std::vector<dxf::FieldGroup>& groups)
{
    return polylineRecordClass(groups);
}

bool VxDbPolyFaceMesh::readDxfGroup(int code, std::string_view value)
{
    double number = 0.0;
    return (code == 40 || code == 41 || code == 39 || code == 73 || code == 74 || code == 75 || code == 210 ||
            code == 220 || code == 230) &&
           readNumber(value, number);
}

// Vertices first, then faces of the vertices that came; counts in the file are not trusted.
bool VxDbPolyFaceMesh::readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File)
{
    mVertices.clear();
    mFaces.clear();
    for (const dxf::SubRecord& record : records) {
        if (record.type == "SEQEND")
            continue;
        if (record.type != "VERTEX")
            return false;
        int64_t flags = -1;
        for (const dxf::FieldGroup& g : record.groups) {
            if (g.code == 70 && !dxf::parseInt(g.value, flags))
                return false;
        }
        if (flags == 128) {
            auto face = std::make_unique<VxDbFaceRecord>();
            if (!dxf::readFields(*face, VxDbFaceRecord::kind(), record.groups, utf8File))
                return false;
            const VxDbFaceRecord::Fields& f = face->mFields;
            if (appendFace(f.vertex0, f.vertex1, f.vertex2, f.vertex3) != Velt::eOk)
                return false;
        } else if ((flags & 192) == 192) {
            auto vertex = std::make_unique<VxDbPolyFaceMeshVertex>();
            if (!dxf::readFields(*vertex, VxDbPolyFaceMeshVertex::kind(), record.groups, utf8File) || !mFaces.empty() ||
                appendVertex(vertex->mFields.position) != Velt::eOk)
                return false;
        } else {
            return false;
        }
    }
    mFields.meshFlags = 64;
    mFields.verticesFollow = 1;
    mFields.unusedPoint = VxGePoint3d::kOrigin;
    mFields.numVertices = int16_t(mVertices.size());
    mFields.numFaces = int16_t(mFaces.size());
    return true;
}

// The counts are those of the vertices and faces it has (the records that follow decide).
Velt::ErrorStatus VxDbPolyFaceMesh::checkFields(uint64_t)
{
    mFields.meshFlags = 64;
    mFields.verticesFollow = 1;
    mFields.unusedPoint = VxGePoint3d::kOrigin;
    mFields.numVertices = int16_t(mVertices.size());
    mFields.numFaces = int16_t(mFaces.size());
    return Velt::eOk;
}

void VxDbPolyFaceMesh::dxfSubObjects(std::vector<dxf::SubObject>& out) const
{
    listVertexRecords(mVertices, out);
    listVertexRecords(mFaces, out);
}

void VxDbPolyFaceMesh::copyExtraData(const VxDbPolyFaceMesh& other)
{
    copyVertices(mVertices, other.mVertices);
    copyVertices(mFaces, other.mFaces);
}

}  // namespace kx
