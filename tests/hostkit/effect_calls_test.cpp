// What the host logs, counts and refuses while an effect calls it.
#include <thread>

#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace {

constexpr A_long kWorlds = kPFWorldSuiteVersion2;

TEST(CallMonitor, AnswersTheNthCallOfAName) {
    zelk::CallMonitor monitor;
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

class EffectCalls : public testing::Test {
protected:
    EffectCalls() {
        host.paramsSetup([](ProbeCall const&) -> PF_Err { return 0; });
    }
    zelk::CommandResult render(ProbeBody const& body) {
        return host.renderAt(zelk::Depth::k8, body);
    }
    ProbeHost host{kModernAE};
};

TEST_F(EffectCalls, LeaksAreCountedForTheirCommand) {
    auto const leak = [](ProbeCall const& call) -> PF_Err {
        PF_InData& in = *call.in_data;
        static PF_EffectWorld world;
        void const* suite = nullptr;
        PF_ParamDef def{};
        in.utils->new_world(in.effect_ref, 2, 2, 0, &world);
        in.utils->host_lock_handle(in.utils->host_new_handle(0));
        for (int n = 0; n < 2; ++n) in.pica_basicP->AcquireSuite(kPFWorldSuite, kWorlds, &suite);
        in.pica_basicP->ReleaseSuite(kPFWorldSuite, kWorlds);
        return in.inter.checkout_param(in.effect_ref, 0, 0, 1, 1, &def);
    };
    for (int nth = 0; nth < 2; ++nth)
        EXPECT_EQ(render(leak).outstanding.describe(),
                  "1 world, 1 handle, 1 handle lock, 1 suite, 1 parameter");
    EXPECT_EQ(render([](ProbeCall const&) { return 0; }).outstanding.describe(), "nothing");
    EXPECT_EQ(host->monitor().outstanding.describe(),
              "2 worlds, 2 handles, 2 handle locks, 2 suites, 2 parameters");
}

TEST_F(EffectCalls, BadOnesAreAnsweredAndMistakesNoted) {
    PF_InteractCallbacks late{};
    PF_ProgPtr lateRef = nullptr;
    auto const result = render([&](ProbeCall const& call) -> PF_Err {
        auto const& [command, inData, outData, params, output] = call;
        PF_ProgPtr const ref = lateRef = inData->effect_ref;
        PF_UtilCallbacks const& utils = *inData->utils;
        late = inData->inter;
        auto const [acquire, release] = *inData->pica_basicP;
        void const* table = nullptr;
        acquire(kPFWorldSuite, kWorlds, &table);
        auto const& worlds = *static_cast<PF_WorldSuite2 const*>(table);
        PF_EffectWorld unknown{}, deep{}, shrunk = *output;
        PF_Pixel8* bytes = nullptr;
        PF_ParamDef def{};
        --shrunk.width;
        utils.new_world(ref, 5, 4, PF_NewWorldFlag_DEEP_PIXELS, &deep);
        PF_EffectWorld stale = deep;
        PF_Err onThread = 0;
        std::thread([&] { onThread = late.progress(ref, 0, 1); }).join();
        auto const transfer = [&](PF_EffectWorld* from, PF_EffectWorld* to, int mode,
                                  PF_MaskWorld const* mask = nullptr) {
            PF_CompositeMode const record = {static_cast<PF_Xfer_Mode>(mode), 0, 255, 0, 32768};
            return utils.transfer_rect(ref, 1, 1, 0, nullptr, from, &record, mask, 1, 0, to);
        };
        PF_MaskWorld const mask{};
        std::vector<PF_Err> refusals = {
            onThread, utils.fill(nullptr, nullptr, nullptr, output),
            utils.fill(ref, nullptr, nullptr, nullptr), utils.fill(ref, nullptr, nullptr, &unknown),
            utils.fill(ref, nullptr, nullptr, &shrunk),
            utils.copy(ref, &deep, output, nullptr, nullptr),
            utils.new_world(ref, 32768, 1, 0, &unknown),
            utils.get_pixel_data16(output, nullptr, nullptr),
            utils.get_pixel_data8(&unknown, nullptr, &bytes),
            worlds.PF_NewWorld(ref, 1, 1, 0, 0, &unknown),
            late.checkout_param(ref, 0, 0, 1, 1, nullptr), late.add_param(ref, -1, &def),
            acquire(kPFWorldSuite, 1, &table), transfer(&shrunk, output, 2),
            transfer(output, &deep, 2), transfer(output, output, 2, &mask),
            // From here on each is a mistake that the host notes.
            late.checkin_param(ref, &def), utils.dispose_world(ref, output),
            utils.dispose_world(ref, &deep) ? 0 : worlds.PF_DisposeWorld(ref, &stale),
            release(kPFWorldSuite, 1)};
        for (int mode : {-1, 3, 17, 22, 26}) refusals.push_back(transfer(output, output, mode));
        for (std::size_t i = 0; i < refusals.size(); ++i)
            EXPECT_EQ(refusals[i], PF_Err_BAD_CALLBACK_PARAM) << i;
        EXPECT_EQ(table, nullptr);
        release(kPFWorldSuite, kWorlds);
        utils.host_unlock_handle(nullptr);
        utils.host_dispose_handle(reinterpret_cast<PF_Handle>(&unknown));
        return 0;
    });
    EXPECT_EQ(late.progress(lateRef, 0, 1), PF_Err_BAD_CALLBACK_PARAM) << "no command runs";
    EXPECT_EQ(result.outstanding.describe(), "6 mistakes");
    EXPECT_EQ(host->monitor().mistakes()[2], "PF_DisposeWorld: not an image of the effect's");
}

TEST_F(EffectCalls, LongTextsAreCutAndExceptionsEndAsHostError) {
    std::string const text(1000, 'x');
    auto const result = render([&](ProbeCall const& call) -> PF_Err {
        auto const& ansi = call.in_data->utils->ansi;
        ansi.sprintf(call.out_data->return_msg, "%s", text.c_str());
        ansi.strcpy(call.out_data->return_msg + 10, text.c_str());
        return 0;
    });
    EXPECT_EQ(result.message, std::string(255, 'x'));
    EXPECT_EQ(result.outstanding.describe(), "2 mistakes");
    EXPECT_THROW(render([](ProbeCall const&) -> PF_Err { throw 516; }), zelk::HostError);
}

}  // namespace
