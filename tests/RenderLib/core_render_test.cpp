// Whole core renders with closed forms: level edges, what lies beside them, fills.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/engine_scene.h"

namespace {

using zelk::EngineScene;
using zelk::GuardedRaster;

constexpr double kSubColumn = 1.01 / 512;  // span ends are inclusive

EngineScene sceneOf(double left, double top, double right, double bottom) {
    EngineScene scene;
    scene.setSizes(16, 16, 8, 64);
    const double l = left / 16, t = top / 16, r = right / 16, b = bottom / 16;
    scene.to = {l, t, r, t, l, b, r, b};
    return scene;
}

// The share of a pixel is known, and top edges fall on sub-rows. The view distance's rounding puts
// them a millionth of a pixel beside: a row must not lose its coverage for that. Channel 0 of the
// source is white, channel 1 its row: the rows that are cut are sampled like any other.
TEST(CoreRender, LevelEdgesAreExact) {
    const struct {
        double left, top, right, bottom;  // pins, pixels
        int x, y;
        double coverage;
    } cases[] = {
        {4, 4, 12, 12, 4, 6, 1.0},          {4, 4, 12, 12, 3, 6, 0.0},
        {4, 4, 12, 12, 11, 6, 1.0},         {4, 4, 12, 12, 12, 6, 1.0 / 512},
        {4.25, 4, 12, 12, 4, 6, 0.75},      {4, 4.25, 12, 12, 6, 4, 0.75},
        {4, 4, 12, 12.5, 6, 12, 0.5},       {4, 4, 12, 12, 6, 11, 1.0},
        {4, 4, 12, 12, 6, 12, 0.0},         {4.25, 4.5, 12, 12, 4, 4, 0.375},
        {0, 0, 16, 16, 15, 8, 507.0 / 512}, {0, 0, 16, 16, 8, 15, 1.0},  // 0.99 of the last pixel
        {0, 0, 16, 10.9, 8, 10, 15.0 / 16},
    };
    GuardedRaster source(kFormatARGB32, 8, 64);
    source.paint([](int, int y, int c) { return c == 1 ? y : 1.0; });
    for (const auto& c : cases) {
        const GuardedRaster output =
            zelk::renderScene(sceneOf(c.left, c.top, c.right, c.bottom), source);
        SCOPED_TRACE(testing::Message() << c.left << " " << c.top << " " << c.right << " "
                                        << c.bottom << " at " << c.x << ", " << c.y);
        const double coverage = output.get(c.x, c.y, 0);
        EXPECT_NEAR(coverage, c.coverage, kSubColumn);
        const double row = (c.y + 0.5 - c.top) / (c.bottom - c.top) * 64 - 0.5;
        EXPECT_NEAR(output.get(c.x, c.y, 1), coverage * std::clamp(row, 0.0, 63.0), 1e-4);
    }
}

TEST(CoreRender, FillsStandWhereThePinsSayWithEveryScan) {
    EngineScene scene = sceneOf(8, 0, 12, 16);
    const GuardedRaster source(kFormatARGB32, 8, 64);
    for (scene.filter = 0; scene.filter < 2; ++scene.filter) {
        const GuardedRaster output = zelk::renderScene(scene, source, {false, 0, true, true});
        for (int x = 0; x < 16; ++x) {
            EXPECT_NEAR(output.get(x, 8, 0), x >= 8 && x < 12 ? 1.0 : 0.0, kSubColumn) << x;
            EXPECT_EQ(output.get(x, 8, 1), 0) << x;
        }
    }
}

}  // namespace
