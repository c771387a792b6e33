// Time and numbers as an effect meets them: the clock, and parameters at other moments.
#include <cmath>
#include <limits>

#include "hostkit/time_base.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

TEST(TimeBase, OfRates) {
    for (auto const& [rate, scale, step] : {std::tuple(24000.0 / 1001, 24000u, 1001),
                                            {29.97, 30000u, 1001},
                                            {59.94, 59940u, 1000},
                                            {0.0005, 1u, 1000}}) {
        TimeBase const base = timeBaseOfRate(rate);
        EXPECT_TRUE(base.scale == scale && base.step == step) << rate;
    }
}

TEST(Parameters, NumbersRoundToTheKindsUnit) {
    constexpr double kTop = std::numeric_limits<A_long>::max();
    for (auto const& [type, set, got] : {std::tuple(PF_Param_SLIDER, 2.5, 3.0),
                                         {PF_Param_SLIDER, -2.5, -3.0},
                                         {PF_Param_SLIDER, 1e300, kTop},
                                         {PF_Param_SLIDER, std::nan(""), 0.0},
                                         {PF_Param_FIX_SLIDER, 1.5 / 65536, 2.0 / 65536},
                                         {PF_Param_FIX_SLIDER, -1.5 / 65536, -2.0 / 65536},
                                         {PF_Param_FIX_SLIDER, 1e9, kTop / 65536},
                                         {PF_Param_CHECKBOX, 0.3, 1.0}}) {
        PF_ParamDef def{};
        def.param_type = type;
        setNumber(def, set);
        EXPECT_EQ(numberOf(def), got) << kindName(type) << " " << set;
    }
}

/// Whoever multiplies by the ratio and truncates has the picture's own size.
TEST(Reduction, OfTwoSizesLeadsFromOneToTheOther) {
    for (int const full : {1, 2, 719, 1080, 1920, 4096, 32767})
        for (int own = 1; own <= full; ++own) {
            Reduction const by({own, full}, {full, full});
            PF_RationalScale const ratio = by.scaleX();
            ASSERT_EQ(static_cast<int>(full * (double(ratio.num) / ratio.den)), own) << full;
            ASSERT_TRUE(by.width(full) == own && by.height(full) == full);
            ASSERT_EQ(std::lround(own * by.x()), full) << own;
        }
    EXPECT_EQ(Reduction(3).height(1080 + 2), 360);
}

TEST(Parameters, AreReadAtTheMomentAskedAndInTheRendersResolution) {
    struct Case {
        HostIdentity identity;
        int downsample, divisor;
    };
    for (Case const& c :
         {Case{kModernAE, 1, 1}, Case{kModernAE, 3, 3}, Case{kOlderAE, 3, 3},
          Case{{kAppPremierePro, {12, 4}}, 3, 1},  // leaves points as they are
          Case{{kAppPremierePro, {13, 4}}, 3, 3}, Case{{kAppPremierePro, {12, 5}}, 3, 3}}) {
        ProbeHost host{c.identity};
        host.paramsSetup([](ProbeCall const& call) -> PF_Err {
            for (PF_ParamType const type :
                 {PF_Param_POINT, PF_Param_COLOR, PF_Param_POPUP, PF_Param_GROUP_START}) {
                PF_ParamDef def{};
                def.param_type = type;
                if (type == PF_Param_POPUP) def.u.pd.num_choices = 3;
                call.in_data->inter.add_param(call.in_data->effect_ref, -1, &def);
            }
            return 0;
        });
        auto const track = [&](std::size_t i) -> KeyframeTrack& {
            return host->parameters()[i].editTrack();
        };
        track(1).set({{0, 1}, {0, 0}});
        track(1).set({{1, 1}, {240, 48}});
        track(2).set({{0, 1}, {255, 0.5, 99.4, 300}});
        track(3).set({{0, 1}, {9}});
        for (std::size_t const fixed : {0, 4}) EXPECT_THROW(track(fixed), HostError);
        World input(host->worldSpec(5, 4, Depth::k8)), output(input.spec());
        FrameRequest frame = frameRequest({}, 3);  // of 24 a second
        frame.downsample = c.downsample;
        frame.pixelAspect = 1.5;
        host.render(input, output, frame, [&](ProbeCall const& call) -> PF_Err {
            PF_InData const& in = *call.in_data;
            EXPECT_TRUE(in.downsample_x.den == A_u_long(c.downsample) &&
                        in.downsample_y.den == in.downsample_x.den);
            EXPECT_TRUE(in.pixel_aspect_ratio.num == 3 && in.pixel_aspect_ratio.den == 2);
            PF_ParamDef read = *call.params[1];
            auto const expectAt = [&](double seconds) {
                PF_ParamDef want = read;
                setPoint(want, 240 * seconds / c.divisor, 48 * seconds / c.divisor);
                EXPECT_EQ(std::memcmp(&read, &want, sizeof read), 0) << seconds;
            };
            expectAt(0.125);
            auto const [alpha, red, green, blue] = call.params[2]->u.cd.value;
            EXPECT_TRUE(alpha == 255 && red == 1 && green == 99 && blue == 255);
            EXPECT_EQ(call.params[3]->u.pd.value, 3) << "no choice beyond the last";
            for (auto const& [t, s, at] :
                 {std::tuple(6, 24, 0.25), {1, 6, 1.0 / 6}, {12000, 0, 0.5}, {-5, 1, 0.}}) {
                EXPECT_EQ(in.inter.checkout_param(in.effect_ref, 1, t, 1, s, &read), 0);
                expectAt(at);
                in.inter.checkin_param(in.effect_ref, &read);
            }
            return 0;
        });
    }
}

TEST(Comp, TellsAFramesTimeAndShutter) {
    Comp comp;
    comp.timeBase = {30000, 1001};
    comp.startFrame = -5;
    EXPECT_EQ(frameRequest(comp, 0).shutter.angleDeg, 0);
    comp.motionBlur = true;
    EXPECT_EQ(frameRequest(comp, 0).shutter.phaseDeg, -90);
    EXPECT_EQ(frameRequest(comp, 2145333).time, 2145338 * 1001);
    EXPECT_THROW(frameRequest(comp, 2145334), HostError);
}

}  // namespace
}  // namespace zelk
