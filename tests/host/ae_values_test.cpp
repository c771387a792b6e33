// Parameter values through the binding: units, the way a slider is stored, and check-outs that go
// back whatever the host answers.
#include <gtest/gtest.h>

#include "host/PluginHost_AE_Impl.h"
#include "params/ParamIndex.h"
#include "params/ParamsSetup.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace {

ProbeHost hostWithControls(zelk::HostIdentity identity) {
    ProbeHost host(identity);
    host.paramsSetup([](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae(call.in_data, call.out_data, call.params, call.output);
        return ParamsSetup(&ae);
    });
    host->resetParameters(5, 4);
    return host;
}

PF_ParamDef& value(ProbeHost& host, int index) {
    return host->parameters()[static_cast<std::size_t>(index)].current;
}

}  // namespace

TEST(AEValues, AreReadInOrdinaryUnitsAndWrittenToTheCallsArray) {
    ProbeHost host = hostWithControls(kModernAE);
    zelk::setNumber(value(host, kParamScaleX), -1.5);
    zelk::setNumber(value(host, kParamSuperSampleEdge), 0.375);
    zelk::setNumber(value(host, kParamRotate), 450.5);
    zelk::setNumber(value(host, kParamGrowBounds), 12);
    zelk::setNumber(value(host, kParamQuality), 4);
    zelk::setNumber(value(host, kParamCropToPins), 1);
    zelk::setPoint(value(host, kParamToLowerRight), 2.5, -4);
    auto const result = host.renderAt(zelk::Depth::k8, [](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae(call.in_data, call.out_data, call.params, call.output);
        const PluginHost_API::TimeObject time{0, 1000, 24000};
        double number = 0, x = 0, y = 0, r = 0, g = 0, b = 0;
        int integer = 0;
        unsigned entry = 0;
        bool flag = false;
        EXPECT_EQ(ae.GetFloatValue(kParamScaleX, 0x82, time, number), 0);
        EXPECT_EQ(number, -1.5);
        EXPECT_EQ(ae.GetFloatValue(kParamSuperSampleEdge, -1, time, number), 0);
        EXPECT_EQ(number, 0.375);
        number = 0;
        EXPECT_EQ(ae.GetFixedFloatValue(kParamSuperSampleEdge, 5, time, number), 0);
        EXPECT_EQ(number, 0.375);
        EXPECT_EQ(ae.GetAngleValue(kParamRotate, 0, time, number), 0);
        EXPECT_EQ(number, 450.5);
        EXPECT_EQ(ae.GetIntValue(kParamGrowBounds, 0, time, integer), 0);
        EXPECT_EQ(integer, 12);
        EXPECT_EQ(ae.GetUIntValue(kParamQuality, 0, time, entry), 0);
        EXPECT_EQ(entry, 3u);
        EXPECT_EQ(ae.GetPoint2DValue(kParamToLowerRight, 0, time, x, y), 0);
        EXPECT_EQ(x, 0.5);
        EXPECT_EQ(y, -1.0);
        EXPECT_EQ(ae.GetColorValue(kParamToWireframeColor, 0, time, r, g, b), 0);
        EXPECT_EQ(b, 50 / 255.0);
        PluginHost_API::TimeObject when = time;
        for (PluginHost_API::TimeObject* t : {&when, static_cast<decltype(&when)>(nullptr)}) {
            r = g = b = 0;
            EXPECT_EQ(ae.getFloatColor(kParamFromWireframeColor, 0, &r, &g, &b, t), 0);
            EXPECT_EQ(r, static_cast<double>(150.0f / 255) * 255.0);
            EXPECT_EQ(b, 255.0);
        }
        EXPECT_EQ(ae.GetBoolValue(kParamCropToPins, 0, time, flag), 0);
        EXPECT_TRUE(flag);
        ae.params = nullptr;
        EXPECT_EQ(ae.GetBoolValue(kParamCropToPins, 0, time, flag), 0);
        EXPECT_FALSE(flag);
        ae.params = call.params;

        double written = 2.25;
        ae.SetFloatValue(kParamSuperSampleSoftness, 0, written);
        EXPECT_EQ(call.params[kParamSuperSampleSoftness]->u.fs_d.value, 2.25);
        ae.SetAngleValue(kParamRotate, 0, written);
        EXPECT_EQ(call.params[kParamRotate]->u.ad.value, 147456);
        ae.SetPoint2DValue(kParamToUpperLeft, 0, 0.5, 0.25);
        EXPECT_EQ(call.params[kParamToUpperLeft]->u.td.x_value, 163840);
        EXPECT_EQ(call.params[kParamToUpperLeft]->u.td.y_value, 65536);
        EXPECT_EQ(call.params[kParamToUpperLeft]->uu.change_flags, 1);
        return 0;
    });
    EXPECT_EQ(nothingOwed(result), "nothing");
}

TEST(AEValues, ARefusalLeavesTheValueAndOwesNothing) {
    using Ae = PluginHost_AE_Impl;
    using Time = PluginHost_API::TimeObject;
    const std::function<int(Ae&, Time const&, double&)> kReads[] = {
        [](Ae& ae, Time const& t, double& v) { return ae.GetFloatValue(40, 0, t, v); },
        [](Ae& ae, Time const& t, double& v) { return ae.GetAngleValue(44, 0, t, v); },
        [](Ae& ae, Time const& t, double& v) { return ae.GetPoint2DValue(6, 0, t, v, v); },
        [](Ae& ae, Time const& t, double& v) { return ae.GetColorValue(20, 0, t, v, v, v); },
        [](Ae& ae, Time t, double& v) { return ae.getFloatColor(20, 0, &v, &v, &v, &t); }};
    ProbeHost host = hostWithControls(kModernAE);
    for (auto const& read : kReads) {
        host->monitor().clearFaults();
        host->monitor().restart();
        host->monitor().inject({"checkout_param", 1, 61});
        host->monitor().inject({"checkin_param", 1, 62, true});
        host->monitor().inject(
            {"PF ColorParamSuite 1/PF_GetFloatingPointColorFromColorDef", 2, 63});
        auto const result = host.renderAt(zelk::Depth::k8, [&](ProbeCall const& call) -> PF_Err {
            Ae ae(call.in_data, call.out_data, call.params, call.output);
            double number = 4711;
            EXPECT_EQ(read(ae, {0, 1000, 24000}, number), 61);
            EXPECT_EQ(number, 4711);
            EXPECT_EQ(read(ae, {0, 1000, 24000}, number), 62);
            const bool converts = &read == &kReads[4];
            EXPECT_EQ(read(ae, {0, 1000, 24000}, number), converts ? 1 : 0);
            return 0;
        });
        EXPECT_EQ(nothingOwed(result), "nothing");
    }
}
