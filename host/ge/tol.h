#pragma once

namespace kx {

// Tolerances for geometric comparisons: two points are equal when they are
// at most equalPoint apart; two vectors when their difference is at most
// equalVector long (unit vectors: roughly the angle between them).
struct VxGeTol {
    double equalPoint = 1e-10;
    double equalVector = 1e-10;

    double equalPointTol() const { return equalPoint; }
    double equalVectorTol() const { return equalVector; }
    void setEqualPoint(double value) { equalPoint = value; }
    void setEqualVector(double value) { equalVector = value; }
};

struct VxGeContext {
    // The default tolerance of every comparison that is not given one.
    static inline VxGeTol gTol{};
};

}  // namespace kx
