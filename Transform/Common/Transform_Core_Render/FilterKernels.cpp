// Formulas of the reconstruction kernels, see FilterKernels.h. a stands for |x|.
#include "Transform/Common/Transform_Core_Render/FilterKernels.h"

#include <cmath>

#include "Transform/Common/RenderRecords.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kPiSquared = 9.869604401089358;
constexpr double kSqrtTwoOverPi = 0.7978845608028654;
constexpr double kSqrtTwoPi = 2.5066282746310002;
constexpr double kQuarterPi = 0.7853981633974483;
constexpr double kSmallestTerm = 1e-7;

bool insideHalfOpen(double x, double reach) { return x >= -reach && x < reach; }

/// sin(u) / u for -reach < x < reach with u = pi x / reach: the Lanczos window alone.
double sincWindow(double x, double reach) {
    if (!(x > -reach && x < reach)) return 0.0;
    if (x == 0.0) return 1.0;
    double const u = kPi * x / reach;
    return std::sin(u) / u;
}

/// Both sharpen kernels before the clamp.
double sharpen(double x, void* settings) {
    auto& s = *static_cast<RenderSettings*>(settings);
    s.kernelSet = 1;
    double const a = s.sharpenFuncA(x, settings);
    s.kernelSet = 2;
    double const b = s.sharpenFuncB(x * s.sharpenRatio, settings);
    return a - s.sharpenAmount * b;
}

}  // namespace

double besselI0OfQuarterSquare(double q) {
    if (!(q > kSmallestTerm)) return 1.0;
    double sum = 1.0, term = q;
    int i = 2;
    do {
        sum += term;
        term *= q / (i * i);
        ++i;
    } while (term > kSmallestTerm);
    return sum;
}

double filter_box(double x, void*) { return insideHalfOpen(x, 0.5) ? 1.0 : 0.0; }

double filter_triangle(double x, void*) {
    return insideHalfOpen(x, 1.0) ? 1.0 - std::fabs(x) : 0.0;
}

double filter_quadratic(double x, void*) {
    if (!insideHalfOpen(x, 1.5)) return 0.0;
    double const a = std::fabs(x);
    return a < 0.5 ? 0.75 - x * x : (a - 1.5) * (a - 1.5) / 2.0;
}

double filter_cubic(double x, void*) {
    if (!insideHalfOpen(x, 2.0)) return 0.0;
    double const a = std::fabs(x);
    if (a < 1.0) return (a * a * (3.0 * a - 6.0) + 4.0) / 6.0;
    return (2.0 - a) * (2.0 - a) * (2.0 - a) / 6.0;
}

double filter_parzen(double x, void*) {
    if (!insideHalfOpen(x, 2.0)) return 0.0;
    double const a = std::fabs(x);
    if (a < 1.0) return (3.0 * a * a * a - 6.0 * a * a + 4.0) / 6.0;
    return (-a * a * a + 6.0 * a * a - 12.0 * a + 8.0) / 6.0;
}

double filter_keys(double x, void*) {
    if (!insideHalfOpen(x, 2.0)) return 0.0;
    double const a = std::fabs(x);
    if (a < 1.0) return 1.5 * a * a * a - 2.5 * a * a + 1.0;
    return -0.5 * a * a * a + 2.5 * a * a - 4.0 * a + 2.0;
}

double filter_simon(double x, void*) {
    if (!insideHalfOpen(x, 2.0)) return 0.0;
    double const a = std::fabs(x);
    if (a < 1.0) return 1.25 * a * a * a - 2.25 * a * a + 1.0;
    return -0.75 * a * a * a + 3.75 * a * a - 6.0 * a + 3.0;
}

double filter_rifman(double x, void*) {
    if (!insideHalfOpen(x, 2.0)) return 0.0;
    double const a = std::fabs(x);
    if (a < 1.0) return a * a * a - 2.0 * a * a + 1.0;
    return -a * a * a + 5.0 * a * a - 8.0 * a + 4.0;
}

double filter_catrom(double x, void*) {
    if (!insideHalfOpen(x, 2.0)) return 0.0;
    double const a = std::fabs(x);
    if (a < 1.0) return (a * a * (3.0 * a - 5.0) + 2.0) / 2.0;
    return (((5.0 - a) * a - 8.0) * a + 4.0) / 2.0;
}

double filter_mitchell(double x, void* settings) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    double const* c = s.mitchell[s.kernelSet];
    if (!insideHalfOpen(x, 2.0)) return 0.0;
    double const a = std::fabs(x);
    if (a < 1.0) return a * a * (c[1] + a * c[2]) + c[0];
    return ((a * c[6] + c[5]) * a + c[4]) * a + c[3];
}

double filter_gaussian(double x, void*) { return std::exp(-2.0 * x * x) * kSqrtTwoOverPi; }

double filter_normal(double x, void*) { return std::exp(-x * x / 2.0) / kSqrtTwoPi; }

double filter_sinc(double x, void*) { return x == 0.0 ? 1.0 : std::sin(kPi * x) / (kPi * x); }

double filter_bessel(double x, void*) { return x == 0.0 ? kQuarterPi : ::j1(kPi * x) / (2.0 * x); }

double filter_hanning(double x, void*) {
    double const t = x / 2.0;
    return t > -2.0 && t < 2.0 ? 0.5 + 0.5 * std::cos(kPi * t) : 0.0;
}

double filter_hamming(double x, void*) {
    double const t = x / 2.0;
    return t > -2.0 && t < 2.0 ? 0.54 + 0.46 * std::cos(kPi * t) : 0.0;
}

double filter_blackman(double x, void*) {
    double const t = x / 2.0;
    if (!(t > -2.0 && t < 2.0)) return 0.0;
    return 0.42 + 0.5 * std::cos(kPi * t) + 0.08 * std::cos(2.0 * kPi * t);
}

double filter_lanczos(double x, void*) {
    if (!(x > -2.0 && x < 2.0)) return 0.0;
    if (x == 0.0) return 1.0;
    return 2.0 * std::sin(kPi * x) * std::sin(kPi * x / 2.0) / (kPiSquared * x * x);
}

double filter_lanczos2(double x, void*) { return sincWindow(x, 2.0); }

double filter_lanczos3(double x, void*) { return sincWindow(x, 3.0); }

double filter_kaiser(double x, void* settings) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    double const alpha = s.kaiser[s.kernelSet][0];
    double const normaliser = s.kaiser[s.kernelSet][1];
    double const t = std::sqrt(1.0 - x * x) * alpha;
    return besselI0OfQuarterSquare(t * t * 0.25) * normaliser;
}

double filter_sharpen_noclamp(double x, void* settings) { return sharpen(x, settings); }

double filter_sharpen_clamp(double x, void* settings) {
    double const value = sharpen(x, settings);
    return value > 0.0 ? value : 0.0;
}
