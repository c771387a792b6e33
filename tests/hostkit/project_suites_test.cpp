// Time as an effect meets it: parameters at other moments, and the project behind the suites.
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

constexpr PF_Err kRefused = PF_Err_BAD_CALLBACK_PARAM;

/// Calls with each pointer in turn null, which the host must refuse, and at last as it stands.
template <class... P>
PF_Err ask(PF_Err (*call)(P...), std::type_identity_t<P>... args) {
    auto const refused = [&](auto index) {
        std::tuple<P...> given{args...};
        auto& arg = std::get<index>(given);
        if constexpr (std::is_pointer_v<std::decay_t<decltype(arg)>>)
            if (std::exchange(arg, nullptr)) {
                EXPECT_EQ(std::apply(call, given), kRefused) << index;
            }
    };
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (refused(std::integral_constant<std::size_t, I>()), ...);
    }
    (std::index_sequence_for<P...>());
    return call(args...);
}

/// The tables of an effect that keeps to them for the length of a command.
struct Suites {
    SPBasicSuite const* basic;
    template <class Suite>
    Suite get(char const* name, A_long version) {
        void const* table = nullptr;
        EXPECT_EQ(basic->AcquireSuite(name, version, &table), 0) << name;
        EXPECT_EQ(basic->ReleaseSuite(name, version), 0);
        return *static_cast<Suite const*>(table);
    }
    AEGP_ProjSuite7 proj = get<AEGP_ProjSuite7>(kAEGPProjSuite, 7);
    AEGP_ItemSuite7 item = get<AEGP_ItemSuite7>(kAEGPItemSuite, 7);
    AEGP_ItemSuite10 size = get<AEGP_ItemSuite10>(kAEGPItemSuite, 10);
    AEGP_CompSuite11 comp = get<AEGP_CompSuite11>(kAEGPCompSuite, 11);
    AEGP_PFInterfaceSuite1 pf = get<AEGP_PFInterfaceSuite1>(kAEGPPFInterfaceSuite, 1);
    AEGP_EffectSuite2 effect = get<AEGP_EffectSuite2>(kAEGPEffectSuite, 2);
    AEGP_StreamSuite4 layer = get<AEGP_StreamSuite4>(kAEGPStreamSuite, 4);
    AEGP_StreamSuite7 stream = get<AEGP_StreamSuite7>(kAEGPStreamSuite, 7);
    AEGP_KeyframeSuite3 key = get<AEGP_KeyframeSuite3>(kAEGPKeyframeSuite, 3);
};

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
    std::string owedAfter(std::function<void(Suites const&, PF_ProgPtr)> const& body) {
        return nothingOwed(host.renderAt(Depth::k8, [&](ProbeCall const& call) -> PF_Err {
            return body({call.in_data->pica_basicP}, call.in_data->effect_ref), 0;
        }));
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

TEST_F(ProjectSuites, KeyframesAreWrittenThroughStreams) {
    setPoint(host->parameters()[1].current, 3, 4);
    AEGP_EffectRefH effect = nullptr;
    AEGP_StreamRefH stream = nullptr;
    AEGP_StreamValue value{};
    A_long at = -1;
    constexpr A_Time kNow = {6, 24}, kNoTime = {1, 0};
    std::string const owed = owedAfter([&](Suites const& s, PF_ProgPtr ref) {
        auto const insert = s.key.AEGP_InsertKeyframe;
        auto const open = s.stream.AEGP_GetNewEffectStreamByIndex;
        EXPECT_EQ(ask(s.pf.AEGP_GetNewEffectForEffect, 0, ref, &effect), 0);
        EXPECT_EQ(ask(open, 0, effect, 1, &stream), 0);
        for (auto const& [time, place] :
             {std::pair(A_Time{10, 24}, 0), {{2, 24}, 0}, {{5, 12}, 1}}) {
            EXPECT_EQ(ask(insert, stream, AEGP_LTimeMode_LayerTime, &time, &at), 0);
            EXPECT_EQ(at, place);
        }
        EXPECT_EQ(ask(s.key.AEGP_GetNewKeyframeValue, 0, stream, 1, &value), 0);
        EXPECT_TRUE(value.val.two_d.x == 3 && value.val.two_d.y == 4) << "as the parameter was";
        value.val.two_d = {19, 20};
        EXPECT_EQ(ask(s.key.AEGP_SetKeyframeValue, stream, 1, &value), 0);
        EXPECT_EQ(insert(stream, AEGP_LTimeMode_CompTime, &kNow, &at), 0);
        EXPECT_EQ(insert(stream, AEGP_LTimeMode(2), &kNow, &at), kRefused);
        EXPECT_EQ(insert(stream, AEGP_LTimeMode_LayerTime, &kNoTime, &at), kRefused);
        for (A_long const beyond : {-1, 3}) {
            EXPECT_EQ(s.key.AEGP_GetNewKeyframeValue(0, stream, beyond, &value), kRefused);
            EXPECT_EQ(s.key.AEGP_SetKeyframeValue(stream, beyond, &value), kRefused);
        }
        for (A_long const fixed : {-1, 0, 4, 5, 6})
            EXPECT_EQ(open(0, effect, fixed, &stream), kRefused);
        EXPECT_EQ(host->monitor().outstanding.describe(), "1 effect, 1 stream, 1 stream value");
        EXPECT_EQ(ask(s.effect.AEGP_DisposeEffect, effect), 0);
        EXPECT_EQ(ask(s.stream.AEGP_DisposeStreamValue, &value), 0);
        value.val.two_d.y = std::nan("");
        EXPECT_EQ(s.key.AEGP_SetKeyframeValue(stream, 0, &value), kRefused);
        EXPECT_EQ(ask(s.stream.AEGP_DisposeStream, stream), 0);
        // What is stale is refused everywhere; giving it back is a mistake, like giving back null.
        EXPECT_EQ(s.effect.AEGP_DisposeEffect(effect), kRefused);
        EXPECT_EQ(s.stream.AEGP_DisposeStream(stream), kRefused);
        EXPECT_EQ(s.stream.AEGP_DisposeStreamValue(&value), kRefused);
        EXPECT_EQ(insert(stream, AEGP_LTimeMode_LayerTime, &kNow, &at), kRefused);
        EXPECT_EQ(open(0, effect, 1, &stream), kRefused);
    });
    EXPECT_EQ(owed, "6 mistakes");
    ASSERT_EQ(track(1).size(), 3u);
    EXPECT_EQ(track(1).keys()[1].value, (KeyValue{11, 12})) << "half way from 3, 4 to 19, 20";
}

TEST_F(ProjectSuites, LeadFromTheProjectToItsCompAndCamera) {
    Comp comp;
    comp.timeBase = {30000, 1001};
    comp.startFrame = 86400;
    host->setComp(comp);
    AEGP_LayerH former = nullptr;
    for (bool const filmed : {false, true, true}) {
        if (filmed) host->setCamera(Camera{{{{1, 2, 3, 4}}}, 500, 640, 480, 777.5});
        std::string const owed = owedAfter([&](Suites const& s, PF_ProgPtr ref) {
            A_long count = 0, width = 0, height = 0;
            AEGP_ProjectH project = nullptr;
            AEGP_TimeDisplay display{};
            EXPECT_EQ(ask(s.proj.AEGP_GetNumProjects, &count), 0);
            EXPECT_EQ(ask(s.proj.AEGP_GetProjectByIndex, 0, &project), 0);
            EXPECT_EQ(s.proj.AEGP_GetProjectByIndex(1, &project), kRefused);
            EXPECT_EQ(ask(s.proj.AEGP_GetProjectTimeDisplay, project, &display), 0);
            EXPECT_TRUE(count == 1 && display.starting_frame == 86400 && display.timebase == 30);
            AEGP_ItemH item = nullptr, last = nullptr;
            AEGP_CompH found = nullptr;
            std::string types;
            EXPECT_EQ(ask(s.item.AEGP_GetFirstProjItem, project, &item), 0);
            while (item && types.size() < 9) {
                AEGP_ItemType type{};
                EXPECT_EQ(ask(s.item.AEGP_GetItemType, last = item, &type), 0);
                EXPECT_EQ(ask(s.comp.AEGP_GetCompFromItem, item, &found), 0);
                types += std::to_string(type) + (found ? " comp" : " ");
                EXPECT_EQ(ask(s.item.AEGP_GetNextProjItem, project, last, &item), 0);
            }
            EXPECT_EQ(types, "1 5 2 comp");
            EXPECT_EQ(ask(s.size.AEGP_GetItemDimensions, last, &width, &height), 0);
            EXPECT_TRUE(width == 1920 && height == 1080);

            A_Time time{};
            AEGP_LayerH camera = nullptr;
            Camera seen;
            AEGP_StreamVal zoom{};
            PF_Err const code = filmed ? 0 : kRefused;
            EXPECT_EQ(s.pf.AEGP_ConvertEffectToCompTime(ref, 3, 0, &time), 0);
            EXPECT_TRUE(time.value == 3 && time.scale == 24000) << "the command's own";
            EXPECT_EQ(ask(s.pf.AEGP_ConvertEffectToCompTime, ref, -9, 25, &time), 0);
            EXPECT_TRUE(time.value == -9 && time.scale == 25);
            EXPECT_EQ(ask(s.pf.AEGP_GetEffectCamera, ref, &time, &camera), 0);
            EXPECT_EQ(ask(s.pf.AEGP_GetEffectCameraMatrix, ref, &time, &seen.matrix,
                          &seen.planeDistance, &seen.planeWidth, &seen.planeHeight),
                      code);
            for (AEGP_LayerH const layer : {camera, former})
                EXPECT_EQ(ask(s.layer.AEGP_GetLayerStreamValue, layer, AEGP_LayerStream_ZOOM,
                              AEGP_LTimeMode_CompTime, &time, 0, &zoom, nullptr),
                          layer == former ? kRefused : code);
            EXPECT_TRUE(!filmed || (camera && seen.matrix.mat[0][3] == 4 && zoom.one_d == 777.5 &&
                                    seen.planeDistance == 500 && seen.planeWidth == 640));
            former = camera;
        });
        EXPECT_EQ(owed, "nothing");
    }
}

}  // namespace
}  // namespace zelk
