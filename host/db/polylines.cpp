#include "db/polylines.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "db/entities.h"
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

Velt::ErrorStatus VxDbPolyline::explode(std::vector<VxDbEntity*>& entities) const
{
    const std::vector<VxGeBulgeVertex> vertices = bulgeVertices();
    const size_t n = vertices.size();
    const size_t segments = n < 2 ? 0 : (isClosed() ? n : n - 1);
    const VxGeMatrix3d world = planeToWorld();
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
            const VxGePoint2d& from = ccw ? p0 : p1;
            const VxGePoint2d& to = ccw ? p1 : p0;
            auto arc = std::make_unique<VxDbArc>(at(center), mFields.normal, radius,
                                                 std::atan2(from.y - center.y, from.x - center.x),
                                                 std::atan2(to.y - center.y, to.x - center.x));
            arc->setThickness(mFields.thickness);
            piece = std::move(arc);
        } else {
            auto line = std::make_unique<VxDbLine>(at(p0), at(p1));
            line->setNormal(mFields.normal);
            line->setThickness(mFields.thickness);
            piece = std::move(line);
        }
        piece->setPropertiesFrom(this);
        made.push_back(std::move(piece));
    }
    for (auto& entity : made)
        entities.push_back(entity.release());
    return Velt::eOk;
}

bool VxDbPolyline::getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const
{
    curves = vxgeBulgePolylineCurves(bulgeVertices(), isClosed(), planeToWorld(), mFields.normal);
    if (extended && !isClosed() && !curves.empty()) {
        // An open polyline reaches on at its ends: the end pieces as far as they go.
        for (size_t i : {size_t(0), curves.size() - 1}) {
            if (auto* line = dynamic_cast<VxGeLineSeg3d*>(curves[i].get()))
                curves[i] = std::make_unique<VxGeLine3d>(VxGeLine3d::through(line->startPoint(), line->endPoint()));
            else if (auto* arc = dynamic_cast<VxGeCircArc3d*>(curves[i].get()))
                curves[i] = std::make_unique<VxGeCircArc3d>(arc->center(), arc->normal(), arc->radius());
        }
    }
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

}  // namespace kx
