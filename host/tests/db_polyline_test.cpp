// Lightweight polylines: vertex edits, exact lengths and areas with arcs, offsets,
// transformations, explode and intersections.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "db/entities.h"
#include "db/polylines.h"
#include "ge/matrix.h"

using namespace kx;

namespace {

// A 2 x 2 square run counter-clockwise whose bottom edge bulges out as a half circle.
std::unique_ptr<VxDbPolyline> roundedSquare()
{
    auto poly = std::make_unique<VxDbPolyline>();
    poly->addVertexAt(0, {0, 0}, 1.0);
    poly->addVertexAt(1, {2, 0});
    poly->addVertexAt(2, {2, 2});
    poly->addVertexAt(3, {0, 2});
    poly->setClosed(true);
    return poly;
}

void expectRelative(double actual, double expected)
{
    EXPECT_LE(std::fabs(actual - expected), 1e-12 * std::fabs(expected)) << actual << " vs " << expected;
}

}  // namespace

TEST(DbPolyline, VertexEditsKeepEachVertexsOwnData)
{
    VxDbPolyline poly;
    EXPECT_EQ(poly.addVertexAt(1, {1, 1}), Velt::eInvalidIndex);
    ASSERT_EQ(poly.addVertexAt(0, {0, 0}), Velt::eOk);
    ASSERT_EQ(poly.addVertexAt(1, {3, 0}, 0.5, 1.0, 2.0, 11), Velt::eOk);
    ASSERT_EQ(poly.addVertexAt(1, {1, 0}), Velt::eOk);  // in between: the others move on
    double bulge = 9, start = 9, end = 9;
    int32_t id = 0;
    ASSERT_EQ(poly.getBulgeAt(2, bulge), Velt::eOk);
    ASSERT_EQ(poly.getWidthsAt(2, start, end), Velt::eOk);
    ASSERT_EQ(poly.getVertexIdentifierAt(2, id), Velt::eOk);
    EXPECT_EQ(bulge, 0.5);
    EXPECT_EQ(start, 1.0);
    EXPECT_EQ(end, 2.0);
    EXPECT_EQ(id, 11);
    ASSERT_EQ(poly.getWidthsAt(1, start, end), Velt::eOk);
    EXPECT_EQ(start, -1.0);  // none of its own
    EXPECT_EQ(end, -1.0);

    // Refused values change nothing.
    EXPECT_EQ(poly.setBulgeAt(0, std::nan("")), Velt::eInvalidInput);
    EXPECT_EQ(poly.setWidthsAt(0, -0.5, 1.0), Velt::eInvalidInput);
    EXPECT_EQ(poly.setPointAt(3, {0, 0}), Velt::eInvalidIndex);
    EXPECT_EQ(poly.addVertexAt(0, {INFINITY, 0}), Velt::eInvalidInput);
    EXPECT_EQ(poly.numVerts(), 3);
    EXPECT_EQ(poly.getBulgeAt(0, bulge), Velt::eOk);
    EXPECT_EQ(bulge, 0.0);

    ASSERT_EQ(poly.removeVertexAt(0), Velt::eOk);
    ASSERT_EQ(poly.getBulgeAt(1, bulge), Velt::eOk);
    EXPECT_EQ(bulge, 0.5);
    EXPECT_EQ(poly.removeVertexAt(2), Velt::eInvalidIndex);

    // A constant width takes the vertices' own widths away.
    ASSERT_EQ(poly.setConstantWidth(0.25), Velt::eOk);
    ASSERT_EQ(poly.getWidthsAt(1, start, end), Velt::eOk);
    EXPECT_EQ(start, -1.0);
    EXPECT_TRUE(poly.hasWidth());
}

TEST(DbPolyline, LengthAreaAndOffsetCountTheArcsExactly)
{
    auto poly = roundedSquare();
    double area = 0;
    ASSERT_EQ(poly->getArea(area), Velt::eOk);
    expectRelative(area, 4.0 + kPi / 2.0);
    expectRelative(poly->length(), 6.0 + kPi);

    // Half a unit outwards: the half circle grows to radius 1.5, the sides move out and meet.
    std::vector<VxDbEntity*> curves;
    ASSERT_EQ(poly->getOffsetCurves(0.5, curves), Velt::eOk);
    ASSERT_EQ(curves.size(), 1u);
    std::unique_ptr<VxDbEntity> owned(curves[0]);
    auto* offset = VxDbPolyline::cast(owned.get());
    ASSERT_NE(offset, nullptr);
    EXPECT_TRUE(offset->isClosed());
    EXPECT_EQ(offset->numVerts(), 4);
    ASSERT_EQ(offset->getArea(area), Velt::eOk);
    expectRelative(area, 7.5 + 1.125 * kPi);
    expectRelative(offset->length(), 8.0 + 1.5 * kPi);

    // Inwards the half circle shrinks: radius 0.5.
    curves.clear();
    ASSERT_EQ(poly->getOffsetCurves(-0.5, curves), Velt::eOk);
    ASSERT_EQ(curves.size(), 1u);
    owned.reset(curves[0]);
    ASSERT_EQ(VxDbPolyline::cast(owned.get())->getArea(area), Velt::eOk);
    expectRelative(area, 1.0 * 1.5 + 0.125 * kPi);
}

TEST(DbPolyline, TransformationsExplodeAndIntersections)
{
    auto poly = roundedSquare();
    // Scaled unevenly the half circle would become half an ellipse: refused, nothing changed.
    EXPECT_EQ(poly->transformBy(VxGeMatrix3d::scaling(2.0, 1.0, 1.0)), Velt::eCannotScaleNonUniformly);
    VxGePoint3d p;
    ASSERT_EQ(poly->getPointAt(1, p), Velt::eOk);
    EXPECT_TRUE(p.isEqualTo({2, 0, 0}));

    // Mirrored, it keeps its shape: area and length stay, the arc still bulges outwards.
    const double length = poly->length();
    ASSERT_EQ(poly->transformBy(VxGeMatrix3d::mirroring(VxGeLine3d::through({0, 0, 0}, {0, 1, 0}))), Velt::eOk);
    expectRelative(poly->length(), length);
    VxGeExtents3d extents;
    ASSERT_EQ(poly->getGeomExtents(extents), Velt::eOk);
    EXPECT_NEAR(extents.minPoint().y, -1.0, 1e-12);
    EXPECT_NEAR(extents.minPoint().x, -2.0, 1e-12);

    // Lifted and turned into another plane, every vertex goes along.
    auto tilted = roundedSquare();
    const VxGeMatrix3d turn = VxGeMatrix3d::rotation(0.7, VxGeVector3d{1, 0, 0}) *
                              VxGeMatrix3d::translation(VxGeVector3d{0, 0, 3});
    ASSERT_EQ(tilted->transformBy(turn), Velt::eOk);
    ASSERT_EQ(tilted->getPointAt(2, p), Velt::eOk);
    EXPECT_TRUE(p.isEqualTo(turn.transform(VxGePoint3d{2, 2, 0})));
    expectRelative(tilted->length(), length);

    // Explode: one arc and three lines, their lengths the polyline's.
    auto square = roundedSquare();
    std::vector<VxDbEntity*> pieces;
    ASSERT_EQ(square->explode(pieces), Velt::eOk);
    std::vector<std::unique_ptr<VxDbEntity>> owned(pieces.begin(), pieces.end());
    ASSERT_EQ(owned.size(), 4u);
    auto* arc = VxDbArc::cast(owned[0].get());
    ASSERT_NE(arc, nullptr);
    EXPECT_NEAR(arc->radius(), 1.0, 1e-15);
    VxGePoint3d start, end;
    arc->getStartPoint(start);
    arc->getEndPoint(end);
    EXPECT_TRUE(start.isEqualTo({0, 0, 0}));  // a positive bulge runs counter-clockwise
    EXPECT_TRUE(end.isEqualTo({2, 0, 0}));
    for (size_t i = 1; i < 4; ++i)
        EXPECT_NE(VxDbLine::cast(owned[i].get()), nullptr);

    // A vertical line through the middle meets the arc's bottom and the top edge.
    VxDbLine line({1, -5, 0}, {1, 5, 0});
    std::vector<VxGePoint3d> points;
    ASSERT_EQ(square->intersectWith(&line, VxDb::kOnBothOperands, points), Velt::eOk);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_TRUE(points[0].isEqualTo({1, -1, 0}) || points[1].isEqualTo({1, -1, 0}));
}

// ---- 2D polylines ----

namespace {

std::unique_ptr<VxDb2dPolyline> polyline2d(const std::vector<VxGePoint2d>& points, bool closed = false)
{
    auto poly = std::make_unique<VxDb2dPolyline>();
    poly->setClosed(closed);
    for (const VxGePoint2d& p : points)
        EXPECT_EQ(poly->appendVertex(std::make_unique<VxDb2dVertex>(VxGePoint3d{p.x, p.y, 0.0})), Velt::eOk);
    return poly;
}

std::vector<VxDb::Vertex2dType> typesOf(const VxDb2dPolyline& poly)
{
    std::vector<VxDb::Vertex2dType> types;
    for (auto it = poly.vertexIterator(); !it->done(); it->step())
        types.push_back(static_cast<const VxDb2dVertex*>(it->vertex())->vertexType());
    return types;
}

}  // namespace

TEST(DbPolyline2d, SameGeometryAsTheLightweightOne)
{
    const auto light = roundedSquare();
    auto poly = polyline2d({{0, 0}, {2, 0}, {2, 2}, {0, 2}}, true);
    ASSERT_EQ(poly->setBulgeAt(0, 1.0), Velt::eOk);
    double a = 0, b = 0;
    light->getArea(a);
    poly->getArea(b);
    expectRelative(b, 4.0 + kPi / 2);
    expectRelative(poly->length(), light->length());
    std::vector<VxDbEntity*> offsets;
    ASSERT_EQ(poly->getOffsetCurves(0.5, offsets), Velt::eOk);
    ASSERT_EQ(offsets.size(), 1u);
    std::unique_ptr<VxDb2dPolyline> offset(VxDb2dPolyline::cast(offsets[0]));
    ASSERT_NE(offset, nullptr);
    // Half a unit outwards, one simple polyline of the offset segments and arcs.
    EXPECT_EQ(offset->polyType(), VxDb::k2dSimplePoly);
    EXPECT_EQ(offset->vertexCount(), 4);
    offset->getArea(a);
    expectRelative(a, 7.5 + 1.125 * kPi);
    expectRelative(offset->length(), 8.0 + 1.5 * kPi);
    std::vector<VxDbEntity*> pieces;
    ASSERT_EQ(poly->explode(pieces), Velt::eOk);
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_NE(VxDbArc::cast(pieces[0]), nullptr);
    for (VxDbEntity* e : pieces)
        delete e;
    // A vertical line through the middle meets the arc's bottom and the top edge.
    VxDbLine line({1, -5, 0}, {1, 5, 0});
    std::vector<VxGePoint3d> points;
    ASSERT_EQ(poly->intersectWith(&line, VxDb::kOnBothOperands, points), Velt::eOk);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_TRUE(points[0].isEqualTo({1, -1, 0}) || points[1].isEqualTo({1, -1, 0}));

    // Arcs cannot stretch: refused, nothing changed.
    const VxGePoint3d before = poly->vertexAt(1)->position();
    EXPECT_EQ(poly->transformBy(VxGeMatrix3d::scaling(2.0, 1.0, 1.0)), Velt::eCannotScaleNonUniformly);
    EXPECT_EQ(poly->vertexAt(1)->position(), before);
    ASSERT_EQ(poly->transformBy(VxGeMatrix3d::translation({1, 1, 3})), Velt::eOk);
    EXPECT_DOUBLE_EQ(poly->elevation(), 3.0);
    EXPECT_DOUBLE_EQ(poly->vertexAt(1)->position().x, 3.0);
    EXPECT_DOUBLE_EQ(poly->vertexAt(1)->position().z, 3.0);
}

TEST(DbPolyline2d, ControlPointsAndRefusals)
{
    auto poly = polyline2d({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}});
    ASSERT_EQ(poly->setBulgeAt(1, 0.5), Velt::eOk);
    ASSERT_EQ(poly->setWidthsAt(1, 1.0, 2.0), Velt::eOk);
    EXPECT_EQ(poly->setBulgeAt(5, 0.5), Velt::eInvalidIndex);
    EXPECT_EQ(poly->setWidthsAt(0, -1.0, 0.0), Velt::eInvalidInput);
    EXPECT_EQ(poly->appendVertex(std::make_unique<VxDb2dVertex>(VxGePoint3d{NAN, 0, 0})), Velt::eInvalidInput);
    EXPECT_EQ(poly->appendVertex(nullptr), Velt::eNullObjectPointer);
    EXPECT_EQ(poly->setControlPoints({{0, 0}, {INFINITY, 1}}), Velt::eInvalidInput);
    EXPECT_EQ(poly->vertexCount(), 5);

    // Fewer points: the first ones keep their data, the rest go; more: plain ones follow.
    ASSERT_EQ(poly->setControlPoints({{0, 1}, {1, 1}}), Velt::eOk);
    ASSERT_EQ(poly->vertexCount(), 2);
    double bulge = 0, start = 0, end = 0;
    poly->getBulgeAt(1, bulge);
    poly->getWidthsAt(1, start, end);
    EXPECT_EQ(bulge, 0.5);
    EXPECT_EQ(start, 1.0);
    EXPECT_EQ(end, 2.0);
    ASSERT_EQ(poly->setControlPoints({{0, 1}, {1, 1}, {5, 5}}), Velt::eOk);
    poly->getBulgeAt(2, bulge);
    EXPECT_EQ(bulge, 0.0);
    EXPECT_EQ(poly->controlPoints()[2], (VxGePoint3d{5, 5, 0}));
}

TEST(DbPolyline2d, CurveFitRunsThroughTheGivenVerticesAndComesBack)
{
    auto poly = polyline2d({{0, 0}, {4, 3}, {8, 0}, {12, 3}});
    ASSERT_EQ(poly->setWidthsAt(1, 1.0, 3.0), Velt::eOk);
    ASSERT_EQ(poly->convertToPolyType(VxDb::k2dFitCurvePoly), Velt::eOk);
    EXPECT_EQ(poly->polyType(), VxDb::k2dFitCurvePoly);
    EXPECT_EQ(poly->polylineFlags() & 2, 2);
    using VxDb::k2dCurveFitVertex;
    using VxDb::k2dVertex;
    EXPECT_EQ(typesOf(*poly), (std::vector<VxDb::Vertex2dType>{k2dVertex, k2dCurveFitVertex, k2dVertex,
                                                                k2dCurveFitVertex, k2dVertex, k2dCurveFitVertex,
                                                                k2dVertex}));
    // Only the given vertices count as control points, in their places.
    EXPECT_EQ(poly->numControlVerts(), 4);
    EXPECT_EQ(poly->controlPoints()[1], (VxGePoint3d{4, 3, 0}));
    // Arcs all the way, and longer than the straight path.
    for (int i = 0; i + 1 < poly->vertexCount(); ++i)
        EXPECT_NE(poly->vertexAt(i)->bulge(), 0.0) << i;
    EXPECT_GT(poly->length(), 3 * 5.0);
    // The width runs on through the generated vertex.
    EXPECT_DOUBLE_EQ(poly->vertexAt(2)->endWidth(), 2.0);
    EXPECT_DOUBLE_EQ(poly->vertexAt(3)->startWidth(), 2.0);
    // A moved control point moves the fit.
    const VxGePoint3d generated = poly->vertexAt(1)->position();
    ASSERT_EQ(poly->setControlPointAt(1, {4, 5}), Velt::eOk);
    EXPECT_NE(poly->vertexAt(1)->position(), generated);
    EXPECT_EQ(poly->vertexCount(), 7);

    ASSERT_EQ(poly->convertToPolyType(VxDb::k2dSimplePoly), Velt::eOk);
    EXPECT_EQ(poly->vertexCount(), 4);
    EXPECT_EQ(typesOf(*poly), std::vector<VxDb::Vertex2dType>(4, k2dVertex));
    EXPECT_EQ(poly->polylineFlags(), 0);
    EXPECT_DOUBLE_EQ(poly->length(), std::hypot(4, 5) + std::hypot(4, 5) + 5.0);
    double start = 0, end = 0;
    poly->getWidthsAt(1, start, end);
    EXPECT_EQ(start, 1.0);
    EXPECT_EQ(end, 3.0);
}

TEST(DbPolyline2d, SplineFitsAddPointsAfterTheControlVertices)
{
    auto poly = polyline2d({{0, 0}, {4, 4}, {8, 0}, {12, 4}});
    ASSERT_EQ(poly->setPolyType(VxDb::k2dCubicSplinePoly), Velt::eOk);
    EXPECT_EQ(poly->vertexCount(), 4);  // recorded, not yet performed
    ASSERT_EQ(poly->convertToPolyType(VxDb::k2dCubicSplinePoly), Velt::eOk);
    EXPECT_EQ(poly->curveType(), 6);
    EXPECT_EQ(poly->polylineFlags() & 4, 4);
    const std::vector<VxDb::Vertex2dType> types = typesOf(*poly);
    ASSERT_GT(types.size(), 8u);
    for (size_t i = 0; i < types.size(); ++i)
        EXPECT_EQ(types[i], i < 4 ? VxDb::k2dSplineCtlVertex : VxDb::k2dSplineFitVertex) << i;
    EXPECT_EQ(poly->numControlVerts(), 4);
    // An open spline runs from the first control point to the last, inside their hull.
    const std::vector<VxGeBulgeVertex> drawn = poly->bulgeVertices();
    EXPECT_EQ(drawn.size(), types.size() - 4);
    EXPECT_NEAR(drawn.front().point.distanceTo({0, 0}), 0.0, 1e-9);
    EXPECT_NEAR(drawn.back().point.distanceTo({12, 4}), 0.0, 1e-9);
    for (const VxGeBulgeVertex& v : drawn)
        EXPECT_TRUE(v.point.y >= -1e-9 && v.point.y <= 4 + 1e-9) << v.point.y;
    // A vertex appended to a spline becomes a control point; the fit follows.
    ASSERT_EQ(poly->appendVertex(std::make_unique<VxDb2dVertex>(VxGePoint3d{16, 0, 0})), Velt::eOk);
    EXPECT_EQ(poly->numControlVerts(), 5);
    EXPECT_NEAR(poly->bulgeVertices().back().point.distanceTo({16, 0}), 0.0, 1e-9);
    EXPECT_EQ(poly->convertToPolyType(VxDb::Poly2dType(7)), Velt::eInvalidInput);

    ASSERT_EQ(poly->convertToPolyType(VxDb::k2dQuadSplinePoly), Velt::eOk);
    EXPECT_EQ(poly->curveType(), 5);
    EXPECT_EQ(poly->numControlVerts(), 5);
    ASSERT_EQ(poly->convertToPolyType(VxDb::k2dSimplePoly), Velt::eOk);
    EXPECT_EQ(poly->vertexCount(), 5);
    EXPECT_EQ(poly->polylineFlags(), 0);
}

// ---- 3D polylines ----

TEST(DbPolyline3d, StraightInSpaceSplinesAndBack)
{
    VxDb3dPolyline poly;
    for (const VxGePoint3d& p : {VxGePoint3d{0, 0, 0}, VxGePoint3d{3, 4, 0}, VxGePoint3d{3, 4, 12}})
        ASSERT_EQ(poly.appendVertex(std::make_unique<VxDb3dPolylineVertex>(p)), Velt::eOk);
    EXPECT_EQ(poly.appendVertex(std::make_unique<VxDb3dPolylineVertex>(VxGePoint3d{0, NAN, 0})), Velt::eInvalidInput);
    EXPECT_EQ(poly.polylineFlags(), 8);
    EXPECT_DOUBLE_EQ(poly.length(), 5.0 + 12.0);
    ASSERT_EQ(poly.setClosed(true), Velt::eOk);
    EXPECT_DOUBLE_EQ(poly.length(), 5.0 + 12.0 + 13.0);
    std::vector<VxDbEntity*> lines;
    ASSERT_EQ(poly.explode(lines), Velt::eOk);
    ASSERT_EQ(lines.size(), 3u);
    for (VxDbEntity* e : lines) {
        EXPECT_NE(VxDbLine::cast(e), nullptr);
        delete e;
    }
    // Any transformation: nothing in space is refused.
    ASSERT_EQ(poly.transformBy(VxGeMatrix3d::scaling(2.0, 1.0, 1.0)), Velt::eOk);
    EXPECT_EQ(poly.controlPoints()[1], (VxGePoint3d{6, 4, 0}));

    ASSERT_EQ(poly.convertToPolyType(VxDb::k3dCubicSplinePoly), Velt::eOk);
    EXPECT_EQ(poly.polylineFlags(), 8 | 4 | 1);
    EXPECT_EQ(poly.curveType(), 6);
    EXPECT_EQ(poly.controlPoints().size(), 3u);
    EXPECT_GT(poly.vertexCount(), 3 + 8);
    for (int i = 0; i < poly.vertexCount(); ++i)
        EXPECT_EQ(poly.vertexAt(i)->vertexType(), i < 3 ? VxDb::k3dControlVertex : VxDb::k3dFitVertex) << i;
    // A closed spline is a loop inside the control points' box, shorter than the frame.
    VxGeExtents3d box;
    ASSERT_EQ(poly.getGeomExtents(box), Velt::eOk);
    EXPECT_GE(box.minPoint().z, -1e-9);
    EXPECT_LE(box.maxPoint().z, 12 + 1e-9);
    EXPECT_LT(poly.length(), std::hypot(6, 4) + 12.0 + std::sqrt(6 * 6 + 4 * 4 + 144.0));
    // Control points move and come and go; the fit follows.
    ASSERT_EQ(poly.setControlPoints({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}), Velt::eOk);
    EXPECT_EQ(poly.controlPoints().size(), 4u);
    EXPECT_EQ(poly.polyType(), VxDb::k3dCubicSplinePoly);
    EXPECT_EQ(poly.setControlPointAt(4, {0, 0, 0}), Velt::eInvalidIndex);
    EXPECT_EQ(poly.convertToPolyType(VxDb::Poly3dType(3)), Velt::eInvalidInput);
    ASSERT_EQ(poly.convertToPolyType(VxDb::k3dSimplePoly), Velt::eOk);
    EXPECT_EQ(poly.vertexCount(), 4);
    EXPECT_EQ(poly.polylineFlags(), 8 | 1);
    EXPECT_DOUBLE_EQ(poly.length(), 4.0);
}

// ---- meshes ----

TEST(DbMesh, PolygonMeshGridSmoothingAndFaces)
{
    VxDbPolygonMesh mesh;
    std::vector<VxGePoint3d> grid;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j)
            grid.push_back({double(j), double(i), 0.0});
    EXPECT_EQ(mesh.setGrid(3, 5, grid), Velt::eInvalidInput);
    EXPECT_EQ(mesh.setGrid(1, 12, grid), Velt::eInvalidInput);
    ASSERT_EQ(mesh.setGrid(3, 4, grid), Velt::eOk);
    EXPECT_EQ(mesh.meshFlags(), 16);
    std::vector<VxDbEntity*> faces;
    ASSERT_EQ(mesh.explode(faces), Velt::eOk);
    EXPECT_EQ(faces.size(), 2u * 3u);
    for (VxDbEntity* e : faces)
        delete e;
    // Closed in N: one more column of faces, back to the first vertex of each row.
    ASSERT_EQ(mesh.setNClosed(true), Velt::eOk);
    faces.clear();
    ASSERT_EQ(mesh.explode(faces), Velt::eOk);
    ASSERT_EQ(faces.size(), 2u * 4u);
    VxGePoint3d corner;
    VxDbFace::cast(faces[3])->getVertexAt(1, corner);
    EXPECT_EQ(corner, (VxGePoint3d{0, 0, 0}));
    for (VxDbEntity* e : faces)
        delete e;

    EXPECT_EQ(mesh.setMSurfaceDensity(1), Velt::eInvalidInput);
    ASSERT_EQ(mesh.setMSurfaceDensity(4), Velt::eOk);
    ASSERT_EQ(mesh.setNSurfaceDensity(9), Velt::eOk);
    ASSERT_EQ(mesh.convertToPolyMeshType(VxDb::kQuadSurfaceMesh), Velt::eOk);
    EXPECT_EQ(mesh.meshFlags(), 16 | 32 | 4);
    EXPECT_EQ(mesh.surfaceType(), 5);
    EXPECT_EQ(mesh.vertexCount(), 12 + 36);
    EXPECT_EQ(mesh.controlPoints(), grid);
    // A flat grid smooths to a flat surface.
    VxGeExtents3d box;
    ASSERT_EQ(mesh.getGeomExtents(box), Velt::eOk);
    EXPECT_NEAR(box.maxPoint().z, 0.0, 1e-12);
    faces.clear();
    ASSERT_EQ(mesh.explode(faces), Velt::eOk);
    EXPECT_EQ(faces.size(), 3u * 9u);
    for (VxDbEntity* e : faces)
        delete e;
    EXPECT_EQ(mesh.convertToPolyMeshType(VxDb::PolyMeshType(7)), Velt::eInvalidInput);
    ASSERT_EQ(mesh.appendRow({{0, 3, 0}, {1, 3, 0}, {2, 3, 0}, {3, 3, 0}}), Velt::eOk);
    EXPECT_EQ(mesh.mSize(), 4);
    EXPECT_EQ(mesh.vertexCount(), 16 + 36);
    ASSERT_EQ(mesh.convertToPolyMeshType(VxDb::kSimpleMesh), Velt::eOk);
    EXPECT_EQ(mesh.vertexCount(), 16);
    EXPECT_EQ(mesh.meshFlags(), 16 | 32);
}

TEST(DbMesh, PolyfaceMeshFacesKeepTheirHiddenEdges)
{
    VxDbPolyFaceMesh mesh;
    for (const VxGePoint3d& p : {VxGePoint3d{0, 0, 0}, VxGePoint3d{1, 0, 0}, VxGePoint3d{1, 1, 0}, VxGePoint3d{0, 1, 0}})
        ASSERT_EQ(mesh.appendVertex(p), Velt::eOk);
    EXPECT_EQ(mesh.appendVertex({NAN, 0, 0}), Velt::eInvalidInput);
    ASSERT_EQ(mesh.appendFace(1, 2, -3, 0), Velt::eOk);
    ASSERT_EQ(mesh.appendFace(1, -3, 4, 0), Velt::eOk);
    EXPECT_EQ(mesh.appendFace(1, 2, 5, 0), Velt::eInvalidInput);
    EXPECT_EQ(mesh.numVertices(), 4);
    EXPECT_EQ(mesh.numFaces(), 2);
    EXPECT_EQ(mesh.setVertexPositions({{0, 0, 0}}), Velt::eInvalidInput);
    ASSERT_EQ(mesh.transformBy(VxGeMatrix3d::translation({0, 0, 2})), Velt::eOk);
    std::vector<VxDbEntity*> faces;
    ASSERT_EQ(mesh.explode(faces), Velt::eOk);
    ASSERT_EQ(faces.size(), 2u);
    auto* first = VxDbFace::cast(faces[0]);
    ASSERT_NE(first, nullptr);
    bool visible = true;
    first->isEdgeVisibleAt(2, visible);
    EXPECT_FALSE(visible);  // from corner 2 (vertex 3) back to corner 0
    first->isEdgeVisibleAt(0, visible);
    EXPECT_TRUE(visible);
    VxGePoint3d p;
    first->getVertexAt(3, p);
    EXPECT_EQ(p, (VxGePoint3d{1, 1, 2}));  // a triangle repeats its third corner
    for (VxDbEntity* e : faces)
        delete e;
}

// An open 3D polyline reaches on at its ends when extended, not before.
TEST(DbPolyline3d, IntersectionsInTheExtendModes)
{
    VxDb3dPolyline poly;
    for (const VxGePoint3d& p : {VxGePoint3d{0, 0, 0}, VxGePoint3d{1, 0, 0}, VxGePoint3d{1, 1, 0}})
        ASSERT_EQ(poly.appendVertex(std::make_unique<VxDb3dPolylineVertex>(p)), Velt::eOk);
    VxDbLine line({-2, -1, 0}, {-2, 1, 0});
    std::vector<VxGePoint3d> points;
    ASSERT_EQ(poly.intersectWith(&line, VxDb::kOnBothOperands, points), Velt::eOk);
    EXPECT_TRUE(points.empty());
    ASSERT_EQ(poly.intersectWith(&line, VxDb::kExtendThis, points), Velt::eOk);
    ASSERT_EQ(points.size(), 1u);
    EXPECT_TRUE(points[0].isEqualTo({-2, 0, 0}));
}
