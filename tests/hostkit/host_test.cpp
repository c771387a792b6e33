// What a host counts and refuses while an effect calls it. Its log and its faults are what the
// walks through every call of the effect stand on.
#include <thread>

#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace zelk {
namespace {

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
        static PF_ParamDef def{};  // at no other one's place: it stays checked out
        void const* suite = nullptr;
        in.utils->new_world(in.effect_ref, 2, 2, 0, &world);
        in.utils->host_lock_handle(in.utils->host_new_handle(0));
        for (int n = 0; n < 2; ++n) in.pica_basicP->AcquireSuite(kPFWorldSuite, 2, &suite);
        in.pica_basicP->ReleaseSuite(kPFWorldSuite, 2);
        return in.inter.checkout_param(in.effect_ref, 0, 0, 1, 1, &def);
    };
    auto const mistake = [](ProbeCall const& call) -> PF_Err {
        PF_UtilCallbacks const& utils = *call.in_data->utils;
        PF_InteractCallbacks const& inter = call.in_data->inter;
        PF_ProgPtr const ref = call.in_data->effect_ref;
        PF_EffectWorld unknown{}, deep{};
        PF_ParamDef def{};
        PF_Err onThread = 0;
        std::thread([&] { onThread = inter.progress(ref, 0, 1); }).join();
        utils.new_world(ref, 5, 4, PF_NewWorldFlag_DEEP_PIXELS, &deep);
        std::vector<PF_Err> const refusals = {
            onThread, utils.fill(ref, nullptr, nullptr, &unknown),
            // From here on each is a mistake that the host notes.
            inter.checkin_param(ref, &def), utils.dispose_world(ref, call.output),
            utils.dispose_world(ref, &deep) ? 0 : utils.dispose_world(ref, &deep),
            call.in_data->pica_basicP->ReleaseSuite(kPFWorldSuite, 1)};
        EXPECT_EQ(refusals, std::vector(refusals.size(), PF_Err{PF_Err_BAD_CALLBACK_PARAM}));
        utils.host_unlock_handle(nullptr);
        utils.host_dispose_handle(reinterpret_cast<PF_Handle>(&unknown));
        return 0;
    };
    for (int nth = 0; nth < 2; ++nth)
        EXPECT_EQ(owedAfter(leak), "1 world, 1 handle, 1 handle lock, 1 suite, 1 parameter");
    EXPECT_EQ(owedAfter(mistake), "6 mistakes");
}

}  // namespace
}  // namespace zelk
