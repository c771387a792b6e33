// Parameter values through the binding: units, the way a slider is stored, and check-outs that go
// back whatever the host answers.
#include "params/ParamIndex.h"
#include "tests/host/ae_host.h"

using namespace zelk_test;

TEST(AEValues, AreReadInOrdinaryUnitsAndWrittenToTheCallsArray) {
    ProbeHost host = hostWithControls(kModernAE, 5, 4);
    auto const value = [&](std::size_t index) -> PF_ParamDef& {
        return host->parameters()[index].current;
    };
    zelk::setNumber(value(kParamGrowBounds), 12);
    zelk::setNumber(value(kParamQuality), 4);
    zelk::setNumber(value(kParamCropToPins), 1);
    zelk::setPoint(value(kParamToLowerRight), 2.5, -4);
    zelk::setNumber(value(kParamScaleX), -1.5);
    zelk::setNumber(value(kParamSuperSampleEdge), 0.375);
    zelk::setNumber(value(kParamRotate), 450.5);
    inRender(host, zelk::Depth::k8, [](PluginHost_AE_Impl& ae) {
        PluginHost_API::TimeObject time{0, 1000, 24000};
        double scale = 0, edge = 0, again = 0, angle = 0, x = 0, y = 0, r = 0, g = 0, b = 0;
        int integer = 0;
        unsigned entry = 0;
        bool flag = false;
        EXPECT_EQ(ae.GetFloatValue(kParamScaleX, 0x82, time, scale), 0);
        EXPECT_EQ(ae.GetFloatValue(kParamSuperSampleEdge, -1, time, edge), 0);
        EXPECT_EQ(ae.GetFixedFloatValue(kParamSuperSampleEdge, 5, time, again), 0);
        EXPECT_EQ(ae.GetAngleValue(kParamRotate, 0, time, angle), 0);
        EXPECT_EQ(ae.GetPoint2DValue(kParamToLowerRight, 0, time, x, y), 0);
        EXPECT_EQ(ae.GetColorValue(kParamToWireframeColor, 0, time, r, g, b), 0);
        EXPECT_EQ(ae.GetIntValue(kParamGrowBounds, 0, time, integer), 0);
        EXPECT_EQ(ae.GetUIntValue(kParamQuality, 0, time, entry), 0);
        EXPECT_EQ((std::vector<double>{scale, edge, again, angle, x, y, b}),
                  (std::vector<double>{-1.5, 0.375, 0.375, 450.5, 0.5, -1.0, 50 / 255.0}));
        EXPECT_EQ(integer, 12);
        EXPECT_EQ(entry, 3u);
        for (PluginHost_API::TimeObject* t : {&time, static_cast<decltype(&time)>(nullptr)}) {
            EXPECT_EQ(ae.getFloatColor(kParamFromWireframeColor, 0, &r, &g, &b, t), 0);
            EXPECT_EQ(r, static_cast<double>(150.0f / 255) * 255.0);
            r = 0;
        }
        auto* const params = ae.params;
        for (PF_ParamDef** array : {params, static_cast<PF_ParamDef**>(nullptr)}) {
            ae.params = array;
            EXPECT_EQ(ae.GetBoolValue(kParamCropToPins, 0, time, flag), 0);
            EXPECT_EQ(flag, array != nullptr);
        }
        ae.params = params;

        double written = 2.25;
        ae.SetFloatValue(kParamSuperSampleSoftness, 0, written);
        EXPECT_EQ(params[kParamSuperSampleSoftness]->u.fs_d.value, 2.25);
        ae.SetAngleValue(kParamRotate, 0, written);
        EXPECT_EQ(params[kParamRotate]->u.ad.value, 147456);
        ae.SetPoint2DValue(kParamToUpperLeft, 0, 0.5, 0.25);
        EXPECT_EQ(params[kParamToUpperLeft]->u.td.x_value, 163840);
        EXPECT_EQ(params[kParamToUpperLeft]->u.td.y_value, 65536);
        EXPECT_EQ(params[kParamToUpperLeft]->uu.change_flags, 1);
    });
}

TEST(AEValues, ARefusalLeavesTheValueAndOwesNothing) {
    using Ae = PluginHost_AE_Impl;
    using Time = PluginHost_API::TimeObject;
    const std::function<int(Ae&, Time, double&)> kReads[] = {
        [](Ae& ae, Time t, double& v) { return ae.GetFloatValue(40, 0, t, v); },
        [](Ae& ae, Time t, double& v) { return ae.GetAngleValue(44, 0, t, v); },
        [](Ae& ae, Time t, double& v) { return ae.GetPoint2DValue(6, 0, t, v, v); },
        [](Ae& ae, Time t, double& v) { return ae.GetColorValue(20, 0, t, v, v, v); },
        [](Ae& ae, Time t, double& v) { return ae.getFloatColor(20, 0, &v, &v, &v, &t); }};
    for (auto const& read : kReads) {
        ProbeHost host = hostWithControls(kModernAE, 5, 4);
        host->monitor().inject({"checkout_param", 1, 61});
        host->monitor().inject({"checkin_param", 1, 62, true});
        host->monitor().inject(
            {"PF ColorParamSuite 1/PF_GetFloatingPointColorFromColorDef", 2, 63});
        inRender(host, zelk::Depth::k8, [&](Ae& ae) {
            double number = 4711;
            EXPECT_EQ(read(ae, {0, 1000, 24000}, number), 61);
            EXPECT_EQ(number, 4711);
            EXPECT_EQ(read(ae, {0, 1000, 24000}, number), 62);
            const bool converts = &read == &kReads[4];
            EXPECT_EQ(read(ae, {0, 1000, 24000}, number), converts ? 1 : 0);
        });
    }
}
