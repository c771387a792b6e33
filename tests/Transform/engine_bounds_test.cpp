// Hostile geometry: the engine must end, stay inside its rasters (guard bytes; no numbers around
// the readable source) and write numbers, whatever the pins and however small the pictures.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/support/engine_scene.h"

namespace {

using zelk::EngineScene;
using zelk::GuardedRaster;
using zelk::Quad;
using zelk::Random;

constexpr Quad kSquare = {0, 0, 1, 0, 0, 1, 1, 1};

// Filters without negative weights: a pixel is a mean of source pixels times a coverage, so it must
// lie in the sources' range, 0 to 1, but for 40 roundings of 2^-24.
void renderAndCheck(EngineScene scene, Random& random) {
    constexpr double kFloatError = 40 * 0x1p-24;
    constexpr int kFilters[][2] = {{0, 0}, {1, 0}, {2, 0}, {9, 0}, {9, 1}, {9, 3}, {22, 0}};
    const GuardedRaster source = zelk::noiseSource(random, scene, kFormatARGB32);
    for (const auto& filter : kFilters) {
        scene.filter = filter[0];
        scene.sizeIndex = filter[1];
        const GuardedRaster output = zelk::renderScene(scene, source);
        output.forEachChannel([&](int x, int y, int c) {
            if (testing::Test::HasFatalFailure()) return;
            const double value = output.get(x, y, c);
            ASSERT_TRUE(value >= -kFloatError && value <= 1 + kFloatError)
                << value << " at " << x << ", " << y << ", filter " << filter[0] << ", size "
                << filter[1];
        });
    }
}

void setSizes(EngineScene& scene, const int (&frame)[2], const int (&source)[2]) {
    scene.frameWidth = frame[0], scene.frameHeight = frame[1];
    scene.window = {0, 0, frame[0] - 1, frame[1] - 1};
    scene.source = {0, 0, source[0] - 1, source[1] - 1};
}

TEST(EngineBounds, SmallestPictures) {
    const int sizes[][2] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}, {1, 17}, {17, 1}, {3, 3}};
    Random random(21);
    for (const auto& frame : sizes) {
        for (const auto& source : sizes) {
            for (int turn = 0; turn < 6; ++turn) {
                SCOPED_TRACE(testing::Message()
                             << "seed 21, frame " << frame[0] << " x " << frame[1] << ", source "
                             << source[0] << " x " << source[1]);
                EngineScene scene = zelk::randomScene(random, 2);
                setSizes(scene, frame, source);
                if (turn == 0) scene.from = scene.to = kSquare;
                renderAndCheck(scene, random);
            }
        }
    }
}

Quad scaled(Quad quad, double factor, double dx, double dy) {
    for (int i = 0; i < 8; ++i) quad[i] = 0.5 + (quad[i] - 0.5) * factor + (i % 2 == 0 ? dx : dy);
    return quad;
}

// Every scale from far below a pixel to a million frames, on and off the frame. From quads smaller
// than the picture throw its corners across the horizon when the map is steep.
TEST(EngineBounds, WildQuads) {
    for (unsigned seed = 1; seed <= 1500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        EngineScene scene = zelk::randomScene(random, 24);
        const double toScale = std::pow(10.0, random.uniform(-6, 6));
        const double fromScale = std::pow(10.0, random.uniform(-3, 2));
        const double away = random.flip() ? 0.0 : std::pow(10.0, random.uniform(-1, 6));
        scene.to =
            scaled(scene.to, toScale, random.uniform(-away, away), random.uniform(-away, away));
        scene.from = scaled(scene.from, fromScale, random.uniform(-1, 1), random.uniform(-1, 1));
        renderAndCheck(scene, random);
        if (HasFatalFailure()) return;
    }
}

TEST(EngineBounds, AwkwardQuads) {
    const struct {
        const char* name;
        Quad from, to;
    } cases[] = {
        {"whole frame", kSquare, kSquare},
        {"mirrored", kSquare, {1, 0, 0, 0, 1, 1, 0, 1}},
        {"mirrored source", {0, 1, 1, 1, 0, 0, 1, 0}, kSquare},
        {"bow tie", kSquare, {0, 0, 1, 1, 0, 1, 1, 0}},
        {"a straight corner", kSquare, {0, 0, 1, 0, 0, 1, 0.5, 0.5}},
        {"two equal corners", kSquare, {0, 0, 0, 0, 0, 1, 1, 1}},
        {"a hair's breadth", kSquare, {0, 0.5, 1, 0.5, 0, 0.5 + 1e-12, 1, 0.5 + 1e-12}},
        {"an upright hair", kSquare, {0.5, 0, 0.5 + 1e-12, 0, 0.5, 1, 0.5 + 1e-12, 1}},
        {"a corner on the horizon", {0.25, 0.25, 0.75, 0.25, 0, 0.5, 1, 0.5}, kSquare},
        {"beyond the horizon", {0.4, 0.4, 0.6, 0.4, 0, 0.5, 1, 0.5}, kSquare},
        {"almost flat source", {0, 0.5, 1, 0.5, 0, 0.5 + 1e-9, 1, 0.5 + 1e-9}, kSquare},
        {"infinite", kSquare, {0, 0, INFINITY, 0, 0, 1, INFINITY, 1}},
        {"not a number", kSquare, {0, 0, 1, NAN, 0, 1, 1, 1}},
        {"huge numbers", kSquare, {-1e300, -1e300, 1e300, -1e300, -1e300, 1e300, 1e300, 1e300}},
        {"tiny numbers", kSquare, {0, 0, 1e-300, 0, 0, 1e-300, 1e-300, 1e-300}},
    };
    Random random(33);
    for (const auto& c : cases) {
        for (const int size : {1, 16, 33}) {
            SCOPED_TRACE(std::string(c.name) + ", " + std::to_string(size));
            EngineScene scene = zelk::randomScene(random, 8);
            setSizes(scene, {size, size}, {random.integer(1, 8), random.integer(1, 8)});
            scene.from = c.from;
            scene.to = c.to;
            renderAndCheck(scene, random);
        }
    }
}

}  // namespace
