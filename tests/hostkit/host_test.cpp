// Loading, set-up, and what a host tells an effect with a command.
#include "hostkit/host.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/hostkit/probe_effect.h"

namespace zelk {
namespace {

constexpr HostIdentity kOldHost{kAppAfterEffects, {12, 11}};

CommandResult renderReport(Host& host, ProbeReport which, FrameRequest const& frame = {},
                           Depth depth = Depth::k8) {
    setNumber(host.parameters().at(kProbeReport).current, which);
    World input(host.worldSpec(40, 20, depth)), output(host.worldSpec(40, 20, depth));
    return host.render(input, output, frame);
}

/// What the probe exports besides its entry; the module stays loaded.
void* probeSymbol(char const* name) {
    void* const module = dlopen(PROBE_EFFECT, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    void* const symbol = module ? dlsym(module, name) : nullptr;
    if (module) dlclose(module);
    return symbol;
}

int liveSetups() {
    auto const* const count = static_cast<int*>(probeSymbol("probeLiveSetups"));
    return count ? *count : -1;
}

TEST(HostLoading, TellsWhatIsWrong) {
    HostOptions failing;
    failing.identity.applId = kProbeFailingHost;
    struct Case {
        char const* module;
        HostOptions options;
        char const* words;
        PF_Err code;
    };
    for (Case const& c :
         {Case{"no/such/file.so", {}, "no such file", 0},
          Case{NOT_A_MODULE, {}, "does not load", 0},
          Case{NO_ENTRY, {}, "exports no function \"EntryPointFunc\"", 0},
          Case{PROBE_EFFECT, failing, "PF_Cmd_GLOBAL_SETUP failed with 99 (not in this host)",
               kProbeSetupError}})
        try {
            Host const host(c.module, c.options);
            ADD_FAILURE() << c.module;
        } catch (HostError const& error) {
            std::string const what = error.what();
            EXPECT_EQ(what.rfind(c.module, 0), 0u) << what;
            EXPECT_NE(what.find(c.words), std::string::npos) << what;
            EXPECT_EQ(error.code(), c.code);
        }
    EXPECT_EQ(liveSetups(), 0);
}

TEST(HostLoading, SetUpIsFollowedBySetDown) {
    {
        Host host(PROBE_EFFECT);
        EXPECT_EQ(liveSetups(), 1);
        EXPECT_EQ(host.effectVersion(), 0x108407u) << "2.1.0 beta 7";
        EXPECT_EQ(host.monitor().outstanding, Outstanding{}) << "global data is the host's";
        EXPECT_EQ(host.about().message, "probe");
        auto const lateCall = reinterpret_cast<PF_Err (*)()>(probeSymbol("probeLateCall"));
        ASSERT_NE(lateCall, nullptr);
        EXPECT_EQ(lateCall(), PF_Err_BAD_CALLBACK_PARAM) << "no command runs";
        EXPECT_EQ(host.globalSetdown().code, 0);
        EXPECT_EQ(liveSetups(), 0);
        EXPECT_NE(host.globalSetdown().code, 0) << "its global data went with the first";
    }
    EXPECT_EQ(liveSetups(), 0) << "no second set-down";
    auto const bare = Host::loadOnly(PROBE_EFFECT);
    bare->monitor().inject({"host_new_handle"});
    EXPECT_EQ(bare->globalSetup().code, PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(liveSetups(), 0);
}

TEST(HostLoading, FlagsBeginAsTheOptionsSay) {
    HostOptions options;
    options.initialOutFlags = 4;
    options.initialOutFlags2 = 4;
    auto const host = Host::loadOnly(PROBE_EFFECT, options);
    CommandResult const setup = host->globalSetup();
    EXPECT_EQ(setup.outFlags, 4u | PF_OutFlag_DEEP_COLOR_AWARE);
    EXPECT_EQ(setup.outFlags2, PF_OutFlag2_FLOAT_COLOR_AWARE);
    EXPECT_TRUE(setup.touchedOutData);
    CommandResult const other = host->bareCommand(PF_Cmd_SEQUENCE_SETUP);
    EXPECT_FALSE(other.touchedOutData);
    EXPECT_EQ(other.outFlags, 4u);
}

TEST(HostParameters, AreKeptAsRegistered) {
    Host host(PROBE_EFFECT);
    host.resetParameters(200, 100);
    ASSERT_EQ(host.parameters().size(), std::size_t{kProbeParamCount});
    EXPECT_EQ(host.announcedParamCount(), kProbeParamCount);
    EXPECT_TRUE(host.registeredCustomUi());
    EXPECT_EQ(host.customUi().events, PF_CustomEFlag_COMP);
    struct Case {
        ProbeParam index;
        char const* kind;
        double value, validMin, validMax, sliderMax;
    };
    for (Case const& c :
         {Case{kProbeReport, "slider", 1, 0, 100, 10},
          Case{kProbeFixed, "fixed slider", 2.5, -100, 100, 50},
          Case{kProbeAngle, "angle", -90, 0, 0, 0}, Case{kProbeCheckbox, "checkbox", 1, 0, 1, 1},
          Case{kProbePopup, "popup", 3, 1, 3, 3},
          Case{kProbeFloat, "float slider", 0.25, 0, 12, 1}}) {
        Parameter const& parameter = host.parameters().at(c.index);
        EXPECT_EQ(parameter.index, c.index);
        EXPECT_EQ(parameter.displayName(), "Control " + std::to_string(c.index));
        EXPECT_EQ(parameter.diskId(), 500 - c.index);
        EXPECT_EQ(kindName(parameter.type()), c.kind);
        EXPECT_EQ(numberOf(parameter.current), c.value) << c.kind;
        EXPECT_EQ(validRange(parameter).min, c.validMin) << c.kind;
        EXPECT_EQ(validRange(parameter).max, c.validMax) << c.kind;
        EXPECT_EQ(sliderRange(parameter).max, c.sliderMax) << c.kind;
    }
    EXPECT_EQ(host.parameters()[kProbePopup].choices,
              (std::vector<std::string>{"One", "(-", "Three with a rather long name"}));
    EXPECT_EQ(host.parameters()[kProbeCheckbox].label, "box label");
    EXPECT_EQ(host.parameters()[kProbePoint].current.u.td.x_value, 100 << 16);
    EXPECT_EQ(host.parameters()[kProbePoint].current.u.td.y_value, 25 << 16);
    EXPECT_EQ(host.parameters()[kProbeColor].current.u.cd.value.blue, 30);
    // params and checkout_param agree; a refused check-out may be checked in.
    CommandResult const result = renderReport(host, kReportParams);
    EXPECT_EQ(result.message,
              "differing=0 popup=3 \"One|(-|Three with a rather long name\" color=255,10,20,30 "
              "beyond=513,0");
    EXPECT_EQ(result.outstanding, Outstanding{});
}

TEST(HostCommands, TellClockAndHost) {
    FrameRequest frame;
    frame.timeBase = timeBaseOfRate(29.97);
    frame.time = 7007;
    frame.field = PF_Field_LOWER;
    frame.quality = PF_Quality_LO;
    frame.shutter = {180, -90};
    HostOptions options;
    options.identity = {kAppMotion, {12, 5}};
    Host host(PROBE_EFFECT, options);
    EXPECT_EQ(renderReport(host, kReportClock, frame).message,
              "4d4f544e 12.5 n=11 t=7007 step=1001/1001 total=1001 scale=30000 "
              "shutter=32768,-16384 f=2 q=0");
    Host plain(PROBE_EFFECT);
    frame = {};
    frame.totalTime = 50000;
    EXPECT_EQ(renderReport(plain, kReportClock, frame).message,
              "46585443 13.27 n=11 t=0 step=1000/1000 total=50000 scale=24000 shutter=0,0 f=0 q=1");
}

TEST(HostCommands, BringPointsToTheRendersResolution) {
    FrameRequest third;
    third.downsample = 3;
    third.pixelAspect = 1.5;
    FrameRequest odd = third;
    odd.layerWidth = 119;
    odd.layerHeight = 58;
    struct Case {
        HostIdentity identity;
        FrameRequest frame;
        char const* text;
    };
    char const* const kScaled =
        "layer=120x60 scale=1/3,1/3 par=3/2 world=40x20 point=20.0000,5.0000";
    char const* const kLeft =
        "layer=120x60 scale=1/3,1/3 par=3/2 world=40x20 point=60.0000,15.0000";
    for (Case const& c :
         {Case{{}, {}, "layer=40x20 scale=1/1,1/1 par=1/1 world=40x20 point=60.0000,15.0000"},
          Case{{}, third, kScaled}, Case{{kAppPremierePro, {12, 4}}, third, kLeft},
          Case{{kAppPremierePro, {13, 4}}, third, kScaled},
          Case{{kAppPremierePro, {12, 5}}, third, kScaled},
          Case{{kAppFinalCutPro, {12, 4}}, third, kScaled},
          Case{{}, odd, "layer=119x58 scale=1/3,1/3 par=3/2 world=40x20 point=20.0000,5.0000"}}) {
        HostOptions options;
        options.identity = c.identity;
        Host host(PROBE_EFFECT, options);
        host.resetParameters(120, 60);
        EXPECT_EQ(renderReport(host, kReportGeometry, c.frame).message, c.text);
    }
}

TEST(HostCommands, GiveImagesInTheHostsLayout) {
    HostIdentity const after{}, premiere{kAppPremierePro, {13, 27}},
        old = kOldHost, oldPremiere{kAppPremierePro, {12, 4}};
    struct Case {
        HostIdentity identity;
        Depth depth;
        int padding;
        char const* text;
    };
    for (Case const& c :
         {Case{after, Depth::k8, 0,
               "argb 8 deep=0 pad=0; argb 8 deep=0 pad=0; ae16 16 deep=1 pad=0; ae32 none deep=0 "
               "pad=0; "},
          Case{after, Depth::k16, 3,
               "ae16 16 deep=1 pad=4; argb 8 deep=0 pad=3; ae16 16 deep=1 pad=4; ae32 none deep=0 "
               "pad=4; "},
          Case{premiere, Depth::kFloat, 0,
               "ae32 none deep=0 pad=0; bgra 8 deep=0 pad=0; ae16 16 deep=1 pad=0; ae32 none "
               "deep=0 pad=0; "},
          Case{premiere, Depth::k8, 0,
               "bgra 8 deep=0 pad=0; bgra 8 deep=0 pad=0; ae16 16 deep=1 pad=0; ae32 none deep=0 "
               "pad=0; "},
          Case{old, Depth::k16, 0, "- 16 deep=1 pad=0; - 8 deep=0 pad=0; - 16 deep=1 pad=0; "},
          Case{oldPremiere, Depth::k8, 0,
               "- 8 deep=0 pad=0; - 8 deep=0 pad=0; - 16 deep=1 pad=0; "}}) {
        HostOptions options;
        options.identity = c.identity;
        options.rowPaddingBytes = c.padding;
        Host host(PROBE_EFFECT, options);
        CommandResult const result = renderReport(host, kReportImages, {}, c.depth);
        EXPECT_EQ(result.message, c.text);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.outstanding, Outstanding{});
    }
    HostOptions options;
    options.identity = kOldHost;
    EXPECT_THROW(Host(PROBE_EFFECT, options).worldSpec(1, 1, Depth::kFloat), HostError);
    options.offerSuites = false;
    Host host(PROBE_EFFECT, options);
    EXPECT_EQ(renderReport(host, kReportImages).code, 0) << "no suites at all";
    EXPECT_EQ(host.monitor().count("AcquireSuite PF World Suite 2"), 0);
}

TEST(HostCommands, RefuseImagesOfAnotherLayout) {
    HostOptions options;
    options.identity = {kAppPremierePro, {13, 27}};
    Host host(PROBE_EFFECT, options);
    World argb({4, 4}), bgra(host.worldSpec(4, 4, Depth::k8)),
        small(host.worldSpec(3, 4, Depth::k8)), deep(host.worldSpec(4, 4, Depth::k16)), none;
    EXPECT_EQ(host.render(bgra, bgra, {}).code, 0) << "one image may be both";
    for (World* output : {&argb, &small, &deep, &none})
        EXPECT_THROW(host.render(bgra, *output, {}), HostError);
    FrameRequest frame;
    frame.downsample = 0;
    EXPECT_THROW(host.render(bgra, bgra, frame), HostError);
}

}  // namespace
}  // namespace zelk
