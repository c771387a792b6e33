// Time as an effect meets it: parameters at other moments, and the project behind the suites.
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

constexpr PF_Err kRefused = PF_Err_BAD_CALLBACK_PARAM;

/// A table of an effect that keeps to it for the length of a command.
template <class Suite>
Suite get(ProbeCall const& call, char const* name, A_long version) {
    void const* table = nullptr;
    EXPECT_EQ(call.in_data->pica_basicP->AcquireSuite(name, version, &table), 0) << name;
    EXPECT_EQ(call.in_data->pica_basicP->ReleaseSuite(name, version), 0);
    return *static_cast<Suite const*>(table);
}

class ProjectSuites : public testing::Test {
protected:
    ProjectSuites() {
        host.paramsSetup([](ProbeCall const& call) -> PF_Err {
            for (PF_ParamType const type : {PF_Param_POINT, PF_Param_COLOR, PF_Param_POPUP,
                                            PF_Param_GROUP_START, PF_Param_ANGLE}) {
                PF_ParamDef def{};
                def.param_type = type;
                if (type == PF_Param_ANGLE) def.flags = PF_ParamFlag_CANNOT_TIME_VARY;
                if (type == PF_Param_POPUP) def.u.pd.num_choices = 3;
                call.in_data->inter.add_param(call.in_data->effect_ref, -1, &def);
            }
            return 0;
        });
    }
    KeyframeTrack& track(std::size_t index) { return host->parameters()[index].editTrack(); }
    ProbeHost host{kModernAE};
};

TEST_F(ProjectSuites, ParametersAreReadAtTheMomentAsked) {
    Comp comp;
    track(1).set({{0, 1}, {0, 0}});
    track(1).set({{1, 1}, {240, 48}});
    track(2).set({{0, 1}, {255, 0.5, 99.4, 300}});
    track(3).set({{0, 1}, {9}});
    for (std::size_t const fixed : {0, 4, 5}) EXPECT_THROW(track(fixed), HostError);
    for (int const downsample : {1, 2}) {
        World input(host->worldSpec(5, 4, Depth::k8)), output(input.spec());
        FrameRequest frame = frameRequest(comp, 3);  // of 24 a second
        frame.downsample = downsample;
        host.render(input, output, frame, [&](ProbeCall const& call) -> PF_Err {
            auto const expectAt = [&](double seconds, PF_ParamDef const& def) {
                PF_ParamDef want = def;
                setPoint(want, 240 * seconds, 48 * seconds);
                scalePoint(want, downsample);
                EXPECT_EQ(std::memcmp(&def, &want, sizeof def), 0) << seconds;
            };
            expectAt(0.125, *call.params[1]);
            auto const [alpha, red, green, blue] = call.params[2]->u.cd.value;
            EXPECT_TRUE(alpha == 255 && red == 1 && green == 99 && blue == 255);
            EXPECT_EQ(call.params[3]->u.pd.value, 3) << "no choice beyond the last";
            for (auto const& [t, s, at] :
                 {std::tuple(6, 24, 0.25), {1, 7, 1.0 / 7}, {12000, 0, 0.5}, {-5, 1, 0.}}) {
                PF_ParamDef def{};
                PF_InData const& in = *call.in_data;
                EXPECT_EQ(in.inter.checkout_param(in.effect_ref, 1, t, 1, s, &def), 0);
                expectAt(at, def);
                in.inter.checkin_param(in.effect_ref, &def);
            }
            return 0;
        });
    }
    host->resetParameters(10, 10);
    EXPECT_TRUE(track(1).empty());
    comp.timeBase = {30000, 1001};
    comp.startFrame = -5;
    EXPECT_EQ(frameRequest(comp, 0).shutter.angleDeg, 0);
    comp.motionBlur = true;
    EXPECT_EQ(frameRequest(comp, 0).shutter.phaseDeg, -90);
    EXPECT_EQ(frameRequest(comp, 2145333).time, 2145338 * 1001);
    EXPECT_THROW(frameRequest(comp, 2145334), HostError);
    comp.durationFrames = 2145339;
    EXPECT_THROW(host->setComp(comp), HostError);
}

// What an effect gave back, or never had, is refused; a second give-back is a mistake.
TEST_F(ProjectSuites, StaleReferencesAreRefused) {
    auto const end = host.renderAt(Depth::k8, [&](ProbeCall const& call) -> PF_Err {
        auto const pf = get<AEGP_PFInterfaceSuite1>(call, kAEGPPFInterfaceSuite, 1);
        auto const effects = get<AEGP_EffectSuite2>(call, kAEGPEffectSuite, 2);
        auto const streams = get<AEGP_StreamSuite7>(call, kAEGPStreamSuite, 7);
        auto const keys = get<AEGP_KeyframeSuite3>(call, kAEGPKeyframeSuite, 3);
        auto const open = streams.AEGP_GetNewEffectStreamByIndex;
        AEGP_EffectRefH effect = nullptr;
        AEGP_StreamRefH stream = nullptr;
        AEGP_StreamValue value{};
        A_long at = -1;
        A_Time const now = {10, 24}, never = {1, 0};
        EXPECT_EQ(pf.AEGP_GetNewEffectForEffect(0, call.in_data->effect_ref, &effect), 0);
        for (A_long const fixed : {-1, 0, 4, 5, 6})
            EXPECT_EQ(open(0, effect, fixed, &stream), kRefused);
        EXPECT_EQ(open(0, effect, 1, &stream), 0);
        auto const insert = [&](AEGP_LTimeMode mode, A_Time const& time) {
            return keys.AEGP_InsertKeyframe(stream, mode, &time, &at);
        };
        EXPECT_EQ(insert(AEGP_LTimeMode_LayerTime, now), 0);
        EXPECT_EQ(insert(AEGP_LTimeMode_CompTime, now), kRefused);
        EXPECT_EQ(insert(AEGP_LTimeMode_LayerTime, never), kRefused);
        EXPECT_EQ(keys.AEGP_GetNewKeyframeValue(0, stream, 0, &value), 0);
        EXPECT_EQ(keys.AEGP_SetKeyframeValue(stream, 1, &value), kRefused);
        for (PF_Err const code : {0, +kRefused}) {
            EXPECT_EQ(effects.AEGP_DisposeEffect(effect), code);
            EXPECT_EQ(streams.AEGP_DisposeStreamValue(&value), code);
            EXPECT_EQ(streams.AEGP_DisposeStream(stream), code);
        }
        EXPECT_EQ(insert(AEGP_LTimeMode_LayerTime, now), kRefused);
        EXPECT_EQ(open(0, effect, 1, &stream), kRefused);
        return 0;
    });
    EXPECT_EQ(nothingOwed(end), "3 mistakes");
}

}  // namespace
}  // namespace zelk
