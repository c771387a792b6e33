// The module from the outside: its one symbol, its commands, what it announces about itself, and
// that neither exceptions nor a changed thread number leave a command.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <omp.h>

#include <array>
#include <cstdio>
#include <new>
#include <stdexcept>

#include "effect/Render.h"
#include "host/PluginHost_Memory_Impl.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;
using zelk::Host;

TEST(Module, ExportsItsEntryAndNothingElse) {
    std::string symbols;
    FILE* pipe = popen(ZELK_NM " -D --defined-only --format=posix " ZELK_MODULE, "r");
    ASSERT_NE(pipe, nullptr);
    std::array<char, 256> line;
    while (fgets(line.data(), line.size(), pipe))
        symbols += std::string(line.data(), strcspn(line.data(), " ")) + "\n";
    ASSERT_EQ(pclose(pipe), 0);
    EXPECT_EQ(symbols, "EntryPointFunc\n");
}

TEST(Commands, ThoseWithoutWorkTouchNothing) {
    auto host = Host::loadOnly(ZELK_MODULE);
    for (A_long command : {2, 3, 5, 6, 7, 8, 9, 10, 12, 16, 17, 18, 19, 20, 21, 22, 25, 1000, -1}) {
        auto const result = host->bareCommand(command);
        EXPECT_EQ(result.code, 0) << command;
        EXPECT_FALSE(result.touchedOutData) << command;
    }
    EXPECT_TRUE(host->monitor().log().empty());
}

TEST(GlobalSetup, AnnouncesFlagsAndVersionWithOrWithoutHandleCallbacks) {
    for (bool makes : {false, true})
        for (bool unlocks : {false, true}) {
            zelk::HostOptions options;
            options.offerHandleCallbacks = makes;
            options.offerUnlockCallback = unlocks;
            options.initialOutFlags = 0x40000002;  // stays
            options.initialOutFlags2 = 0xFFFF;     // goes
            auto host = Host::loadOnly(ZELK_MODULE, options);
            auto const result = host->globalSetup();
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(result.outFlags, 0x46088003u);
            EXPECT_EQ(result.outFlags2, 0x1408u);
            EXPECT_EQ(host->effectVersion(), 0x80600u);
            std::vector<std::string> expected;
            if (makes) expected.push_back("host_new_handle");
            if (unlocks) expected.push_back("host_unlock_handle");
            EXPECT_EQ(host->monitor().log(), expected);
            EXPECT_EQ(result.outstanding.handles, 0);
        }
}

constexpr zelk::HostIdentity kHosts[] = {kModernAE, kOlderAE, kModernPremiere, kModernKeyG};

TEST(Commands, AboutSaysTheNameAndSetUpRegistersTheOverlayButInPremiere) {
    for (zelk::HostIdentity identity : kHosts) {
        auto host = Host::loadOnly(ZELK_MODULE, optionsOf(identity));
        auto const about = host->about();
        EXPECT_EQ(about.code + static_cast<int>(about.outFlags), 0);
        EXPECT_EQ(about.message, "Quorvane Zelk High Quality Corner Pin Transform");
        EXPECT_EQ(nothingOwed(about), "nothing");
        host->globalSetup();
        host->monitor().inject({"add_param", 62, 90});
        EXPECT_EQ(host->paramsSetup().code + host->announcedParamCount(), 90);
        host->monitor().inject({"register_ui", 1, 91, true});
        auto const result = host->paramsSetup();
        bool const isPremiere = identity.applId == kAppPremierePro;
        EXPECT_EQ(result.code, isPremiere ? 0 : 91);
        EXPECT_EQ(nothingOwed(result), "nothing");
        EXPECT_EQ(host->announcedParamCount(), kParamCount);
        EXPECT_EQ(host->registeredCustomUi(), !isPremiere);
        PF_CustomUIInfo expected{};
        expected.events = isPremiere ? 0 : 3;
        EXPECT_EQ(0, std::memcmp(&host->customUi(), &expected, sizeof expected));
    }
}

TEST(RenderDispatch, RefusesFormatsWithoutAPipelineAndLeavesTheOutput) {
    for (int code = 0; code <= 22; ++code) {
        if (code == 0 || code == 1 || code == 3 || code == 9 || code == 11) continue;
        std::array<unsigned char, 16> pixels, before;
        pixels.fill(0xA5), before.fill(0xA5);
        auto const format = static_cast<QV_RasterFormat>(code);
        const PluginHost_API::RasterInfo view{pixels.data(), format, 1, 1, 16, 16, 1, 1, 0};
        PluginHost_Memory_Impl host(view, view);
        EXPECT_EQ(Render(&host), 1) << code;
        EXPECT_EQ(pixels, before);
    }
}

/// Runs the module's PF_Cmd_PARAMS_SETUP with `addParam` in place of the host's callback.
static zelk::CommandResult setUpWith(PF_Err (*addParam)(PF_ProgPtr, A_long, PF_ParamDef*)) {
    void* module = dlopen(ZELK_MODULE, RTLD_NOW);
    auto const entry = reinterpret_cast<PF_EntryPoint>(dlsym(module, kEntryPointName));
    ProbeHost host(kModernAE);
    return host.bare([&](ProbeCall const& call) -> PF_Err {
        PF_InData in = *call.in_data;
        in.inter.add_param = addParam;
        return entry(PF_Cmd_PARAMS_SETUP, &in, call.out_data, nullptr, nullptr, nullptr);
    });
}

TEST(EntryGuard, ExceptionsBecomeResultCodesAndTheThreadNumberComesBack) {
    using AddParam = PF_Err (*)(PF_ProgPtr, A_long, PF_ParamDef*);
    for (auto const& [addParam, code] :
         {std::pair<AddParam, PF_Err>{[](auto...) -> PF_Err { throw 516; }, 516},
          {[](auto...) -> PF_Err { throw std::bad_alloc(); }, PF_Err_OUT_OF_MEMORY},
          {[](auto...) -> PF_Err { throw std::runtime_error("host"); },
           PF_Err_INTERNAL_STRUCT_DAMAGED},
          {[](auto...) -> PF_Err { return omp_set_num_threads(1), 0; }, 0},
          {[](auto...) -> PF_Err { return omp_set_num_threads(2), throw 1, 1; }, 1}}) {
        omp_set_num_threads(5);
        auto const result = setUpWith(addParam);
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(nothingOwed(result), "nothing");
        EXPECT_EQ(omp_get_max_threads(), 5);
    }
}
