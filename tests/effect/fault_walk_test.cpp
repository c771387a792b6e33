// Every command with every host call failing in turn: the command is run once to count its calls,
// then once for each call with that one refused. Each time the code is the documented one, the
// host's count says that nothing was kept, the output is as told, and the next run is right.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"

namespace {

using zelk::CommandResult;
using zelk::Depth;
using zelk::Host;
using zelk::World;

constexpr PF_Err kFault = 77;
constexpr int kWidth = 9, kHeight = 7;

enum class Kind { kSetUp, kAbout, kPreRender, kSmart, kPlain };

struct Scenario {
    char const* name;
    Kind kind;
    Depth depth = Depth::k8;
    int grow = 0;
    int transferEntry = 1;  ///< of the popup; 1 is None
    zelk::HostIdentity identity = zelk_test::kModernAE;
    bool isSoftBlur = false;  ///< Super Sample, and motion blur of 2 samples
};

constexpr Scenario kScenarios[] = {
    {"set-up", Kind::kSetUp},
    {"about", Kind::kAbout},
    {"pre-render", Kind::kPreRender, Depth::k16, 3},
    {"smart 8", Kind::kSmart},
    {"smart 16", Kind::kSmart, Depth::k16},
    {"smart float", Kind::kSmart, Depth::kFloat},
    {"smart 8, older host", Kind::kSmart, Depth::k8, 0, 5, zelk_test::kOlderAE},
    {"smart 8, grown", Kind::kSmart, Depth::k8, 3},
    {"smart 8, Add", Kind::kSmart, Depth::k8, 0, 5},
    {"smart 8, Super, blur", Kind::kSmart, Depth::k8, 0, 1, zelk_test::kModernAE, true},
    {"smart float, all", Kind::kSmart, Depth::kFloat, 3, 5, zelk_test::kModernAE, true},
    {"plain 8", Kind::kPlain},
    {"plain 16, Hue", Kind::kPlain, Depth::k16, 0, 20},
    {"plain float, Add", Kind::kPlain, Depth::kFloat, 0, 5},
    {"smart BGRA, Add, grown", Kind::kSmart, Depth::k8, 3, 5, zelk_test::kModernPremiere},
    {"plain BGRA, Add", Kind::kPlain, Depth::k8, 0, 5, zelk_test::kModernPremiere},
};

/// One run of a scenario's command, and what stood in the output afterwards.
struct Outcome {
    CommandResult command;
    std::vector<std::byte> pixels;
    PF_LRect rect{};
};

zelk::HostOptions dirtyOptions(zelk::HostIdentity identity) {
    zelk::HostOptions options = zelk_test::optionsOf(identity);
    options.dirtyNewWorlds = true;  // so that a refused fill shows
    return options;
}

class Walk {
public:
    explicit Walk(Scenario const& scenario)
        : m_scenario(scenario),
          m_host(Host::loadOnly(ZELK_MODULE, dirtyOptions(scenario.identity))),
          m_layer(m_host->worldSpec(kWidth, kHeight, scenario.depth)) {
        zelk_test::fillRandom(m_layer, 7);
        if (scenario.kind == Kind::kSetUp) return;
        m_host->globalSetup();
        m_host->paramsSetup();
        m_host->resetParameters(kWidth, kHeight);
        zelk_test::setPin(*m_host, kParamToUpperLeft, 1.25, -1.5);
        zelk_test::setControl(*m_host, kParamGrowBounds, scenario.grow);
        zelk_test::setControl(*m_host, kParamTransferMode, scenario.transferEntry);
        zelk_test::setControl(*m_host, kParamSourceOpacity, 50);
        for (int i = 0; scenario.isSoftBlur && i < 4; ++i) {
            constexpr std::pair<int, int> kSoftBlur[] = {{kParamQuality, 4},
                                                         {kParamSuperSampleEdge, 1},
                                                         {kParamMotionBlur, 2},
                                                         {kParamSamples, 2}};
            zelk_test::setControl(*m_host, kSoftBlur[i].first, kSoftBlur[i].second);
            zelk_test::setPin(*m_host, kParamToUpperLeft + i,  // a quarter of the layer
                              1 + i % 2 * kWidth / 4.0, 1 + i / 2 * kHeight / 4.0);
        }
        if (scenario.kind == Kind::kSmart)
            m_agreed = m_host->preRender(&m_layer, scenario.depth, {});
    }
    zelk::CallMonitor& monitor() { return m_host->monitor(); }

    Outcome run() {
        monitor().restart();
        if (m_scenario.kind == Kind::kAbout) return {m_host->about(), {}, {}};
        if (m_scenario.kind == Kind::kSetUp) {
            CommandResult const global = m_host->globalSetup();
            if (global.code) return {global, {}, {}};
            Outcome const result = {m_host->paramsSetup(), {}, {}};
            monitor().clearFaults();
            m_host->globalSetdown();
            return result;
        }
        if (m_scenario.kind == Kind::kPreRender) {
            auto const agreed = m_host->preRender(&m_layer, m_scenario.depth, {});
            return {agreed.command, {}, agreed.resultRect};
        }
        bool const isSmart = m_scenario.kind == Kind::kSmart;
        World output = isSmart ? m_host->outputFor(m_agreed) : World(m_layer.spec());
        for (int y = 0; y < output.height(); ++y)
            std::fill_n(output.row(y), output.rowBytes(), kStale);
        CommandResult const command = isSmart ? m_host->smartRender(&m_layer, output, m_agreed, {})
                                              : m_host->render(m_layer, output, {});
        return {command, zelk_test::pixelsOf(output), {}};
    }

    /// What an output holds before a run.
    static constexpr std::byte kStale{0x5A};

private:
    Scenario m_scenario;
    std::unique_ptr<Host> m_host;
    World m_layer;
    zelk::PreRenderResult m_agreed;
};

/// Calls that give something back: the host takes it, whatever it answers.
bool givesBack(std::string const& call) {
    return call.starts_with("ReleaseSuite") || call.ends_with("DisposeWorld") ||
           call == "dispose_world" || call == "checkin_param" || call == "host_unlock_handle";
}

bool isAll(std::vector<std::byte> const& pixels, std::byte value) {
    return std::all_of(pixels.begin(), pixels.end(), [=](std::byte b) { return b == value; });
}

enum class Picture { kNone, kRight, kCleared, kUntouched, kAny };

/// How a command ends when the n-th call of a name is refused.
struct Ending {
    PF_Err code = PF_Err_NONE;
    Picture picture = Picture::kRight;
};

/// The rules of docs/host-calls.md. `last` is how often the name is called without a fault.
Ending endingOf(Scenario const& s, std::string const& call, int nth, int last) {
    bool const isGrown = s.kind == Kind::kSmart && s.grow > 0;
    bool const isDrawing = s.kind == Kind::kSmart || s.kind == Kind::kPlain;
    const Picture early = isDrawing ? Picture::kUntouched : Picture::kNone;
    const Picture whole = isDrawing ? Picture::kRight : Picture::kNone;
    int const ownImages = isGrown ? 2 : 0;  // the expanded layer and the target come first
    bool const isBlend = s.transferEntry != 1;
    constexpr int kControls = 62;  // of the smart commands; further ones are read at samples' times
    if (call == "checkout_param" && isDrawing && nth > kControls)
        return {kFault, Picture::kCleared};
    if (call == "checkin_param" && s.isSoftBlur && nth <= last - kControls)
        return {kFault, Picture::kCleared};
    if (call == "checkout_param" || call == "checkout_layer" || call == "checkout_layer_pixels" ||
        call == "checkout_output" || call == "add_param" || call == "register_ui")
        return {kFault, early};
    int const allImages = ownImages + (s.isSoftBlur ? 4 : 2);  // then those of blurs and blend
    if (call == "fill" && isGrown && nth == last) return {kFault, Picture::kRight};
    if (call.ends_with("NewWorld") || call == "new_world" || call == "fill")
        return {kFault, nth <= ownImages  ? Picture::kUntouched
                        : nth > allImages ? Picture::kAny
                                          : Picture::kCleared};
    if (call == "transfer_rect") return {kFault, Picture::kAny};
    if (call == "copy") {  // expand; working copy, whose code is not kept; blend; bring out
        if (isGrown && nth == 1) return {kFault, Picture::kUntouched};
        if (isGrown && nth == last) return {kFault, Picture::kCleared};
        if (nth == (isGrown ? 2 : 1))
            return {PF_Err_NONE, isBlend ? Picture::kAny : Picture::kCleared};
        return {kFault, Picture::kAny};
    }
    if (call.ends_with("GetPixelFormat"))
        return {kFault, isGrown && nth == 1 ? Picture::kUntouched : Picture::kCleared};
    if (call == "AcquireSuite PF World Suite 2" && isDrawing) {
        bool const isPremiere = s.identity.applId == kAppPremierePro;
        if ((s.depth == Depth::kFloat || isPremiere) && isGrown) return {516, Picture::kUntouched};
        if (s.depth == Depth::kFloat) return {1, Picture::kCleared};
        if (isPremiere) return {516, Picture::kCleared};
    }
    return {PF_Err_NONE, whole};
}

Picture pictureOf(Outcome const& got, Outcome const& right) {
    if (got.pixels.empty()) return Picture::kNone;
    if (got.pixels == right.pixels) return Picture::kRight;
    if (isAll(got.pixels, std::byte{0})) return Picture::kCleared;
    return isAll(got.pixels, Walk::kStale) ? Picture::kUntouched : Picture::kAny;
}

TEST(FaultWalk, EveryCallOfEveryCommandRefused) {
    for (Scenario const& scenario : kScenarios) {
        SCOPED_TRACE(scenario.name);
        Walk walk(scenario);
        const Outcome right = walk.run();
        ASSERT_EQ(right.command.code, 0);
        ASSERT_EQ(right.command.outstanding.describe(), "nothing");
        const std::vector<std::string> log = walk.monitor().log();
        std::map<std::string, int> counts, nth;
        for (std::string const& call : log) ++counts[call];
        for (std::string const& call : log) {
            int const n = ++nth[call];
            const Ending want = endingOf(scenario, call, n, counts[call]);
            walk.monitor().inject({call, n, kFault, givesBack(call)});
            testing::internal::CaptureStdout();
            const Outcome got = walk.run();
            // The smart render's own images, and the frames that it is refused.
            bool const isTold = scenario.kind == Kind::kSmart && call != "checkout_param" &&
                                want.picture == Picture::kUntouched;
            EXPECT_EQ(testing::internal::GetCapturedStdout(), isTold ? "Error\n" : "");
            EXPECT_EQ(walk.monitor().faultsAnswered(), 1) << call << " " << n;
            walk.monitor().clearFaults();
            bool const keeps = !(got.command.outstanding == zelk::Outstanding{});
            // A pre-render's rectangle depends on the controls, not on the layer.
            const A_long edge = call == "checkout_param" ? 0 : right.rect.right;
            bool const isWrong =
                got.command.code != want.code || got.rect.right != edge ||
                (want.picture != Picture::kAny && pictureOf(got, right) != want.picture);
            EXPECT_FALSE(keeps || isWrong)
                << call << " " << n << ": code " << got.command.code << ", picture "
                << int(pictureOf(got, right)) << ", kept " << got.command.outstanding.describe();
            const Outcome next = walk.run();
            EXPECT_EQ(next.command.code, 0);
            EXPECT_EQ(next.pixels, right.pixels) << "after " << call << " " << n;
        }
    }
}

}  // namespace
