// The blur entry over all formats, kinds, both channel sets and numbers of threads against the slow
// blurs, now and then with memory refused; what no kind reaches of a tent pass.
#include <gtest/gtest.h>
#include <omp.h>

#include <random>
#include <string>

#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/TentBlurPass.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/Transform/blur/blur_reference.h"
#include "tests/support/formats.h"

namespace {

using namespace blur_reference;
using zelk::GuardedRaster, zelk::whiteOf;

constexpr unsigned kSeed = 100;

/// Floats are 0 or from 0.25 to 1: for radii up to 40 all sums of two passes then fit into 53 bits,
/// whatever the order, so that running and direct sums agree to the bit in the float formats too.
void paintNoise(GuardedRaster& raster, std::mt19937& random) {
    double const white = whiteOf(raster.format());
    std::uniform_real_distribution<float> real(0.25f, 1.0f);
    raster.paint([&](int, int, int) {
        const auto dice = random() % 16;
        if (dice == 2 && white > 255) return 65535.0;  // above the white of 14 and 15 bits
        if (dice < 2) return dice ? white : 0.0;
        return white > 1 ? std::floor(real(random) * (white + 0.9)) : double(real(random));
    });
}

Picture pictureOf(GuardedRaster const& raster) {
    Picture picture(4, Plane{raster.width(), raster.height(), whiteOf(raster.format()) == 1});
    for (int c = 0; c < 4; ++c) picture[c].fill([&](int x, int y) { return raster.get(x, y, c); });
    return picture;
}

/// The first pixel, as y * width + x, where the raster isn't the picture; -1 where it is.
int firstDifference(GuardedRaster const& raster, Picture const& picture) {
    int first = -1;
    raster.forEachChannel([&](int x, int y, int c) {
        if (first < 0 && raster.get(x, y, c) != picture[c].near(x, y))
            first = y * raster.width() + x;
    });
    return first;
}

int run(PluginHost_API& host, GuardedRaster const& raster, Call const& call,
        bool extended = false) {
    QV_Line2D line = call.line;
    auto info = raster.info();
    return CommonRender_progressiveBlur(&host, line, call.radius, call.aspect, call.fadeStart,
                                        call.fadeLength, call.curve, &info, call.alphaPlane,
                                        call.kind, extended);
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

/// Random arguments that make sense for the kind, and radii that blur nothing.
Call randomCall(int kind, int width, int height, std::mt19937& random) {
    auto const upTo = [&random](float most) {
        return std::uniform_real_distribution<float>(0, most)(random);
    };
    float const radii[] = {0.0f,  1e-6f,     0.4f,   1.0f,  2.7f, 8.99f,
                           25.0f, 1.999995f, -1e-5f, -3.0f, NAN,  INFINITY};
    float const aspects[] = {1.0f, 0.5f, 0.0f, 2.3f};
    // Start and length of ramps whose ends fall on a row's t of 0, 1/4, 1/2, 3/4 or 1, one too
    // short to fade anything, and any.
    float const fades[][2] = {{0, 1},
                              {25, 50},
                              {100, 50},
                              {50, -25},
                              {50, 0},
                              {0, 100},
                              {49.9995f, 0.0008f},
                              {upTo(60), upTo(90)},
                              {upTo(60), upTo(90)}};
    Call call{kind, radii[random() % 12], aspects[random() % 4], random() % 2 == 0};
    if (kind == -11 || kind == -10) call.aspect = radii[random() % 12];
    if (kind == 1) call.radius = random() % 8 ? upTo(width > 40 ? 40.0f : 1.5f) : 9e-6f;
    if (kind >= 0 && kind != 1) call.radius = upTo(1000.0f);
    auto const& fade = fades[random() % 9];
    call.fadeStart = fade[0], call.fadeLength = fade[1];
    call.curve = int(random() % 4);
    call.line = QV_Line2D(upTo(float(width)), upTo(float(height)), upTo(float(width)),
                          upTo(float(height)) + 0.25, false);
    call.shiftX = int(random() % 3) * 5;
    call.shiftY = int(random() % 3) * -2;
    return call;
}

class EveryFormat : public testing::TestWithParam<zelk::FormatFacts> {};
INSTANTIATE_TEST_SUITE_P(Blur, EveryFormat, testing::ValuesIn(zelk::kFormats),
                         testing::PrintToStringParamName());

TEST_P(EveryFormat, GivesTheSlowBlursPixelsAndLeavesThePadding) {
    auto const [format, alpha, red, pixelBytes] = GetParam();
    std::mt19937 random(kSeed + unsigned(format));
    int const formerThreads = omp_get_max_threads();
    for (int size = 1; size <= 41; ++size) {
        // The last one wants more levels than a pyramid has.
        int const width = size > 40 ? 700 : size, height = int(random() % 40) + 1;
        for (int const kind : {-11, -10, -2, -1, 0, 1, 2, 3, 4}) {
            GuardedRaster raster(format, width, height, int(random() % 3) * 16);
            paintNoise(raster, random);
            Picture expected = pictureOf(raster);
            Call call = randomCall(kind, width, height, random);
            RenderSettings settings;
            settings.lineShiftX = call.shiftX;
            settings.lineShiftY = call.shiftY;
            ForgetfulHost host({}, raster.info());
            host.setUserData(&settings);
            host.setScale(random() % 2 ? 1.0 : 0.5, 0.75);
            // Refused memory, of images or of the pyramid's levels and copies, leaves the raster.
            int const nth = int(random() % 20) - 10, code = kind != 1 && random() % 2 ? 516 : 0;
            if (kind != 1 && nth > 0) host.failAllocation(nth, code, random() % 2);
            if (kind == 1) (random() % 2 ? host.refuseLockAt : host.refuseAt) = std::max(nth, -1);
            if (nth > 0) call.fadeStart = 100;  // fading, which comes before it, does nothing
            omp_set_num_threads(1 + size % 3);
            int const result = run(host, raster, call);
            bool const failed =
                nth > 0 && (kind == 1 ? host.asked : host.tally().allocations) >= nth;
            SCOPED_TRACE(testing::Message()
                         << "kind " << kind << " " << width << "x" << height << " radius "
                         << call.radius << " alpha " << call.alphaPlane << " refused " << nth);
            ASSERT_EQ(result, !failed ? 0 : code ? code : 1);
            if (!failed)
                drive(expected, alpha, whiteOf(format), call,
                      std::min(host.getScaleX(), host.getScaleY()));
            ASSERT_EQ(firstDifference(raster, expected), -1);
            ASSERT_TRUE(raster.guardsIntact());
            ASSERT_EQ(host.tally().pixelBuffers + host.tally().rasterObjects, 0);
            ASSERT_EQ(host.tally().handles + host.locked, 0);
        }
    }
    omp_set_num_threads(formerThreads);
}

TEST(TentBlurPass, RampsBendDownwardsTooAndEitherPassMayBeLeftOut) {
    std::mt19937 random(kSeed);
    for (int const height : {1, 2, 30})
        for (int const kind : {0, 3, 4, -10, -11})
            for (bool const vertical : {false, true}) {
                GuardedRaster from(kFormatBGRA8, 33, height, 4), to(kFormatBGRA8, 33, height);
                paintNoise(from, random);
                Picture expected = pictureOf(from);
                for (Plane& plane : expected) tentPass(plane, 9, vertical, true, kind);
                auto const planeOf = [](GuardedRaster const& raster) {
                    return channelPlane<unsigned char>(raster.info(), 0);
                };
                tentBlurPass<unsigned char, 4>(planeOf(from), planeOf(to),
                                               {9, vertical, true, kind});
                EXPECT_EQ(firstDifference(to, expected), -1)
                    << "height " << height << " kind " << kind;
            }
}

TEST(ProgressiveBlur, FormatsWithoutAnInstanceAnswerOneUnlessExtended) {
    GuardedRaster raster(kFormatARGB32, 7, 7);
    raster.paint([](int x, int y, int c) { return x == 3 && y == 3 && c == 0 ? 1 : 0; });
    for (int const code : {4, 12, 21, -1, 0}) {
        auto output = raster.info();
        output.format = static_cast<QV_RasterFormat>(code);
        PluginHost_Memory_Impl host({}, output);
        EXPECT_EQ(run(host, raster, {-1, 1, 1}, code == 0), code == 0 ? 0 : 1) << code;
        EXPECT_EQ(raster.get(3, 3, 0), code == 0 ? 0.25 : 1);  // (1 / 2)^2 of the impulse
    }
}

}  // namespace
