// The soft rim of a layer in a frame of another size: the alpha that whole renders of a white layer
// give along the outline, against the exact area of the quad in each pixel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "effect/Render.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/memory_controls.h"
#include "tests/support/plane.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::Quad;
using zelk::Random;

constexpr int kWidth = 96, kHeight = 72;  // of the frame, pixels
constexpr int kSubRows = 16;

double areaIn(zelk::Polygon const& polygon, double left, double top) {
    return std::fabs(zelk::signedArea(zelk::clipped(polygon, left, top, left + 1, top + 1)));
}

/// Alpha of a white layer pinned by its corners, row by row.
std::vector<double> renderedAlpha(Quad const& to, int layerWidth, int layerHeight, int quality) {
    PluginRaster_Memory_Impl layer(kFormatARGB32, layerWidth, layerHeight);
    PluginRaster_Memory_Impl frame(kFormatARGB32, kWidth, kHeight);
    for (int y = 0; y < layerHeight; ++y)
        std::fill_n(reinterpret_cast<float*>(layer.pixel(0, y)), 4 * layerWidth, 1.0f);
    PluginHost_Memory_Impl host(layer.info(), frame.info(), MemoryHostFamily::kFXPLUG);
    zelk::setDefaultControls(host);
    host.setPopup(kParamQuality, static_cast<unsigned>(quality));
    for (std::size_t i = 0; i < 4; ++i)
        host.setPoint(kParamToUpperLeft + static_cast<int>(i), to[2 * i], to[2 * i + 1]);
    EXPECT_EQ(Render(&host), PF_Err_NONE);
    std::vector<double> alpha;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            alpha.push_back(double{*reinterpret_cast<float*>(frame.pixel(x, y))});
    return alpha;
}

/// Over the pixels that the outline crosses.
struct Comparison {
    double rms = 0;      ///< against the exact area
    double rmsDown = 0;  ///< against the area of the quad moved down by half a sub-row
    double worst = 0, exact = 0, rendered = 0;
    int x = 0, y = 0, pixels = 0;
    double wrongInside = 0, wrongOutside = 0;  ///< of whole and of untouched pixels
};

Comparison compare(Quad const& to, std::vector<double> const& alpha) {
    zelk::Polygon outline;
    for (std::size_t corner : {0u, 1u, 3u, 2u})
        outline.push_back({to[2 * corner] * kWidth, to[2 * corner + 1] * kHeight});
    Comparison c;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            double const exact = areaIn(outline, x, y);
            double const got = alpha[static_cast<std::size_t>(y * kWidth + x)];
            if (exact <= 1e-9) c.wrongOutside = std::max(c.wrongOutside, got);
            if (exact >= 1 - 1e-9) c.wrongInside = std::max(c.wrongInside, std::fabs(1 - got));
            if (exact <= 1e-9 || exact >= 1 - 1e-9) continue;
            double const down = areaIn(outline, x, y - 0.5 / kSubRows);
            ++c.pixels;
            c.rms += (got - exact) * (got - exact);
            c.rmsDown += (got - down) * (got - down);
            if (std::fabs(got - exact) <= c.worst) continue;
            c.worst = std::fabs(got - exact);
            c.exact = exact, c.rendered = got, c.x = x, c.y = y;
        }
    }
    c.rms = std::sqrt(c.rms / c.pixels);
    c.rmsDown = std::sqrt(c.rmsDown / c.pixels);
    return c;
}

// Coverage is sampled at the upper borders of the sub-rows, so the outline comes out half a
// sub-row, 1/32 pixel, lower than it is: on upper edges alpha is too small, on lower ones too
// large. Against the quad where it is that costs up to 1/32 in a pixel that the outline crosses
// from side to side, and 0.018 to 0.025 RMS on these quads; against the quad half a sub-row lower
// little is left.
//
// The worst pixel lies on an edge so level that it stays within one sub-row across the pixel: alpha
// is then a whole number of sixteenths, and the sub-row that the edge enters counts not at all
// (upper edge) or whole (lower edge), up to 1/16 off.
//
// Nothing is left out: none of these quads has a row whose sub-rows share no column, which the scan
// would skip.
TEST(EdgeCoverage, FollowsTheExactArea) {
    constexpr unsigned kSeed = 20;
    Random random(kSeed);
    std::printf("seed %u, frame %d x %d, High quality\n", kSeed, kWidth, kHeight);
    std::printf("quad      layer pixels    RMS  RMS 1/32 lower  worst at   exact rendered\n");
    for (int quad = 0; quad < 20; ++quad) {
        Quad to = zelk::randomConvexQuad(random);
        for (double& v : to) v = 0.5 + 0.5 * (v - 0.5);  // inside the frame
        for (int const width : {400, 12})                // shrunk, enlarged
            for (int const quality : {1, 2}) {  // Medium, High; Super Sample softens on purpose
                SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", quad " << quad
                                                << ", layer " << width << ", quality " << quality);
                int const height = width * 3 / 4;
                Comparison const c = compare(to, renderedAlpha(to, width, height, quality));
                if (quality == 2)
                    std::printf(
                        "%4d  %3d x %3d %6d %6.4f          %6.4f   %3d,%3d  %6.4f   %6.4f\n", quad,
                        width, height, c.pixels, c.rms, c.rmsDown, c.x, c.y, c.exact, c.rendered);
                EXPECT_GT(c.pixels, 100);
                EXPECT_LE(c.rmsDown, 0.015);
                // The strip between a convex outline and itself 1/32 lower: its area in a pixel.
                EXPECT_LE(c.rms, 1.0 / 32);
                // One strip of 1/16, and a column at either end.
                EXPECT_LE(c.worst, 1.0 / 16 + 2.02 / 512);
                // Span ends are inclusive: a column of 512 at most, and single precision.
                EXPECT_LE(c.wrongOutside, 1.01 / 512);
                EXPECT_LE(c.wrongInside, 1.01 / 512);
            }
    }
}

}  // namespace
