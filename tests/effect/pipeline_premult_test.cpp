// Premultiplication against real arithmetic: every pair of 8 bits, edges and random pairs of 15
// bits, the float rules, and what must stay as it is.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/guarded_raster.h"

namespace {

using zelk::GuardedRaster;

template <class T>
void run(bool divide, GuardedRaster& raster) {
    using C = typename T::Channel;
    using W = typename T::Wide;
    using G = typename T::Weight;
    using F = typename T::FORMAT;
    PluginRaster_Memory_Impl view(raster.info());
    PluginHost_Memory_Impl host(raster.info(), raster.info());
    const auto function = divide ? UnPremult<T, C, W, G, F> : Premult<T, C, W, G, F>;
    EXPECT_EQ(function(T{}, &host, &view), 0);
    EXPECT_TRUE(raster.guardsIntact());
}

struct Pair {
    double alpha, colour;
};

/// One pixel a pair; red, green and blue all hold the colour. The results are checked to agree and
/// alpha to stay.
template <class T>
std::vector<double> colours(std::vector<Pair> const& pairs, bool divide) {
    GuardedRaster raster(T::kFormat, static_cast<int>(pairs.size()), 1);
    raster.paint([&](int x, int, int c) {
        Pair const& pair = pairs[static_cast<std::size_t>(x)];
        return c == T::kAlpha ? pair.alpha : pair.colour;
    });
    const GuardedRaster before = raster;
    run<T>(divide, raster);
    std::vector<double> result;
    for (int x = 0; x < raster.width(); ++x) {
        EXPECT_EQ(raster.get(x, 0, T::kAlpha), before.get(x, 0, T::kAlpha));
        EXPECT_EQ(raster.get(x, 0, T::kRed), raster.get(x, 0, T::kGreen));
        EXPECT_EQ(raster.get(x, 0, T::kRed), raster.get(x, 0, T::kBlue));
        result.push_back(raster.get(x, 0, T::kRed));
    }
    return result;
}

using Values = std::vector<double>;

template <class T>
void expectIntegerRules(std::vector<Pair> const& pairs) {
    const double over = T::kWhite == 255 ? 256 : 32768;
    const Values multiplied = colours<T>(pairs, false), divided = colours<T>(pairs, true);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double a = pairs[i].alpha, c = pairs[i].colour;  // every product is exact in double
        ASSERT_EQ(multiplied[i], std::floor(a * c / over + 0.5)) << a << " times " << c;
        ASSERT_EQ(divided[i], a == 0 ? c : std::min(std::floor(c * T::kWhite / a), 1.0 * T::kWhite))
            << c << " over " << a;
    }
}

TEST(Premult, EightBitsRoundOver256) {
    std::vector<Pair> pairs;
    for (int i = 0; i < 65536; ++i) pairs.push_back({1.0 * (i / 256), 1.0 * (i % 256)});
    expectIntegerRules<PIXEL_ARGB8>(pairs);
    expectIntegerRules<PIXEL_BGRA8>(pairs);
    EXPECT_EQ(colours<PIXEL_ARGB8>({{255, 255}, {128, 255}, {0, 200}}, false),
              (Values{254, 128, 0}));
    EXPECT_EQ(colours<PIXEL_ARGB8>({{0, 77}, {100, 101}, {1, 255}}, true), (Values{77, 255, 255}));
}

TEST(Premult, FifteenBitsAreExactAtWhite) {
    const unsigned seed = 4711;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> any(0, 32768);
    std::vector<Pair> pairs;
    for (const double edge : {0, 1, 2, 16383, 16384, 16385, 32767, 32768})
        for (int c = 0; c <= 32768; c += 7) pairs.push_back({edge, 1.0 * c});
    for (int i = 0; i < 20000; ++i) pairs.push_back({1.0 * any(random), 1.0 * any(random)});
    expectIntegerRules<PIXEL_ARGB15>(pairs);
    // Channels may exceed white; quotients are limited to it.
    EXPECT_EQ(colours<PIXEL_ARGB15>({{32768, 65535}, {65535, 65535}, {0, 40000}}, true),
              (Values{32768, 32768, 40000}));
}

template <class T>
void expectFloatRules() {
    const std::vector<Pair> pairs = {{0.3f, 0.7f}, {1.0f, 0.1f}, {2.0f, 3.0f}, {1e-30f, 0.5f}};
    const Values multiplied = colours<T>(pairs, false), divided = colours<T>(pairs, true);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const float a = static_cast<float>(pairs[i].alpha), c = static_cast<float>(pairs[i].colour);
        EXPECT_EQ(multiplied[i], a * c);
        EXPECT_EQ(divided[i], c / a);
    }
    // No upper limit; no division by nothing or less.
    EXPECT_EQ(colours<T>({{0.5, 4}, {0, 0.25}, {-1, 0.25}}, true), (Values{8, 0.25, 0.25}));
    EXPECT_EQ(colours<T>({{-1, 0.25}, {0, 0.25}}, false), (Values{-0.25, 0}));
}

TEST(Premult, FloatHasNoLimits) {
    expectFloatRules<PIXEL_ARGB32>();
    expectFloatRules<PIXEL_BGRA32>();
}

TEST(Premult, LeavesPaddingAndEmptyRastersAlone) {
    for (const int width : {0, 1, 2, 3, 5, 8, 17, 33})
        for (const int height : {0, 1, 3})
            for (const bool divide : {false, true}) {
                GuardedRaster argb8(kFormatARGB8, width, height, 5);
                GuardedRaster argb15(kFormatARGB15, width, height, 10);
                GuardedRaster bgra32(kFormatBGRA32, width, height, 20);
                run<PIXEL_ARGB8>(divide, argb8);
                run<PIXEL_ARGB15>(divide, argb15);
                run<PIXEL_BGRA32>(divide, bgra32);
            }
}

}  // namespace
