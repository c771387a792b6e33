// Transfer modes against a slow reference in double, in all depths and channel orders; rasters that
// coincide; channels beyond any picture.
#include <gtest/gtest.h>

#include <random>

#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/Transform/transfer/transfer_reference.h"
#include "tests/support/guarded_raster.h"

namespace {

using testing::PrintToString;
using zelk::GuardedRaster;

constexpr unsigned kSeed = 20240917;
constexpr int kModes[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13,
                          14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 35};

bool isHueKin(int mode) { return mode == 3 || (mode >= 13 && mode <= 16); }

template <class Trait>
RefPixel blended(int mode, RefPixel const& f, RefPixel const& b, BlendOptions const& options = {}) {
    constexpr int kPlaces[] = {Trait::kRed, Trait::kGreen, Trait::kBlue, Trait::kAlpha};
    typename Trait::Channel front[4], back[4], out[4];
    for (int i = 0; i < 4; ++i) {
        front[kPlaces[i]] = static_cast<typename Trait::Channel>(f[i]);
        back[kPlaces[i]] = static_cast<typename Trait::Channel>(b[i]);
    }
    blendRowOfMode<Trait>(mode)(front, back, out, 1, options);
    RefPixel result;
    for (int i = 0; i < 4; ++i) result[i] = out[kPlaces[i]];
    return result;
}

/// A random pixel of a mode's domain. Integers: everything from 0 to white, often 0, white, and the
/// neighbours of the middle; 15 bits beyond white too. Float: whole 256ths, whose sums and
/// differences are exact, from -0.25 to 1.25. Hue and its kin stay at most white, where their
/// formulas are continuous but for one place: mx + mn = W, which only 8 bits, divided by 255, can
/// miss by a rounding; such a colour is drawn again, and one that is nearly grey but not quite.
template <class Trait>
RefPixel randomPixel(std::mt19937& rng, bool hueKin) {
    constexpr bool kHasHeadroom = Trait::kWhite == 32768;
    constexpr double kWhite = Trait::kWhite, kUnit = Trait::kIsFloat ? 1.0 / 256 : 1.0;
    constexpr double kBeyond = Trait::kIsFloat ? 1.25 : kHasHeadroom ? 65535 : kWhite;
    auto const whole = [&rng](double low, double high) {
        return kUnit * std::uniform_int_distribution<int>(static_cast<int>(low / kUnit),
                                                          static_cast<int>(high / kUnit))(rng);
    };
    RefPixel p;
    for (double& v : p) {
        double const middle = std::floor(kWhite / 2 / kUnit) * kUnit;
        auto const kind = rng() % 10;
        v = whole(Trait::kIsFloat ? -0.25 : 0, hueKin ? kWhite : kBeyond);
        if (kind > 3) v = whole(0, kWhite);
        if (kind == 2) v = whole(middle - kUnit, middle + kUnit);
        if (kind < 2) v = kind == 0 ? 0.0 : kWhite;
    }
    auto const kind = rng() % 16;
    if (kind > 0 || !kHasHeadroom) p[3] = kind < 5 ? 0 : kind < 10 ? kWhite : whole(0, kWhite);
    double const mx = std::max({p[0], p[1], p[2]}), mn = std::min({p[0], p[1], p[2]});
    bool const isAwkward = mx + mn == 255 || (mx > mn && mx - mn < 8);
    return hueKin && kWhite == 255 && isAwkward ? randomPixel<Trait>(rng, true) : p;
}

/// Integers: the reference is exact and the code has to be, at whatever the nudged truncations of
/// hue and its kin give. Float: a mode has up to 6 operations, coverage 11; each rounds by u of a
/// value of at most 2 M, M the largest of 1, the colours and the mode's result, and coverage's
/// weights add up to 1. 17 * 2 is below 40.
/// Of hue and its kin, with u = 2^-24, white 1 and d the colour's span: hue is off by 11u / d and
/// saturation by 4u, so a sector's colour by 31u / d and its luma by 34u / d. Scaling divides by a
/// luma of at least 0.114 of the channel: below 400u / d. In 8 bits d is at least 8 / 255; where
/// the division by white is exact it counts as 1.
template <class Trait>
void check(int mode, RefPixel const& f, RefPixel const& b, BlendOptions const& o) {
    constexpr double kWhite = Trait::kWhite;
    const TransferReference reference(kWhite);
    auto const alphaOf = [](double alpha, float opacity) {
        const double product = static_cast<float>(alpha) * opacity;
        return Trait::kIsFloat ? product : std::trunc(product);
    };
    double const fa = alphaOf(f[3], o.foregroundOpacity), ba = alphaOf(b[3], o.backgroundOpacity);
    double const nudge =
        isHueKin(mode) ? 400 * 0x1p-24 * (kWhite == 255 ? 255 * 255 / 8 : kWhite) : 0;
    double largest = 1.25;
    for (double const c : reference.mix(mode, f, b)) largest = std::max(largest, std::fabs(c));
    double const slack = Trait::kIsFloat ? 40 * 0x1p-24 * largest + nudge : 0;
    const RefPixel low = reference.blend(mode, f, b, fa, ba, -nudge);
    const RefPixel high = reference.blend(mode, f, b, fa, ba, nudge);
    const RefPixel got = blended<Trait>(mode, f, b, o);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(got[i] >= low[i] - slack && got[i] <= high[i] + slack)
            << "mode " << mode << ", seed " << kSeed << ": " << PrintToString(f) << ", alpha " << fa
            << " over " << PrintToString(b) << ", alpha " << ba << " gave " << PrintToString(got)
            << ", not " << PrintToString(low) << " to " << PrintToString(high);
}

template <class Trait>
struct EachFormat : testing::Test {};
using Formats = testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;
TYPED_TEST_SUITE(EachFormat, Formats);

TYPED_TEST(EachFormat, AgreesWithFormulasInDouble) {
    for (int const mode : kModes) {
        std::mt19937 rng(kSeed + static_cast<unsigned>(mode));
        for (float const foregroundOpacity : {1.0f, 0.37f, 0.0f})
            for (float const backgroundOpacity : {1.0f, 0.81f, 0.0f})
                for (int i = 0; i < 6000 && !this->HasFatalFailure(); ++i) {
                    auto const f = randomPixel<TypeParam>(rng, isHueKin(mode));
                    auto const b = randomPixel<TypeParam>(rng, isHueKin(mode));
                    check<TypeParam>(mode, f, b, {foregroundOpacity, backgroundOpacity});
                }
    }
}

TYPED_TEST(EachFormat, RastersMayCoincideAndPaddingStays) {
    std::mt19937 rng(kSeed);
    GuardedRaster front(TypeParam::kFormat, 13, 7), back(TypeParam::kFormat, 13, 7, 16);
    for (GuardedRaster* raster : {&front, &back})
        raster->paint([&](int, int, int) { return randomPixel<TypeParam>(rng, false)[0]; });
    for (int const mode : kModes) {
        GuardedRaster apart(TypeParam::kFormat, 13, 7, 48), overFront = front, overBack = back;
        auto const transfer = [mode](GuardedRaster& f, GuardedRaster& b, GuardedRaster& to) {
            PluginHost_Memory_Impl host(f.info(), to.info());
            PluginRaster_Memory_Impl F(f.info()), B(b.info()), T(to.info());
            EXPECT_EQ(transferByMode<TypeParam>(mode, &host, 0.75f, 0.9f, &F, &B, &T), 0);
            EXPECT_TRUE(to.guardsIntact()) << mode;
        };
        transfer(front, back, apart);
        transfer(overFront, back, overFront);
        transfer(front, overBack, overBack);
        EXPECT_TRUE(apart.samePixels(overFront) && apart.samePixels(overBack)) << mode;
    }
}

TEST(TransferModes, BeyondAnyPicture) {
    // An alpha above white that opacity brings to white: Behind gives all of the background.
    EXPECT_EQ(blended<PIXEL_ARGB15>(1, {1, 2, 3, 5}, {50000, 8, 7, 40960}, {1, 0.8f}),
              (RefPixel{50000, 8, 7, 40960}));
    // Wild channels never trap: a result of some kind, and for integers one within the format.
    for (int const mode : kModes) {
        for (double const wild : {HUGE_VAL, -HUGE_VAL, std::nan(""), 1e30})
            blended<PIXEL_ARGB32>(mode, {wild, 0.5, 0, 1}, {2, 0, wild, wild});
        const RefPixel out =
            blended<PIXEL_ARGB15>(mode, {65535, 0, 0, 40000}, {65535, 65535, 0, 30000});
        EXPECT_LE(*std::max_element(out.begin(), out.end()), 32768) << mode;
    }
}

}  // namespace
