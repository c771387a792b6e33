// The memory host's images: their formats, and copies between them.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "Transform/Common/PixelTraits.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/formats.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/random_quads.h"

namespace {

using Raster = PluginRaster_Memory_Impl;
using Info = PluginHost_API::RasterInfo;
using zelk::GuardedRaster, zelk::kFormats;
using zelk::Random;

TEST(MemoryHost, ImagesKeepTheOutputsChannelOrderAtEveryDepth) {
    for (auto const& output : kFormats) {
        Raster out(output.code, 3, 2);
        PluginHost_Memory_Impl host({}, out.info());
        int served = 0;
        for (int depth = 0; depth <= 4; ++depth) {
            auto const type = static_cast<PluginRaster_API::PixelType>(depth);
            int error = 77;
            std::unique_ptr<PluginRaster_API> image(host.allocRaster(5, 4, type, error, 0));
            EXPECT_EQ(error, 0);
            if (!image) continue;
            ++served;
            Info info{};
            host.getRasterInfo(image.get(), &info);
            auto const made = std::find_if(std::begin(kFormats), std::end(kFormats),
                                           [&](auto const& f) { return f.code == info.format; });
            ASSERT_NE(made, std::end(kFormats)) << info.format;
            EXPECT_EQ(image->getPixelType(), type);
            EXPECT_EQ(made->alpha * 4 + made->red, output.alpha * 4 + output.red);
            EXPECT_EQ(info.rowBytes, 5 * made->pixelBytes);
            EXPECT_TRUE(type != convertToPixelType(output.code) || info.format == output.code);
            for (int freed = 0; freed < 2; ++freed)  // a second time frees nothing
                EXPECT_EQ(host.deallocRaster(image.get()), 0);
        }
        // ARGB has all five depths, BGRA 8, 14 and float, RGBA 8, 16 and float.
        EXPECT_EQ(served, output.alpha == 0 ? 5 : 3) << output.code;
        EXPECT_EQ(host.tally().pixelBuffers + host.tally().rasterObjects, 0);
    }
}

TEST(MemoryHost, CopiesLikeAPixelByPixelCopy) {
    Random random(20240611);
    auto const noise = [&](QV_RasterFormat format) {
        GuardedRaster raster(format, random.integer(0, 9), random.integer(0, 9),
                             4 * random.integer(0, 2));
        raster.paint([&](int, int, int) { return random.uniform(0, zelk::whiteOf(format)); });
        return raster;
    };
    auto const randomRect = [&] {
        const auto side = [&](int high) { return static_cast<short>(random.integer(-3, high)); };
        return QV_Rect{side(9), side(9), side(12), side(12)};
    };
    for (int round = 0; round < 300; ++round) {
        auto const format = kFormats[random.integer(0, 10)].code;
        const GuardedRaster from = noise(format), to = noise(format);
        GuardedRaster expected = to;
        QV_Rect f = randomRect(), t = randomRect();
        bool const wholeFrom = round % 3 == 0, wholeTo = round % 4 == 0;
        PluginHost_Memory_Impl host(from.info(), to.info());
        Raster source(from.info()), target(to.info());
        EXPECT_EQ(host.copy(&source, &target, wholeFrom ? nullptr : &f, wholeTo ? nullptr : &t), 0);
        if (wholeFrom) f = {0, 0, 100, 100};
        if (wholeTo) t = {0, 0, 100, 100};
        auto const holds = [](GuardedRaster const& image, int x, int y) {
            return x >= 0 && y >= 0 && x < image.width() && y < image.height();
        };
        for (int y = 0; y < f.bottom - f.top && y < t.bottom - t.top; ++y)
            for (int x = 0; x < f.right - f.left && x < t.right - t.left; ++x)
                if (holds(from, f.left + x, f.top + y) && holds(to, t.left + x, t.top + y))
                    std::copy_n(from.pixel(f.left + x, f.top + y), from.info().pixelBytes,
                                expected.pixel(t.left + x, t.top + y));
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

// Numbers that no integer holds saturate.
TEST(MemoryHost, IntegersAreDefinedForEveryNumber) {
    PluginHost_Memory_Impl host({}, {});
    int value = 7;
    unsigned entry = 7;
    for (auto const& [number, want] :
         {std::pair(2.9, 2), {1e99, INT32_MAX}, {-1e99, INT32_MIN}, {std::nan(""), 0}}) {
        host.setFloat(0, number);
        EXPECT_EQ(host.GetIntValue(0, 0, {}, value) + host.GetUIntValue(0, 0, {}, entry), 0);
        EXPECT_EQ(value, want);
        EXPECT_EQ(entry, static_cast<unsigned>(want));
    }
}

}  // namespace
