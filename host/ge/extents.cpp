#include "ge/extents.h"

#include <algorithm>
#include <cmath>

#include "ge/matrix.h"

namespace kx {

namespace {

bool isFinite(const VxGePoint3d& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

bool isFinite(const VxGePoint2d& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y);
}

}  // namespace

VxGeExtents3d& VxGeExtents3d::set(const VxGePoint3d& corner1, const VxGePoint3d& corner2)
{
    reset();
    addPoint(corner1);
    addPoint(corner2);
    return *this;
}

VxGeExtents3d& VxGeExtents3d::addPoint(const VxGePoint3d& p)
{
    if (!isFinite(p))
        return *this;
    for (int i = 0; i < 3; ++i) {
        mMin[i] = std::min(mMin[i], p[i]);
        mMax[i] = std::max(mMax[i], p[i]);
    }
    return *this;
}

VxGeExtents3d& VxGeExtents3d::addExt(const VxGeExtents3d& other)
{
    if (other.isValid()) {
        addPoint(other.mMin);
        addPoint(other.mMax);
    }
    return *this;
}

VxGeExtents3d& VxGeExtents3d::expandBy(double margin)
{
    if (!isValid() || !std::isfinite(margin))
        return *this;
    for (int i = 0; i < 3; ++i) {
        double lo = mMin[i] - margin;
        double hi = mMax[i] + margin;
        if (lo > hi)  // shrunk past empty: collapse to the middle
            lo = hi = 0.5 * (mMin[i] + mMax[i]);
        mMin[i] = lo;
        mMax[i] = hi;
    }
    return *this;
}

VxGeExtents3d& VxGeExtents3d::transformBy(const VxGeMatrix3d& m)
{
    if (!isValid())
        return *this;
    VxGeExtents3d result;
    for (int corner = 0; corner < 8; ++corner) {
        VxGePoint3d p{(corner & 1) ? mMax.x : mMin.x, (corner & 2) ? mMax.y : mMin.y, (corner & 4) ? mMax.z : mMin.z};
        result.addPoint(m.transform(p));
    }
    return *this = result;
}

bool VxGeExtents3d::contains(const VxGePoint3d& p, const VxGeTol& tol) const
{
    if (!isValid())
        return false;
    for (int i = 0; i < 3; ++i)
        if (p[i] < mMin[i] - tol.equalPoint || p[i] > mMax[i] + tol.equalPoint)
            return false;
    return true;
}

bool VxGeExtents3d::contains(const VxGeExtents3d& other, const VxGeTol& tol) const
{
    return other.isValid() && contains(other.mMin, tol) && contains(other.mMax, tol);
}

bool VxGeExtents3d::intersects(const VxGeExtents3d& other, const VxGeTol& tol) const
{
    if (!isValid() || !other.isValid())
        return false;
    for (int i = 0; i < 3; ++i)
        if (other.mMax[i] < mMin[i] - tol.equalPoint || other.mMin[i] > mMax[i] + tol.equalPoint)
            return false;
    return true;
}

VxGePoint3d VxGeExtents3d::center() const
{
    if (!isValid())
        return {};
    return {0.5 * (mMin.x + mMax.x), 0.5 * (mMin.y + mMax.y), 0.5 * (mMin.z + mMax.z)};
}

bool VxGeExtents3d::isEqualTo(const VxGeExtents3d& other, const VxGeTol& tol) const
{
    if (!isValid() || !other.isValid())
        return isValid() == other.isValid();
    return mMin.isEqualTo(other.mMin, tol) && mMax.isEqualTo(other.mMax, tol);
}

// ---------------------------------------------------------------- 2d

VxGeExtents2d& VxGeExtents2d::set(const VxGePoint2d& corner1, const VxGePoint2d& corner2)
{
    reset();
    addPoint(corner1);
    addPoint(corner2);
    return *this;
}

VxGeExtents2d& VxGeExtents2d::addPoint(const VxGePoint2d& p)
{
    if (!isFinite(p))
        return *this;
    for (int i = 0; i < 2; ++i) {
        mMin[i] = std::min(mMin[i], p[i]);
        mMax[i] = std::max(mMax[i], p[i]);
    }
    return *this;
}

VxGeExtents2d& VxGeExtents2d::addExt(const VxGeExtents2d& other)
{
    if (other.isValid()) {
        addPoint(other.mMin);
        addPoint(other.mMax);
    }
    return *this;
}

VxGeExtents2d& VxGeExtents2d::expandBy(double margin)
{
    if (!isValid() || !std::isfinite(margin))
        return *this;
    for (int i = 0; i < 2; ++i) {
        double lo = mMin[i] - margin;
        double hi = mMax[i] + margin;
        if (lo > hi)
            lo = hi = 0.5 * (mMin[i] + mMax[i]);
        mMin[i] = lo;
        mMax[i] = hi;
    }
    return *this;
}

VxGeExtents2d& VxGeExtents2d::transformBy(const VxGeMatrix2d& m)
{
    if (!isValid())
        return *this;
    VxGeExtents2d result;
    for (int corner = 0; corner < 4; ++corner)
        result.addPoint(m.transform(VxGePoint2d{(corner & 1) ? mMax.x : mMin.x, (corner & 2) ? mMax.y : mMin.y}));
    return *this = result;
}

bool VxGeExtents2d::contains(const VxGePoint2d& p, const VxGeTol& tol) const
{
    if (!isValid())
        return false;
    for (int i = 0; i < 2; ++i)
        if (p[i] < mMin[i] - tol.equalPoint || p[i] > mMax[i] + tol.equalPoint)
            return false;
    return true;
}

bool VxGeExtents2d::intersects(const VxGeExtents2d& other, const VxGeTol& tol) const
{
    if (!isValid() || !other.isValid())
        return false;
    for (int i = 0; i < 2; ++i)
        if (other.mMax[i] < mMin[i] - tol.equalPoint || other.mMin[i] > mMax[i] + tol.equalPoint)
            return false;
    return true;
}

VxGePoint2d VxGeExtents2d::center() const
{
    if (!isValid())
        return {};
    return {0.5 * (mMin.x + mMax.x), 0.5 * (mMin.y + mMax.y)};
}

bool VxGeExtents2d::isEqualTo(const VxGeExtents2d& other, const VxGeTol& tol) const
{
    if (!isValid() || !other.isValid())
        return isValid() == other.isValid();
    return mMin.isEqualTo(other.mMin, tol) && mMax.isEqualTo(other.mMax, tol);
}

}  // namespace kx
