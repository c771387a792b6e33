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

TEST(MemoryHost, ClearsRowsInclusiveAndColumnsHalfOpen) {
    std::mt19937 random(5);
    for (auto const& format : kFormats) {
        Raster image(format.format, 7, 6, 3);
        fillRandom(image, random);
        auto expected = bytesOf(image);
        for (int y = 1; y <= 4; ++y) {
            const auto start = expected.begin() + y * image.info().rowBytes;
            std::fill(start + 2 * format.pixelBytes, start + 5 * format.pixelBytes, 0);
        }
        PluginHost_Memory_Impl host(image.info(), image.info());
        for (QV_Rect rect : {QV_Rect{1, 2, 4, 5}, QV_Rect{4, 2, 3, 5}})  // upside down
            EXPECT_EQ(host.fill(&image, &rect), 0);
        EXPECT_EQ(bytesOf(image), expected);

        for (int y = 0; y < 6; ++y) {  // the whole image, padding left alone
            const auto start = expected.begin() + y * image.info().rowBytes;
            std::fill(start, start + 7 * format.pixelBytes, 0);
        }
        EXPECT_EQ(host.fillOutput(), 0);
        EXPECT_EQ(bytesOf(image), expected);
    }
}

TEST(MemoryHost, AnswersParametersAsTheyWereSet) {
    Raster out(kFormatARGB8, 200, 50);
    PluginHost_Memory_Impl host({}, out.info());
    const QV_TimeObject now{10, 1, 25};
    double x = -7, y = -7, z = -7;
    EXPECT_EQ(host.GetFloatValue(1, 0, now, x) + host.GetColorValue(1, 0, now, x, y, z), 2);
    EXPECT_TRUE(x == -7 && y == -7 && z == -7) << "not set";
    host.setFloat(1, 0.125);
    host.setInt(2, -3);
    host.setPopup(3, 22);
    host.setBool(4, false);
    host.setColor(5, 0.25, 0.5, 1.0);
    host.setPoint(6, 0.5, 2.0);
    host.setPointPixels(7, 100, 100);
    host.setAnimated(8, [](QV_TimeObject const& t) {
        return PluginHost_Memory_Impl::Value{static_cast<double>(t.time) / t.timeScale, 2};
    });
    int whole = 7;
    unsigned entry = 7;
    bool truth = true;
    EXPECT_TRUE(host.GetFixedFloatValue(1, 0, now, x) == 0 && x == 0.125);
    EXPECT_TRUE(host.GetIntValue(2, 0, now, whole) == 0 && whole == -3);
    EXPECT_TRUE(host.GetUIntValue(3, 0, now, entry) == 0 && entry == 22);
    EXPECT_TRUE(host.GetBoolValue(4, 0, now, truth) == 0 && !truth);
    EXPECT_TRUE(host.GetColorValue(5, 0, now, x, y, z) == 0 && x == 0.25 && y == 0.5 && z == 1.0);
    EXPECT_TRUE(host.GetPoint2DValue(7, 0, now, x, y) == 0 && x == 0.5 && y == 2.0);
    EXPECT_TRUE(host.GetPoint2DValue(8, 0, now, x, y) == 0 && x == 0.4 && y == 2.0);
    host.setOutputSize(400, 25);  // pixel points follow the reported size, fractions stand
    EXPECT_TRUE(host.GetPoint2DValue(7, 0, now, x, y) == 0 && x == 0.25 && y == 4.0);
    EXPECT_TRUE(host.GetPoint2DValue(6, 0, now, x, y) == 0 && x == 0.5 && y == 2.0);
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

TEST(MemoryHost, AnswersAsOneFamilyAndNeverAsAfterEffects) {
    using Family = MemoryHostFamily;
    Raster out(kFormatARGB8, 1, 1);
    for (const auto family : {Family::kNone, Family::kAVX1, Family::kAVX2, Family::kFXPLUG}) {
        PluginHost_Memory_Impl host(out.info(), out.info(), family);
        std::unique_ptr<PluginRaster_API> wrapper(host.getOutputRaster());
        EXPECT_FALSE(host.getAEHost() || host.getSPARKHost() || wrapper->getAERaster());
        EXPECT_EQ(host.getAVX1Host() != nullptr, family == Family::kAVX1);
        EXPECT_EQ(wrapper->getAVX1Raster() != nullptr, family == Family::kAVX1);
        EXPECT_EQ(host.getAVX2Host() != nullptr, family == Family::kAVX2);
        EXPECT_EQ(host.getFXPLUGHost() != nullptr, family == Family::kFXPLUG);
        EXPECT_EQ(wrapper->getFXPLUGRaster() != nullptr, family == Family::kFXPLUG);
        host.setApplication("PrMr");
        EXPECT_TRUE(host.isApplication(0x50724D72) && !host.isApplication(0x46585443));
    }
}

TEST(MemoryHost, RecordsAreTakenOverAndLayersOfOtherTimesAreCopies) {
    std::mt19937 random(11);
    Raster in(kFormatBGRA8, 5, 3, 4), mask(kFormatBGRA8, 2, 2), out(kFormatBGRA8, 5, 3);
    fillRandom(in, random);
    PluginHost_Memory_Impl host(in.info(), out.info());
    void* handle = host.allocMemory(64);
    auto* record = new Info{handle, kFormatRGBA16, 5, 3, 40, 8, 1.0f, 1.0f, 0};
    std::unique_ptr<PluginRaster_API> image(host.allocRaster(record));
    Info info{};
    host.getRasterInfo(image.get(), &info);
    EXPECT_TRUE(info.format == kFormatRGBA16 && info.width == 5 && info.height == 3);
    EXPECT_EQ(host.tally().handles, 0);
    host.deallocRaster(image.get());
    image.reset();

    host.setInput(3, mask.info());
    EXPECT_EQ(host.checkoutLayer(9, 0), nullptr);
    PluginRaster_API* frame = host.lockTemporalRaster(12.0, false, false);
    ASSERT_TRUE(frame);
    host.getRasterInfo(frame, &info);
    EXPECT_NE(info.data, in.info().data);
    for (int y = 0; y < 3; ++y) {
        auto const* row = static_cast<unsigned char*>(info.data) + y * info.rowBytes;
        EXPECT_EQ(std::memcmp(row, in.pixel(0, y), 20), 0);
    }
    EXPECT_EQ(host.unlockTemporalRaster(frame), 0);
    PluginRaster_API* layer = host.checkoutLayer(3, 4.0, 0);
    ASSERT_TRUE(layer);
    EXPECT_EQ(layer->getWidth(), 2);
    EXPECT_EQ(host.checkinLayer(layer), 0);
    EXPECT_EQ(host.tally().rasterObjects, 0);
}

}  // namespace
