// Imports of tracking data through the module's entry, and the controls that follow others: keys,
// states, and every host call refused in turn.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "params/ParamIndex.h"
#include "platform/services/FileChooser.h"
#include "tests/host/ae_probe.h"
#include "tests/support/temporary_folder.h"

namespace {

using zelk::CommandResult;
using zelk::Host;
using zelk::World;

constexpr PF_Err kFault = 77;
constexpr int kToPopup = 2, kFromPopup = 3;

/// A user who chooses a file with that text, or cancels.
class Chooser {
public:
    explicit Chooser(std::string const& text) : m_file(m_folder.put("track.txt", text)) {
        installFileChooserBackend(&m_backend);
    }
    ~Chooser() { installFileChooserBackend(nullptr); }
    bool cancels = false;

private:
    static OSStatus choose(void* context, FileChooserRequest const*, char* path, std::size_t size) {
        auto const& self = *static_cast<Chooser*>(context);
        std::snprintf(path, size, "%s", self.m_file.c_str());
        return self.cancels ? kUserCanceledStatus : 0;
    }
    zelk_test::TemporaryFolder m_folder;
    std::string m_file;
    FileChooserBackend m_backend{this, choose, nullptr};
};

/// The effect on a layer of 200 by 100, in a composition that starts at frame 1001, 24 a second.
struct Effect {
    explicit Effect(zelk::HostIdentity identity = zelk_test::kModernAE)
        : host(ZELK_MODULE, zelk_test::optionsOf(identity)) {
        zelk::Comp comp;
        comp.startFrame = 1001;
        host.setComp(comp);
        host.resetParameters(200, 100);
        frame.layerWidth = 200, frame.layerHeight = 100;
        frame.timeBase = comp.timeBase;
    }
    zelk::Parameter& at(int index) { return host.parameters()[static_cast<std::size_t>(index)]; }
    CommandResult choose(int popup, World* output = nullptr) {
        zelk::setNumber(at(kParamMochaImport).current, popup);
        return host.userChangedParam(kParamMochaImport, frame, output);
    }
    /// "frame: x,y" for each key of a pin.
    std::string keysOf(int index) {
        std::string text;
        for (zelk::Keyframe const& key : at(index).track().keys())
            text += fmt::format("{}: {},{} ", key.time.value / double(frame.timeBase.step),
                                key.value[0], key.value[1]);
        return text;
    }

    Host host;
    zelk::FrameRequest frame;
};

std::string const kFourCorners =
    "Source Width 200\nSource Height 100\n"
    "ADBE Corner Pin-0001\n1001 10 20\n1002.5 11 20.5\n"
    "ADBE Corner Pin-0002\n1001 150 20\nADBE Corner Pin-0003\n1001 10 80\n"
    "ADBE Corner Pin-0004\n1003 -30.25 180\n";

TEST(Import, SetsKeysOnTheChosenPins) {
    for (const int popup : {kToPopup, kFromPopup}) {
        Effect effect;
        Chooser const chooser(kFourCorners);
        const CommandResult result = effect.choose(popup);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
        const int first = popup == kToPopup ? kParamToUpperLeft : kParamFromUpperLeft;
        const int other = popup == kToPopup ? kParamFromUpperLeft : kParamToUpperLeft;
        EXPECT_EQ(effect.keysOf(first), "0: 10,20 1.5: 11,20.5 ");
        EXPECT_EQ(effect.keysOf(first + 1), "0: 150,20 ");
        EXPECT_EQ(effect.keysOf(first + 2), "0: 10,80 ");
        EXPECT_EQ(effect.keysOf(first + 3), "2: -30.25,180 ");
        for (int i = 0; i < 4; ++i) EXPECT_EQ(effect.keysOf(other + i), "");
        EXPECT_EQ(zelk::numberOf(effect.at(kParamMochaImport).current), 1) << "back at \"...\"";
    }
}

// Sections count, in the order of the table, not their words.
TEST(Import, TheSecondSectionGoesToTheUpperRightPin) {
    Effect effect;
    Chooser const chooser(
        "Source Width 200\nSource Height 100\nLower Left\n1001 1 2\n"
        "Upper Right\n1001 3 4\n");
    effect.choose(kToPopup);
    EXPECT_EQ(effect.keysOf(kParamToUpperRight), "0: 1,2 ");
    EXPECT_EQ(effect.keysOf(kParamToLowerLeft), "0: 3,4 ");
}

TEST(Import, WithoutASizeScalesToTheOutput) {
    Effect effect;
    Chooser const chooser("Upper Left\n1001 360 243\n");
    World output({1440, 972, zelk::Depth::k8});
    effect.choose(kToPopup, &output);
    EXPECT_EQ(effect.keysOf(kParamToUpperLeft), "0: 720,486 ");
    Effect alone;  // 720 by 480 without an output
    alone.choose(kToPopup);
    EXPECT_EQ(alone.keysOf(kParamToUpperLeft), "0: 360,240 ");
}

TEST(Import, IsLeftAloneWhereNothingIsAsked) {
    Chooser chooser(kFourCorners);
    Effect premiere(zelk_test::kModernPremiere), other, dots, cancelled;
    premiere.choose(kToPopup);
    EXPECT_EQ(premiere.keysOf(kParamToUpperLeft), "");
    zelk::setNumber(other.at(kParamMochaImport).current, kToPopup);
    EXPECT_EQ(other.host.userChangedParam(kParamQuality, other.frame).code, 0);
    EXPECT_EQ(other.keysOf(kParamToUpperLeft), "");
    dots.choose(1);
    EXPECT_EQ(dots.host.monitor().count("PF Param Utils Suite 1/PF_UpdateParamUI"), 0);
    chooser.cancels = true;
    cancelled.choose(kToPopup);
    EXPECT_EQ(cancelled.keysOf(kParamToUpperLeft), "");
    EXPECT_EQ(zelk::numberOf(cancelled.at(kParamMochaImport).current), 1);
}

/// Frames that no clock holds: the key lies at the nearest moment.
TEST(Import, KeepsWildFramesWithinTheClock) {
    Effect effect;
    Chooser const chooser("Upper Left\n1e30 72 0\n-inf 0 0\nnan 360 243\n");
    EXPECT_EQ(effect.choose(kToPopup).code, 0);
    auto const& keys = effect.at(kParamToUpperLeft).track().keys();
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[0].time.value, INT32_MIN);
    EXPECT_EQ(keys[1].time.value, 0);
    EXPECT_EQ(keys[2].time.value, INT32_MAX);
}

// Each host call of an import refused in turn. A missing suite ends it with 516, any other refusal
// passes it over; what the missing suite would have given back is then all that is kept.
TEST(Import, EveryHostCallRefused) {
    Chooser const chooser("Source Width 200\nSource Height 100\nUpper Left\n1001 10 20\n");
    Effect plain;
    plain.host.monitor().restart();
    ASSERT_EQ(plain.choose(kToPopup).code, 0);
    const std::vector<std::string> log = plain.host.monitor().log();
    std::map<std::string, int> nth;
    std::printf("%-52s %4s  %-12s %s\n", "refused", "code", "keys", "kept");
    for (std::string const& call : log) {
        const int n = ++nth[call];
        Effect effect;
        effect.host.monitor().restart();
        const bool givesBack =
            call.rfind("ReleaseSuite", 0) == 0 || call.find("Dispose") != std::string::npos;
        effect.host.monitor().inject({call, n, kFault, givesBack});
        const CommandResult result = effect.choose(kToPopup);
        const std::string keys = effect.keysOf(kParamToUpperLeft);
        const std::string kept = zelk_test::nothingOwed(result);
        std::printf("%-48s %3d %4d  %-12s %s\n", call.c_str(), n, int(result.code), keys.c_str(),
                    kept.c_str());
        const bool isAegpSuite = call.rfind("AcquireSuite AEGP", 0) == 0;
        EXPECT_EQ(result.code, isAegpSuite ? PF_Err_BAD_CALLBACK_PARAM : 0) << call << n;
        const auto ends = [&](char const* name) { return call.find(name) != std::string::npos; };
        std::string wantKeys = "0: 10,20 ", wantKept = "nothing";
        if (ends("Proj") && !isAegpSuite && !givesBack) wantKeys = "1001: 10,20 ";
        if (ends("GetNewEffect") || ends("InsertKeyframe") || isAegpSuite) wantKeys = "";
        if (ends("GetNewKeyframeValue") || ends("SetKeyframeValue")) wantKeys = "0: 0,0 ";
        const bool hasKey =
            ends("AcquireSuite AEGP Effect") || (ends("AcquireSuite AEGP Stream") && n > 1);
        if (hasKey) wantKeys = "0: 10,20 ";
        if (ends("AcquireSuite AEGP Stream Suite 7") && n == 1) wantKept = "1 effect";
        if (ends("AcquireSuite AEGP Keyframe")) wantKept = "1 effect, 1 stream";
        if (ends("AcquireSuite AEGP Stream Suite 7") && n == 2)
            wantKept = "1 effect, 1 stream, 1 stream value";
        if (ends("AcquireSuite AEGP Effect")) wantKept = "1 effect, 1 stream";
        if (ends("AcquireSuite AEGP Stream Suite 7") && n == 3) wantKept = "1 stream";
        EXPECT_EQ(keys, wantKeys) << call << n;
        EXPECT_EQ(kept, wantKept) << call << n;
    }
}

// ---- Controls that follow others

/// The greyed controls, as "5-20 49 50".
std::string greyed(Host const& host) {
    std::string text;
    auto const& all = host.parameters();
    for (std::size_t i = 1; i < all.size(); ++i) {
        if (all[i].isEnabled) continue;
        std::size_t last = i;
        while (last + 1 < all.size() && !all[last + 1].isEnabled) ++last;
        text += last == i ? fmt::format("{} ", i) : fmt::format("{}-{} ", i, last);
        i = last;
    }
    return text;
}

TEST(Controls, AreGreyedByOtherControlsValues) {
    struct Case {
        int overlay, quality, motionBlur, transfer;  // entries, from 1
        char const *greyed, *greyedInPremiere;
    };
    const Case cases[] = {
        {2, 3, 1, 1, "22-37 49-50 56-58 60 ", "22-37 49-50 56-58 60 "},  // the defaults
        {1, 3, 1, 1, "5-20 49-50 56-58 60 ", "5-20 49-50 56-58 60 "},
        {3, 1, 1, 1, "49-50 56-58 60 ", "49-50 56-58 60 "},
        {3, 2, 2, 1, "49-50 60 ", "49-50 60 "},
        {3, 4, 2, 1, "60 ", "60 "},
        {3, 4, 2, 2, "", ""},
        {3, 4, 3, 20, "56-57 ", ""},
        {3, 4, 1, 5, "56-58 ", "56-58 "},
    };
    std::printf(
        "Overlay Mode  Quality  Motion Blur  Transfer Mode   greyed, and in Premiere Pro\n");
    for (Case const& c : cases) {
        for (const bool isPremiere : {false, true}) {
            Effect effect(isPremiere ? zelk_test::kModernPremiere : zelk_test::kModernAE);
            // Premiere Pro has no third entry; a project may hold it all the same.
            for (auto const& [index, entry] : {std::pair{kParamOverlayMode, c.overlay},
                                               {kParamQuality, c.quality},
                                               {kParamMotionBlur, c.motionBlur},
                                               {kParamTransferMode, c.transfer}})
                effect.at(index).current.u.pd.value = entry;
            const CommandResult result = effect.host.updateParamsUi(effect.frame);
            EXPECT_EQ(result.code, 0);
            EXPECT_EQ(result.outFlags, PF_OutFlag_REFRESH_UI);
            EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
            EXPECT_EQ(greyed(effect.host), isPremiere ? c.greyedInPremiere : c.greyed);
            if (!isPremiere)
                std::printf("%12d  %7d  %11d  %13d   %-22s", c.overlay, c.quality, c.motionBlur,
                            c.transfer, greyed(effect.host).c_str());
            else
                std::printf("| %s\n", greyed(effect.host).c_str());
        }
    }
}

TEST(Controls, StayAsTheyAreWithoutTheSuite) {
    Effect effect;
    effect.host.monitor().inject({"AcquireSuite PF Param Utils Suite 1", 1, kFault});
    const CommandResult result = effect.host.updateParamsUi(effect.frame);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.message, "Failed to acquire suite.");
    EXPECT_EQ(result.outFlags, A_u_long{PF_OutFlag_DISPLAY_ERROR_MESSAGE});
    EXPECT_EQ(greyed(effect.host), "");
    Effect refusing;  // each control's refusal is passed over
    refusing.host.monitor().inject({"PF Param Utils Suite 1/PF_UpdateParamUI", 1, kFault});
    EXPECT_EQ(refusing.host.updateParamsUi(refusing.frame).outFlags, PF_OutFlag_REFRESH_UI);
    EXPECT_EQ(greyed(refusing.host), "22-37 49-50 56-57 ");
}

}  // namespace
