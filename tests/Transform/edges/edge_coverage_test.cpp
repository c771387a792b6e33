// The soft rim of a white picture in a frame of another size, against the exact area of the quad in
// each pixel. The figures are in docs/numerics.md.
#include <gtest/gtest.h>

#include "tests/support/engine_scene.h"
#include "tests/support/plane.h"

namespace {

using namespace zelk;

constexpr int kWidth = 96, kHeight = 72;  // of the frame, pixels

// Coverage is sampled at the upper borders of the sub-rows, so the outline comes out half a
// sub-row, 1/32 pixel, lower than it is. The worst pixel lies on an edge so level that it stays
// within one sub-row, which counts not at all (upper edge) or whole (lower edge), up to 1/16 off.
// None of these quads has a row whose sub-rows share no column, which the scan would skip.
void expectExactArea(Quad const& to, GuardedRaster const& frame) {
    Polygon outline;
    for (int corner : {0, 1, 3, 2})
        outline.push_back({to[2 * corner] * kWidth, to[2 * corner + 1] * kHeight});
    double squares = 0, squaresDown = 0, worst = 0, worstOffRim = 0;
    int pixels = 0;
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const int x = i % kWidth, y = i / kWidth;
        const double exact = areaInside(outline, x, y, x + 1, y + 1);
        const double down = areaInside(outline, x, y - 1.0 / 32, x + 1, y + 31.0 / 32);
        const double error = std::fabs(frame.get(x, y, 0) - exact);
        if (exact <= 1e-9 || exact >= 1 - 1e-9) {
            worstOffRim = std::max(worstOffRim, error);
            continue;
        }
        ++pixels;
        squares += error * error;
        squaresDown += (frame.get(x, y, 0) - down) * (frame.get(x, y, 0) - down);
        worst = std::max(worst, error);
    }
    EXPECT_GT(pixels, 100);
    EXPECT_LE(std::sqrt(squaresDown / pixels), 0.015);
    EXPECT_LE(std::sqrt(squares / pixels), 1.0 / 32);
    // A span's ends are inclusive: a column of 512 at either end.
    EXPECT_LE(worst, 1.0 / 16 + 2.02 / 512);
    EXPECT_LE(worstOffRim, 1.01 / 512);
}

TEST(EdgeCoverage, FollowsTheExactArea) {
    Random random(20);
    for (int quad = 0; quad < 20; ++quad) {
        EngineScene scene;
        scene.to = randomConvexQuad(random);
        for (double& v : scene.to) v = 0.5 + 0.5 * (v - 0.5);  // inside the frame
        for (const int width : {400, 12})                      // shrunk, enlarged
            for (scene.filter = 1; scene.filter < 3; ++scene.filter) {
                SCOPED_TRACE(testing::Message() << "seed 20, quad " << quad << ", source " << width
                                                << ", filter " << scene.filter);
                scene.setSizes(kWidth, kHeight, width, width * 3 / 4);
                GuardedRaster source(kFormatARGB32, width, width * 3 / 4);
                source.paint([](int, int, int) { return 1; });
                expectExactArea(scene.to, renderScene(scene, source));
            }
    }
}

}  // namespace
