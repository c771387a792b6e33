// The blur entry over all formats, kinds and both channel sets against the slow blurs; threads,
// padding, refused memory.
#include <gtest/gtest.h>
#include <omp.h>

#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "tests/Transform/blur/blur_reference.h"

namespace {

using namespace blur_reference;

constexpr int kKinds[] = {-11, -10, -2, -1, 0, 1, 2, 3, 4};

int run(PluginHost_API& host, Raster const& raster, Call const& call, bool extended = false) {
    QV_Line2D line = call.line;
    auto info = raster.info();
    return CommonRender_progressiveBlur(&host, line, call.radius, call.aspect, call.fadeStart,
                                        call.fadeLength, call.curve, &info, call.alphaPlane,
                                        call.kind, extended);
}

std::vector<unsigned char> bytesOf(Raster const& r) {
    auto const* bytes = static_cast<unsigned char const*>(r.info().data);
    return {bytes, bytes + std::size_t(r.info().rowBytes) * r.info().height};
}

/// Random arguments that make sense for the kind.
Call randomCall(int kind, int width, int height, std::mt19937& random) {
    const auto upTo = [&random](float most) {
        return std::uniform_real_distribution<float>(0, most)(random);
    };
    const float radii[] = {0.0f, 1e-6f, 0.4f, 1.0f, 2.7f, 8.99f, 25.0f, 1.99999995f};
    const float aspects[] = {1.0f, 0.5f, 0.0f, 2.3f};
    Call call{kind, radii[random() % 8], aspects[random() % 4], random() % 2 == 0};
    if (kind == -11 || kind == -10) call.aspect = radii[random() % 8];
    if (kind == 1) call.radius = upTo(1.5f);
    if (kind >= 0 && kind != 1) call.radius = upTo(1000.0f);
    call.fadeStart = upTo(60.0f);
    call.fadeLength = random() % 8 ? upTo(90.0f) : 0.0f;
    call.curve = int(random() % 4);
    call.line = QV_Line2D(upTo(float(width)), upTo(float(height)), upTo(float(width)),
                          upTo(float(height)) + 0.25, false);
    return call;
}

class EveryFormat : public testing::TestWithParam<FormatFacts> {};
INSTANTIATE_TEST_SUITE_P(Blur, EveryFormat, testing::ValuesIn(kFormats), [](auto const& test) {
    return "format" + std::to_string(test.param.code);
});

TEST_P(EveryFormat, GivesTheSlowBlursPixelsAndLeavesThePadding) {
    const FormatFacts format = GetParam();
    const unsigned seed = 100 + unsigned(format.code);
    std::mt19937 random(seed);
    for (int size = 1; size <= 40; ++size) {
        const int width = size, height = int(random() % 40) + 1;
        for (int kind : kKinds) {
            // Rows padded by 0, 16 or 32 bytes, told by a byte that no blur may touch.
            Raster raster(format.code, width, height, int(random() % 3) * 16);
            std::memset(raster.info().data, 0xAB, std::size_t(raster.info().rowBytes) * height);
            Picture expected = randomPicture(format, width, height, random);
            write(expected, raster);
            const Call call = randomCall(kind, width, height, random);
            PluginHost_Memory_Impl host({}, raster.info());
            host.setScale(random() % 2 ? 1.0 : 0.5, 0.75);
            ASSERT_EQ(run(host, raster, call), 0);
            drive(expected, format, call, std::min(host.getScaleX(), host.getScaleY()));
            const Picture result = read(raster, format.isFloat);
            for (std::size_t i = 0; i < result.values.size(); ++i)
                ASSERT_EQ(result.values[i], expected.values[i])
                    << "seed " << seed << " kind " << kind << " " << width << "x" << height
                    << " radius " << call.radius << " alpha " << call.alphaPlane << " at pixel "
                    << i / 4 << " channel " << i % 4;
            const auto bytes = bytesOf(raster);
            for (int y = 0; y < height; ++y)
                for (int i = width * raster.info().pixelBytes; i < raster.info().rowBytes; ++i)
                    ASSERT_EQ(bytes[std::size_t(y) * raster.info().rowBytes + i], 0xAB);
            ASSERT_EQ(host.tally().pixelBuffers + host.tally().rasterObjects, 0);
            ASSERT_EQ(host.tally().handles, 0);
        }
    }
}

TEST(ProgressiveBlur, ThreadsChangeNothing) {
    constexpr unsigned kSeed = 120;
    std::mt19937 random(kSeed);
    const int former = omp_get_max_threads();
    for (auto const& format : {facts<PIXEL_ARGB8>(), facts<PIXEL_BGRA14>(), facts<PIXEL_BGRA32>()})
        for (int kind : kKinds) {
            const Picture before = randomPicture(format, 61, 47, random);
            const Call call = randomCall(kind, 61, 47, random);
            std::vector<std::vector<unsigned char>> results;
            for (int threads : {1, 2, 3}) {
                omp_set_num_threads(threads);
                Raster raster(format.code, 61, 47);
                write(before, raster);
                PluginHost_Memory_Impl host({}, raster.info());
                EXPECT_EQ(run(host, raster, call), 0);
                results.push_back(bytesOf(raster));
            }
            EXPECT_EQ(results[0], results[1]) << "seed " << kSeed << " kind " << kind;
            EXPECT_EQ(results[0], results[2]) << "seed " << kSeed << " kind " << kind;
        }
    omp_set_num_threads(former);
}

// ---- Fade

TEST(Fade, RowsAboveTheRampGoAndThoseBelowStay) {
    const struct {
        float start, length;
        int curve;
        std::vector<double> rows;  // of 100 each, from the top; t = 1, 0.75, 0.5, 0.25, 0
    } cases[] = {
        {0, 1, 0, {0, 0, 0, 0, 100}},
        {0, 100, 0, {0, 25, 50, 75, 100}},
        {0, 100, 1, {0, 6, 25, 56, 100}},
        {0, 100, 2, {0, 50, 70, 86, 100}},
        {25, 50, 7, {0, 0, 50, 100, 100}},
        {100, 50, 0, {100, 100, 100, 100, 100}},
        {50, -25, 0, {0, 0, 100, 100, 100}},
        {50, 0, 0, {0, 0, 100, 100, 100}},
        {49.9995f, 0.0008f, 0, {0, 0, 100, 100, 100}},  // t = 0.5, the ramp 8e-6
    };
    for (auto const& c : cases) {
        Picture p(3, 5, false);
        std::fill(p.values.begin(), p.values.end(), 100.0);
        Raster raster(kFormatRGBA8, 3, 5);
        write(p, raster);
        PluginHost_Memory_Impl host({}, raster.info());
        EXPECT_EQ(run(host, raster, {0, 0, 1, false, c.start, c.length, c.curve}), 0);
        for (int y = 0; y < 5; ++y)
            EXPECT_EQ(read(raster, false).at(2, y, 3), c.rows[y])
                << c.start << "+" << c.length << " curve " << c.curve << " row " << y;
    }
}

// ---- Formats and failures

TEST(ProgressiveBlur, FormatsWithoutAnInstanceAnswerOneUnlessExtended) {
    Raster raster(kFormatARGB32, 7, 7);
    static_cast<float*>(raster.info().data)[4 * 24] = 1.0f;
    const auto before = bytesOf(raster);
    for (int code : {4, 12, 13, 14, 20, 21, -1}) {
        auto output = raster.info();
        output.format = static_cast<QV_RasterFormat>(code);
        PluginHost_Memory_Impl host({}, output);
        EXPECT_EQ(run(host, raster, {-1, 1, 1}), 1) << code;
        EXPECT_EQ(bytesOf(raster), before) << code;
    }
    Raster output(kFormatARGB8, 7, 7);
    PluginHost_Memory_Impl host({}, output.info());
    EXPECT_EQ(run(host, raster, {-1, 1, 1}, true), 0);
    EXPECT_EQ(read(raster, true).at(3, 3, 0), 0.25);  // (1 / 2)^2 of the impulse
}

/// Refuses the n-th handle, or its lock.
struct ForgetfulHost : PluginHost_Memory_Impl {
    using PluginHost_Memory_Impl::PluginHost_Memory_Impl;
    int refuseAt = 0, refuseLockAt = 0, asked = 0, locked = 0, unlocked = 0;

    void* allocMemory(int bytes) override {
        return ++asked == refuseAt ? nullptr : PluginHost_Memory_Impl::allocMemory(bytes);
    }
    void* lockMemory(void* handle) override {
        if (asked == refuseLockAt) return nullptr;
        ++locked;
        return PluginHost_Memory_Impl::lockMemory(handle);
    }
    void unlockMemory(void* handle) override {
        ++unlocked;
        PluginHost_Memory_Impl::unlockMemory(handle);
    }
};

TEST(ProgressiveBlur, ARefusedImageAnswersTheHostsCodeAndLeavesTheRaster) {
    constexpr unsigned kSeed = 122;
    std::mt19937 random(kSeed);
    constexpr auto format = facts<PIXEL_BGRA32>();
    const Picture before = randomPicture(format, 30, 22, random);
    const struct {
        int kind;
        float radius;
        int images;  // that the blur takes in all
    } cases[] = {{-11, 2.5f, 1}, {-10, 2.5f, 1}, {-1, 2.5f, 3}, {-2, 2.5f, 3}, {0, 30.0f, 3}};
    for (auto const& c : cases)
        for (bool alphaPlane : {false, true})
            for (int nth = 1; nth <= c.images + 1; ++nth)
                for (int code : {516, 0})
                    for (bool givesRaster : {false, true}) {
                        Raster raster(format.code, 30, 22);
                        write(before, raster);
                        PluginHost_Memory_Impl host({}, raster.info());
                        host.failAllocation(nth, code, givesRaster);
                        const int result =
                            run(host, raster, {c.kind, c.radius, 1, alphaPlane, 100, 1});
                        const bool failed = nth <= c.images;
                        EXPECT_EQ(result, !failed ? 0 : code ? code : 1) << c.kind << " " << nth;
                        EXPECT_EQ(read(raster, true).values == before.values, failed)
                            << c.kind << " " << nth;
                        EXPECT_EQ(host.tally().pixelBuffers + host.tally().rasterObjects, 0);
                    }
}

TEST(ProgressiveBlur, RefusedMemoryOfThePyramidAnswersOneAndLeavesTheRaster) {
    constexpr unsigned kSeed = 123;
    std::mt19937 random(kSeed);
    constexpr auto format = facts<PIXEL_ARGB16>();
    const Picture before = randomPicture(format, 30, 22, random);
    // 1 + ceil(log2 29) = 6 levels, 5 of them made: 30x22, 15x11, 8x6 and 4x3 are smoothed through
    // a copy, 2x2 is not.
    constexpr int kHandles = 9;
    for (bool alphaPlane : {false, true})
        for (bool lock : {false, true})
            for (int nth = 1; nth <= kHandles + 1; ++nth) {
                Raster raster(format.code, 30, 22);
                write(before, raster);
                ForgetfulHost host({}, raster.info());
                (lock ? host.refuseLockAt : host.refuseAt) = nth;
                Call call{1, 0.5f, 1, alphaPlane, 100, 1};
                call.line = QV_Line2D(0, 22, 30, 22, false);
                const bool failed = nth <= kHandles;
                EXPECT_EQ(run(host, raster, call), failed) << nth;
                EXPECT_EQ(read(raster, false).values == before.values, failed) << nth;
                EXPECT_EQ(host.tally().handles, 0) << nth;
                EXPECT_EQ(host.locked, host.unlocked) << nth;
            }
}

}  // namespace
