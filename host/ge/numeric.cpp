#include "ge/numeric.h"

#include <algorithm>
#include <cmath>

#include "ge/angle.h"

namespace kx {

namespace {

double horner(const double* c, int degree, double s)
{
    double v = c[degree];
    for (int i = degree - 1; i >= 0; --i)
        v = v * s + c[i];
    return v;
}

// The root of a polynomial that changes sign on [lo, hi].
double bisect(const double* c, int degree, double lo, double hi, double flo)
{
    for (int iteration = 0; iteration < 2200; ++iteration) {
        double mid = 0.5 * (lo + hi);
        if (mid <= lo || mid >= hi)
            break;
        double fmid = horner(c, degree, mid);
        if (fmid == 0.0)
            return mid;
        if ((fmid < 0.0) == (flo < 0.0)) {
            lo = mid;
            flo = fmid;
        } else {
            hi = mid;
        }
    }
    return std::fabs(horner(c, degree, lo)) <= std::fabs(horner(c, degree, hi)) ? lo : hi;
}

}  // namespace

int vxgeRealPolyRoots(const double* coefficients, int degree, double* roots)
{
    if (degree < 0 || degree > 4)
        return 0;
    double c[5] = {0.0, 0.0, 0.0, 0.0, 0.0};
    for (int i = 0; i <= degree; ++i) {
        if (!std::isfinite(coefficients[i]))
            return 0;
        c[i] = coefficients[i];
    }
    while (degree > 0 && c[degree] == 0.0)
        --degree;
    if (degree == 0)
        return 0;
    if (degree == 1) {
        roots[0] = -c[0] / c[1];
        return 1;
    }
    if (degree == 2) {
        double a = c[2], b = c[1], k = c[0];
        double disc = b * b - 4.0 * a * k;
        if (disc < 0.0)
            return 0;
        // The numerically stable pair: no cancellation between b and the root.
        double q = -0.5 * (b + std::copysign(std::sqrt(disc), b));
        if (q == 0.0) {  // b == 0 and k == 0: a double root at zero
            roots[0] = 0.0;
            return 1;
        }
        double r1 = q / a, r2 = k / q;
        roots[0] = std::min(r1, r2);
        roots[1] = std::max(r1, r2);
        return roots[0] == roots[1] ? 1 : 2;
    }

    double derivative[4];
    for (int i = 0; i < degree; ++i)
        derivative[i] = (i + 1) * c[i + 1];
    double critical[4];
    int criticalCount = vxgeRealPolyRoots(derivative, degree - 1, critical);

    // Cauchy's bound: every real root lies within [-bound, bound].
    double bound = 0.0;
    for (int i = 0; i < degree; ++i)
        bound = std::max(bound, std::fabs(c[i] / c[degree]));
    bound += 1.0;
    if (!std::isfinite(bound))
        return 0;

    double breaks[6];
    int breakCount = 0;
    breaks[breakCount++] = -bound;
    for (int i = 0; i < criticalCount; ++i)
        if (critical[i] > -bound && critical[i] < bound)
            breaks[breakCount++] = critical[i];
    breaks[breakCount++] = bound;

    int count = 0;
    auto add = [&](double r) {
        if (count == 0 || r != roots[count - 1])
            roots[count++] = r;
    };
    for (int i = 0; i + 1 < breakCount; ++i) {
        double lo = breaks[i], hi = breaks[i + 1];
        double flo = horner(c, degree, lo);
        double fhi = horner(c, degree, hi);
        if (flo == 0.0)
            add(lo);
        else if (fhi != 0.0 && (flo < 0.0) != (fhi < 0.0))
            add(bisect(c, degree, lo, hi, flo));
    }
    if (horner(c, degree, bound) == 0.0)
        add(bound);
    return count;
}

double vxgeTrigPolyValue(const double k[5], double t)
{
    return k[0] + k[1] * std::cos(t) + k[2] * std::sin(t) + k[3] * std::cos(2.0 * t) + k[4] * std::sin(2.0 * t);
}

double vxgeTrigPolyDeriv(const double k[5], double t)
{
    return -k[1] * std::sin(t) + k[2] * std::cos(t) - 2.0 * k[3] * std::sin(2.0 * t) + 2.0 * k[4] * std::cos(2.0 * t);
}

namespace {

// Sign changes only, through the half-angle substitution s = tan(tau / 2)
// about a base angle t0 chosen where f is far from zero, so that no root
// lies near s = infinity.
int trigSimpleRoots(const double k[5], double* roots)
{
    double scale = 0.0;
    for (int i = 0; i < 5; ++i) {
        if (!std::isfinite(k[i]))
            return 0;
        scale = std::max(scale, std::fabs(k[i]));
    }
    if (scale == 0.0)
        return 0;
    constexpr int kSamples = 16;
    double bestAngle = 0.0, bestValue = -1.0;
    for (int i = 0; i < kSamples; ++i) {
        double t = kTwoPi * i / kSamples;
        double v = std::fabs(vxgeTrigPolyValue(k, t));
        if (v > bestValue) {
            bestValue = v;
            bestAngle = t;
        }
    }
    double t0 = bestAngle - kPi;
    // g(tau) = f(t0 + tau) in the same form.
    double c1 = std::cos(t0), s1 = std::sin(t0), c2 = std::cos(2.0 * t0), s2 = std::sin(2.0 * t0);
    double g0 = k[0];
    double g1 = k[1] * c1 + k[2] * s1;
    double g2 = k[2] * c1 - k[1] * s1;
    double g3 = k[3] * c2 + k[4] * s2;
    double g4 = k[4] * c2 - k[3] * s2;
    // (1 + s^2)^2 g with cos tau = (1 - s^2) / (1 + s^2), sin tau = 2 s / (1 + s^2).
    double quartic[5] = {
        g0 + g1 + g3,
        2.0 * g2 + 4.0 * g4,
        2.0 * g0 - 6.0 * g3,
        2.0 * g2 - 4.0 * g4,
        g0 - g1 + g3,
    };
    double s[4];
    int n = vxgeRealPolyRoots(quartic, 4, s);
    int count = 0;
    for (int i = 0; i < n; ++i) {
        double t = t0 + 2.0 * std::atan(s[i]);
        // One or two Newton steps clean up the rounding of the substitution.
        for (int step = 0; step < 3; ++step) {
            double f = vxgeTrigPolyValue(k, t);
            double d = vxgeTrigPolyDeriv(k, t);
            if (f == 0.0 || d == 0.0)
                break;
            double next = t - f / d;
            if (!(std::fabs(next - t) < 1e-6) || !(std::fabs(vxgeTrigPolyValue(k, next)) < std::fabs(f)))
                break;
            t = next;
        }
        roots[count++] = vxgeNormalizeAngle(t);
    }
    return count;
}

}  // namespace

int vxgeTrigPolyRoots(const double k[5], double touchTol, double* roots)
{
    int count = trigSimpleRoots(k, roots);
    if (touchTol > 0.0) {
        const double derivative[5] = {0.0, k[2], -k[1], 2.0 * k[4], -2.0 * k[3]};
        double extrema[4];
        int n = trigSimpleRoots(derivative, extrema);
        int simpleCount = count;
        for (int i = 0; i < n; ++i) {
            if (!(std::fabs(vxgeTrigPolyValue(k, extrema[i])) <= touchTol))
                continue;
            // An exact double root is already among the sign changes.
            bool known = false;
            for (int j = 0; j < simpleCount; ++j) {
                double gap = std::fabs(roots[j] - extrema[i]);
                known = known || std::min(gap, kTwoPi - gap) <= 1e-12;
            }
            if (!known)
                roots[count++] = extrema[i];
        }
    }
    std::sort(roots, roots + count);
    return count;
}

// Carlson's duplication algorithms; the stopping tolerance gives errors far
// below double precision.
double vxgeCarlsonRF(double x, double y, double z)
{
    constexpr double kErrTol = 0.0008;
    for (int iteration = 0; iteration < 200; ++iteration) {
        double sx = std::sqrt(x), sy = std::sqrt(y), sz = std::sqrt(z);
        double lambda = sx * (sy + sz) + sy * sz;
        x = 0.25 * (x + lambda);
        y = 0.25 * (y + lambda);
        z = 0.25 * (z + lambda);
        double mean = (x + y + z) / 3.0;
        double dx = (mean - x) / mean, dy = (mean - y) / mean, dz = (mean - z) / mean;
        if (std::max({std::fabs(dx), std::fabs(dy), std::fabs(dz)}) < kErrTol) {
            double e2 = dx * dy - dz * dz;
            double e3 = dx * dy * dz;
            return (1.0 + (e2 / 24.0 - 0.1 - 3.0 * e3 / 44.0) * e2 + e3 / 14.0) / std::sqrt(mean);
        }
    }
    return 0.0;
}

double vxgeCarlsonRD(double x, double y, double z)
{
    constexpr double kErrTol = 0.0005;
    double sum = 0.0, factor = 1.0;
    for (int iteration = 0; iteration < 200; ++iteration) {
        double sx = std::sqrt(x), sy = std::sqrt(y), sz = std::sqrt(z);
        double lambda = sx * (sy + sz) + sy * sz;
        sum += factor / (sz * (z + lambda));
        factor *= 0.25;
        x = 0.25 * (x + lambda);
        y = 0.25 * (y + lambda);
        z = 0.25 * (z + lambda);
        double mean = 0.2 * (x + y + 3.0 * z);
        double dx = (mean - x) / mean, dy = (mean - y) / mean, dz = (mean - z) / mean;
        if (std::max({std::fabs(dx), std::fabs(dy), std::fabs(dz)}) < kErrTol) {
            constexpr double c1 = 3.0 / 14.0, c2 = 1.0 / 6.0, c3 = 9.0 / 22.0, c4 = 3.0 / 26.0;
            constexpr double c5 = 0.25 * c3, c6 = 1.5 * c4;
            double ea = dx * dy, eb = dz * dz;
            double ec = ea - eb, ed = ea - 6.0 * eb, ee = ed + ec + ec;
            return 3.0 * sum + factor * (1.0 + ed * (-c1 + c5 * ed - c6 * dz * ee) +
                                         dz * (c2 * ee + dz * (-c3 * ec + dz * c4 * ea))) /
                                   (mean * std::sqrt(mean));
        }
    }
    return 3.0 * sum;
}

namespace {

// E(phi | m) for |phi| <= pi/2 with m = 1 - q, q = (b / a)^2 given directly so
// that nearly flat ellipses keep their precision.
double incompleteE(double phi, double q)
{
    double sn = std::sin(phi), cn = std::cos(phi);
    double m = 1.0 - q;
    double c2 = cn * cn;
    double y = c2 + q * sn * sn;  // 1 - m sin^2
    if (c2 == 0.0 && y == 0.0)
        return sn;  // q == 0 at the end of the quarter: E(pi/2 | 1) = 1
    return sn * vxgeCarlsonRF(c2, y, 1.0) - m * sn * sn * sn * vxgeCarlsonRD(c2, y, 1.0) / 3.0;
}

// E(phi | m) for any real phi, by the quasi-periodicity E(phi + pi) = E(phi) + 2 E(pi/2).
double extendedE(double phi, double q)
{
    double turns = std::nearbyint(phi / kPi);
    double rest = phi - turns * kPi;
    if (turns == 0.0)
        return incompleteE(rest, q);
    return 2.0 * turns * incompleteE(kHalfPi, q) + incompleteE(rest, q);
}

}  // namespace

double vxgeEllipseArcLength(double a, double b, double t)
{
    a = std::fabs(a);
    b = std::fabs(b);
    if (!std::isfinite(a) || !std::isfinite(b) || !std::isfinite(t))
        return 0.0;
    if (a < b)
        // The same curve seen from the other axis: shift by a quarter turn.
        return vxgeEllipseArcLength(b, a, t + kHalfPi) - vxgeEllipseArcLength(b, a, kHalfPi);
    if (a == 0.0)
        return 0.0;
    // |P'(u)| = a sqrt(1 - m cos^2 u); with v = pi/2 - u the length from 0 to
    // t is a (E(pi/2) - E(pi/2 - t)).
    double q = (b / a) * (b / a);
    return a * (extendedE(kHalfPi, q) - extendedE(kHalfPi - t, q));
}

}  // namespace kx
