// Whole core renders: pins that flip corners behind the viewer, level edges inside a row, fills.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

using Raster = PluginRaster_Memory_Impl;

struct Pins {
    QV_UnitPoint to[4], from[4];  ///< pin order
};

int render(Raster& source, Raster& frame, Pins const& pins, int filter, bool fill = false) {
    PluginHost_Memory_Impl host(source.info(), frame.info());
    CoreRenderArguments core;
    core.quadMode = 3;
    core.filter = filter;
    std::copy_n(pins.to, 4, core.toPins);
    std::copy_n(pins.from, 4, core.fromPins);
    RenderSettings settings;
    settings.srcRight = source.info().width - 1;
    settings.srcBottom = source.info().height - 1;
    settings.dstRight = frame.info().width - 1;
    settings.dstBottom = frame.info().height - 1;
    settings.alphaOffset = 0;
    return CommonRender_CoreTransformRender(&host, core, source.info(), frame.info(), true, false,
                                            &settings, true, fill);
}

float* pixel(Raster& raster, int x, int y) { return reinterpret_cast<float*>(raster.pixel(x, y)); }

// Three corners lie behind the viewer. Flipped one by one they make an outline that is not convex,
// and the clip would need an eleventh vertex.
TEST(CoreRender, OutlinesThatAreNotConvexStayWithinThePolygon) {
    const Pins cases[] = {
        {{{1.42, -0.79}, {0.43, 1.20}, {1.83, -0.82}, {0.49, 1.46}},
         {{0.79, 0.02}, {0.65, 0.24}, {0.03, 0.53}, {0.36, 0.51}}},
        {{{-0.39, 0.64}, {1.07, 1.41}, {-0.73, 0.32}, {1.81, 1.62}},
         {{0.72, 0.72}, {0.63, 0.89}, {0.08, 0.08}, {0.02, 0.06}}},
    };
    for (Pins const& pins : cases)
        for (int filter : {0, 1, 9, 22}) {
            Raster source(kFormatARGB32, 100, 100), frame(kFormatARGB32, 100, 100);
            EXPECT_EQ(render(source, frame, pins, filter), 0);
        }
}

// A level bottom edge ends inside row 10: the row is sampled between its own two sides.
TEST(CoreRender, ThePartialLastRowIsSampledLikeAnyOther) {
    Raster source(kFormatARGB32, 64, 64), frame(kFormatARGB32, 64, 64);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) std::fill_n(pixel(source, x, y), 4, static_cast<float>(y));
    const double bottom = 10.9 / 64;
    const Pins pins = {{{0, 0}, {0, bottom}, {1, 0}, {1, bottom}},
                       {{0, 0}, {0, 1}, {1, 0}, {1, 1}}};
    ASSERT_EQ(render(source, frame, pins, 1), 0);
    const float coverage = 15.0f / 16;  // sub-rows 0 to 14 begin above 0.9
    for (int x = 1; x < 63; ++x)
        EXPECT_NEAR(pixel(frame, x, 10)[0] / coverage, 10.5 / 10.9 * 64 - 0.5, 1e-4) << x;
}

TEST(CoreRender, FillsStandWhereThePinsSayWithEveryScan) {
    for (int filter : {0, 1}) {
        Raster source(kFormatARGB32, 16, 16), frame(kFormatARGB32, 16, 16);
        const Pins pins = {{{0.5, 0}, {0.5, 1}, {0.75, 0}, {0.75, 1}},
                           {{0, 0}, {0, 1}, {1, 0}, {1, 1}}};
        ASSERT_EQ(render(source, frame, pins, filter, true), 0);
        for (int x = 0; x < 16; ++x) {
            EXPECT_NEAR(pixel(frame, x, 8)[0], x >= 8 && x < 12 ? 1.0 : 0.0, 1.01 / 512) << x;
            EXPECT_EQ(pixel(frame, x, 8)[1], 0.0f);
        }
    }
}

}  // namespace
