// Samples in time and Super Sample: moments, means, fades and radii against closed forms, and
// merged frames against the mean of frames rendered one by one.
#include <algorithm>
#include <cmath>

#include "effect/PixelPasses.h"
#include "effect/Render.h"
#include "effect/SamplePlan.h"
#include "effect/SuperSample.h"
#include "tests/effect/premultiply.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::GuardedRaster;
using zelk::Random;

/// Says that it is After Effects to those who ask for no more than that.
struct ShutterHost : PluginHost_Memory_Impl {
    explicit ShutterHost(bool ae) : PluginHost_Memory_Impl({}, {}), isAfterEffects(ae) {
        setTime({240, 100, 2400});
        setApplication("FXTC");
        setShutter(0.5, -0.25);
    }
    PluginHost_AE_Impl* getAEHost() override {
        return isAfterEffects ? reinterpret_cast<PluginHost_AE_Impl*>(this) : nullptr;
    }
    bool isAfterEffects;
};

TEST(SamplePlan, ByPopupShutterAndSamples) {
    struct Case {
        bool isAfterEffects;
        int motionBlur;
        double angle, phase, samples;  // degrees, of the controls
        int count, first, second;      // moments; one sample alone is not merged
    };
    for (Case const& c : {
             Case{false, kMotionBlurOff, 180, -90, 16, 1, 240, 240},
             {false, kMotionBlurOn, 180, -90, 1.5, 2, 215, 240},
             {false, kMotionBlurOn, 180, -90, 1.4, 1, 215, 215},
             {false, kMotionBlurOn, 0, 36, 16, 1, 250, 250},
             {false, kMotionBlurOn, 360, 0, 8, 8, 240, 252},      // 12.5 truncated
             {false, kMotionBlurOn, 360, -1080, 8, 8, -60, -48},  // before it is added
             {false, kMotionBlurOn, 360, 0, 1e99, INT32_MAX, 240, 240},
             {false, kMotionBlurOn, 360, 0, std::nan(""), 1, 240, 240},
             {false, kMotionBlurComp, 180, -90, 4, 4, 215, 227},  // another host: the controls
             {true, kMotionBlurComp, 90, 77, 4, 4, 215, 227},     // the composition's shutter
             {true, kMotionBlurOn, 90, 36, 4, 4, 250, 256},
         }) {
        ShutterHost host(c.isAfterEffects);
        RenderArguments args{};
        args.shutterAngle = c.angle, args.shutterPhase = c.phase, args.samples = c.samples;
        const SamplePlan plan = planSamples(&host, args, c.motionBlur);
        EXPECT_EQ(plan.samples, c.count);
        EXPECT_EQ(plan.blurOn, c.count > 1);
        EXPECT_EQ(plan.timeOf(0), c.first);
        EXPECT_EQ(plan.timeOf(1), c.second);
        host.setApplication("KeyG");  // has no shutter of its own
        EXPECT_EQ(planSamples(&host, args, c.motionBlur).step == plan.step,
                  !c.isAfterEffects || c.motionBlur != kMotionBlurComp);
    }
}

template <class Trait>
struct EachFormat : testing::Test {};
TYPED_TEST_SUITE(EachFormat, zelk_test::RenderedFormats);

TYPED_TEST(EachFormat, TheBorderFadesByTheRampAndCornersTwice) {
    for (auto const& [w, h, extent] :
         {std::tuple(1, 1, 2), {2, 2, 2}, {3, 9, 2}, {20, 17, 6}, {5, 40, 9}}) {
        GuardedRaster raster(TypeParam::kFormat, w, h, 16);
        raster.paint([&](int, int, int) { return TypeParam::kWhite; });
        fadeBorder<TypeParam>(raster.info(), extent);
        EXPECT_TRUE(raster.guardsIntact());
        raster.forEachChannel([&, w = w, h = h, extent = extent,
                               last = static_cast<float>(extent - 1)](int x, int y, int c) {
            float want = TypeParam::kWhite;
            const auto fade = [&](float part) {
                want *= part * 0.8f + 0.1f;
                if (!TypeParam::kIsFloat) want = std::trunc(want);
            };
            if (y < extent) fade(static_cast<float>(y) / last);
            for (const int j : {std::min(x, w - 1 - x), std::max(x, w - 1 - x)})
                if (j < extent) fade(static_cast<float>(j) / last);
            if (y >= h - extent) fade(1.0f - static_cast<float>(y - (h - extent)) / last);
            ASSERT_EQ(raster.get(x, y, c), want) << w << "x" << h << " at " << x << "," << y;
        });
    }
}

TEST(SuperSamplePlan, RadiiFadeAndEndByTheSidesOfTheToQuad) {
    RenderArguments args{};
    double const pins[8] = {0.1, 0.1, 0.35, 0.1, 0.1, 0.6, 0.2, 0.6};  // top 1/4, bottom 1/10
    std::copy_n(pins, 8, args.toPins);
    args.superSampleEdge = 2;
    // 1920 * 2 / 32, and a half that is cut.
    for (auto const& [width, height, scale, extent] : {std::tuple(1920, 1080, 1.0, 120),
                                                       {1920, 1080, 0.5, 60},
                                                       {1920, 90, 1.0, 44},
                                                       {90, 1920, 1.0, 44},
                                                       {1000, 900, 1.0, 63},
                                                       {2, 2, 1.0, 2},
                                                       {90, 90, std::nan(""), 2}})
        EXPECT_EQ(planSuperSample(args, {width, height, width, height, scale}).fadeExtent, extent);

    constexpr SuperSampleScene kHd = {1920, 1080, 1920, 1080, 1};
    auto const expectRadii = [&](double softness, SuperSampleScene const& scene, double top,
                                 double bottom, double left, double right, double end) {
        args.superSampleSoftness = softness;
        const SuperSamplePlan plan = planSuperSample(args, scene);
        EXPECT_DOUBLE_EQ(plan.rows.first, top);
        EXPECT_DOUBLE_EQ(plan.rows.last, bottom);
        EXPECT_DOUBLE_EQ(plan.columns.first, left);
        EXPECT_DOUBLE_EQ(plan.columns.last, right);
        EXPECT_DOUBLE_EQ(plan.softensEnd ? plan.endRadius : 0, end);
        EXPECT_EQ(plan.rows.isVisible(), top > 0);
    };
    double const right = 0.5 / std::hypot(0.15, 0.5), right2 = 0.5 / std::hypot(0.3, 0.25);
    expectRadii(1, kHd, 2, 5, 1, right, 0);  // 192 pixels: no softer end
    expectRadii(2, kHd, 4, 10, 2, 2 * right, 0);
    expectRadii(0, kHd, 0, 0, 0, 0, 0);
    expectRadii(1, {100, 100, 200, 50, 1}, 1, 2.5, 2, right2, 0.5);  // 20 of 40 pixels
    std::fill_n(args.toPins, 8, 0);  // no sides: one pixel, and the end as soft as can be
    args.superSampleEdge = 0;
    expectRadii(0.5, kHd, 960, 960, 540, 540, 2);
    expectRadii(0.25, kHd, 960, 960, 540, 540, 3);
    EXPECT_EQ(planSuperSample(args, kHd).fadeExtent, 0);
    EXPECT_TRUE((RampedRadius{0, 1}.isVisible() && RampedRadius{1, 0}.isVisible()));
}

TEST(SuperSamplePlan, BlursAlongRowsAndColumnsAndTheEndBothWays) {
    for (bool const isColumns : {false, true}) {
        GuardedRaster line(kFormatARGB32, 15, 15), dot = line;
        line.paint([&](int x, int y, int) { return (isColumns ? y : x) == 7; });
        dot.paint([](int x, int y, int) { return x == 7 && y == 7; });
        PluginHost_Memory_Impl host({}, line.info());
        QV_RasterInfo source = line.info(), end = dot.info();
        SuperSamplePlan plan;
        plan.softensEnd = true, plan.endRadius = 2;
        (isColumns ? plan.columns : plan.rows) = {1, 4};
        EXPECT_EQ(blurSource(&host, plan, source) + blurEnd(&host, plan, end), 0);
        auto const at = [&](int i) { return isColumns ? line.get(i, 7, 0) : line.get(7, i, 0); };
        for (int i = 1; i < 15; ++i) EXPECT_LT(at(i), at(i - 1)) << "a growing radius";
        EXPECT_GT(dot.get(6, 7, 0) * dot.get(7, 8, 0), 0);
    }
}

/// Every control that a sample reads, each with a speed of its own.
void animate(PluginHost_Memory_Impl& host, unsigned seed) {
    using Time = PluginHost_API::TimeObject;
    using Value = PluginHost_Memory_Impl::Value;
    Random random(seed);
    for (int const first : {kParamFromUpperLeft, kParamToUpperLeft}) {
        const zelk::Quad quad = zelk::randomConvexQuad(random);
        for (std::size_t i = 0; i < 4; ++i)
            host.setAnimated(first + static_cast<int>(i), [=](Time const& at) {
                return Value{quad[2 * i] + at.time * 1e-3, quad[2 * i + 1]};
            });
    }
    for (int index = kParamToUpperLeftOffsetX; index <= kParamRotate; ++index) {
        bool const isOffset =
            index <= kParamToLowerRightOffsetY ||
            (index >= kParamFromUpperLeftOffsetX && index <= kParamFromLowerRightOffsetY);
        if (!isOffset && index < kParamTranslateX) continue;
        double const start = index == kParamScaleX || index == kParamScaleY;
        host.setAnimated(index, [=](Time const& at) {
            return Value{start + at.time * 0.0005 * (index - 22.5)};
        });
    }
}

// Frames with motion blur are the mean of frames rendered at each moment; one sample is the frame
// of the phase's moment. The k-th merge rounds by at most r, and the later ones leave k / n of
// that: r (2 + ... + n) / n in all. r is half a step of an integer, and what 24 bits add to 32768;
// in float three roundings.
TYPED_TEST(EachFormat, MotionBlurIsTheMeanOfItsMoments) {
    constexpr int kAcross = 23, kDown = 15, kSamples = 5;
    double const r = TypeParam::kIsFloat ? 3 * 0x1p-24 : 0.5 + 0x1p-7;
    double const bound = r * (kSamples * (kSamples + 1) / 2 - 1) / kSamples;
    for (unsigned const view : {1u, 2u, 3u})
        for (unsigned const quality : {2u, 3u}) {
            SCOPED_TRACE(testing::Message() << "view " << view << " quality " << quality);
            GuardedRaster input(TypeParam::kFormat, kAcross, kDown);
            Random random(view);
            input.paint([&](int, int, int) { return random.uniform(0, TypeParam::kWhite); });
            auto const render = [&](int time, int samples, double phase) {
                // In one view the frame has a size of its own.
                GuardedRaster output(TypeParam::kFormat, kAcross + 4 * (view == 3), kDown, 16);
                PluginHost_Memory_Impl host(input.info(), output.info());
                zelk::setDefaultControls(host);
                host.setTime({time, 100, 2500});
                host.setPopup(kParamViewMode, view);
                host.setPopup(kParamQuality, quality);
                host.setFloat(kParamSuperSampleSoftness, 0);  // at a moment its pins would count
                host.setFloat(kParamSuperSampleEdge, 2);
                host.setPopup(kParamMotionBlur, samples > 0);
                host.setFloat(kParamSamples, samples);
                host.setFloat(kParamShutterPhase, phase);
                animate(host, view);
                EXPECT_EQ(Render(&host), 0);
                EXPECT_EQ(host.tally().pixelBuffers, 0);
                EXPECT_TRUE(output.guardsIntact());
                return output;
            };
            std::vector<GuardedRaster> moments;
            for (int i = 0; i < kSamples; ++i) moments.push_back(render(20 * i, 0, 0));
            const GuardedRaster blurred = render(0, kSamples, 0);
            blurred.forEachChannel([&](int x, int y, int c) {
                double sum = 0;
                for (GuardedRaster const& moment : moments) sum += moment.get(x, y, c);
                EXPECT_NEAR(blurred.get(x, y, c), sum / kSamples, bound);
            });
            EXPECT_TRUE(render(20, 1, 72).samePixels(moments[2]));
        }
}

}  // namespace
