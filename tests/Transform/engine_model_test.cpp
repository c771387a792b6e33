// The engine against the naive model, pixel by pixel, on random scenes: quads of either turning,
// windows inside the frame, source rectangles inside their raster, every quality.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <string>

#include "tests/support/engine_scene.h"
#include "tests/support/naive_engine.h"

namespace {

using zelk::EngineScene;
using zelk::GuardedRaster;
using zelk::NaiveEngine;
using zelk::Random;
using zelk::Range;

// Single precision sums of values up to 1 with weights whose absolute sum is below 2 (Keys: 1.25 on
// each axis): 20 roundings of 2^-24 a side, and as many of the weights themselves.
constexpr double kFloatError = 2 * 2 * 20 * 0x1p-24;

struct Tally {
    int pixels = 0, narrow = 0, partial = 0;
};

// Compares every pixel and channel; stops at the first that is out of range.
void compare(const EngineScene& scene, const GuardedRaster& source, const GuardedRaster& output,
             Tally& tally) {
    const NaiveEngine model(scene, source);
    if (!model.canTell()) return;
    for (int y = scene.window.top; y <= scene.window.bottom; ++y) {
        for (int x = scene.window.left; x <= scene.window.right; ++x) {
            const double coverage = model.exactCoverage(x, y);
            tally.partial += coverage > 0.05 && coverage < 0.95;
            for (int c = 0; c < 4; ++c) {
                const Range range = model.value(x, y, c);
                const double got = output.get(x - scene.window.left, y - scene.window.top, c);
                ++tally.pixels;
                tally.narrow += range.width() < 0.02;
                ASSERT_TRUE(got >= range.lo - kFloatError && got <= range.hi + kFloatError)
                    << "pixel " << x << ", " << y << ", channel " << c << ": " << got
                    << " isn't in " << range.lo << " to " << range.hi;
            }
        }
    }
}

struct ModelCase {
    const char* name;
    int filter, sizeIndex, seeds;
};

void PrintTo(const ModelCase& c, std::ostream* out) { *out << c.name; }

class EngineModel : public testing::TestWithParam<ModelCase> {};

TEST_P(EngineModel, EveryPixelIsInTheModelsRange) {
    const ModelCase& c = GetParam();
    Tally tally;
    for (int seed = 1; seed <= c.seeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(static_cast<unsigned>(seed));
        EngineScene scene = zelk::randomScene(random, 40);
        scene.filter = c.filter;
        scene.sizeIndex = c.sizeIndex;
        const GuardedRaster source = zelk::noiseSource(random, scene, kFormatARGB32);
        compare(scene, source, zelk::renderScene(scene, source), tally);
        if (HasFatalFailure()) return;
    }
    // The model must say something: nearly all ranges are narrow, and edges do occur.
    EXPECT_GT(tally.narrow, tally.pixels * 9 / 10);
    EXPECT_GT(tally.partial, tally.pixels / 200);
}

INSTANTIATE_TEST_SUITE_P(
    Qualities, EngineModel,
    testing::Values(ModelCase{"Nearest", 0, 0, 300}, ModelCase{"Bilinear", 1, 0, 300},
                    ModelCase{"Triangle4", 2, 0, 100}, ModelCase{"Keys4", 6, 0, 100},
                    ModelCase{"Parzen4", 9, 0, 100}, ModelCase{"Parzen6", 9, 1, 40},
                    ModelCase{"Keys8", 6, 2, 40}, ModelCase{"Keys10", 6, 3, 40},
                    ModelCase{"SuperSampled", 22, 0, 40}),
    [](const auto& which) { return std::string(which.param.name); });

// A white source makes the engine write the coverage itself: 1 is sampled everywhere.
TEST(EngineCoverage, StaysNearTheExactArea) {
    int partial = 0;
    for (unsigned seed = 1001; seed <= 1300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const EngineScene scene = zelk::randomScene(random, 48);
        GuardedRaster source(kFormatRGBA32, scene.source.right + 1, scene.source.bottom + 1);
        for (int y = 0; y < source.height(); ++y) {
            for (int x = 0; x < source.width(); ++x) {
                for (int c = 0; c < 4; ++c) source.set(x, y, c, 1.0);
            }
        }
        const GuardedRaster output = zelk::renderScene(scene, source);
        const NaiveEngine model(scene, source);
        if (!model.canTell()) continue;
        for (int y = scene.window.top; y <= scene.window.bottom; ++y) {
            if (!model.rowIsDrawn(y)) continue;
            for (int x = scene.window.left; x <= scene.window.right; ++x) {
                const double exact = model.exactCoverage(x, y);
                const double got = output.get(x - scene.window.left, y - scene.window.top, 3);
                partial += exact > 0.05 && exact < 0.95;
                // The length of the cut through a convex shape rises, then falls. Sampled at the
                // upper ends of 16 strips of a pixel it misses the area by at most one strip of the
                // greatest length, 1 pixel. Each cut is off by a column, thin ones by two.
                ASSERT_NEAR(got, exact, 1.0 / 16 + 2.02 / 512) << "pixel " << x << ", " << y;
            }
        }
    }
    EXPECT_GT(partial, 2000);
}

// Rectangles: the share of a pixel is known, and top edges fall on sub-rows. The view distance's
// rounding puts them a millionth of a pixel beside: a row must not lose its coverage for that.
TEST(EngineCoverage, AxisAlignedEdgesAreExact) {
    struct Case {
        double left, top, right, bottom;  // pins, pixels
        int x, y;
        double coverage;
    };
    const Case cases[] = {
        {4, 4, 12, 12, 4, 6, 1.0},          {4, 4, 12, 12, 3, 6, 0.0},
        {4, 4, 12, 12, 11, 6, 1.0},         {4, 4, 12, 12, 12, 6, 1.0 / 512},  // ends are inclusive
        {4.25, 4, 12, 12, 4, 6, 0.75},      {4, 4.25, 12, 12, 6, 4, 0.75},
        {4, 4, 12, 12.5, 6, 12, 0.5},       {4, 4, 12, 12, 6, 11, 1.0},
        {4, 4, 12, 12, 6, 12, 0.0},         {4.25, 4.5, 12, 12, 4, 4, 0.375},
        {0, 0, 16, 16, 15, 8, 507.0 / 512}, {0, 0, 16, 16, 8, 15, 1.0},  // 0.99 of the last pixel
    };
    for (const Case& c : cases) {
        EngineScene scene;
        scene.frameWidth = scene.frameHeight = 16;
        scene.window = {0, 0, 15, 15};
        scene.source = {0, 0, 7, 7};
        const double l = c.left / 16, t = c.top / 16, r = c.right / 16, b = c.bottom / 16;
        scene.to = {l, t, r, t, l, b, r, b};
        GuardedRaster source(kFormatARGB32, 8, 8);
        for (int i = 0; i < 8 * 8 * 4; ++i) source.set(i / 4 % 8, i / 32, i % 4, 1.0);
        const GuardedRaster output = zelk::renderScene(scene, source);
        EXPECT_NEAR(output.get(c.x, c.y, 0), c.coverage, 1.01 / 512)
            << c.left << " " << c.top << " " << c.right << " " << c.bottom << " at " << c.x << ", "
            << c.y;
    }
}

}  // namespace
