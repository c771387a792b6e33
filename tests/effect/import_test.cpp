// Imports of tracking data through the module's entry, and the controls that follow others: keys,
// states, and every host call refused in turn.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "params/ParamIndex.h"
#include "platform/services/FileChooser.h"
#include "tests/host/ae_probe.h"
#include "tests/support/temporary_folder.h"

namespace {

using zelk::CommandResult;

constexpr PF_Err kFault = 77;
constexpr A_u_long kOtherFlag = 4;  // of the host's own, in out_flags
constexpr A_long kDirtyUiFlags = 0x61;

/// A user who chooses a file with that text, or cancels.
class Chooser {
public:
    explicit Chooser(std::string const& text) : m_file(m_folder.put("track.txt", text)) {
        installFileChooserBackend(&m_backend);
    }
    ~Chooser() { installFileChooserBackend(nullptr); }
    bool cancels = false;
    int stepsLeft = 0;  // of the dialog, up to one that is refused; falls on

private:
    static OSStatus choose(void* context, FileChooserRequest const* asked, char* path,
                           std::size_t size) {
        auto const& self = *static_cast<Chooser*>(context);
        EXPECT_EQ(asked->extension + std::to_string(asked->modality), "txt2");
        std::snprintf(path, size, "%s", self.m_file.c_str());
        return self.cancels ? kUserCanceledStatus : 0;
    }
    zelk_test::TemporaryFolder m_folder;
    std::string m_file;
    FileChooserBackend m_backend{this, choose, [](void* self, char const*) {
                                     return --static_cast<Chooser*>(self)->stepsLeft ? 0 : kFault;
                                 }};
};

/// The effect on a layer of 200 by 100, in a composition that starts at frame 1001, 24 a second.
struct Effect {
    explicit Effect(zelk::HostIdentity identity = {})
        : host(ZELK_MODULE, {.identity = identity, .initialOutFlags = kOtherFlag}) {
        zelk::Comp comp;
        comp.startFrame = 1001;
        host.setComp(comp);
        host.resetParameters(200, 100);
        frame.layerWidth = 200, frame.layerHeight = 100;
        frame.timeBase = comp.timeBase;
        for (zelk::Parameter& parameter : host.parameters())
            parameter.current.ui_flags = kDirtyUiFlags;
    }
    zelk::Parameter& at(int index) { return parameterIn(host.parameters(), index); }
    CommandResult choose(int popup, zelk::World* output = nullptr) {
        zelk::setNumber(at(kParamMochaImport).current, popup);
        return host.userChangedParam(kParamMochaImport, frame, output);
    }
    /// "pin frame: x,y" for each key, pins counted from 0 for the first To and from 4 for From.
    std::string keys() {
        std::string text;
        for (int pin = 0; pin < 8; ++pin) {
            auto const& track = at(pin % 4 + (pin < 4 ? kParamToUpperLeft : kParamFromUpperLeft));
            for (auto const& [time, value, how, in, out] : track.track().keys())
                text += fmt::format("{} {}: {},{} ", pin, time.value / 1000.0, value[0], value[1]);
        }
        return text;
    }
    /// The greyed controls, as "5-20 49-50 60"; every other that was told is plain.
    std::string greyed() {
        std::string text;
        for (int i = 1, first = 0; i <= kParamCount; ++i) {
            const A_long flags = i < kParamCount ? at(i).current.ui_flags : 0;
            if (flags == PF_PUI_DISABLED) {
                if (!first) first = i;
                continue;
            }
            EXPECT_TRUE(flags == 0 || flags == kDirtyUiFlags) << i;
            if (first)
                text += fmt::format(fmt::runtime(first < i - 1 ? "{}-{} " : "{} "), first, i - 1);
            first = 0;
        }
        return text;
    }

    zelk::Host host;
    zelk::FrameRequest frame;
};

std::string const kSize = "Source Width 200\nSource Height 100\n";
std::string const kCorners =
    "ADBE Corner Pin-0001\n1001 10 20\n1002.5007 11 20.5\nLower Left\n999.9993 150 20\n"
    "ADBE Corner Pin-0003\n1001 10 80\nLower Right\n1003 -30.25 180\n";

TEST(Import, SetsKeysOnTheChosenPins) {
    struct Case {
        int popup;
        std::string text, keys;
        bool hasOutput = true;
    };
    // Sections count in the table's order: the second is the upper right pin's. Times are cut to
    // the host's units and kept within its clock. A file without a size is scaled to the output.
    for (Case const& c :
         {Case{2, kSize + kCorners,
               "0 0: 10,20 0 1.5: 11,20.5 1 -1: 150,20 2 0: 10,80 3 2: -30.25,180 "},
          Case{3, kSize + kCorners,
               "4 0: 10,20 4 1.5: 11,20.5 5 -1: 150,20 6 0: 10,80 7 2: -30.25,180 "},
          Case{2, "Upper Left\n1001 360 243\n", "0 0: 720,486 "},
          Case{2, "Upper Left\n1001 360 243\n", "0 0: 360,240 ", false},
          Case{2, kSize + "Upper Left\n1e30 1 2\n-inf 3 4\nnan 5 6\n",
               "0 -2147483.648: 3,4 0 0: 5,6 0 2147483.647: 1,2 "},
          Case{1, kSize + kCorners, ""}}) {
        Effect effect;
        zelk::World output({1440, 972});
        Chooser const chooser(c.text);
        const CommandResult result = effect.choose(c.popup, c.hasOutput ? &output : nullptr);
        EXPECT_TRUE(result.code == 0 && zelk_test::nothingOwed(result) == "nothing");
        EXPECT_EQ(effect.keys(), c.keys);
        EXPECT_EQ(zelk::numberOf(effect.at(kParamMochaImport).current), 1) << "back at \"...\"";
        EXPECT_EQ(effect.host.monitor().count("PF Param Utils Suite 1/PF_UpdateParamUI"),
                  c.popup > 1);
    }
}

TEST(Import, IsLeftAloneWhereNothingIsAsked) {
    Chooser chooser(kCorners);
    Effect premiere(zelk_test::kModernPremiere), effect;
    premiere.choose(2);
    zelk::setNumber(effect.at(kParamMochaImport).current, 2);
    effect.host.userChangedParam(kParamQuality, effect.frame);
    chooser.cancels = true;
    effect.choose(2);
    EXPECT_EQ(premiere.keys() + effect.keys(), "");
}

// No further step is asked for; the dialog, the list, its type and the reply go back where they
// were had, each by a step of its own. The fifth, which appends the type, has no status.
TEST(Import, EndsWhereAStepOfTheDialogIsRefused) {
    Chooser chooser(kCorners);
    Effect effect;
    for (int const nth : {1, 2, 3, 4, 6, 7, 8, 9, 10, 11, 12}) {
        chooser.stepsLeft = nth;
        EXPECT_EQ(effect.choose(2).code, 0);
        EXPECT_EQ(-chooser.stepsLeft, (nth > 2) + (nth > 3) + (nth > 4) + (nth > 8)) << nth;
    }
    EXPECT_EQ(effect.keys(), "");
}

// Each host call of an import refused in turn. A missing suite ends it with 516 and what was held
// stays out; any other refusal costs at most its own section's key, and nothing is given back
// twice.
TEST(Import, EveryHostCallRefused) {
    Chooser const chooser(kSize + "Upper Left\n1001 10 20\nLower Left\n1001 30 40\n");
    Effect plain;
    ASSERT_EQ(plain.choose(2).code, 0);
    std::map<std::string, int> nth;
    std::string const one = "0 0: 10,20 ", two = "1 0: 30,40 ";
    for (std::string const& call : plain.host.monitor().log()) {
        int const n = ++nth[call];
        SCOPED_TRACE(call + std::to_string(n));
        auto const has = [&](char const* part) { return call.find(part) != call.npos; };
        bool const isMissing = has("AcquireSuite AEGP");
        Effect refused;
        refused.host.monitor().restart();
        refused.host.monitor().inject({call, n, kFault, has("Release") || has("Dispose")});
        const CommandResult result = refused.choose(2);
        const std::string keys = refused.keys(), kept = zelk_test::nothingOwed(result);
        EXPECT_EQ(result.code, isMissing ? PF_Err_BAD_CALLBACK_PARAM : 0);
        EXPECT_TRUE(isMissing || kept == "nothing") << kept;
        EXPECT_EQ(result.outstanding.mistakes, 0);
        bool const isKey = has("KeyframeValue");
        if (isMissing)
            EXPECT_TRUE((one + two).starts_with(keys)) << keys;
        else if (has("AEGP Proj Suite 7/"))
            EXPECT_EQ(keys, "0 1001: 10,20 1 1001: 30,40 ");
        else if (isKey || has("AEGP_GetNewEffect") || has("InsertKeyframe"))  // the pin's own value
            EXPECT_EQ(keys, n == 1 ? (isKey ? "0 0: 0,0 " : "") + two
                                   : one + (isKey ? "1 0: 200,0 " : ""));
        else
            EXPECT_EQ(keys, one + two);
    }
}

TEST(Controls, AreGreyedByOtherControlsValues) {
    auto const wasTold = [](zelk::Parameter const& parameter) {
        return parameter.current.ui_flags != kDirtyUiFlags;
    };
    for (auto const& [overlay, quality, motionBlur, transfer, greyed] :  // entries, from 1
         {std::tuple(2, 3, 1, 1, "22-37 49-50 56-58 60 "),
          {1, 3, 1, 1, "5-20 49-50 56-58 60 "},
          {3, 1, 1, 1, "49-50 56-58 60 "},
          {3, 2, 2, 1, "49-50 60 "},
          {3, 4, 2, 2, ""},
          {3, 4, 3, 20, "56-57 "},
          {3, 4, 1, 5, "56-58 "}})
        for (bool const isPremiere : {false, true}) {
            Effect effect(isPremiere ? zelk_test::kModernPremiere : zelk_test::kModernAE);
            // Premiere Pro has no third entry; a project may hold it all the same.
            for (auto const& [index, entry] : {std::pair{kParamOverlayMode, overlay},
                                               {kParamQuality, quality},
                                               {kParamMotionBlur, motionBlur},
                                               {kParamTransferMode, transfer}})
                effect.at(index).current.u.pd.value = entry;
            // A table counts, whatever the status beside it.
            effect.host.monitor().inject({"AcquireSuite PF Param Utils Suite 1", 1, kFault, true});
            const CommandResult result = effect.host.updateParamsUi(effect.frame);
            EXPECT_EQ(result.outFlags, PF_OutFlag_REFRESH_UI | kOtherFlag);
            EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
            EXPECT_EQ(effect.greyed(), isPremiere && motionBlur == 3 ? "" : greyed);
            EXPECT_EQ(std::ranges::count_if(effect.host.parameters(), wasTold), 38);
        }
}

// Without the suite the user is told; a control's refusal is passed over.
TEST(Controls, StayAsTheyAreWithoutTheSuite) {
    Effect effect, refusing;
    effect.host.monitor().inject({"AcquireSuite PF Param Utils Suite 1", 1, kFault});
    const CommandResult result = effect.host.updateParamsUi(effect.frame);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.message, "Failed to acquire suite.");
    EXPECT_EQ(result.outFlags, PF_OutFlag_DISPLAY_ERROR_MESSAGE | kOtherFlag);
    EXPECT_EQ(effect.greyed(), "");
    refusing.host.monitor().inject({"PF Param Utils Suite 1/PF_UpdateParamUI", 1, kFault});
    refusing.host.updateParamsUi(refusing.frame);
    EXPECT_EQ(refusing.greyed(), "22-37 49-50 56-57 ");
}

}  // namespace
