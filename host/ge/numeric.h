#pragma once

// Numeric building blocks of the curve algorithms.

namespace kx {

// Real roots of c[0] + c[1] s + ... + c[degree] s^degree (degree 0 to 4), in
// ascending order, to full precision: the roots of the derivative split the
// line into monotone pieces, each bisected to the last bit. Double roots
// are found only when the polynomial is exactly zero there. Answers the count;
// an identically zero polynomial has none.
int vxgeRealPolyRoots(const double* coefficients, int degree, double* roots);

// The roots in [0, 2pi) of the trigonometric polynomial
// k[0] + k[1] cos t + k[2] sin t + k[3] cos 2t + k[4] sin 2t, ascending.
// Besides the sign changes it reports the extrema where |f| <= touchTol, so
// that tangencies (double roots) are not lost to rounding; callers check
// those against their own geometric tolerance. At most 8 values.
int vxgeTrigPolyRoots(const double k[5], double touchTol, double* roots);

// Value of that trigonometric polynomial and of its derivative.
double vxgeTrigPolyValue(const double k[5], double t);
double vxgeTrigPolyDeriv(const double k[5], double t);

// Carlson's symmetric elliptic integrals RF and RD.
double vxgeCarlsonRF(double x, double y, double z);
double vxgeCarlsonRD(double x, double y, double z);

// The arc length of the ellipse (a cos u, b sin u) from parameter 0 to t, for
// any real t (negative t gives a negative length), a and b not negative.
double vxgeEllipseArcLength(double a, double b, double t);

}  // namespace kx
