// Transfer modes against a slow reference in double, in all depths and channel orders, and the
// places where coverage or colour run out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/Transform/transfer/transfer_reference.h"
#include "tests/support/guarded_raster.h"

namespace {

using zelk::GuardedRaster;

constexpr unsigned kSeed = 20240917;
constexpr int kModes[] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13,
                          14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 35};

bool isHueKin(int mode) { return mode == 3 || (mode >= 13 && mode <= 16); }

template <class Trait>
using PixelOf = std::array<typename Trait::Channel, 4>;

template <class Trait>
PixelOf<Trait> pixelOf(double a, double r, double g, double b) {
    PixelOf<Trait> p;
    p[Trait::kAlpha] = static_cast<typename Trait::Channel>(a);
    p[Trait::kRed] = static_cast<typename Trait::Channel>(r);
    p[Trait::kGreen] = static_cast<typename Trait::Channel>(g);
    p[Trait::kBlue] = static_cast<typename Trait::Channel>(b);
    return p;
}

template <class Trait>
RefPixel refOf(PixelOf<Trait> const& p) {
    return {{double(p[Trait::kRed]), double(p[Trait::kGreen]), double(p[Trait::kBlue])},
            double(p[Trait::kAlpha])};
}

template <class Trait>
PixelOf<Trait> blended(int mode, PixelOf<Trait> const& f, PixelOf<Trait> const& b,
                       BlendOptions const& options = {}) {
    PixelOf<Trait> out;
    blendRowOfMode<Trait>(mode)(f.data(), b.data(), out.data(), 1, options);
    return out;
}

const auto argb8 = pixelOf<PIXEL_ARGB8>;
const auto argb15 = pixelOf<PIXEL_ARGB15>;
const auto argb32 = pixelOf<PIXEL_ARGB32>;

/// Random pixels of a mode's domain. Integers: everything from 0 to white, often 0, white, and the
/// neighbours of the middle; 15 bits beyond white too. Float: whole 256ths, whose sums and
/// differences are exact, from -0.25 to 1.25. Hue and its kin stay at most white, where their
/// formulas are continuous but for one place: mx + mn = W, which only 8 bits, divided by 255, can
/// miss by a rounding; such a colour is drawn again.
template <class Trait>
class PixelSource {
public:
    PixelSource(std::mt19937& rng, bool hueKin) : m_rng(rng), m_hueKin(hueKin) {}

    PixelOf<Trait> next() {
        for (;;) {
            const double r = colour(), g = colour(), b = colour();
            const double ends = std::max({r, g, b}) + std::min({r, g, b});
            if (!m_hueKin || Trait::kWhite != 255 || ends != 255)
                return pixelOf<Trait>(alpha(), r, g, b);
        }
    }

private:
    static constexpr double kWhite = Trait::kWhite;
    static constexpr double kUnit = Trait::kIsFloat ? 1.0 / 256 : 1.0;
    static constexpr bool kHasHeadroom = Trait::kWhite == 32768;

    double whole(double low, double high) {
        return kUnit * std::uniform_int_distribution<int>(static_cast<int>(low / kUnit),
                                                          static_cast<int>(high / kUnit))(m_rng);
    }
    double colour() {
        const double middle = std::floor(kWhite / 2 / kUnit) * kUnit;
        const int kind = std::uniform_int_distribution<int>(0, 9)(m_rng);
        if (kind < 2) return kind * kWhite;
        if (kind == 2) return whole(middle - kUnit, middle + kUnit);
        if (kind == 3 && Trait::kIsFloat) return whole(-0.25, m_hueKin ? 1 : 1.25);
        return whole(0, kind == 3 && kHasHeadroom && !m_hueKin ? 65535 : kWhite);
    }
    double alpha() {
        const int kind = std::uniform_int_distribution<int>(0, 15)(m_rng);
        if (kind == 0 && kHasHeadroom) return whole(kWhite, 65535);
        return kind < 5 ? 0 : kind < 10 ? kWhite : whole(0, kWhite);
    }

    std::mt19937& m_rng;
    bool m_hueKin;
};

/// How far Synthesise's colour may be from its formula without roundings, channel units.
/// With u = 2^-24 and white 1: a fraction of hue is off by 11u / d at most, d the colour's span
/// (numerator and span 3u each where the channels were divided by 255, and then over d; hue itself
/// 4u), saturation by 4u. So a sector's colour is off by 31u / d and its luma by 34u / d. Scaling
/// divides by that luma, which is at least 0.114 of the channel: 31u/d + 8.8 (4u + 34u/d) + 2u,
/// below 400u / d. Where the division by white is exact the numerators are, and d counts as 1.
template <class Trait>
double hueBound(RefPixel const& f, RefPixel const& b) {
    double d = 1;
    if (Trait::kWhite == 255)
        for (RefColour const& c : {f.c, b.c}) {
            const double span = std::max({c[0], c[1], c[2]}) - std::min({c[0], c[1], c[2]});
            if (span > 0) d = std::min(d, span / 255);
        }
    return 400 * 0x1p-24 / d * Trait::kWhite;
}

/// Integers: the reference is exact and the code has to be, at whatever the nudged truncations of
/// hue and its kin give. Float: a mode has up to 6 operations, coverage 11; each rounds by u of a
/// value of at most 2 M, M the largest of 1, the colours and the mode's result, and coverage's
/// weights add up to 1. 17 * 2 is below 40.
template <class Trait>
void check(int mode, PixelOf<Trait> const& F, PixelOf<Trait> const& B, BlendOptions const& o) {
    const TransferReference reference(Trait::kWhite);
    const RefPixel f = refOf<Trait>(F), b = refOf<Trait>(B);
    const auto alphaOf = [](double alpha, float opacity) {
        const double product = static_cast<float>(alpha) * opacity;
        return Trait::kIsFloat ? product : std::trunc(product);
    };
    const double fa = alphaOf(f.a, o.foregroundOpacity), ba = alphaOf(b.a, o.backgroundOpacity);
    const double nudge = isHueKin(mode) ? hueBound<Trait>(f, b) : 0;
    double slack = 0;
    if (Trait::kIsFloat) {
        double largest = 1.25;
        for (const double c : reference.mix(mode, f.c, b.c))
            largest = std::max(largest, std::fabs(c));
        slack = 40 * 0x1p-24 * largest + nudge;
    }
    const RefPixel low = reference.blend(mode, f, b, fa, ba, -nudge);
    const RefPixel high = reference.blend(mode, f, b, fa, ba, nudge);
    const RefPixel got = refOf<Trait>(blended<Trait>(mode, F, B, o));
    bool fits = std::fabs(got.a - low.a) <= slack;
    for (int i = 0; i < 3; ++i)
        fits = fits && got.c[i] >= low.c[i] - slack && got.c[i] <= high.c[i] + slack;
    using testing::PrintToString;
    ASSERT_TRUE(fits) << "mode " << mode << ", seed " << kSeed << ": " << PrintToString(f.c) << " "
                      << fa << " over " << PrintToString(b.c) << " " << ba << " gave "
                      << PrintToString(got.c) << " " << got.a << ", not " << PrintToString(low.c)
                      << " to " << PrintToString(high.c) << " " << low.a;
}

template <class Trait>
struct EachFormat : testing::Test {};
using Formats = testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;
TYPED_TEST_SUITE(EachFormat, Formats);

TYPED_TEST(EachFormat, AgreesWithFormulasInDouble) {
    for (const int mode : kModes) {
        std::mt19937 rng(kSeed + static_cast<unsigned>(mode));
        PixelSource<TypeParam> pixels(rng, isHueKin(mode));
        for (const float foregroundOpacity : {1.0f, 0.37f, 0.0f})
            for (const float backgroundOpacity : {1.0f, 0.81f, 0.0f})
                for (int i = 0; i < 6000 && !this->HasFatalFailure(); ++i) {
                    const auto f = pixels.next();
                    check<TypeParam>(mode, f, pixels.next(),
                                     {foregroundOpacity, backgroundOpacity});
                }
    }
}

TYPED_TEST(EachFormat, RastersMayCoincideAndPaddingStays) {
    std::mt19937 rng(kSeed);
    std::uniform_int_distribution<int> any(0, TypeParam::kWhite == 1 ? 256 : TypeParam::kWhite);
    const double unit = TypeParam::kIsFloat ? 1.0 / 256 : 1.0;
    GuardedRaster front(TypeParam::kFormat, 13, 7), back(TypeParam::kFormat, 13, 7, 16);
    for (GuardedRaster* raster : {&front, &back})
        raster->paint([&](int, int, int) { return unit * any(rng); });
    for (const int mode : kModes) {
        GuardedRaster apart(TypeParam::kFormat, 13, 7, 48), overFront = front, overBack = back;
        const auto transfer = [mode](GuardedRaster& f, GuardedRaster& b, GuardedRaster& to) {
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

// --- Where coverage or colour run out -----------------------------------------------------------

TEST(TransferModes, KnownColours) {
    for (const int m : kModes) {  // no foreground: the background as it stands
        if (m == 1) continue;
        const auto b8 = argb8(77, 255, 3, 128);
        EXPECT_EQ(blended<PIXEL_ARGB8>(m, argb8(1, 9, 8, 7), b8, {0.99f, 1}), b8);  // truncated
        const auto b32 = argb32(0.5, 3, -2, 0.25);
        EXPECT_EQ(blended<PIXEL_ARGB32>(m, argb32(0, 9, 8, 7), b32), b32);
    }
    // Behind an opaque background: all its channels. 40960 * 0.8 is white.
    EXPECT_EQ(blended<PIXEL_ARGB15>(1, argb15(5, 1, 2, 3), argb15(40960, 50000, 8, 7), {1, 0.8f}),
              argb15(40960, 50000, 8, 7));
    EXPECT_EQ(blended<PIXEL_ARGB8>(12, argb8(255, 10, 20, 30), argb8(255, 200, 2, 30)),
              argb8(255, 190, 18, 0));
    // Dodge: white stays white, and beyond white what it is. Burn: floor at 0, but not in float.
    EXPECT_EQ(blended<PIXEL_ARGB8>(23, argb8(255, 255, 254, 0), argb8(255, 0, 1, 10)),
              argb8(255, 255, 255, 10));
    EXPECT_EQ(blended<PIXEL_ARGB32>(23, argb32(1, 1, 1.5, 0.5), argb32(1, 0.25, 0.25, 0.25)),
              argb32(1, 1, 1.5, 0.5));
    EXPECT_EQ(blended<PIXEL_ARGB8>(24, argb8(255, 0, 100, 100), argb8(255, 255, 255, 10)),
              argb8(255, 0, 255, 0));
    EXPECT_EQ(blended<PIXEL_ARGB32>(24, argb32(1, 0, 0.5, 0.25), argb32(1, 1, 1, 0.5)),
              argb32(1, 0, 1, -1));
}

TEST(TransferModes, GreyCountsAsRedInHue) {
    // Background (1/4, 1/4, 1/2), a blue: d = 1/4, s = 3/4, saturation 1/6. Red at that saturation
    // is 2/3 over 1/3, of luma 0.433; the background's is 0.2785. Tolerance: hueBound.
    const auto redder =
        blended<PIXEL_ARGB32>(13, argb32(1, 0.7, 0.7, 0.7), argb32(1, 0.25, 0.25, 0.5));
    const double k = 0.2785 / 0.433;
    for (std::size_t i = 1; i < 4; ++i)
        EXPECT_NEAR(redder[i], (i == 1 ? 2 : 1) * k / 3, 400 * 0x1p-24);
}

TEST(TransferModes, WildChannelsNeverTrap) {
    // Beyond any picture: a result of some kind, and for integers one within the format.
    const float inf = std::numeric_limits<float>::infinity(), nan = std::nanf("");
    for (const int mode : kModes) {
        for (const float wild : {inf, -inf, nan, 1e30f})
            blended<PIXEL_ARGB32>(mode, argb32(1, wild, 0.5, 0), argb32(wild, 2, 0, wild));
        const auto out =
            blended<PIXEL_ARGB15>(mode, argb15(40000, 65535, 0, 0), argb15(30000, 65535, 65535, 0));
        EXPECT_LE(*std::max_element(out.begin(), out.end()), 32768) << mode;
    }
}

}  // namespace
