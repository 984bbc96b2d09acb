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
