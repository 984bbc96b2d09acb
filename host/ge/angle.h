#pragma once

#include <cmath>
#include <numbers>

namespace kx {

inline constexpr double kPi = std::numbers::pi;
inline constexpr double kTwoPi = 2.0 * std::numbers::pi;
inline constexpr double kHalfPi = 0.5 * std::numbers::pi;

// Maps any finite angle into [0, 2pi). Non-finite input gives 0 so that no
// NaN can leak into stored geometry.
inline double vxgeNormalizeAngle(double angle)
{
    if (!std::isfinite(angle))
        return 0.0;
    double a = std::fmod(angle, kTwoPi);
    if (a < 0.0)
        a += kTwoPi;
    if (a >= kTwoPi)  // fmod of a tiny negative number rounds up to 2pi
        a = 0.0;
    return a;
}

// The counter-clockwise sweep from start to end, in (0, 2pi]; equal angles
// mean a full turn.
inline double vxgeSweep(double startAngle, double endAngle)
{
    double sweep = vxgeNormalizeAngle(endAngle - startAngle);
    return sweep == 0.0 ? kTwoPi : sweep;
}

inline constexpr double vxgeDegreesToRadians(double degrees) { return degrees * (kPi / 180.0); }
inline constexpr double vxgeRadiansToDegrees(double radians) { return radians * (180.0 / kPi); }

}  // namespace kx
