// Hostile geometry: the engine must end, stay inside its rasters (guard bytes; no numbers around
// the readable source) and write numbers, whatever the pins and however small the pictures.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

#include "tests/support/engine_scene.h"

namespace {

using zelk::EngineScene;
using zelk::GuardedRaster;
using zelk::Random;

// Filters without negative weights: a pixel is a mean of source pixels times a coverage, so it must
// lie in the sources' range, 0 to 1, but for 40 roundings of 2^-24.
void renderAndCheck(EngineScene scene, Random& random) {
    constexpr double kRounding = 40 * 0x1p-24;
    constexpr int kFilters[][2] = {{0, 0}, {1, 0}, {2, 0}, {9, 0}, {9, 1}, {9, 3}, {22, 0}};
    const GuardedRaster source = zelk::noiseSource(random, scene, kFormatARGB32);
    for (auto const& filter : kFilters) {
        scene.filter = filter[0];
        scene.sizeIndex = filter[1];
        double least = 0, largest = 0;
        bool numbers = true;
        const GuardedRaster output = zelk::renderScene(scene, source);
        output.forEachChannel([&](int x, int y, int c) {
            least = std::min(least, output.get(x, y, c));
            largest = std::max(largest, output.get(x, y, c));
            numbers = numbers && !std::isnan(output.get(x, y, c));
        });
        ASSERT_TRUE(numbers && least >= -kRounding && largest <= 1 + kRounding)
            << least << " to " << largest << ", filter " << filter[0] << ", size " << filter[1];
    }
}

// Every scale from far below a pixel to a million frames, on and off the frame, pictures from a
// pixel on. From quads smaller than the picture throw its corners across the horizon when the map
// is steep.
TEST(EngineBounds, WildQuads) {
    for (unsigned seed = 1; seed <= 2400; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        EngineScene scene = zelk::randomScene(random, std::array{24, 17, 3, 2, 1}[seed % 5]);
        double const toScale = std::pow(10.0, random.uniform(-6, 6));
        double const fromScale = std::pow(10.0, random.uniform(-3, 2));
        double const away = random.flip() ? 0.0 : std::pow(10.0, random.uniform(-1, 6));
        double const toX = random.uniform(-away, away), toY = random.uniform(-away, away);
        double const fromX = random.uniform(-1, 1), fromY = random.uniform(-1, 1);
        for (int i = 0; i < 8; ++i) {
            scene.to[i] = 0.5 + (scene.to[i] - 0.5) * toScale + (i % 2 == 0 ? toX : toY);
            scene.from[i] = 0.5 + (scene.from[i] - 0.5) * fromScale + (i % 2 == 0 ? fromX : fromY);
        }
        ASSERT_NO_FATAL_FAILURE(renderAndCheck(scene, random));
    }
}

}  // namespace
