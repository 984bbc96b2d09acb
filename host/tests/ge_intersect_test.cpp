// Intersections of lines, rays, circles, arcs and ellipses in the four
// extend modes, against hand-computed points, and their robustness on
// degenerate and nearly tangent input.

#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "ge/curves.h"
#include "ge_test_util.h"

namespace kx {
namespace {

using test::near;

const double kSqrt3 = std::sqrt(3.0);

std::vector<VxGePoint3d> meet(const VxGeCurve3d& a, const VxGeCurve3d& b,
                              VxGeExtend extend = VxGeExtend::kExtendNone)
{
    std::vector<VxGePoint3d> points;
    int count = a.intersectWith(b, extend, points);
    EXPECT_EQ(count, static_cast<int>(points.size()));
    return points;
}

// Same points in any order, each to 1e-12 relative.
::testing::AssertionResult samePoints(const std::vector<VxGePoint3d>& actual, std::vector<VxGePoint3d> expected,
                                      double rel = 1e-12)
{
    if (actual.size() != expected.size())
        return ::testing::AssertionFailure() << actual.size() << " points instead of " << expected.size();
    for (const VxGePoint3d& p : actual) {
        auto match = std::find_if(expected.begin(), expected.end(),
                                  [&](const VxGePoint3d& q) { return static_cast<bool>(near(p, q, rel)); });
        if (match == expected.end())
            return ::testing::AssertionFailure() << "unexpected (" << p.x << ", " << p.y << ", " << p.z << ")";
        expected.erase(match);
    }
    return ::testing::AssertionSuccess();
}

VxGeCircArc3d circle(const VxGePoint3d& center, double radius, const VxGeVector3d& normal = VxGeVector3d::kZAxis)
{
    return VxGeCircArc3d(center, normal, radius);
}

VxGeCircArc3d arc(const VxGePoint3d& center, double radius, double start, double end)
{
    return VxGeCircArc3d(center, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, radius, start, end);
}

VxGeEllipArc3d ellipse(const VxGePoint3d& center, const VxGeVector3d& major, double a, double b, double start = 0,
                       double end = kTwoPi)
{
    return VxGeEllipArc3d(center, major, VxGeVector3d::kZAxis.crossProduct(major), a, b, start, end);
}

TEST(GeIntersect, LinesInTheFourExtendModes)
{
    VxGeLineSeg3d a(VxGePoint3d{0, 0, 0}, VxGePoint3d{2, 2, 0});
    VxGeLineSeg3d b(VxGePoint3d{0, 2, 0}, VxGePoint3d{2, 0, 0});
    EXPECT_TRUE(samePoints(meet(a, b), {{1, 1, 0}}));

    // This reaches the other only when extended, and the other never
    // reaches this: x = 2 lies beyond this segment.
    VxGeLineSeg3d shortSeg(VxGePoint3d{0, 0, 0}, VxGePoint3d{1, 0, 0});
    VxGeLineSeg3d post(VxGePoint3d{2, -1, 0}, VxGePoint3d{2, 1, 0});
    EXPECT_TRUE(meet(shortSeg, post, VxGeExtend::kExtendNone).empty());
    EXPECT_TRUE(samePoints(meet(shortSeg, post, VxGeExtend::kExtendThis), {{2, 0, 0}}));
    EXPECT_TRUE(meet(shortSeg, post, VxGeExtend::kExtendOther).empty());
    EXPECT_TRUE(samePoints(meet(shortSeg, post, VxGeExtend::kExtendBoth), {{2, 0, 0}}));
    // And the other way round.
    VxGeLineSeg3d longSeg(VxGePoint3d{0, 0, 0}, VxGePoint3d{3, 0, 0});
    VxGeLineSeg3d high(VxGePoint3d{2, 1, 0}, VxGePoint3d{2, 2, 0});
    EXPECT_TRUE(meet(longSeg, high, VxGeExtend::kExtendThis).empty());
    EXPECT_TRUE(samePoints(meet(longSeg, high, VxGeExtend::kExtendOther), {{2, 0, 0}}));
    // Touching at an end point counts.
    EXPECT_TRUE(samePoints(meet(longSeg, VxGeLineSeg3d(VxGePoint3d{3, 0, 0}, VxGePoint3d{3, 5, 0})), {{3, 0, 0}}));

    // A ray meets a construction line behind its base only when extended.
    VxGeRay3d ray(VxGePoint3d{0, 0, 0}, VxGeVector3d::kXAxis);
    VxGeLine3d xline(VxGePoint3d{-1, -1, 0}, VxGeVector3d::kYAxis);
    EXPECT_TRUE(meet(ray, xline).empty());
    EXPECT_TRUE(samePoints(meet(ray, xline, VxGeExtend::kExtendThis), {{-1, 0, 0}}));
    EXPECT_TRUE(samePoints(meet(xline, ray, VxGeExtend::kExtendOther), {{-1, 0, 0}}));
}

TEST(GeIntersect, LinesThatDoNotMeet)
{
    VxGeLineSeg3d x(VxGePoint3d{0, 0, 0}, VxGePoint3d{1, 0, 0});
    // Skew, parallel, collinear overlapping and degenerate.
    EXPECT_TRUE(meet(x, VxGeLineSeg3d(VxGePoint3d{0, 0, 1}, VxGePoint3d{0, 1, 1}), VxGeExtend::kExtendBoth).empty());
    EXPECT_TRUE(meet(x, VxGeLineSeg3d(VxGePoint3d{0, 1, 0}, VxGePoint3d{1, 1, 0}), VxGeExtend::kExtendBoth).empty());
    EXPECT_TRUE(meet(x, VxGeLineSeg3d(VxGePoint3d{0.5, 0, 0}, VxGePoint3d{2, 0, 0})).empty());
    EXPECT_TRUE(meet(x, VxGeLineSeg3d(VxGePoint3d{0.5, 0, 0}, VxGePoint3d{0.5, 0, 0}), VxGeExtend::kExtendBoth).empty());
    // Parallel within the vector tolerance.
    EXPECT_TRUE(meet(x, VxGeLine3d(VxGePoint3d{0, 1, 0}, VxGeVector3d{1, 1e-12, 0}), VxGeExtend::kExtendBoth).empty());
    // Nearly parallel but not within tolerance: far away, still exact enough.
    VxGeLine3d shallow(VxGePoint3d{5e6, 0, 0}, VxGeVector3d{1, 1e-7, 0});
    std::vector<VxGePoint3d> far = meet(x, shallow, VxGeExtend::kExtendBoth);
    ASSERT_EQ(far.size(), 1u);
    EXPECT_TRUE(near(far[0], VxGePoint3d{5e6, 0, 0}, 1e-9));
}

TEST(GeIntersect, LinesAndCircles)
{
    VxGeCircArc3d c = circle(VxGePoint3d{}, 2);
    VxGeLineSeg3d across(VxGePoint3d{-5, 1, 0}, VxGePoint3d{5, 1, 0});
    std::vector<VxGePoint3d> points = meet(across, c);
    ASSERT_EQ(points.size(), 2u);
    // In order along the line.
    EXPECT_TRUE(near(points[0], VxGePoint3d{-kSqrt3, 1, 0}));
    EXPECT_TRUE(near(points[1], VxGePoint3d{kSqrt3, 1, 0}));
    EXPECT_TRUE(samePoints(meet(c, across), {{-kSqrt3, 1, 0}, {kSqrt3, 1, 0}}));

    // Tangent, within the point tolerance, and clearly apart.
    EXPECT_TRUE(samePoints(meet(VxGeLineSeg3d(VxGePoint3d{-5, 2, 0}, VxGePoint3d{5, 2, 0}), c), {{0, 2, 0}}));
    EXPECT_TRUE(samePoints(meet(VxGeLineSeg3d(VxGePoint3d{-5, 2 + 1e-11, 0}, VxGePoint3d{5, 2 + 1e-11, 0}), c),
                           {{0, 2, 0}}, 1e-10));
    EXPECT_TRUE(meet(VxGeLineSeg3d(VxGePoint3d{-5, 2 + 1e-6, 0}, VxGePoint3d{5, 2 + 1e-6, 0}), c).empty());
    double x = std::sqrt(4 - (2 - 1e-6) * (2 - 1e-6));
    EXPECT_TRUE(samePoints(meet(VxGeLineSeg3d(VxGePoint3d{-5, 2 - 1e-6, 0}, VxGePoint3d{5, 2 - 1e-6, 0}), c),
                           {{-x, 2 - 1e-6, 0}, {x, 2 - 1e-6, 0}}));

    // An arc keeps only its own part unless extended.
    VxGeCircArc3d quarter = arc(VxGePoint3d{}, 2, 0, kPi / 2);
    EXPECT_TRUE(samePoints(meet(across, quarter), {{kSqrt3, 1, 0}}));
    EXPECT_TRUE(samePoints(meet(across, quarter, VxGeExtend::kExtendOther), {{-kSqrt3, 1, 0}, {kSqrt3, 1, 0}}));
    EXPECT_TRUE(samePoints(meet(quarter, across, VxGeExtend::kExtendThis), {{-kSqrt3, 1, 0}, {kSqrt3, 1, 0}}));

    // A ray from inside meets the circle once, its extension twice.
    VxGeRay3d ray(VxGePoint3d{3, 0, 0}, VxGeVector3d::kXAxis);
    VxGeCircArc3d right = circle(VxGePoint3d{3, 0, 0}, 1);
    EXPECT_TRUE(samePoints(meet(ray, right), {{4, 0, 0}}));
    EXPECT_TRUE(samePoints(meet(ray, right, VxGeExtend::kExtendThis), {{2, 0, 0}, {4, 0, 0}}));

    // Lines through the plane of the circle: on it, or not.
    EXPECT_TRUE(samePoints(meet(VxGeLine3d(VxGePoint3d{2, 0, -5}, VxGeVector3d::kZAxis), c), {{2, 0, 0}}));
    EXPECT_TRUE(meet(VxGeLine3d(VxGePoint3d{1, 0, -5}, VxGeVector3d::kZAxis), c).empty());
    // Parallel to the plane, above it.
    EXPECT_TRUE(meet(VxGeLine3d(VxGePoint3d{0, 0, 1}, VxGeVector3d::kXAxis), c).empty());
}

TEST(GeIntersect, CirclesInOnePlaneAndAcrossPlanes)
{
    VxGeCircArc3d a = circle(VxGePoint3d{}, 5);
    EXPECT_TRUE(samePoints(meet(a, circle(VxGePoint3d{8, 0, 0}, 5)), {{4, -3, 0}, {4, 3, 0}}));
    // Turned and moved, the 3-4-5 triangle still shows.
    VxGeMatrix3d place = VxGeMatrix3d::translation(VxGeVector3d{10, -20, 30}) *
                         VxGeMatrix3d::rotation(kPi / 6, VxGeVector3d::kZAxis);
    VxGeCircArc3d placedA = a, placedB = circle(VxGePoint3d{8, 0, 0}, 5);
    ASSERT_TRUE(placedA.transformBy(place));
    ASSERT_TRUE(placedB.transformBy(place));
    EXPECT_TRUE(samePoints(meet(placedA, placedB), {place * VxGePoint3d{4, -3, 0}, place * VxGePoint3d{4, 3, 0}}));

    // Outer and inner tangency, both ways round.
    EXPECT_TRUE(samePoints(meet(a, circle(VxGePoint3d{10, 0, 0}, 5)), {{5, 0, 0}}));
    EXPECT_TRUE(samePoints(meet(a, circle(VxGePoint3d{2, 0, 0}, 3)), {{5, 0, 0}}));
    EXPECT_TRUE(samePoints(meet(circle(VxGePoint3d{2, 0, 0}, 3), a), {{5, 0, 0}}));
    EXPECT_TRUE(samePoints(meet(a, circle(VxGePoint3d{10 + 1e-11, 0, 0}, 5)), {{5, 0, 0}}));
    // Apart, nested, concentric, the same circle.
    EXPECT_TRUE(meet(a, circle(VxGePoint3d{10 + 1e-6, 0, 0}, 5)).empty());
    EXPECT_TRUE(meet(a, circle(VxGePoint3d{1, 0, 0}, 2)).empty());
    EXPECT_TRUE(meet(a, circle(VxGePoint3d{}, 3)).empty());
    EXPECT_TRUE(meet(a, circle(VxGePoint3d{}, 5)).empty());

    // Arcs: only where both arcs are, or their full circles when extended.
    VxGeCircArc3d upper = arc(VxGePoint3d{}, 5, 0, kPi);
    VxGeCircArc3d lowerRight = arc(VxGePoint3d{8, 0, 0}, 5, kPi, 3 * kPi / 2);
    EXPECT_TRUE(meet(upper, lowerRight).empty());
    EXPECT_TRUE(samePoints(meet(upper, lowerRight, VxGeExtend::kExtendThis), {{4, -3, 0}}));
    EXPECT_TRUE(samePoints(meet(upper, lowerRight, VxGeExtend::kExtendOther), {{4, 3, 0}}));
    EXPECT_TRUE(samePoints(meet(upper, lowerRight, VxGeExtend::kExtendBoth), {{4, -3, 0}, {4, 3, 0}}));

    // Circles in the XY and XZ planes meet on the x axis.
    VxGeCircArc3d standing = circle(VxGePoint3d{}, 5, VxGeVector3d::kYAxis);
    EXPECT_TRUE(samePoints(meet(a, standing), {{-5, 0, 0}, {5, 0, 0}}));
    EXPECT_TRUE(meet(a, circle(VxGePoint3d{}, 4, VxGeVector3d::kYAxis)).empty());
    // Parallel planes.
    EXPECT_TRUE(meet(a, circle(VxGePoint3d{0, 0, 1}, 5), VxGeExtend::kExtendBoth).empty());
}

TEST(GeIntersect, LinesAndEllipses)
{
    VxGeEllipArc3d e = ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, 2, 1);
    EXPECT_TRUE(samePoints(meet(VxGeLine3d(VxGePoint3d{1, 0, 0}, VxGeVector3d::kYAxis), e),
                           {{1, -kSqrt3 / 2, 0}, {1, kSqrt3 / 2, 0}}));
    EXPECT_TRUE(samePoints(meet(VxGeLine3d(VxGePoint3d{0, 1, 0}, VxGeVector3d::kXAxis), e), {{0, 1, 0}}));
    EXPECT_TRUE(samePoints(meet(e, VxGeLine3d(VxGePoint3d{-2, 7, 0}, VxGeVector3d::kYAxis)), {{-2, 0, 0}}));
    EXPECT_TRUE(meet(VxGeLine3d(VxGePoint3d{0, 1 + 1e-6, 0}, VxGeVector3d::kXAxis), e).empty());
    // y = x: x^2 / 4 + x^2 = 1.
    double d = 2 / std::sqrt(5.0);
    EXPECT_TRUE(samePoints(meet(VxGeLineSeg3d(VxGePoint3d{-3, -3, 0}, VxGePoint3d{3, 3, 0}), e), {{-d, -d, 0}, {d, d, 0}}));
    // Piercing the plane on the curve.
    EXPECT_TRUE(samePoints(meet(VxGeLine3d(VxGePoint3d{0, -1, 3}, VxGeVector3d{0, 0, 1}), e), {{0, -1, 0}}));

    // The same figure turned, moved and tilted out of the XY plane.
    VxGeMatrix3d place = VxGeMatrix3d::translation(VxGeVector3d{1, 2, 3}) *
                         VxGeMatrix3d::rotation(0.7, VxGeVector3d{1, -2, 0.5});
    VxGeEllipArc3d placed = e;
    ASSERT_TRUE(placed.transformBy(place));
    VxGeLineSeg3d seg(VxGePoint3d{-3, -3, 0}, VxGePoint3d{3, 3, 0});
    ASSERT_TRUE(seg.transformBy(place));
    EXPECT_TRUE(samePoints(meet(seg, placed), {place * VxGePoint3d{-d, -d, 0}, place * VxGePoint3d{d, d, 0}}));

    // An elliptical arc over the first quadrant, extended or not.
    VxGeEllipArc3d quadrant = ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, 2, 1, 0, kPi / 2);
    VxGeLineSeg3d diagonal(VxGePoint3d{-3, -3, 0}, VxGePoint3d{3, 3, 0});
    EXPECT_TRUE(samePoints(meet(diagonal, quadrant), {{d, d, 0}}));
    EXPECT_TRUE(samePoints(meet(diagonal, quadrant, VxGeExtend::kExtendOther), {{-d, -d, 0}, {d, d, 0}}));
}

TEST(GeIntersect, EllipsesWithCirclesAndEllipses)
{
    VxGeEllipArc3d e = ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, 2, 1);
    // x^2/4 + y^2 = 1 and x^2 + y^2 = 9/4: x^2 = 5/3, y^2 = 7/12.
    double x = std::sqrt(5.0 / 3.0), y = std::sqrt(7.0 / 12.0);
    EXPECT_TRUE(samePoints(meet(e, circle(VxGePoint3d{}, 1.5)), {{x, y, 0}, {-x, y, 0}, {x, -y, 0}, {-x, -y, 0}}));
    EXPECT_TRUE(samePoints(meet(circle(VxGePoint3d{}, 1.5), e), {{x, y, 0}, {-x, y, 0}, {x, -y, 0}, {-x, -y, 0}}));
    // The inscribed and the circumscribed circle touch twice each.
    EXPECT_TRUE(samePoints(meet(e, circle(VxGePoint3d{}, 1)), {{0, 1, 0}, {0, -1, 0}}));
    EXPECT_TRUE(samePoints(meet(circle(VxGePoint3d{}, 2), e), {{2, 0, 0}, {-2, 0, 0}}));
    EXPECT_TRUE(meet(e, circle(VxGePoint3d{}, 0.999999)).empty());

    // Crossed ellipses: x^2/4 + y^2 = 1 and x^2 + y^2/4 = 1 meet at
    // x^2 = y^2 = 4/5.
    VxGeEllipArc3d crossed = ellipse(VxGePoint3d{}, VxGeVector3d::kYAxis, 2, 1);
    double d = 2 / std::sqrt(5.0);
    EXPECT_TRUE(samePoints(meet(e, crossed), {{d, d, 0}, {-d, d, 0}, {d, -d, 0}, {-d, -d, 0}}));
    // Touching: stacked, and side by side.
    EXPECT_TRUE(samePoints(meet(e, ellipse(VxGePoint3d{0, 2, 0}, VxGeVector3d::kXAxis, 2, 1)), {{0, 1, 0}}));
    EXPECT_TRUE(samePoints(meet(e, ellipse(VxGePoint3d{4, 0, 0}, VxGeVector3d::kXAxis, 2, 1)), {{2, 0, 0}}));
    EXPECT_TRUE(samePoints(meet(e, ellipse(VxGePoint3d{4 + 1e-11, 0, 0}, VxGeVector3d::kXAxis, 2, 1)), {{2, 0, 0}}, 1e-10));
    EXPECT_TRUE(meet(e, ellipse(VxGePoint3d{4 + 1e-6, 0, 0}, VxGeVector3d::kXAxis, 2, 1)).empty());
    // The same ellipse, and one nested inside.
    EXPECT_TRUE(meet(e, ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, 2, 1)).empty());
    EXPECT_TRUE(meet(e, ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, 1.9, 0.9)).empty());

    // Arcs of them in the extend modes.
    VxGeEllipArc3d firstQuadrant = ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, 2, 1, 0, kPi / 2);
    VxGeEllipArc3d upperHalf = ellipse(VxGePoint3d{}, VxGeVector3d::kYAxis, 2, 1, 0, kPi);  // x <= 0
    EXPECT_TRUE(meet(firstQuadrant, upperHalf).empty());
    EXPECT_TRUE(samePoints(meet(firstQuadrant, upperHalf, VxGeExtend::kExtendThis), {{-d, d, 0}, {-d, -d, 0}}));
    EXPECT_TRUE(samePoints(meet(firstQuadrant, upperHalf, VxGeExtend::kExtendOther), {{d, d, 0}}));
    EXPECT_EQ(meet(firstQuadrant, upperHalf, VxGeExtend::kExtendBoth).size(), 4u);

    // Placed anywhere in space, the points follow.
    VxGeMatrix3d place = VxGeMatrix3d::translation(VxGeVector3d{-4, 5, 6}) *
                         VxGeMatrix3d::rotation(2.1, VxGeVector3d{0.3, 1, -1});
    VxGeEllipArc3d placedE = e, placedCrossed = crossed;
    ASSERT_TRUE(placedE.transformBy(place));
    ASSERT_TRUE(placedCrossed.transformBy(place));
    EXPECT_TRUE(samePoints(meet(placedE, placedCrossed), {place * VxGePoint3d{d, d, 0}, place * VxGePoint3d{-d, d, 0},
                                                          place * VxGePoint3d{d, -d, 0}, place * VxGePoint3d{-d, -d, 0}}));

    // Across planes: the XZ circle of radius 2 meets the ellipse at its
    // vertices; radius 1 misses.
    EXPECT_TRUE(samePoints(meet(e, circle(VxGePoint3d{}, 2, VxGeVector3d::kYAxis)), {{2, 0, 0}, {-2, 0, 0}}));
    EXPECT_TRUE(meet(e, circle(VxGePoint3d{}, 1, VxGeVector3d::kYAxis)).empty());
    VxGeEllipArc3d standing(VxGePoint3d{}, VxGeVector3d::kZAxis, VxGeVector3d::kYAxis, 3, 1);
    EXPECT_TRUE(samePoints(meet(e, standing), {{0, 1, 0}, {0, -1, 0}}));
}

TEST(GeIntersect, DegenerateCurvesGiveNothing)
{
    VxGeCircArc3d c = circle(VxGePoint3d{}, 1);
    VxGeCircArc3d point = circle(VxGePoint3d{1, 0, 0}, 0);
    EXPECT_TRUE(meet(c, point, VxGeExtend::kExtendBoth).empty());
    EXPECT_TRUE(meet(point, VxGeLine3d(VxGePoint3d{}, VxGeVector3d::kXAxis)).empty());
    VxGeEllipArc3d flat(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kXAxis, 1, 1);  // axes parallel
    EXPECT_FALSE(flat.isValid());
    EXPECT_TRUE(meet(flat, c).empty());
    VxGeCircArc3d noNormal(VxGePoint3d{}, VxGeVector3d{}, 1);
    EXPECT_FALSE(noNormal.isValid());
    EXPECT_TRUE(meet(noNormal, c).empty());
    std::vector<VxGePoint3d> points;
    EXPECT_EQ(c.intersectWith(c, VxGeExtend::kExtendNone, points, VxGeTol{-1, 0}), 0);
}

// Random configurations, many of them nearly tangent: every point found is
// finite, lies on both curves, and the answer does not depend on the order.
TEST(GeIntersect, RandomConfigurationsStayOnBothCurves)
{
    std::mt19937 random(20240611);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    auto point = [&] { return VxGePoint3d{3 * unit(random), 3 * unit(random), 0}; };
    auto makeCurve = [&](int kind) -> std::unique_ptr<VxGeCurve3d> {
        switch (kind) {
        case 0:
            return std::make_unique<VxGeLineSeg3d>(point(), point());
        case 1:
            return std::make_unique<VxGeRay3d>(point(), VxGeVector3d{unit(random), unit(random), 0});
        case 2:
            return std::make_unique<VxGeCircArc3d>(point(), VxGeVector3d::kZAxis, VxGeVector3d::kXAxis,
                                                   0.1 + 2 * std::fabs(unit(random)), 7 * unit(random),
                                                   7 * unit(random));
        default: {
            double a = 0.2 + 2 * std::fabs(unit(random));
            VxGeVector3d major{unit(random), unit(random), 0};
            return std::make_unique<VxGeEllipArc3d>(point(), major, VxGeVector3d::kZAxis.crossProduct(major), a,
                                                    a * (0.05 + 0.95 * std::fabs(unit(random))), 7 * unit(random),
                                                    7 * unit(random));
        }
        }
    };
    int total = 0;
    for (int trial = 0; trial < 1500; ++trial) {
        auto first = makeCurve(trial % 4);
        auto second = makeCurve((trial / 4) % 4);
        if (trial % 3 == 0 && second->kind() == VxGeCurveKind::kCircArc3d) {
            // Nudge the circle to touch the first curve at its closest point.
            auto& c = static_cast<VxGeCircArc3d&>(*second);
            VxGePoint3d onFirst = first->closestPointTo(c.center());
            double gap = onFirst.distanceTo(c.center());
            if (gap > 0.1)
                c.setRadius(gap * (1 + 1e-13 * unit(random)));
        }
        for (auto extend : {VxGeExtend::kExtendNone, VxGeExtend::kExtendBoth}) {
            std::vector<VxGePoint3d> forward, backward;
            first->intersectWith(*second, extend, forward);
            second->intersectWith(*first, extend, backward);
            total += static_cast<int>(forward.size());
            ASSERT_LE(forward.size(), 4u);
            EXPECT_EQ(forward.size(), backward.size()) << "trial " << trial;
            for (const VxGePoint3d& p : forward) {
                ASSERT_TRUE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
                if (extend == VxGeExtend::kExtendNone) {
                    EXPECT_LE(first->distanceTo(p), 1e-9) << "trial " << trial;
                    EXPECT_LE(second->distanceTo(p), 1e-9) << "trial " << trial;
                }
            }
        }
    }
    EXPECT_GT(total, 500);
}

}  // namespace
}  // namespace kx
