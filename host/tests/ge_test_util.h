#pragma once

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "ge/point.h"

namespace kx::test {

// Relative agreement: |a - b| <= rel * max(1, |b|) per coordinate.
inline ::testing::AssertionResult near(double actual, double expected, double rel = 1e-12)
{
    if (std::isfinite(actual) && std::fabs(actual - expected) <= rel * std::max(1.0, std::fabs(expected)))
        return ::testing::AssertionSuccess();
    std::ostringstream out;
    out.precision(17);
    out << actual << " differs from " << expected;
    return ::testing::AssertionFailure() << out.str();
}

inline ::testing::AssertionResult near(const VxGePoint3d& actual, const VxGePoint3d& expected, double rel = 1e-12)
{
    double scale = std::max({1.0, std::fabs(expected.x), std::fabs(expected.y), std::fabs(expected.z)});
    double error = std::max({std::fabs(actual.x - expected.x), std::fabs(actual.y - expected.y),
                             std::fabs(actual.z - expected.z)});
    if (error <= rel * scale)
        return ::testing::AssertionSuccess();
    std::ostringstream out;
    out.precision(17);
    out << "(" << actual.x << ", " << actual.y << ", " << actual.z << ") differs from (" << expected.x << ", "
        << expected.y << ", " << expected.z << ")";
    return ::testing::AssertionFailure() << out.str();
}

inline ::testing::AssertionResult near(const VxGeVector3d& actual, const VxGeVector3d& expected, double rel = 1e-12)
{
    return near(VxGePoint3d{actual.x, actual.y, actual.z}, VxGePoint3d{expected.x, expected.y, expected.z}, rel);
}

}  // namespace kx::test
