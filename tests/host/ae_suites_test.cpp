// Suites: single acquisitions with their messages, those that a host object holds, and the table.
#include <set>

#include "host/AEGP_SuiteHandler.h"
#include "host/SuiteAccess.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_host.h"

using namespace zelk_test;

namespace {

/// The command ends with the code; where there is a message the user is shown it.
void expectTold(zelk::CommandResult const& result, PF_Err code, std::string const& message) {
    EXPECT_EQ(result.code, code);
    EXPECT_EQ(result.message, code ? message : "");
    EXPECT_EQ(result.outFlags, code && !message.empty() ? 0x100u : 0u);
}

/// Runs `body` with a host's records; its code ends the command.
template <class Body>
zelk::CommandResult inCommand(ProbeHost& host, Body const& body) {
    return host.bare(
        [&](ProbeCall const& call) -> PF_Err { return body(call.in_data, call.out_data); });
}

}  // namespace

// Ways 0 and 1 are the plain functions, 2 and 3 those of Transform, which need major 12.
TEST(SuiteAccess, AMissingSuiteIsToldToTheUserUnlessAskedToBeSilent) {
    for (int i = 0; i < 32; ++i) {
        const int way = i % 4;
        const bool isPlain = way < 2, isOld = i & 4, hasSuites = i & 8;
        const std::string name = i & 16 ? kPFColorParamSuite : "No Such Suite";
        zelk::HostOptions options =
            optionsOf({kAppAfterEffects, {static_cast<A_short>(isOld ? 11 : 12), 11}});
        options.offerSuites = hasSuites;
        ProbeHost host(options);
        char const* const error = way == 1 ? "Not there." : nullptr;
        void* suite = &host;
        auto const acquired = inCommand(host, [&](auto* in, auto* out) {
            return isPlain ? AEFX_AcquireSuite(in, out, name.c_str(), 1, error, &suite)
                           : Transform_AcquireSuite(in, out, name.c_str(), 1, &suite, way == 3);
        });
        EXPECT_EQ(suite == nullptr, acquired.code != 0);
        auto const released = inCommand(host, [&](auto* in, auto* out) {
            return isPlain ? AEFX_ReleaseSuite(in, out, name.c_str(), 1, error)
                           : Transform_ReleaseSuite(in, out, name.c_str(), 1, way == 3);
        });
        const auto said = [&](std::string const& verb) {
            return error              ? error
                   : isPlain          ? "Not able to " + verb + " AEFX Suite."
                   : isOld || way > 2 ? ""
                                      : "Not able to " + verb + " " + name;
        };
        const bool serves = hasSuites && (isPlain || !isOld);
        expectTold(acquired, serves && i & 16 ? 0 : 516, said("acquire"));
        expectTold(released, serves ? 0 : 516, said("release"));
    }
    // A table counts, whatever the status beside it.
    ProbeHost host(kOlderAE);
    host->monitor().inject({"AcquireSuite PF ColorParamSuite 1", 1, 99, true});
    auto const result = inCommand(host, [](auto* in, auto* out) {
        void* suite = nullptr;
        EXPECT_EQ(AEFX_AcquireSuite(in, out, kPFColorParamSuite, 1, "no", &suite), 0);
        return AEFX_ReleaseSuite(in, out, kPFColorParamSuite, 1, "no");
    });
    EXPECT_FALSE(result.touchedOutData);
    EXPECT_EQ(nothingOwed(result), "nothing");
}

TEST(SuiteAccess, AMissingSuiteDisablesOnlyWhatNeedsIt) {
    for (auto const& [missing, alloc, color, message] :
         {std::tuple("PF World Suite 2", 516, 0, "Couldn't load kPFWorldSuite."),
          {"PF ColorParamSuite 1", 0, 1, "Couldn't load kPFColorParamSuite."}}) {
        ProbeHost host = hostWithControls(kModernAE, 5, 4);
        host->monitor().restart();
        host->monitor().inject({std::string("AcquireSuite ") + missing, 1, 7});
        auto const result = inRender(host, zelk::Depth::k8, [&](PluginHost_AE_Impl& ae) {
            int error = -1;
            double r, g, b;
            ae.unlockTemporalRaster(
                ae.allocRaster(3, 2, PluginRaster_API::kPixelTypeFloat, error, 0));
            EXPECT_EQ(error * 10 + ae.getFloatColor(kParamToWireframeColor, 0, &r, &g, &b, nullptr),
                      alloc * 10 + color);
        });
        EXPECT_EQ(result.message, message);
        EXPECT_EQ(result.outFlags, 0x100u);
    }
}

TEST(SuiteHandler, LendsEachSuiteOnceAndGivesThemBackInTheListsOrder) {
    std::multiset<std::string> listed;
#define AEGP_SUITE(type, field, name, version) listed.insert(name + std::to_string(version));
#include "host/AEGP_SuiteList.inc"
    EXPECT_EQ(listed.size(), 95u);
    EXPECT_EQ(std::set(listed.begin(), listed.end()).size(), 94u);

    EXPECT_THROW(AEGP_SuiteHandler(nullptr), int);
    ProbeHost host(kModernAE);
    const auto take = [&host] {
        host->monitor().restart();
        return inCommand(host, [](PF_InData* in, auto*) -> PF_Err {
            try {
                AEGP_SuiteHandler suites(in->pica_basicP);
                for (int i = 0; i < 2; ++i) {
                    suites.get(&AEGP_SuiteHandler::ProjSuite7);
                    suites.get(&AEGP_SuiteHandler::CompSuite11);
                    suites.get(&AEGP_SuiteHandler::ItemSuite10);
                }
                suites.ReleaseAllSuites();  // leaves nothing to the destructor
                EXPECT_NE(suites.get(&AEGP_SuiteHandler::CompSuite11), nullptr);
                return PF_Err_NONE;
            } catch (int code) {
                return static_cast<PF_Err>(code);
            }
        });
    };
    EXPECT_EQ(nothingOwed(take()), "nothing");
    std::string calls;
    for (std::string const& call : host->monitor().log())
        calls += call.substr(0, 1) + call.substr(sizeof "AcquireSuite AEGP") + ", ";
    EXPECT_EQ(calls,
              "AProj Suite 7, AComp Suite 11, AItem Suite 10, RComp Suite 11, RItem Suite 10, "
              "RProj Suite 7, AComp Suite 11, RComp Suite 11, ");
    // What came with a refusal goes back too; without a table 0 is a refusal as well.
    for (auto const& [status, lends] : {std::pair(0, false), {9, false}, {9, true}}) {
        host->monitor().clearFaults();
        host->monitor().inject({"AcquireSuite AEGP Comp Suite 11", 1, status, lends});
        const auto refused = take();
        EXPECT_EQ(refused.code, 516);
        EXPECT_EQ(nothingOwed(refused), "nothing");
    }
}
