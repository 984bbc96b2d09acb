#include "db/entities.h"

#include <cmath>

#include "db/internal.h"
#include "ge/angle.h"

namespace kx {

namespace {

bool finite(const VxGePoint3d& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }
bool finite(const VxGeVector3d& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

// The normal after a transformation; the old one when the result is degenerate.
VxGeVector3d transformedNormal(const VxGeMatrix3d& xform, const VxGeVector3d& normal)
{
    const VxGeVector3d n = xform.transformNormal(normal).normal();
    return n.isZeroLength() ? normal : n;
}

// Thickness follows a uniform scale; other transformations keep it.
double transformedThickness(const VxGeMatrix3d& xform, double thickness)
{
    return xform.isUniScaledOrtho() ? thickness * xform.scale() : thickness;
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

VX_RX_DEFINE_MEMBERS(VxDbLine, VxDbCurve, L"KxDbLine", &vxrxCreateInstance<VxDbLine>, L"LINE")

Velt::ErrorStatus VxDbLine::setStartPoint(const VxGePoint3d& point)
{
    if (!finite(point))
        return Velt::eInvalidInput;
    return setField(mStart, point);
}

Velt::ErrorStatus VxDbLine::setEndPoint(const VxGePoint3d& point)
{
    if (!finite(point))
        return Velt::eInvalidInput;
    return setField(mEnd, point);
}

Velt::ErrorStatus VxDbLine::setNormal(const VxGeVector3d& normal)
{
    if (!finite(normal) || normal.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mNormal, normal.normal());
}

Velt::ErrorStatus VxDbLine::setThickness(double thickness)
{
    if (!std::isfinite(thickness))
        return Velt::eInvalidInput;
    return setField(mThickness, thickness);
}

std::unique_ptr<VxGeCurve3d> VxDbLine::geCurve() const { return std::make_unique<VxGeLineSeg3d>(mStart, mEnd); }

std::unique_ptr<VxGeCurve3d> VxDbLine::geCurveExtended() const
{
    return std::make_unique<VxGeLine3d>(VxGeLine3d::through(mStart, mEnd));
}

Velt::ErrorStatus VxDbLine::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mStart = xform.transform(mStart);
    mEnd = xform.transform(mEnd);
    mNormal = transformedNormal(xform, mNormal);
    mThickness = transformedThickness(xform, mThickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLine::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.set(mStart, mEnd);
    addThickness(extents, mNormal, mThickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLine::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    VxGeLineSeg3d offset;
    if (!VxGeLineSeg3d(mStart, mEnd).getOffset(distance, mNormal, offset))
        return Velt::eDegenerateGeometry;
    VxDbLine* line = cloneOf(this);
    line->mStart = offset.startPoint();
    line->mEnd = offset.endPoint();
    curves.push_back(line);
    return Velt::eOk;
}

void VxDbLine::copyDataFrom(const VxDbObject& other)
{
    VxDbCurve::copyDataFrom(other);
    const auto& line = static_cast<const VxDbLine&>(other);
    mStart = line.mStart;
    mEnd = line.mEnd;
    mNormal = line.mNormal;
    mThickness = line.mThickness;
}

// ---- circle ----

VX_RX_DEFINE_MEMBERS(VxDbCircle, VxDbCurve, L"KxDbCircle", &vxrxCreateInstance<VxDbCircle>, L"CIRCLE")

VxDbCircle::VxDbCircle(const VxGePoint3d& center, const VxGeVector3d& normal, double radius)
{
    setCenter(center);
    setNormal(normal);
    setRadius(radius);
}

Velt::ErrorStatus VxDbCircle::setCenter(const VxGePoint3d& center)
{
    if (!finite(center))
        return Velt::eInvalidInput;
    return setField(mCenter, center);
}

Velt::ErrorStatus VxDbCircle::setRadius(double radius)
{
    if (!std::isfinite(radius) || radius <= 0.0)
        return Velt::eInvalidInput;
    return setField(mRadius, radius);
}

Velt::ErrorStatus VxDbCircle::setNormal(const VxGeVector3d& normal)
{
    if (!finite(normal) || normal.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mNormal, normal.normal());
}

Velt::ErrorStatus VxDbCircle::setThickness(double thickness)
{
    if (!std::isfinite(thickness))
        return Velt::eInvalidInput;
    return setField(mThickness, thickness);
}

double VxDbCircle::circumference() const { return kTwoPi * mRadius; }

std::unique_ptr<VxGeCurve3d> VxDbCircle::geCurve() const
{
    return std::make_unique<VxGeCircArc3d>(mCenter, mNormal, mRadius);
}

Velt::ErrorStatus VxDbCircle::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    if (!xform.isUniScaledOrtho())
        return Velt::eCannotScaleNonUniformly;
    VxGeCircArc3d circle(mCenter, mNormal, mRadius);
    if (!circle.transformBy(xform) || !(circle.radius() > 0.0))
        return Velt::eInvalidInput;
    mCenter = circle.center();
    mNormal = circle.normal();
    mRadius = circle.radius();
    mThickness = transformedThickness(xform, mThickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCircle::getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const
{
    copy = nullptr;
    if (xform.isUniScaledOrtho())
        return VxDbCurve::getTransformedCopy(xform, copy);
    // Scaled unevenly a circle becomes an ellipse.
    VxGeEllipArc3d ellipse(VxGeCircArc3d(mCenter, mNormal, mRadius));
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
    area = kPi * mRadius * mRadius;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbCircle::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    VxGeCircArc3d offset;
    if (!VxGeCircArc3d(mCenter, mNormal, mRadius).getOffset(distance, offset))
        return Velt::eDegenerateGeometry;
    VxDbCircle* circle = cloneOf(this);
    circle->mRadius = offset.radius();
    curves.push_back(circle);
    return Velt::eOk;
}

void VxDbCircle::copyDataFrom(const VxDbObject& other)
{
    VxDbCurve::copyDataFrom(other);
    const auto& circle = static_cast<const VxDbCircle&>(other);
    mCenter = circle.mCenter;
    mNormal = circle.mNormal;
    mRadius = circle.mRadius;
    mThickness = circle.mThickness;
}

// ---- arc ----

VX_RX_DEFINE_MEMBERS(VxDbArc, VxDbCurve, L"KxDbArc", &vxrxCreateInstance<VxDbArc>, L"ARC")

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

Velt::ErrorStatus VxDbArc::setCenter(const VxGePoint3d& center)
{
    if (!finite(center))
        return Velt::eInvalidInput;
    return setField(mCenter, center);
}

Velt::ErrorStatus VxDbArc::setRadius(double radius)
{
    if (!std::isfinite(radius) || radius <= 0.0)
        return Velt::eInvalidInput;
    return setField(mRadius, radius);
}

Velt::ErrorStatus VxDbArc::setNormal(const VxGeVector3d& normal)
{
    if (!finite(normal) || normal.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mNormal, normal.normal());
}

Velt::ErrorStatus VxDbArc::setStartAngle(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setField(mStartAngle, vxgeNormalizeAngle(angle));
}

Velt::ErrorStatus VxDbArc::setEndAngle(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setField(mEndAngle, vxgeNormalizeAngle(angle));
}

Velt::ErrorStatus VxDbArc::setThickness(double thickness)
{
    if (!std::isfinite(thickness))
        return Velt::eInvalidInput;
    return setField(mThickness, thickness);
}

double VxDbArc::totalAngle() const { return vxgeSweep(mStartAngle, mEndAngle); }

VxGeCircArc3d VxDbArc::geArc() const
{
    return VxGeCircArc3d(mCenter, mNormal, VxGeVector3d{}, mRadius, mStartAngle, mStartAngle + totalAngle());
}

std::unique_ptr<VxGeCurve3d> VxDbArc::geCurve() const { return std::make_unique<VxGeCircArc3d>(geArc()); }

std::unique_ptr<VxGeCurve3d> VxDbArc::geCurveExtended() const
{
    return std::make_unique<VxGeCircArc3d>(mCenter, mNormal, mRadius);
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
    mCenter = arc.center();
    mNormal = arc.normal();
    mRadius = arc.radius();
    mStartAngle = vxgeNormalizeAngle(arc.startAng());
    mEndAngle = vxgeNormalizeAngle(arc.endAng());
    mThickness = transformedThickness(xform, mThickness);
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
    arc->mRadius = offset.radius();
    curves.push_back(arc);
    return Velt::eOk;
}

void VxDbArc::copyDataFrom(const VxDbObject& other)
{
    VxDbCurve::copyDataFrom(other);
    const auto& arc = static_cast<const VxDbArc&>(other);
    mCenter = arc.mCenter;
    mNormal = arc.mNormal;
    mRadius = arc.mRadius;
    mStartAngle = arc.mStartAngle;
    mEndAngle = arc.mEndAngle;
    mThickness = arc.mThickness;
}

// ---- ellipse ----

VX_RX_DEFINE_MEMBERS(VxDbEllipse, VxDbCurve, L"KxDbEllipse", &vxrxCreateInstance<VxDbEllipse>, L"ELLIPSE")

namespace {

constexpr double kMinRatio = 1e-6;

bool isRatio(double ratio) { return std::isfinite(ratio) && ratio >= kMinRatio && ratio <= 1.0; }

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

}  // namespace

VxDbEllipse::VxDbEllipse(const VxGePoint3d& center, const VxGeVector3d& unitNormal, const VxGeVector3d& majorAxis,
                         double radiusRatio, double startAngle, double endAngle)
{
    set(center, unitNormal, majorAxis, radiusRatio, startAngle, endAngle);
}

VxGeEllipArc3d VxDbEllipse::geEllipse() const
{
    double end = mEndParam;
    if (end <= mStartParam)
        end += kTwoPi;
    return VxGeEllipArc3d::fromAxisRatio(mCenter, mNormal, mMajorAxis, mRadiusRatio, mStartParam, end);
}

Velt::ErrorStatus VxDbEllipse::set(const VxGePoint3d& center, const VxGeVector3d& unitNormal,
                                   const VxGeVector3d& majorAxis, double radiusRatio, double startAngle,
                                   double endAngle)
{
    if (!finite(center) || !finite(unitNormal) || !finite(majorAxis) || !std::isfinite(startAngle) ||
        !std::isfinite(endAngle))
        return Velt::eInvalidInput;
    if (unitNormal.isZeroLength() || majorAxis.isZeroLength() || !isRatio(radiusRatio))
        return Velt::eInvalidInput;
    const VxGeVector3d normal = unitNormal.normal();
    if (std::fabs(majorAxis.normal().dotProduct(normal)) > 1e-9)
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mCenter = center;
    mNormal = normal;
    mMajorAxis = majorAxis;
    mRadiusRatio = radiusRatio;
    const VxGeEllipArc3d full = VxGeEllipArc3d::fromAxisRatio(center, normal, majorAxis, radiusRatio);
    double start = full.paramFromAngle(vxgeNormalizeAngle(startAngle));
    const double sweepAngle = vxgeSweep(startAngle, endAngle);
    // A full turn of angles is a full turn of parameters, exactly.
    double end = sweepAngle >= kTwoPi ? start + kTwoPi
                                      : full.paramFromAngle(vxgeNormalizeAngle(startAngle) + sweepAngle);
    normalizeParams(start, end);
    mStartParam = start;
    mEndParam = end;
    return Velt::eOk;
}

void VxDbEllipse::get(VxGePoint3d& center, VxGeVector3d& unitNormal, VxGeVector3d& majorAxis, double& radiusRatio,
                      double& startAngle, double& endAngle) const
{
    center = mCenter;
    unitNormal = mNormal;
    majorAxis = mMajorAxis;
    radiusRatio = mRadiusRatio;
    startAngle = this->startAngle();
    endAngle = this->endAngle();
}

Velt::ErrorStatus VxDbEllipse::setCenter(const VxGePoint3d& center)
{
    if (!finite(center))
        return Velt::eInvalidInput;
    return setField(mCenter, center);
}

VxGeVector3d VxDbEllipse::minorAxis() const { return mNormal.crossProduct(mMajorAxis) * mRadiusRatio; }

Velt::ErrorStatus VxDbEllipse::setRadiusRatio(double ratio)
{
    if (!isRatio(ratio))
        return Velt::eInvalidInput;
    return setField(mRadiusRatio, ratio);
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
    mMajorAxis = mMajorAxis.normal() * radius;
    mRadiusRatio = ratio;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEllipse::setMinorRadius(double radius)
{
    if (!std::isfinite(radius) || radius <= 0.0)
        return Velt::eInvalidInput;
    return setRadiusRatio(radius / majorRadius());
}

Velt::ErrorStatus VxDbEllipse::setStartParam(double param)
{
    if (!std::isfinite(param))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    double start = param;
    double end = mEndParam;
    normalizeParams(start, end);
    mStartParam = start;
    mEndParam = end;
    return Velt::eOk;
}

Velt::ErrorStatus VxDbEllipse::setEndParam(double param)
{
    if (!std::isfinite(param))
        return Velt::eInvalidInput;
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    double start = mStartParam;
    double end = param;
    normalizeParams(start, end);
    mStartParam = start;
    mEndParam = end;
    return Velt::eOk;
}

double VxDbEllipse::startAngle() const { return vxgeNormalizeAngle(geEllipse().angleFromParam(mStartParam)); }

double VxDbEllipse::endAngle() const
{
    const double angle = geEllipse().angleFromParam(mEndParam);
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

bool VxDbEllipse::isFullEllipse() const { return vxgeSweep(mStartParam, mEndParam) >= kTwoPi; }

std::unique_ptr<VxGeCurve3d> VxDbEllipse::geCurve() const { return std::make_unique<VxGeEllipArc3d>(geEllipse()); }

std::unique_ptr<VxGeCurve3d> VxDbEllipse::geCurveExtended() const
{
    return std::make_unique<VxGeEllipArc3d>(
        VxGeEllipArc3d::fromAxisRatio(mCenter, mNormal, mMajorAxis, mRadiusRatio));
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
    mCenter = ellipse.center();
    mNormal = ellipse.normal().normal();
    mMajorAxis = ellipse.majorAxisVector();
    mRadiusRatio = ratio;
    double start = ellipse.startParam();
    double end = ellipse.endParam();
    if (ellipse.isFullEllipse()) {
        start = 0.0;
        end = kTwoPi;
    } else {
        normalizeParams(start, end);
    }
    mStartParam = start;
    mEndParam = end;
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

void VxDbEllipse::copyDataFrom(const VxDbObject& other)
{
    VxDbCurve::copyDataFrom(other);
    const auto& ellipse = static_cast<const VxDbEllipse&>(other);
    mCenter = ellipse.mCenter;
    mNormal = ellipse.mNormal;
    mMajorAxis = ellipse.mMajorAxis;
    mRadiusRatio = ellipse.mRadiusRatio;
    mStartParam = ellipse.mStartParam;
    mEndParam = ellipse.mEndParam;
}

// ---- point ----

VX_RX_DEFINE_MEMBERS(VxDbPoint, VxDbEntity, L"KxDbPoint", &vxrxCreateInstance<VxDbPoint>, L"POINT")

Velt::ErrorStatus VxDbPoint::setPosition(const VxGePoint3d& position)
{
    if (!finite(position))
        return Velt::eInvalidInput;
    return setField(mPosition, position);
}

Velt::ErrorStatus VxDbPoint::setNormal(const VxGeVector3d& normal)
{
    if (!finite(normal) || normal.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mNormal, normal.normal());
}

Velt::ErrorStatus VxDbPoint::setThickness(double thickness)
{
    if (!std::isfinite(thickness))
        return Velt::eInvalidInput;
    return setField(mThickness, thickness);
}

Velt::ErrorStatus VxDbPoint::setEcsRotation(double angle)
{
    if (!std::isfinite(angle))
        return Velt::eInvalidInput;
    return setField(mEcsRotation, vxgeNormalizeAngle(angle));
}

Velt::ErrorStatus VxDbPoint::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    mPosition = xform.transform(mPosition);
    mNormal = transformedNormal(xform, mNormal);
    mThickness = transformedThickness(xform, mThickness);
    return Velt::eOk;
}

Velt::ErrorStatus VxDbPoint::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.set(mPosition, mPosition);
    addThickness(extents, mNormal, mThickness);
    return Velt::eOk;
}

void VxDbPoint::copyDataFrom(const VxDbObject& other)
{
    VxDbEntity::copyDataFrom(other);
    const auto& point = static_cast<const VxDbPoint&>(other);
    mPosition = point.mPosition;
    mNormal = point.mNormal;
    mThickness = point.mThickness;
    mEcsRotation = point.mEcsRotation;
}

// ---- rays and construction lines ----

VX_RX_DEFINE_MEMBERS(VxDbLinearBase, VxDbCurve, L"KxDbLinearBase", nullptr, nullptr)

VxDbLinearBase::VxDbLinearBase(const VxGePoint3d& basePoint, const VxGeVector3d& direction)
{
    setBasePoint(basePoint);
    setUnitDir(direction);
}

Velt::ErrorStatus VxDbLinearBase::setBasePoint(const VxGePoint3d& point)
{
    if (!finite(point))
        return Velt::eInvalidInput;
    return setField(mBasePoint, point);
}

Velt::ErrorStatus VxDbLinearBase::setUnitDir(const VxGeVector3d& direction)
{
    if (!finite(direction) || direction.isZeroLength())
        return Velt::eInvalidInput;
    return setField(mUnitDir, direction.normal());
}

Velt::ErrorStatus VxDbLinearBase::transformBy(const VxGeMatrix3d& xform)
{
    if (Velt::ErrorStatus es = assertWriteEnabled())
        return es;
    const VxGePoint3d base = xform.transform(mBasePoint);
    const VxGeVector3d direction = xform.transform(mUnitDir);
    if (direction.isZeroLength())
        return Velt::eInvalidInput;
    mBasePoint = base;
    mUnitDir = direction.normal();
    return Velt::eOk;
}

Velt::ErrorStatus VxDbLinearBase::getGeomExtents(VxGeExtents3d& extents) const
{
    extents.reset();
    return Velt::eNotApplicable;
}

VxGeVector3d VxDbLinearBase::offsetPlaneNormal() const
{
    return mUnitDir.isParallelTo(VxGeVector3d::kZAxis) ? VxGeVector3d::kYAxis : VxGeVector3d::kZAxis;
}

Velt::ErrorStatus VxDbLinearBase::getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const
{
    if (!std::isfinite(distance))
        return Velt::eInvalidInput;
    const VxGeLine3d line(mBasePoint, mUnitDir);
    const VxGeVector3d side = line.offsetDirection(offsetPlaneNormal());
    if (side.isZeroLength())
        return Velt::eDegenerateGeometry;
    auto* copy = static_cast<VxDbLinearBase*>(clone());
    copy->mBasePoint = mBasePoint + side * distance;
    curves.push_back(copy);
    return Velt::eOk;
}

void VxDbLinearBase::copyDataFrom(const VxDbObject& other)
{
    VxDbCurve::copyDataFrom(other);
    const auto& linear = static_cast<const VxDbLinearBase&>(other);
    mBasePoint = linear.mBasePoint;
    mUnitDir = linear.mUnitDir;
}

VX_RX_DEFINE_MEMBERS(VxDbRay, VxDbLinearBase, L"KxDbRay", &vxrxCreateInstance<VxDbRay>, L"RAY")

std::unique_ptr<VxGeCurve3d> VxDbRay::geCurve() const { return std::make_unique<VxGeRay3d>(mBasePoint, mUnitDir); }

std::unique_ptr<VxGeCurve3d> VxDbRay::geCurveExtended() const
{
    return std::make_unique<VxGeLine3d>(mBasePoint, mUnitDir);
}

VX_RX_DEFINE_MEMBERS(VxDbXline, VxDbLinearBase, L"KxDbXline", &vxrxCreateInstance<VxDbXline>, L"XLINE")

std::unique_ptr<VxGeCurve3d> VxDbXline::geCurve() const { return std::make_unique<VxGeLine3d>(mBasePoint, mUnitDir); }

}  // namespace kx
