// The controls as a host gets them from the module: identities, kinds and numbers are what stored
// projects depend on, so they are written out here once more, from the outside.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "hostkit/host.h"
#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"

using zelk::Host;
using zelk_test::kModernAE;
using zelk_test::kModernKeyG;
using zelk_test::kModernPremiere;
using zelk_test::optionsOf;

namespace {

/// Kind (s integer slider, f fixed slider, d double slider, a angle, c checkbox, r colour, p point,
/// m popup, ( and ) group marks), disk id, flags, UI flags. What differs between hosts is given for
/// After Effects.
struct Expected {
    char kind;
    int id, flags, uiFlags;
};
// clang-format off
constexpr Expected kExpected[] = {
    {'m', 168, 66, 0},  {'m', 124, 66, 0},  {'m', 165, 66, 0},  {'c', 129, 2, 0},
    {'(', 1023, 32, 0}, {'p', 1024, 0, 0},  {'p', 1026, 0, 0},  {'p', 1025, 0, 0},  {'p', 1027, 0, 0},
    {'(', 150, 32, 0},  {'f', 151, 32, 0},  {'f', 152, 32, 0},  {'f', 155, 32, 0},  {'f', 156, 32, 0},
    {'f', 153, 32, 0},  {'f', 154, 32, 0},  {'f', 157, 32, 0},  {'f', 158, 32, 0},  {')', 159, 0, 0},
    {'r', 164, 0, 0},   {')', 1028, 0, 0},
    {'(', 102, 32, 32}, {'p', 103, 0, 32},  {'p', 105, 0, 32},  {'p', 104, 0, 32},  {'p', 106, 0, 32},
    {'(', 140, 32, 0},  {'f', 141, 32, 32}, {'f', 142, 32, 32}, {'f', 145, 32, 32}, {'f', 146, 32, 32},
    {'f', 143, 32, 32}, {'f', 144, 32, 32}, {'f', 147, 32, 32}, {'f', 148, 32, 32}, {')', 149, 0, 0},
    {'r', 163, 0, 32},  {')', 107, 0, 32},
    {'(', 189, 0, 0},   {'f', 132, 32, 0},  {'f', 133, 32, 0},  {'f', 130, 32, 0},  {'f', 131, 32, 0},
    {'a', 134, 32, 0},  {')', 190, 0, 0},
    {'(', 1008, 0, 0},  {'c', 160, 2, 40},  {'m', 13, 66, 0},   {'d', 186, 32, 32}, {'d', 187, 32, 32},
    {'s', 28, 32, 0},   {'m', 125, 66, 0},  {')', 1022, 0, 0},
    {'(', 22, 32, 0},   {'m', 23, 66, 0},   {'f', 24, 34, 32},  {'f', 25, 34, 32},  {'f', 26, 32, 0},
    {')', 27, 0, 0},    {'f', 8, 32, 0},    {'f', 68, 32, 0},   {'m', 9, 0, 0},
};
// clang-format on

constexpr char kNames[] =
    "Mocha Import|View Mode|Overlay Mode|Crop To Pins|"
    "To Pins|Upper Left|Upper Right|Lower  Left|Lower  Right|Offsets|UpperLeft X-Offset|"
    "UpperLeft Y-Offset|UpperRight X-Offset|UpperRight Y-Offset|LowerLeft X-Offset|"
    "LowerLeft Y-Offset|LowerRight X-Offset|LowerRight Y-Offset||Wireframe Color||"
    "From Pins|Upper Left From|Upper Right From|Lower  Left From|Lower  Right From|Offsets|"
    "UpperLeft X-Offset|UpperLeft Y-Offset|UpperRight X-Offset|UpperRight Y-Offset|"
    "LowerLeft X-Offset|LowerLeft Y-Offset|LowerRight X-Offset|LowerRight Y-Offset||"
    "Wireframe Color||Reposition|Translate X|Translate Y|Scale X|Scale Y|Rotate||"
    "Transform Settings|Use Comp Camera|Quality|Super Sample Softnesss|Super Sample Edge|"
    "Grow Bounds|Wireframe||Motion Blur|Motion Blur|Shutter Angle|Shutter Phase|Samples||"
    "Source Opacity|Corner Pin Opacity|Transfer Mode";

char kindLetter(PF_ParamType type) {
    constexpr char kLetters[] = "-sfacrpm--d--()";
    return kLetters[type];
}

zelk::HostIdentity const kHosts[] = {kModernAE,           kModernPremiere,
                                     kModernKeyG,         {kAppMotion, {13, 27}},
                                     zelk_test::kOlderAE, {kAppPremierePro, {12, 4}}};

class ParamSet : public testing::TestWithParam<zelk::HostIdentity> {
protected:
    Host host{ZELK_MODULE, optionsOf(GetParam())};
    bool isHost(A_u_long id) const { return GetParam().applId == id; }
    zelk::Parameter const& at(int index) const {
        return host.parameters()[static_cast<std::size_t>(index)];
    }
};
INSTANTIATE_TEST_SUITE_P(Hosts, ParamSet, testing::ValuesIn(kHosts));

}  // namespace

TEST_P(ParamSet, KindsIdsFlagsAndNamesStandAsStoredProjectsKnowThem) {
    ASSERT_EQ(host.announcedParamCount(), 63);
    ASSERT_EQ(host.parameters().size(), 63u);
    std::set<A_long> ids;
    std::istringstream names(kNames);
    for (int index = 1; index < kParamCount; ++index) {
        SCOPED_TRACE(index);
        Expected expected = kExpected[index - 1];
        if (index == 1 && isHost(kAppPremierePro)) expected.uiFlags = 40;
        if (index == 51 && !isHost(kAppAfterEffects)) expected.uiFlags = 40;
        if (expected.kind == 'd' && isHost(kAppFinalCutPro)) expected.kind = 'f';
        PF_ParamDef const& def = at(index).registered;
        EXPECT_EQ(kindLetter(def.param_type), expected.kind);
        EXPECT_EQ(def.uu.id, expected.id);
        EXPECT_EQ(def.flags, expected.flags);
        EXPECT_EQ(def.ui_flags, expected.uiFlags);
        EXPECT_TRUE(ids.insert(def.uu.id).second);
        std::string name;
        std::getline(names, name, '|');
        EXPECT_EQ(at(index).displayName(), name);
    }
}

TEST_P(ParamSet, SlidersHoldTheirNumbersInEitherForm) {
    struct Range {
        int first, last;
        double validMin, validMax, sliderMin, sliderMax, defaultValue;
        int precision;
    };
    constexpr Range kRanges[] = {{11, 18, -100, 100, -100, 100, 0, 1},
                                 {28, 35, -100, 100, -100, 100, 0, 1},
                                 {40, 41, -1000, 1000, -100, 100, 0, 1},
                                 {42, 43, -20, 20, -5, 5, 1, 2},
                                 {49, 49, 0, 5, 0, 2, 1, 2},
                                 {50, 50, 0, 12, 0, 1, 0, 2},
                                 {51, 51, 0, 5000, 0, 100, 0, 0},
                                 {56, 56, 0, 720, 0, 360, 360, 1},
                                 {57, 57, -360, 360, -360, 360, 0, 1},
                                 {58, 58, 1, 64, 1, 32, 8, 1},
                                 {60, 61, 0, 100, 0, 100, 100, 1}};
    int sliders = 0;
    for (Range const& range : kRanges)
        for (int index = range.first; index <= range.last; ++index, ++sliders) {
            SCOPED_TRACE(index);
            zelk::Parameter const& parameter = at(index);
            PF_ParamDef const& def = parameter.registered;
            const auto valid = zelk::validRange(parameter), slider = zelk::sliderRange(parameter);
            EXPECT_EQ(
                (std::vector<double>{valid.min, valid.max, slider.min, slider.max,
                                     zelk::defaultNumberOf(def), zelk::numberOf(def)}),
                (std::vector<double>{range.validMin, range.validMax, range.sliderMin,
                                     range.sliderMax, range.defaultValue, range.defaultValue}));
            if (def.param_type == PF_Param_FIX_SLIDER) {
                EXPECT_EQ(def.u.fd.precision, range.precision);
                EXPECT_EQ(def.u.fd.display_flags, 0);
                EXPECT_EQ(def.u.fd.valid_max, static_cast<PF_Fixed>(range.validMax * 65536));
            }
            if (def.param_type == PF_Param_FLOAT_SLIDER) {
                EXPECT_EQ(def.u.fs_d.precision, range.precision);
                EXPECT_EQ(def.u.fs_d.display_flags, 0);
                EXPECT_EQ(def.u.fs_d.curve_tolerance, 0.05f);
            }
        }
    int registered = 0;
    for (zelk::Parameter const& parameter : host.parameters())
        registered += std::string("sfd").find(kindLetter(parameter.type())) != std::string::npos;
    EXPECT_EQ(registered, sliders);
}

TEST_P(ParamSet, PopupsOfferTheirEntries) {
    const bool hasShutter = isHost(kAppAfterEffects);
    struct Popup {
        int index, defaultEntry;
        std::vector<std::string> entries;
    };
    const Popup kPopups[] = {
        {1, 1, {"...", "Load To Pins...", "Load From Pins..."}},
        {2, 4, {"Original", "From Pins Zelk", "To Pins Zelk", "Both Pins Zelk"}},
        {3, 2, {"Show From Pins", "Show To Pins", "Show Both Pins"}},
        {48, 3, {"Low", "Medium", "High", "Super Sample"}},
        {52, 3, {"Always Off", "Always On", "On"}},
        {55, hasShutter ? 3 : 1,
         hasShutter ? std::vector<std::string>{"Off", "On", "Comp Settings"}
                    : std::vector<std::string>{"Off", "On"}},
        {62, 1, {"None",       "Behind",  "Normal",     "(-",         "Add",        "Multiply",
                 "Screen",     "Overlay", "Soft Light", "Hard Light", "(-",         "Color Dodge",
                 "Color Burn", "(-",      "Darken",     "Lighten",    "Difference", "Exclusion",
                 "(-",         "Hue",     "Saturation", "Color",      "Luminosity"}}};
    for (Popup const& popup : kPopups) {
        SCOPED_TRACE(popup.index);
        PF_PopupDef const& def = at(popup.index).registered.u.pd;
        EXPECT_EQ(at(popup.index).choices, popup.entries);
        EXPECT_EQ(def.num_choices, static_cast<int>(popup.entries.size()));
        EXPECT_EQ(def.dephault, popup.defaultEntry);
        EXPECT_EQ(def.value, popup.defaultEntry);
    }
}

TEST_P(ParamSet, PinsColoursAndTheRest) {
    for (int first : {kParamToUpperLeft, kParamFromUpperLeft})
        for (int corner = 0; corner < 4; ++corner) {
            PF_PointDef const& pin = at(first + corner).registered.u.td;
            const PF_Fixed x = corner % 2 ? 6553600 : 0, y = corner / 2 ? 6553600 : 0;
            EXPECT_TRUE(pin.x_value == x && pin.x_dephault == x) << first + corner;
            EXPECT_TRUE(pin.y_value == y && pin.y_dephault == y) << first + corner;
            EXPECT_EQ(pin.restrict_bounds, 0);
        }
    auto const isColor = [&](int index, PF_Pixel want) {
        PF_ColorDef const& color = at(index).registered.u.cd;
        EXPECT_EQ(0, std::memcmp(&color.value, &want, sizeof want));
        EXPECT_EQ(0, std::memcmp(&color.dephault, &want, sizeof want));
    };
    isColor(kParamToWireframeColor, {255, 255, 255, 50});
    isColor(kParamFromWireframeColor, {255, 150, 150, 255});
    EXPECT_EQ(at(kParamRotate).registered.u.ad.value, 0);
    for (int index : {kParamCropToPins, kParamUseCompCamera}) {
        EXPECT_EQ(at(index).registered.u.bd.value, 0);
        EXPECT_EQ(at(index).registered.u.bd.dephault, 0);
        EXPECT_EQ(at(index).label, "");
    }
}

TEST(ParamsSetupFailure, ARefusalEndsTheListWithItsCode) {
    for (int nth = 1; nth < kParamCount; ++nth) {
        auto host = Host::loadOnly(ZELK_MODULE);
        host->globalSetup();
        host->monitor().inject({"add_param", nth, 40 + nth});
        EXPECT_EQ(host->paramsSetup().code, 40 + nth);
        EXPECT_EQ(host->monitor().count("add_param"), nth);
        EXPECT_EQ(host->monitor().count("register_ui"), 0);
        EXPECT_EQ(host->announcedParamCount(), 0);
    }
}
