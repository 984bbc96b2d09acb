// Hatches: patterns from the host's table, loops from entities, the area as the style fills
// it, and transformations (files: dxf_ezdxf_test.cpp).

#include <gtest/gtest.h>

#include <cmath>

#include "db/database.h"
#include "db/entities.h"
#include "db/hatch.h"
#include "db/polylines.h"
#include "dxf_test_util.h"
#include "ge/matrix.h"

using namespace kx;

namespace {

VxDbHatchLoop square(double x0, double y0, double size, int32_t type)
{
    VxDbHatchLoop loop;
    loop.type = type | VxDbHatch::kPolyline;
    loop.vertices = {{{x0, y0}, 0.0}, {{x0 + size, y0}, 0.0}, {{x0 + size, y0 + size}, 0.0}, {{x0, y0 + size}, 0.0}};
    return loop;
}

}  // namespace

TEST(DbHatch, PatternsAreTheTablesScaledAndTurned)
{
    VxDbHatch hatch;
    EXPECT_TRUE(hatch.solidFill());
    EXPECT_TRUE(hatch.patternLines().empty());

    ASSERT_EQ(hatch.setPattern(VxDbHatch::kPreDefined, L"ansi37"), Velt::eOk);
    EXPECT_EQ(hatch.patternName(), L"ANSI37");
    EXPECT_FALSE(hatch.solidFill());
    ASSERT_EQ(hatch.patternLines().size(), 2u);
    ASSERT_EQ(hatch.setPatternScale(2.0), Velt::eOk);
    ASSERT_EQ(hatch.setPatternAngle(kPi / 4), Velt::eOk);
    const VxDbHatchPatternLine& first = hatch.patternLines()[0];
    EXPECT_NEAR(first.angle, kPi / 2, 1e-12);  // 45 degrees of its own and 45 turned
    EXPECT_NEAR(first.offset.length(), 6.35, 1e-12);
    EXPECT_NEAR(first.offset.x, -6.35, 1e-12);  // across the line, not along it

    // Refusals change nothing.
    EXPECT_EQ(hatch.setPattern(VxDbHatch::kPreDefined, L"NO_SUCH"), Velt::eInvalidInput);
    EXPECT_EQ(hatch.setPattern(3, L"ANSI31"), Velt::eInvalidInput);
    EXPECT_EQ(hatch.setPatternScale(0.0), Velt::eInvalidInput);
    EXPECT_EQ(hatch.patternName(), L"ANSI37");
    EXPECT_DOUBLE_EQ(hatch.patternScale(), 2.0);

    // User-defined: lines at the spacing, crossed when double; the origin moves them.
    ASSERT_EQ(hatch.setPattern(VxDbHatch::kUserDefined, L""), Velt::eOk);
    EXPECT_EQ(hatch.patternName(), L"_USER");
    hatch.setPatternSpace(0.25);
    hatch.setPatternDouble(true);
    hatch.setOrigin({1, 2, 0});
    ASSERT_EQ(hatch.patternLines().size(), 2u);
    EXPECT_NEAR(hatch.patternLines()[1].offset.length(), 0.25, 1e-12);
    EXPECT_NEAR(hatch.patternLines()[1].base.y, 2.0, 1e-12);

    // "SOLID" fills whatever kind it is given as; the ISO pen width is the scale of ISO patterns.
    ASSERT_EQ(hatch.setPattern(VxDbHatch::kCustomDefined, L"solid"), Velt::eOk);
    EXPECT_TRUE(hatch.solidFill());
    EXPECT_EQ(hatch.patternType(), VxDbHatch::kPreDefined);
    int32_t width = 0;
    EXPECT_EQ(hatch.isoPenWidth(width), Velt::eNotApplicable);
    hatch.setPattern(VxDbHatch::kPreDefined, L"ISO02W100");
    EXPECT_EQ(hatch.setIsoPenWidth(50), Velt::eOk);
    EXPECT_EQ(hatch.isoPenWidth(width), Velt::eOk);
    EXPECT_EQ(width, 50);
    EXPECT_DOUBLE_EQ(hatch.patternScale(), 0.5);
    EXPECT_EQ(hatch.setIsoPenWidth(51), Velt::eInvalidInput);
}

TEST(DbHatch, LoopsFromEntitiesMeetEndToEndEitherWayRound)
{
    VxDbHatch hatch;
    // Two lines and a half circle, the second line given backwards.
    VxDbLine bottom({0, 0, 3}, {4, 0, 3});
    VxDbArc cap({4, 2, 3}, 2.0, -kPi / 2, kPi / 2);
    VxDbLine top({0, 4, 3}, {4, 4, 3});
    VxDbLine left({0, 4, 3}, {0, 0, 3});
    VxDbHatchLoop loop;
    double elevation = 0.0;
    ASSERT_EQ(hatch.loopFromEntities({&bottom, &cap, &top, &left}, VxDbHatch::kExternal, loop, elevation), Velt::eOk);
    EXPECT_DOUBLE_EQ(elevation, 3.0);
    ASSERT_EQ(loop.edges.size(), 4u);
    EXPECT_TRUE(loop.edges[2].start == VxGePoint2d({4, 4}));
    EXPECT_NEAR(std::fabs(loop.signedArea()), 16.0 + 2.0 * kPi, 1e-9);

    // A gap, another kind, or a curve facing sideways is refused.
    VxDbLine shortTop({1, 4, 3}, {4, 4, 3});
    EXPECT_EQ(hatch.loopFromEntities({&bottom, &cap, &shortTop, &left}, 0, loop, elevation), Velt::eInvalidInput);
    VxDbPoint point({0, 0, 3});
    EXPECT_EQ(hatch.loopFromEntities({&bottom, &point}, 0, loop, elevation), Velt::eInvalidInput);
    VxDbCircle tilted({0, 0, 0}, VxGeVector3d{1, 0, 0}, 1.0);
    EXPECT_EQ(hatch.loopFromEntities({&tilted}, 0, loop, elevation), Velt::eInvalidInput);
    EXPECT_EQ(hatch.loopFromEntities({}, 0, loop, elevation), Velt::eInvalidInput);

    // One polyline is a polyline loop; seen from below its arcs turn the other way.
    VxDbPolyline pline;
    pline.addVertexAt(0, {0, 0});
    pline.addVertexAt(1, {2, 0}, 1.0);
    pline.addVertexAt(2, {2, 2});
    pline.setClosed(true);
    pline.setNormal(VxGeVector3d{0, 0, -1});
    ASSERT_EQ(hatch.loopFromEntities({&pline}, 0, loop, elevation), Velt::eOk);
    EXPECT_TRUE(loop.isPolyline());
    EXPECT_DOUBLE_EQ(loop.vertices[1].bulge, -1.0);

    // A loop that does not close is refused when added, and nothing changes.
    VxDbHatchLoop open;
    open.edges = {VxDbHatchEdge::line({0, 0}, {1, 0}), VxDbHatchEdge::line({1, 0}, {1, 1})};
    EXPECT_EQ(hatch.appendLoop(open), Velt::eInvalidInput);
    EXPECT_EQ(hatch.numLoops(), 0);
    EXPECT_EQ(hatch.insertLoopAt(1, square(0, 0, 1, 0)), Velt::eInvalidIndex);

    // Edges a file gives in no order chain up from the first; a gap leaves them as they were.
    VxDbHatchLoop scattered;
    scattered.edges = {VxDbHatchEdge::line({0, 0}, {1, 0}), VxDbHatchEdge::line({0, 1}, {0, 0}),
                       VxDbHatchEdge::line({0, 1}, {1, 0})};
    ASSERT_TRUE(scattered.chainEdges());
    EXPECT_TRUE(scattered.edges[1].start == VxGePoint2d({1, 0}) && scattered.edges[2].end == VxGePoint2d({0, 0}));
    scattered.edges[2].end = {0.5, 0.5};
    EXPECT_FALSE(scattered.chainEdges());
    EXPECT_TRUE(scattered.edges[2].end == VxGePoint2d({0.5, 0.5}));
}

TEST(DbHatch, AreaIsTheOuterLessItsIslandsAsTheStyleFills)
{
    VxDbHatch hatch;
    hatch.appendLoop(square(0, 0, 10, VxDbHatch::kExternal));
    hatch.appendLoop(square(2, 2, 6, 0));  // an island
    hatch.appendLoop(square(4, 4, 2, 0));  // an island in the island: filled again
    VxDbHatchLoop ring;
    ring.edges = {VxDbHatchEdge::arc({20, 0}, 1.0, 0.0, kTwoPi, false)};  // apart, clockwise
    hatch.appendLoop(ring);
    double area = 0.0;
    ASSERT_EQ(hatch.getArea(area), Velt::eOk);
    EXPECT_NEAR(area, 100.0 - 36.0 + 4.0 + kPi, 1e-9);
    hatch.setHatchStyle(1);
    hatch.getArea(area);
    EXPECT_NEAR(area, 100.0 - 36.0 + kPi, 1e-9);
    hatch.setHatchStyle(2);
    hatch.getArea(area);
    EXPECT_NEAR(area, 100.0 + kPi, 1e-9);
    EXPECT_EQ(hatch.setHatchStyle(3), Velt::eInvalidInput);

    // An elliptic half and its chord: half the ellipse.
    VxDbHatch half;
    VxDbHatchLoop loop;
    loop.edges = {VxDbHatchEdge::ellipse({0, 0}, {3, 0}, 0.5, 0.0, kPi, true), VxDbHatchEdge::line({-3, 0}, {3, 0})};
    ASSERT_EQ(half.appendLoop(loop), Velt::eOk);
    half.getArea(area);
    EXPECT_NEAR(area, kPi * 3.0 * 1.5 / 2.0, 1e-9);
}

TEST(DbHatch, TransformationsCarryLoopsAndPattern)
{
    std::unique_ptr<VxDbHatch> hatch(dxftest::sampleHatch());
    double before = 0.0, after = 0.0;
    hatch->getArea(before);
    const VxGeMatrix3d turnAndGrow =
        VxGeMatrix3d::rotation(kPi / 3, VxGeVector3d::kZAxis, {1, 1, 0}) * VxGeMatrix3d::scaling(2.0, {0, 0, 0});
    ASSERT_EQ(hatch->transformBy(turnAndGrow), Velt::eOk);
    hatch->getArea(after);
    EXPECT_NEAR(after, 4.0 * before, 1e-9);
    EXPECT_NEAR(hatch->patternScale(), 1.0, 1e-12);
    EXPECT_NEAR(hatch->patternAngle(), kPi / 12 + kPi / 3, 1e-12);
    EXPECT_NEAR(hatch->elevation(), 4.0, 1e-12);
    // The pattern drawn afresh from its definition is the one carried along.
    const std::vector<VxDbHatchPatternLine> carried = hatch->patternLines();
    hatch->evaluateHatch();
    EXPECT_NEAR(carried[0].base.distanceTo(hatch->patternLines()[0].base), 0.0, 1e-9);
    EXPECT_NEAR(carried[0].angle, hatch->patternLines()[0].angle, 1e-12);

    // A mirror keeps the area and turns the arcs round.
    ASSERT_EQ(hatch->transformBy(VxGeMatrix3d::scaling(-1.0, 1.0, 1.0)), Velt::eOk);
    hatch->getArea(after);
    EXPECT_NEAR(after, 4.0 * before, 1e-9);
    EXPECT_EQ(hatch->transformBy(VxGeMatrix3d::scaling(1.0, 2.0, 1.0)), Velt::eCannotScaleNonUniformly);
}
