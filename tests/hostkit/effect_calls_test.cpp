// What the host counts, logs and refuses while an effect calls it.
#include <gtest/gtest.h>

#include <map>

#include "hostkit/host.h"
#include "tests/hostkit/probe_effect.h"

namespace zelk {
namespace {

class EffectCalls : public testing::Test {
protected:
    explicit EffectCalls(HostOptions const& options = {}) : host(PROBE_EFFECT, options) {
        host.resetParameters(8, 6);
        host.monitor().restart();
    }
    CommandResult render(ProbeReport which) {
        setNumber(host.parameters().at(kProbeReport).current, which);
        return host.render(input, output, {});
    }

    Host host;
    World input{host.worldSpec(8, 6, Depth::k8)}, output{host.worldSpec(8, 6, Depth::k8)};
};

TEST_F(EffectCalls, AreLoggedInOrder) {
    input.row(1)[4] = std::byte{77};
    CommandResult const result = render(kReportUseEverything);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.message, "green=0.078431");  // 20 / 255
    EXPECT_EQ(host.monitor().log(),
              (std::vector<std::string>{"AcquireSuite PF World Suite 2",
                                        "PF World Suite 2/PF_NewWorld",
                                        "PF World Suite 2/PF_GetPixelFormat",
                                        "PF World Suite 2/PF_DisposeWorld",
                                        "ReleaseSuite PF World Suite 2",
                                        "AcquireSuite PF ColorParamSuite 1",
                                        "PF ColorParamSuite 1/PF_GetFloatingPointColorFromColorDef",
                                        "ReleaseSuite PF ColorParamSuite 1",
                                        "new_world",
                                        "copy",
                                        "fill",
                                        "copy",
                                        "get_pixel_data8",
                                        "get_pixel_data16",
                                        "dispose_world",
                                        "host_new_handle",
                                        "host_lock_handle",
                                        "host_unlock_handle",
                                        "host_dispose_handle",
                                        "checkout_param",
                                        "checkin_param",
                                        "progress",
                                        "abort",
                                        "strcpy",
                                        "sprintf"}));
    EXPECT_EQ(output.row(0)[1], std::byte{200}) << "filled corner";
    EXPECT_EQ(output.row(1)[4], std::byte{77}) << "copied input";
}

/// Each call of a tidy effect fails once: the command answers that code, and nothing is kept but
/// what the failing call itself should have taken back.
TEST_F(EffectCalls, FailOneByOne) {
    std::map<std::string, char const*> const kKeptWhenFailing = {
        {"PF World Suite 2/PF_DisposeWorld", "1 world"},
        {"ReleaseSuite PF World Suite 2", "1 suite"},
        {"ReleaseSuite PF ColorParamSuite 1", "1 suite"},
        {"dispose_world", "1 world"},
        {"host_dispose_handle", "1 handle"},
        {"checkin_param", "1 parameter"}};
    std::map<std::string, PF_Err> const kOtherCode = {{"host_new_handle", PF_Err_OUT_OF_MEMORY},
                                                      {"host_lock_handle", PF_Err_OUT_OF_MEMORY},
                                                      {"strcpy", PF_Err_OUT_OF_MEMORY},
                                                      {"host_unlock_handle", PF_Err_NONE},
                                                      {"host_dispose_handle", PF_Err_NONE}};
    render(kReportUseEverything);
    std::vector<std::string> const calls = host.monitor().log();
    ASSERT_GT(calls.size(), 20u);
    std::map<std::string, int> seen;
    for (std::string const& name : calls) {
        CallMonitor& monitor = host.monitor();
        monitor.restart();
        monitor.clearFaults();
        monitor.inject({name, ++seen[name], 77});
        CommandResult const result = render(kReportUseEverything);
        EXPECT_EQ(monitor.faultsAnswered(), 1) << name;
        auto const code = kOtherCode.find(name);
        EXPECT_EQ(result.code, code == kOtherCode.end() ? 77 : code->second) << name;
        auto const kept = kKeptWhenFailing.find(name);
        EXPECT_EQ(result.outstanding.describe(),
                  kept == kKeptWhenFailing.end() ? "nothing" : kept->second)
            << name;
    }
}

TEST_F(EffectCalls, SuiteMayComeInSpiteOfItsStatus) {
    host.monitor().inject({"AcquireSuite PF World Suite 2", 1, 9, true});
    CommandResult const result = render(kReportUseEverything);
    EXPECT_EQ(result.code, 9);
    EXPECT_EQ(host.monitor().count("PF World Suite 2/PF_NewWorld"), 1);
    EXPECT_EQ(result.outstanding, Outstanding{});
}

TEST_F(EffectCalls, LeaksAreCountedForTheirCommand) {
    char const* const kLeak = "2 worlds, 1 handle, 1 handle lock, 1 suite, 1 parameter";
    EXPECT_EQ(render(kReportLeak).outstanding.describe(), kLeak);
    EXPECT_EQ(render(kReportUseEverything).outstanding.describe(), "nothing");
    EXPECT_EQ(render(kReportLeak).outstanding.describe(), kLeak);
    EXPECT_EQ(host.monitor().outstanding.describe(),
              "4 worlds, 2 handles, 2 handle locks, 2 suites, 2 parameters");
}

TEST_F(EffectCalls, BadOnesAreAnsweredAndMistakesNoted) {
    CommandResult const result = render(kReportBadCalls);
    EXPECT_EQ(result.message, "wrong: ");
    EXPECT_EQ(result.outstanding.describe(), "8 mistakes");
    EXPECT_EQ(host.monitor().mistakes(),
              (std::vector<std::string>{"checkin_param: not a parameter that was checked out",
                                        "dispose_world: not an image of the effect's",
                                        "dispose_world: not an image of the effect's",
                                        "dispose_world: not an image of the effect's",
                                        "PF_DisposeWorld: not an image of the effect's",
                                        "ReleaseSuite PF World Suite 2: not acquired",
                                        "host_unlock_handle: not a handle of the host's",
                                        "host_dispose_handle: not a handle of the host's"}));
}

TEST_F(EffectCalls, LongTextsAreCutAtTheirPlace) {
    CommandResult const result = render(kReportLongText);
    EXPECT_EQ(result.message, std::string(255, 'x'));
    EXPECT_EQ(result.outstanding.describe(), "2 mistakes");
}

TEST_F(EffectCalls, ExceptionsOfAnEffectEndAsHostError) {
    EXPECT_THROW(render(kReportThrow), HostError);
    EXPECT_EQ(render(kReportUseEverything).code, 0) << "the host goes on";
}

class DirtyWorlds : public EffectCalls {
protected:
    static HostOptions dirty() {
        HostOptions options;
        options.dirtyNewWorlds = true;
        return options;
    }
    DirtyWorlds() : EffectCalls(dirty()) {}
};

TEST_F(DirtyWorlds, HoldRubbishUntilWritten) {
    host.monitor().inject({"copy", 1, PF_Err_NONE});  // claims success and copies nothing
    EXPECT_EQ(render(kReportUseEverything).code, 0);
    EXPECT_EQ(output.row(2)[5], std::byte{0x7F});
}

}  // namespace
}  // namespace zelk
