// The memory host: image formats, copies, parameters, failures and what it counts.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <random>

#include "Transform/Common/PixelTraits.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

using Raster = PluginRaster_Memory_Impl;
using Info = PluginHost_API::RasterInfo;

struct FormatFacts {
    QV_RasterFormat format;
    int alpha, red, pixelBytes;
};
template <class T>
constexpr FormatFacts facts() {
    return {T::kFormat, T::kAlpha, T::kRed, T::kPixelBytes};
}
constexpr FormatFacts kFormats[] = {
    facts<PIXEL_ARGB8>(),  facts<PIXEL_BGRA8>(),  facts<PIXEL_RGBA8>(),  facts<PIXEL_ARGB15>(),
    facts<PIXEL_ARGB14>(), facts<PIXEL_BGRA14>(), facts<PIXEL_ARGB16>(), facts<PIXEL_RGBA16>(),
    facts<PIXEL_ARGB32>(), facts<PIXEL_RGBA32>(), facts<PIXEL_BGRA32>()};

FormatFacts const* factsOf(QV_RasterFormat format) {
    for (auto const& f : kFormats)
        if (f.format == format) return &f;
    return nullptr;
}

void fillRandom(Raster const& raster, std::mt19937& random) {
    auto* bytes = static_cast<unsigned char*>(raster.info().data);
    for (int i = 0; i < raster.info().rowBytes * raster.info().height; ++i)
        bytes[i] = static_cast<unsigned char>(random());
}

std::vector<unsigned char> bytesOf(Raster const& raster) {
    auto const* bytes = static_cast<unsigned char const*>(raster.info().data);
    return {bytes, bytes + raster.info().rowBytes * raster.info().height};
}

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
            FormatFacts const* made = factsOf(info.format);
            ASSERT_TRUE(made) << info.format;
            EXPECT_EQ(image->getPixelType(), type);
            EXPECT_EQ(made->alpha * 4 + made->red, output.alpha * 4 + output.red);
            EXPECT_EQ(info.rowBytes, 5 * made->pixelBytes);
            EXPECT_TRUE(type != convertToPixelType(output.format) || info.format == output.format);
            host.deallocRaster(image.get());
        }
        // ARGB has all five depths, BGRA 8, 14 and float, RGBA 8, 16 and float.
        EXPECT_EQ(served, output.alpha == 0 ? 5 : 3) << output.format;
        EXPECT_EQ(host.tally().pixelBuffers, 0);
        EXPECT_EQ(host.tally().rasterObjects, 0);
    }
}

/// Copies pixel by pixel, leaving out whatever is outside either image or rectangle.
void slowCopy(Raster const& from, Raster const& to, QV_Rect f, QV_Rect t) {
    for (int y = 0; y < f.bottom - f.top && y < t.bottom - t.top; ++y) {
        for (int x = 0; x < f.right - f.left && x < t.right - t.left; ++x) {
            const int fx = f.left + x, fy = f.top + y, tx = t.left + x, ty = t.top + y;
            if (fx < 0 || fy < 0 || fx >= from.info().width || fy >= from.info().height) continue;
            if (tx < 0 || ty < 0 || tx >= to.info().width || ty >= to.info().height) continue;
            std::memcpy(to.pixel(tx, ty), from.pixel(fx, fy),
                        static_cast<std::size_t>(from.info().pixelBytes));
        }
    }
}

TEST(MemoryHost, CopiesLikeAPixelByPixelCopy) {
    const unsigned seed = 20240611;
    std::mt19937 random(seed);
    SCOPED_TRACE(seed);
    auto within = [&](int low, int high) {
        return static_cast<short>(std::uniform_int_distribution<int>(low, high)(random));
    };
    for (int round = 0; round < 300; ++round) {
        const auto format = kFormats[within(0, 10)].format;
        Raster from(format, within(0, 9), within(0, 9), within(0, 5));
        Raster to(format, within(0, 9), within(0, 9), within(0, 5));
        Raster expected(format, to.info().width, to.info().height,
                        to.info().rowBytes - to.info().width * to.info().pixelBytes);
        fillRandom(from, random);
        fillRandom(to, random);
        std::memcpy(expected.info().data, to.info().data, bytesOf(to).size());
        QV_Rect f{within(-3, 9), within(-3, 9), within(-3, 12), within(-3, 12)};
        QV_Rect t{within(-3, 9), within(-3, 9), within(-3, 12), within(-3, 12)};
        const bool wholeFrom = round % 3 == 0, wholeTo = round % 4 == 0;
        if (wholeFrom)
            f = {0, 0, static_cast<short>(from.getHeight()), static_cast<short>(from.getWidth())};
        if (wholeTo) t = {0, 0, 100, 100};

        PluginHost_Memory_Impl host(from.info(), to.info());
        EXPECT_EQ(host.copy(&from, &to, wholeFrom ? nullptr : &f, wholeTo ? nullptr : &t), 0);
        slowCopy(from, expected, f, t);
        ASSERT_EQ(bytesOf(to), bytesOf(expected)) << "round " << round;
    }
    Raster argb(kFormatARGB8, 2, 2), bgra(kFormatBGRA8, 2, 2);
    fillRandom(argb, random);
    EXPECT_EQ(PluginHost_Memory_Impl(argb.info(), bgra.info()).copyInputToOutput(), 1);
    EXPECT_EQ(bytesOf(bgra), std::vector<unsigned char>(16, 0)) << "formats differ";
}

TEST(MemoryHost, FailsTheAllocationThatWasAskedFor) {
    Raster out(kFormatARGB32, 4, 4);
    PluginHost_Memory_Impl host(out.info(), out.info());
    std::vector<std::unique_ptr<PluginRaster_API>> images;
    auto const expectAllocation = [&](bool isMade, int code) {
        int error = 77;
        images.emplace_back(host.allocRaster(2, 2, PluginRaster_API::kPixelTypeFloat, error, 0));
        EXPECT_EQ(images.back() != nullptr, isMade);
        EXPECT_EQ(error, code);
    };
    expectAllocation(true, 0);
    host.failAllocation(2, 4);
    expectAllocation(true, 0);
    expectAllocation(false, 4);
    expectAllocation(true, 0);
    host.failAllocation(1, 0);
    expectAllocation(false, 0);
    host.failAllocation(1, 9, true);  // an image without pixels
    expectAllocation(true, 9);
    EXPECT_EQ(host.tally().pixelBuffers, 3);
    EXPECT_EQ(host.tally().rasterObjects, 4);
    EXPECT_EQ(host.tally().allocations, 6);
    for (auto const& image : images)
        for (int freed = 0; image && freed < 2; ++freed)  // a second time frees nothing
            EXPECT_EQ(host.deallocRaster(image.get()), 0);
    EXPECT_EQ(host.tally().pixelBuffers, 0);
}

}  // namespace
