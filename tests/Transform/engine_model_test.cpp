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

// Compares every pixel and channel until one is out of range.
void compare(const EngineScene& scene, const GuardedRaster& source, const GuardedRaster& output,
             Tally& tally) {
    const NaiveEngine model(scene, source);
    if (!model.canTell()) return;
    output.forEachChannel([&](int x, int y, int c) {
        if (testing::Test::HasFatalFailure()) return;
        const int frameX = x + scene.window.left, frameY = y + scene.window.top;
        const Range coverage = model.sampledCoverage(frameX, frameY);
        const Range range = model.value(frameX, frameY, c);
        const double got = output.get(x, y, c);
        ++tally.pixels;
        tally.partial += coverage.lo > 0.05 && coverage.hi < 0.95;
        tally.narrow += range.width() < 0.02;
        ASSERT_TRUE(got >= range.lo - kFloatError && got <= range.hi + kFloatError)
            << "pixel " << frameX << ", " << frameY << ", channel " << c << ": " << got
            << " isn't in " << range.lo << " to " << range.hi;
    });
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
    EXPECT_GT(tally.partial, tally.pixels / 50);
}

INSTANTIATE_TEST_SUITE_P(
    Qualities, EngineModel,
    testing::Values(ModelCase{"Nearest", 0, 0, 300}, ModelCase{"Bilinear", 1, 0, 300},
                    ModelCase{"Triangle4", 2, 0, 100}, ModelCase{"Keys4", 6, 0, 100},
                    ModelCase{"Parzen4", 9, 0, 100}, ModelCase{"Parzen6", 9, 1, 40},
                    ModelCase{"Keys8", 6, 2, 40}, ModelCase{"Keys10", 6, 3, 40},
                    ModelCase{"SuperSampled", 22, 0, 40}),
    [](const auto& which) { return std::string(which.param.name); });

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
        source.paint([](int, int, int) { return 1.0; });
        const GuardedRaster output = zelk::renderScene(scene, source);
        EXPECT_NEAR(output.get(c.x, c.y, 0), c.coverage, 1.01 / 512)
            << c.left << " " << c.top << " " << c.right << " " << c.bottom << " at " << c.x << ", "
            << c.y;
    }
}

}  // namespace
