// The two readers of RenderArguments: at the defaults, on random values, and when the host refuses.
#include "params/RenderArguments.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "params/HostControls.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_host.h"

using namespace zelk_test;

namespace {

constexpr int kWidth = 40, kHeight = 30;

void inFrame(ProbeHost& host, AEBody const& body) {
    const zelk::WorldSpec spec = host->worldSpec(kWidth, kHeight, zelk::Depth::k8);
    zelk::World input(spec), output(spec);
    EXPECT_EQ(nothingOwed(host.render(input, output, {}, withBinding(body))), "nothing");
}

void randomise(ProbeHost& host, std::mt19937& random) {
    auto const number = [&](double min, double max) {
        return std::uniform_real_distribution<double>(min, max)(random);
    };
    auto const byte = [&] { return static_cast<A_u_char>(random() % 256); };
    for (zelk::Parameter& parameter : host->parameters()) {
        PF_ParamDef& def = parameter.current;
        if (parameter.type() == PF_Param_POPUP)
            def.u.pd.value = 1 + static_cast<A_long>(random() % parameter.choices.size());
        else if (parameter.type() == PF_Param_POINT)
            zelk::setPoint(def, number(-50, 90), number(-50, 90));
        else if (parameter.type() == PF_Param_COLOR)
            zelk::setColor(def, {byte(), byte(), byte(), byte()});
        else if (parameter.type() == PF_Param_CHECKBOX)
            def.u.bd.value = random() % 2;
        else if (parameter.hasValue())
            zelk::setNumber(def, number(0, 5));
    }
}

}  // namespace

TEST(RenderArguments, DefaultsReadAlikeOnEveryHost) {
    for (zelk::HostIdentity identity : {kModernAE, kModernPremiere, kModernKeyG, kOlderAE}) {
        ProbeHost host = hostWithControls(identity, kWidth, kHeight);
        inFrame(host, [](PluginHost_AE_Impl& ae) {
            RenderArguments a{};
            ASSERT_EQ(ParamsRetrieveValues(&ae, &a), 1);
            auto const list = [](auto const& array) {
                return std::vector<double>(std::begin(array), std::end(array));
            };
            const std::vector<double> frame = {0, 0, 1, 0, 0, 1, 1, 1}, none(8);
            EXPECT_EQ(list(a.toPins), frame);
            EXPECT_EQ(list(a.fromPins), frame);
            EXPECT_EQ(list(a.toOffsets), none);
            EXPECT_EQ(list(a.fromOffsets), none);
            EXPECT_EQ(list(a.toColor), (std::vector<double>{1, 1, 50 / 255.0}));
            EXPECT_EQ(list(a.fromColor), (std::vector<double>{150 / 255.0, 150 / 255.0, 1}));
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
            EXPECT_EQ(list(a.toPins), (std::vector<double>{0, 0, 2, 0, 0, 2, 2, 2}));
        });
    }
}

TEST(RenderArguments, TheTwoReadersAgreeOnRandomValues) {
    const unsigned seed = 20240117;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (zelk::HostIdentity identity : {kModernAE, kModernPremiere, kModernKeyG}) {
        ProbeHost host = hostWithControls(identity, kWidth, kHeight);
        for (int round = 0; round < 20; ++round) {
            randomise(host, random);
            inFrame(host, [&](PluginHost_AE_Impl& ae) {
                // The padding is the same in both, so that they compare as bytes.
                RenderArguments direct, timed;
                for (RenderArguments* args : {&direct, &timed})
                    std::memset(args, 0x5A, sizeof *args);
                EXPECT_EQ(ParamsRetrieveValues(&ae, &direct), 1);
                EXPECT_EQ(ParamsRetrieveValuesFromHost(&ae, &timed), 0);
                EXPECT_EQ(std::memcmp(&direct, &timed, sizeof direct), 0);
                auto const& pin = host->parameters()[kParamFromLowerLeft].current.u.td;
                EXPECT_EQ(direct.fromPins[4], pin.x_value / 65536.0 / kWidth);
                EXPECT_EQ(direct.fromPins[5], pin.y_value / 65536.0 / kHeight);
                EXPECT_EQ(direct.toOffsets[3],
                          zelk::numberOf(host->parameters()[kParamToUpperRightOffsetY].current));
                EXPECT_FALSE(GetUseHostCameraParamValue(&ae));
            });
        }
    }
}

TEST(RenderArguments, ARefusalEndsTheTimedReaderWithItsCode) {
    ProbeHost host = hostWithControls(kModernAE, kWidth, kHeight);
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
