// Kernels by their known values, and the weight table by its invariants.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "Transform/Common/Transform_Core_Render/FilterKernels.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"

namespace {

/// Settings for a filter with its default parameters, and their table.
RenderSettings settingsFor(int filter, int sizeIndex = 0, bool clamp = false) {
    RenderSettings s;
    setKernelTransformSize(&s, sizeIndex, 1.0f);
    setInterpLineFunc(&s, 0.333, 0.333, filter, false, 4, 0, false, 0.333, 0.333, 0, clamp, true);
    return s;
}

// Values by hand: borders of the half-open supports, zeros of the interpolating kernels, known
// points of the curves. 1e-12 covers a few roundings of values below 1.
TEST(Kernels, KnownValues) {
    const struct {
        int filter;
        double x, value;
    } facts[] = {
        // clang-format off
        {0, -0.5, 1}, {0, 0.5, 0}, {1, -1, 0}, {1, 0, 1}, {2, 0.25, 0.75}, {3, 1, 0.125},
        {3, 1.5, 0}, {4, 0.5, 0.5625}, {4, 1.5, -0.0625}, {5, 1.5, 1.0 / 48}, {6, 0.5, 0.5625},
        {7, 1, 0}, {7, 0.5, 0.59375}, {8, 1.5, -0.125}, {9, 0, 2.0 / 3}, {9, 1.5, 1.0 / 48},
        {9, -2, 0}, {10, 0, 1}, {10, 0.5, 8 * std::sqrt(0.5) / (M_PI * M_PI)}, {11, 1, 2 / M_PI},
        {12, 1.5, 2 / M_PI}, {13, 0, std::sqrt(2 / M_PI)}, {14, 0, 1 / std::sqrt(2 * M_PI)},
        {15, 0, M_PI / 4}, {15, 1, 0.2846153431797527 / 2}, {16, 0.5, 2 / M_PI}, {17, 2, 0},
        {17, 3.999999, 1}, {17, 4, 0}, {18, 2, 0.08}, {19, 0, 1}, {19, 2, 0},
        {20, 0, (6 - 0.666) / 6}, {20, 1, 0.333 / 6}, {21, 0, 1},
        {13, 1, std::sqrt(2 / M_PI) / std::exp(2)}, {14, 1, 1 / std::sqrt(2 * M_PI * M_E)},
        // clang-format on
    };
    for (auto const& fact : facts) {
        RenderSettings s = settingsFor(fact.filter);
        EXPECT_NEAR(getInterpLineFunc(fact.filter)(fact.x, &s), fact.value, 1e-12)
            << "filter " << fact.filter << " at " << fact.x;
    }
    for (int const none : {-1, 22}) EXPECT_EQ(getInterpLineFunc(none), nullptr);
}

TEST(Kernels, SplinesPartitionUnityAndKaiserIsTheBesselRatio) {
    for (double x = 0; x < 1; x += 1.0 / 16) {
        for (int const filter : {1, 3, 4, 5, 6, 7, 8, 9, 20}) {
            RenderSettings s = settingsFor(filter);
            double sum = 0;
            for (int k = -2; k <= 2; ++k) sum += getInterpLineFunc(filter)(x + k, &s);
            EXPECT_NEAR(sum, 1.0, 1e-14) << "filter " << filter << " at " << x;
        }
        RenderSettings s;
        setInterpLineFunc(&s, 6.5, 0, kFilterKaiser, false, 4, 0, false, 0, 0, 0, false, false);
        double const alpha = 6.5 * std::sqrt(1 - x * x);
        // The series ends below 1e-7; what is left out is less than twice that, times normaliser.
        EXPECT_NEAR(filter_kaiser(-x, &s),
                    std::cyl_bessel_i(0.0, alpha) / std::cyl_bessel_i(0.0, 6.5), 3e-7);
    }
    EXPECT_EQ(besselI0OfQuarterSquare(std::nan("")), 1.0);
}

TEST(Kernels, SharpenCombinesTwoParameterSets) {
    RenderSettings s, a, b;
    mitchell_init(a.mitchell[0], 1, 0);
    mitchell_init(b.mitchell[0], 0, 0.5);
    for (bool const clamp : {false, true}) {
        for (double const mix : {0.0, 1.0}) {
            setInterpLineFunc(&s, 1, 0, 20, true, 20, mix, clamp, 0, 0.5, 0.25, false, false);
            for (double const x : {0.0, 0.4, 0.6, 1.2}) {
                double const value =
                    filter_mitchell(x, &a) - 0.25 * filter_mitchell((5 - mix * 3.5) * x, &b);
                EXPECT_EQ(s.kernelFunc(x, &s), clamp ? std::max(0.0, value) : value);
            }
        }
    }
}

TEST(WeightTable, TapsFollowSizeAndScale) {
    using Case = std::tuple<int, float, int>;
    for (auto const& [sizeIndex, scale, taps] : {Case{0, 1.0f, 4},
                                                 {0, 0.5f, 4},
                                                 {0, 0.49f, 1},
                                                 {3, 1.0f, 10},
                                                 {7, 1.0f, 10},
                                                 {3, 0.25f, 8},
                                                 {3, 0.0625f, 4},
                                                 {3, 0.06f, 1},
                                                 {1, 0.3f, 4}}) {
        RenderSettings s;
        s.quality = 2;
        setKernelTransformSize(&s, sizeIndex, scale);
        EXPECT_EQ(s.taps, taps) << sizeIndex << " at " << scale;
        EXPECT_EQ(s.quality, taps == 1 ? 0 : 2) << sizeIndex << " at " << scale;
    }
}

// Every filter, every tap count: a row holds the kernel at -1 .. 2 less the row's fraction, scaled
// to a sum of 1 unless the sum is nearly nothing.
TEST(WeightTable, RowsAreTheNormalisedKernel) {
    for (int i = 0; i < kFilterCount * 8; ++i) {
        int const filter = i / 8;
        bool const clamp = i % 2 == 1;
        RenderSettings s = settingsFor(filter, i / 2 % 4, clamp);
        for (int row = 0; row < kLutRows; ++row) {
            double weights[kMaxTaps];
            for (int k = 0; k < s.taps; ++k) {
                double const t = k * (1.0 / (s.taps - 1));
                weights[k] = s.kernelFunc(2 * t - (1 - t) - (row * (1.0 / 255) * 2 - 1), &s);
                if (clamp) weights[k] = std::max(0.0, weights[k]);
            }
            double const sum = std::accumulate(weights, weights + s.taps, 0.0);
            double const scale = std::fabs(sum) < 1e-5 ? 1 : 1 / sum;
            for (int k = 0; k < s.taps; ++k)
                ASSERT_EQ(s.lut[row * s.taps + k], static_cast<float>(weights[k] * scale))
                    << "filter " << filter << " taps " << s.taps << " row " << row << " tap " << k;
        }
    }
}

TEST(SuperSamplePattern, CoversOnePixelWithUnitWeight) {
    RenderSettings s;
    setDefaultSuperSamplePattern(&s);
    auto const sum = [](double const* v) { return std::accumulate(v, v + kSuperSamples, 0.0); };
    EXPECT_NEAR(sum(s.ssWeight), 1, 1e-15);
    for (double const* offsets : {s.ssOffsetX, s.ssOffsetY}) {
        EXPECT_NEAR(sum(offsets), 0, 1e-15);
        EXPECT_LE(*std::max_element(offsets, offsets + kSuperSamples), 0.5);
    }
}

}  // namespace
