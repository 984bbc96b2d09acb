// Points, vectors, matrices, planes and extents against hand-computed values.

#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "ge/curves.h"
#include "ge/extents.h"
#include "ge/matrix.h"
#include "ge/plane.h"
#include "ge/point.h"
#include "ge_test_util.h"

namespace kx {
namespace {

using test::near;

const double kSqrt2 = std::sqrt(2.0);
const double kSqrt3 = std::sqrt(3.0);

TEST(GeVector, AnglesMeasuredAboutAReference)
{
    const VxGeVector3d x = VxGeVector3d::kXAxis;
    const VxGeVector3d z = VxGeVector3d::kZAxis;
    EXPECT_TRUE(near(x.angleTo(VxGeVector3d{1, 1, 0}), kPi / 4));
    EXPECT_TRUE(near(x.angleTo(VxGeVector3d{-1, 0, 0}), kPi));
    // The automation layer's line angle: 0 ... 2pi about world z.
    EXPECT_TRUE(near(x.angleTo(VxGeVector3d{-1, -1, 0}, z), 5 * kPi / 4));
    EXPECT_TRUE(near(x.angleTo(VxGeVector3d{0, -1, 0}, z), 3 * kPi / 2));
    EXPECT_TRUE(near(x.angleTo(VxGeVector3d{0, -1, 0}, -z), kPi / 2));
    EXPECT_EQ(x.angleTo(x, z), 0.0);
    EXPECT_EQ((x.angleTo(VxGeVector3d{})), 0.0);
    // Tiny angles keep their precision (acos of a dot product would not).
    EXPECT_TRUE(near(x.angleTo(VxGeVector3d{1, 1e-9, 0}), 1e-9, 1e-15));
    EXPECT_TRUE(near(VxGeVector2d{-1, -1}.angle(), 5 * kPi / 4));
    EXPECT_EQ((VxGeVector2d{}.angle()), 0.0);
}

TEST(GeVector, NormalsPerpendicularsAndProducts)
{
    EXPECT_TRUE(near(VxGeVector3d{3, 4, 0}.normal(), VxGeVector3d{0.6, 0.8, 0}));
    EXPECT_TRUE((VxGeVector3d{1e-11, 0, 0}.isZeroLength()));
    EXPECT_EQ((VxGeVector3d{1e-11, 0, 0}.normal().length()), 0.0);
    EXPECT_EQ((VxGeVector3d{}.normal().length()), 0.0);
    EXPECT_TRUE(near(VxGeVector3d::kXAxis.crossProduct(VxGeVector3d::kYAxis), VxGeVector3d::kZAxis));
    // The arbitrary axis rule.
    EXPECT_TRUE(near(VxGeVector3d::kZAxis.perpVector(), VxGeVector3d::kXAxis));
    EXPECT_TRUE(near(VxGeVector3d{1, 0, 0}.perpVector(), VxGeVector3d{0, 1, 0}));
    EXPECT_TRUE(near(VxGeVector3d{0, 0, -1}.perpVector(), VxGeVector3d{-1, 0, 0}));
    EXPECT_TRUE((VxGeVector3d{1, 2, 3}.isParallelTo(VxGeVector3d{-2, -4, -6})));
    EXPECT_FALSE((VxGeVector3d{1, 2, 3}.isCodirectionalTo(VxGeVector3d{-2, -4, -6})));
    EXPECT_FALSE((VxGeVector3d{}.isParallelTo(VxGeVector3d{1, 0, 0})));
    EXPECT_TRUE((VxGeVector3d{1, 1, 0}.isPerpendicularTo(VxGeVector3d{-1, 1, 5e-11})));
    VxGeVector3d v{1, 0, 0};
    EXPECT_TRUE(near(v.rotateBy(kPi / 2, VxGeVector3d{0, 0, 2}), VxGeVector3d{0, 1, 0}));
    EXPECT_TRUE(near(VxGeVector3d{1, 2, 3}.orthoProject(VxGeVector3d{0, 0, 5}), VxGeVector3d{1, 2, 0}));
}

TEST(GeVector, RawLayoutAndEquality)
{
    VxGePoint3d p;
    EXPECT_EQ(p.x, 0.0);
    const double raw[3] = {1.5, -2.0, 3.25};
    std::memcpy(&p, raw, sizeof p);
    EXPECT_EQ(p.y, -2.0);
    EXPECT_TRUE((VxGePoint3d{1, 2, 3} == VxGePoint3d{1, 2, 3 + 5e-11}));
    EXPECT_FALSE((VxGePoint3d{1, 2, 3} == VxGePoint3d{1, 2, 3 + 2e-10}));
    EXPECT_TRUE((VxGePoint3d{1, 2, 3}.isEqualTo(VxGePoint3d{1, 2, 3.01}, VxGeTol{0.1, 0.1})));
    EXPECT_TRUE(near((VxGePoint3d{1, 2, 3} - VxGePoint3d{0, 2, 5}), VxGeVector3d{1, 0, -2}));
    EXPECT_TRUE(near(VxGePoint3d{1, 1, 0}.scaleBy(3, VxGePoint3d{1, 0, 0}), VxGePoint3d{1, 3, 0}));
}

TEST(GeMatrix, RotationsAboutAxesThroughPoints)
{
    // A quarter turn about z through (1, 1): (2, 1) goes to (1, 2).
    VxGeMatrix3d quarter = VxGeMatrix3d::rotation(kPi / 2, VxGeVector3d::kZAxis, VxGePoint3d{1, 1, 7});
    EXPECT_TRUE(near(quarter * VxGePoint3d{2, 1, 4}, VxGePoint3d{1, 2, 4}));
    // Vectors ignore the center.
    EXPECT_TRUE(near(quarter * VxGeVector3d{1, 0, 0}, VxGeVector3d{0, 1, 0}));
    // 120 degrees about (1, 1, 1) cycles the axes.
    VxGeMatrix3d cycle = VxGeMatrix3d::rotation(2 * kPi / 3, VxGeVector3d{1, 1, 1});
    EXPECT_TRUE(near(cycle * VxGePoint3d{1, 0, 0}, VxGePoint3d{0, 1, 0}));
    EXPECT_TRUE(near(cycle * VxGePoint3d{0, 0, 5}, VxGePoint3d{5, 0, 0}));
    // 30 degrees about x.
    VxGeMatrix3d tilt = VxGeMatrix3d::rotation(kPi / 6, VxGeVector3d::kXAxis);
    EXPECT_TRUE(near(tilt * VxGePoint3d{0, 2, 0}, VxGePoint3d{0, kSqrt3, 1}));
    EXPECT_TRUE(near(tilt.det(), 1.0));
    // A zero axis leaves everything in place.
    EXPECT_TRUE((VxGeMatrix3d::rotation(1.0, VxGeVector3d{}).isIdentity()));
}

TEST(GeMatrix, ScalingMirroringAndCoordinateSystems)
{
    EXPECT_TRUE(near(VxGeMatrix3d::scaling(2, VxGePoint3d{1, 1, 1}) * VxGePoint3d{2, 3, 4}, VxGePoint3d{3, 5, 7}));
    EXPECT_TRUE(near(VxGeMatrix3d::scaling(2, 3, 4) * VxGePoint3d{1, 1, 1}, VxGePoint3d{2, 3, 4}));

    VxGeMatrix3d inZ1 = VxGeMatrix3d::mirroring(VxGePlane(VxGePoint3d{0, 0, 1}, VxGeVector3d{0, 0, 7}));
    EXPECT_TRUE(near(inZ1 * VxGePoint3d{1, 2, 5}, VxGePoint3d{1, 2, -3}));
    EXPECT_TRUE(near(inZ1.det(), -1.0));
    VxGeMatrix3d diagonal = VxGeMatrix3d::mirroring(VxGePlane(VxGePoint3d{}, VxGeVector3d{1, -1, 0}));
    EXPECT_TRUE(near(diagonal * VxGePoint3d{3, 1, 2}, VxGePoint3d{1, 3, 2}));
    EXPECT_TRUE(near(VxGeMatrix3d::mirroring(VxGePoint3d{1, 1, 1}) * VxGePoint3d{1, 2, 3}, VxGePoint3d{1, 0, -1}));
    VxGeLine3d axis(VxGePoint3d{1, 0, 0}, VxGeVector3d{0, 0, 3});
    EXPECT_TRUE(near(VxGeMatrix3d::mirroring(axis) * VxGePoint3d{2, 0, 5}, VxGePoint3d{0, 0, 5}));
    // An invalid plane mirrors nothing.
    EXPECT_TRUE((VxGeMatrix3d::mirroring(VxGePlane(VxGePoint3d{}, VxGeVector3d{})).isIdentity()));

    VxGeMatrix3d cs;
    cs.setCoordSystem(VxGePoint3d{1, 2, 3}, VxGeVector3d{0, 1, 0}, VxGeVector3d{-1, 0, 0}, VxGeVector3d{0, 0, 1});
    EXPECT_TRUE(near(cs * VxGePoint3d{1, 0, 0}, VxGePoint3d{1, 3, 3}));
    VxGePoint3d origin;
    VxGeVector3d x, y, z;
    cs.getCoordSystem(origin, x, y, z);
    EXPECT_TRUE(near(origin, VxGePoint3d{1, 2, 3}));
    EXPECT_TRUE(near(y, VxGeVector3d{-1, 0, 0}));
    VxGeMatrix3d align = VxGeMatrix3d::alignCoordSys(VxGePoint3d{1, 2, 3}, VxGeVector3d{0, 1, 0},
                                                     VxGeVector3d{-1, 0, 0}, VxGeVector3d{0, 0, 1},
                                                     VxGePoint3d{}, VxGeVector3d::kXAxis, VxGeVector3d::kYAxis,
                                                     VxGeVector3d::kZAxis);
    EXPECT_TRUE(near(align * VxGePoint3d{1, 3, 3}, VxGePoint3d{1, 0, 0}));

    // Object coordinates of a normal along x: X = (0, 1, 0), Y = (0, 0, 1).
    VxGeMatrix3d ocs = VxGeMatrix3d::planeToWorld(VxGeVector3d{2, 0, 0});
    EXPECT_TRUE(near(ocs * VxGePoint3d{1, 2, 3}, VxGePoint3d{3, 1, 2}));
    EXPECT_TRUE(near(VxGeMatrix3d::worldToPlane(VxGeVector3d{2, 0, 0}) * VxGePoint3d{3, 1, 2}, VxGePoint3d{1, 2, 3}));
}

TEST(GeMatrix, ProductsOrderAndInverse)
{
    VxGeMatrix3d move = VxGeMatrix3d::translation(VxGeVector3d{10, 0, 0});
    VxGeMatrix3d turn = VxGeMatrix3d::rotation(kPi / 2, VxGeVector3d::kZAxis);
    // move * turn turns first, then moves.
    EXPECT_TRUE(near((move * turn) * VxGePoint3d{1, 0, 0}, VxGePoint3d{10, 1, 0}));
    EXPECT_TRUE(near((turn * move) * VxGePoint3d{1, 0, 0}, VxGePoint3d{0, 11, 0}));
    VxGeMatrix3d m = turn;
    m.preMultBy(move);
    EXPECT_TRUE(m.isEqualTo(move * turn));
    m = turn;
    m.postMultBy(move);
    EXPECT_TRUE(m.isEqualTo(turn * move));

    VxGeMatrix3d composite = move * turn * VxGeMatrix3d::scaling(0.5, 3, 2, VxGePoint3d{1, 2, 3});
    VxGeMatrix3d inverse;
    ASSERT_TRUE(composite.inverse(inverse));
    EXPECT_TRUE((composite * inverse).isIdentity(VxGeTol{1e-12, 1e-12}));
    EXPECT_TRUE(near(inverse * (composite * VxGePoint3d{4, -5, 6}), VxGePoint3d{4, -5, 6}));
    EXPECT_TRUE(near(composite.det(), 3.0));

    // Far translations stay invertible; a flattening is singular and stays.
    EXPECT_TRUE((VxGeMatrix3d::translation(VxGeVector3d{1e9, -1e9, 1e9}).inverse(inverse)));
    VxGeMatrix3d flat = VxGeMatrix3d::scaling(1, 1, 0);
    EXPECT_TRUE(flat.isSingular());
    EXPECT_FALSE(flat.invert());
    EXPECT_TRUE(flat.isEqualTo(VxGeMatrix3d::scaling(1, 1, 0)));
    VxGeMatrix3d nan;
    nan.entry[0][0] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(nan.invert());
}

TEST(GeMatrix, ClassificationAndNormals)
{
    VxGeMatrix3d turn = VxGeMatrix3d::rotation(0.3, VxGeVector3d{1, 2, 3}, VxGePoint3d{4, 5, 6});
    EXPECT_TRUE((turn * VxGeMatrix3d::scaling(3)).isUniScaledOrtho());
    EXPECT_TRUE(near((turn * VxGeMatrix3d::scaling(3)).scale(), 3.0));
    EXPECT_TRUE(VxGeMatrix3d::mirroring(VxGePlane::kXYPlane).isUniScaledOrtho());
    EXPECT_FALSE(VxGeMatrix3d::scaling(1, 2, 1).isUniScaledOrtho());
    EXPECT_TRUE(VxGeMatrix3d::scaling(1, 2, 1).isScaledOrtho());
    VxGeMatrix3d perspective;
    perspective.entry[3][2] = 0.5;
    EXPECT_TRUE(perspective.isPerspective());
    EXPECT_FALSE(perspective.isUniScaledOrtho());
    EXPECT_TRUE(near(perspective * VxGePoint3d{2, 4, 2}, VxGePoint3d{1, 2, 1}));

    // The plane x + y = 0 stretched along x becomes x / 2 + y = 0.
    VxGeVector3d n = VxGeMatrix3d::scaling(2, 1, 1).transformNormal(VxGeVector3d{1, 1, 0});
    EXPECT_TRUE(near(n, VxGeVector3d{1, 2, 0} / std::sqrt(5.0)));
    // A reflection keeps the normal of a plane that contains its normal.
    EXPECT_TRUE(near(VxGeMatrix3d::mirroring(VxGePlane::kYZPlane).transformNormal(VxGeVector3d::kZAxis),
                     VxGeVector3d::kZAxis));
    EXPECT_EQ(VxGeMatrix3d::scaling(1, 1, 0).transformNormal(VxGeVector3d::kZAxis).length(), 0.0);
}

TEST(GeMatrix, PlaneTransformations)
{
    VxGeMatrix2d m = VxGeMatrix2d::rotation(kPi / 2, VxGePoint2d{1, 1});
    VxGePoint2d p = m.transform(VxGePoint2d{2, 1});
    EXPECT_TRUE(near(VxGePoint3d{p.x, p.y, 0}, VxGePoint3d{1, 2, 0}));
    VxGePoint2d q = VxGeMatrix2d::mirroring(VxGePoint2d{0, 1}, VxGeVector2d{1, 1}).transform(VxGePoint2d{2, 0});
    EXPECT_TRUE(near(VxGePoint3d{q.x, q.y, 0}, VxGePoint3d{-1, 3, 0}));
    VxGeMatrix2d inverse = m;
    ASSERT_TRUE(inverse.invert());
    EXPECT_TRUE((m * inverse).isEqualTo(VxGeMatrix2d{}));
    VxGeMatrix2d zero = VxGeMatrix2d::scaling(0);
    EXPECT_FALSE(zero.invert());
}

TEST(GePlane, ConstructionDistancesAndIntersections)
{
    VxGePlane plane(VxGePoint3d{0, 0, 1}, VxGePoint3d{1, 0, 1}, VxGePoint3d{0, 1, 1});
    ASSERT_TRUE(plane.isValid());
    EXPECT_TRUE(near(plane.normal(), VxGeVector3d::kZAxis));
    EXPECT_TRUE(near(plane.signedDistanceTo(VxGePoint3d{5, 5, 4}), 3.0));
    EXPECT_TRUE(near(plane.signedDistanceTo(VxGePoint3d{5, 5, -1}), -2.0));
    EXPECT_TRUE(near(plane.closestPointTo(VxGePoint3d{5, 6, 9}), VxGePoint3d{5, 6, 1}));
    double a, b, c, d;
    plane.getCoefficients(a, b, c, d);
    EXPECT_TRUE(near(d, -1.0));
    EXPECT_FALSE((VxGePlane(VxGePoint3d{}, VxGePoint3d{1, 1, 1}, VxGePoint3d{2, 2, 2}).isValid()));
    VxGePlane fromCoefficients(0, 0, 2, -4);
    EXPECT_TRUE(near(fromCoefficients.pointOnPlane(), VxGePoint3d{0, 0, 2}));

    VxGePoint3d point;
    VxGeVector3d direction;
    ASSERT_TRUE(VxGePlane(VxGePoint3d{1, 0, 0}, VxGeVector3d::kXAxis)
                    .intersectWith(VxGePlane(VxGePoint3d{0, 2, 0}, VxGeVector3d::kYAxis), point, direction));
    EXPECT_TRUE(near(point, VxGePoint3d{1, 2, 0}));
    EXPECT_TRUE(direction.isParallelTo(VxGeVector3d::kZAxis));
    EXPECT_FALSE(plane.intersectWith(VxGePlane::kXYPlane, point, direction));
    ASSERT_TRUE((plane.intersectLine(VxGePoint3d{0, 0, 0}, VxGeVector3d{1, 1, 1}, point)));
    EXPECT_TRUE(near(point, VxGePoint3d{1, 1, 1}));
    EXPECT_FALSE((plane.intersectLine(VxGePoint3d{0, 0, 0}, VxGeVector3d{1, 1, 0}, point)));

    VxGePlane moved = plane;
    ASSERT_TRUE(moved.transformBy(VxGeMatrix3d::rotation(kPi / 2, VxGeVector3d::kXAxis)));
    EXPECT_TRUE(near(moved.normal(), VxGeVector3d{0, -1, 0}));
    EXPECT_TRUE(near(moved.signedDistanceTo(VxGePoint3d{0, -1, 0}), 0.0));
    EXPECT_FALSE(moved.transformBy(VxGeMatrix3d::scaling(0)));
}

TEST(GeExtents, GrowTransformAndRejectBadPoints)
{
    VxGeExtents3d box;
    EXPECT_FALSE(box.isValid());
    box.addPoint(VxGePoint3d{std::numeric_limits<double>::quiet_NaN(), 0, 0});
    EXPECT_FALSE(box.isValid());
    box.addPoint(VxGePoint3d{1, 2, 3}).addPoint(VxGePoint3d{-1, 0, 5});
    EXPECT_TRUE(near(box.minPoint(), VxGePoint3d{-1, 0, 3}));
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{1, 2, 5}));
    EXPECT_TRUE((box.contains(VxGePoint3d{0, 1, 4})));
    EXPECT_FALSE((box.contains(VxGePoint3d{0, 1, 6})));
    box.addExt(VxGeExtents3d{});  // an empty box adds nothing
    EXPECT_TRUE(near(box.maxPoint(), VxGePoint3d{1, 2, 5}));

    VxGeExtents3d square(VxGePoint3d{0, 0, 0}, VxGePoint3d{1, 1, 0});
    square.transformBy(VxGeMatrix3d::rotation(kPi / 4, VxGeVector3d::kZAxis));
    EXPECT_TRUE(near(square.minPoint(), VxGePoint3d{-kSqrt2 / 2, 0, 0}));
    EXPECT_TRUE(near(square.maxPoint(), VxGePoint3d{kSqrt2 / 2, kSqrt2, 0}));
    EXPECT_TRUE((square.intersects(VxGeExtents3d(VxGePoint3d{0.5, 1.3, -1}, VxGePoint3d{2, 2, 1}))));
    square.expandBy(-10);
    EXPECT_TRUE(square.isValid());
    EXPECT_TRUE(near(square.size(), VxGeVector3d{}));

    VxGeExtents2d flat;
    flat.addPoint(VxGePoint2d{3, 4}).addPoint(VxGePoint2d{-1, 2});
    EXPECT_TRUE((flat.contains(VxGePoint2d{0, 3})));
    EXPECT_TRUE(near(VxGePoint3d{flat.center().x, flat.center().y, 0}, VxGePoint3d{1, 3, 0}));
    flat.transformBy(VxGeMatrix2d::rotation(kPi / 2));
    EXPECT_TRUE(near(VxGePoint3d{flat.minPoint().x, flat.minPoint().y, 0}, VxGePoint3d{-4, -1, 0}));
    EXPECT_TRUE(near(VxGePoint3d{flat.maxPoint().x, flat.maxPoint().y, 0}, VxGePoint3d{-2, 3, 0}));
}

}  // namespace
}  // namespace kx
