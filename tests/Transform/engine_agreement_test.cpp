// Renders of one scene that must agree: threads and no threads, padded rows, kept and cleared
// destinations bit by bit; integer formats with float within the roundings of their line functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/engine_scene.h"

namespace {

using namespace zelk;

/// Calls `check(scene, random)` for scenes of every quality.
template <class Check>
void forEachScene(unsigned seeds, Check check) {
    constexpr int kFilters[][2] = {{0, 0}, {1, 0}, {9, 0}, {6, 1}, {4, 3}, {22, 0}};
    for (unsigned seed = 1; seed <= seeds; ++seed) {
        for (const auto& filter : kFilters) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", filter " + std::to_string(filter[0]));
            Random random(seed);
            EngineScene scene = randomScene(random, 70);
            scene.filter = filter[0];
            scene.sizeIndex = filter[1];
            check(scene, random);
        }
    }
}

TEST(EngineAgreement, ThreadsPaddingAndAKeptDestinationChangeNoBit) {
    int kept = 0, painted = 0, wrong = 0;
    forEachScene(12, [&](const EngineScene& scene, Random& random) {
        for (const QV_RasterFormat format : {kFormatBGRA8, kFormatARGB15, kFormatARGB32}) {
            Random again = random;
            const GuardedRaster source = noiseSource(random, scene, format);
            const GuardedRaster padded = noiseSource(again, scene, format, 24);
            const GuardedRaster reference = renderScene(scene, source);
            for (const int threads : {1, 3, 8, 0})  // in Premiere the engine makes no team
                EXPECT_TRUE(
                    reference.samePixels(renderScene(scene, source, {threads == 0, threads})))
                    << threads << " threads";
            EXPECT_TRUE(reference.samePixels(renderScene(scene, padded, {}, 40)));

            const GuardedRaster open = renderScene(scene, source, {false, 0, false});
            const double untouched = GuardedRaster(format, 1, 1).get(0, 0, 0);
            open.forEachChannel([&](int x, int y, int c) {
                const double cleared = reference.get(x, y, c), got = open.get(x, y, c);
                wrong += got != cleared && !(got == untouched && cleared == 0.0);
                kept += got == untouched;
                painted += got == cleared;
            });
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(std::min(kept, painted), 4000);
}

// How far an integer render may lie from the float render of the same picture, in steps of the
// format. Every lerp truncates (two in a row: 2 steps), the product with coverage a third time. The
// kernels round, half a step; super sampled edges twice. Float sums at up to 65535 add 20 roundings
// of 2^-24 of it, 0.08.
TEST(EngineAgreement, IntegerFormatsFollowFloat) {
    forEachScene(6, [](const EngineScene& scene, Random& random) {
        const bool nearest = scene.filter == 0, supersampled = scene.filter == 22;
        const double mayBeBelow = nearest ? 0.08 : supersampled ? 1.08 : 3.08;
        const double mayBeAbove = scene.filter < 2 ? 0.08 : supersampled ? 1.08 : 0.58;
        for (const QV_RasterFormat format :
             {kFormatARGB8, kFormatBGRA8, kFormatRGBA8, kFormatARGB15, kFormatARGB14, kFormatBGRA14,
              kFormatARGB16, kFormatRGBA16, kFormatARGB32, kFormatBGRA32}) {
            const GuardedRaster source = noiseSource(random, scene, format);
            const double white = whiteOf(format);
            GuardedRaster real(kFormatRGBA32, source.width(), source.height());
            real.paint([&](int x, int y, int c) { return source.get(x, y, c) / white; });
            const GuardedRaster output = renderScene(scene, source);
            const GuardedRaster want = renderScene(scene, real);
            double below = 0, above = 0;
            output.forEachChannel([&](int x, int y, int c) {
                const double exact =
                    white == 1 ? want.get(x, y, c) : std::clamp(want.get(x, y, c), 0.0, 1.0);
                below = std::max(below, exact * white - output.get(x, y, c));
                above = std::max(above, output.get(x, y, c) - exact * white);
            });
            EXPECT_LE(below, white == 1 ? 0 : mayBeBelow) << "format " << format;
            EXPECT_LE(above, white == 1 ? 0 : mayBeAbove) << "format " << format;
        }
    });
}

}  // namespace
