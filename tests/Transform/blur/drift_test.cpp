// What running sums lose over a line of 16,000 floats: the tent, the line with two radii, and the
// pyramid's smoothing, which has none.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurLine.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurLines.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

using Raster = PluginRaster_Memory_Impl;

constexpr int kDriftLength = 16000;

/// Four-channel pixels. A bright half with values of every magnitude from 2^-45 to 1, whose sums
/// don't fit into a double, and a dark half about 2^-40, where what the bright one left in the sums
/// isn't hidden by the narrowing to float.
std::vector<float> driftLine() {
    std::mt19937 random(82);
    std::uniform_real_distribution<double> mantissa(0.5, 1.0), exponent(-45.0, 0.0);
    std::vector<float> line(kDriftLength * 4);
    for (std::size_t i = 0; i < line.size(); ++i) {
        const double magnitude = i < line.size() / 2 ? std::exp2(exponent(random)) : 0x1p-40;
        line[i] = float(mantissa(random) * magnitude * (random() % 2 ? 1 : -1));
    }
    return line;
}

/// Beside the narrowing to float. Roundings with |p| <= 1 and u = 2^-53, first order. The start: S
/// by n sums of at most n^2, u n (n + n^2); D by n sums of at most 2 n, u n (2 + 2 n). A step adds
/// to D's error u 7 for its three pixels and u 2 n for the sum, as |D| <= 2 n; S takes D's error
/// and u n^2. After L steps, over n^2, with u 2 for the scale and the product:
///   u (2 + n + 1 + L (2 + 2 / n) + L^2 (7 + 2 n) / (2 n^2) + L)
double driftBound(int radius) {
    const double n = radius + 1, length = kDriftLength;
    return std::ldexp(3 + n + length * (3 + 2 / n) + length * length * (7 + 2 * n) / (2 * n * n),
                      -53);
}

double exactTent(std::vector<double> const& p, int i, int radius) {
    const double n = radius + 1;
    long double sum = 0;
    for (int d = -radius; d <= radius; ++d)
        sum += (n - std::abs(d)) * (long double)(p[std::clamp(i + d, 0, int(p.size()) - 1)]);
    return double(sum / (n * n));
}

std::vector<double> firstChannel(std::vector<float> const& line) {
    std::vector<double> out;
    for (std::size_t i = 0; i < line.size(); i += 4) out.push_back(line[i]);
    return out;
}

TEST(TentLine, DriftOnALongFloatLineIsWithinItsBound) {
    std::vector<float> line = driftLine(), blurred(line.size());
    const std::vector<double> p = firstChannel(line);
    for (int radius : {1, 2, 9, 99, 999}) {
        tentBlurLine<float, 4>({line.data(), 4}, {blurred.data(), 4}, kDriftLength, radius);
        const std::vector<double> out = firstChannel(blurred);
        const double bound = driftBound(radius);
        double worst = 0;  // of the dark half
        for (int i = 0; i < kDriftLength; ++i) {
            const double exact = exactTent(p, i, radius), error = std::fabs(out[i] - exact);
            ASSERT_LE(error, bound + (std::fabs(exact) + bound) * 0x1p-24)
                << "radius " << radius << " at " << i;
            if (i >= kDriftLength / 2 + radius) worst = std::max(worst, error);
        }
        EXPECT_GT(worst, 0x1p-60) << "the line shows no drift: the bound is not tested";
        std::printf("radius %d: drift %.2g, bound %.2g\n", radius, worst, bound);
    }
}

// Two tent lines are mixed, each with its own drift: beside it, four roundings of a float each
// (narrowing, weight, product, sum).
TEST(InterpolatedBlur, DriftOnALongFloatLineIsThatOfItsTents) {
    const std::vector<float> line = driftLine();
    std::vector<double> p;
    for (std::size_t i = 0; i < line.size(); i += 4) p.push_back(line[i]);
    for (int radius : {1, 9, 99}) {
        Raster raster(kFormatARGB32, kDriftLength, 1);
        PluginHost_Memory_Impl host({}, raster.info());
        auto info = raster.info();
        std::copy(line.begin(), line.end(), static_cast<float*>(info.data));
        ASSERT_EQ(interpolatedBlur<float>(&host, info, radius + 0.375, 0, false), 0);
        double worst = 0;
        for (int i = 0; i < kDriftLength; ++i) {
            const double a = 0.625 * exactTent(p, i, radius),
                         b = 0.375 * exactTent(p, i, radius + 1);
            const double error = std::fabs(static_cast<float*>(info.data)[4 * i] - (a + b));
            ASSERT_LE(error,
                      1.001 * driftBound(radius) + 4.01 * 0x1p-24 * (std::fabs(a) + std::fabs(b)))
                << "radius " << radius << " at " << i;
            if (i >= kDriftLength / 2 + radius + 1) worst = std::max(worst, error);
        }
        EXPECT_GT(worst, 0x1p-60) << "the line shows no drift: the bound is not tested";
    }
}

// The pyramid's sums start anew at each pixel: the dark end of a long line is as if it stood alone.
TEST(Gauss, ALongFloatLineLeavesNoDrift) {
    constexpr int kEnd = 64, kFirst = kDriftLength - kEnd;
    std::vector<float> line = driftLine(), end(line.begin() + 4 * kFirst, line.end());
    PluginHost_Memory_Impl host({}, Raster(kFormatARGB32, 1, 1).info());
    ASSERT_TRUE((gauss1<float, 4>(&host, {line.data(), 4 * kDriftLength, kDriftLength, 1})));
    ASSERT_TRUE((gauss1<float, 4>(&host, {end.data(), 4 * kEnd, kEnd, 1})));
    for (std::size_t i = 4; i < end.size(); ++i) ASSERT_EQ(line[4 * kFirst + i], end[i]) << i;
}

}  // namespace
