// The two readers of RenderArguments: at the defaults, on random values, and when the host refuses.
#include "params/RenderArguments.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "host/PluginHost_AE_Impl.h"
#include "params/FixedPoint.h"
#include "params/HostControls.h"
#include "params/ParamIndex.h"
#include "params/ParamsSetup.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace {

constexpr int kWidth = 40, kHeight = 30;

ProbeHost hostWithControls(zelk::HostIdentity identity) {
    ProbeHost host(identity);
    auto const result = host.paramsSetup([](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae(call.in_data, call.out_data, call.params, call.output);
        return ParamsSetup(&ae);
    });
    EXPECT_EQ(result.code, 0);
    host->resetParameters(kWidth, kHeight);
    return host;
}

void inFrame(ProbeHost& host, std::function<void(PluginHost_AE_Impl&)> const& body) {
    const zelk::WorldSpec spec = host->worldSpec(kWidth, kHeight, zelk::Depth::k8);
    zelk::World input(spec), output(spec);
    auto const result = host.render(input, output, {}, [&](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae(call.in_data, call.out_data, call.params, call.output);
        body(ae);
        return 0;
    });
    EXPECT_EQ(nothingOwed(result), "nothing");
}

/// A record whose padding is the same in every instance, so that records compare as bytes.
struct Filled {
    Filled() { std::memset(&args, 0x5A, sizeof args); }
    RenderArguments args;
    bool operator==(Filled const& other) const {
        return std::memcmp(&args, &other.args, sizeof args) == 0;
    }
};

void randomise(ProbeHost& host, std::mt19937& random) {
    auto const number = [&](double min, double max) {
        return std::uniform_real_distribution<double>(min, max)(random);
    };
    auto const byte = [&] { return static_cast<A_u_char>(random() % 256); };
    for (zelk::Parameter& parameter : host->parameters()) switch (parameter.type()) {
            case PF_Param_POPUP:
                parameter.current.u.pd.value =
                    1 + static_cast<A_long>(random() % parameter.choices.size());
                break;
            case PF_Param_POINT:
                zelk::setPoint(parameter.current, number(-50, 90), number(-50, 90));
                break;
            case PF_Param_COLOR:
                zelk::setColor(parameter.current, {byte(), byte(), byte(), byte()});
                break;
            case PF_Param_CHECKBOX:
                parameter.current.u.bd.value = random() % 2;
                break;
            default:
                if (parameter.hasValue()) zelk::setNumber(parameter.current, number(0, 5));
        }
}

}  // namespace

TEST(RenderArguments, DefaultsReadAlikeOnEveryHost) {
    for (zelk::HostIdentity identity : {kModernAE, kModernPremiere, kModernKeyG, kOlderAE}) {
        ProbeHost host = hostWithControls(identity);
        inFrame(host, [](PluginHost_AE_Impl& ae) {
            RenderArguments a{};
            ASSERT_EQ(ParamsRetrieveValues(&ae, &a), 1);
            constexpr double kFrame[8] = {0, 0, 1, 0, 0, 1, 1, 1};
            for (int i = 0; i < 8; ++i) {
                EXPECT_EQ(a.toPins[i], kFrame[i]);
                EXPECT_EQ(a.fromPins[i], kFrame[i]);
                EXPECT_EQ(a.toOffsets[i], 0);
                EXPECT_EQ(a.fromOffsets[i], 0);
            }
            EXPECT_EQ(std::vector<double>(a.toColor, a.toColor + 3),
                      (std::vector<double>{1, 1, 50 / 255.0}));
            EXPECT_EQ(std::vector<double>(a.fromColor, a.fromColor + 3),
                      (std::vector<double>{150 / 255.0, 150 / 255.0, 1}));
            EXPECT_EQ((std::vector<int>{a.mochaImport, a.viewMode, a.overlayMode, a.cropToPins,
                                        a.quality, a.growBounds, a.wireframe, a.transferMode}),
                      (std::vector<int>{0, 3, 1, 0, 2, 0, 2, 0}));
            EXPECT_EQ((std::vector<double>{a.translateX, a.translateY, a.scaleX, a.scaleY, a.rotate,
                                           a.superSampleSoftness, a.superSampleEdge, a.shutterAngle,
                                           a.shutterPhase, a.samples, a.sourceOpacity,
                                           a.cornerPinOpacity}),
                      (std::vector<double>{0, 0, 1, 1, 0, 1, 0, 360, 0, 8, 100, 100}));
            EXPECT_EQ(GetMBlurValue(&ae), ae.isApplication(kAppAfterEffects) ? 2 : 0);

            // A smaller frame makes the same pins larger fractions.
            ae.setOutputSize(kWidth / 2, kHeight / 2);
            ASSERT_EQ(ParamsRetrieveValues(&ae, &a), 1);
            for (int i = 0; i < 8; ++i) EXPECT_EQ(a.toPins[i], 2 * kFrame[i]);
        });
    }
}

TEST(RenderArguments, TheTwoReadersAgreeOnRandomValues) {
    const unsigned seed = 20240117;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (zelk::HostIdentity identity : {kModernAE, kModernPremiere, kModernKeyG}) {
        ProbeHost host = hostWithControls(identity);
        for (int round = 0; round < 20; ++round) {
            randomise(host, random);
            inFrame(host, [&](PluginHost_AE_Impl& ae) {
                Filled direct, timed;
                EXPECT_EQ(ParamsRetrieveValues(&ae, &direct.args), 1);
                EXPECT_EQ(ParamsRetrieveValuesFromHost(&ae, &timed.args), 0);
                EXPECT_TRUE(direct == timed);
                auto const& pin = host->parameters()[kParamFromLowerLeft].current.u.td;
                EXPECT_EQ(direct.args.fromPins[4], pin.x_value / 65536.0 / kWidth);
                EXPECT_EQ(direct.args.fromPins[5], pin.y_value / 65536.0 / kHeight);
                EXPECT_EQ(direct.args.toOffsets[3],
                          zelk::numberOf(host->parameters()[kParamToUpperRightOffsetY].current));
                EXPECT_FALSE(GetUseHostCameraParamValue(&ae));
            });
        }
    }
}

TEST(RenderArguments, ARefusalEndsTheTimedReaderWithItsCode) {
    ProbeHost host = hostWithControls(kModernAE);
    int reads = 0;
    inFrame(host, [&](PluginHost_AE_Impl& ae) {
        RenderArguments args{};
        host->monitor().restart();
        ASSERT_EQ(ParamsRetrieveValuesFromHost(&ae, &args), 0);
        reads = host->monitor().count("checkout_param");
    });
    EXPECT_GT(reads, 40);
    for (int nth = 1; nth <= reads; ++nth)
        for (bool isReturn : {false, true}) {
            char const* call = isReturn ? "checkin_param" : "checkout_param";
            host->monitor().clearFaults();
            host->monitor().inject({call, nth, 300 + nth, isReturn});
            inFrame(host, [&](PluginHost_AE_Impl& ae) {
                host->monitor().restart();
                RenderArguments args{};
                EXPECT_EQ(ParamsRetrieveValuesFromHost(&ae, &args), 300 + nth);
                EXPECT_EQ(host->monitor().count("checkout_param"), nth);
            });
        }
}
