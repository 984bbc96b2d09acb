// Geometry at the edges: tolerances that decide, arcs that are barely
// arcs, and coordinates far from the origin.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "ge/angle.h"
#include "ge/curves.h"

using namespace kx;

namespace {

std::vector<VxGePoint3d> meet(const VxGeCurve3d& a, const VxGeCurve3d& b, VxGeExtend extend = VxGeExtend::kExtendNone,
                              const VxGeTol& tol = VxGeContext::gTol)
{
    std::vector<VxGePoint3d> points;
    const int n = a.intersectWith(b, extend, points, tol);
    EXPECT_EQ(size_t(n), points.size());
    return points;
}

}  // namespace

// The tolerance given decides: a gap below it is a touch, above it none;
// the answer is the same either way round and far from the origin.
TEST(GeEdges, TheGivenToleranceDecidesTouching)
{
    const VxGeTol loose{1e-3, 1e-10};
    const VxGeTol tight{1e-12, 1e-10};
    for (double offset : {0.0, 1e6}) {
        SCOPED_TRACE(offset);
        const VxGePoint3d o{offset, offset, 0};
        VxGeCircArc3d a(o, VxGeVector3d::kZAxis, 5);
        VxGeCircArc3d b(o + VxGeVector3d{10 + 1e-4, 0, 0}, VxGeVector3d::kZAxis, 5);
        const std::vector<VxGePoint3d> touch = meet(a, b, VxGeExtend::kExtendNone, loose);
        ASSERT_EQ(touch.size(), 1u);
        EXPECT_NEAR(touch[0].x - offset, 5.00005, 1e-3);
        EXPECT_EQ(meet(b, a, VxGeExtend::kExtendNone, loose).size(), 1u);
        EXPECT_TRUE(meet(a, b, VxGeExtend::kExtendNone, tight).empty());

        VxGeLineSeg3d tangent(o + VxGeVector3d{-10, 5 + 1e-4, 0}, o + VxGeVector3d{10, 5 + 1e-4, 0});
        EXPECT_EQ(meet(tangent, a, VxGeExtend::kExtendNone, loose).size(), 1u);
        EXPECT_EQ(meet(a, tangent, VxGeExtend::kExtendNone, loose).size(), 1u);
        EXPECT_TRUE(meet(tangent, a, VxGeExtend::kExtendNone, tight).empty());
        // A segment that stops just short of the circle reaches it within the tolerance.
        VxGeLineSeg3d shortOne(o + VxGeVector3d{-10, 0, 0}, o + VxGeVector3d{-5 - 1e-4, 0, 0});
        EXPECT_EQ(meet(shortOne, a, VxGeExtend::kExtendNone, loose).size(), 1u);
        EXPECT_TRUE(meet(shortOne, a, VxGeExtend::kExtendNone, tight).empty());
    }
}

// Arcs from three points: collinear and repeated points give none, nearly
// collinear ones a huge but exact arc, and every arc passes its points.
TEST(GeEdges, ArcsThroughThreePoints)
{
    VxGeCircArc3d arc;
    EXPECT_FALSE(VxGeCircArc3d::fromThreePoints({0, 0, 0}, {1, 1, 1}, {2, 2, 2}, arc));
    EXPECT_FALSE(VxGeCircArc3d::fromThreePoints({0, 0, 0}, {0, 0, 0}, {1, 0, 0}, arc));
    EXPECT_FALSE(VxGeCircArc3d::fromThreePoints({1, 0, 0}, {0, 1, 0}, {1, 0, 0}, arc));
    for (double bulge : {1.0, 1e-3, 1e-6}) {
        SCOPED_TRACE(bulge);
        const VxGePoint3d p1{-1, 0, 0}, p2{0, bulge, 0}, p3{1, 0, 0};
        ASSERT_TRUE(VxGeCircArc3d::fromThreePoints(p1, p2, p3, arc));
        const double radius = (1 + bulge * bulge) / (2 * bulge);
        EXPECT_NEAR(arc.radius(), radius, radius * 1e-9);
        EXPECT_TRUE(arc.startPoint().isEqualTo(p1, VxGeTol{1e-9, 1e-9}));
        EXPECT_TRUE(arc.endPoint().isEqualTo(p3, VxGeTol{1e-9, 1e-9}));
        EXPECT_LT(arc.distanceTo(p2), 1e-9);
        EXPECT_GT(arc.sweep(), 0.0);
        EXPECT_LE(arc.sweep(), kPi + 1e-12);  // the short way, through the middle point
    }
    // Clockwise points give the same circle, traced the other way.
    ASSERT_TRUE(VxGeCircArc3d::fromThreePoints({1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, arc));
    EXPECT_NEAR(arc.radius(), 1.0, 1e-12);
    EXPECT_LT(arc.distanceTo({0, 1, 0}), 1e-12);
    EXPECT_GT(arc.distanceTo({0, -1, 0}), 1.0);
    // A radius that is not one is refused and changes nothing.
    EXPECT_FALSE(arc.setRadius(-1));
    EXPECT_FALSE(arc.setRadius(std::nan("")));
    EXPECT_FALSE(arc.setRadius(INFINITY));
    EXPECT_NEAR(arc.radius(), 1.0, 1e-12);
}
