// Transfer modes against a slow reference in double, in all depths and channel orders, and the
// places where coverage or colour run out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/Transform/transfer/transfer_reference.h"

namespace {

using Raster = PluginRaster_Memory_Impl;

constexpr unsigned kSeed = 20240917;

struct NamedMode {
    int number;
    char const* name;
};
constexpr NamedMode kModes[] = {
    {1, "Behind"},      {2, "Normal"},       {4, "Add"},         {5, "Multiply"},
    {6, "Screen"},      {7, "Overlay"},      {8, "Soft Light"},  {9, "Hard Light"},
    {10, "Darken"},     {11, "Lighten"},     {12, "Difference"}, {13, "Hue"},
    {3, "Hue (3)"},     {14, "Saturation"},  {15, "Color"},      {16, "Luminosity"},
    {25, "Exclusion"},  {17, "Excl. (17)"},  {18, "Excl. (18)"}, {19, "Excl. (19)"},
    {20, "Excl. (20)"}, {21, "Excl. (21)"},  {22, "Excl. (22)"}, {23, "Color Dodge"},
    {24, "Color Burn"}, {35, "Screen (35)"},
};
constexpr int kBehind = 1;

bool isHueKin(int mode) { return mode == 3 || (mode >= 13 && mode <= 16); }

// --- Pixels -------------------------------------------------------------------------------------

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
        switch (std::uniform_int_distribution<int>(0, 9)(m_rng)) {
            case 0:
                return 0;
            case 1:
                return kWhite;
            case 2:
                return whole(middle - kUnit, middle + kUnit);
            case 3:
                if (Trait::kIsFloat) return whole(-0.25, m_hueKin ? 1 : 1.25);
                return kHasHeadroom && !m_hueKin ? whole(0, 65535) : whole(0, kWhite);
            default:
                return whole(0, kWhite);
        }
    }
    double alpha() {
        const int kind = std::uniform_int_distribution<int>(0, 15)(m_rng);
        if (kind == 0 && kHasHeadroom) return whole(kWhite, 65535);
        return kind < 5 ? 0 : kind < 10 ? kWhite : whole(0, kWhite);
    }

    std::mt19937& m_rng;
    bool m_hueKin;
};

// --- Reference against code ---------------------------------------------------------------------

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

struct Difference {
    double largest = 0;   // from the reference
    int beyondBound = 0;  // pixels that no allowed rounding explains
    std::string first;    // of those
};

template <class Trait>
class Comparison {
public:
    Comparison(int mode, float foregroundOpacity, float backgroundOpacity)
        : m_mode(mode), m_options{foregroundOpacity, backgroundOpacity} {}

    void check(PixelOf<Trait> const& F, PixelOf<Trait> const& B, Difference& into) const {
        PixelOf<Trait> got;
        blendRowOfMode<Trait>(m_mode)(F.data(), B.data(), got.data(), 1, m_options);
        const RefPixel f = refOf<Trait>(F), b = refOf<Trait>(B), r = refOf<Trait>(got);
        const double fa = alphaOf(f.a, m_options.foregroundOpacity);
        const double ba = alphaOf(b.a, m_options.backgroundOpacity);
        const TransferReference reference(Trait::kWhite);
        const double nudge = isHueKin(m_mode) ? hueBound<Trait>(f, b) : 0;
        const RefPixel want = reference.blend(m_mode, f, b, fa, ba);
        const RefPixel low = reference.blend(m_mode, f, b, fa, ba, -nudge);
        const RefPixel high = reference.blend(m_mode, f, b, fa, ba, nudge);
        const double slack = roundings(reference, f, b) + (Trait::kIsFloat ? nudge : 0);
        bool fits = std::fabs(r.a - want.a) <= slack;
        into.largest = std::max(into.largest, std::fabs(r.a - want.a));
        for (int i = 0; i < 3; ++i) {
            fits = fits && r.c[i] >= low.c[i] - slack && r.c[i] <= high.c[i] + slack;
            into.largest = std::max(into.largest, std::fabs(r.c[i] - want.c[i]));
        }
        if (!fits && into.beyondBound++ == 0) into.first = text(f, b, fa, ba, r, want);
    }

private:
    static double alphaOf(double alpha, float opacity) {
        const double product = static_cast<float>(alpha) * opacity;
        return Trait::kIsFloat ? product : std::trunc(product);
    }

    /// Integers: the reference is exact and the code has to be, at whatever the nudged truncations
    /// of hue and its kin give. Float: a mode has up to 6 operations, coverage 11; each rounds by u
    /// of a value of at most 2 M, M the largest of 1, the colours and the mode's result, and
    /// coverage's weights add up to 1. 17 * 2 is below 40.
    double roundings(TransferReference const& reference, RefPixel const& f,
                     RefPixel const& b) const {
        if (!Trait::kIsFloat) return 0;
        double m = 1.25;
        for (const double c : reference.mix(m_mode, f.c, b.c)) m = std::max(m, std::fabs(c));
        return 40 * 0x1p-24 * m;
    }

    static std::string text(RefPixel const& f, RefPixel const& b, double fa, double ba,
                            RefPixel const& got, RefPixel const& want) {
        char line[400];
        std::snprintf(line, sizeof line,
                      "f %.9g %.9g %.9g (%.9g)  b %.9g %.9g %.9g (%.9g)  got %.9g %.9g %.9g (%.9g)"
                      "  want %.9g %.9g %.9g (%.9g)",
                      f.c[0], f.c[1], f.c[2], fa, b.c[0], b.c[1], b.c[2], ba, got.c[0], got.c[1],
                      got.c[2], got.a, want.c[0], want.c[1], want.c[2], want.a);
        return line;
    }

    int m_mode;
    BlendOptions m_options;
};

template <class Trait>
Difference differenceOf(int mode) {
    std::mt19937 rng(kSeed + static_cast<unsigned>(mode));
    PixelSource<Trait> pixels(rng, isHueKin(mode));
    Difference difference;
    for (const float foregroundOpacity : {1.0f, 0.37f, 0.0f})
        for (const float backgroundOpacity : {1.0f, 0.81f, 0.0f}) {
            const Comparison<Trait> comparison(mode, foregroundOpacity, backgroundOpacity);
            for (int i = 0; i < 6000; ++i) {
                const PixelOf<Trait> f = pixels.next();
                comparison.check(f, pixels.next(), difference);
            }
        }
    return difference;
}

TEST(TransferModes, AgreeWithFormulasInDouble) {
    std::printf("Largest difference by mode and depth, seed %u; integers in channel units\n",
                kSeed);
    std::printf("%-12s %7s %7s %7s %9s %9s\n", "", "ARGB8", "BGRA8", "ARGB15", "ARGB32", "BGRA32");
    for (NamedMode const& mode : kModes) {
        const Difference all[] = {
            differenceOf<PIXEL_ARGB8>(mode.number), differenceOf<PIXEL_BGRA8>(mode.number),
            differenceOf<PIXEL_ARGB15>(mode.number), differenceOf<PIXEL_ARGB32>(mode.number),
            differenceOf<PIXEL_BGRA32>(mode.number)};
        std::printf("%-12s %7g %7g %7g %9.1e %9.1e\n", mode.name, all[0].largest, all[1].largest,
                    all[2].largest, all[3].largest, all[4].largest);
        for (Difference const& d : all)
            EXPECT_EQ(d.beyondBound, 0) << mode.name << ", first of them: " << d.first;
    }
}

// --- Through a host -----------------------------------------------------------------------------

template <class Trait>
struct EachFormat : testing::Test {};
using Formats = testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;
TYPED_TEST_SUITE(EachFormat, Formats);

constexpr int kWidth = 13, kHeight = 7;

/// A raster of random pixels; what follows its rows is 0x5A.
template <class Trait>
std::unique_ptr<Raster> randomRaster(std::mt19937& rng, int rowPaddingBytes) {
    auto raster = std::make_unique<Raster>(Trait::kFormat, kWidth, kHeight, rowPaddingBytes);
    PixelSource<Trait> pixels(rng, true);
    for (int y = 0; y < kHeight; ++y) {
        std::memset(raster->pixel(0, y), 0x5A, static_cast<std::size_t>(raster->getRowBytes()));
        for (int x = 0; x < kWidth; ++x) {
            const PixelOf<Trait> p = pixels.next();
            std::memcpy(raster->pixel(x, y), p.data(), sizeof p);
        }
    }
    return raster;
}

/// Rows with what follows them.
std::string bytesOf(Raster const& raster) {
    return {reinterpret_cast<char const*>(raster.info().data),
            static_cast<std::size_t>(raster.info().rowBytes) * kHeight};
}

template <class Trait>
std::string pixelsOf(Raster const& raster) {
    std::string all;
    for (int y = 0; y < kHeight; ++y)
        all.append(reinterpret_cast<char const*>(raster.pixel(0, y)),
                   std::size_t{kWidth} * Trait::kPixelBytes);
    return all;
}

/// The three rasters of a transfer, each with a row length of its own.
template <class Trait>
struct Scene {
    explicit Scene(unsigned seed) : rng(seed) {}
    std::mt19937 rng;
    std::unique_ptr<Raster> front = randomRaster<Trait>(rng, 0);
    std::unique_ptr<Raster> back = randomRaster<Trait>(rng, 16);
    std::unique_ptr<Raster> result = randomRaster<Trait>(rng, 48);
    PluginHost_Memory_Impl host{front->info(), result->info()};

    int transfer(int mode, Raster& foreground, Raster& background, Raster& destination) {
        return transferByMode<Trait>(mode, &host, 0.75f, 0.9f, &foreground, &background,
                                     &destination);
    }
};

TYPED_TEST(EachFormat, RastersMayCoincideAndPaddingStays) {
    for (NamedMode const& mode : kModes) {
        Scene<TypeParam> apart(kSeed), overFront(kSeed), overBack(kSeed);
        ASSERT_EQ(apart.transfer(mode.number, *apart.front, *apart.back, *apart.result), 0);
        overFront.transfer(mode.number, *overFront.front, *overFront.back, *overFront.front);
        overBack.transfer(mode.number, *overBack.front, *overBack.back, *overBack.back);
        const std::string want = pixelsOf<TypeParam>(*apart.result);
        EXPECT_EQ(pixelsOf<TypeParam>(*overFront.front), want) << mode.name;
        EXPECT_EQ(pixelsOf<TypeParam>(*overBack.back), want) << mode.name;
        for (int y = 0; y < kHeight; ++y) {
            auto const* after = apart.result->pixel(0, y) + kWidth * TypeParam::kPixelBytes;
            EXPECT_EQ(std::string(after, after + 48), std::string(48, 0x5A)) << mode.name;
        }
        // The same pixels without a host, row by row.
        Scene<TypeParam> rows(kSeed);
        blendRasters<TypeParam>(rows.front->info(), rows.back->info(), rows.result->info(),
                                {0.75f, 0.9f}, blendRowOfMode<TypeParam>(mode.number));
        EXPECT_EQ(bytesOf(*rows.result), bytesOf(*apart.result)) << mode.name;
    }
}

// --- Where coverage or colour run out -----------------------------------------------------------

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

TEST(TransferModes, ForegroundWithoutCoverageLeavesTheBackgroundAsItStands) {
    for (NamedMode const& mode : kModes) {
        if (mode.number == kBehind) continue;
        const int m = mode.number;
        EXPECT_EQ(blended<PIXEL_ARGB8>(m, argb8(0, 9, 8, 7), argb8(77, 255, 3, 128)),
                  argb8(77, 255, 3, 128));
        EXPECT_EQ(blended<PIXEL_ARGB8>(m, argb8(1, 9, 8, 7), argb8(77, 255, 3, 128), {0.99f, 1}),
                  argb8(77, 255, 3, 128));  // 0.99 is truncated
        EXPECT_EQ(blended<PIXEL_ARGB15>(m, argb15(0, 9, 8, 7), argb15(5, 65535, 3, 40000)),
                  argb15(5, 65535, 3, 40000));
        EXPECT_EQ(blended<PIXEL_ARGB32>(m, argb32(0, 9, 8, 7), argb32(0.5, 3, -2, 0.25)),
                  argb32(0.5, 3, -2, 0.25));
    }
}

TEST(TransferModes, BehindKeepsTheCoveringLayerAsItStands) {
    // No background: the foreground, its alpha with opacity. Opaque background: all its channels.
    EXPECT_EQ(blended<PIXEL_ARGB32>(1, argb32(0.5, -1, 2, 3), argb32(0, 1, 1, 1), {0.5f, 1}),
              argb32(0.25, -1, 2, 3));
    EXPECT_EQ(blended<PIXEL_ARGB8>(1, argb8(128, 1, 2, 3), argb8(255, 9, 8, 7)),
              argb8(255, 9, 8, 7));
    EXPECT_EQ(blended<PIXEL_ARGB15>(1, argb15(5, 1, 2, 3), argb15(40960, 50000, 8, 7), {1, 0.8f}),
              argb15(40960, 50000, 8, 7));  // 40960 * 0.8 is white
}

TEST(TransferModes, DodgeAndBurnAtTheEndsOfTheirRange) {
    // Dodge: white stays white, float beyond white stays what it is.
    EXPECT_EQ(blended<PIXEL_ARGB8>(23, argb8(255, 255, 254, 0), argb8(255, 0, 1, 10)),
              argb8(255, 255, 255, 10));
    EXPECT_EQ(blended<PIXEL_ARGB32>(23, argb32(1, 1, 1.5, 0.5), argb32(1, 0.25, 0.25, 0.25)),
              argb32(1, 1, 1.5, 0.5));
    // 15 bits: 2^30 on the way, under partial alphas of either side.
    for (const int fa : {1, 16384, 32767})
        for (const int ba : {16384, 32768})
            EXPECT_EQ(
                blended<PIXEL_ARGB15>(23, argb15(fa, 32767, 32767, 32768),
                                      argb15(ba, 32768, 32768, 32768)),
                argb15(std::min(32768, fa + ba - ((fa * ba + 16384) >> 15)), 32768, 32768, 32768));
    // Burn: 0 stays 0 under white; integers have a floor at 0, float has none.
    EXPECT_EQ(blended<PIXEL_ARGB8>(24, argb8(255, 0, 100, 100), argb8(255, 255, 255, 10)),
              argb8(255, 0, 255, 0));
    EXPECT_EQ(blended<PIXEL_ARGB32>(24, argb32(1, 0, 0.5, 0.25), argb32(1, 1, 1, 0.5)),
              argb32(1, 0, 1, -1));
}

TEST(TransferModes, DifferenceWithOneTwoOrNoLayers) {
    EXPECT_EQ(blended<PIXEL_ARGB8>(12, argb8(99, 10, 20, 30), argb8(0, 200, 200, 200)),
              argb8(99, 10, 20, 30));
    EXPECT_EQ(blended<PIXEL_ARGB8>(12, argb8(0, 10, 20, 30), argb8(99, 200, 2, 200)),
              argb8(99, 200, 2, 200));
    EXPECT_EQ(blended<PIXEL_ARGB8>(12, argb8(255, 10, 20, 30), argb8(255, 200, 2, 30)),
              argb8(255, 190, 18, 0));
}

TEST(TransferModes, GreyCountsAsRedInHue) {
    // Background (1/4, 1/4, 1/2), a blue: d = 1/4, s = 3/4, saturation 1/6. Red at that saturation
    // is 2/3 over 1/3, of luma 0.433; the background's is 0.2785. Tolerance: hueBound.
    const auto redder =
        blended<PIXEL_ARGB32>(13, argb32(1, 0.7, 0.7, 0.7), argb32(1, 0.25, 0.25, 0.5));
    const double k = 0.2785 / 0.433;
    EXPECT_NEAR(redder[1], 2 * k / 3, 400 * 0x1p-24);
    EXPECT_NEAR(redder[2], k / 3, 400 * 0x1p-24);
    EXPECT_NEAR(redder[3], k / 3, 400 * 0x1p-24);
}

TEST(TransferModes, WildFloatsNeverTrap) {
    // Beyond any picture: a result of some kind, and for integers one within the format.
    const float inf = std::numeric_limits<float>::infinity(), nan = std::nanf("");
    for (NamedMode const& mode : kModes)
        for (const float wild : {inf, -inf, nan, 1e30f})
            blended<PIXEL_ARGB32>(mode.number, argb32(1, wild, 0.5, 0), argb32(wild, 2, 0, wild));
    for (NamedMode const& mode : kModes) {
        const auto out = blended<PIXEL_ARGB15>(mode.number, argb15(40000, 65535, 0, 0),
                                               argb15(30000, 65535, 65535, 0));
        for (int i = 0; i < 4; ++i) EXPECT_LE(out[i], 32768) << mode.name;
    }
}

}  // namespace
