#pragma once

// Polylines. The lightweight polyline keeps its vertices within itself, in arrays that
// hold only what its vertices use (the drawings' most common entity after the line).

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "db/entity.h"
#include "db/fields.h"
#include "ge/polyline.h"

namespace kx {

// ---- lightweight polyline ----

// Flags 70: 1 closed, 128 the linetype pattern runs on across vertices. The constant width
// is the width of every segment whose vertex has none of its own (-1).
#define KX_FIELDS_VxDbPolyline(F)                                                                  \
    F(Get, int16_t, polylineFlags, -, 0, any, kOwn, 70, 0)                                          \
    F(Get, double, constantWidth, -, 0.0, nonNegative, kOwn, 43, kxdxf::kOptional)                  \
    F(GetSet, double, elevation, setElevation, 0.0, finite, kOwn, 38, kxdxf::kOptional)             \
    F(GetSet, double, thickness, setThickness, 0.0, finite, kOwn, 39, kxdxf::kOptional)             \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

// A planar polyline: 2D vertices in the coordinates of its normal's plane at its
// elevation, each with the bulge of the segment it starts, start and end widths (-1: none
// of its own) and an identifier. Indices out of range answer eInvalidIndex.
class VxDbPolyline : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDbPolyline)
    KX_DB_FIELDS(VxDbPolyline, VxDbCurve)
public:
    VxDbPolyline() = default;

    int numVerts() const { return int(mPoints.size()); }
    Velt::ErrorStatus getPointAt(int index, VxGePoint2d& point) const;
    // The vertex in world coordinates.
    Velt::ErrorStatus getPointAt(int index, VxGePoint3d& point) const;
    Velt::ErrorStatus setPointAt(int index, const VxGePoint2d& point);
    // Inserts before index (numVerts() appends).
    Velt::ErrorStatus addVertexAt(int index, const VxGePoint2d& point, double bulge = 0.0, double startWidth = -1.0,
                                  double endWidth = -1.0, int32_t vertexIdentifier = 0);
    Velt::ErrorStatus removeVertexAt(int index);
    Velt::ErrorStatus getBulgeAt(int index, double& bulge) const;
    Velt::ErrorStatus setBulgeAt(int index, double bulge);
    // Widths are at least 0, or -1 for none of the vertex's own.
    Velt::ErrorStatus getWidthsAt(int index, double& startWidth, double& endWidth) const;
    Velt::ErrorStatus setWidthsAt(int index, double startWidth, double endWidth);
    Velt::ErrorStatus getVertexIdentifierAt(int index, int32_t& identifier) const;
    Velt::ErrorStatus setVertexIdentifierAt(int index, int32_t identifier);
    // Every segment this wide: the vertices' own widths go.
    Velt::ErrorStatus setConstantWidth(double width);
    bool isClosed() const override { return (mFields.polylineFlags & 1) != 0; }
    Velt::ErrorStatus setClosed(bool closed);
    bool hasPlinegen() const { return (mFields.polylineFlags & 128) != 0; }
    Velt::ErrorStatus setPlinegen(bool on);
    bool hasBulges() const;
    bool hasWidth() const;

    // The vertices with their bulges, in the plane's own coordinates.
    std::vector<VxGeBulgeVertex> bulgeVertices() const;
    double length() const;
    // Plane coordinates at the elevation to world coordinates.
    VxGeMatrix3d planeToWorld() const;

    Velt::ErrorStatus getArea(double& area) const override;
    // Scales that are not uniform are refused when the polyline has arcs (they would turn
    // into ellipses): eCannotScaleNonUniformly, nothing changed.
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // One polyline: the segments moved to the right of the direction (positive distances),
    // joined where they meet.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;
    // Lines and arcs.
    Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const override;
    bool getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const override;

    // Drawing files: the vertices are groups repeated within the record.
    bool readDxfGroup(int code, std::string_view value);
    void writeDxfGroups(dxf::GroupWriter& out, VxDbDxfVersion version, bool utf8File) const;
    Velt::ErrorStatus checkFields(uint64_t readMask);
    void copyExtraData(const VxDbPolyline& other);

private:
    bool isIndex(int index) const { return index >= 0 && index < numVerts(); }
    void setVertices(const std::vector<VxGeBulgeVertex>& vertices);

    std::vector<VxGePoint2d> mPoints;
    // Kept only when some vertex needs them.
    std::vector<double> mBulges;
    std::vector<VxGePoint2d> mWidths;  // start, end
    std::vector<int32_t> mIdentifiers;
};

}  // namespace kx
