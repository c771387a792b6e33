// Suites: single acquisitions with their messages, those that a host object holds, and the table.
#include <set>

#include "host/AEGP_SuiteHandler.h"
#include "host/SuiteAccess.h"
#include "tests/host/ae_host.h"

using namespace zelk_test;

namespace {

constexpr char kAbsent[] = "No Such Suite";

zelk::HostOptions optionsOf(zelk::HostIdentity identity, bool hasSuites) {
    zelk::HostOptions options = zelk_test::optionsOf(identity);
    options.offerSuites = hasSuites;
    return options;
}

/// The command ends with the code; where there is a message the user is shown it.
void expectTold(zelk::CommandResult const& result, PF_Err code, std::string const& message) {
    EXPECT_EQ(result.code, code);
    EXPECT_EQ(result.message, message);
    EXPECT_EQ(result.outFlags, message.empty() ? 0u : 0x100u);
}

}  // namespace

TEST(SuiteAccess, AMissingSuiteIsToldToTheUser) {
    for (bool hasSuites : {false, true})
        for (char const* error : {static_cast<char const*>(nullptr), "Not there."}) {
            ProbeHost host(optionsOf(kOlderAE, hasSuites));
            auto const acquired = host.bare([&](ProbeCall const& call) -> PF_Err {
                void* suite = &host;
                const PF_Err err =
                    AEFX_AcquireSuite(call.in_data, call.out_data, kAbsent, 3, error, &suite);
                EXPECT_EQ(suite, nullptr);
                return err;
            });
            expectTold(acquired, 516, error ? error : "Not able to acquire AEFX Suite.");
            auto const released = host.bare([&](ProbeCall const& call) -> PF_Err {
                return AEFX_ReleaseSuite(call.in_data, call.out_data, kAbsent, 3, error);
            });
            if (hasSuites)
                expectTold(released, 0, "");
            else
                expectTold(released, 516, error ? error : "Not able to release AEFX Suite.");
        }
}

TEST(SuiteAccess, TransformSuitesNeedMajor12AndAreSilentIfAsked) {
    struct Case {
        A_short major;
        bool hasSuites;
        std::string name;
        int acquired, released;
    };
    for (Case const& c : {Case{11, true, kPFColorParamSuite, 516, 516},
                          {12, true, kPFColorParamSuite, 0, 0},
                          {12, true, kAbsent, 516, 0},
                          {12, false, kPFColorParamSuite, 516, 516}})
        for (bool isSilent : {false, true}) {
            ProbeHost host(optionsOf({kAppAfterEffects, {c.major, 27}}, c.hasSuites));
            auto const acquired = host.bare([&](ProbeCall const& call) -> PF_Err {
                void* suite = &host;
                const PF_Err err = Transform_AcquireSuite(call.in_data, call.out_data,
                                                          c.name.c_str(), 1, &suite, isSilent);
                EXPECT_EQ(suite == nullptr, err != 0);
                return err;
            });
            auto const released = host.bare([&](ProbeCall const& call) -> PF_Err {
                return Transform_ReleaseSuite(call.in_data, call.out_data, c.name.c_str(), 1,
                                              isSilent);
            });
            const bool isTold = c.major >= 12 && !isSilent;
            expectTold(acquired, c.acquired,
                       c.acquired && isTold ? "Not able to acquire " + c.name : "");
            expectTold(released, c.released,
                       c.released && isTold ? "Not able to release " + c.name : "");
        }
}

TEST(SuiteAccess, ATableCountsWhateverTheStatus) {
    ProbeHost host(kOlderAE);
    host->monitor().inject({"AcquireSuite PF ColorParamSuite 1", 1, 99, true});
    auto const result = host.bare([](ProbeCall const& call) -> PF_Err {
        auto [command, in, out, params, output] = call;
        void* suite = nullptr;
        EXPECT_EQ(AEFX_AcquireSuite(in, out, kPFColorParamSuite, 1, "no", &suite), 0);
        return AEFX_ReleaseSuite(in, out, kPFColorParamSuite, 1, "no");
    });
    EXPECT_EQ(result.code, 0);
    EXPECT_FALSE(result.touchedOutData);
    EXPECT_EQ(nothingOwed(result), "nothing");
}

TEST(SuiteAccess, AMissingSuiteDisablesOnlyWhatNeedsIt) {
    struct Case {
        char const* missing;
        char const* message;
        int floatAlloc, floatColor;
    };
    for (Case const& c :
         {Case{"AcquireSuite PF World Suite 2", "Couldn't load kPFWorldSuite.", 516, 0},
          Case{"AcquireSuite PF ColorParamSuite 1", "Couldn't load kPFColorParamSuite.", 0, 1}}) {
        ProbeHost host(kModernAE);
        host->monitor().inject({c.missing, 1, 7});
        auto const result = inRender(host, zelk::Depth::k8, [&](PluginHost_AE_Impl& ae) {
            for (auto type : {PluginRaster_API::kPixelTypeFloat, PluginRaster_API::kPixelType8}) {
                int error = -1;
                ae.unlockTemporalRaster(ae.allocRaster(3, 2, type, error, 0));
                EXPECT_EQ(error, type == PluginRaster_API::kPixelType8 ? 0 : c.floatAlloc);
            }
            PF_ParamDef color{};
            color.param_type = PF_Param_COLOR;
            PF_ParamDef* params[] = {&color};
            ae.params = params;
            double r, g, b;
            EXPECT_EQ(ae.getFloatColor(0, 0, &r, &g, &b, nullptr), c.floatColor);
        });
        expectTold(result, 0, c.message);
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
        return host.bare([](ProbeCall const& call) -> PF_Err {
            try {
                AEGP_SuiteHandler suites(call.in_data->pica_basicP);
                for (int i = 0; i < 2; ++i) {
                    EXPECT_NE(suites.get(&AEGP_SuiteHandler::ProjSuite7), nullptr);
                    EXPECT_NE(suites.get(&AEGP_SuiteHandler::CompSuite11), nullptr);
                    EXPECT_NE(suites.get(&AEGP_SuiteHandler::ItemSuite10), nullptr);
                    EXPECT_NE(suites.get(&AEGP_SuiteHandler::ItemSuite7), nullptr);
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
              "AProj Suite 7, AComp Suite 11, AItem Suite 10, AItem Suite 7, RComp Suite 11, "
              "RItem Suite 10, RItem Suite 7, RProj Suite 7, AComp Suite 11, RComp Suite 11, ");
    // What came with a refusal goes back too; without a table 0 is a refusal as well.
    for (char const* suite : {"Proj Suite 7", "Comp Suite 11", "Item Suite 10", "Item Suite 7"})
        for (auto const& [status, lends] : {std::pair(0, false), {9, false}, {9, true}}) {
            host->monitor().clearFaults();
            host->monitor().inject({std::string("AcquireSuite AEGP ") + suite, 1, status, lends});
            const auto refused = take();
            EXPECT_EQ(refused.code, 516) << suite;
            EXPECT_EQ(nothingOwed(refused), "nothing") << suite;
        }
}
