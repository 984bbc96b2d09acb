#include "ge/matrix.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ge/curves.h"
#include "ge/plane.h"

namespace kx {

namespace {

constexpr VxGeTol kExact{0.0, 0.0};

// Relative equality of two lengths or factors.
bool nearlyEqual(double a, double b, double tol)
{
    return std::fabs(a - b) <= tol * std::max({1.0, std::fabs(a), std::fabs(b)});
}

void setLinear(VxGeMatrix3d& m, const double r[3][3], const VxGePoint3d& center)
{
    // x' = R (x - c) + c, so the translation is c - R c.
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            m.entry[i][j] = r[i][j];
        m.entry[i][3] = center[i] - (r[i][0] * center.x + r[i][1] * center.y + r[i][2] * center.z);
        m.entry[3][i] = 0.0;
    }
    m.entry[3][3] = 1.0;
}

// The cofactor of element (i, j) of the linear 3x3 part.
double cofactor3(const VxGeMatrix3d& m, int i, int j)
{
    int r0 = (i + 1) % 3, r1 = (i + 2) % 3;
    int c0 = (j + 1) % 3, c1 = (j + 2) % 3;
    return m.entry[r0][c0] * m.entry[r1][c1] - m.entry[r0][c1] * m.entry[r1][c0];
}

}  // namespace

VxGeMatrix3d& VxGeMatrix3d::setToIdentity()
{
    return *this = VxGeMatrix3d{};
}

VxGeMatrix3d& VxGeMatrix3d::setToTranslation(const VxGeVector3d& offset)
{
    setToIdentity();
    entry[0][3] = offset.x;
    entry[1][3] = offset.y;
    entry[2][3] = offset.z;
    return *this;
}

VxGeMatrix3d& VxGeMatrix3d::setToRotation(double angle, const VxGeVector3d& axis, const VxGePoint3d& center)
{
    VxGeVector3d k = axis.normal(kExact);
    if (k.lengthSqrd() == 0.0 || !std::isfinite(angle))
        return setToIdentity();
    double c = std::cos(angle);
    double s = std::sin(angle);
    double t = 1.0 - c;
    // Rodrigues' formula.
    const double r[3][3] = {
        {c + t * k.x * k.x, t * k.x * k.y - s * k.z, t * k.x * k.z + s * k.y},
        {t * k.y * k.x + s * k.z, c + t * k.y * k.y, t * k.y * k.z - s * k.x},
        {t * k.z * k.x - s * k.y, t * k.z * k.y + s * k.x, c + t * k.z * k.z},
    };
    setLinear(*this, r, center);
    return *this;
}

VxGeMatrix3d& VxGeMatrix3d::setToScaling(double factor, const VxGePoint3d& center)
{
    return setToScaling(factor, factor, factor, center);
}

VxGeMatrix3d& VxGeMatrix3d::setToScaling(double sx, double sy, double sz, const VxGePoint3d& center)
{
    const double r[3][3] = {{sx, 0.0, 0.0}, {0.0, sy, 0.0}, {0.0, 0.0, sz}};
    setLinear(*this, r, center);
    return *this;
}

VxGeMatrix3d& VxGeMatrix3d::setToMirroring(const VxGePlane& plane)
{
    if (!plane.isValid())
        return setToIdentity();
    const VxGeVector3d& n = plane.normal();
    const double r[3][3] = {
        {1.0 - 2.0 * n.x * n.x, -2.0 * n.x * n.y, -2.0 * n.x * n.z},
        {-2.0 * n.y * n.x, 1.0 - 2.0 * n.y * n.y, -2.0 * n.y * n.z},
        {-2.0 * n.z * n.x, -2.0 * n.z * n.y, 1.0 - 2.0 * n.z * n.z},
    };
    setLinear(*this, r, plane.pointOnPlane());
    return *this;
}

VxGeMatrix3d& VxGeMatrix3d::setToMirroring(const VxGePoint3d& point)
{
    return setToScaling(-1.0, point);
}

VxGeMatrix3d& VxGeMatrix3d::setToMirroring(const VxGeLine3d& line)
{
    VxGeVector3d d = line.direction();
    if (d.lengthSqrd() == 0.0)
        return setToIdentity();
    const double r[3][3] = {
        {2.0 * d.x * d.x - 1.0, 2.0 * d.x * d.y, 2.0 * d.x * d.z},
        {2.0 * d.y * d.x, 2.0 * d.y * d.y - 1.0, 2.0 * d.y * d.z},
        {2.0 * d.z * d.x, 2.0 * d.z * d.y, 2.0 * d.z * d.z - 1.0},
    };
    setLinear(*this, r, line.pointOnLine());
    return *this;
}

VxGeMatrix3d& VxGeMatrix3d::setCoordSystem(const VxGePoint3d& origin, const VxGeVector3d& xAxis,
                                           const VxGeVector3d& yAxis, const VxGeVector3d& zAxis)
{
    setToIdentity();
    for (int i = 0; i < 3; ++i) {
        entry[i][0] = xAxis[i];
        entry[i][1] = yAxis[i];
        entry[i][2] = zAxis[i];
        entry[i][3] = origin[i];
    }
    return *this;
}

void VxGeMatrix3d::getCoordSystem(VxGePoint3d& origin, VxGeVector3d& xAxis, VxGeVector3d& yAxis,
                                  VxGeVector3d& zAxis) const
{
    for (int i = 0; i < 3; ++i) {
        xAxis[i] = entry[i][0];
        yAxis[i] = entry[i][1];
        zAxis[i] = entry[i][2];
        origin[i] = entry[i][3];
    }
}

bool VxGeMatrix3d::setToAlignCoordSys(const VxGePoint3d& fromOrigin, const VxGeVector3d& fromX,
                                      const VxGeVector3d& fromY, const VxGeVector3d& fromZ,
                                      const VxGePoint3d& toOrigin, const VxGeVector3d& toX, const VxGeVector3d& toY,
                                      const VxGeVector3d& toZ)
{
    VxGeMatrix3d from;
    from.setCoordSystem(fromOrigin, fromX, fromY, fromZ);
    if (!from.invert()) {
        setToIdentity();
        return false;
    }
    VxGeMatrix3d to;
    to.setCoordSystem(toOrigin, toX, toY, toZ);
    setToProduct(to, from);
    return true;
}

VxGeMatrix3d& VxGeMatrix3d::setToPlaneToWorld(const VxGeVector3d& normal)
{
    VxGeVector3d z = normal.normal(kExact);
    if (z.lengthSqrd() == 0.0)
        return setToIdentity();
    VxGeVector3d x = z.perpVector();
    VxGeVector3d y = z.crossProduct(x);
    return setCoordSystem(VxGePoint3d::kOrigin, x, y, z);
}

VxGeMatrix3d& VxGeMatrix3d::setToWorldToPlane(const VxGeVector3d& normal)
{
    // The plane system is orthonormal: its inverse is its transpose.
    setToPlaneToWorld(normal);
    return *this = transpose();
}

VxGeMatrix3d& VxGeMatrix3d::setToPlaneToWorld(const VxGePlane& plane)
{
    if (!plane.isValid())
        return setToIdentity();
    VxGePoint3d origin;
    VxGeVector3d x, y;
    plane.getCoordSystem(origin, x, y);
    return setCoordSystem(origin, x, y, plane.normal());
}

VxGeMatrix3d& VxGeMatrix3d::setToWorldToPlane(const VxGePlane& plane)
{
    setToPlaneToWorld(plane);
    invert();
    return *this;
}

VxGeMatrix3d& VxGeMatrix3d::setToProduct(const VxGeMatrix3d& left, const VxGeMatrix3d& right)
{
    VxGeMatrix3d result;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k)
                sum += left.entry[i][k] * right.entry[k][j];
            result.entry[i][j] = sum;
        }
    return *this = result;
}

VxGeMatrix3d& VxGeMatrix3d::preMultBy(const VxGeMatrix3d& left)
{
    return setToProduct(left, *this);
}

VxGeMatrix3d& VxGeMatrix3d::postMultBy(const VxGeMatrix3d& right)
{
    return setToProduct(*this, right);
}

VxGeMatrix3d VxGeMatrix3d::operator*(const VxGeMatrix3d& right) const
{
    VxGeMatrix3d result;
    result.setToProduct(*this, right);
    return result;
}

bool VxGeMatrix3d::inverse(VxGeMatrix3d& result, double tol) const
{
    // Gauss-Jordan elimination with partial pivoting; a pivot that is small
    // against the largest entry means the matrix is singular.
    // The translation column does not take part in singularity: a pure
    // translation far from the origin is perfectly invertible.
    double scaleRef = std::fabs(entry[3][3]);
    for (const auto& row : entry)
        for (int j = 0; j < 4; ++j) {
            if (!std::isfinite(row[j]))
                return false;
            if (j < 3)
                scaleRef = std::max(scaleRef, std::fabs(row[j]));
        }
    if (scaleRef == 0.0)
        return false;
    double a[4][8];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            a[i][j] = entry[i][j];
            a[i][j + 4] = (i == j) ? 1.0 : 0.0;
        }
    for (int col = 0; col < 4; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 4; ++r)
            if (std::fabs(a[r][col]) > std::fabs(a[pivot][col]))
                pivot = r;
        if (std::fabs(a[pivot][col]) <= tol * scaleRef)
            return false;
        if (pivot != col)
            for (int j = 0; j < 8; ++j)
                std::swap(a[pivot][j], a[col][j]);
        double inv = 1.0 / a[col][col];
        for (int j = 0; j < 8; ++j)
            a[col][j] *= inv;
        for (int r = 0; r < 4; ++r) {
            if (r == col || a[r][col] == 0.0)
                continue;
            double f = a[r][col];
            for (int j = 0; j < 8; ++j)
                a[r][j] -= f * a[col][j];
        }
    }
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            result.entry[i][j] = a[i][j + 4];
    return true;
}

bool VxGeMatrix3d::invert(double tol)
{
    VxGeMatrix3d result;
    if (!inverse(result, tol))
        return false;
    *this = result;
    return true;
}

VxGeMatrix3d VxGeMatrix3d::transpose() const
{
    VxGeMatrix3d t;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            t.entry[i][j] = entry[j][i];
    return t;
}

double VxGeMatrix3d::det() const
{
    // Laplace expansion by 2x2 minors of the top and bottom row pairs.
    const auto& m = entry;
    double s0 = m[0][0] * m[1][1] - m[1][0] * m[0][1];
    double s1 = m[0][0] * m[1][2] - m[1][0] * m[0][2];
    double s2 = m[0][0] * m[1][3] - m[1][0] * m[0][3];
    double s3 = m[0][1] * m[1][2] - m[1][1] * m[0][2];
    double s4 = m[0][1] * m[1][3] - m[1][1] * m[0][3];
    double s5 = m[0][2] * m[1][3] - m[1][2] * m[0][3];
    double c5 = m[2][2] * m[3][3] - m[3][2] * m[2][3];
    double c4 = m[2][1] * m[3][3] - m[3][1] * m[2][3];
    double c3 = m[2][1] * m[3][2] - m[3][1] * m[2][2];
    double c2 = m[2][0] * m[3][3] - m[3][0] * m[2][3];
    double c1 = m[2][0] * m[3][2] - m[3][0] * m[2][2];
    double c0 = m[2][0] * m[3][1] - m[3][0] * m[2][1];
    return s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
}

bool VxGeMatrix3d::isSingular(double tol) const
{
    VxGeMatrix3d unused;
    return !inverse(unused, tol);
}

bool VxGeMatrix3d::isEqualTo(const VxGeMatrix3d& other, const VxGeTol& tol) const
{
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (!(std::fabs(entry[i][j] - other.entry[i][j]) <= tol.equalVector))
                return false;
    return true;
}

bool VxGeMatrix3d::isIdentity(const VxGeTol& tol) const
{
    return isEqualTo(kIdentity, tol);
}

bool VxGeMatrix3d::isPerspective(const VxGeTol& tol) const
{
    return std::fabs(entry[3][0]) > tol.equalVector || std::fabs(entry[3][1]) > tol.equalVector ||
           std::fabs(entry[3][2]) > tol.equalVector || std::fabs(entry[3][3] - 1.0) > tol.equalVector;
}

bool VxGeMatrix3d::isScaledOrtho(const VxGeTol& tol) const
{
    if (isPerspective(tol))
        return false;
    VxGeVector3d c[3];
    for (int j = 0; j < 3; ++j) {
        c[j] = {entry[0][j], entry[1][j], entry[2][j]};
        if (c[j].length() <= tol.equalVector || !std::isfinite(c[j].length()))
            return false;
    }
    for (int i = 0; i < 3; ++i)
        for (int j = i + 1; j < 3; ++j)
            if (std::fabs(c[i].dotProduct(c[j])) > tol.equalVector * c[i].length() * c[j].length())
                return false;
    return true;
}

bool VxGeMatrix3d::isUniScaledOrtho(const VxGeTol& tol) const
{
    if (!isScaledOrtho(tol))
        return false;
    double l0 = VxGeVector3d{entry[0][0], entry[1][0], entry[2][0]}.length();
    double l1 = VxGeVector3d{entry[0][1], entry[1][1], entry[2][1]}.length();
    double l2 = VxGeVector3d{entry[0][2], entry[1][2], entry[2][2]}.length();
    return nearlyEqual(l0, l1, tol.equalVector) && nearlyEqual(l0, l2, tol.equalVector);
}

double VxGeMatrix3d::scale() const
{
    double result = 0.0;
    for (int j = 0; j < 3; ++j)
        result = std::max(result, VxGeVector3d{entry[0][j], entry[1][j], entry[2][j]}.length());
    return result;
}

double VxGeMatrix3d::norm() const
{
    double result = 0.0;
    for (const auto& row : entry)
        for (double v : row)
            result = std::max(result, std::fabs(v));
    return result;
}

VxGePoint3d VxGeMatrix3d::transform(const VxGePoint3d& p) const
{
    VxGePoint3d r;
    for (int i = 0; i < 3; ++i)
        r[i] = entry[i][0] * p.x + entry[i][1] * p.y + entry[i][2] * p.z + entry[i][3];
    double w = entry[3][0] * p.x + entry[3][1] * p.y + entry[3][2] * p.z + entry[3][3];
    if (w != 1.0 && w != 0.0) {
        r.x /= w;
        r.y /= w;
        r.z /= w;
    }
    return r;
}

VxGeVector3d VxGeMatrix3d::transform(const VxGeVector3d& v) const
{
    VxGeVector3d r;
    for (int i = 0; i < 3; ++i)
        r[i] = entry[i][0] * v.x + entry[i][1] * v.y + entry[i][2] * v.z;
    return r;
}

VxGeVector3d VxGeMatrix3d::transformNormal(const VxGeVector3d& normal) const
{
    // The inverse transpose is the cofactor matrix divided by the
    // determinant; only its direction matters here.
    double d = entry[0][0] * cofactor3(*this, 0, 0) + entry[0][1] * cofactor3(*this, 0, 1) +
               entry[0][2] * cofactor3(*this, 0, 2);
    if (d == 0.0 || !std::isfinite(d))
        return {};
    VxGeVector3d r;
    for (int i = 0; i < 3; ++i)
        r[i] = cofactor3(*this, i, 0) * normal.x + cofactor3(*this, i, 1) * normal.y + cofactor3(*this, i, 2) * normal.z;
    if (d < 0.0)
        r = -r;
    return r.normal(kExact);
}

// ---------------------------------------------------------------- 2d

VxGeMatrix2d& VxGeMatrix2d::setToIdentity()
{
    return *this = VxGeMatrix2d{};
}

VxGeMatrix2d& VxGeMatrix2d::setToTranslation(const VxGeVector2d& offset)
{
    setToIdentity();
    entry[0][2] = offset.x;
    entry[1][2] = offset.y;
    return *this;
}

namespace {

void setLinear2d(VxGeMatrix2d& m, double a, double b, double c, double d, const VxGePoint2d& center)
{
    m.setToIdentity();
    m.entry[0][0] = a;
    m.entry[0][1] = b;
    m.entry[1][0] = c;
    m.entry[1][1] = d;
    m.entry[0][2] = center.x - (a * center.x + b * center.y);
    m.entry[1][2] = center.y - (c * center.x + d * center.y);
}

}  // namespace

VxGeMatrix2d& VxGeMatrix2d::setToRotation(double angle, const VxGePoint2d& center)
{
    if (!std::isfinite(angle))
        return setToIdentity();
    double c = std::cos(angle);
    double s = std::sin(angle);
    setLinear2d(*this, c, -s, s, c, center);
    return *this;
}

VxGeMatrix2d& VxGeMatrix2d::setToScaling(double factor, const VxGePoint2d& center)
{
    setLinear2d(*this, factor, 0.0, 0.0, factor, center);
    return *this;
}

VxGeMatrix2d& VxGeMatrix2d::setToMirroring(const VxGePoint2d& point, const VxGeVector2d& direction)
{
    VxGeVector2d d = direction.normal(kExact);
    if (d.lengthSqrd() == 0.0)
        return setToIdentity();
    setLinear2d(*this, 2.0 * d.x * d.x - 1.0, 2.0 * d.x * d.y, 2.0 * d.x * d.y, 2.0 * d.y * d.y - 1.0, point);
    return *this;
}

VxGeMatrix2d VxGeMatrix2d::operator*(const VxGeMatrix2d& right) const
{
    VxGeMatrix2d result;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double sum = 0.0;
            for (int k = 0; k < 3; ++k)
                sum += entry[i][k] * right.entry[k][j];
            result.entry[i][j] = sum;
        }
    return result;
}

VxGeMatrix2d& VxGeMatrix2d::postMultBy(const VxGeMatrix2d& right)
{
    return *this = *this * right;
}

VxGeMatrix2d& VxGeMatrix2d::preMultBy(const VxGeMatrix2d& left)
{
    return *this = left * *this;
}

double VxGeMatrix2d::det() const
{
    const auto& m = entry;
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

bool VxGeMatrix2d::invert(double tol)
{
    double scaleRef = std::fabs(entry[2][2]);
    for (const auto& row : entry)
        for (int j = 0; j < 2; ++j)
            scaleRef = std::max(scaleRef, std::fabs(row[j]));
    double d = det();
    if (scaleRef == 0.0 || !std::isfinite(d) || !std::isfinite(entry[0][2]) || !std::isfinite(entry[1][2]) || std::fabs(d) <= tol * scaleRef * scaleRef * scaleRef)
        return false;
    const auto& m = entry;
    VxGeMatrix2d r;
    r.entry[0][0] = (m[1][1] * m[2][2] - m[1][2] * m[2][1]) / d;
    r.entry[0][1] = (m[0][2] * m[2][1] - m[0][1] * m[2][2]) / d;
    r.entry[0][2] = (m[0][1] * m[1][2] - m[0][2] * m[1][1]) / d;
    r.entry[1][0] = (m[1][2] * m[2][0] - m[1][0] * m[2][2]) / d;
    r.entry[1][1] = (m[0][0] * m[2][2] - m[0][2] * m[2][0]) / d;
    r.entry[1][2] = (m[0][2] * m[1][0] - m[0][0] * m[1][2]) / d;
    r.entry[2][0] = (m[1][0] * m[2][1] - m[1][1] * m[2][0]) / d;
    r.entry[2][1] = (m[0][1] * m[2][0] - m[0][0] * m[2][1]) / d;
    r.entry[2][2] = (m[0][0] * m[1][1] - m[0][1] * m[1][0]) / d;
    *this = r;
    return true;
}

bool VxGeMatrix2d::isEqualTo(const VxGeMatrix2d& other, const VxGeTol& tol) const
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            if (!(std::fabs(entry[i][j] - other.entry[i][j]) <= tol.equalVector))
                return false;
    return true;
}

VxGePoint2d VxGeMatrix2d::transform(const VxGePoint2d& p) const
{
    VxGePoint2d r{entry[0][0] * p.x + entry[0][1] * p.y + entry[0][2], entry[1][0] * p.x + entry[1][1] * p.y + entry[1][2]};
    double w = entry[2][0] * p.x + entry[2][1] * p.y + entry[2][2];
    if (w != 1.0 && w != 0.0) {
        r.x /= w;
        r.y /= w;
    }
    return r;
}

VxGeVector2d VxGeMatrix2d::transform(const VxGeVector2d& v) const
{
    return {entry[0][0] * v.x + entry[0][1] * v.y, entry[1][0] * v.x + entry[1][1] * v.y};
}

}  // namespace kx
