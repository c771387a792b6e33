// The memory host: image formats, copies, and what it counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "Transform/Common/PixelTraits.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/random_quads.h"

namespace {

using Raster = PluginRaster_Memory_Impl;
using Info = PluginHost_API::RasterInfo;
using zelk::GuardedRaster;
using zelk::Random;

struct FormatFacts {
    QV_RasterFormat format;
    int alpha, red, pixelBytes;
};
template <class... T>
std::vector<FormatFacts> factsOf() {
    return {{T::kFormat, T::kAlpha, T::kRed, T::kPixelBytes}...};
}
const std::vector<FormatFacts> kFormats =
    factsOf<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_RGBA8, PIXEL_ARGB15, PIXEL_ARGB14, PIXEL_BGRA14,
            PIXEL_ARGB16, PIXEL_RGBA16, PIXEL_ARGB32, PIXEL_RGBA32, PIXEL_BGRA32>();

TEST(MemoryHost, ImagesKeepTheOutputsChannelOrderAtEveryDepth) {
    for (auto const& output : kFormats) {
        Raster out(output.format, 3, 2);
        PluginHost_Memory_Impl host({}, out.info());
        int served = 0;
        for (int depth = 0; depth <= 4; ++depth) {
            const auto type = static_cast<PluginRaster_API::PixelType>(depth);
            int error = 77;
            std::unique_ptr<PluginRaster_API> image(host.allocRaster(5, 4, type, error, 0));
            EXPECT_EQ(error, 0);
            if (!image) continue;
            ++served;
            Info info{};
            host.getRasterInfo(image.get(), &info);
            const auto made = std::find_if(kFormats.begin(), kFormats.end(),
                                           [&](auto const& f) { return f.format == info.format; });
            ASSERT_NE(made, kFormats.end()) << info.format;
            EXPECT_EQ(image->getPixelType(), type);
            EXPECT_EQ(made->alpha * 4 + made->red, output.alpha * 4 + output.red);
            EXPECT_EQ(info.rowBytes, 5 * made->pixelBytes);
            EXPECT_TRUE(type != convertToPixelType(output.format) || info.format == output.format);
            for (int freed = 0; freed < 2; ++freed)  // a second time frees nothing
                EXPECT_EQ(host.deallocRaster(image.get()), 0);
        }
        // ARGB has all five depths, BGRA 8, 14 and float, RGBA 8, 16 and float.
        EXPECT_EQ(served, output.alpha == 0 ? 5 : 3) << output.format;
        EXPECT_EQ(host.tally().pixelBuffers, 0);
        EXPECT_EQ(host.tally().rasterObjects, 0);
    }
}

GuardedRaster noise(Random& random, QV_RasterFormat format) {
    GuardedRaster raster(format, random.integer(0, 9), random.integer(0, 9),
                         4 * random.integer(0, 2));
    raster.paint([&](int, int, int) { return random.uniform(0, zelk::whiteOf(format)); });
    return raster;
}

QV_Rect randomRect(Random& random) {
    const auto side = [&](int high) { return static_cast<short>(random.integer(-3, high)); };
    return {side(9), side(9), side(12), side(12)};
}

/// Copies pixel by pixel, leaving out whatever is outside either image or rectangle.
void slowCopy(GuardedRaster const& from, GuardedRaster& to, QV_Rect const& f, QV_Rect const& t) {
    for (int y = 0; y < f.bottom - f.top && y < t.bottom - t.top; ++y)
        for (int x = 0; x < f.right - f.left && x < t.right - t.left; ++x) {
            const int fx = f.left + x, fy = f.top + y, tx = t.left + x, ty = t.top + y;
            if (fx < 0 || fy < 0 || fx >= from.width() || fy >= from.height()) continue;
            if (tx < 0 || ty < 0 || tx >= to.width() || ty >= to.height()) continue;
            std::copy_n(from.pixel(fx, fy), from.info().pixelBytes, to.pixel(tx, ty));
        }
}

TEST(MemoryHost, CopiesLikeAPixelByPixelCopy) {
    Random random(20240611);
    constexpr QV_Rect kAll = {0, 0, 100, 100};
    for (int round = 0; round < 300; ++round) {
        const auto format = kFormats[static_cast<std::size_t>(random.integer(0, 10))].format;
        const GuardedRaster from = noise(random, format), to = noise(random, format);
        GuardedRaster expected = to;
        QV_Rect f = randomRect(random), t = randomRect(random);
        const bool wholeFrom = round % 3 == 0, wholeTo = round % 4 == 0;
        PluginHost_Memory_Impl host(from.info(), to.info());
        Raster source(from.info()), target(to.info());
        EXPECT_EQ(host.copy(&source, &target, wholeFrom ? nullptr : &f, wholeTo ? nullptr : &t), 0);
        slowCopy(from, expected, wholeFrom ? kAll : f, wholeTo ? kAll : t);
        ASSERT_TRUE(to.samePixels(expected) && to.guardsIntact()) << "round " << round;
    }
    const GuardedRaster argb(kFormatARGB8, 2, 2), bgra(kFormatBGRA8, 2, 2),
        larger(kFormatARGB8, 4, 3);
    EXPECT_EQ(PluginHost_Memory_Impl(argb.info(), bgra.info()).copyInputToOutput(), 1);
    EXPECT_TRUE(bgra.samePixels({kFormatBGRA8, 2, 2})) << "formats differ";
    EXPECT_EQ(PluginHost_Memory_Impl(argb.info(), larger.info()).copyInputToOutput(), 0);
    larger.forEachChannel([&](int x, int y, int c) {
        EXPECT_EQ(larger.get(x, y, c), x < 2 && y < 2 ? argb.get(x, y, c) : 0) << "clear around it";
    });
}

TEST(MemoryHost, FailsTheAllocationThatWasAskedForAndNoOther) {
    Raster out(kFormatARGB32, 4, 4);
    PluginHost_Memory_Impl host(out.info(), out.info());
    const auto expectCode = [&](int code) {
        int error = 77;
        std::unique_ptr<PluginRaster_API> image(
            host.allocRaster(2, 2, PluginRaster_API::kPixelTypeFloat, error, 0));
        EXPECT_EQ(error, code);
        EXPECT_EQ(image == nullptr, code != 0);
        host.deallocRaster(image.get());
    };
    expectCode(0);
    host.failAllocation(2, 4);
    for (const int code : {0, 4, 0}) expectCode(code);
    EXPECT_EQ(host.tally().allocations, 4);
}

}  // namespace
