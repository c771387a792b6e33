// Suites: single acquisitions with their messages, those that a host object holds, and the table.
#include <algorithm>
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

namespace {

using Log = std::vector<std::string>;

/// What a basic suite of the test's own was asked: "+name version" and "-name version".
struct Lender {
    Log log;
    std::size_t refusedCall = 0;  ///< counted from 1
    A_long status = 0;            ///< of the refused call
    bool lendsAnyway = false;     ///< a table with the refused call
};
Lender lender;

std::string entry(char sign, char const* name, A_long version) {
    return sign + std::string(name) + " " + std::to_string(version);
}

constexpr SPBasicSuite kLender = {
    [](char const* name, A_long version, void const** suite) -> A_long {
        lender.log.push_back(entry('+', name, version));
        const bool isRefused = lender.log.size() == lender.refusedCall;
        *suite = isRefused && !lender.lendsAnyway ? nullptr : &lender;
        return isRefused ? lender.status : 0;
    },
    [](char const* name, A_long version) -> A_long {
        return lender.log.push_back(entry('-', name, version)), 0;
    }};

/// Asks for the last suite of the list first and for each one twice. Gives what was thrown.
int takeAll(SPBasicSuite const* basic) try {
    AEGP_SuiteHandler suites(basic);
    suites.get(&AEGP_SuiteHandler::Color16Suite1);
    for (int i = 0; i < 2; ++i) {
#define AEGP_SUITE(type, field, name, version) \
    EXPECT_EQ(suites.get(&AEGP_SuiteHandler::field), static_cast<void const*>(&lender));
#include "host/AEGP_SuiteList.inc"
    }
    suites.ReleaseAllSuites();  // leaves nothing to the destructor
    return 0;
} catch (int code) {
    return code;
}

}  // namespace

TEST(SuiteHandler, EachSuiteIsLentOnceAndTheListGoesBackInItsOrder) {
    Log asked, returned;
#define AEGP_SUITE(type, field, name, version) \
    asked.push_back(entry('+', name, version)), returned.push_back(entry('-', name, version));
#include "host/AEGP_SuiteList.inc"
    const std::size_t all = asked.size();
    EXPECT_EQ(all, 95u);
    EXPECT_EQ(std::set<std::string>(asked.begin(), asked.end()).size(), 94u);
    std::rotate(asked.begin(), asked.end() - 1, asked.end());
    EXPECT_EQ(takeAll(nullptr), 516);

    // What came with a refusal goes back too. The call after the last suite's isn't made.
    for (std::size_t call = 1; call <= all + 1; ++call)
        for (auto const& [status, lends] : {std::pair(0, false), {9, false}, {9, true}}) {
            lender = {{}, call, status, lends};
            EXPECT_EQ(takeAll(&kLender), call > all ? 0 : 516);
            Log expected(asked.begin(), asked.begin() + std::min(call, all));
            const std::size_t lent = lends ? call : call - 1;
            for (std::size_t i = 0; i < all; ++i)
                if ((i + 1) % all < lent) expected.push_back(returned[i]);
            ASSERT_EQ(lender.log, expected) << "call " << call << " status " << status;
        }
}
