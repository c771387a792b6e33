// Loading, set-up, and what a host tells an effect with a command.
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

/// Answers the set-up commands as an effect with global data and two parameters does, and hands
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
        if (call.command == PF_Cmd_GLOBAL_SETUP) {
            if (in.appl_id == kAppEvenSize) return std::strcpy(out.return_msg, "not here"), 99;
            out.my_version = ::effectVersion(2, 1, 0, PF_Stage_BETA, 7);
            out.global_data = in.utils->host_new_handle(4);
            live += out.global_data ? 1 : 0;
            return out.global_data ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY;
        }
        if (call.command == PF_Cmd_GLOBAL_SETDOWN) live -= in.global_data ? 1 : 0;
        if (call.command == PF_Cmd_RENDER) inRender(call);
        if (call.command != PF_Cmd_PARAMS_SETUP) return PF_Err_NONE;
        PF_ParamDef point{}, popup{};
        point.param_type = PF_Param_POINT;
        point.u.td.x_dephault = 50 << 16;
        point.u.td.y_dephault = 25 << 16;
        std::string const text("One|(-|Three");  // gone when the host next looks
        popup.param_type = PF_Param_POPUP;
        popup.u.pd.u.namesptr = text.c_str();
        PF_Err const err = in.inter.add_param(in.effect_ref, -1, &point);
        return err ? err : in.inter.add_param(in.effect_ref, -1, &popup);
    }
    ProbeBody const m_body = [this](ProbeCall const& call) { return answer(call); };
};

TEST(HostLoading, TellsWhatIsWrong) {
    SmallEffect effect;
    for (auto const& [module, words, code] :
         {std::tuple("no/such/file.so", "no such file", 0),
          {NOT_A_MODULE, "does not load", 0},
          {NO_ENTRY, "exports no function \"EntryPointFunc\"", 0},
          {ZELK_PROBE_MODULE, "PF_Cmd_GLOBAL_SETUP failed with 99 (not here)", 99}})
        try {
            Host const host(module, optionsOf({kAppEvenSize, {13, 27}}));
            ADD_FAILURE() << module;
        } catch (HostError const& error) {
            std::string const what = error.what();
            EXPECT_TRUE(what.starts_with(module) && what.find(words) != what.npos) << what;
            EXPECT_EQ(error.code(), code);
        }
}

TEST(HostLoading, SetUpIsFollowedByOneSetDown) {
    SmallEffect effect;
    for (bool early : {false, true}) {
        Host host(ZELK_PROBE_MODULE);
        EXPECT_EQ(effect.live, 1);
        EXPECT_EQ(host.effectVersion(), 0x108407u) << "2.1.0 beta 7";
        EXPECT_EQ(host.monitor().outstanding, Outstanding{}) << "global data is the host's";
        EXPECT_FALSE(host.bareCommand(PF_Cmd_SEQUENCE_SETUP).touchedOutData);
        if (early) host.globalSetdown();
    }
    EXPECT_EQ(effect.live, 0);
}

TEST(HostCommands, BringParametersToTheRendersResolution) {
    SmallEffect effect;
    FrameRequest third;
    third.downsample = 3;
    third.pixelAspect = 1.5;
    third.layerWidth = 119;
    for (auto const& [identity, scale] : {std::pair(kModernAE, 3),
                                          {kOlderAE, 3},
                                          {{kAppPremierePro, {12, 4}}, 1},
                                          {{kAppPremierePro, {13, 4}}, 3},
                                          {{kAppPremierePro, {12, 5}}, 3}}) {
        effect.inRender = [divisor = scale](ProbeCall const& call) {
            PF_InData const& in = *call.in_data;
            EXPECT_EQ(in.width * 1000 + in.height, 119060);
            for (PF_RationalScale const& part : {in.downsample_x, in.downsample_y})
                EXPECT_TRUE(part.num == 1 && part.den == 3);
            EXPECT_TRUE(in.pixel_aspect_ratio.num == 3 && in.pixel_aspect_ratio.den == 2);
            // The point's defaults are 50 and 25 percent of 120 and 60.
            EXPECT_EQ(call.params[1]->u.td.x_value, (60 << 16) / divisor);
            EXPECT_EQ(call.params[1]->u.td.y_value, (15 << 16) / divisor);
            EXPECT_STREQ(call.params[2]->u.pd.u.namesptr, "One|(-|Three");
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
        EXPECT_EQ(host.parameters()[2].choices.at(2), "Three");
        World input(host.worldSpec(40, 20, Depth::k8)), output(input.spec());
        EXPECT_EQ(nothingOwed(host.render(input, output, third)), "nothing");
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
    Host const older(ZELK_PROBE_MODULE, optionsOf({kAppAfterEffects, {12, 11}}));
    EXPECT_THROW(older.worldSpec(1, 1, Depth::kFloat), HostError);
}

}  // namespace
}  // namespace zelk
