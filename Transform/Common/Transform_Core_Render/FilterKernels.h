// The reconstruction kernels: one-dimensional functions of a position in source pixels, sampled
// into the weight table. They run only while the table is built, in double.
//
// Kernels are not normalised. filter_mitchell and filter_kaiser read the parameter set that
// RenderSettings::kernelSet selects; the sharpen kernels set it. Half-open supports give 0 outside.
// filter_gaussian, filter_normal, filter_sinc and filter_bessel have no cut-off.
#pragma once

double filter_box(double x, void* settings);        ///< -0.5 <= x < 0.5
double filter_triangle(double x, void* settings);   ///< -1 <= x < 1
double filter_quadratic(double x, void* settings);  ///< -1.5 <= x < 1.5
double filter_cubic(double x, void* settings);      ///< cubic B-spline, -2 <= x < 2
double filter_parzen(double x, void* settings);     ///< -2 <= x < 2; the same curve as filter_cubic
double filter_keys(double x, void* settings);       ///< -2 <= x < 2, interpolating
double filter_simon(double x, void* settings);      ///< -2 <= x < 2
double filter_rifman(double x, void* settings);     ///< -2 <= x < 2, interpolating
double filter_catrom(double x, void* settings);     ///< -2 <= x < 2, interpolating
double filter_mitchell(double x, void* settings);   ///< -2 <= x < 2, by the set's 7 coefficients
double filter_gaussian(double x, void* settings);
double filter_normal(double x, void* settings);
double filter_sinc(double x, void* settings);
double filter_bessel(double x, void* settings);
double filter_hanning(double x, void* settings);   ///< -4 < x < 4: x is halved first
double filter_hamming(double x, void* settings);   ///< -4 < x < 4
double filter_blackman(double x, void* settings);  ///< -4 < x < 4
double filter_lanczos(double x, void* settings);   ///< -2 < x < 2, windowed sinc
double filter_lanczos2(double x, void* settings);  ///< -2 < x < 2, the window alone
double filter_lanczos3(double x, void* settings);  ///< -3 < x < 3, the window alone
/// I0(alpha sqrt(1 - x^2)) / I0(alpha); beyond |x| = 1 the normaliser 1 / I0(alpha).
double filter_kaiser(double x, void* settings);
/// A(x) - sharpenAmount * B(x * sharpenRatio), A with parameter set 1 and B with set 2.
double filter_sharpen_noclamp(double x, void* settings);
/// The same, not below 0.
double filter_sharpen_clamp(double x, void* settings);

/// Modified Bessel function I0 as its power series in q = (argument / 2)^2, summed while the term
/// exceeds 1e-7; 1.0 when q is not above 1e-7 or is not a number.
double besselI0OfQuarterSquare(double q);
