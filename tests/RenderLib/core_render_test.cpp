// Whole core renders with closed forms: level edges and what lies beside them.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/engine_scene.h"

namespace {

using zelk::GuardedRaster;

// The share of a pixel is known, and top edges fall on sub-rows. The view distance's rounding puts
// them a millionth of a pixel beside: a row must not lose its coverage for that. Channel 0 of the
// source is white, channel 1 its row: the rows that are cut are sampled like any other. A row whose
// sub-rows share a single column is drawn, one whose sub-rows share none isn't.
TEST(CoreRender, LevelEdgesAreExact) {
    const struct {
        double left, top, right, bottom;  // pins, pixels
        int x, y;
        double coverage, lean = 0;  // by which the lower pins lie further right
    } cases[] = {
        {4, 4, 12, 12, 4, 6, 1.0},
        {4, 4, 12, 12, 3, 6, 0.0},
        {4, 4, 12, 12, 11, 6, 1.0},
        {4, 4, 12, 12, 12, 6, 1.0 / 512},
        {4.25, 4, 12, 12, 4, 6, 0.75},
        {4, 4.25, 12, 12, 6, 4, 0.75},
        {4, 4, 12, 12.5, 6, 12, 0.5},
        {4, 4, 12, 12, 6, 11, 1.0},
        {4, 4, 12, 12, 6, 12, 0.0},
        {4.25, 4.5, 12, 12, 4, 4, 0.375},
        {0, 0, 16, 16, 15, 8, 507.0 / 512},
        {0, 0, 16, 16, 8, 15, 1.0},  // 0.99 of the last pixel
        {0, 0, 16, 10.9, 8, 10, 15.0 / 16},
        {2047.5 / 512, 4, 3008.5 / 512, 12, 5, 4, 6337.0 / 8192, 16},
        {2047.5 / 512, 4, 3007.5 / 512, 12, 5, 4, 0.0, 16},
    };
    GuardedRaster source(kFormatARGB32, 8, 64);
    source.paint([](int, int y, int c) { return c == 1 ? y : 1.0; });
    for (auto const& c : cases) {
        zelk::EngineScene scene;
        scene.setSizes(16, 16, 8, 64);
        scene.to = {c.left,          c.top,    c.right,          c.top,
                    c.left + c.lean, c.bottom, c.right + c.lean, c.bottom};
        for (double& pin : scene.to) pin /= 16;
        const GuardedRaster output = zelk::renderScene(scene, source);
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        double const coverage = output.get(c.x, c.y, 0);
        EXPECT_NEAR(coverage, c.coverage, 1.01 / 512);  // span ends are inclusive
        double const row = (c.y + 0.5 - c.top) / (c.bottom - c.top) * 64 - 0.5;
        EXPECT_NEAR(output.get(c.x, c.y, 1), coverage * std::clamp(row, 0.0, 63.0), 1e-4);
    }
}

}  // namespace
