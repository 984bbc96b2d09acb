#pragma once

#include <type_traits>

#include "ge/point.h"

namespace kx {

class VxGePlane;
class VxGeLine3d;

// An affine (or, with a non-trivial last row, projective) transformation of
// 3d space: entry[row][col], row-major, applied to column vectors (x y z 1).
// The default value is the identity. Exactly sixteen doubles.
struct VxGeMatrix3d {
    double entry[4][4] = {{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}};

    static const VxGeMatrix3d kIdentity;

    double operator()(int row, int col) const { return entry[row][col]; }
    double& operator()(int row, int col) { return entry[row][col]; }

    VxGeMatrix3d& setToIdentity();
    VxGeMatrix3d& setToTranslation(const VxGeVector3d& offset);
    // Counter-clockwise by angle (radians) about the axis through center; a
    // zero axis gives the identity.
    VxGeMatrix3d& setToRotation(double angle, const VxGeVector3d& axis, const VxGePoint3d& center = VxGePoint3d{});
    VxGeMatrix3d& setToScaling(double factor, const VxGePoint3d& center = VxGePoint3d{});
    // Independent factors along the world axes, about center.
    VxGeMatrix3d& setToScaling(double sx, double sy, double sz, const VxGePoint3d& center = VxGePoint3d{});
    // Reflection in a plane; an invalid plane gives the identity.
    VxGeMatrix3d& setToMirroring(const VxGePlane& plane);
    // Point reflection through a point.
    VxGeMatrix3d& setToMirroring(const VxGePoint3d& point);
    // Reflection in a line (a half turn about it).
    VxGeMatrix3d& setToMirroring(const VxGeLine3d& line);
    // Maps the world coordinate system onto (origin, xAxis, yAxis, zAxis): a
    // point with coordinates (a, b, c) in that system goes to
    // origin + a xAxis + b yAxis + c zAxis. The axes are taken as given.
    VxGeMatrix3d& setCoordSystem(const VxGePoint3d& origin, const VxGeVector3d& xAxis,
                                 const VxGeVector3d& yAxis, const VxGeVector3d& zAxis);
    void getCoordSystem(VxGePoint3d& origin, VxGeVector3d& xAxis, VxGeVector3d& yAxis, VxGeVector3d& zAxis) const;
    // Maps the first coordinate system onto the second. Fails (identity,
    // false) when the first one is singular.
    bool setToAlignCoordSys(const VxGePoint3d& fromOrigin, const VxGeVector3d& fromX, const VxGeVector3d& fromY,
                            const VxGeVector3d& fromZ, const VxGePoint3d& toOrigin, const VxGeVector3d& toX,
                            const VxGeVector3d& toY, const VxGeVector3d& toZ);
    // The plane coordinate system of a normal (the arbitrary axis rule, the
    // same one the drawing exchange format uses for object coordinates) to the
    // world, and back. A zero normal gives the identity.
    VxGeMatrix3d& setToPlaneToWorld(const VxGeVector3d& normal);
    VxGeMatrix3d& setToWorldToPlane(const VxGeVector3d& normal);
    VxGeMatrix3d& setToPlaneToWorld(const VxGePlane& plane);
    VxGeMatrix3d& setToWorldToPlane(const VxGePlane& plane);
    VxGeMatrix3d& setToProduct(const VxGeMatrix3d& left, const VxGeMatrix3d& right);

    static VxGeMatrix3d translation(const VxGeVector3d& offset) { return VxGeMatrix3d{}.setToTranslation(offset); }
    static VxGeMatrix3d rotation(double angle, const VxGeVector3d& axis, const VxGePoint3d& center = VxGePoint3d{})
    {
        return VxGeMatrix3d{}.setToRotation(angle, axis, center);
    }
    static VxGeMatrix3d scaling(double factor, const VxGePoint3d& center = VxGePoint3d{})
    {
        return VxGeMatrix3d{}.setToScaling(factor, center);
    }
    static VxGeMatrix3d scaling(double sx, double sy, double sz, const VxGePoint3d& center = VxGePoint3d{})
    {
        return VxGeMatrix3d{}.setToScaling(sx, sy, sz, center);
    }
    static VxGeMatrix3d mirroring(const VxGePlane& plane) { return VxGeMatrix3d{}.setToMirroring(plane); }
    static VxGeMatrix3d mirroring(const VxGePoint3d& point) { return VxGeMatrix3d{}.setToMirroring(point); }
    static VxGeMatrix3d mirroring(const VxGeLine3d& line) { return VxGeMatrix3d{}.setToMirroring(line); }
    static VxGeMatrix3d alignCoordSys(const VxGePoint3d& fromOrigin, const VxGeVector3d& fromX,
                                      const VxGeVector3d& fromY, const VxGeVector3d& fromZ,
                                      const VxGePoint3d& toOrigin, const VxGeVector3d& toX, const VxGeVector3d& toY,
                                      const VxGeVector3d& toZ)
    {
        VxGeMatrix3d m;
        m.setToAlignCoordSys(fromOrigin, fromX, fromY, fromZ, toOrigin, toX, toY, toZ);
        return m;
    }
    static VxGeMatrix3d planeToWorld(const VxGeVector3d& normal) { return VxGeMatrix3d{}.setToPlaneToWorld(normal); }
    static VxGeMatrix3d worldToPlane(const VxGeVector3d& normal) { return VxGeMatrix3d{}.setToWorldToPlane(normal); }
    static VxGeMatrix3d planeToWorld(const VxGePlane& plane) { return VxGeMatrix3d{}.setToPlaneToWorld(plane); }
    static VxGeMatrix3d worldToPlane(const VxGePlane& plane) { return VxGeMatrix3d{}.setToWorldToPlane(plane); }

    // this = left * this (the new transformation applies left after this one).
    VxGeMatrix3d& preMultBy(const VxGeMatrix3d& left);
    // this = this * right (right applies first).
    VxGeMatrix3d& postMultBy(const VxGeMatrix3d& right);
    VxGeMatrix3d operator*(const VxGeMatrix3d& right) const;
    VxGeMatrix3d& operator*=(const VxGeMatrix3d& right) { return postMultBy(right); }

    // Inverse; false and no change when the matrix is singular.
    bool invert(double tol = 1e-14);
    bool inverse(VxGeMatrix3d& result, double tol = 1e-14) const;
    VxGeMatrix3d transpose() const;
    VxGeMatrix3d& transposeIt() { return *this = transpose(); }
    double det() const;
    double determinant() const { return det(); }
    bool isSingular(double tol = 1e-14) const;
    bool isIdentity(const VxGeTol& tol = VxGeContext::gTol) const;
    bool isEqualTo(const VxGeMatrix3d& other, const VxGeTol& tol = VxGeContext::gTol) const;
    bool operator==(const VxGeMatrix3d& other) const { return isEqualTo(other); }
    // Last row other than (0 0 0 1).
    bool isPerspective(const VxGeTol& tol = VxGeContext::gTol) const;
    // Rotation, reflection and translation with one common scale factor.
    bool isUniScaledOrtho(const VxGeTol& tol = VxGeContext::gTol) const;
    // Mutually perpendicular axes, each with its own scale.
    bool isScaledOrtho(const VxGeTol& tol = VxGeContext::gTol) const;
    // The largest factor by which the matrix stretches a vector's length
    // along a coordinate axis (the longest column of the linear part).
    double scale() const;
    // Largest absolute entry.
    double norm() const;
    VxGeVector3d translation() const { return {entry[0][3], entry[1][3], entry[2][3]}; }

    VxGePoint3d transform(const VxGePoint3d& p) const;
    VxGeVector3d transform(const VxGeVector3d& v) const;
    VxGePoint3d operator*(const VxGePoint3d& p) const { return transform(p); }
    VxGeVector3d operator*(const VxGeVector3d& v) const { return transform(v); }
    // Transforms a plane normal: the inverse transpose of the linear part,
    // normalised; zero when the matrix is singular.
    VxGeVector3d transformNormal(const VxGeVector3d& normal) const;
};

// A transformation of the plane, entry[row][col] over column vectors (x y 1).
struct VxGeMatrix2d {
    double entry[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};

    VxGeMatrix2d& setToIdentity();
    VxGeMatrix2d& setToTranslation(const VxGeVector2d& offset);
    VxGeMatrix2d& setToRotation(double angle, const VxGePoint2d& center = VxGePoint2d{});
    VxGeMatrix2d& setToScaling(double factor, const VxGePoint2d& center = VxGePoint2d{});
    // Reflection in the line through point along direction; zero direction
    // gives the identity.
    VxGeMatrix2d& setToMirroring(const VxGePoint2d& point, const VxGeVector2d& direction);
    VxGeMatrix2d& postMultBy(const VxGeMatrix2d& right);
    VxGeMatrix2d& preMultBy(const VxGeMatrix2d& left);
    VxGeMatrix2d operator*(const VxGeMatrix2d& right) const;
    double det() const;
    bool invert(double tol = 1e-14);
    bool isEqualTo(const VxGeMatrix2d& other, const VxGeTol& tol = VxGeContext::gTol) const;
    VxGePoint2d transform(const VxGePoint2d& p) const;
    VxGeVector2d transform(const VxGeVector2d& v) const;

    static VxGeMatrix2d translation(const VxGeVector2d& offset) { return VxGeMatrix2d{}.setToTranslation(offset); }
    static VxGeMatrix2d rotation(double angle, const VxGePoint2d& center = VxGePoint2d{})
    {
        return VxGeMatrix2d{}.setToRotation(angle, center);
    }
    static VxGeMatrix2d scaling(double factor, const VxGePoint2d& center = VxGePoint2d{})
    {
        return VxGeMatrix2d{}.setToScaling(factor, center);
    }
    static VxGeMatrix2d mirroring(const VxGePoint2d& point, const VxGeVector2d& direction)
    {
        return VxGeMatrix2d{}.setToMirroring(point, direction);
    }
};

inline constexpr VxGeMatrix3d VxGeMatrix3d::kIdentity{};

static_assert(sizeof(VxGeMatrix3d) == 16 * sizeof(double));
static_assert(std::is_standard_layout_v<VxGeMatrix3d> && std::is_trivially_copyable_v<VxGeMatrix3d>);

}  // namespace kx
