#pragma once

#include <memory>
#include <vector>

#include "ge/extents.h"
#include "ge/matrix.h"
#include "ge/plane.h"
#include "ge/point.h"

namespace kx {

// How far the curves of an intersection reach: as they are, one or both
// extended (a segment or ray to an unbounded line, an arc to its full circle,
// an elliptical arc to its full ellipse). The values match the automation
// layer's extend option.
enum class VxGeExtend : int {
    kExtendNone = 0,
    kExtendThis = 1,
    kExtendOther = 2,
    kExtendBoth = 3,
};

enum class VxGeCurveKind : int {
    kLineSeg3d,
    kLine3d,
    kRay3d,
    kCircArc3d,
    kEllipArc3d,
};

// The curves that the line-like, circular and elliptical entities are made of.
// Parameters: distance along the unit direction for the linear curves, the
// angle for circular arcs, the ellipse parameter for elliptical arcs.
// Operations that cannot be done (a singular transformation, an offset that
// collapses the curve) answer false and leave the curve unchanged.
class VxGeCurve3d {
public:
    virtual ~VxGeCurve3d() = default;

    virtual VxGeCurveKind kind() const = 0;
    virtual std::unique_ptr<VxGeCurve3d> clone() const = 0;
    // The parameter interval; an unbounded end is +-infinity.
    virtual void getInterval(double& startParam, double& endParam) const = 0;
    bool isBounded() const;
    virtual bool isClosed() const { return false; }
    virtual VxGePoint3d evalPoint(double param) const = 0;
    // First derivative with respect to the parameter.
    virtual VxGeVector3d evalDeriv(double param) const = 0;
    // Nearest point of the curve within its interval.
    virtual VxGePoint3d closestPointTo(const VxGePoint3d& point, double* param = nullptr) const = 0;
    double distanceTo(const VxGePoint3d& point) const { return closestPointTo(point).distanceTo(point); }
    bool isOn(const VxGePoint3d& point, const VxGeTol& tol = VxGeContext::gTol) const;
    // The parameter of a point on the curve; false (param untouched) when
    // the point is farther than the tolerance from it.
    bool paramAtPoint(const VxGePoint3d& point, double& param, const VxGeTol& tol = VxGeContext::gTol) const;
    // Infinite for unbounded curves.
    virtual double length() const = 0;
    // Arc length between two parameters (in either order).
    virtual double length(double fromParam, double toParam) const = 0;
    // Tight box; false (box untouched) for unbounded curves.
    virtual bool getExtents(VxGeExtents3d& extents) const = 0;
    virtual bool transformBy(const VxGeMatrix3d& m) = 0;

    // Appends the points where this curve meets other, extended as asked,
    // and answers how many it appended. Overlapping curves (collinear lines,
    // coincident circles) have no isolated intersections and give none;
    // degenerate curves give none.
    int intersectWith(const VxGeCurve3d& other, VxGeExtend extend, std::vector<VxGePoint3d>& points,
                      const VxGeTol& tol = VxGeContext::gTol) const;

protected:
    VxGeCurve3d() = default;
    VxGeCurve3d(const VxGeCurve3d&) = default;
    VxGeCurve3d& operator=(const VxGeCurve3d&) = default;
};

// The common shape of the linear curves: point + param * unit direction.
class VxGeLinearEnt3d : public VxGeCurve3d {
public:
    const VxGePoint3d& pointOnLine() const { return mPoint; }
    // Unit direction; zero for a degenerate (zero-length) segment.
    const VxGeVector3d& direction() const { return mDirection; }
    VxGePoint3d evalPoint(double param) const override { return mPoint + mDirection * param; }
    VxGeVector3d evalDeriv(double) const override { return mDirection; }
    VxGePoint3d closestPointTo(const VxGePoint3d& point, double* param = nullptr) const override;
    double length(double fromParam, double toParam) const override;
    // The signed distance along the direction of the foot of the
    // perpendicular from point (the parameter on the unbounded line).
    double paramOf(const VxGePoint3d& point) const { return (point - mPoint).dotProduct(mDirection); }
    bool isParallelTo(const VxGeLinearEnt3d& other, const VxGeTol& tol = VxGeContext::gTol) const;
    bool isColinearTo(const VxGeLinearEnt3d& other, const VxGeTol& tol = VxGeContext::gTol) const;
    // The side direction of an offset in the plane of planeNormal: positive
    // distances go to direction x planeNormal (the right-hand side seen from
    // the normal). Zero when the direction is parallel to the normal.
    VxGeVector3d offsetDirection(const VxGeVector3d& planeNormal) const;

protected:
    VxGeLinearEnt3d() = default;
    VxGeLinearEnt3d(const VxGePoint3d& point, const VxGeVector3d& direction);
    VxGePoint3d mPoint{};
    VxGeVector3d mDirection{1.0, 0.0, 0.0};
};

class VxGeLineSeg3d final : public VxGeLinearEnt3d {
public:
    VxGeLineSeg3d() : VxGeLineSeg3d(VxGePoint3d{}, VxGePoint3d{1.0, 0.0, 0.0}) {}
    VxGeLineSeg3d(const VxGePoint3d& start, const VxGePoint3d& end) { set(start, end); }

    VxGeLineSeg3d& set(const VxGePoint3d& start, const VxGePoint3d& end);
    const VxGePoint3d& startPoint() const { return mPoint; }
    const VxGePoint3d& endPoint() const { return mEnd; }
    VxGePoint3d midPoint() const;
    bool isDegenerate() const { return mDirection.lengthSqrd() == 0.0; }

    VxGeCurveKind kind() const override { return VxGeCurveKind::kLineSeg3d; }
    std::unique_ptr<VxGeCurve3d> clone() const override { return std::make_unique<VxGeLineSeg3d>(*this); }
    void getInterval(double& startParam, double& endParam) const override;
    VxGePoint3d evalPoint(double param) const override;
    double length() const override { return mPoint.distanceTo(mEnd); }
    using VxGeLinearEnt3d::length;
    bool getExtents(VxGeExtents3d& extents) const override;
    bool transformBy(const VxGeMatrix3d& m) override;
    // The segment moved sideways by distance in the plane of planeNormal
    // (see offsetDirection); false for a degenerate segment or one parallel
    // to the normal.
    bool getOffset(double distance, const VxGeVector3d& planeNormal, VxGeLineSeg3d& result) const;
    VxGeLineSeg3d& reverse() { return set(mEnd, mPoint); }

private:
    VxGePoint3d mEnd{1.0, 0.0, 0.0};
};

// An unbounded line (the construction-line entity).
class VxGeLine3d final : public VxGeLinearEnt3d {
public:
    VxGeLine3d() = default;
    // A zero direction is replaced by the x axis: a line needs a direction.
    VxGeLine3d(const VxGePoint3d& point, const VxGeVector3d& direction) { set(point, direction); }
    static VxGeLine3d through(const VxGePoint3d& p1, const VxGePoint3d& p2) { return VxGeLine3d(p1, p2 - p1); }

    // False (no change) for a zero direction.
    bool set(const VxGePoint3d& point, const VxGeVector3d& direction);

    VxGeCurveKind kind() const override { return VxGeCurveKind::kLine3d; }
    std::unique_ptr<VxGeCurve3d> clone() const override { return std::make_unique<VxGeLine3d>(*this); }
    void getInterval(double& startParam, double& endParam) const override;
    double length() const override;
    using VxGeLinearEnt3d::length;
    bool getExtents(VxGeExtents3d&) const override { return false; }
    bool transformBy(const VxGeMatrix3d& m) override;
    bool getOffset(double distance, const VxGeVector3d& planeNormal, VxGeLine3d& result) const;
};

// A half-line from its base point (the ray entity).
class VxGeRay3d final : public VxGeLinearEnt3d {
public:
    VxGeRay3d() = default;
    VxGeRay3d(const VxGePoint3d& basePoint, const VxGeVector3d& direction) { set(basePoint, direction); }

    bool set(const VxGePoint3d& basePoint, const VxGeVector3d& direction);
    const VxGePoint3d& basePoint() const { return mPoint; }

    VxGeCurveKind kind() const override { return VxGeCurveKind::kRay3d; }
    std::unique_ptr<VxGeCurve3d> clone() const override { return std::make_unique<VxGeRay3d>(*this); }
    void getInterval(double& startParam, double& endParam) const override;
    double length() const override;
    using VxGeLinearEnt3d::length;
    bool getExtents(VxGeExtents3d&) const override { return false; }
    bool transformBy(const VxGeMatrix3d& m) override;
    bool getOffset(double distance, const VxGeVector3d& planeNormal, VxGeRay3d& result) const;
};

// A circle or a counter-clockwise arc of one (about the normal), angles
// measured from the reference vector. The start angle is kept in [0, 2pi)
// and the end angle is start + sweep with the sweep in (0, 2pi]; equal start
// and end angles mean the full circle.
class VxGeCircArc3d final : public VxGeCurve3d {
public:
    // The unit circle in the XY plane.
    VxGeCircArc3d() = default;
    // A full circle; the reference vector follows the arbitrary axis rule.
    VxGeCircArc3d(const VxGePoint3d& center, const VxGeVector3d& normal, double radius);
    // An arc; a reference vector that is not perpendicular to the normal is
    // projected into the plane, and a zero one replaced by the arbitrary axis
    // rule's x axis (normal.perpVector()), which is the axis that arc
    // entities measure their angles from.
    VxGeCircArc3d(const VxGePoint3d& center, const VxGeVector3d& normal, const VxGeVector3d& refVec, double radius,
                  double startAngle, double endAngle);
    // The arc from p1 through p2 to p3; false for collinear or coincident
    // points.
    static bool fromThreePoints(const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3,
                                VxGeCircArc3d& result);

    const VxGePoint3d& center() const { return mCenter; }
    const VxGeVector3d& normal() const { return mNormal; }
    const VxGeVector3d& refVec() const { return mRefVec; }
    // The in-plane axis a quarter turn from the reference vector.
    VxGeVector3d perpVec() const { return mNormal.crossProduct(mRefVec); }
    double radius() const { return mRadius; }
    double startAng() const { return mStartAngle; }
    double endAng() const { return mEndAngle; }
    double sweep() const { return mEndAngle - mStartAngle; }
    bool isFullCircle() const { return sweep() >= kTwoPi; }
    VxGePoint3d startPoint() const { return evalPoint(mStartAngle); }
    VxGePoint3d endPoint() const { return evalPoint(mEndAngle); }
    VxGePlane plane() const { return VxGePlane(mCenter, mNormal); }
    // The degenerate circle (radius not above the point tolerance or a zero
    // normal) takes part in no intersection.
    bool isValid(const VxGeTol& tol = VxGeContext::gTol) const;

    void setCenter(const VxGePoint3d& center) { mCenter = center; }
    // False (no change) for a negative or non-finite radius.
    bool setRadius(double radius);
    void setAngles(double startAngle, double endAngle);
    // False (no change) for a zero normal.
    bool setAxes(const VxGeVector3d& normal, const VxGeVector3d& refVec);
    // Keeps the points of the arc but measures its angles from another
    // reference vector (projected into the plane; zero means the arbitrary
    // axis rule's). After a transformation an arc entity rebases onto
    // normal().perpVector() to get its stored angles back.
    void rebaseAngles(const VxGeVector3d& refVec);

    // Angle of the point's projection on the plane, from the reference
    // vector, in [0, 2pi); 0 at the center.
    double angleOf(const VxGePoint3d& point) const;
    // Within the angular range (with a tolerance measured along the arc).
    bool isInRange(double angle, const VxGeTol& tol = VxGeContext::gTol) const;
    // The area enclosed by the circle, or by the arc and its chord.
    double area() const;

    VxGeCurveKind kind() const override { return VxGeCurveKind::kCircArc3d; }
    std::unique_ptr<VxGeCurve3d> clone() const override { return std::make_unique<VxGeCircArc3d>(*this); }
    void getInterval(double& startParam, double& endParam) const override;
    bool isClosed() const override { return isFullCircle(); }
    VxGePoint3d evalPoint(double angle) const override;
    VxGeVector3d evalDeriv(double angle) const override;
    VxGePoint3d closestPointTo(const VxGePoint3d& point, double* param = nullptr) const override;
    double length() const override { return mRadius * sweep(); }
    double length(double fromParam, double toParam) const override;
    bool getExtents(VxGeExtents3d& extents) const override;
    // Only transformations that keep circles circles (one common scale);
    // for others convert to an elliptical arc first.
    bool transformBy(const VxGeMatrix3d& m) override;
    // The concentric arc at radius + distance (positive grows it); false
    // when that would not be above zero.
    bool getOffset(double distance, VxGeCircArc3d& result) const;

private:
    VxGePoint3d mCenter{};
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
    VxGeVector3d mRefVec{1.0, 0.0, 0.0};
    double mRadius = 1.0;
    double mStartAngle = 0.0;
    double mEndAngle = kTwoPi;
};

// An ellipse or a counter-clockwise arc of one:
// center + majorRadius cos(t) majorAxis + minorRadius sin(t) minorAxis,
// with unit, perpendicular axes and the normal majorAxis x minorAxis. The
// parameter interval follows the same rule as the circular arc's angles.
class VxGeEllipArc3d final : public VxGeCurve3d {
public:
    // The unit circle in the XY plane.
    VxGeEllipArc3d() = default;
    // The axes are normalised and the minor axis made perpendicular to the
    // major one (its direction within the plane kept).
    VxGeEllipArc3d(const VxGePoint3d& center, const VxGeVector3d& majorAxis, const VxGeVector3d& minorAxis,
                   double majorRadius, double minorRadius, double startParam = 0.0, double endParam = kTwoPi);
    // The entity's form: normal, major axis with its length as the major
    // radius, ratio minor / major.
    static VxGeEllipArc3d fromAxisRatio(const VxGePoint3d& center, const VxGeVector3d& normal,
                                        const VxGeVector3d& majorAxisVector, double radiusRatio,
                                        double startParam = 0.0, double endParam = kTwoPi);
    explicit VxGeEllipArc3d(const VxGeCircArc3d& arc);

    const VxGePoint3d& center() const { return mCenter; }
    const VxGeVector3d& majorAxis() const { return mMajorAxis; }
    const VxGeVector3d& minorAxis() const { return mMinorAxis; }
    double majorRadius() const { return mMajorRadius; }
    double minorRadius() const { return mMinorRadius; }
    VxGeVector3d normal() const { return mMajorAxis.crossProduct(mMinorAxis); }
    // The major axis scaled to the major radius.
    VxGeVector3d majorAxisVector() const { return mMajorAxis * mMajorRadius; }
    VxGeVector3d minorAxisVector() const { return mMinorAxis * mMinorRadius; }
    double radiusRatio() const { return mMajorRadius > 0.0 ? mMinorRadius / mMajorRadius : 0.0; }
    double startParam() const { return mStartParam; }
    double endParam() const { return mEndParam; }
    double sweep() const { return mEndParam - mStartParam; }
    bool isFullEllipse() const { return sweep() >= kTwoPi; }
    bool isCircular(const VxGeTol& tol = VxGeContext::gTol) const;
    VxGePoint3d startPoint() const { return evalPoint(mStartParam); }
    VxGePoint3d endPoint() const { return evalPoint(mEndParam); }
    VxGePlane plane() const { return VxGePlane(mCenter, normal()); }
    bool isValid(const VxGeTol& tol = VxGeContext::gTol) const;

    void setCenter(const VxGePoint3d& center) { mCenter = center; }
    // False (no change) for bad radii or axes.
    bool set(const VxGePoint3d& center, const VxGeVector3d& majorAxis, const VxGeVector3d& minorAxis,
             double majorRadius, double minorRadius);
    void setParams(double startParam, double endParam);
    // Angles (from the major axis, counter-clockwise about the normal) to
    // parameters and back. The result stays in the same turn as the input,
    // so 0 maps to 0 and 2pi to 2pi.
    double paramFromAngle(double angle) const;
    double angleFromParam(double param) const;
    // The parameter of the point's projection on the plane in [0, 2pi).
    double paramOf(const VxGePoint3d& point) const;
    bool isInRange(double param, const VxGeTol& tol = VxGeContext::gTol) const;
    // The area enclosed by the ellipse, or by the arc and its chord.
    double area() const;
    // The point at distance from the curve along its in-plane normal
    // (positive outward, as for circles). Offsets of ellipses are no
    // ellipses; callers sample them with this.
    VxGePoint3d evalOffsetPoint(double param, double distance) const;
    // Parameters at which a chordal polyline through the offset points stays
    // within maxDeviation of the exact offset curve; at least the two ends.
    std::vector<double> offsetSampleParams(double distance, double maxDeviation) const;

    VxGeCurveKind kind() const override { return VxGeCurveKind::kEllipArc3d; }
    std::unique_ptr<VxGeCurve3d> clone() const override { return std::make_unique<VxGeEllipArc3d>(*this); }
    void getInterval(double& startParam, double& endParam) const override;
    bool isClosed() const override { return isFullEllipse(); }
    VxGePoint3d evalPoint(double param) const override;
    VxGeVector3d evalDeriv(double param) const override;
    VxGePoint3d closestPointTo(const VxGePoint3d& point, double* param = nullptr) const override;
    double length() const override { return length(mStartParam, mEndParam); }
    double length(double fromParam, double toParam) const override;
    bool getExtents(VxGeExtents3d& extents) const override;
    // Any non-singular affine transformation: the image is again an ellipse,
    // with its axes found anew and the parameters shifted to match.
    bool transformBy(const VxGeMatrix3d& m) override;

private:
    VxGePoint3d mCenter{};
    VxGeVector3d mMajorAxis{1.0, 0.0, 0.0};
    VxGeVector3d mMinorAxis{0.0, 1.0, 0.0};
    double mMajorRadius = 1.0;
    double mMinorRadius = 1.0;
    double mStartParam = 0.0;
    double mEndParam = kTwoPi;
};

}  // namespace kx
