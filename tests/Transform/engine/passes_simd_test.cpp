// The passes over rows, vector code against scalar code on every instruction set of this machine in
// turn, and whole rasters on several threads: no bit may differ. Not a number equals not a number.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/BlurFilter.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurSimd.h"
#include "Transform/Common/Transform_Core_Render/PlateRows.h"
#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "Transform/Common/Transform_Core_Render/ProgressiveBlurFade.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurLines.h"
#include "Transform/Common/Transform_Core_Render/RowPasses.h"
#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "Transform/Common/Transform_Core_Render/ompc.h"
#include "effect/PixelPasses.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/random_quads.h"
#include "tests/support/simd_targets.h"

namespace {

using zelk::Random;
using zelk::same;

constexpr unsigned kSeed = 20261126;

/// Channels often at 0, white, or beside the middle; 16 bits beyond white too, and floats of all
/// kinds, in one row of two.
template <class Trait>
std::vector<typename Trait::Channel> noise(Random& random, int channels) {
    using T = typename Trait::Channel;
    constexpr double kOdd[] = {NAN, INFINITY, -INFINITY, 1e38, -0.0, -0.5};
    constexpr double kWhite = Trait::kWhite, kStep = Trait::kIsFloat ? 0.125 : 1;
    std::vector<T> row(static_cast<std::size_t>(channels));
    bool const isOdd = random.flip();
    for (T& c : row) {
        int const kind = random.integer(0, 9);
        double v = random.uniform(0, kWhite + 0.99 * kStep);
        if (kind < 2) v = kind * kWhite;
        if (kind == 2) v = std::floor(kWhite / 2 / kStep) * kStep + random.integer(-1, 1) * kStep;
        if (kind == 3 && isOdd && Trait::kIsFloat) v = kOdd[random.integer(0, 5)];
        if (kind == 3 && isOdd && kWhite == 32768) v = random.integer(32769, 65535);
        c = static_cast<T>(v);
    }
    return row;
}

/// Rows of 1 to 41 pixels: up to twice the lanes of the widest vectors and more. They start at any
/// channel of their memory and end before the last.
template <class Trait>
struct PassRows : testing::Test {
    using T = typename Trait::Channel;
    Random random{kSeed};
    int width = 0, at = 0;

    template <class Check>
    void onRows(int count, Check check) {
        SCOPED_TRACE(kSeed);
        zelk::onEveryTarget([&] {
            random = Random(kSeed);
            for (int i = 0; i < count && !this->HasFatalFailure(); ++i) {
                width = random.integer(1, 41), at = random.integer(0, 7);
                check();
            }
        });
    }
    std::vector<T> row() { return noise<Trait>(random, at + 4 * width + 5); }
    T* start(std::vector<T>& row) const { return row.data() + at; }

    /// `change(pixels)` in place, by both.
    template <class Scalar, class Vector>
    void compare(char const* what, Scalar scalar, Vector vector) {
        auto want = row(), got = want;
        scalar(start(want)), vector(start(got));
        ASSERT_TRUE(same(want, got)) << what << ", " << width << " pixels";
    }
};
using Traits = testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;
TYPED_TEST_SUITE(PassRows, Traits);

template <class Trait, bool Divides>
void premultiplied(typename Trait::Channel* row, int count) {
    using T = typename Trait::Channel;
    for (int x = 0; x < count; ++x)
        premult_detail::changePixel<Trait, T, Divides>(row + 4 * x, Trait::kAlpha);
}

/// Every byte at each channel under every alpha.
TEST(PremultRows, AllOfEightBitsHaveTheScalarBits) {
    std::vector<unsigned char> all(4 << 16);
    for (unsigned i = 0; i < all.size(); ++i)
        all[i] = static_cast<unsigned char>(i % 4 == 3 ? i >> 10 : (i >> 2) + 85 * (i % 4));
    zelk::onEveryTarget([&] {
        for (bool const divides : {false, true}) {
            auto want = all, got = all;
            divides ? premultiplied<PIXEL_BGRA8, true>(want.data(), 1 << 16)
                    : premultiplied<PIXEL_BGRA8, false>(want.data(), 1 << 16);
            premultRowSimd(got.data(), 1 << 16, PIXEL_BGRA8::kAlpha, divides);
            EXPECT_TRUE(same(want, got)) << divides;
        }
    });
}

TYPED_TEST(PassRows, AlphaMeansAndFadesHaveTheScalarBits) {
    using Channel = typename TypeParam::Channel;
    constexpr int kAlpha = TypeParam::kAlpha;
    this->onRows(300, [this] {
        int const n = this->width;
        auto const share = static_cast<float>(this->random.uniform(0, 1));
        auto const opacity = static_cast<row_pass::AlphaFactor<Channel>>(share * TypeParam::kWhite);
        this->compare(
            "opacity", [=](Channel* p) { row_pass::multiplyAlpha(p, n, kAlpha, opacity); },
            [=](Channel* p) { multiplyAlphaRowSimd(p, n, kAlpha, opacity); });
        this->compare(
            "fade", [=](Channel* p) { row_pass::scale(p, 4 * n, share); },
            [=](Channel* p) { scaleRowSimd(p, 4 * n, share); });
        auto const sample = this->row();
        this->compare(
            "merge", [&](Channel* p) { row_pass::merge(p, sample.data(), 4 * n, share); },
            [&](Channel* p) { mergeRowSimd(p, sample.data(), 4 * n, share); });
        this->compare(
            "premultiply", [=](Channel* p) { premultiplied<TypeParam, false>(p, n); },
            [=](Channel* p) { premultRowSimd(p, n, kAlpha, false); });
        this->compare(
            "divide by alpha", [=](Channel* p) { premultiplied<TypeParam, true>(p, n); },
            [=](Channel* p) { premultRowSimd(p, n, kAlpha, true); });
        if constexpr (TypeParam::kIsFloat)
            this->compare(
                "over a plate",
                [&](Channel* p) { layOverPlateNormallyScalar(p, sample.data(), n, kAlpha); },
                [&](Channel* p) { layOverPlateNormally(p, sample.data(), n, kAlpha); });
    });
}

/// Calls `check.template operator()<Functor>()` for each mode.
template <class Trait, template <class, class, class, class, class> class... Modes, class Check>
void forEachOf(Check check) {
    (check.template operator()<Modes<Trait, typename Trait::Channel, typename Trait::Wide,
                                     typename Trait::Weight, typename Trait::FORMAT>>(),
     ...);
}

TYPED_TEST(PassRows, TransferModesHaveTheScalarBits) {
    this->onRows(600, [this] {
        int const n = this->width;
        auto const opacity = [this] {
            return this->random.flip() ? 1.0f : static_cast<float>(this->random.uniform(-0.1, 1.1));
        };
        const BlendOptions options{opacity(), opacity(), this->random.integer(0, 9) == 0};
        auto const front = this->row(), back = this->row();
        bool const overFront = this->random.flip();
        auto const compareMode = [&]<class Mode>() {
            auto want = overFront ? front : back, got = want;
            auto const blend = [&](auto& to, auto function) {
                auto const* f = overFront ? to.data() : front.data();
                auto const* b = overFront ? back.data() : to.data();
                function(f + this->at, b + this->at, to.data() + this->at, n, options);
            };
            blend(want, blendPixels<TypeParam, Mode>);
            blend(got, blendRow<TypeParam, Mode>);
            ASSERT_TRUE(same(want, got))
                << "mode " << static_cast<int>(Mode::kVector) << ", " << n << " pixels, opacities "
                << options.foregroundOpacity << " and " << options.backgroundOpacity;
        };
        forEachOf<TypeParam, BLEND_BEHIND, BLEND_NORMAL, BLEND_ADD, BLEND_MULTIPLY, BLEND_SCREEN,
                  BLEND_OVERLAY, BLEND_SOFTLIGHT, BLEND_HARDLIGHT, BLEND_DARKEN, BLEND_LIGHTEN,
                  BLEND_DIFFERENCE, BLEND_EXCLUSION, BLEND_COLORDODGE, BLEND_COLORBURN, BLEND_HUE,
                  BLEND_SAT, BLEND_COLOR, BLEND_LUMA>(compareMode);
    });
}

/// Some columns or a row of random length among others, by both; 16 bits also at radii whose sums
/// no longer fit the narrow lanes.
TYPED_TEST(PassRows, BlursHaveTheScalarBits) {
    using Channel = typename TypeParam::Channel;
    this->onRows(150, [this] {
        Random& dice = this->random;
        bool const isLong = dice.integer(0, 9) == 0, isRow = dice.flip();
        int const length = isLong ? dice.integer(420, 520) : dice.integer(1, 60);
        int const radius = isLong ? dice.integer(150, 230) : dice.integer(0, 32);
        int const count = isRow ? 1 : this->width;
        std::ptrdiff_t const step = isRow ? 4 : 4 * count + dice.integer(0, 7);
        auto const source = noise<TypeParam>(dice, static_cast<int>(step) * (length + 1));
        std::vector<Channel> want(source.size(), Channel{7}), got = want;
        const ChannelLine<Channel> from{const_cast<Channel*>(source.data()), step};
        for (int i = 0; i < count; ++i)
            tentBlurLine<Channel, 4>({from.first + 4 * i, step}, {want.data() + 4 * i, step},
                                     length, radius);
        tentBlurLinesSimd<Channel>(from, {got.data(), step}, count, length, radius);
        ASSERT_TRUE(same(want, got)) << count << " of " << length << ", radius " << radius;
        const FractionalRadius mixed(dice.uniform(1, 2));
        for (std::size_t c = 0; c < want.size(); ++c) want[c] = mixed.mix(source[c], want[c]);
        mixRowSimd(source.data(), got.data(), static_cast<int>(got.size()), mixed);
        ASSERT_TRUE(same(want, got)) << "mixed";
    });
}

/// Rasters large enough for a team, through every pass that has bands.
TYPED_TEST(PassRows, ThreadsChangeNothing) {
    using Channel = typename TypeParam::Channel;
    using zelk::GuardedRaster;
    const OmpcThreadScope scope;
    std::vector<GuardedRaster> results;
    for (int const threads : {1, 2, 3, 5}) {
        omp_set_num_threads(threads);
        Random dice(kSeed);
        GuardedRaster a(TypeParam::kFormat, 517, 523, 8), b = a;
        for (GuardedRaster* raster : {&a, &b})
            raster->paint([&](int, int, int) { return dice.uniform(0, TypeParam::kWhite); });
        PluginHost_Memory_Impl host(a.info(), b.info());
        PluginRaster_Memory_Impl first(a.info()), second(b.info());
        auto info = a.info();
        mergeSample<TypeParam>(info, b.info(), 2);
        fadeBorder<TypeParam>(info, 40);
        interpolatedBlur<Channel>(&host, info, 0.5, 4.5, false);
        interpolatedBlur<Channel>(&host, info, 6.5, 0, true);
        transferByMode<TypeParam>(5, &host, 0.75f, 0.9f, &second, &first, &first);
        fractionalRadiusBlur<Channel, 4>(&host, info, 0, {2.25, 1.0, false, -1});
        fadeRows<Channel, 4>(channelPlane<Channel>(info, 0), {0.25f, 1.5f, 0});
        premult_detail::changeColour<TypeParam, Channel>(&host, &first, true);
        multiplyAlpha<TypeParam>(info, 0.3);
        premult_detail::changeColour<TypeParam, Channel>(&host, &first, false);
        EXPECT_TRUE(a.guardsIntact());
        results.push_back(a);
        EXPECT_TRUE(a.samePixels(results.front())) << threads << " threads, seed " << kSeed;
    }
}

}  // namespace
