// QVS::ParameterDef: rounding to 16.16, the two forms of a slider, the host's point correction,
// and the records that the adds make.
#include "params/ParameterDef.h"

#include <gtest/gtest.h>

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
}

TEST(ParameterDef, AFloatSliderIsAFixedOneOnFinalCutPro) {
    for (A_u_long host : {kAppAfterEffects, kAppPremierePro, kAppMotion, kAppFinalCutPro}) {
        Records r(host);
        r.def.SetFloatValue(1, 1.25, false);
        EXPECT_EQ(r.records[1].u.fd.value == 81920, host == kAppFinalCutPro);
        EXPECT_EQ(r.def.GetFloatValue(1, false), 1.25);
        r.def.SetFloatValue(&r.records[0], -2.5, true);
        EXPECT_EQ(r.records[0].uu.change_flags, 0);
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
