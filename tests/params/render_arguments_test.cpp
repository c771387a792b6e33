// The two readers of RenderArguments: on random values, and when the host refuses.
#include "params/RenderArguments.h"

#include "params/HostControls.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_host.h"
#include "tests/support/random_quads.h"

using namespace zelk_test;

namespace {

constexpr int kWidth = 40, kHeight = 32;

void inFrame(ProbeHost& host, AEBody const& body) {
    const zelk::WorldSpec spec = host->worldSpec(kWidth, kHeight, zelk::Depth::k8);
    zelk::World input(spec), output(spec);
    EXPECT_EQ(nothingOwed(host.render(input, output, {}, withBinding(body))), "nothing");
}

void randomise(ProbeHost& host, zelk::Random& random) {
    auto const byte = [&] { return static_cast<A_u_char>(random.integer(0, 255)); };
    for (zelk::Parameter& parameter : host->parameters()) {
        PF_ParamDef& def = parameter.current;
        if (parameter.type() == PF_Param_POINT)
            zelk::setPoint(def, random.uniform(-50, 90), random.uniform(-50, 90));
        else if (parameter.type() == PF_Param_COLOR)
            zelk::setColor(def, {byte(), byte(), byte(), byte()});
        else if (parameter.type() == PF_Param_CHECKBOX)
            def.u.bd.value = random.flip();
        else if (parameter.hasValue())
            zelk::setNumber(def, random.uniform(1, 3));
    }
}

}  // namespace

TEST(RenderArguments, TheTwoReadersAgreeOnRandomValues) {
    zelk::Random random(20240117);
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
                std::int32_t blur = -1;
                EXPECT_EQ(MotionBlurFromHost(&ae, &blur), 0);
                EXPECT_EQ(GetMBlurValue(&ae), blur);
                EXPECT_EQ(blur + 1, host->parameters()[kParamMotionBlur].current.u.pd.value);
                EXPECT_FALSE(GetUseHostCameraParamValue(&ae));
                // A smaller frame makes the same pins larger fractions.
                ae.setOutputSize(kWidth / 2, kHeight / 4);
                EXPECT_EQ(ParamsRetrieveValues(&ae, &timed), 1);
                EXPECT_EQ(timed.toPins[6], 2 * direct.toPins[6]);
                EXPECT_EQ(timed.toPins[7], 4 * direct.toPins[7]);
            });
        }
    }
}

TEST(RenderArguments, ARefusalEndsTheTimedReaderWithItsCode) {
    ProbeHost host = hostWithControls(kModernAE, kWidth, kHeight);
    zelk::CallMonitor& monitor = host->monitor();
    constexpr int kReads = 45;
    for (int nth = 1; nth <= kReads + 1; ++nth)
        for (bool isReturn : {false, true}) {
            monitor.clearFaults();
            monitor.inject(
                {isReturn ? "checkin_param" : "checkout_param", nth, 300 + nth, isReturn});
            inFrame(host, [&](PluginHost_AE_Impl& ae) {
                monitor.restart();
                RenderArguments args{};
                EXPECT_EQ(ParamsRetrieveValuesFromHost(&ae, &args), nth > kReads ? 0 : 300 + nth);
                EXPECT_EQ(monitor.count("checkout_param"), std::min(nth, kReads));
            });
        }
}
