// The blur entry over all formats, kinds, both channel sets and numbers of threads against the slow
// blurs; the fade's ends, padding, refused memory.
#include <gtest/gtest.h>
#include <omp.h>

#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "Transform/Common/RenderRecords.h"
#include "tests/Transform/blur/blur_reference.h"

namespace {

using namespace blur_reference;

constexpr int kKinds[] = {-11, -10, -2, -1, 0, 1, 2, 3, 4};
constexpr unsigned kSeed = 100;

int run(PluginHost_API& host, GuardedRaster const& raster, Call const& call,
        bool extended = false) {
    QV_Line2D line = call.line;
    auto info = raster.info();
    return CommonRender_progressiveBlur(&host, line, call.radius, call.aspect, call.fadeStart,
                                        call.fadeLength, call.curve, &info, call.alphaPlane,
                                        call.kind, extended);
}

/// Random arguments that make sense for the kind, and radii that blur nothing.
Call randomCall(int kind, int width, int height, std::mt19937& random) {
    const auto upTo = [&random](float most) {
        return std::uniform_real_distribution<float>(0, most)(random);
    };
    const float radii[] = {0.0f,  1e-6f,     0.4f,   1.0f,  2.7f, 8.99f,
                           25.0f, 1.999995f, -1e-5f, -3.0f, NAN,  INFINITY};
    const float aspects[] = {1.0f, 0.5f, 0.0f, 2.3f};
    Call call{kind, radii[random() % 12], aspects[random() % 4], random() % 2 == 0};
    if (kind == -11 || kind == -10) call.aspect = radii[random() % 12];
    if (kind == 1) call.radius = random() % 8 ? upTo(1.5f) : 9e-6f;
    if (kind >= 0 && kind != 1) call.radius = upTo(1000.0f);
    call.fadeStart = upTo(60.0f);
    call.fadeLength = random() % 8 ? upTo(90.0f) : 0.0f;
    call.curve = int(random() % 4);
    call.line = QV_Line2D(upTo(float(width)), upTo(float(height)), upTo(float(width)),
                          upTo(float(height)) + 0.25, false);
    call.shiftX = int(random() % 3) * 5;
    call.shiftY = int(random() % 3) * -2;
    return call;
}

class EveryFormat : public testing::TestWithParam<FormatFacts> {};
INSTANTIATE_TEST_SUITE_P(Blur, EveryFormat, testing::ValuesIn(kFormats), [](auto const& test) {
    return "format" + std::to_string(test.param.code);
});

TEST_P(EveryFormat, GivesTheSlowBlursPixelsAndLeavesThePadding) {
    const FormatFacts format = GetParam();
    std::mt19937 random(kSeed + unsigned(format.code));
    const int formerThreads = omp_get_max_threads();
    for (int size = 1; size <= 40; ++size) {
        const int width = size, height = int(random() % 40) + 1;
        for (int kind : kKinds) {
            GuardedRaster raster(format.code, width, height, int(random() % 3) * 16);
            Picture expected = randomPicture(format, width, height, random);
            write(expected, raster);
            const Call call = randomCall(kind, width, height, random);
            RenderSettings settings;
            settings.lineShiftX = call.shiftX;
            settings.lineShiftY = call.shiftY;
            PluginHost_Memory_Impl host({}, raster.info());
            host.setUserData(&settings);
            host.setScale(random() % 2 ? 1.0 : 0.5, 0.75);
            omp_set_num_threads(1 + size % 3);
            ASSERT_EQ(run(host, raster, call), 0);
            drive(expected, format, call, std::min(host.getScaleX(), host.getScaleY()));
            ASSERT_EQ(difference(raster, expected), "")
                << "kind " << kind << " " << width << "x" << height << " radius " << call.radius
                << " alpha " << call.alphaPlane;
            ASSERT_TRUE(raster.guardsIntact());
            ASSERT_EQ(host.tally().pixelBuffers + host.tally().rasterObjects, 0);
            ASSERT_EQ(host.tally().handles, 0);
        }
    }
    omp_set_num_threads(formerThreads);
}

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
        GuardedRaster raster(kFormatRGBA8, 3, 5);
        raster.paint([](int, int, int) { return 100; });
        PluginHost_Memory_Impl host({}, raster.info());
        EXPECT_EQ(run(host, raster, {0, 0, 1, false, c.start, c.length, c.curve}), 0);
        for (int y = 0; y < 5; ++y)
            EXPECT_EQ(raster.get(2, y, 3), c.rows[y])
                << c.start << "+" << c.length << " curve " << c.curve << " row " << y;
    }
}

TEST(ProgressiveBlur, FormatsWithoutAnInstanceAnswerOneUnlessExtended) {
    GuardedRaster raster(kFormatARGB32, 7, 7);
    raster.paint([](int x, int y, int c) { return x == 3 && y == 3 && c == 0 ? 1 : 0; });
    const GuardedRaster before = raster;
    for (int code : {4, 12, 13, 14, 20, 21, -1}) {
        auto output = raster.info();
        output.format = static_cast<QV_RasterFormat>(code);
        PluginHost_Memory_Impl host({}, output);
        EXPECT_EQ(run(host, raster, {-1, 1, 1}), 1) << code;
        EXPECT_TRUE(raster.samePixels(before)) << code;
    }
    PluginHost_Memory_Impl host({}, GuardedRaster(kFormatARGB8, 7, 7).info());
    EXPECT_EQ(run(host, raster, {-1, 1, 1}, true), 0);
    EXPECT_EQ(raster.get(3, 3, 0), 0.25);  // (1 / 2)^2 of the impulse
}

/// Refuses the n-th handle, or its lock.
struct ForgetfulHost : PluginHost_Memory_Impl {
    using PluginHost_Memory_Impl::PluginHost_Memory_Impl;
    int refuseAt = 0, refuseLockAt = 0, asked = 0, locked = 0;

    void* allocMemory(int bytes) override {
        return ++asked == refuseAt ? nullptr : PluginHost_Memory_Impl::allocMemory(bytes);
    }
    void* lockMemory(void* handle) override {
        if (asked == refuseLockAt) return nullptr;
        ++locked;
        return PluginHost_Memory_Impl::lockMemory(handle);
    }
    void unlockMemory(void* handle) override {
        --locked;
        PluginHost_Memory_Impl::unlockMemory(handle);
    }
};

TEST(ProgressiveBlur, RefusedMemoryIsToldAndLeavesTheRaster) {
    const struct {
        int kind;
        float radius;
        int count;  // of images, or of the pyramid's handles, that the blur takes in all
    } cases[] = {{-11, 2.5f, 1},
                 {-10, 2.5f, 1},
                 {-1, 2.5f, 3},
                 {-2, 2.5f, 3},
                 {0, 30.0f, 3},
                 // 1 + ceil(log2 29) = 6 levels, 5 of them made: 30x22, 15x11, 8x6 and 4x3 are
                 // smoothed through a copy, 2x2 is not.
                 {1, 0.5f, 9}};
    std::mt19937 random(kSeed);
    GuardedRaster before(kFormatBGRA32, 30, 22);
    write(randomPicture(facts<PIXEL_BGRA32>(), 30, 22, random), before);
    for (auto const& c : cases)
        for (bool alphaPlane : {false, true})
            for (int nth = 1; nth <= c.count + 1; ++nth)
                for (int way = 0; way < 4; ++way) {
                    const int code = way % 2 && c.kind != 1 ? 516 : 0;
                    GuardedRaster raster = before;
                    ForgetfulHost host({}, raster.info());
                    if (c.kind != 1)
                        host.failAllocation(nth, code, way / 2);
                    else
                        (way % 2 ? host.refuseLockAt : host.refuseAt) = nth;
                    Call call{c.kind, c.radius, 1, alphaPlane, 100, 1};
                    call.line = QV_Line2D(0, 22, 30, 22, false);
                    const bool failed = nth <= c.count;
                    SCOPED_TRACE(testing::Message() << c.kind << " " << nth << " " << way);
                    EXPECT_EQ(run(host, raster, call), !failed ? 0 : code ? code : 1);
                    EXPECT_EQ(raster.samePixels(before), failed);
                    EXPECT_EQ(host.tally().pixelBuffers + host.tally().rasterObjects, 0);
                    EXPECT_EQ(host.tally().handles, 0);
                    EXPECT_EQ(host.locked, 0);
                }
}

}  // namespace
