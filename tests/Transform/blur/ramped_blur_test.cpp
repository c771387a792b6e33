// The line blur with two radii and the blur that grows from a line, where a closed form tells more
// than the comparison with the slow blurs.
#include <gtest/gtest.h>

#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurGrowing.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurLines.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurPyramid.h"
#include "tests/Transform/blur/blur_reference.h"

namespace {

using namespace blur_reference;
using P8 = PIXEL_ARGB8;
constexpr auto kArgb8 = facts<P8>();

constexpr auto growing = &progressiveBlur_RGBA<P8, P8::Channel, P8::Wide, P8::Weight, P8::FORMAT>;
constexpr auto gaussAll = &gauss1_RGBA<P8, P8::Channel, P8::Wide, P8::Weight, P8::FORMAT>;
constexpr auto gaussAlpha = &gauss1_A<P8, P8::Channel, P8::Wide, P8::Weight, P8::FORMAT>;

/// A picture in an 8-bit raster with a host that has room for it.
struct Stage {
    explicit Stage(Picture const& p)
        : raster(kFormatARGB8, p.width, p.height), host({}, raster.info()), info(raster.info()) {
        write(p, raster);
    }
    Picture now() const { return read(raster, false); }

    Raster raster;
    PluginHost_Memory_Impl host;
    PluginHost_API::RasterInfo info;
};

TEST(InterpolatedBlur, TheRadiusFallsFromLineToLine) {
    constexpr int kSize = 41, kMiddle = 20;
    Picture stripe(kSize, 5, false);
    for (int y = 0; y < 5; ++y)
        for (int c = 0; c < 4; ++c) stripe.at(kMiddle, y, c) = 250;
    Stage stage(stripe);
    EXPECT_EQ(interpolatedBlur<unsigned char>(&stage.host, stage.info, 4.0, 0.0, false), 0);
    // Radius R leaves 2 R + 1 pixels; its peak is 1 / (R + 1) of the impulse.
    const Picture now = stage.now();
    for (int y = 0; y < 5; ++y) {
        const int radius = 4 - y;
        int wide = 0;
        for (int x = 0; x < kSize; ++x) wide += now.at(x, y, 1) > 0;
        EXPECT_EQ(wide, 2 * radius + 1) << y;
        EXPECT_NEAR(now.at(kMiddle, y, 1), 250.0 / (radius + 1), 1.0) << y;  // truncation
    }
    EXPECT_EQ(stage.host.tally().pixelBuffers, 0);
}

TEST(Gauss, SmoothsEveryPixelWithLimitedNeighbours) {
    constexpr unsigned kSeed = 91;
    std::mt19937 random(kSeed);
    for (int width : {1, 2, 3, 4, 9})
        for (int height : {1, 2, 3, 7}) {
            const Picture before = randomPicture(kArgb8, width, height, random);
            const Picture expected = smoothed(before);
            Stage all(before), alpha(before);
            auto* pixels = static_cast<unsigned char*>(all.info.data);
            EXPECT_EQ(gaussAll(&all.host, pixels, width, height), 0);
            EXPECT_EQ(all.now().values, expected.values) << "seed " << kSeed << " " << width;
            pixels = static_cast<unsigned char*>(alpha.info.data);
            EXPECT_EQ(gaussAlpha(&alpha.host, pixels, width, height), 0);
            Picture only = before;
            for (std::size_t i = 0; i < only.values.size(); i += 4)
                only.values[i] = expected.values[i];
            EXPECT_EQ(alpha.now().values, only.values) << "seed " << kSeed << " " << width;
            EXPECT_EQ(all.host.tally().handles + alpha.host.tally().handles, 0);
        }
}

// The line x = 16 with `amount` in levels a pixel: pixels left of it are blurred by their distance
// 16 - x, those right of it are not.
TEST(GrowingBlur, StartsAtTheLineAndReachesALevelAtAWholeDistance) {
    constexpr unsigned kSeed = 92;
    std::mt19937 random(kSeed);
    Picture before = randomPicture(kArgb8, 33, 20, random);
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 33; ++x) before.at(x, y, 0) = x % 5 == 0 ? 0 : 255;
    const auto levels = pyramid(before);
    Stage stage(before);
    QV_Line2D line(16, 0, 16, 1, false);
    EXPECT_EQ(growing(&stage.host, line, 1.0f, &stage.info), 0);
    const Picture now = stage.now();
    for (int y = 0; y < 20; ++y)
        for (int c = 0; c < 4; ++c) {
            for (int x = 16; x < 33; ++x) ASSERT_EQ(now.at(x, y, c), before.at(x, y, c)) << x;
            ASSERT_EQ(now.at(10, y, c), before.at(10, y, c)) << "transparent";
            // 255 (1 / 255) is 1 in float, so an opaque pixel is its sample.
            ASSERT_EQ(now.at(14, y, c), readLevel(levels[2], 1, 14, y, c)) << "v = 2";
            ASSERT_EQ(now.at(12, y, c), readLevel(levels[3], 2, 12, y, c)) << "v = 4";
        }
    Stage near(before);
    line = QV_Line2D(16, 0, 16, 1, false);
    EXPECT_EQ(growing(&near.host, line, 0.5f, &near.info), 0);
    for (int y = 0; y < 20; ++y)
        for (int c = 0; c < 4; ++c)
            ASSERT_EQ(near.now().at(14, y, c), levels[1].at(14, y, c)) << "level 1, entire";
}

TEST(GrowingBlur, FadesOutInTheLastLevelAndIsEmptyBeyond) {
    Picture white(17, 3, false);  // 5 levels: the last one's end is v = 16
    std::fill(white.values.begin(), white.values.end(), 255.0);
    Stage stage(white);
    QV_Line2D line(17, 0, 17, 1, false);  // distance 17 - x
    EXPECT_EQ(growing(&stage.host, line, 1.0f, &stage.info), 0);
    const Picture now = stage.now();
    for (int x = 0; x < 17; ++x) {
        const double v = 17 - x;
        const double left = v <= 8 ? 1.0 : v <= 16 ? 1.0 - (v - 8) / 8 : 0.0;
        EXPECT_EQ(now.at(x, 1, 2), std::trunc(255 * left)) << "v = " << v;
    }
}

TEST(GrowingBlur, TheLineMovesWithTheSettingsAndTinyAmountsDoNothing) {
    constexpr unsigned kSeed = 93;
    std::mt19937 random(kSeed);
    const Picture before = randomPicture(kArgb8, 24, 9, random);
    RenderSettings settings;
    settings.lineShiftX = 5;
    settings.lineShiftY = -2;
    Stage moved(before), expected(before), still(before);
    moved.host.setUserData(&settings);
    QV_Line2D line(12, 0, 10, 9, false), there = line;
    there.translate(5, -2);
    EXPECT_EQ(growing(&moved.host, line, 0.7f, &moved.info), 0);
    EXPECT_EQ(growing(&expected.host, there, 0.7f, &expected.info), 0);
    EXPECT_EQ(moved.now().values, expected.now().values) << "seed " << kSeed;
    EXPECT_EQ(growing(&still.host, there, 9e-6f, &still.info), 0);
    EXPECT_EQ(still.now().values, before.values);
}

}  // namespace
