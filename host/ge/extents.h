#pragma once

#include <limits>

#include "ge/point.h"

namespace kx {

struct VxGeMatrix3d;
struct VxGeMatrix2d;

// An axis-aligned box. A new box is empty (invalid) until a point is added.
class VxGeExtents3d {
public:
    VxGeExtents3d() = default;
    // The box spanned by two corners in any order.
    VxGeExtents3d(const VxGePoint3d& corner1, const VxGePoint3d& corner2) { set(corner1, corner2); }

    const VxGePoint3d& minPoint() const { return mMin; }
    const VxGePoint3d& maxPoint() const { return mMax; }
    bool isValid() const { return mMin.x <= mMax.x && mMin.y <= mMax.y && mMin.z <= mMax.z; }
    VxGeExtents3d& set(const VxGePoint3d& corner1, const VxGePoint3d& corner2);
    void reset() { *this = VxGeExtents3d{}; }
    // Non-finite points are ignored: they would poison the box.
    VxGeExtents3d& addPoint(const VxGePoint3d& p);
    VxGeExtents3d& addExt(const VxGeExtents3d& other);
    // Grows every side by margin (a negative margin shrinks, never past empty).
    VxGeExtents3d& expandBy(double margin);
    // The box of the transformed corners; an empty box stays empty.
    VxGeExtents3d& transformBy(const VxGeMatrix3d& m);
    bool contains(const VxGePoint3d& p, const VxGeTol& tol = VxGeContext::gTol) const;
    bool contains(const VxGeExtents3d& other, const VxGeTol& tol = VxGeContext::gTol) const;
    bool intersects(const VxGeExtents3d& other, const VxGeTol& tol = VxGeContext::gTol) const;
    VxGePoint3d center() const;
    VxGeVector3d size() const { return isValid() ? mMax - mMin : VxGeVector3d{}; }
    bool isEqualTo(const VxGeExtents3d& other, const VxGeTol& tol = VxGeContext::gTol) const;

private:
    static constexpr double kHuge = std::numeric_limits<double>::max();
    VxGePoint3d mMin{kHuge, kHuge, kHuge};
    VxGePoint3d mMax{-kHuge, -kHuge, -kHuge};
};

class VxGeExtents2d {
public:
    VxGeExtents2d() = default;
    VxGeExtents2d(const VxGePoint2d& corner1, const VxGePoint2d& corner2) { set(corner1, corner2); }

    const VxGePoint2d& minPoint() const { return mMin; }
    const VxGePoint2d& maxPoint() const { return mMax; }
    bool isValid() const { return mMin.x <= mMax.x && mMin.y <= mMax.y; }
    VxGeExtents2d& set(const VxGePoint2d& corner1, const VxGePoint2d& corner2);
    void reset() { *this = VxGeExtents2d{}; }
    VxGeExtents2d& addPoint(const VxGePoint2d& p);
    VxGeExtents2d& addExt(const VxGeExtents2d& other);
    VxGeExtents2d& expandBy(double margin);
    VxGeExtents2d& transformBy(const VxGeMatrix2d& m);
    bool contains(const VxGePoint2d& p, const VxGeTol& tol = VxGeContext::gTol) const;
    bool intersects(const VxGeExtents2d& other, const VxGeTol& tol = VxGeContext::gTol) const;
    VxGePoint2d center() const;
    bool isEqualTo(const VxGeExtents2d& other, const VxGeTol& tol = VxGeContext::gTol) const;

private:
    static constexpr double kHuge = std::numeric_limits<double>::max();
    VxGePoint2d mMin{kHuge, kHuge};
    VxGePoint2d mMax{-kHuge, -kHuge};
};

}  // namespace kx
