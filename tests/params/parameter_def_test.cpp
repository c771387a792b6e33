// QVS::ParameterDef: rounding to 16.16, the two forms of a slider, the host's point correction,
// and the records that the adds make.
#include "params/ParameterDef.h"

#include <gtest/gtest.h>

#include <random>

#include "params/FixedPoint.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"
#include "tests/params/describe.h"

using namespace zelk_test;
using QVS::ParameterDef;

namespace {

/// Two records, values to read and write without a host.
struct Records {
    explicit Records(A_u_long applId, PF_SpecVersion version = {13, 27}) {
        in.appl_id = applId;
        in.version = version;
        in.downsample_x = {1, 2};
        in.downsample_y = {1, 2};
    }
    PF_InData in{};
    PF_ParamDef records[2]{};
    PF_ParamDef* array[2] = {&records[0], &records[1]};
    ParameterDef def{&in, array};
    ParameterDef without{&in, nullptr};
};

}  // namespace

TEST(FixedPoint, RoundsHalfAwayFromZeroAndStaysInRange) {
    for (auto const& [value, word] : {std::pair(-0.5, -32768),
                                      {-1.00001, -65537},
                                      {0.5 / 65536, 1},
                                      {-0.5 / 65536, -1},
                                      {0.49 / 65536, 0},
                                      {1e9, INT32_MAX},
                                      {-1e9, INT32_MIN},
                                      {std::nan(""), INT32_MIN}})
        EXPECT_EQ(QVS::doubleToFixed(value), word);
    EXPECT_EQ(QVS::truncateToFixed(-1.99999 / 65536), -1);
    std::mt19937 random(7);  // a word survives the way to a double and back
    for (int i = 0; i < 10000; ++i) {
        const auto word = static_cast<PF_Fixed>(random());
        ASSERT_EQ(QVS::doubleToFixed(QVS::fixedToDouble(word)), word);
    }
}

TEST(ParameterDef, AFloatSliderIsAFixedOneOnFinalCutPro) {
    for (A_u_long host : {kAppAfterEffects, kAppPremierePro, kAppMotion, kAppFinalCutPro}) {
        Records r(host);
        const bool hasDoubles = host != kAppFinalCutPro;
        r.def.SetFloatValue(1, 1.25, false);
        EXPECT_EQ(r.records[1].uu.change_flags, 1);
        EXPECT_EQ(r.records[1].u.fs_d.value == 1.25, hasDoubles);
        EXPECT_EQ(r.records[1].u.fd.value == 81920, !hasDoubles);
        EXPECT_EQ(r.def.GetFloatValue(1, false), 1.25);
        r.def.SetFloatValue(&r.records[0], -2.5, true);
        EXPECT_EQ(r.records[0].uu.change_flags, 0);
        EXPECT_EQ(r.def.GetFloatValue(0, true), -2.5);
        EXPECT_EQ(r.def.GetFixedValue(0), -2.5f);
    }
}

TEST(ParameterDef, PointsShrinkOnPremiere124Alone) {
    for (auto const& [host, major, minor, x] : {std::tuple(kAppPremierePro, 12, 4, 50),
                                                {kAppPremierePro, 12, 5, 100},
                                                {kAppPremierePro, 13, 4, 100},
                                                {kAppAfterEffects, 12, 4, 100}}) {
        Records r(host, {static_cast<A_short>(major), static_cast<A_short>(minor)});
        r.def.SetPoint(0, {100, 50});
        EXPECT_EQ(r.records[0].u.td.x_value, 6553600);
        EXPECT_EQ(r.records[0].uu.change_flags, 1);
        EXPECT_EQ(r.def.GetPoint(0), (QVS::QVPointT<double>{1.0 * x, x / 2.0}));
    }
}

TEST(ParameterDef, ReadsGiveBackWhatWritesStoredAndZeroWithoutAnArray) {
    Records r(kAppAfterEffects);
    r.def.SetIntValue(0, -17);
    EXPECT_EQ(r.def.GetIntValue(0) + r.def.GetPathID(0), -34);
    EXPECT_TRUE(r.def.GetBoolValue(0));
    r.def.SetMenuValue(0, 3);
    EXPECT_EQ(r.def.GetMenuValue(0), 3);
    r.def.SetAngleValue(0, -90.25);
    EXPECT_EQ(r.def.GetAngleValue(0), -90.25);
    r.records[1].u.cd.value = {9, 0, 0, 0};
    r.def.SetColor(1, {200, 1, 2, 3});
    EXPECT_EQ(r.def.GetColor(1), (QVS::PixelARGB<unsigned char>{9, 1, 2, 3}));
    EXPECT_EQ(r.def.GetPFColor(1), 0x03020109u);
    EXPECT_EQ(r.records[0].uu.change_flags & r.records[1].uu.change_flags, 1);

    EXPECT_EQ(r.without.GetFloatValue(5, false), 0);
    EXPECT_EQ(r.without.GetIntValue(5) + r.without.GetMenuValue(5) + r.without.GetBoolValue(5), 0);
    EXPECT_EQ(r.without.GetPoint(5), (QVS::QVPointT<double>{0, 0}));
    EXPECT_EQ(r.without.GetColor(5), (QVS::PixelARGB<unsigned char>{0, 0, 0, 0}));
    EXPECT_EQ(r.without.GetPathID(5), -1);
    r.without.SetMenuValue(5, 1);
    r.without.SetPoint(5, {1, 1});
    r.without.SetColor(5, {1, 1, 1, 1});
    r.without.SetAngleValue(5, 1);
    r.without.SetFloatValue(5, 1, true);
}

// Kinds and numbers that the effect's own list of controls does not have. 16.16 numbers are
// truncated, in the old way of adding rounded.
TEST(ParameterDef, AddsRegisterEveryKind) {
    for (bool hasDoubles : {true, false}) {
        ProbeHost host(hasDoubles ? kModernAE : kModernKeyG);
        void* data = nullptr;
        auto const result = host.paramsSetup([&](ProbeCall const& call) -> PF_Err {
            ParameterDef d(call.in_data, nullptr);
            d.uiFlags = PF_PUI_DISABLED;
            d.paramFlags = PF_ParamFlag_SUPERVISE;
            d.AddFixedSlider("fixed", -1.5f, 2, 1, 0.3f, 11, 2, true, false);
            EXPECT_EQ(d.uiFlags | d.paramFlags, 0);
            d.AddPoint("point", 12.5f, -50, true, 12);
            d.AddColor("colour", {0, 1, 2, 3}, 13, -1, 20);
            d.AddLayer("layer", 14);
            d.AddPathList("path", 15);
            d.AddCustomParam("custom", 30, 40, 16);
            d.AddArbitraryParam("data", 17, 7, reinterpret_cast<char**>(&data), 3, 4, &host);
            d.AddFloatSlider("float", -1, 1, 0.5f, 0.3f, 18, 3, false, true);
            d.AddFloatSliderOld("old", -1, 1, 0.5f, 0.3f, 19, 3, true, true);
            host->monitor().inject({"add_param", 10, 33});
            host->monitor().inject({"add_param", 11, 34});
            EXPECT_EQ(d.AddPathList("not had", 1), 0);
            d.uiFlags = 8;
            EXPECT_EQ(d.AddGroupStart("group", 1), 34);
            EXPECT_EQ(d.count * 10u + d.uiFlags, 98u) << "a refused add counts nothing";
            return d.RegisterCustomUI(PF_CustomEFlag_COMP);
        });
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(host->customUi().events, 1);
        EXPECT_EQ(host->parameters()[7].registered.u.arb_d.dephault, &data);
        std::string made;
        for (zelk::Parameter const& parameter : host->parameters())
            made += describe(parameter.registered) + "\n";
        std::string const tail = hasDoubles ? " tolerance 0.05\n" : "\n";
        const auto slider = [&](std::string const& name, double value, double old) {
            double const shown = hasDoubles ? 0.30000001192092896 : name == "old" ? old : value;
            return fmt::format("\"{}\" -1..1 -1..0.5 {}/{} precision 3 display ", name, shown,
                               shown);
        };
        std::string const kind = hasDoubles ? "float" : "fixed";
        EXPECT_EQ(made,
                  "layer 0 0 0 \"\"\n"
                  "fixed slider 11 64 32 \"fixed\" -1.5..2 -1.5..1 "
                  "0.29998779296875/0.29998779296875 precision 2 display 2\n"
                  "point 12 0 0 \"point\" 12.5,-50/12.5,-50 restricted 1\n"
                  "colour 13 0 0 0x20 \"colour\" 255,1,2,3/255,1,2,3\n"
                  "layer 14 0 0 \"layer\"\n12 15 0 0 \"path\"\n9 16 0 0 30x40 \"custom\"\n"
                  "11 17 0 0 3x4 \"data\"\n" +
                      kind + " slider 18 0 0 " + slider("float", 0.29998779296875, 0) + "1" + tail +
                      kind + " slider 19 0 0 " + slider("old", 0, 0.3000030517578125) + "3" + tail);
    }
}
