// Loading, set-up, and what a host tells an effect with a command.
#include <cstdio>

#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

constexpr char kEntries[] = "One|(-|Three with a rather long name";

/// Answers the set-up commands as an effect with global data and a few parameters does, and hands
/// every render to `inRender`.
class SmallEffect {
public:
    SmallEffect() { setProbeBody(&m_body); }
    ~SmallEffect() { setProbeBody(nullptr); }
    int live = 0;  ///< set-ups without their set-down
    std::function<void(ProbeCall const&)> inRender;

private:
    PF_Err answer(ProbeCall const& call) {
        PF_InData& in = *call.in_data;
        PF_OutData& out = *call.out_data;
        switch (call.command) {
            case PF_Cmd_GLOBAL_SETUP:
                if (in.appl_id == kAppEvenSize) return std::strcpy(out.return_msg, "not here"), 99;
                out.out_flags |= PF_OutFlag_DEEP_COLOR_AWARE;
                out.my_version = ::effectVersion(2, 1, 0, PF_Stage_BETA, 7);
                out.global_data = in.utils->host_new_handle(4);
                live += out.global_data ? 1 : 0;
                return out.global_data ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
            case PF_Cmd_GLOBAL_SETDOWN:
                live -= in.global_data ? 1 : 0;
                return in.global_data ? PF_Err_NONE : PF_Err_INTERNAL_STRUCT_DAMAGED;
            case PF_Cmd_PARAMS_SETUP:
                return addParameters(in);
            case PF_Cmd_RENDER:
                return inRender(call), PF_Err_NONE;
            default:
                return PF_Err_NONE;
        }
    }
    static PF_Err addParameters(PF_InData& in) {
        PF_ParamDef point{}, popup{};
        point.param_type = PF_Param_POINT;
        point.u.td.x_dephault = 50 << 16;
        point.u.td.y_dephault = 25 << 16;
        std::string const text(kEntries);  // gone when the host next looks
        popup.param_type = PF_Param_POPUP;
        popup.u.pd.dephault = 3;
        popup.u.pd.u.namesptr = text.c_str();
        PF_Err const err = in.inter.add_param(in.effect_ref, -1, &point);
        return err ? err : in.inter.add_param(in.effect_ref, -1, &popup);
    }
    ProbeBody const m_body = [this](ProbeCall const& call) { return answer(call); };
};

TEST(HostLoading, TellsWhatIsWrong) {
    SmallEffect effect;
    struct Case {
        char const* module;
        char const* words;
        PF_Err code;
    };
    for (Case const& c :
         {Case{"no/such/file.so", "no such file", 0},
          Case{NO_ENTRY, "exports no function \"EntryPointFunc\"", 0},
          Case{ZELK_PROBE_MODULE, "PF_Cmd_GLOBAL_SETUP failed with 99 (not here)", 99}})
        try {
            Host const host(c.module, optionsOf({kAppEvenSize, {13, 27}}));
            ADD_FAILURE() << c.module;
        } catch (HostError const& error) {
            std::string const what = error.what();
            EXPECT_EQ(what.rfind(c.module, 0), 0u) << what;
            EXPECT_NE(what.find(c.words), std::string::npos) << what;
            EXPECT_EQ(error.code(), c.code);
        }
}

TEST(HostLoading, SetUpIsFollowedByOneSetDown) {
    SmallEffect effect;
    for (bool early : {false, true}) {
        HostOptions options;
        options.initialOutFlags = options.initialOutFlags2 = 4;
        Host host(ZELK_PROBE_MODULE, options);
        EXPECT_EQ(effect.live, 1);
        EXPECT_EQ(host.effectVersion(), 0x108407u) << "2.1.0 beta 7";
        EXPECT_EQ(host.monitor().outstanding, Outstanding{}) << "global data is the host's";
        CommandResult const other = host.bareCommand(PF_Cmd_SEQUENCE_SETUP);
        EXPECT_FALSE(other.touchedOutData);
        EXPECT_EQ(other.outFlags & other.outFlags2, 4u);
        if (!early) continue;
        EXPECT_EQ(host.globalSetdown().code, 0);
        EXPECT_EQ(effect.live, 0);
        EXPECT_NE(host.globalSetdown().code, 0) << "its global data went with the first";
        host.monitor().inject({"host_new_handle", 0});
        EXPECT_EQ(host.globalSetup().code, PF_Err_OUT_OF_MEMORY);
    }
    EXPECT_EQ(effect.live, 0);
}

TEST(HostCommands, BringParametersToTheRendersResolution) {
    SmallEffect effect;
    FrameRequest third;
    third.downsample = 3;
    third.pixelAspect = 1.5;
    third.layerWidth = 119;
    for (HostIdentity identity :
         {kModernAE, kOlderAE, HostIdentity{kAppPremierePro, {12, 4}},
          HostIdentity{kAppPremierePro, {13, 4}}, HostIdentity{kAppPremierePro, {12, 5}}}) {
        int const scale = identity == HostIdentity{kAppPremierePro, {12, 4}} ? 1 : 3;
        effect.inRender = [scale](ProbeCall const& call) {
            PF_InData const& in = *call.in_data;
            EXPECT_EQ(in.width * 1000 + in.height, 119060);
            for (PF_RationalScale const& part : {in.downsample_x, in.downsample_y})
                EXPECT_TRUE(part.num == 1 && part.den == 3);
            EXPECT_TRUE(in.pixel_aspect_ratio.num == 3 && in.pixel_aspect_ratio.den == 2);
            // The point's defaults are 50 and 25 percent of 120 and 60.
            EXPECT_EQ(call.params[1]->u.td.x_value, (60 << 16) / scale);
            EXPECT_EQ(call.params[1]->u.td.y_value, (15 << 16) / scale);
            EXPECT_STREQ(call.params[2]->u.pd.u.namesptr, kEntries);
            PF_ParamDef def{};
            for (A_long i = 0; i < in.num_params; ++i) {
                EXPECT_EQ(in.inter.checkout_param(in.effect_ref, i, 0, 1, 1, &def), 0);
                EXPECT_EQ(std::memcmp(&def, call.params[i], sizeof def), 0) << i;
                EXPECT_EQ(in.inter.checkin_param(in.effect_ref, &def), 0);
            }
            // A refused check-out may be checked in.
            EXPECT_EQ(in.inter.checkout_param(in.effect_ref, 3, 0, 1, 1, &def), 513);
            EXPECT_EQ(in.inter.checkin_param(in.effect_ref, &def), 0);
        };
        Host host(ZELK_PROBE_MODULE, optionsOf(identity));
        host.resetParameters(120, 60);
        EXPECT_EQ(host.parameters()[2].choices.at(2), "Three with a rather long name");
        World input(host.worldSpec(40, 20, Depth::k8)), output(input.spec());
        CommandResult const result = host.render(input, output, third);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(nothingOwed(result), "nothing");
    }
}

TEST(HostCommands, TakeAndMakeImagesOfTheHostsLayout) {
    SmallEffect effect;
    HostOptions options = optionsOf(kModernPremiere);
    options.dirtyNewWorlds = true;
    options.rowPaddingBytes = 3;
    Host host(ZELK_PROBE_MODULE, options);
    effect.inRender = [](ProbeCall const& call) {
        for (A_long flags : {0, +PF_NewWorldFlag_CLEAR_PIXELS, +PF_NewWorldFlag_DEEP_PIXELS}) {
            PF_EffectWorld world{};
            PF_InData& in = *call.in_data;
            in.utils->new_world(in.effect_ref, 5, 2, flags, &world);
            bool const deep = flags == PF_NewWorldFlag_DEEP_PIXELS;
            EXPECT_EQ(world.rowbytes, deep ? 44 : 23) << "padding is whole channels";
            EXPECT_EQ(world.world_flags & PF_WorldFlag_DEEP, deep ? 1 : 0);
            int const last = static_cast<A_u_char const*>(world.data)[world.rowbytes * 2 - 1];
            EXPECT_EQ(last, flags == PF_NewWorldFlag_CLEAR_PIXELS ? 0 : 0x7F);
            in.utils->dispose_world(in.effect_ref, &world);
        }
    };
    World argb({4, 4}), bgra(host.worldSpec(4, 4, Depth::k8)),
        small(host.worldSpec(3, 4, Depth::k8)), deep(host.worldSpec(4, 4, Depth::k16)), none;
    EXPECT_EQ(host.render(bgra, bgra, {}).code, 0) << "one image may be both";
    for (World* output : {&argb, &small, &deep, &none})
        EXPECT_THROW(host.render(bgra, *output, {}), HostError);
    FrameRequest frame;
    frame.downsample = 0;
    EXPECT_THROW(host.render(bgra, bgra, frame), HostError);
    EXPECT_THROW(Host(ZELK_PROBE_MODULE, optionsOf({kAppAfterEffects, {12, 11}}))
                     .worldSpec(1, 1, Depth::kFloat),
                 HostError);
}

}  // namespace
}  // namespace zelk
