// Curve evaluation, extents, transformations, offsets and ellipse parameters
// against hand-computed values.

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "ge/curves.h"
#include "ge/numeric.h"
#include "ge_test_util.h"

namespace kx {
namespace {

using test::near;

const double kSqrt2 = std::sqrt(2.0);
const double kSqrt3 = std::sqrt(3.0);
const double kNaN = std::numeric_limits<double>::quiet_NaN();

// Arc length of (a cos t, b sin t) by composite 8-point Gauss-Legendre: an
// oracle independent of the elliptic integrals under test.
double quadratureLength(double a, double b, double from, double to)
{
    static const double x[4] = {0.1834346424956498, 0.5255324099163290, 0.7966664774136267, 0.9602898564975363};
    static const double w[4] = {0.3626837833783620, 0.3137066458778873, 0.2223810344533745, 0.1012285362903763};
    const int panels = 4000;
    double h = (to - from) / panels, sum = 0.0;
    for (int i = 0; i < panels; ++i) {
        double mid = from + (i + 0.5) * h;
        for (int k = 0; k < 4; ++k)
            for (double sign : {-1.0, 1.0}) {
                double t = mid + sign * x[k] * h / 2;
                sum += w[k] * h / 2 * std::hypot(a * std::sin(t), b * std::cos(t));
            }
    }
    return sum;
}

TEST(GeLinear, SegmentsRaysAndLines)
{
    VxGeLineSeg3d seg(VxGePoint3d{1, 1, 0}, VxGePoint3d{4, 5, 0});
    EXPECT_TRUE(near(seg.length(), 5.0));
    EXPECT_TRUE(near(seg.evalPoint(2.5), VxGePoint3d{2.5, 3, 0}));
    EXPECT_TRUE(near(seg.midPoint(), VxGePoint3d{2.5, 3, 0}));
    double param = 0;
    EXPECT_TRUE(near(seg.closestPointTo(VxGePoint3d{5, 0, 7}, &param), VxGePoint3d{1.96, 2.28, 0}));
    EXPECT_TRUE(near(param, 1.6));
    EXPECT_TRUE(near(seg.closestPointTo(VxGePoint3d{10, 10, 0}), VxGePoint3d{4, 5, 0}));
    VxGeExtents3d box;
    ASSERT_TRUE(seg.getExtents(box));
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{4, 5, 0}));

    VxGeRay3d ray(VxGePoint3d{0, 0, 0}, VxGeVector3d{0, 2, 0});
    EXPECT_TRUE(near(ray.closestPointTo(VxGePoint3d{3, -4, 0}), VxGePoint3d{0, 0, 0}));
    EXPECT_TRUE(near(ray.closestPointTo(VxGePoint3d{3, 4, 0}), VxGePoint3d{0, 4, 0}));
    EXPECT_FALSE(ray.getExtents(box));
    EXPECT_TRUE(std::isinf(ray.length()));
    EXPECT_FALSE(ray.isBounded());
    EXPECT_FALSE(ray.set(VxGePoint3d{}, VxGeVector3d{}));  // keeps its direction
    EXPECT_TRUE(near(ray.direction(), VxGeVector3d{0, 1, 0}));

    VxGeLine3d line(VxGePoint3d{0, 0, 0}, VxGeVector3d{1, 1, 0});
    EXPECT_TRUE(near(line.closestPointTo(VxGePoint3d{2, 0, 5}), VxGePoint3d{1, 1, 0}));
    EXPECT_TRUE(line.isColinearTo(VxGeLine3d(VxGePoint3d{-3, -3, 0}, VxGeVector3d{-2, -2, 0})));
    EXPECT_FALSE(line.isColinearTo(VxGeLine3d(VxGePoint3d{-3, -2, 0}, VxGeVector3d{-2, -2, 0})));
}

TEST(GeLinear, TransformsAndOffsets)
{
    VxGeLineSeg3d seg(VxGePoint3d{0, 0, 0}, VxGePoint3d{10, 0, 0});
    VxGeLineSeg3d offset;
    // Positive distances go to the right seen from the normal.
    ASSERT_TRUE(seg.getOffset(2, VxGeVector3d::kZAxis, offset));
    EXPECT_TRUE(near(offset.startPoint(), VxGePoint3d{0, -2, 0}));
    EXPECT_TRUE(near(offset.endPoint(), VxGePoint3d{10, -2, 0}));
    ASSERT_TRUE(seg.getOffset(-2, VxGeVector3d::kZAxis, offset));
    EXPECT_TRUE(near(offset.startPoint(), VxGePoint3d{0, 2, 0}));
    EXPECT_FALSE(seg.getOffset(1, VxGeVector3d::kXAxis, offset));  // no plane
    EXPECT_FALSE(VxGeLineSeg3d(VxGePoint3d{1, 1, 1}, VxGePoint3d{1, 1, 1}).getOffset(1, VxGeVector3d::kZAxis, offset));

    VxGeLine3d xline(VxGePoint3d{1, 0, 0}, VxGeVector3d{0, 1, 0});
    VxGeLine3d xlineOffset;
    ASSERT_TRUE(xline.getOffset(3, VxGeVector3d::kZAxis, xlineOffset));
    EXPECT_TRUE(near(xlineOffset.pointOnLine(), VxGePoint3d{4, 0, 0}));

    ASSERT_TRUE(seg.transformBy(VxGeMatrix3d::rotation(kPi / 2, VxGeVector3d::kZAxis, VxGePoint3d{5, 0, 0})));
    EXPECT_TRUE(near(seg.startPoint(), VxGePoint3d{5, -5, 0}));
    EXPECT_TRUE(near(seg.endPoint(), VxGePoint3d{5, 5, 0}));
    // A flattening along the ray's direction leaves no direction: refused.
    VxGeRay3d ray(VxGePoint3d{1, 2, 3}, VxGeVector3d::kZAxis);
    EXPECT_FALSE(ray.transformBy(VxGeMatrix3d::scaling(1, 1, 0)));
    EXPECT_TRUE(near(ray.basePoint(), VxGePoint3d{1, 2, 3}));
    ASSERT_TRUE(ray.transformBy(VxGeMatrix3d::mirroring(VxGePlane::kXYPlane)));
    EXPECT_TRUE(near(ray.direction(), VxGeVector3d{0, 0, -1}));
    EXPECT_TRUE(near(ray.basePoint(), VxGePoint3d{1, 2, -3}));
}

TEST(GeCircArc, EvaluationLengthAreaAndClosestPoints)
{
    VxGeCircArc3d arc(VxGePoint3d{1, 2, 0}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, 2, 0, kPi / 2);
    EXPECT_TRUE(near(arc.startPoint(), VxGePoint3d{3, 2, 0}));
    EXPECT_TRUE(near(arc.endPoint(), VxGePoint3d{1, 4, 0}));
    EXPECT_TRUE(near(arc.length(), kPi));
    EXPECT_TRUE(near(arc.area(), kPi - 2));  // quarter disc minus the triangle
    EXPECT_TRUE(near(arc.evalDeriv(0), VxGeVector3d{0, 2, 0}));
    double param = -1;
    ASSERT_TRUE(arc.paramAtPoint(VxGePoint3d{1 + kSqrt3, 3, 0}, param));
    EXPECT_TRUE(near(param, kPi / 6));
    EXPECT_FALSE(arc.paramAtPoint(VxGePoint3d{1 + kSqrt3, 3.001, 0}, param));
    EXPECT_FALSE(arc.paramAtPoint(VxGePoint3d{1, 0, 0}, param));  // on the circle, off the arc
    EXPECT_TRUE(near(param, kPi / 6));

    // Angles wrap: -pi/2 ... pi/2 is kept as 3pi/2 ... 5pi/2.
    VxGeCircArc3d wrapped(VxGePoint3d{}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, 1, -kPi / 2, kPi / 2);
    EXPECT_TRUE(near(wrapped.startAng(), 3 * kPi / 2));
    EXPECT_TRUE(near(wrapped.endAng(), 5 * kPi / 2));
    EXPECT_TRUE(near(wrapped.closestPointTo(VxGePoint3d{5, 0, 3}), VxGePoint3d{1, 0, 0}));
    // Outside the arc the nearer end wins; at the center any point will do.
    EXPECT_TRUE(near(wrapped.closestPointTo(VxGePoint3d{-1, -0.5, 0}), VxGePoint3d{0, -1, 0}));
    EXPECT_TRUE(near(wrapped.closestPointTo(VxGePoint3d{0, 0, 4}).distanceTo(VxGePoint3d{}), 1.0));
    EXPECT_TRUE(VxGeCircArc3d(VxGePoint3d{}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, 1, 1, 1).isFullCircle());

    VxGeCircArc3d through;
    ASSERT_TRUE(VxGeCircArc3d::fromThreePoints(VxGePoint3d{1, 0, 0}, VxGePoint3d{0, 1, 0}, VxGePoint3d{-1, 0, 0},
                                               through));
    EXPECT_TRUE(near(through.center(), VxGePoint3d{}));
    EXPECT_TRUE(near(through.radius(), 1.0));
    EXPECT_TRUE(near(through.sweep(), kPi));
    EXPECT_TRUE(near(through.evalPoint(through.startAng() + kPi / 2), VxGePoint3d{0, 1, 0}));
    EXPECT_FALSE(VxGeCircArc3d::fromThreePoints(VxGePoint3d{}, VxGePoint3d{1, 1, 1}, VxGePoint3d{2, 2, 2}, through));
}

TEST(GeCircArc, TightExtents)
{
    VxGeExtents3d box;
    VxGeCircArc3d top(VxGePoint3d{}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, 1, kPi / 4, 3 * kPi / 4);
    ASSERT_TRUE(top.getExtents(box));
    EXPECT_TRUE(near(box.minPoint(), VxGePoint3d{-kSqrt2 / 2, kSqrt2 / 2, 0}));
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{kSqrt2 / 2, 1, 0}));
    // A circle tilted about x: half-widths r sqrt(1 - n_i^2).
    VxGeCircArc3d tilted(VxGePoint3d{1, 2, 3}, VxGeVector3d{0, 1, 1}, 2);
    ASSERT_TRUE(tilted.getExtents(box));
    EXPECT_TRUE(near(box.minPoint(), VxGePoint3d{-1, 2 - kSqrt2, 3 - kSqrt2}));
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{3, 2 + kSqrt2, 3 + kSqrt2}));
    // Across the start of the angle range.
    VxGeCircArc3d across(VxGePoint3d{}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, 1, -kPi / 4, kPi / 4);
    ASSERT_TRUE(across.getExtents(box));
    EXPECT_TRUE(near(box.minPoint(), VxGePoint3d{kSqrt2 / 2, -kSqrt2 / 2, 0}));
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{1, kSqrt2 / 2, 0}));
}

TEST(GeCircArc, TransformsKeepTheArcAndItsNormal)
{
    VxGeCircArc3d arc(VxGePoint3d{2, 0, 0}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, 1, 0, kPi / 2);
    VxGeCircArc3d turned = arc;
    ASSERT_TRUE(turned.transformBy(VxGeMatrix3d::rotation(kPi / 2, VxGeVector3d::kZAxis)));
    EXPECT_TRUE(near(turned.startPoint(), VxGePoint3d{0, 3, 0}));
    EXPECT_TRUE(near(turned.endPoint(), VxGePoint3d{-1, 2, 0}));

    // Mirrored in the YZ plane the normal stays +z and the ends swap.
    VxGeCircArc3d mirrored = arc;
    ASSERT_TRUE(mirrored.transformBy(VxGeMatrix3d::mirroring(VxGePlane::kYZPlane)));
    EXPECT_TRUE(near(mirrored.normal(), VxGeVector3d::kZAxis));
    EXPECT_TRUE(near(mirrored.startPoint(), VxGePoint3d{-2, 1, 0}));
    EXPECT_TRUE(near(mirrored.endPoint(), VxGePoint3d{-3, 0, 0}));
    EXPECT_TRUE(near(mirrored.evalPoint(0.5 * (mirrored.startAng() + mirrored.endAng())),
                     VxGePoint3d{-2 - kSqrt2 / 2, kSqrt2 / 2, 0}));
    // Mirrored in its own plane the normal turns over: seen from -z the
    // same quarter runs from (2, 1) to (3, 0).
    VxGeCircArc3d flipped = arc;
    ASSERT_TRUE(flipped.transformBy(VxGeMatrix3d::mirroring(VxGePlane::kXYPlane)));
    EXPECT_TRUE(near(flipped.normal(), VxGeVector3d{0, 0, -1}));
    EXPECT_TRUE(near(flipped.startPoint(), VxGePoint3d{2, 1, 0}));
    EXPECT_TRUE(near(flipped.endPoint(), VxGePoint3d{3, 0, 0}));

    // Rebased onto another reference vector the points stay.
    VxGeCircArc3d rebased = mirrored;
    rebased.rebaseAngles(VxGeVector3d::kYAxis);
    EXPECT_TRUE(near(rebased.startAng(), 0.0));
    EXPECT_TRUE(near(rebased.endAng(), kPi / 2));
    EXPECT_TRUE(near(rebased.startPoint(), VxGePoint3d{-2, 1, 0}));
    EXPECT_TRUE(near(rebased.endPoint(), VxGePoint3d{-3, 0, 0}));

    VxGeCircArc3d scaled = arc;
    ASSERT_TRUE(scaled.transformBy(VxGeMatrix3d::scaling(3, VxGePoint3d{2, 0, 0})));
    EXPECT_TRUE(near(scaled.radius(), 3.0));
    EXPECT_TRUE(near(scaled.center(), VxGePoint3d{2, 0, 0}));
    // A stretch would make an ellipse: refused, unchanged.
    VxGeCircArc3d stretched = arc;
    EXPECT_FALSE(stretched.transformBy(VxGeMatrix3d::scaling(2, 1, 1)));
    EXPECT_TRUE(near(stretched.center(), arc.center()));

    VxGeCircArc3d offset;
    ASSERT_TRUE(arc.getOffset(0.5, offset));
    EXPECT_TRUE(near(offset.startPoint(), VxGePoint3d{3.5, 0, 0}));
    EXPECT_FALSE(arc.getOffset(-1, offset));  // would collapse
    EXPECT_FALSE(arc.getOffset(kNaN, offset));
}

TEST(GeEllipArc, ParametersAndAngles)
{
    VxGeEllipArc3d ellipse =
        VxGeEllipArc3d::fromAxisRatio(VxGePoint3d{}, VxGeVector3d::kZAxis, VxGeVector3d{2, 0, 0}, 0.5);
    EXPECT_TRUE(near(ellipse.majorRadius(), 2.0));
    EXPECT_TRUE(near(ellipse.minorRadius(), 1.0));
    EXPECT_TRUE(near(ellipse.minorAxis(), VxGeVector3d{0, 1, 0}));
    EXPECT_TRUE(near(ellipse.evalPoint(kPi / 3), VxGePoint3d{1, kSqrt3 / 2, 0}));
    // The point at 45 degrees has tan(t) = a / b = 2.
    EXPECT_TRUE(near(ellipse.paramFromAngle(kPi / 4), std::atan(2.0)));
    EXPECT_TRUE(near(ellipse.angleFromParam(std::atan(2.0)), kPi / 4));
    EXPECT_TRUE(near(ellipse.paramFromAngle(5 * kPi / 4), kPi + std::atan(2.0)));
    EXPECT_TRUE(near(ellipse.paramFromAngle(-kPi / 4), -std::atan(2.0)));
    for (double quarter : {0.0, 1.0, 2.0, 3.0, 4.0}) {
        EXPECT_TRUE(near(ellipse.paramFromAngle(quarter * kPi / 2), quarter * kPi / 2));
        EXPECT_TRUE(near(ellipse.angleFromParam(quarter * kPi / 2), quarter * kPi / 2));
    }
    // The angle of the evaluated point is the angle the conversion gives.
    for (double t = 0.1; t < kTwoPi; t += 0.7) {
        VxGePoint3d p = ellipse.evalPoint(t);
        EXPECT_TRUE(near(ellipse.angleFromParam(t), vxgeNormalizeAngle(std::atan2(p.y, p.x))));
        EXPECT_TRUE(near(ellipse.paramOf(p), t));
    }
    // A normal along -z turns the minor axis over.
    VxGeEllipArc3d under =
        VxGeEllipArc3d::fromAxisRatio(VxGePoint3d{}, VxGeVector3d{0, 0, -1}, VxGeVector3d{2, 0, 0}, 0.5);
    EXPECT_TRUE(near(under.minorAxis(), VxGeVector3d{0, -1, 0}));
    EXPECT_TRUE(near(under.normal(), VxGeVector3d{0, 0, -1}));
    // Angles of an entity's full turn stay a full ellipse.
    VxGeEllipArc3d full = ellipse;
    full.setParams(ellipse.paramFromAngle(0.3), ellipse.paramFromAngle(0.3 + kTwoPi));
    EXPECT_TRUE(full.isFullEllipse());
}

TEST(GeEllipArc, LengthAreaAndExtents)
{
    VxGeEllipArc3d ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 2, 1);
    EXPECT_TRUE(near(ellipse.length(), quadratureLength(2, 1, 0, kTwoPi)));
    EXPECT_TRUE(near(ellipse.length(0.3, 2.0), quadratureLength(2, 1, 0.3, 2.0)));
    EXPECT_TRUE(near(ellipse.length(2.0, 0.3), quadratureLength(2, 1, 0.3, 2.0)));
    EXPECT_TRUE(near(ellipse.length(-1.0, 7.5), quadratureLength(2, 1, -1.0, 7.5)));
    EXPECT_TRUE(near(ellipse.area(), 2 * kPi));
    // Minor longer than major, and a circle.
    VxGeEllipArc3d upright(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 1, 3, 0.2, 1.9);
    EXPECT_TRUE(near(upright.length(), quadratureLength(1, 3, 0.2, 1.9)));
    VxGeEllipArc3d round(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 3, 3, 1.0, 2.5);
    EXPECT_TRUE(near(round.length(), 4.5));
    // Nearly flat: the perimeter tends to four major radii.
    VxGeEllipArc3d flat(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 1, 1e-6);
    EXPECT_GT(flat.length(), 4.0);
    EXPECT_TRUE(near(flat.length(), 4.0, 1e-11));
    VxGeEllipArc3d half(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 2, 1, 0, kPi);
    EXPECT_TRUE(near(half.area(), kPi));

    // Turned 45 degrees: half-widths sqrt(a^2 cos^2 + b^2 sin^2) = sqrt(2.5).
    VxGeEllipArc3d turned(VxGePoint3d{1, 1, 1}, VxGeVector3d{1, 1, 0}, VxGeVector3d{-1, 1, 0}, 2, 1);
    VxGeExtents3d box;
    ASSERT_TRUE(turned.getExtents(box));
    double half25 = std::sqrt(2.5);
    EXPECT_TRUE(near(box.minPoint(), VxGePoint3d{1 - half25, 1 - half25, 1}));
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{1 + half25, 1 + half25, 1}));
    // The first quadrant only.
    VxGeEllipArc3d quadrant(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 2, 1, 0, kPi / 2);
    ASSERT_TRUE(quadrant.getExtents(box));
    EXPECT_TRUE(near(box.minPoint(), VxGePoint3d{0, 0, 0}));
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{2, 1, 0}));
}

TEST(GeEllipArc, ClosestPoints)
{
    VxGeEllipArc3d ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 2, 1);
    EXPECT_TRUE(near(ellipse.closestPointTo(VxGePoint3d{0, 3, 0}), VxGePoint3d{0, 1, 0}));
    EXPECT_TRUE(near(ellipse.closestPointTo(VxGePoint3d{3, 0, 5}), VxGePoint3d{2, 0, 0}));
    EXPECT_TRUE(near(ellipse.closestPointTo(VxGePoint3d{0, 0.1, 0}), VxGePoint3d{0, 1, 0}));
    // Inside the evolute on the major axis the nearest point leaves the axis:
    // cos t = a x / (a^2 - b^2) = 2/3 for x = 1.
    VxGePoint3d nearest = ellipse.closestPointTo(VxGePoint3d{1, 0, 0});
    EXPECT_TRUE(near(nearest.x, 4.0 / 3.0));
    EXPECT_TRUE(near(std::fabs(nearest.y), std::sqrt(5.0) / 3.0));
    EXPECT_TRUE(near(nearest.distanceTo(VxGePoint3d{1, 0, 0}), std::sqrt(6.0) / 3.0));
    // Restricted to an arc, an end point can be nearest.
    VxGeEllipArc3d arc(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 2, 1, kPi / 4, kPi / 2);
    EXPECT_TRUE(near(arc.closestPointTo(VxGePoint3d{3, 0, 0}), VxGePoint3d{kSqrt2, kSqrt2 / 2, 0}));
}

TEST(GeEllipArc, AffineTransformsFindTheNewAxes)
{
    // A circle stretched threefold along x.
    VxGeEllipArc3d circle(VxGeCircArc3d(VxGePoint3d{}, VxGeVector3d::kZAxis, VxGeVector3d::kXAxis, 1, 0, kPi / 2));
    VxGeEllipArc3d stretched = circle;
    ASSERT_TRUE(stretched.transformBy(VxGeMatrix3d::scaling(3, 1, 1)));
    EXPECT_TRUE(near(stretched.majorRadius(), 3.0));
    EXPECT_TRUE(near(stretched.minorRadius(), 1.0));
    EXPECT_TRUE(near(stretched.startPoint(), VxGePoint3d{3, 0, 0}));
    EXPECT_TRUE(near(stretched.endPoint(), VxGePoint3d{0, 1, 0}));
    // Stretched along y: the major axis is y and the parameters shift.
    VxGeEllipArc3d tall = circle;
    ASSERT_TRUE(tall.transformBy(VxGeMatrix3d::scaling(1, 3, 1)));
    EXPECT_TRUE(near(tall.majorRadius(), 3.0));
    EXPECT_TRUE(tall.majorAxis().isParallelTo(VxGeVector3d::kYAxis));
    EXPECT_TRUE(near(tall.normal(), VxGeVector3d::kZAxis));
    EXPECT_TRUE(near(tall.startPoint(), VxGePoint3d{1, 0, 0}));
    EXPECT_TRUE(near(tall.endPoint(), VxGePoint3d{0, 3, 0}));
    // A shear x += y: semi-axes are the golden ratio and its inverse.
    VxGeMatrix3d shear;
    shear.entry[0][1] = 1;
    VxGeEllipArc3d sheared = circle;
    ASSERT_TRUE(sheared.transformBy(shear));
    double phi = (1 + std::sqrt(5.0)) / 2;
    EXPECT_TRUE(near(sheared.majorRadius(), phi));
    EXPECT_TRUE(near(sheared.minorRadius(), 1 / phi));
    EXPECT_TRUE(near(sheared.startPoint(), VxGePoint3d{1, 0, 0}));
    EXPECT_TRUE(near(sheared.endPoint(), VxGePoint3d{1, 1, 0}));
    EXPECT_TRUE(near(sheared.evalPoint(0.5 * (sheared.startParam() + sheared.endParam())),
                     VxGePoint3d{kSqrt2, kSqrt2 / 2, 0}));

    // Mirrored in the YZ plane: normal kept, ends swapped.
    VxGeEllipArc3d arc(VxGePoint3d{5, 0, 0}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 2, 1, 0, kPi / 2);
    ASSERT_TRUE(arc.transformBy(VxGeMatrix3d::mirroring(VxGePlane::kYZPlane)));
    EXPECT_TRUE(near(arc.normal(), VxGeVector3d::kZAxis));
    EXPECT_TRUE(near(arc.startPoint(), VxGePoint3d{-5, 1, 0}));
    EXPECT_TRUE(near(arc.endPoint(), VxGePoint3d{-7, 0, 0}));
    EXPECT_TRUE(near(arc.majorRadius(), 2.0));
    // Flattened into a line: refused, unchanged.
    EXPECT_FALSE(arc.transformBy(VxGeMatrix3d::scaling(1, 0, 1)));
    EXPECT_TRUE(near(arc.startPoint(), VxGePoint3d{-5, 1, 0}));
}

TEST(GeEllipArc, OffsetPoints)
{
    VxGeEllipArc3d ellipse(VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis, 2, 1);
    EXPECT_TRUE(near(ellipse.evalOffsetPoint(0, 0.5), VxGePoint3d{2.5, 0, 0}));
    EXPECT_TRUE(near(ellipse.evalOffsetPoint(kPi / 2, 0.5), VxGePoint3d{0, 1.5, 0}));
    EXPECT_TRUE(near(ellipse.evalOffsetPoint(kPi, -0.5), VxGePoint3d{-1.5, 0, 0}));
    // Off the axes: along the normal (b cos t, a sin t), at distance 0.5.
    double t = kPi / 4;
    VxGePoint3d p = ellipse.evalOffsetPoint(t, 0.5);
    VxGePoint3d base = ellipse.evalPoint(t);
    EXPECT_TRUE(near(p.distanceTo(base), 0.5));
    EXPECT_TRUE(near((p - base).dotProduct(ellipse.evalDeriv(t)), 0.0));

    std::vector<double> params = ellipse.offsetSampleParams(0.5, 1e-4);
    ASSERT_GE(params.size(), 17u);
    EXPECT_EQ(params.front(), 0.0);
    EXPECT_EQ(params.back(), kTwoPi);
    for (std::size_t i = 0; i + 1 < params.size(); ++i) {
        ASSERT_LT(params[i], params[i + 1]);
        // The chord's middle is within the requested deviation.
        VxGePoint3d a = ellipse.evalOffsetPoint(params[i], 0.5), b = ellipse.evalOffsetPoint(params[i + 1], 0.5);
        VxGePoint3d m = ellipse.evalOffsetPoint(0.5 * (params[i] + params[i + 1]), 0.5);
        VxGeVector3d chord = b - a;
        EXPECT_LE((m - a).crossProduct(chord).length() / chord.length(), 1e-4);
    }
}

TEST(GeNumeric, PolynomialAndTrigonometricRoots)
{
    // (s - 1)(s - 2)(s + 3)(s - 10) = s^4 - 10 s^3 - 7 s^2 + 76 s - 60.
    const double quartic[5] = {-60, 76, -7, -10, 1};
    double roots[8];
    ASSERT_EQ(vxgeRealPolyRoots(quartic, 4, roots), 4);
    EXPECT_TRUE(near(roots[0], -3.0));
    EXPECT_TRUE(near(roots[1], 1.0));
    EXPECT_TRUE(near(roots[2], 2.0));
    EXPECT_TRUE(near(roots[3], 10.0));
    const double none[3] = {1, 0, 1};
    EXPECT_EQ(vxgeRealPolyRoots(none, 2, roots), 0);
    const double zero[5] = {0, 0, 0, 0, 0};
    EXPECT_EQ(vxgeRealPolyRoots(zero, 4, roots), 0);
    const double bad[2] = {kNaN, 1};
    EXPECT_EQ(vxgeRealPolyRoots(bad, 1, roots), 0);

    // cos 2t = 0 at the four odd eighths of a turn.
    const double k[5] = {0, 0, 0, 1, 0};
    ASSERT_EQ(vxgeTrigPolyRoots(k, 0.0, roots), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(near(roots[i], kPi / 4 + i * kPi / 2));
    // 1 + 1e-14 - cos t comes within 1e-14 of zero at t = 0 without a sign
    // change: found only as a touch.
    const double touch[5] = {1 + 1e-14, -1, 0, 0, 0};
    EXPECT_EQ(vxgeTrigPolyRoots(touch, 0.0, roots), 0);
    ASSERT_EQ(vxgeTrigPolyRoots(touch, 1e-12, roots), 1);
    EXPECT_TRUE(near(roots[0], 0.0) || near(roots[0], kTwoPi));
    // 1 - cos t is exactly zero there: one root, not a root and a touch.
    const double exact[5] = {1, -1, 0, 0, 0};
    EXPECT_EQ(vxgeTrigPolyRoots(exact, 1e-12, roots), 1);
}

}  // namespace
}  // namespace kx
