// Renders of one scene that must agree: threads and no threads, padded rows, kept and cleared
// destinations bit by bit; integer formats with float within the roundings of their line functions.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/engine_scene.h"

namespace {

using zelk::EngineOptions;
using zelk::EngineScene;
using zelk::GuardedRaster;
using zelk::Random;

constexpr QV_RasterFormat kFormats[11] = {
    kFormatARGB8,  kFormatBGRA8,  kFormatRGBA8,  kFormatARGB15, kFormatARGB14, kFormatBGRA14,
    kFormatARGB16, kFormatRGBA16, kFormatARGB32, kFormatRGBA32, kFormatBGRA32};

struct Filter {
    int number, sizeIndex;
};
constexpr Filter kFilters[] = {{0, 0}, {1, 0}, {9, 0}, {6, 1}, {4, 3}, {22, 0}};

EngineScene sceneFor(Random& random, const Filter& filter) {
    EngineScene scene = zelk::randomScene(random, 70);
    scene.filter = filter.number;
    scene.sizeIndex = filter.sizeIndex;
    return scene;
}

std::string label(unsigned seed, const Filter& filter, QV_RasterFormat format) {
    return "seed " + std::to_string(seed) + ", filter " + std::to_string(filter.number) +
           ", size " + std::to_string(filter.sizeIndex) + ", format " + std::to_string(format);
}

TEST(EngineAgreement, ThreadsAndPaddingChangeNoBit) {
    const EngineOptions variants[] = {
        {false, 1, true}, {false, 3, true}, {false, 8, true}, {true, 0, true}};
    for (unsigned seed = 1; seed <= 12; ++seed) {
        for (const Filter& filter : kFilters) {
            for (const QV_RasterFormat format : {kFormatBGRA8, kFormatARGB15, kFormatARGB32}) {
                SCOPED_TRACE(label(seed, filter, format));
                Random random(seed), again(seed);
                const EngineScene scene = sceneFor(random, filter);
                sceneFor(again, filter);
                const GuardedRaster source = zelk::noiseSource(random, scene, format);
                const GuardedRaster padded = zelk::noiseSource(again, scene, format, 24);
                const GuardedRaster reference = zelk::renderScene(scene, source);
                for (const EngineOptions& options : variants) {
                    EXPECT_TRUE(reference.samePixels(zelk::renderScene(scene, source, options)))
                        << options.threads << " threads";
                }
                EXPECT_TRUE(reference.samePixels(zelk::renderScene(scene, padded, {}, 40)));
            }
        }
    }
}

TEST(EngineAgreement, UnclearedDestinationKeepsItsPixelsOutside) {
    int kept = 0, painted = 0;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        for (const Filter& filter : kFilters) {
            SCOPED_TRACE(label(seed, filter, kFormatARGB16));
            Random random(seed);
            const EngineScene scene = sceneFor(random, filter);
            const GuardedRaster source = zelk::noiseSource(random, scene, kFormatARGB16);
            const GuardedRaster cleared = zelk::renderScene(scene, source);
            const GuardedRaster open = zelk::renderScene(scene, source, {false, 0, false});
            const GuardedRaster untouched(kFormatARGB16, open.width(), open.height());
            for (int y = 0; y < open.height(); ++y) {
                for (int x = 0; x < open.width(); ++x) {
                    const bool same = !std::memcmp(open.pixel(x, y), cleared.pixel(x, y), 8);
                    const bool old = !std::memcmp(open.pixel(x, y), untouched.pixel(x, y), 8);
                    ASSERT_TRUE(same || old) << "pixel " << x << ", " << y;
                    if (old) {
                        for (int c = 0; c < 4; ++c) ASSERT_EQ(cleared.get(x, y, c), 0.0);
                    }
                    kept += old;
                    painted += same;
                }
            }
        }
    }
    EXPECT_GT(kept, 1000);
    EXPECT_GT(painted, 1000);
}

// How far an integer render may lie from the float render of the same picture, in steps of the
// format. Every lerp truncates (two in a row: 2 steps), the product with coverage a third time. The
// kernels round, half a step; super sampled edges twice. Float sums at up to 65535 add 20 roundings
// of 2^-24 of it, 0.08.
struct Bounds {
    double below, above;
};

Bounds boundsFor(int filter) {
    switch (filter) {
        case 0:
            return {0.08, 0.08};
        case 1:
            return {3.08, 0.08};
        case 22:
            return {1.08, 1.08};
        default:
            return {3.08, 0.58};  // kernel inside, bilinear at the edges
    }
}

TEST(EngineAgreement, IntegerFormatsFollowFloat) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        for (const Filter& filter : kFilters) {
            const Bounds bounds = boundsFor(filter.number);
            for (const QV_RasterFormat format : kFormats) {
                SCOPED_TRACE(label(seed, filter, format));
                Random random(seed);
                const EngineScene scene = sceneFor(random, filter);
                const GuardedRaster source = zelk::noiseSource(random, scene, format);
                const double white = zelk::whiteOf(format);
                GuardedRaster real(kFormatRGBA32, source.width(), source.height());
                for (int y = 0; y < source.height(); ++y) {
                    for (int x = 0; x < source.width(); ++x) {
                        for (int c = 0; c < 4; ++c) {
                            real.set(x, y, c, source.get(x, y, c) / white);
                        }
                    }
                }
                const GuardedRaster output = zelk::renderScene(scene, source);
                const GuardedRaster want = zelk::renderScene(scene, real);
                if (white == 1.0) {
                    EXPECT_TRUE(output.samePixels(want));
                    continue;
                }
                double below = 0, above = 0;
                for (int y = 0; y < output.height(); ++y) {
                    for (int x = 0; x < output.width(); ++x) {
                        for (int c = 0; c < 4; ++c) {
                            const double step = output.get(x, y, c) -
                                                std::clamp(want.get(x, y, c), 0.0, 1.0) * white;
                            below = std::max(below, -step);
                            above = std::max(above, step);
                        }
                    }
                }
                EXPECT_LE(below, bounds.below);
                EXPECT_LE(above, bounds.above);
            }
        }
    }
}

}  // namespace
