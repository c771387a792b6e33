// Suites: single acquisitions with their messages, and those that a host object holds.
#include "host/SuiteAccess.h"

#include "tests/host/ae_host.h"

using namespace zelk_test;

TEST(SuiteAccess, AMissingSuiteIsToldToTheUser) {
    for (bool hasSuites : {false, true}) {
        zelk::HostOptions options = optionsOf(kOlderAE);
        options.offerSuites = hasSuites;
        ProbeHost host(options);
        for (char const* error : {static_cast<char const*>(nullptr), "Not there."}) {
            auto result = host.bare([&](ProbeCall const& call) -> PF_Err {
                void* suite = &host;
                const PF_Err err = AEFX_AcquireSuite(call.in_data, call.out_data, "No Such Suite",
                                                     3, error, &suite);
                EXPECT_EQ(suite, nullptr);
                return err;
            });
            EXPECT_EQ(result.code, 516);
            EXPECT_EQ(result.outFlags, 0x100u);
            EXPECT_EQ(result.message, error ? error : "Not able to acquire AEFX Suite.");
        }
        auto const released = host.bare([&](ProbeCall const& call) -> PF_Err {
            return AEFX_ReleaseSuite(call.in_data, call.out_data, "No Such Suite", 3, nullptr);
        });
        EXPECT_EQ(released.code, hasSuites ? 0 : 516);
        EXPECT_EQ(released.message, hasSuites ? "" : "Not able to release AEFX Suite.");
    }
}

TEST(SuiteAccess, ATableCountsWhateverTheStatus) {
    ProbeHost host(kOlderAE);
    host->monitor().inject({"AcquireSuite PF ColorParamSuite 1", 1, 99, true});
    auto const result = host.bare([](ProbeCall const& call) -> PF_Err {
        void* suite = nullptr;
        EXPECT_EQ(
            AEFX_AcquireSuite(call.in_data, call.out_data, kPFColorParamSuite, 1, "no", &suite), 0);
        EXPECT_NE(suite, nullptr);
        return AEFX_ReleaseSuite(call.in_data, call.out_data, kPFColorParamSuite, 1, "no");
    });
    EXPECT_EQ(result.code, 0);
    EXPECT_FALSE(result.touchedOutData);
    EXPECT_EQ(nothingOwed(result), "nothing");
}

TEST(SuiteAccess, AHostObjectHoldsTheSuitesOfItsCall) {
    for (zelk::HostIdentity identity : {kModernAE, kOlderAE}) {
        ProbeHost host(identity);
        EXPECT_EQ(nothingOwed(host.bare(withBinding([](PluginHost_AE_Impl&) {}))), "nothing");
        std::vector<std::string> const suites = {
            "AcquireSuite PF World Suite 2", "AcquireSuite PF ColorParamSuite 1",
            "ReleaseSuite PF World Suite 2", "ReleaseSuite PF ColorParamSuite 1"};
        EXPECT_EQ(host->monitor().log(), identity.isModern() ? suites : std::vector<std::string>{});
    }
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
                const int expected = type == PluginRaster_API::kPixelType8 ? 0 : c.floatAlloc;
                int error = -1;
                PluginRaster_API* raster = ae.allocRaster(3, 2, type, error, 0);
                EXPECT_EQ(error, expected);
                EXPECT_EQ(raster == nullptr, expected != 0);
                ae.unlockTemporalRaster(raster);
            }
            PF_ParamDef color{};
            color.param_type = PF_Param_COLOR;
            PF_ParamDef* params[] = {&color};
            ae.params = params;
            double r, g, b;
            EXPECT_EQ(ae.getFloatColor(0, 0, &r, &g, &b, nullptr), c.floatColor);
        });
        EXPECT_EQ(result.message, c.message);
        EXPECT_EQ(result.outFlags, 0x100u);
    }
}
