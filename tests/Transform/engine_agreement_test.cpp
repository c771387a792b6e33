// Renders of one scene that must agree: threads and no threads, padded rows, kept and cleared
// destinations bit by bit; integer formats with float within the roundings of their line functions.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/engine_scene.h"

namespace {

using namespace zelk;

// How far an integer render may lie from the float render of the same picture, in steps of the
// format. Every lerp truncates (two in a row: 2 steps), the product with coverage a third time. The
// kernels round, half a step; super sampled edges twice. Float sums at up to 65535 add 20 roundings
// of 2^-24 of it, 0.08. Float in another channel order is the same to the bit.
struct Tolerance {
    double below, above;

    Tolerance(int filter, double white) {
        below = filter == 0 ? 0.08 : filter == 22 ? 1.08 : 3.08;
        above = filter < 2 ? 0.08 : filter == 22 ? 1.08 : 0.58;
        if (white == 1) below = above = 0;
    }
};

TEST(EngineAgreement, OfFormatsThreadsPaddedRowsAndKeptDestinations) {
    constexpr int kFilters[][2] = {{0, 0}, {1, 0}, {9, 0}, {6, 1}, {4, 3}, {22, 0}};
    int kept = 0, painted = 0;
    for (unsigned round = 0; round < 6 * 6 * 12; ++round) {
        if (round % 12 == 4) continue;
        const auto format = static_cast<QV_RasterFormat>(round % 12);
        const unsigned seed = round / 72 + 1;
        Random random(seed);
        EngineScene scene = randomScene(random, 70);
        Random again = random;
        scene.filter = kFilters[round / 12 % 6][0];
        scene.sizeIndex = kFilters[round / 12 % 6][1];
        SCOPED_TRACE(testing::Message()
                     << "seed " << seed << ", filter " << scene.filter << ", format " << format);
        const GuardedRaster source = noiseSource(random, scene, format);
        const GuardedRaster reference = renderScene(scene, source);
        const GuardedRaster padded = noiseSource(again, scene, format, 24);
        EXPECT_TRUE(reference.samePixels(renderScene(scene, padded, {}, 40)));
        for (const int threads : {1, 3, 8, 0})  // in Premiere the engine makes no team
            EXPECT_TRUE(reference.samePixels(renderScene(scene, source, {threads == 0, threads})))
                << threads << " threads";

        const double white = whiteOf(format);
        GuardedRaster real(kFormatRGBA32, source.width(), source.height());
        real.paint([&](int x, int y, int c) { return source.get(x, y, c) / white; });
        const GuardedRaster exact = renderScene(scene, real);
        const GuardedRaster open = renderScene(scene, source, {false, 0, false});
        const double untouched = GuardedRaster(format, 1, 1).get(0, 0, 0);
        const Tolerance tolerance(scene.filter, white);
        int wrong = 0;
        reference.forEachChannel([&](int x, int y, int c) {
            const double got = reference.get(x, y, c), uncleared = open.get(x, y, c);
            double want = exact.get(x, y, c);
            if (white > 1) want = std::clamp(want, 0.0, 1.0) * white;
            wrong += want - got > tolerance.below || got - want > tolerance.above;
            wrong += uncleared != got && !(uncleared == untouched && got == 0);
            kept += uncleared == untouched;
            painted += uncleared == got;
        });
        EXPECT_EQ(wrong, 0);
    }
    EXPECT_GT(std::min(kept, painted), 4000);
}

}  // namespace
