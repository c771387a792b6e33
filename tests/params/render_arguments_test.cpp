// The two readers of RenderArguments: at the defaults, on random values, and when the host refuses.
#include "params/RenderArguments.h"

#include "params/HostControls.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_host.h"
#include "tests/support/random_quads.h"

using namespace zelk_test;

namespace {

constexpr int kWidth = 40, kHeight = 30;

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

TEST(RenderArguments, DefaultsReadAlikeOnEveryHost) {
    for (zelk::HostIdentity identity : {kModernAE, kModernPremiere, kModernKeyG, kOlderAE}) {
        ProbeHost host = hostWithControls(identity, kWidth, kHeight);
        inFrame(host, [](PluginHost_AE_Impl& ae) {
            RenderArguments a, want;  // compared as bytes, padding too
            std::memset(&a, 0, sizeof a);
            std::memset(&want, 0, sizeof want);
            ASSERT_EQ(ParamsRetrieveValues(&ae, &a), 1);
            const double frame[8] = {0, 0, 1, 0, 0, 1, 1, 1};
            std::copy_n(frame, 8, want.toPins);
            std::copy_n(frame, 8, want.fromPins);
            want.toColor[0] = want.toColor[1] = want.fromColor[2] = 1;
            want.toColor[2] = 50 / 255.0;
            want.fromColor[0] = want.fromColor[1] = 150 / 255.0;
            want.viewMode = 3;
            want.overlayMode = 1;
            want.quality = want.wireframe = 2;
            want.scaleX = want.scaleY = want.superSampleSoftness = 1;
            want.shutterAngle = 360;
            want.samples = 8;
            want.sourceOpacity = want.cornerPinOpacity = 100;
            EXPECT_EQ(std::memcmp(&a, &want, sizeof a), 0);
            EXPECT_EQ(GetMBlurValue(&ae), ae.isApplication(kAppAfterEffects) ? 2 : 0);
            EXPECT_FALSE(GetUseHostCameraParamValue(&ae));

            // A smaller frame makes the same pins larger fractions.
            ae.setOutputSize(kWidth / 2, kHeight / 2);
            ASSERT_EQ(ParamsRetrieveValues(&ae, &a), 1);
            for (int i = 0; i < 8; ++i) EXPECT_EQ(a.toPins[i], 2 * frame[i]);
        });
    }
}

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
                EXPECT_EQ(direct.toOffsets[3],
                          zelk::numberOf(host->parameters()[kParamToUpperRightOffsetY].current));
            });
        }
    }
}

TEST(RenderArguments, ARefusalEndsTheTimedReaderWithItsCode) {
    ProbeHost host = hostWithControls(kModernAE, kWidth, kHeight);
    zelk::CallMonitor& monitor = host->monitor();
    int reads = 1000;
    for (int nth = 0; nth <= reads; ++nth)
        for (bool isReturn : {false, true}) {
            monitor.clearFaults();
            monitor.inject(
                {isReturn ? "checkin_param" : "checkout_param", nth, 300 + nth, isReturn});
            if (nth == 0) monitor.clearFaults();  // to count the reads
            inFrame(host, [&](PluginHost_AE_Impl& ae) {
                monitor.restart();
                RenderArguments args{};
                EXPECT_EQ(ParamsRetrieveValuesFromHost(&ae, &args), nth ? 300 + nth : 0);
                if (nth == 0) reads = monitor.count("checkout_param");
                EXPECT_EQ(monitor.count("checkout_param"), nth ? nth : reads);
            });
        }
    EXPECT_GT(reads, 40);
}
