// What a host tells an effect with a command, and what it logs, counts and refuses in it.
#include <thread>

#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

TEST(CallMonitor, AnswersTheNthCallOfAName) {
    CallMonitor monitor;
    int done = 0;
    monitor.inject({"fill", 2, 11});
    monitor.inject({"abort", 0, 12});
    monitor.inject({"copy", 1, 13, true});  // works and yet answers the code
    std::vector<std::string> const calls = {"fill", "fill", "fill", "abort", "abort", "copy"};
    std::vector<PF_Err> answers;
    auto const call = [&](std::string const& name) {
        return monitor.answer(name, [&]() -> PF_Err { return ++done, PF_Err_NONE; });
    };
    for (std::string const& name : calls) answers.push_back(call(name));
    EXPECT_EQ(answers, (std::vector<PF_Err>{0, 11, 0, 12, 12, 13}));
    EXPECT_EQ(monitor.log(), calls);
    EXPECT_TRUE(done == 3 && monitor.faultsAnswered() == 4 && monitor.count("fill") == 3);
    monitor.restart();
    EXPECT_TRUE(monitor.log().empty());
    EXPECT_EQ(call("fill") + call("fill"), 11) << "counts begin anew, faults stay";
}

TEST(Host, BringsParametersToTheRendersResolution) {
    FrameRequest third;
    third.downsample = 3;
    third.pixelAspect = 1.5;
    third.layerWidth = 119;
    for (auto const& [identity, scale] : {std::pair(kModernAE, 3),
                                          {kOlderAE, 3},
                                          {{kAppPremierePro, {12, 4}}, 1},
                                          {{kAppPremierePro, {13, 4}}, 3},
                                          {{kAppPremierePro, {12, 5}}, 3}}) {
        ProbeHost host{identity};
        host.paramsSetup([](ProbeCall const& call) -> PF_Err {
            PF_ParamDef point{};
            point.param_type = PF_Param_POINT;
            point.u.td.x_dephault = 50 << 16;
            point.u.td.y_dephault = 25 << 16;
            return call.in_data->inter.add_param(call.in_data->effect_ref, -1, &point);
        });
        host->resetParameters(120, 60);
        World input(host->worldSpec(40, 20, Depth::k8)), output(input.spec());
        auto const end =
            host.render(input, output, third, [divisor = scale](ProbeCall const& call) -> PF_Err {
                PF_InData const& in = *call.in_data;
                EXPECT_EQ(in.width * 1000 + in.height, 119060);
                for (PF_RationalScale const& part : {in.downsample_x, in.downsample_y})
                    EXPECT_TRUE(part.num == 1 && part.den == 3);
                EXPECT_TRUE(in.pixel_aspect_ratio.num == 3 && in.pixel_aspect_ratio.den == 2);
                // The point's defaults are 50 and 25 percent of 120 and 60.
                EXPECT_EQ(call.params[1]->u.td.x_value, (60 << 16) / divisor);
                EXPECT_EQ(call.params[1]->u.td.y_value, (15 << 16) / divisor);
                PF_ParamDef def{};
                for (A_long i = 0; i < in.num_params; ++i) {
                    EXPECT_EQ(in.inter.checkout_param(in.effect_ref, i, 0, 1, 1, &def), 0);
                    EXPECT_EQ(std::memcmp(&def, call.params[i], sizeof def), 0) << i;
                    EXPECT_EQ(in.inter.checkin_param(in.effect_ref, &def), 0);
                }
                return 0;
            });
        EXPECT_EQ(nothingOwed(end), "nothing");
    }
}

// Effects are tested by what they owe after a command, and by calls out of place.
TEST(EffectCalls, LeaksAndMistakesAreCountedForTheirCommand) {
    ProbeHost host{kModernAE};
    host.paramsSetup([](ProbeCall const&) -> PF_Err { return 0; });
    auto const owedAfter = [&](ProbeBody const& body) {
        return nothingOwed(host.renderAt(Depth::k8, body));
    };
    auto const leak = [](ProbeCall const& call) -> PF_Err {
        PF_InData& in = *call.in_data;
        static PF_EffectWorld world;
        void const* suite = nullptr;
        PF_ParamDef def{};
        in.utils->new_world(in.effect_ref, 2, 2, 0, &world);
        in.utils->host_lock_handle(in.utils->host_new_handle(0));
        for (int n = 0; n < 2; ++n) in.pica_basicP->AcquireSuite(kPFWorldSuite, 2, &suite);
        in.pica_basicP->ReleaseSuite(kPFWorldSuite, 2);
        return in.inter.checkout_param(in.effect_ref, 0, 0, 1, 1, &def);
    };
    PF_InteractCallbacks late{};
    PF_ProgPtr ref = nullptr;
    auto const mistake = [&](ProbeCall const& call) -> PF_Err {
        PF_UtilCallbacks const& utils = *call.in_data->utils;
        late = call.in_data->inter;
        ref = call.in_data->effect_ref;
        PF_EffectWorld unknown{}, deep{};
        PF_ParamDef def{};
        PF_Err onThread = 0;
        std::thread([&] { onThread = late.progress(ref, 0, 1); }).join();
        utils.new_world(ref, 5, 4, PF_NewWorldFlag_DEEP_PIXELS, &deep);
        std::vector<PF_Err> const refusals = {
            onThread, utils.fill(ref, nullptr, nullptr, &unknown),
            utils.copy(ref, &deep, call.output, nullptr, nullptr),
            // From here on each is a mistake that the host notes.
            late.checkin_param(ref, &def), utils.dispose_world(ref, call.output),
            utils.dispose_world(ref, &deep) ? 0 : utils.dispose_world(ref, &deep),
            call.in_data->pica_basicP->ReleaseSuite(kPFWorldSuite, 1)};
        for (std::size_t i = 0; i < refusals.size(); ++i)
            EXPECT_EQ(refusals[i], PF_Err_BAD_CALLBACK_PARAM) << i;
        utils.host_unlock_handle(nullptr);
        utils.host_dispose_handle(reinterpret_cast<PF_Handle>(&unknown));
        return 0;
    };
    for (int nth = 0; nth < 2; ++nth)
        EXPECT_EQ(owedAfter(leak), "1 world, 1 handle, 1 handle lock, 1 suite, 1 parameter");
    EXPECT_EQ(owedAfter([](ProbeCall const&) { return 0; }), "nothing");
    EXPECT_EQ(host->monitor().outstanding.describe(),
              "2 worlds, 2 handles, 2 handle locks, 2 suites, 2 parameters");
    EXPECT_EQ(owedAfter(mistake), "6 mistakes");
    EXPECT_EQ(late.progress(ref, 0, 1), PF_Err_BAD_CALLBACK_PARAM) << "no command runs";
}

}  // namespace
}  // namespace zelk
