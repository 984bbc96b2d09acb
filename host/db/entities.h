#pragma once

#include "db/entity.h"

namespace kx {

class VxDbLine : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbLine)
public:
    VxDbLine() = default;
    VxDbLine(const VxGePoint3d& start, const VxGePoint3d& end) : mStart(start), mEnd(end) {}

    VxGePoint3d startPoint() const { return mStart; }
    Velt::ErrorStatus setStartPoint(const VxGePoint3d& point);
    VxGePoint3d endPoint() const { return mEnd; }
    Velt::ErrorStatus setEndPoint(const VxGePoint3d& point);
    VxGeVector3d normal() const { return mNormal; }
    // Stored as a unit vector; a zero vector is refused.
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
    double thickness() const { return mThickness; }
    Velt::ErrorStatus setThickness(double thickness);

    std::unique_ptr<VxGeCurve3d> geCurve() const override;
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // A parallel line in the plane of the normal; positive distances go to
    // the right of the direction seen from the normal.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxGePoint3d mStart;
    VxGePoint3d mEnd;
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
    double mThickness = 0.0;
};

class VxDbCircle : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbCircle)
public:
    VxDbCircle() = default;
    VxDbCircle(const VxGePoint3d& center, const VxGeVector3d& normal, double radius);

    VxGePoint3d center() const { return mCenter; }
    Velt::ErrorStatus setCenter(const VxGePoint3d& center);
    double radius() const { return mRadius; }
    // Above zero.
    Velt::ErrorStatus setRadius(double radius);
    VxGeVector3d normal() const { return mNormal; }
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
    double thickness() const { return mThickness; }
    Velt::ErrorStatus setThickness(double thickness);
    double circumference() const;
    double diameter() const { return 2.0 * mRadius; }

    bool isPeriodic() const override { return true; }
    std::unique_ptr<VxGeCurve3d> geCurve() const override;
    // Only transformations that keep circles circles; getTransformedCopy
    // turns the others into ellipses.
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const override;
    Velt::ErrorStatus getArea(double& area) const override;
    // A concentric circle; positive distances grow it.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxGePoint3d mCenter;
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
    double mRadius = 1.0;
    double mThickness = 0.0;
};

// A counter-clockwise arc about its normal; angles are measured from the x
// axis of the normal's arbitrary-axis coordinate system.
class VxDbArc : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbArc)
public:
    VxDbArc() = default;
    VxDbArc(const VxGePoint3d& center, double radius, double startAngle, double endAngle);
    VxDbArc(const VxGePoint3d& center, const VxGeVector3d& normal, double radius, double startAngle, double endAngle);

    VxGePoint3d center() const { return mCenter; }
    Velt::ErrorStatus setCenter(const VxGePoint3d& center);
    double radius() const { return mRadius; }
    Velt::ErrorStatus setRadius(double radius);
    VxGeVector3d normal() const { return mNormal; }
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
    double startAngle() const { return mStartAngle; }
    Velt::ErrorStatus setStartAngle(double angle);
    double endAngle() const { return mEndAngle; }
    Velt::ErrorStatus setEndAngle(double angle);
    double thickness() const { return mThickness; }
    Velt::ErrorStatus setThickness(double thickness);
    // End minus start, in (0, 2pi].
    double totalAngle() const;
    double arcLength() const { return mRadius * totalAngle(); }

    std::unique_ptr<VxGeCurve3d> geCurve() const override;
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const override;
    // The area between the arc and its chord.
    Velt::ErrorStatus getArea(double& area) const override;
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxGeCircArc3d geArc() const;
    VxGePoint3d mCenter;
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
    double mRadius = 1.0;
    double mStartAngle = 0.0;
    double mEndAngle = kPi;
    double mThickness = 0.0;
};

// An ellipse or elliptical arc: centre, unit normal, major axis (its length
// the major radius), ratio of minor to major radius (1e-6 ... 1) and the
// start and end parameters.
class VxDbEllipse : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbEllipse)
public:
    VxDbEllipse() = default;
    VxDbEllipse(const VxGePoint3d& center, const VxGeVector3d& unitNormal, const VxGeVector3d& majorAxis,
                double radiusRatio, double startAngle = 0.0, double endAngle = kTwoPi);

    // Sets everything at once; the angles are measured from the major axis.
    Velt::ErrorStatus set(const VxGePoint3d& center, const VxGeVector3d& unitNormal, const VxGeVector3d& majorAxis,
                          double radiusRatio, double startAngle = 0.0, double endAngle = kTwoPi);
    void get(VxGePoint3d& center, VxGeVector3d& unitNormal, VxGeVector3d& majorAxis, double& radiusRatio,
             double& startAngle, double& endAngle) const;
    VxGePoint3d center() const { return mCenter; }
    Velt::ErrorStatus setCenter(const VxGePoint3d& center);
    VxGeVector3d normal() const { return mNormal; }
    VxGeVector3d majorAxis() const { return mMajorAxis; }
    VxGeVector3d minorAxis() const;
    double majorRadius() const { return mMajorAxis.length(); }
    double minorRadius() const { return majorRadius() * mRadiusRatio; }
    double radiusRatio() const { return mRadiusRatio; }
    Velt::ErrorStatus setRadiusRatio(double ratio);
    Velt::ErrorStatus setMajorRadius(double radius);
    Velt::ErrorStatus setMinorRadius(double radius);
    double startParam() const { return mStartParam; }
    double endParam() const { return mEndParam; }
    Velt::ErrorStatus setStartParam(double param);
    Velt::ErrorStatus setEndParam(double param);
    double startAngle() const;
    double endAngle() const;
    Velt::ErrorStatus setStartAngle(double angle);
    Velt::ErrorStatus setEndAngle(double angle);
    bool isFullEllipse() const;

    std::unique_ptr<VxGeCurve3d> geCurve() const override;
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getArea(double& area) const override;

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;
    void copyDataFrom(const VxDbObject& other) override;

private:
    friend class VxDbCircle;
    friend class VxDbArc;
    Velt::ErrorStatus setFrom(const VxGeEllipArc3d& ellipse);
    VxGeEllipArc3d geEllipse() const;

    VxGePoint3d mCenter;
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
    VxGeVector3d mMajorAxis{1.0, 0.0, 0.0};
    double mRadiusRatio = 1.0;
    double mStartParam = 0.0;
    double mEndParam = kTwoPi;
};

class VxDbPoint : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbPoint)
public:
    VxDbPoint() = default;
    explicit VxDbPoint(const VxGePoint3d& position) : mPosition(position) {}

    VxGePoint3d position() const { return mPosition; }
    Velt::ErrorStatus setPosition(const VxGePoint3d& position);
    VxGeVector3d normal() const { return mNormal; }
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
    double thickness() const { return mThickness; }
    Velt::ErrorStatus setThickness(double thickness);
    // Rotation of the point's symbol about the normal.
    double ecsRotation() const { return mEcsRotation; }
    Velt::ErrorStatus setEcsRotation(double angle);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;

protected:
    void copyDataFrom(const VxDbObject& other) override;

private:
    VxGePoint3d mPosition;
    VxGeVector3d mNormal{0.0, 0.0, 1.0};
    double mThickness = 0.0;
    double mEcsRotation = 0.0;
};

// Shared by rays and construction lines: a base point and a unit direction.
class VxDbLinearBase : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbLinearBase)
public:
    VxGePoint3d basePoint() const { return mBasePoint; }
    Velt::ErrorStatus setBasePoint(const VxGePoint3d& point);
    VxGeVector3d unitDir() const { return mUnitDir; }
    // Normalised; a zero direction is refused.
    Velt::ErrorStatus setUnitDir(const VxGeVector3d& direction);
    // Any point the line passes through but the base point.
    VxGePoint3d secondPoint() const { return mBasePoint + mUnitDir; }

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    // Unbounded: no extents.
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // Parallel at the distance in the world XY plane (the XZ plane for lines
    // along the z axis); positive distances to the right of the direction.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;

protected:
    VxDbLinearBase() = default;
    VxDbLinearBase(const VxGePoint3d& basePoint, const VxGeVector3d& direction);
    void copyDataFrom(const VxDbObject& other) override;
    VxGeVector3d offsetPlaneNormal() const;

    VxGePoint3d mBasePoint;
    VxGeVector3d mUnitDir{1.0, 0.0, 0.0};
};

class VxDbRay : public VxDbLinearBase {
    VX_RX_DECLARE_MEMBERS(VxDbRay)
public:
    VxDbRay() = default;
    VxDbRay(const VxGePoint3d& basePoint, const VxGeVector3d& direction) : VxDbLinearBase(basePoint, direction) {}
    std::unique_ptr<VxGeCurve3d> geCurve() const override;

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;
};

class VxDbXline : public VxDbLinearBase {
    VX_RX_DECLARE_MEMBERS(VxDbXline)
public:
    VxDbXline() = default;
    VxDbXline(const VxGePoint3d& basePoint, const VxGeVector3d& direction) : VxDbLinearBase(basePoint, direction) {}
    std::unique_ptr<VxGeCurve3d> geCurve() const override;
};

}  // namespace kx
