// Parameter values through the binding: units, the way a slider is stored, and check-outs that go
// back whatever the host answers. What the readers of whole frames use is tested with them.
#include "params/ParamIndex.h"
#include "tests/host/ae_host.h"

using namespace zelk_test;
using Ae = PluginHost_AE_Impl;
using Time = PluginHost_API::TimeObject;

TEST(AEValues, AreReadInOrdinaryUnitsAndWrittenToTheCallsArray) {
    ProbeHost host = hostWithControls(kModernAE, 5, 4);
    setControl(*host, kParamCropToPins, 1);
    setControl(*host, kParamSuperSampleEdge, 0.375);
    inRender(host, zelk::Depth::k8, [](Ae& ae) {
        Time time{0, 1000, 24000};
        ae.in_data->shutter_angle = 32768;
        ae.in_data->shutter_phase = -16384;
        EXPECT_EQ(std::pair(ae.getShutterAngle(), ae.getShutterPhase()), std::pair(0.5, -0.25));
        double edge = 0, r = 0, g = 0, b = 0;
        EXPECT_EQ(ae.GetFixedFloatValue(kParamSuperSampleEdge, 5, time, edge), 0);
        EXPECT_EQ(edge, 0.375) << "stored as a double";
        for (Time* t : {&time, static_cast<Time*>(nullptr)}) {
            EXPECT_EQ(ae.getFloatColor(kParamFromWireframeColor, 0, &r, &g, &b, t), 0);
            EXPECT_EQ(std::exchange(r, 0), static_cast<double>(150.0f / 255) * 255.0);
        }
        bool flag = true;
        auto* const params = std::exchange(ae.params, nullptr);
        EXPECT_EQ(ae.GetBoolValue(kParamCropToPins, 0, time, flag) + flag, 0);
        ae.params = params;

        double written = 2.25;
        ae.SetFloatValue(kParamSuperSampleSoftness, 0, written);
        ae.SetAngleValue(kParamRotate, 0, written);
        ae.SetPoint2DValue(kParamToUpperLeft, 0, 0.5, 0.25);
        EXPECT_EQ(params[kParamSuperSampleSoftness]->u.fs_d.value, 2.25);
        EXPECT_EQ(params[kParamRotate]->u.ad.value, 147456);
        PF_ParamDef const& pin = *params[kParamToUpperLeft];
        EXPECT_EQ(pin.u.td.x_value, 163840);
        EXPECT_EQ(pin.u.td.y_value, 65536);
        EXPECT_EQ(pin.uu.change_flags, 1);
    });
}

TEST(AEValues, ARefusalLeavesTheValueAndOwesNothing) {
    ProbeHost host = hostWithControls(kModernAE, 5, 4);
    host->monitor().inject({"checkout_param", 1, 61});
    host->monitor().inject({"PF ColorParamSuite 1/PF_GetFloatingPointColorFromColorDef", 1, 63});
    inRender(host, zelk::Depth::k8, [&](Ae& ae) {
        double v = 4711;
        Time time{};
        for (int code : {61, 1}) EXPECT_EQ(ae.getFloatColor(20, 0, &v, &v, &v, &time), code);
        EXPECT_EQ(v, 4711);
    });
}
