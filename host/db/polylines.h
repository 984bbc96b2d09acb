#pragma once

// Polylines. The lightweight polyline keeps its vertices within itself, in arrays that
// hold only what its vertices use (the drawings' most common entity after the line). The
// 2D polyline owns vertex objects, written after it in files up to a SEQEND.

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "db/entity.h"
#include "db/fields.h"
#include "ge/polyline.h"

namespace kx {

namespace VxDb {
enum Poly2dType : int { k2dSimplePoly = 0, k2dFitCurvePoly = 1, k2dQuadSplinePoly = 2, k2dCubicSplinePoly = 3 };
enum Vertex2dType : int { k2dVertex = 0, k2dSplineCtlVertex = 1, k2dSplineFitVertex = 2, k2dCurveFitVertex = 3 };
enum Poly3dType : int { k3dSimplePoly = 0, k3dQuadSplinePoly = 1, k3dCubicSplinePoly = 2 };
enum Vertex3dType : int { k3dSimpleVertex = 0, k3dControlVertex = 1, k3dFitVertex = 2 };
enum PolyMeshType : int { kSimpleMesh = 0, kQuadSurfaceMesh = 5, kCubicSurfaceMesh = 6, kBezierSurfaceMesh = 8 };
}  // namespace VxDb

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

// ---- 2D polyline ----

// A vertex of a polyline, owned by it: the polyline's own data, not an object of the
// database (its vertices are written with handles of their own, taken at each save).
class VxDbVertex : public VxDbObject {
    VX_RX_DECLARE_MEMBERS(VxDbVertex)
protected:
    VxDbVertex() = default;
};

// Position in the polyline's plane coordinates, z its elevation. Flags 70: 1 made by curve
// fitting, 2 the tangent 50 holds, 8 made by spline fitting, 16 a control point of a spline.
#define KX_FIELDS_VxDb2dVertex(F)                                                                  \
    F(Get, VxGePoint3d, position, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                     \
    F(Get, double, startWidth, -, 0.0, nonNegative, kOwn, 40, kxdxf::kOptional)                     \
    F(Get, double, endWidth, -, 0.0, nonNegative, kOwn, 41, kxdxf::kOptional)                       \
    F(Get, double, bulge, -, 0.0, finite, kOwn, 42, kxdxf::kOptional)                               \
    F(Get, int16_t, vertexFlags, -, 0, any, kOwn, 70, 0)                                            \
    F(Get, double, tangent, -, 0.0, angle, kOwn, 50, kxdxf::kOptional | kxdxf::kDegrees)            \
    F(Get, int32_t, vertexIdentifier, -, 0, any, kOwn, 91,                                          \
      kxdxf::kOptional | kxdxf::since(VxDbDxfVersion::kR2010))

class VxDb2dVertex : public VxDbVertex {
    VX_RX_DECLARE_MEMBERS(VxDb2dVertex)
    KX_DB_FIELDS(VxDb2dVertex, VxDbVertex)
public:
    VxDb2dVertex() = default;
    explicit VxDb2dVertex(const VxGePoint3d& position, double bulge = 0.0, double startWidth = 0.0,
                          double endWidth = 0.0);
    VxDb::Vertex2dType vertexType() const;
    bool isTangentUsed() const { return (mFields.vertexFlags & 2) != 0; }

private:
    friend class VxDb2dPolyline;
};

// Walks the vertices of a polyline as they were when it was made.
class VxDbVertexIterator {
public:
    explicit VxDbVertexIterator(std::vector<const VxDbVertex*> vertices) : mVertices(std::move(vertices)) {}
    bool done() const { return mAt >= mVertices.size(); }
    void step() { ++mAt; }
    const VxDbVertex* vertex() const { return done() ? nullptr : mVertices[mAt]; }

private:
    std::vector<const VxDbVertex*> mVertices;
    size_t mAt = 0;
};

// Flags 70: 1 closed, 2 curve-fit vertices added, 4 spline-fit vertices added, 128 linetype
// generation; 75: 5 quadratic, 6 cubic spline. The point 10 holds the elevation as z.
#define KX_FIELDS_VxDb2dPolyline(F)                                                                \
    F(Get, int16_t, verticesFollow, -, 1, any, kOwn, 66, 0)                                         \
    F(Get, VxGePoint3d, elevationPoint, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)               \
    F(GetSet, double, thickness, setThickness, 0.0, finite, kOwn, 39, kxdxf::kOptional)             \
    F(Get, int16_t, polylineFlags, -, 0, any, kOwn, 70, 0)                                          \
    F(Get, double, defaultStartWidth, -, 0.0, nonNegative, kOwn, 40, kxdxf::kOptional)              \
    F(Get, double, defaultEndWidth, -, 0.0, nonNegative, kOwn, 41, kxdxf::kOptional)                \
    F(Get, int16_t, curveType, -, 0, any, kOwn, 75, kxdxf::kOptional)                               \
    F(GetSet, VxGeVector3d, normal, setNormal, VxGeVector3d::kZAxis, unitVector, kOwn, 210, kxdxf::kOptional)

// A planar polyline of vertex objects in the coordinates of its normal's plane. Fitting adds
// generated vertices: a curve fit one between each two given vertices, a spline fit its
// points after the control vertices. Indices below count the control vertices (those a user
// gave: plain ones and spline control points); eInvalidIndex outside them.
class VxDb2dPolyline : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDb2dPolyline)
    KX_DB_FIELDS(VxDb2dPolyline, VxDbCurve)
public:
    VxDb2dPolyline() = default;

    // Every vertex, generated ones too.
    std::unique_ptr<VxDbVertexIterator> vertexIterator() const;
    int vertexCount() const { return int(mVertices.size()); }
    const VxDb2dVertex* vertexAt(int index) const;

    // Appends a control vertex (its z becomes the elevation); the fit follows.
    Velt::ErrorStatus appendVertex(std::unique_ptr<VxDb2dVertex> vertex);
    int numControlVerts() const;
    std::vector<VxGePoint3d> controlPoints() const;
    Velt::ErrorStatus setControlPointAt(int index, const VxGePoint2d& point);
    // Moves, adds and removes control vertices from the end: kept ones keep their bulges and
    // widths, added ones have none. The fit follows.
    Velt::ErrorStatus setControlPoints(const std::vector<VxGePoint2d>& points);
    Velt::ErrorStatus getBulgeAt(int index, double& bulge) const;
    Velt::ErrorStatus setBulgeAt(int index, double bulge);
    Velt::ErrorStatus getWidthsAt(int index, double& startWidth, double& endWidth) const;
    Velt::ErrorStatus setWidthsAt(int index, double startWidth, double endWidth);

    VxDb::Poly2dType polyType() const;
    // Records the type; convertToPolyType makes the vertices follow it.
    Velt::ErrorStatus setPolyType(VxDb::Poly2dType type);
    // Fits the curve of the type through the control vertices (the drawing's SPLINESEGS
    // points an edge for splines), or takes the fit away for a simple one.
    Velt::ErrorStatus convertToPolyType(VxDb::Poly2dType type);

    double elevation() const { return mFields.elevationPoint.z; }
    Velt::ErrorStatus setElevation(double elevation);
    bool isClosed() const override { return (mFields.polylineFlags & 1) != 0; }
    Velt::ErrorStatus setClosed(bool closed);
    bool isLinetypeGenerationOn() const { return (mFields.polylineFlags & 128) != 0; }
    Velt::ErrorStatus setLinetypeGeneration(bool on);
    // The default width; setting it gives every vertex that width.
    double constantWidth() const { return mFields.defaultStartWidth; }
    Velt::ErrorStatus setConstantWidth(double width);

    // The vertices the curve runs through (all but spline control points), with bulges.
    std::vector<VxGeBulgeVertex> bulgeVertices() const;
    VxGeMatrix3d planeToWorld() const;
    double length() const;
    Velt::ErrorStatus getArea(double& area) const override;
    // A scale that is not uniform is refused when the polyline has arcs.
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // One simple 2D polyline through the offsets of the drawn segments.
    Velt::ErrorStatus getOffsetCurves(double distance, std::vector<VxDbEntity*>& curves) const override;
    // Lines and arcs.
    Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const override;
    bool getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const override;

    // Drawing files: POLYLINE records of 3D polylines and meshes are not this kind.
    static const VxRxClass* dxfRecordClass(const std::vector<dxf::FieldGroup>& groups);
    bool readDxfGroup(int code, std::string_view value);
    bool readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File);
    void dxfSubObjects(std::vector<dxf::SubObject>& out) const;
    Velt::ErrorStatus checkFields(uint64_t readMask);
    void copyExtraData(const VxDb2dPolyline& other);

private:
    std::vector<VxDb2dVertex*> controlVertices() const;
    void setFlags(int16_t flags, int16_t curveType);
    // Takes the generated vertices away and makes the given ones plain again.
    void removeFit();
    void fit(VxDb::Poly2dType type);
    Velt::ErrorStatus refit();

    std::vector<std::unique_ptr<VxDb2dVertex>> mVertices;
};

// ---- 3D polyline ----

// A world position. Flags 70: 32 always, 8 made by spline fitting, 16 a spline control point.
#define KX_FIELDS_VxDb3dPolylineVertex(F)                                                          \
    F(Get, VxGePoint3d, position, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                     \
    F(Get, int16_t, vertexFlags, -, 32, any, kOwn, 70, 0)

class VxDb3dPolylineVertex : public VxDbVertex {
    VX_RX_DECLARE_MEMBERS(VxDb3dPolylineVertex)
    KX_DB_FIELDS(VxDb3dPolylineVertex, VxDbVertex)
public:
    VxDb3dPolylineVertex() = default;
    explicit VxDb3dPolylineVertex(const VxGePoint3d& position) { mFields.position = position; }
    VxDb::Vertex3dType vertexType() const;

private:
    friend class VxDb3dPolyline;
};

// Flags 70: 8 always, 1 closed, 4 spline-fit vertices added; 75: 5 quadratic, 6 cubic.
#define KX_FIELDS_VxDb3dPolyline(F)                                                                \
    F(Get, int16_t, verticesFollow, -, 1, any, kOwn, 66, 0)                                         \
    F(Get, VxGePoint3d, unusedPoint, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                  \
    F(Get, int16_t, polylineFlags, -, 8, any, kOwn, 70, 0)                                          \
    F(Get, int16_t, curveType, -, 0, any, kOwn, 75, kxdxf::kOptional)

// Straight segments in space between vertex objects; a spline fit adds its points after the
// control vertices. Indices below count the control vertices.
class VxDb3dPolyline : public VxDbCurve {
    VX_RX_DECLARE_MEMBERS(VxDb3dPolyline)
    KX_DB_FIELDS(VxDb3dPolyline, VxDbCurve)
public:
    VxDb3dPolyline() = default;

    std::unique_ptr<VxDbVertexIterator> vertexIterator() const;
    int vertexCount() const { return int(mVertices.size()); }
    const VxDb3dPolylineVertex* vertexAt(int index) const;
    // Appends a control vertex; the fit follows.
    Velt::ErrorStatus appendVertex(std::unique_ptr<VxDb3dPolylineVertex> vertex);
    std::vector<VxGePoint3d> controlPoints() const;
    Velt::ErrorStatus setControlPointAt(int index, const VxGePoint3d& point);
    // Moves, adds and removes control vertices from the end; the fit follows.
    Velt::ErrorStatus setControlPoints(const std::vector<VxGePoint3d>& points);

    VxDb::Poly3dType polyType() const;
    Velt::ErrorStatus setPolyType(VxDb::Poly3dType type);
    Velt::ErrorStatus convertToPolyType(VxDb::Poly3dType type);
    bool isClosed() const override { return (mFields.polylineFlags & 1) != 0; }
    Velt::ErrorStatus setClosed(bool closed);

    // The points the polyline runs through: all but spline control points.
    std::vector<VxGePoint3d> drawnPoints() const;
    double length() const;
    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // Lines.
    Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const override;
    bool getGeCurves(std::vector<std::unique_ptr<VxGeCurve3d>>& curves, bool extended) const override;

    static const VxRxClass* dxfRecordClass(const std::vector<dxf::FieldGroup>& groups);
    bool readDxfGroup(int code, std::string_view value);
    bool readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File);
    void dxfSubObjects(std::vector<dxf::SubObject>& out) const;
    Velt::ErrorStatus checkFields(uint64_t readMask);
    void copyExtraData(const VxDb3dPolyline& other);

private:
    std::vector<VxDb3dPolylineVertex*> controlVertices() const;
    void setFitFlags(int16_t flags, int16_t curveType);
    void removeFit();
    void fit(VxDb::Poly3dType type);

    std::vector<std::unique_ptr<VxDb3dPolylineVertex>> mVertices;
};

// ---- polygon mesh ----

// Flags 70: 64 always, 8 made by smoothing, 16 a control point of a smoothed surface.
#define KX_FIELDS_VxDbPolygonMeshVertex(F)                                                         \
    F(Get, VxGePoint3d, position, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                     \
    F(Get, int16_t, vertexFlags, -, 64, any, kOwn, 70, 0)

class VxDbPolygonMeshVertex : public VxDbVertex {
    VX_RX_DECLARE_MEMBERS(VxDbPolygonMeshVertex)
    KX_DB_FIELDS(VxDbPolygonMeshVertex, VxDbVertex)
public:
    VxDbPolygonMeshVertex() = default;
    explicit VxDbPolygonMeshVertex(const VxGePoint3d& position) { mFields.position = position; }
    // Made by smoothing the surface.
    bool isGenerated() const { return (mFields.vertexFlags & 8) != 0; }

private:
    friend class VxDbPolygonMesh;
};

// Flags 70: 16 always, 1 closed in M, 32 closed in N, 4 smoothed; 71, 72 the vertex counts in
// M and N, 73, 74 the smoothed surface's; 75 its type (5 quadratic, 6 cubic, 8 Bezier).
#define KX_FIELDS_VxDbPolygonMesh(F)                                                               \
    F(Get, int16_t, verticesFollow, -, 1, any, kOwn, 66, 0)                                         \
    F(Get, VxGePoint3d, unusedPoint, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                  \
    F(Get, int16_t, meshFlags, -, 16, any, kOwn, 70, 0)                                             \
    F(Get, int16_t, mSize, -, 0, any, kOwn, 71, 0)                                                  \
    F(Get, int16_t, nSize, -, 0, any, kOwn, 72, 0)                                                  \
    F(Get, int16_t, mSurfaceDensity, -, 0, any, kOwn, 73, kxdxf::kOptional)                         \
    F(Get, int16_t, nSurfaceDensity, -, 0, any, kOwn, 74, kxdxf::kOptional)                         \
    F(Get, int16_t, surfaceType, -, 0, any, kOwn, 75, kxdxf::kOptional)

// A grid of M x N vertices, row by row (M rows of N); smoothing adds the grid of the
// densities after it.
class VxDbPolygonMesh : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbPolygonMesh)
    KX_DB_FIELDS(VxDbPolygonMesh, VxDbEntity)
public:
    static constexpr int kMaxSize = 256;

    VxDbPolygonMesh() = default;
    // A simple mesh of m x n positions (each 2 ... 256).
    Velt::ErrorStatus setGrid(int m, int n, const std::vector<VxGePoint3d>& positions);
    std::unique_ptr<VxDbVertexIterator> vertexIterator() const;
    int vertexCount() const { return int(mVertices.size()); }
    const VxDbPolygonMeshVertex* vertexAt(int index) const;
    std::vector<VxGePoint3d> controlPoints() const;
    Velt::ErrorStatus setControlPointAt(int index, const VxGePoint3d& position);
    // Exactly M x N positions.
    Velt::ErrorStatus setControlPoints(const std::vector<VxGePoint3d>& positions);
    // A row of N more positions: M grows by one.
    Velt::ErrorStatus appendRow(const std::vector<VxGePoint3d>& row);

    bool isMClosed() const { return (mFields.meshFlags & 1) != 0; }
    bool isNClosed() const { return (mFields.meshFlags & 32) != 0; }
    Velt::ErrorStatus setMClosed(bool closed);
    Velt::ErrorStatus setNClosed(bool closed);
    // 2 ... 256; the smoothing follows.
    Velt::ErrorStatus setMSurfaceDensity(int density);
    Velt::ErrorStatus setNSurfaceDensity(int density);

    VxDb::PolyMeshType polyMeshType() const;
    Velt::ErrorStatus setPolyMeshType(VxDb::PolyMeshType type);
    // Smooths the surface with the type (the densities of SURFU and SURFV where the mesh has
    // none), or takes the smoothing away.
    Velt::ErrorStatus convertToPolyMeshType(VxDb::PolyMeshType type);

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // A 3D face for each cell of the drawn grid.
    Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const override;

    static const VxRxClass* dxfRecordClass(const std::vector<dxf::FieldGroup>& groups);
    bool readDxfGroup(int code, std::string_view value);
    bool readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File);
    void dxfSubObjects(std::vector<dxf::SubObject>& out) const;
    Velt::ErrorStatus checkFields(uint64_t readMask);
    void copyExtraData(const VxDbPolygonMesh& other);

private:
    void removeFit();
    void fit(VxDb::PolyMeshType type);
    void refit();
    // The drawn grid: its points and sizes.
    std::vector<VxGePoint3d> drawnGrid(int& m, int& n) const;

    std::vector<std::unique_ptr<VxDbPolygonMeshVertex>> mVertices;
};

// ---- polyface mesh ----

// A vertex (flags 70: 192) or a face record (flags 128: no position of its own; 71 ... 74
// 1-based vertex numbers, 0 for none, negative where the edge from that corner is hidden).
#define KX_FIELDS_VxDbPolyFaceMeshVertex(F)                                                        \
    F(Get, VxGePoint3d, position, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                     \
    F(Get, int16_t, vertexFlags, -, 192, any, kOwn, 70, 0)

class VxDbPolyFaceMeshVertex : public VxDbVertex {
    VX_RX_DECLARE_MEMBERS(VxDbPolyFaceMeshVertex)
    KX_DB_FIELDS(VxDbPolyFaceMeshVertex, VxDbVertex)
public:
    VxDbPolyFaceMeshVertex() = default;
    explicit VxDbPolyFaceMeshVertex(const VxGePoint3d& position) { mFields.position = position; }

private:
    friend class VxDbPolyFaceMesh;
};

#define KX_FIELDS_VxDbFaceRecord(F)                                                                \
    F(Get, VxGePoint3d, unusedPoint, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                  \
    F(Get, int16_t, faceFlags, -, 128, any, kOwn, 70, 0)                                            \
    F(Get, int16_t, vertex0, -, 0, any, kOwn, 71, 0)                                                \
    F(Get, int16_t, vertex1, -, 0, any, kOwn, 72, 0)                                                \
    F(Get, int16_t, vertex2, -, 0, any, kOwn, 73, kxdxf::kOptional)                                 \
    F(Get, int16_t, vertex3, -, 0, any, kOwn, 74, kxdxf::kOptional)

class VxDbFaceRecord : public VxDbVertex {
    VX_RX_DECLARE_MEMBERS(VxDbFaceRecord)
    KX_DB_FIELDS(VxDbFaceRecord, VxDbVertex)
public:
    VxDbFaceRecord() = default;
    // Corners 0 ... 3: the number keeps its sign; eInvalidIndex for others.
    Velt::ErrorStatus getVertexAt(int corner, int16_t& vertex) const;

private:
    friend class VxDbPolyFaceMesh;
};

// Flags 70: 64; 71, 72 the numbers of vertices and faces.
#define KX_FIELDS_VxDbPolyFaceMesh(F)                                                              \
    F(Get, int16_t, verticesFollow, -, 1, any, kOwn, 66, 0)                                         \
    F(Get, VxGePoint3d, unusedPoint, -, VxGePoint3d::kOrigin, finite, kOwn, 10, 0)                  \
    F(Get, int16_t, meshFlags, -, 64, any, kOwn, 70, 0)                                             \
    F(Get, int16_t, numVertices, -, 0, any, kOwn, 71, 0)                                            \
    F(Get, int16_t, numFaces, -, 0, any, kOwn, 72, 0)

// Vertices and the faces that refer to them by number.
class VxDbPolyFaceMesh : public VxDbEntity {
    VX_RX_DECLARE_MEMBERS(VxDbPolyFaceMesh)
    KX_DB_FIELDS(VxDbPolyFaceMesh, VxDbEntity)
public:
    static constexpr int kMaxVertices = 32767;

    VxDbPolyFaceMesh() = default;
    Velt::ErrorStatus appendVertex(const VxGePoint3d& position);
    // Four 1-based vertex numbers of vertices the mesh has (the sign hides the edge from that
    // corner); the first three are not 0, the fourth 0 makes a triangle. eInvalidInput else.
    Velt::ErrorStatus appendFace(int16_t v0, int16_t v1, int16_t v2, int16_t v3);
    std::vector<VxGePoint3d> vertexPositions() const;
    Velt::ErrorStatus setVertexPositionAt(int index, const VxGePoint3d& position);
    // As many positions as the mesh has vertices.
    Velt::ErrorStatus setVertexPositions(const std::vector<VxGePoint3d>& positions);
    // Four numbers a face, as stored.
    std::vector<int16_t> faceNumbers() const;
    std::unique_ptr<VxDbVertexIterator> vertexIterator() const;

    Velt::ErrorStatus transformBy(const VxGeMatrix3d& xform) override;
    Velt::ErrorStatus getGeomExtents(VxGeExtents3d& extents) const override;
    // A 3D face for each face, its hidden edges kept.
    Velt::ErrorStatus explode(std::vector<VxDbEntity*>& entities) const override;

    static const VxRxClass* dxfRecordClass(const std::vector<dxf::FieldGroup>& groups);
    bool readDxfGroup(int code, std::string_view value);
    bool readDxfSubRecords(const std::vector<dxf::SubRecord>& records, bool utf8File);
    void dxfSubObjects(std::vector<dxf::SubObject>& out) const;
    Velt::ErrorStatus checkFields(uint64_t readMask);
    void copyExtraData(const VxDbPolyFaceMesh& other);

private:
    std::vector<std::unique_ptr<VxDbPolyFaceMeshVertex>> mVertices;
    std::vector<std::unique_ptr<VxDbFaceRecord>> mFaces;
};

}  // namespace kx
