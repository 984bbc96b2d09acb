#pragma once

// The entity kinds of the drawing database. Each declares its data once, in its field list
// (db/fields.h): storage, accessors, copying and drawing files follow from it; what is
// written here by hand is geometry.

#include "db/entity.h"
#include "db/fields.h"

namespace kx {

// Normals are kept as unit vectors (a zero vector is refused); positions must be finite.
#define KX_FIELDS_VxDbLine(F)                                                                      \
    F(GetSet, double, thickness, setThickness, 0.0, finite, kOwn, 39, kxdxf::kOptional)             \
    F(GetSet, VxGePoint3d, startPoint, setStartPoint, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)    \
    F(GetSet, VxGePoint3d, endPoint, setEndPoint, VxGePoint3d::kOrigin, finite, kOwn, 11, 0)        \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

class VxDbLine : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbLine)
    KX_DB_FIELDS(VxDbLine, VxDbCurve)
public:
    VxDbLine() = default;
    VxDbLine(const VxGePoint3d& start, const VxGePoint3d& end);

    // From the start point to the end point, and its length.
    VxGeVector3d delta() const { return mFields.endPoint - mFields.startPoint; }
    double length() const { return delta().length(); }

    std::unique_ptr<VxGeCurve3d> geCurve() const override;
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // A parallel line in the plane of the normal; positive distances go to
    // the right of the direction seen from the normal.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;
};

// The centre is held in world coordinates and written in the circle's own.
#define KX_FIELDS_VxDbCircle(F)                                                                    \
    F(GetSet, double, thickness, setThickness, 0.0, finite, kOwn, 39, kxdxf::kOptional)             \
    F(GetSet, VxGePoint3d, center, setCenter, VxGePoint3d::kOrigin, finite, kOwn, 10, kxdxf::kOcs)  \
    F(GetSet, double, radius, setRadius, 1.0, positive, kOwn, 40, 0)                                \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

class VxDbCircle : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbCircle)
    KX_DB_FIELDS(VxDbCircle, VxDbCurve)
public:
    VxDbCircle() = default;
    VxDbCircle(const VxGePoint3d& center, const VxGeVector3d& normal, double radius);

    double circumference() const;
    double diameter() const { return 2.0 * mFields.radius; }

    bool isPeriodic() const override { return true; }
    std::unique_ptr<VxGeCurve3d> geCurve() const override;
    // Only transformations that keep circles circles; getTransformedCopy
    // turns the others into ellipses.
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const override;
    Velt::ErrorStatus getArea(double& area) const override;
    // A concentric circle; positive distances grow it.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;
};

// A counter-clockwise arc about its normal; angles are measured from the x
// axis of the normal's arbitrary-axis coordinate system, kept in [0, 2pi).
#define KX_FIELDS_VxDbArc(F)                                                                           \
    F(GetSet, double, thickness, setThickness, 0.0, finite, "AcDbCircle", 39, kxdxf::kOptional)         \
    F(GetSet, VxGePoint3d, center, setCenter, VxGePoint3d::kOrigin, finite, "AcDbCircle", 10, kxdxf::kOcs) \
    F(GetSet, double, radius, setRadius, 1.0, positive, "AcDbCircle", 40, 0)                            \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, "AcDbCircle", 210,     \
      kxdxf::kOptional)                                                                                 \
    F(GetSet, double, startAngle, setStartAngle, 0.0, angle, kOwn, 50, kxdxf::kDegrees)                 \
    F(GetSet, double, endAngle, setEndAngle, kPi, angle, kOwn, 51, kxdxf::kDegrees)

class VxDbArc : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbArc)
    KX_DB_FIELDS(VxDbArc, VxDbCurve)
public:
    VxDbArc() = default;
    VxDbArc(const VxGePoint3d& center, double radius, double startAngle, double endAngle);
    VxDbArc(const VxGePoint3d& center, const VxGeVector3d& normal, double radius, double startAngle, double endAngle);

    // End minus start, in (0, 2pi].
    double totalAngle() const;
    double arcLength() const { return mFields.radius * totalAngle(); }

    std::unique_ptr<VxGeCurve3d> geCurve() const override;
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getTransformedCopy(const VxGeMatrix3d& xform, VxDbEntity*& copy) const override;
    // The area between the arc and its chord.
    Velt::ErrorStatus getArea(double& area) const override;
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;

private:
    VxGeCircArc3d geArc() const;
};

// An ellipse or elliptical arc: centre, unit normal, major axis (its length
// the major radius), ratio of minor to major radius (1e-6 ... 1) and the
// start and end parameters (start in [0, 2pi), end in (0, 2pi]). The axis,
// normal and parameters change only together (their setters are below).
#define KX_FIELDS_VxDbEllipse(F)                                                                   \
    F(GetSet, VxGePoint3d, center, setCenter, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)            \
    F(Get, VxGeVector3d, majorAxis, -, VxGeVector3d::kXAxis, nonZero, kOwn, 11, 0)                 \
    F(Get, VxGeVector3d, normal, -, VxGeVector3d::kZAxis, unitVector, kOwn, 210, 0)                \
    F(GetSet, double, radiusRatio, setRadiusRatio, 1.0, ratio, kOwn, 40, 0)                         \
    F(Get, double, startParam, -, 0.0, finite, kOwn, 41, 0)                                         \
    F(Get, double, endParam, -, kTwoPi, finite, kOwn, 42, 0)

class VxDbEllipse : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbEllipse)
    KX_DB_FIELDS(VxDbEllipse, VxDbCurve)
public:
    VxDbEllipse() = default;
    VxDbEllipse(const VxGePoint3d& center, const VxGeVector3d& unitNormal, const VxGeVector3d& majorAxis,
                double radiusRatio, double startAngle = 0.0, double endAngle = kTwoPi);

    // Sets everything at once; the angles are measured from the major axis.
    Velt::ErrorStatus set(const VxGePoint3d& center, const VxGeVector3d& unitNormal, const VxGeVector3d& majorAxis,
                          double radiusRatio, double startAngle = 0.0, double endAngle = kTwoPi);
    void get(VxGePoint3d& center, VxGeVector3d& unitNormal, VxGeVector3d& majorAxis, double& radiusRatio,
             double& startAngle, double& endAngle) const;
    VxGeVector3d minorAxis() const;
    double majorRadius() const { return mFields.majorAxis.length(); }
    double minorRadius() const { return majorRadius() * mFields.radiusRatio; }
    Velt::ErrorStatus setMajorRadius(double radius);
    Velt::ErrorStatus setMinorRadius(double radius);
    // The axis in the ellipse's plane: its direction and length are the major radius's.
    Velt::ErrorStatus setMajorAxis(const VxGeVector3d& axis);
    // Turns the ellipse into the plane of the new normal, its major axis projected there.
    Velt::ErrorStatus setNormal(const VxGeVector3d& normal);
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

    // After a file was read: the axis in the plane, the parameters in their ranges.
    Velt::ErrorStatus checkFields(uint64_t readMask);

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;

private:
    friend class VxDbCircle;
    friend class VxDbArc;
    Velt::ErrorStatus setFrom(const VxGeEllipArc3d& ellipse);
    VxGeEllipArc3d geEllipse() const;
};

// The symbol's rotation about the normal is kept in [0, 2pi).
#define KX_FIELDS_VxDbPoint(F)                                                                     \
    F(GetSet, VxGePoint3d, position, setPosition, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)        \
    F(GetSet, double, thickness, setThickness, 0.0, finite, kOwn, 39, kxdxf::kOptional)             \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional) \
    F(GetSet, double, ecsRotation, setEcsRotation, 0.0, angle, kOwn, 50, kxdxf::kOptional | kxdxf::kDegrees)

class VxDbPoint : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbPoint)
    KX_DB_FIELDS(VxDbPoint, VxDbEntity)
public:
    VxDbPoint() = default;
    explicit VxDbPoint(const VxGePoint3d& position);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
};

// Shared by rays and construction lines: a base point and a unit direction. The distance of
// the second point that was given is kept for reading it back; files do not hold it (group
// code 0: no group), so a line read from a file has its second point one unit out.
#define KX_FIELDS_VxDbLinearBase(F)                                                                \
    F(GetSet, VxGePoint3d, basePoint, setBasePoint, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)      \
    F(GetSet, VxGeVector3d, unitDir, setUnitDir, VxGeVector3d::kXAxis, unitVector, kOwn, 11, 0)     \
    F(Get, double, secondDistance, -, 1.0, positive, kOwn, 0, 0)

class VxDbLinearBase : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbLinearBase)
    KX_DB_FIELDS(VxDbLinearBase, VxDbCurve)
public:
    // A point the line passes through other than the base point: the one last given.
    VxGePoint3d secondPoint() const { return mFields.basePoint + mFields.unitDir * mFields.secondDistance; }
    // Turns the line through the point; the base point itself is refused.
    Velt::ErrorStatus setSecondPoint(const VxGePoint3d& point);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    // Unbounded: no extents.
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // Parallel at the distance in the world XY plane (the XZ plane for lines
    // along the z axis); positive distances to the right of the direction.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;

protected:
    VxDbLinearBase() = default;
    VxDbLinearBase(const VxGePoint3d& basePoint, const VxGeVector3d& direction);
    VxGeVector3d offsetPlaneNormal() const;
};

class VxDbRay : public VxDbLinearBase {
    VX_RX_DECLARE_MEMBERS(VxDbRay)
    KX_DB_KIND(VxDbRay)
public:
    VxDbRay() = default;
    VxDbRay(const VxGePoint3d& basePoint, const VxGeVector3d& direction) : VxDbLinearBase(basePoint, direction) {}
    std::unique_ptr<VxGeCurve3d> geCurve() const override;

protected:
    std::unique_ptr<VxGeCurve3d> geCurveExtended() const override;
};

class VxDbXline : public VxDbLinearBase {
    VX_RX_DECLARE_MEMBERS(VxDbXline)
    KX_DB_KIND(VxDbXline)
public:
    VxDbXline() = default;
    VxDbXline(const VxGePoint3d& basePoint, const VxGeVector3d& direction) : VxDbLinearBase(basePoint, direction) {}
    std::unique_ptr<VxGeCurve3d> geCurve() const override;
};

// A face of three or four corners in space; each of its four edges may be hidden. A face of
// three corners repeats the third as the fourth.
#define KX_FIELDS_VxDbFace(F)                                                                      \
    F(Get, VxGePoint3d, vertex0, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                     \
    F(Get, VxGePoint3d, vertex1, -, VxGePoint3d::kOrigin, finite, kOwn, 11, 0)                     \
    F(Get, VxGePoint3d, vertex2, -, VxGePoint3d::kOrigin, finite, kOwn, 12, 0)                     \
    F(Get, VxGePoint3d, vertex3, -, VxGePoint3d::kOrigin, finite, kOwn, 13, 0)                     \
    F(Get, int16_t, invisibleEdges, -, 0, edgeFlags, kOwn, 70, 0)

class VxDbFace : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbFace)
    KX_DB_FIELDS(VxDbFace, VxDbEntity)
public:
    VxDbFace() = default;
    VxDbFace(const VxGePoint3d& p0, const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3);

    // Corners 0 ... 3; eInvalidIndex for any other.
    Velt::ErrorStatus getVertexAt(int index, VxGePoint3d& point) const;
    Velt::ErrorStatus setVertexAt(int index, const VxGePoint3d& point);
    // All corners at once: three (the fourth repeats the third) or four.
    std::vector<VxGePoint3d> vertices() const;
    Velt::ErrorStatus setVertices(const std::vector<VxGePoint3d>& points);
    // Edge i runs from corner i to corner i + 1 (the last back to corner 0).
    Velt::ErrorStatus isEdgeVisibleAt(int index, bool& visible) const;
    Velt::ErrorStatus setEdgeVisibleAt(int index, bool visible);
    Velt::ErrorStatus makeEdgeVisibleAt(int index) { return setEdgeVisibleAt(index, true); }
    Velt::ErrorStatus makeEdgeInvisibleAt(int index) { return setEdgeVisibleAt(index, false); }

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // After a file was read: a face of three corners gets its fourth.
    Velt::ErrorStatus checkFields(uint64_t readMask);

private:
    VxGePoint3d* vertex(int index);
};

// What solids and traces share: four corners in the plane of the normal (held in world
// coordinates, written in the object's own), an extrusion thickness. Corners are kept in
// the order of the drawing file, where the fourth sits opposite the first across the band.
#define KX_FIELDS_VxDbQuadBase(F)                                                                  \
    F(Get, VxGePoint3d, point0, -, VxGePoint3d::kOrigin, finite, kOwn, 10, kxdxf::kOcs)            \
    F(Get, VxGePoint3d, point1, -, VxGePoint3d::kOrigin, finite, kOwn, 11, kxdxf::kOcs)            \
    F(Get, VxGePoint3d, point2, -, VxGePoint3d::kOrigin, finite, kOwn, 12, kxdxf::kOcs)            \
    F(Get, VxGePoint3d, point3, -, VxGePoint3d::kOrigin, finite, kOwn, 13, kxdxf::kOcs)            \
    F(GetSet, double, thickness, setThickness, 0.0, finite, kOwn, 39, kxdxf::kOptional)             \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

class VxDbQuadBase : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbQuadBase)
    KX_DB_FIELDS(VxDbQuadBase, VxDbEntity)
public:
    // Corners 0 ... 3; eInvalidIndex for any other.
    Velt::ErrorStatus getPointAt(int index, VxGePoint3d& point) const;
    Velt::ErrorStatus setPointAt(int index, const VxGePoint3d& point);
    // All corners at once: three (the fourth repeats the third) or four.
    std::vector<VxGePoint3d> points() const;
    Velt::ErrorStatus setPoints(const std::vector<VxGePoint3d>& points);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // After a file was read: a band of three corners gets its fourth.
    Velt::ErrorStatus checkFields(uint64_t readMask);

protected:
    VxDbQuadBase() = default;
    VxDbQuadBase(const VxGePoint3d& p0, const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3);

private:
    VxGePoint3d* point(int index);
};

// A filled area of three or four corners.
class VxDbSolid : public VxDbQuadBase {
    VX_RX_DECLARE_MEMBERS(VxDbSolid)
    KX_DB_KIND(VxDbSolid)
public:
    VxDbSolid() = default;
    VxDbSolid(const VxGePoint3d& p0, const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3)
        : VxDbQuadBase(p0, p1, p2, p3)
    {
    }
};

// A filled band of four corners, from older drawings.
class VxDbTrace : public VxDbQuadBase {
    VX_RX_DECLARE_MEMBERS(VxDbTrace)
    KX_DB_KIND(VxDbTrace)
public:
    VxDbTrace() = default;
    VxDbTrace(const VxGePoint3d& p0, const VxGePoint3d& p1, const VxGePoint3d& p2, const VxGePoint3d& p3)
        : VxDbQuadBase(p0, p1, p2, p3)
    {
    }
};

}  // namespace kx
