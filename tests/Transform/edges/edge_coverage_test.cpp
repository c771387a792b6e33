// The soft rim of a layer in a frame of another size: the alpha that whole renders of a white layer
// give along the outline, against the exact area of the quad in each pixel.
#include <gtest/gtest.h>

#include "effect/Render.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"
#include "tests/support/plane.h"

namespace {

using namespace zelk;

constexpr int kWidth = 96, kHeight = 72;  // of the frame, pixels

/// A white layer pinned by its corners.
GuardedRaster rendered(Quad const& to, int layerWidth, int quality) {
    GuardedRaster layer(kFormatARGB32, layerWidth, layerWidth * 3 / 4);
    GuardedRaster frame(kFormatARGB32, kWidth, kHeight);
    layer.paint([](int, int, int) { return 1; });
    PluginHost_Memory_Impl host(layer.info(), frame.info(), MemoryHostFamily::kFXPLUG);
    setDefaultControls(host);
    host.setPopup(kParamQuality, static_cast<unsigned>(quality));
    for (int i = 0; i < 4; ++i) host.setPoint(kParamToUpperLeft + i, to[2 * i], to[2 * i + 1]);
    EXPECT_EQ(Render(&host), PF_Err_NONE);
    return frame;
}

// Coverage is sampled at the upper borders of the sub-rows, so the outline comes out half a
// sub-row, 1/32 pixel, lower than it is. Against the quad where it is that costs up to 1/32 in a
// pixel that the outline crosses from side to side; against the quad half a sub-row lower little is
// left.
//
// The worst pixel lies on an edge so level that it stays within one sub-row across the pixel: alpha
// is then a whole number of sixteenths, and the sub-row that the edge enters counts not at all
// (upper edge) or whole (lower edge), up to 1/16 off.
//
// Nothing is left out: none of these quads has a row whose sub-rows share no column, which the scan
// would skip.
void expectExactArea(Quad const& to, GuardedRaster const& frame) {
    Polygon outline;
    for (std::size_t corner : {0u, 1u, 3u, 2u})
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
    // The strip between a convex outline and itself 1/32 lower: its area in a pixel.
    EXPECT_LE(std::sqrt(squares / pixels), 1.0 / 32);
    // One strip of 1/16, and a column at either end.
    EXPECT_LE(worst, 1.0 / 16 + 2.02 / 512);
    // Span ends are inclusive: a column of 512 at most, and single precision.
    EXPECT_LE(worstOffRim, 1.01 / 512);
}

TEST(EdgeCoverage, FollowsTheExactArea) {
    Random random(20);
    for (int quad = 0; quad < 20; ++quad) {
        Quad to = randomConvexQuad(random);
        for (double& v : to) v = 0.5 + 0.5 * (v - 0.5);  // inside the frame
        for (int const width : {400, 12})                // shrunk, enlarged
            for (int const quality : {1, 2}) {  // Medium, High; Super Sample softens on purpose
                SCOPED_TRACE(testing::Message() << "seed 20, quad " << quad << ", layer " << width
                                                << ", quality " << quality);
                expectExactArea(to, rendered(to, width, quality));
            }
    }
}

}  // namespace
