// Samples in time and Super Sample: moments, means, fades and radii against closed forms, and
// merged frames against the mean of frames rendered one by one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "effect/PixelPasses.h"
#include "effect/Render.h"
#include "effect/SamplePlan.h"
#include "effect/SuperSample.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::GuardedRaster;
using zelk::Random;

/// Says that it is After Effects to those who ask for no more than that.
struct ShutterHost : PluginHost_Memory_Impl {
    ShutterHost() : PluginHost_Memory_Impl({}, {}) { setTime({240, 100, 2400}); }
    PluginHost_AE_Impl* getAEHost() override {
        return isAfterEffects ? reinterpret_cast<PluginHost_AE_Impl*>(this) : nullptr;
    }
    bool isAfterEffects = true;
};

TEST(SamplePlan, ByPopupShutterAndSamples) {
    struct Case {
        int motionBlur;
        double angle, phase, samples;  // degrees, of the controls
        int count;
        bool merged;
        int first, second;  // moments
    };
    const Case cases[] = {
        {kMotionBlurOff, 180, -90, 16, 1, false, 240, 240},
        {kMotionBlurOn, 180, -90, 1.5, 2, true, 215, 240},
        {kMotionBlurOn, 180, -90, 1.4, 1, false, 215, 215},
        {kMotionBlurOn, 0, 36, 16, 1, false, 250, 250},
        {kMotionBlurOn, 360, 0, 8, 8, true, 240, 252},      // 12.5 truncated
        {kMotionBlurComp, 180, -90, 4, 4, true, 215, 227},  // another host: the controls
    };
    for (Case const& c : cases) {
        ShutterHost host;
        host.isAfterEffects = false;
        RenderArguments args{};
        args.shutterAngle = c.angle, args.shutterPhase = c.phase, args.samples = c.samples;
        const SamplePlan plan = planSamples(&host, args, c.motionBlur);
        EXPECT_EQ(plan.samples, c.count);
        EXPECT_EQ(plan.blurOn, c.merged);
        EXPECT_EQ(plan.timeOf(0), c.first);
        EXPECT_EQ(plan.timeOf(1), c.second);
    }
    ShutterHost host;  // the composition's, fractions of a frame; the samples stay the control's
    host.setApplication("FXTC");
    host.setShutter(0.5, -0.25);
    RenderArguments args{};
    args.shutterAngle = 90, args.shutterPhase = 77, args.samples = 4;
    const SamplePlan plan = planSamples(&host, args, kMotionBlurComp);
    EXPECT_EQ(plan.start, 215);
    EXPECT_EQ(plan.step, 12.5);
    host.setApplication("KeyG");
    EXPECT_EQ(planSamples(&host, args, kMotionBlurComp).step, 90 / 360.0 * 100 / 4);
}

template <class Trait>
struct EachFormat : testing::Test {};
using Formats = testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;
TYPED_TEST_SUITE(EachFormat, Formats);

// The k-th merge rounds by at most r, and the later ones leave k / n of that: r (2 + ... + n) / n
// in all. r is half a step of an integer, and what 24 bits add to 32768; in float three roundings.
TYPED_TEST(EachFormat, MergedSamplesAreTheirMean) {
    const double white = zelk::whiteOf(TypeParam::kFormat);
    for (const int samples : {1, 2, 3, 7, 32}) {
        Random random(static_cast<unsigned>(samples));
        GuardedRaster mean(TypeParam::kFormat, 13, 5, 16);
        std::vector<double> sum(4 * 13 * 5);
        for (int i = 0; i < samples; ++i) {
            GuardedRaster sample(TypeParam::kFormat, 13, 5, 32);
            std::size_t at = 0;
            sample.paint([&](int, int, int) { return random.uniform(0, white); });
            sample.forEachChannel([&](int x, int y, int c) { sum[at++] += sample.get(x, y, c); });
            mergeSample<TypeParam>(mean.info(), sample.info(), i);
            if (i == 0) {
                EXPECT_TRUE(mean.samePixels(sample));
            }
        }
        const double r = TypeParam::kIsFloat ? 3 * 0x1p-24 : 0.5 + 0x1p-7;
        const double bound = r * (samples * (samples + 1) / 2 - 1) / samples;
        std::size_t at = 0;
        mean.forEachChannel([&](int x, int y, int c) {
            EXPECT_NEAR(mean.get(x, y, c), sum[at++] / samples, bound) << samples;
        });
        EXPECT_TRUE(mean.guardsIntact());
    }
}

TYPED_TEST(EachFormat, TheBorderFadesByTheRampAndCornersTwice) {
    const double white = zelk::whiteOf(TypeParam::kFormat);
    const int sizes[][3] = {{1, 1, 2}, {2, 2, 2}, {3, 9, 2}, {20, 17, 6}, {5, 40, 9}};
    for (auto const& [width, height, extent] : sizes) {
        GuardedRaster raster(TypeParam::kFormat, width, height, 16);
        raster.paint([&](int, int, int) { return white; });
        fadeBorder<TypeParam>(raster.info(), extent);
        raster.forEachChannel([&, w = width, h = height, e = extent](int x, int y, int c) {
            const auto ramp = [e](int i) {
                return static_cast<float>(i) / static_cast<float>(e - 1) * 0.8f + 0.1f;
            };
            double value = white;
            const auto fade = [&](double f) {
                value = static_cast<float>(value) * static_cast<float>(f);
                if (!TypeParam::kIsFloat) value = std::trunc(value);
            };
            if (y < e) fade(ramp(y));
            for (const int j : {std::min(x, w - 1 - x), std::max(x, w - 1 - x)})
                if (j < e) fade(ramp(j));
            if (const int i = y - (h - e); i >= 0)
                fade((1.0f - static_cast<float>(i) / static_cast<float>(e - 1)) * 0.8f + 0.1f);
            ASSERT_EQ(raster.get(x, y, c), value) << w << "x" << h << " at " << x << "," << y;
        });
        EXPECT_TRUE(raster.guardsIntact());
    }
}

TEST(SuperSamplePlan, RadiiFadeAndEndByTheSidesOfTheToQuad) {
    RenderArguments args{};
    const double pins[8] = {0.1, 0.1, 0.35, 0.1, 0.1, 0.6, 0.2, 0.6};  // top 1/4, bottom 1/10
    std::copy_n(pins, 8, args.toPins);
    args.superSampleSoftness = 1;
    args.superSampleEdge = 2;
    const SuperSampleScene hd = {1920, 1080, 1920, 1080, 1};
    SuperSamplePlan plan = planSuperSample(args, hd);
    EXPECT_DOUBLE_EQ(plan.rows.first, 2);
    EXPECT_DOUBLE_EQ(plan.rows.last, 5);
    EXPECT_DOUBLE_EQ(plan.columns.first, 1);
    EXPECT_DOUBLE_EQ(plan.columns.last, 0.5 / std::hypot(0.15, 0.5));
    EXPECT_EQ(plan.fadeExtent, 120);  // 1920 * 2 / 32, and a half that is cut
    EXPECT_FALSE(plan.softensEnd);    // 192 pixels
    EXPECT_EQ(planSuperSample(args, {1920, 1080, 1920, 1080, 0.5}).fadeExtent, 60);
    EXPECT_EQ(planSuperSample(args, {1920, 90, 1920, 90, 1}).fadeExtent, 44);
    EXPECT_EQ(planSuperSample(args, {90, 1920, 90, 1920, 1}).fadeExtent, 44);
    EXPECT_EQ(planSuperSample(args, {1000, 900, 1000, 900, 1}).fadeExtent, 63);  // 62.5 and a half
    EXPECT_EQ(planSuperSample(args, {2, 2, 2, 2, 1}).fadeExtent, 2);
    const SuperSamplePlan own =
        planSuperSample(args, {100, 100, 200, 50, 1});  // by the layer's sides
    EXPECT_DOUBLE_EQ(own.rows.first, 1);
    EXPECT_DOUBLE_EQ(own.columns.first, 2);

    args.superSampleSoftness = 2;  // twice as soft
    EXPECT_DOUBLE_EQ(planSuperSample(args, hd).rows.last, 10);
    args.superSampleSoftness = 0;
    args.superSampleEdge = 0;
    plan = planSuperSample(args, hd);
    EXPECT_TRUE(!plan.rows.isVisible() && !plan.columns.isVisible() && !plan.softensEnd);
    EXPECT_EQ(plan.fadeExtent, 0);

    args.superSampleSoftness = 0.5;
    for (double& pin : args.toPins) pin = 0;  // no sides: one pixel, and the end as soft as can be
    plan = planSuperSample(args, hd);
    EXPECT_DOUBLE_EQ(plan.rows.first, 960);
    EXPECT_DOUBLE_EQ(plan.columns.first, 540);
    EXPECT_DOUBLE_EQ(plan.endRadius, 2);
    args.superSampleSoftness = 0.25;
    EXPECT_DOUBLE_EQ(planSuperSample(args, hd).endRadius, 3);
}

// Frames with motion blur are the mean, merged in order, of frames rendered at each moment.
TEST(MotionBlur, EqualsTheMergedFramesOfItsMoments) {
    constexpr int kWidth = 33, kHeight = 21, kSamples = 5;
    for (const unsigned view : {1u, 2u, 3u})
        for (const unsigned quality : {2u, 3u}) {
            GuardedRaster input(kFormatARGB32, kWidth, kHeight),
                mean(kFormatARGB32, kWidth, kHeight);
            Random random(view);
            input.paint([&](int, int, int) { return random.uniform(0, 1); });
            const zelk::Quad from = zelk::randomConvexQuad(random);
            const zelk::Quad to = zelk::randomConvexQuad(random);
            const auto render = [&](GuardedRaster& output, int time, bool blurred) {
                PluginHost_Memory_Impl host(input.info(), output.info());
                zelk::setDefaultControls(host);
                host.setTime({time, 100, 2500});
                host.setPopup(kParamViewMode, view);
                host.setPopup(kParamQuality, quality);
                host.setFloat(kParamSuperSampleSoftness, 0);  // at a moment its pins would count
                host.setPopup(kParamMotionBlur, blurred);
                host.setFloat(kParamShutterAngle, 360);
                host.setFloat(kParamShutterPhase, 0);
                host.setFloat(kParamSamples, kSamples);
                for (int i = 0; i < 4; ++i)
                    for (auto const& [first, quad] : {std::pair{kParamFromUpperLeft, &from},
                                                      std::pair{kParamToUpperLeft, &to}}) {
                        const double x = (*quad)[static_cast<std::size_t>(2 * i)];
                        const double y = (*quad)[static_cast<std::size_t>(2 * i + 1)];
                        host.setAnimated(first + i, [=](PluginHost_API::TimeObject const& at) {
                            return PluginHost_Memory_Impl::Value{x + at.time * 1e-3, y, 0, false};
                        });
                    }
                const auto moves = [&host](int index, double start, double speed) {
                    host.setAnimated(index, [=](PluginHost_API::TimeObject const& at) {
                        return PluginHost_Memory_Impl::Value{start + at.time * speed};
                    });
                };
                moves(kParamRotate, 0, 0.1);
                moves(kParamTranslateX, 0, 0.03);
                moves(kParamTranslateY, 0, -0.05);
                moves(kParamScaleX, 1, 0.0007);
                moves(kParamScaleY, 1, -0.0009);
                for (int i = 0; i < 8; ++i) {  // each its own way
                    moves(kParamFromUpperLeftOffsetX + i, 0, 0.011 * (i + 1));
                    moves(kParamToUpperLeftOffsetX + i, 0, -0.007 * (i + 1));
                }
                EXPECT_EQ(Render(&host), 0);
                EXPECT_EQ(host.tally().pixelBuffers, 0);
            };
            for (int i = 0; i < kSamples; ++i) {
                GuardedRaster sample(kFormatARGB32, kWidth, kHeight);
                render(sample, 20 * i, false);
                mergeSample<PIXEL_ARGB32>(mean.info(), sample.info(), i);
            }
            GuardedRaster blurred(kFormatARGB32, kWidth, kHeight);
            render(blurred, 0, true);
            EXPECT_TRUE(blurred.samePixels(mean)) << "view " << view << " quality " << quality;
        }
}

// A white layer that moves by 12 pixels a frame, whole shutter: alpha against the exact integral of
// its coverage over the shutter, a ramp of 1 / v a pixel. N samples make stairs of height 1 / N
// that start on the ramp, as each stands at the start of its interval: at most 1 / N off, and 1 /
// 2N where pixels are wider than stairs.
TEST(MotionBlur, TendsToTheBoxIntegralOfTheMovingEdge) {
    constexpr int kWidth = 64, kHeight = 9, kSpeed = 12;
    GuardedRaster input(kFormatARGB32, kWidth, kHeight);
    input.paint([](int, int, int) { return 1; });
    std::printf("samples  largest error     1 / N\n");
    for (const int samples : {2, 4, 8, 16, 32, 64}) {
        GuardedRaster output(kFormatARGB32, kWidth, kHeight);
        PluginHost_Memory_Impl host(input.info(), output.info());
        zelk::setDefaultControls(host);
        host.setTime({0, 1 << 20, 24 << 20});
        host.setPopup(kParamMotionBlur, 1);
        host.setFloat(kParamSamples, samples);
        for (int i = 0; i < 4; ++i)
            host.setAnimated(kParamToUpperLeft + i, [i](PluginHost_API::TimeObject const& at) {
                const double x = (i % 2 ? 40 : 10) + kSpeed * (at.time / double(1 << 20));
                return PluginHost_Memory_Impl::Value{x / kWidth, double(i / 2), 0, false};
            });
        EXPECT_EQ(Render(&host), 0);
        double worst = 0;
        for (int x = 0; x < kWidth; ++x) {
            constexpr int kSteps = 4096;
            double exact = 0;
            for (int i = 0; i < kSteps; ++i) {
                const double move = kSpeed * (i + 0.5) / kSteps;
                exact += std::max(0.0, std::min(x + 1.0, 40 + move) - std::max(x + 0.0, 10 + move));
            }
            worst = std::max(worst, std::fabs(output.get(x, kHeight / 2, 0) - exact / kSteps));
        }
        std::printf("%7d  %13.4f  %8.4f\n", samples, worst, 1.0 / samples);
        EXPECT_LE(worst, 1.0 / samples);
    }
}

}  // namespace
