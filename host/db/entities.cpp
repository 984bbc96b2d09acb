#include "db/entities.h"

#include <cmath>
#include <algorithm>
#include <cstring>

#include "db/internal.h"
#include "ge/angle.h"

namespace kx {

namespace {

// The normal after a transformation; the old one when the result is degenerate.
VxGeVector3d transformedNormal(const VxGeMatrix3d& xform, const VxGeVector3d& normal)
{
    const VxGeVector3d n = xform.transformNormal(normal).normal();
    return n.isZeroLength() ? normal : n;
}

void addThickness(VxGeExtents3d& extents, const VxGeVector3d& normal, double thickness)
{
    if (thickness == 0.0 || !extents.isValid())
        return;
    const VxGeVector3d offset = normal * thickness;
    VxGeExtents3d shifted(extents.minPoint() + offset, extents.maxPoint() + offset);
    extents.addExt(shifted);
}

template <class T>
T* cloneOf(const T* entity)
{
    return static_cast<T*>(entity->clone());
}

}  // namespace

// ---- line ----

KX_DB_DEFINE_KIND(VxDbLine, VxDbCurve, L"KxDbLine", &vxrxCreateInstance<VxDbLine>, L"LINE", "AcDbLine")

VxDbLine::VxDbLine(const VxGePoint3d& start, const VxGePoint3d& end)
{
    setStartPoint(start);
    setEndPoint(end);
}

std::unique_ptr<VxGeCurve3d> VxDbLine::geCurve() const
{
    return std::make_unique<VxGeLineSeg3d>(mFields.startPoint, mFields.endPoint);
}

std::unique_ptr<VxGeCurve3d> VxDbLine::geCurveExtended() const
{
    return std::make_unique<VxGeLine3d>(VxGeLine3d::through(mFields.startPoint, mFields.endPoint));
}

Velt::ErrorStatus VxDbLine::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    Fields& f = mFields;
    f.startPoint = xform.transform(f.startPoint);
    f.endPoint = xform.transform(f.endPoint);
    f.normal = transformedNormal(xform, f.normal);
    f.thickness = detail::transformedThickness(xform, f.thickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLine::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.set(mFields.startPoint, mFields.endPoint);
    addThickness(extents, mFields.normal, mFields.thickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLine::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    VxGeLineSeg3d offset;
    if (!VxGeLineSeg3d(mFields.startPoint, mFields.endPoint).getOffset(distance, mFields.normal, offset))
        return Velt::eDegenerateGeometry;
    VxDbLine* line = cloneOf(this);
    line->mFields.startPoint = offset.startPoint();
    line->mFields.endPoint = offset.endPoint();
    curves.push_back(line);
    return Velt::eOk;
}

// ---- circle ----

KX_DB_DEFINE_KIND(VxDbCircle, VxDbCurve, L"KxDbCircle", &vxrxCreateInstance<VxDbCircle>, L"CIRCLE", "AcDbCircle")

VxDbCircle::VxDbCircle(const VxGePoint3d& center, const VxGeVector3d& normal, double radius)
{
    setCenter(center);
    setNormal(normal);
    setRadius(radius);
}

double VxDbCircle::circumference() const { return kTwoPi * mFields.radius; }

std::unique_ptr<VxGeCurve3d> VxDbCircle::geCurve() const
{
    return std::make_unique<VxGeCircArc3d>(mFields.center, mFields.normal, mFields.radius);
}

Velt::ErrorStatus VxDbCircle::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!xform.isUniScaledOrtho())
        return Velt::eCannotScaleNonUniformly;
    VxGeCircArc3d circle(mFields.center, mFields.normal, mFields.radius);
    if (!circle.transformBy(xform) || !(circle.radius() > 0.0))
        return Velt::eInvalidInput;
    mFields.center = circle.center();
    mFields.normal = circle.normal();
    mFields.radius = circle.radius();
    mFields.thickness = detail::transformedThickness(xform, mFields.thickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCircle::getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const
{
    copy = nullptr;
    if (xform.isUniScaledOrtho())
        return VxDbCurve::getTransformedCopy(xform, copy);
    // Scaled unevenly a circle becomes an ellipse.
    VxGeEllipArc3d ellipse(VxGeCircArc3d(mFields.center, mFields.normal, mFields.radius));
    if (!ellipse.transformBy(xform))
        return Velt::eInvalidInput;
    auto* result = new VxDbEllipse();
    result->setPropertiesFrom(this);
    if (Velt::ErrorStatus es = result->setFrom(ellipse)) {
        delete result;
        return es;
    }
    copy = result;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCircle::getArea(double& area) const
{
    area = kPi * mFields.radius * mFields.radius;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCircle::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    VxGeCircArc3d offset;
    if (!VxGeCircArc3d(mFields.center, mFields.normal, mFields.radius).getOffset(distance, offset))
        return Velt::eDegenerateGeometry;
    VxDbCircle* circle = cloneOf(this);
    circle->mFields.radius = offset.radius();
    curves.push_back(circle);
    return Velt::eOk;
}

// ---- arc ----

KX_DB_DEFINE_KIND(VxDbArc, VxDbCurve, L"KxDbArc", &vxrxCreateInstance<VxDbArc>, L"ARC", "AcDbArc")

VxDbArc::VxDbArc(const VxGePoint3d& center, double radius, double startAngle, double endAngle)
    : VxDbArc(center, VxGeVector3d::kZAxis, radius, startAngle, endAngle)
{
}

VxDbArc::VxDbArc(const VxGePoint3d& center, const VxGeVector3d& normal, double radius, double startAngle,
                 double endAngle)
{
    setCenter(center);
    setNormal(normal);
    setRadius(radius);
    setStartAngle(startAngle);
    setEndAngle(endAngle);
}

double VxDbArc::totalAngle() const { return vxgeSweep(mFields.startAngle, mFields.endAngle); }

VxGeCircArc3d VxDbArc::geArc() const
{
    const Fields& f = mFields;
    return VxGeCircArc3d(f.center, f.normal, VxGeVector3d{}, f.radius, f.startAngle, f.startAngle + totalAngle());
}

std::unique_ptr<VxGeCurve3d> VxDbArc::geCurve() const { return std::make_unique<VxGeCircArc3d>(geArc()); }

std::unique_ptr<VxGeCurve3d> VxDbArc::geCurveExtended() const
{
    return std::make_unique<VxGeCircArc3d>(mFields.center, mFields.normal, mFields.radius);
}

Velt::ErrorStatus VxDbArc::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!xform.isUniScaledOrtho())
        return Velt::eCannotScaleNonUniformly;
    VxGeCircArc3d arc = geArc();
    if (!arc.transformBy(xform) || !(arc.radius() > 0.0))
        return Velt::eInvalidInput;
    // Angles are stored against the new normal's arbitrary-axis x axis.
    arc.rebaseAngles(VxGeVector3d{});
    Fields& f = mFields;
    f.center = arc.center();
    f.normal = arc.normal();
    f.radius = arc.radius();
    f.startAngle = vxgeNormalizeAngle(arc.startAng());
    f.endAngle = vxgeNormalizeAngle(arc.endAng());
    f.thickness = detail::transformedThickness(xform, f.thickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbArc::getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const
{
    copy = nullptr;
    if (xform.isUniScaledOrtho())
        return VxDbCurve::getTransformedCopy(xform, copy);
    VxGeEllipArc3d ellipse(geArc());
    if (!ellipse.transformBy(xform))
        return Velt::eInvalidInput;
    auto* result = new VxDbEllipse();
    result->setPropertiesFrom(this);
    if (Velt::ErrorStatus es = result->setFrom(ellipse)) {
        delete result;
        return es;
    }
    copy = result;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbArc::getArea(double& area) const
{
    area = geArc().area();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbArc::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    VxGeCircArc3d offset;
    if (!geArc().getOffset(distance, offset))
        return Velt::eDegenerateGeometry;
    VxDbArc* arc = cloneOf(this);
    arc->mFields.radius = offset.radius();
    curves.push_back(arc);
    return Velt::eOk;
}

// ---- ellipse ----

KX_DB_DEFINE_KIND(VxDbEllipse, VxDbCurve, L"KxDbEllipse", &vxrxCreateInstance<VxDbEllipse>, L"ELLIPSE",
                  "AcDbEllipse")

namespace {

bool isRatio(double ratio) { return fieldcheck::ratio(ratio) == Velt::eOk; }

// Start in [0, 2pi), end in (0, 2pi]: the form drawings store.
void normalizeParams(double& start, double& end)
{
    const double sweep = vxgeSweep(start, end);
    start = vxgeNormalizeAngle(start);
    end = start + sweep;
    if (end > kTwoPi)
        end -= kTwoPi;
    if (end <= 0.0)
        end = kTwoPi;
}

bool perpendicular(const VxGeVector3d& axis, const VxGeVector3d& unitNormal)
{
    return std::fabs(axis.normal().dotProduct(unitNormal)) <= 1e-9;
}

}  // namespace

VxDbEllipse::VxDbEllipse(const VxGePoint3d& center, const VxGeVector3d& unitNormal, const VxGeVector3d& majorAxis,
                         double radiusRatio, double startAngle, double endAngle)
{
    set(center, unitNormal, majorAxis, radiusRatio, startAngle, endAngle);
}

VxGeEllipArc3d VxDbEllipse::geEllipse() const
{
    const Fields& f = mFields;
    double end = f.endParam;
    if (end <= f.startParam)
        end += kTwoPi;
    return VxGeEllipArc3d::fromAxisRatio(f.center, f.normal, f.majorAxis, f.radiusRatio, f.startParam, end);
}

Velt::ErrorStatus VxDbEllipse::set(const VxGePoint3d& center, const VxGeVector3d& unitNormal,
                                   const VxGeVector3d& majorAxis, double radiusRatio, double startAngle,
                                   double endAngle)
{
    if (!fieldcheck::isFinite(center) || !fieldcheck::isFinite(unitNormal) || !fieldcheck::isFinite(majorAxis) ||
        !std::isfinite(startAngle) || !std::isfinite(endAngle))
        return Velt::eInvalidInput;
    if (unitNormal.isZeroLength() || majorAxis.isZeroLength() || !isRatio(radiusRatio))
        return Velt::eInvalidInput;
    const VxGeVector3d normal = unitNormal.normal();
    if (!perpendicular(majorAxis, normal))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    Fields& f = mFields;
    f.center = center;
    f.normal = normal;
    f.majorAxis = majorAxis;
    f.radiusRatio = radiusRatio;
    const VxGeEllipArc3d full = VxGeEllipArc3d::fromAxisRatio(center, normal, majorAxis, radiusRatio);
    double start = full.paramFromAngle(vxgeNormalizeAngle(startAngle));
    const double sweepAngle = vxgeSweep(startAngle, endAngle);
    // A full turn of angles is a full turn of parameters, exactly.
    double end = sweepAngle >= kTwoPi ? start + kTwoPi
                                      : full.paramFromAngle(vxgeNormalizeAngle(startAngle) + sweepAngle);
    normalizeParams(start, end);
    f.startParam = start;
    f.endParam = end;
    return Velt::eOk;
}

void VxDbEllipse::get(VxGePoint3d& center, VxGeVector3d& unitNormal, VxGeVector3d& majorAxis, double& radiusRatio,
                      double& startAngle, double& endAngle) const
{
    center = mFields.center;
    unitNormal = mFields.normal;
    majorAxis = mFields.majorAxis;
    radiusRatio = mFields.radiusRatio;
    startAngle = this->startAngle();
    endAngle = this->endAngle();
}

VxGeVector3d VxDbEllipse::minorAxis() const
{
    return mFields.normal.crossProduct(mFields.majorAxis) * mFields.radiusRatio;
}

Velt::ErrorStatus VxDbEllipse::setMajorRadius(double radius)
{
    if (!std::isfinite(radius) || radius <= 0.0)
        return Velt::eInvalidInput;
    const double ratio = minorRadius() / radius;
    if (!isRatio(ratio))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.majorAxis = mFields.majorAxis.normal() * radius;
    mFields.radiusRatio = ratio;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEllipse::setMinorRadius(double radius)
{
    if (!std::isfinite(radius) || radius <= 0.0)
        return Velt::eInvalidInput;
    return setRadiusRatio(radius / majorRadius());
}

Velt::ErrorStatus VxDbEllipse::setMajorAxis(const VxGeVector3d& axis)
{
    VxGeVector3d checked = axis;
    if (fieldcheck::nonZero(checked) != Velt::eOk || !perpendicular(axis, mFields.normal))
        return Velt::eInvalidInput;
    // The minor radius stays; the ratio follows the new major radius.
    const double ratio = minorRadius() / axis.length();
    if (!isRatio(ratio))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.majorAxis = axis;
    mFields.radiusRatio = ratio;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEllipse::setNormal(const VxGeVector3d& normal)
{
    VxGeVector3d unit = normal;
    if (fieldcheck::unitVector(unit) != Velt::eOk)
        return Velt::eInvalidInput;
    // The major axis keeps its length, projected into the new plane; one along the new
    // normal takes the plane's own x axis.
    VxGeVector3d axis = mFields.majorAxis - unit * mFields.majorAxis.dotProduct(unit);
    if (axis.isZeroLength())
        axis = unit.perpVector();
    axis = axis.normal() * majorRadius();
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mFields.normal = unit;
    mFields.majorAxis = axis;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEllipse::setStartParam(double param)
{
    if (!std::isfinite(param))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    double start = param;
    double end = mFields.endParam;
    normalizeParams(start, end);
    mFields.startParam = start;
    mFields.endParam = end;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEllipse::setEndParam(double param)
{
    if (!std::isfinite(param))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    double start = mFields.startParam;
    double end = param;
    normalizeParams(start, end);
    mFields.startParam = start;
    mFields.endParam = end;
    return Velt::eOk;
}

double VxDbEllipse::startAngle() const
{
    return vxgeNormalizeAngle(geEllipse().angleFromParam(mFields.startParam));
}

double VxDbEllipse::endAngle() const
{
    const double angle = geEllipse().angleFromParam(mFields.endParam);
    return angle >= kTwoPi ? kTwoPi : vxgeNormalizeAngle(angle);
}

Velt::ErrorStatus VxDbEllipse::setStartAngle(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setStartParam(geEllipse().paramFromAngle(vxgeNormalizeAngle(angle)));
}

Velt::ErrorStatus VxDbEllipse::setEndAngle(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setEndParam(geEllipse().paramFromAngle(vxgeNormalizeAngle(angle)));
}

bool VxDbEllipse::isFullEllipse() const { return vxgeSweep(mFields.startParam, mFields.endParam) >= kTwoPi; }

Velt::ErrorStatus VxDbEllipse::checkFields(uint64_t)
{
    if (!perpendicular(mFields.majorAxis, mFields.normal))
        return Velt::eInvalidInput;
    normalizeParams(mFields.startParam, mFields.endParam);
    return Velt::eOk;
}

std::unique_ptr<VxGeCurve3d> VxDbEllipse::geCurve() const { return std::make_unique<VxGeEllipArc3d>(geEllipse()); }

std::unique_ptr<VxGeCurve3d> VxDbEllipse::geCurveExtended() const
{
    const Fields& f = mFields;
    return std::make_unique<VxGeEllipArc3d>(
        VxGeEllipArc3d::fromAxisRatio(f.center, f.normal, f.majorAxis, f.radiusRatio));
}

Velt::ErrorStatus VxDbEllipse::setFrom(const VxGeEllipArc3d& ellipse)
{
    if (!ellipse.isValid())
        return Velt::eDegenerateGeometry;
    const double ratio = ellipse.radiusRatio();
    if (!isRatio(ratio))
        return Velt::eDegenerateGeometry;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    Fields& f = mFields;
    f.center = ellipse.center();
    f.normal = ellipse.normal().normal();
    f.majorAxis = ellipse.majorAxisVector();
    f.radiusRatio = ratio;
    double start = ellipse.startParam();
    double end = ellipse.endParam();
    if (ellipse.isFullEllipse()) {
        start = 0.0;
        end = kTwoPi;
    } else {
        normalizeParams(start, end);
    }
    f.startParam = start;
    f.endParam = end;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEllipse::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    VxGeEllipArc3d ellipse = geEllipse();
    if (!ellipse.transformBy(xform))
        return Velt::eInvalidInput;
    return setFrom(ellipse);
}

Velt::ErrorStatus VxDbEllipse::getArea(double& area) const
{
    area = geEllipse().area();
    return Velt::eOk;
}

// ---- point ----

KX_DB_DEFINE_KIND(VxDbPoint, VxDbEntity, L"KxDbPoint", &vxrxCreateInstance<VxDbPoint>, L"POINT", "AcDbPoint")

VxDbPoint::VxDbPoint(const VxGePoint3d& position) { setPosition(position); }

Velt::ErrorStatus VxDbPoint::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    Fields& f = mFields;
    f.position = xform.transform(f.position);
    f.normal = transformedNormal(xform, f.normal);
    f.thickness = detail::transformedThickness(xform, f.thickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPoint::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.set(mFields.position, mFields.position);
    addThickness(extents, mFields.normal, mFields.thickness);
    return Velt::eOk;
}

// ---- rays and construction lines ----

KX_DB_DEFINE_KIND(VxDbLinearBase, VxDbCurve, L"KxDbLinearBase", nullptr, nullptr, nullptr)

VxDbLinearBase::VxDbLinearBase(const VxGePoint3d& basePoint, const VxGeVector3d& direction)
{
    setBasePoint(basePoint);
    setUnitDir(direction);
}

Velt::ErrorStatus VxDbLinearBase::setSecondPoint(const VxGePoint3d& point)
{
    if (!fieldcheck::isFinite(point))
        return Velt::eInvalidInput;
    const VxGeVector3d toPoint = point - mFields.basePoint;
    if (Velt::ErrorStatus es = setUnitDir(toPoint))
        return es;
    mFields.secondDistance = toPoint.length();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLinearBase::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const VxGePoint3d base = xform.transform(mFields.basePoint);
    const VxGeVector3d direction = xform.transform(mFields.unitDir);
    if (direction.isZeroLength())
        return Velt::eInvalidInput;
    mFields.basePoint = base;
    mFields.secondDistance *= direction.length();
    mFields.unitDir = direction.normal();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLinearBase::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    return Velt::eNotApplicable;
}

VxGeVector3d VxDbLinearBase::offsetPlaneNormal() const
{
    return mFields.unitDir.isParallelTo(VxGeVector3d::kZAxis) ? VxGeVector3d::kYAxis : VxGeVector3d::kZAxis;
}

Velt::ErrorStatus VxDbLinearBase::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    const VxGeLine3d line(mFields.basePoint, mFields.unitDir);
    const VxGeVector3d side = line.offsetDirection(offsetPlaneNormal());
    if (side.isZeroLength())
        return Velt::eDegenerateGeometry;
    auto* copy = static_cast<VxDbLinearBase*>(clone());
    copy->mFields.basePoint = mFields.basePoint + side * distance;
    curves.push_back(copy);
    return Velt::eOk;
}

KX_DB_DEFINE_FIELDLESS_KIND(VxDbRay, VxDbLinearBase, L"KxDbRay", &vxrxCreateInstance<VxDbRay>, L"RAY", "AcDbRay")

std::unique_ptr<VxGeCurve3d> VxDbRay::geCurve() const
{
    return std::make_unique<VxGeRay3d>(basePoint(), unitDir());
}

std::unique_ptr<VxGeCurve3d> VxDbRay::geCurveExtended() const
{
    return std::make_unique<VxGeLine3d>(basePoint(), unitDir());
}

KX_DB_DEFINE_FIELDLESS_KIND(VxDbXline, VxDbLinearBase, L"KxDbXline", &vxrxCreateInstance<VxDbXline>, L"XLINE",
                            "AcDbXline")

std::unique_ptr<VxGeCurve3d> VxDbXline::geCurve() const
{
    return std::make_unique<VxGeLine3d>(basePoint(), unitDir());
}

// ---- faces ----

KX_DB_DEFINE_KIND(VxDbFace, VxDbEntity, L"KxDbFace", &vxrxCreateInstance<VxDbFace>, L"3DFACE", "AcDbFace")

namespace {

// Bit i of the flags hides edge i.
uint64_t readBit(const VxDbKind& kind, const char* field)
{
    const auto& fields = kind.fields();
    for (size_t i = 0; i < fields.size(); ++i) {
        if (std::strcmp(fields[i]->name, field) == 0)
            return uint64_t(1) << i;
    }
    return 0;
}

}  // namespace

VxDbFace::VxDbFace(const VxGePoint3d& p0, const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3)
{
    setVertexAt(0, p0);
    setVertexAt(1, p1);
    setVertexAt(2, p2);
    setVertexAt(3, p3);
}

VxGePoint3d* VxDbFace::vertex(int index)
{
    switch (index) {
    case 0: return &mFields.vertex0;
    case 1: return &mFields.vertex1;
    case 2: return &mFields.vertex2;
    case 3: return &mFields.vertex3;
    default: return nullptr;
    }
}

Velt::ErrorStatus VxDbFace::getVertexAt(int index, VxGePoint3d& point) const
{
    const VxGePoint3d* p = const_cast<VxDbFace*>(this)->vertex(index);
    if (!p)
        return Velt::eInvalidIndex;
    point = *p;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFace::setVertexAt(int index, const VxGePoint3d& point)
{
    VxGePoint3d* p = vertex(index);
    if (!p)
        return Velt::eInvalidIndex;
    if (!fieldcheck::isFinite(point))
        return Velt::eInvalidInput;
    return setField(*p, point);
}

namespace {

// Three or four finite corners; three get the third again as the fourth.
bool takeCorners(const std::vector<VxGePoint3d>& points, VxGePoint3d (&corners)[4])
{
    if (points.size() != 3 && points.size() != 4)
        return false;
    for (size_t i = 0; i < 4; ++i) {
        corners[i] = points[std::min(i, points.size() - 1)];
        if (!fieldcheck::isFinite(corners[i]))
            return false;
    }
    return true;
}

}  // namespace

std::vector<VxGePoint3d> VxDbFace::vertices() const
{
    return {mFields.vertex0, mFields.vertex1, mFields.vertex2, mFields.vertex3};
}

Velt::ErrorStatus VxDbFace::setVertices(const std::vector<VxGePoint3d>& points)
{
    VxGePoint3d corners[4];
    if (!takeCorners(points, corners))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (int i = 0; i < 4; ++i)
        *vertex(i) = corners[i];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFace::isEdgeVisibleAt(int index, bool& visible) const
{
    if (index < 0 || index > 3)
        return Velt::eInvalidIndex;
    visible = (mFields.invisibleEdges & (1 << index)) == 0;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFace::setEdgeVisibleAt(int index, bool visible)
{
    if (index < 0 || index > 3)
        return Velt::eInvalidIndex;
    const int bit = 1 << index;
    return setField(mFields.invisibleEdges, int16_t(visible ? mFields.invisibleEdges & ~bit : mFields.invisibleEdges | bit));
}

Velt::ErrorStatus VxDbFace::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (int i = 0; i < 4; ++i)
        *vertex(i) = xform.transform(*vertex(i));
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFace::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.set(mFields.vertex0, mFields.vertex1);
    extents.addPoint(mFields.vertex2);
    extents.addPoint(mFields.vertex3);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbFace::checkFields(uint64_t readMask)
{
    if (!(readMask & readBit(kind(), "vertex3")))
        mFields.vertex3 = mFields.vertex2;
    return Velt::eOk;
}

// ---- solids and traces ----

KX_DB_DEFINE_KIND(VxDbQuadBase, VxDbEntity, L"KxDbQuadBase", nullptr, nullptr, nullptr)

VxDbQuadBase::VxDbQuadBase(const VxGePoint3d& p0, const VxGePoint3d& p1, const VxGePoint3d& p2,
                           const VxGePoint3d& p3)
{
    setPointAt(0, p0);
    setPointAt(1, p1);
    setPointAt(2, p2);
    setPointAt(3, p3);
}

VxGePoint3d* VxDbQuadBase::point(int index)
{
    switch (index) {
    case 0: return &mFields.point0;
    case 1: return &mFields.point1;
    case 2: return &mFields.point2;
    case 3: return &mFields.point3;
    default: return nullptr;
    }
}

Velt::ErrorStatus VxDbQuadBase::getPointAt(int index, VxGePoint3d& p) const
{
    const VxGePoint3d* at = const_cast<VxDbQuadBase*>(this)->point(index);
    if (!at)
        return Velt::eInvalidIndex;
    p = *at;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbQuadBase::setPointAt(int index, const VxGePoint3d& p)
{
    VxGePoint3d* at = point(index);
    if (!at)
        return Velt::eInvalidIndex;
    if (!fieldcheck::isFinite(p))
        return Velt::eInvalidInput;
    return setField(*at, p);
}

std::vector<VxGePoint3d> VxDbQuadBase::points() const
{
    return {mFields.point0, mFields.point1, mFields.point2, mFields.point3};
}

Velt::ErrorStatus VxDbQuadBase::setPoints(const std::vector<VxGePoint3d>& points)
{
    VxGePoint3d corners[4];
    if (!takeCorners(points, corners))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (int i = 0; i < 4; ++i)
        *point(i) = corners[i];
    return Velt::eOk;
}

Velt::ErrorStatus VxDbQuadBase::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    for (int i = 0; i < 4; ++i)
        *point(i) = xform.transform(*point(i));
    mFields.normal = transformedNormal(xform, mFields.normal);
    mFields.thickness = detail::transformedThickness(xform, mFields.thickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbQuadBase::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.set(mFields.point0, mFields.point1);
    extents.addPoint(mFields.point2);
    extents.addPoint(mFields.point3);
    addThickness(extents, mFields.normal, mFields.thickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbQuadBase::checkFields(uint64_t readMask)
{
    if (!(readMask & readBit(kind(), "point3")))
        mFields.point3 = mFields.point2;
    return Velt::eOk;
}

KX_DB_DEFINE_FIELDLESS_KIND(VxDbSolid, VxDbQuadBase, L"KxDbSolid", &vxrxCreateInstance<VxDbSolid>, L"SOLID",
                            "AcDbTrace")
KX_DB_DEFINE_FIELDLESS_KIND(VxDbTrace, VxDbQuadBase, L"KxDbTrace", &vxrxCreateInstance<VxDbTrace>, L"TRACE",
                            "AcDbTrace")

}  // namespace kx
