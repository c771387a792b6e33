// Premultiplication against real arithmetic: every pair of 8 bits, edges and random pairs of 15
// bits, the float rules, and what must stay as it is.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

using Raster = PluginRaster_Memory_Impl;

template <class T>
int premult(PluginHost_API& host, Raster& raster) {
    return Premult<T, typename T::Channel, typename T::Wide, typename T::Weight,
                   typename T::FORMAT>(T{}, &host, &raster);
}
template <class T>
int unPremult(PluginHost_API& host, Raster& raster) {
    return UnPremult<T, typename T::Channel, typename T::Wide, typename T::Weight,
                     typename T::FORMAT>(T{}, &host, &raster);
}

template <class T>
struct Pair {
    typename T::Channel alpha, colour;
};

/// One pixel a pair; red, green and blue all hold the colour. The results are checked to agree and
/// alpha to stay.
template <class T>
std::vector<typename T::Channel> colours(std::vector<Pair<T>> const& pairs, bool divide) {
    using Channel = typename T::Channel;
    Raster raster(T::kFormat, static_cast<int>(pairs.size()), 1);
    PluginHost_Memory_Impl host(raster.info(), raster.info());
    Channel* row = pixelRow<Channel>(raster.info(), 0);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        std::fill_n(row + 4 * i, 4, pairs[i].colour);
        row[4 * i + T::kAlpha] = pairs[i].alpha;
    }
    EXPECT_EQ(divide ? unPremult<T>(host, raster) : premult<T>(host, raster), 0);
    std::vector<Channel> result;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        Channel const* p = row + 4 * i;
        EXPECT_EQ(p[T::kAlpha], pairs[i].alpha);
        EXPECT_EQ(p[T::kRed], p[T::kGreen]);
        EXPECT_EQ(p[T::kRed], p[T::kBlue]);
        result.push_back(p[T::kRed]);
    }
    return result;
}

template <class T>
void expectIntegerRules(std::vector<Pair<T>> const& pairs) {
    const double over = T::kWhite == 255 ? 256 : 32768;
    const auto multiplied = colours<T>(pairs, false), divided = colours<T>(pairs, true);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const double a = pairs[i].alpha, c = pairs[i].colour;  // every product is exact in double
        ASSERT_EQ(multiplied[i], std::floor(a * c / over + 0.5)) << a << " times " << c;
        ASSERT_EQ(divided[i], a == 0 ? c : std::min(std::floor(c * T::kWhite / a), 1.0 * T::kWhite))
            << c << " over " << a;
    }
}

template <class T>
void expectAllEightBitPairs() {
    std::vector<Pair<T>> pairs;
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c)
            pairs.push_back({static_cast<unsigned char>(a), static_cast<unsigned char>(c)});
    expectIntegerRules<T>(pairs);
    EXPECT_EQ((colours<T>({{255, 255}, {255, 1}, {128, 255}, {0, 200}}, false)),
              (std::vector<unsigned char>{254, 1, 128, 0}));
    EXPECT_EQ((colours<T>({{0, 77}, {100, 101}, {1, 255}}, true)),
              (std::vector<unsigned char>{77, 255, 255}));
}

TEST(Premult, EightBitsRoundOver256) {
    expectAllEightBitPairs<PIXEL_ARGB8>();
    expectAllEightBitPairs<PIXEL_BGRA8>();
}

TEST(Premult, FifteenBitsAreExactAtWhite) {
    const unsigned seed = 4711;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> any(0, 32768);
    std::vector<Pair<PIXEL_ARGB15>> pairs;
    for (const int edge : {0, 1, 2, 16383, 16384, 16385, 32767, 32768}) {
        for (int c = 0; c <= 32768; c += 7)
            pairs.push_back({static_cast<unsigned short>(edge), static_cast<unsigned short>(c)});
    }
    for (int i = 0; i < 20000; ++i)
        pairs.push_back(
            {static_cast<unsigned short>(any(random)), static_cast<unsigned short>(any(random))});
    expectIntegerRules<PIXEL_ARGB15>(pairs);
    EXPECT_EQ((colours<PIXEL_ARGB15>({{32768, 32768}, {16384, 32768}, {0, 9}}, false)),
              (std::vector<unsigned short>{32768, 16384, 0}));
    // Channels may exceed white; quotients are limited to it.
    EXPECT_EQ((colours<PIXEL_ARGB15>({{32768, 65535}, {65535, 65535}, {0, 40000}}, true)),
              (std::vector<unsigned short>{32768, 32768, 40000}));
}

template <class T>
void expectFloatRules() {
    const std::vector<Pair<T>> pairs = {{0.3f, 0.7f}, {1.0f, 0.1f}, {2.0f, 3.0f}, {1e-30f, 0.5f}};
    const auto multiplied = colours<T>(pairs, false), divided = colours<T>(pairs, true);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        EXPECT_EQ(multiplied[i], pairs[i].alpha * pairs[i].colour);
        EXPECT_EQ(divided[i], pairs[i].colour / pairs[i].alpha);
    }
    // No upper limit; no division by nothing or less.
    EXPECT_EQ((colours<T>({{0.5f, 4.0f}, {0.0f, 0.25f}, {-1.0f, 0.25f}}, true)),
              (std::vector<float>{8.0f, 0.25f, 0.25f}));
    EXPECT_EQ((colours<T>({{-1.0f, 0.25f}, {0.0f, 0.25f}}, false)),
              (std::vector<float>{-0.25f, 0.0f}));
}

TEST(Premult, FloatHasNoLimits) {
    expectFloatRules<PIXEL_ARGB32>();
    expectFloatRules<PIXEL_BGRA32>();
}

template <class T>
void expectOnlyPixelsChange(int width, int height) {
    Raster raster(T::kFormat, width, height, 5 * static_cast<int>(sizeof(typename T::Channel)));
    auto* bytes = static_cast<unsigned char*>(raster.info().data);
    const auto size = static_cast<std::size_t>(raster.info().rowBytes * height);
    std::memset(bytes, 0x3c, size);
    PluginHost_Memory_Impl host(raster.info(), raster.info());
    EXPECT_EQ(premult<T>(host, raster), 0);
    EXPECT_EQ(unPremult<T>(host, raster), 0);
    for (std::size_t i = 0; i < size; ++i) {
        const auto x = static_cast<int>(i) % raster.info().rowBytes;
        if (x < width * T::kPixelBytes) continue;
        ASSERT_EQ(bytes[i], 0x3c) << "padding at byte " << i;
    }
}

TEST(Premult, LeavesPaddingAndEmptyRastersAlone) {
    for (const int width : {0, 1, 2, 3, 5, 8, 17, 33}) {
        for (const int height : {0, 1, 3}) {
            expectOnlyPixelsChange<PIXEL_ARGB8>(width, height);
            expectOnlyPixelsChange<PIXEL_BGRA8>(width, height);
            expectOnlyPixelsChange<PIXEL_ARGB15>(width, height);
            expectOnlyPixelsChange<PIXEL_ARGB32>(width, height);
            expectOnlyPixelsChange<PIXEL_BGRA32>(width, height);
        }
    }
}

}  // namespace
