// What the host answers, logs, counts and refuses while an effect calls it.
#include <regex>
#include <thread>

#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace {

/// What an effect holds between two of its calls.
struct Effect {
    ProbeCall const& call;
    PF_InData& in = *call.in_data;
    PF_UtilCallbacks const& utils = *in.utils;
    PF_ProgPtr ref = in.effect_ref;
    PF_EffectWorld world{};
    PF_ParamDef def{};
    PF_Handle handle = nullptr;
    void const* suite = nullptr;
    char text[16] = "";
    PF_PixelFormat format = 0;
    PF_PixelFloat color{};
    PF_Pixel8* bytes = nullptr;
    PF_Pixel16* words = nullptr;

    PF_Err transfer(PF_EffectWorld* from, PF_EffectWorld* to, PF_CompositeMode const* mode,
                    PF_MaskWorld const* mask = nullptr) const {
        return utils.transfer_rect(ref, 1, 1, 0, nullptr, from, mode, mask, 1, 0, to);
    }
    PF_Err transform(PF_EffectWorld* from, PF_EffectWorld* to, PF_CompositeMode const* mode,
                     PF_MaskWorld const* mask = nullptr, A_long matrices = 1,
                     PF_FloatMatrix const& m = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}) const {
        return utils.transform_world(ref, 1, 1, 0, from, mode, mask, &m, matrices, 1, nullptr, to);
    }
    auto const& worlds() const { return *static_cast<PF_WorldSuite2 const*>(suite); }
    auto const& colors() const { return *static_cast<PF_ColorParamSuite1 const*>(suite); }
};

constexpr PF_Pixel kRed = {255, 200, 0, 0};
constexpr PF_CompositeMode kNormal = {PF_Xfer_IN_FRONT, 0, 255, 0, 32768};
constexpr PF_Rect kCorner = {0, 0, 1, 1};
constexpr PF_FloatMatrix kSingular = {{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
constexpr int kNoMode = -2;
constexpr A_long kWorlds = kPFWorldSuiteVersion2, kColors = kPFColorParamSuiteVersion1;

/// A tidy effect that makes every call: goes on tidying up after a failure, and answers the first.
PF_Err useEverything(ProbeCall const& call) {
    Effect e{call};
    PF_EffectWorld *const layer = &call.params[0]->u.ld, *const output = call.output;
    auto const [acquire, release] = *e.in.pica_basicP;
    PF_Err first = PF_Err_NONE;
    auto const works = [&first](PF_Err err) {
        if (!first) first = err;
        return err == PF_Err_NONE;
    };
    auto const gives = [&](void const* pointer) {
        return works(pointer ? PF_Err_NONE : PF_Err_OUT_OF_MEMORY);
    };
    if (works(acquire(kPFWorldSuite, kWorlds, &e.suite))) {
        PF_WorldSuite2 const& suite = e.worlds();
        if (works(suite.PF_NewWorld(e.ref, 4, 4, 0, PF_PixelFormat_ARGB128, &e.world))) {
            works(suite.PF_GetPixelFormat(&e.world, &e.format));
            works(suite.PF_DisposeWorld(e.ref, &e.world));
        }
        works(release(kPFWorldSuite, kWorlds));
    }
    if (works(acquire(kPFColorParamSuite, kColors, &e.suite))) {
        e.def.param_type = PF_Param_COLOR;
        works(e.colors().PF_GetFloatingPointColorFromColorDef(e.ref, &e.def, &e.color));
        works(release(kPFColorParamSuite, kColors));
    }
    if (works(e.utils.new_world(e.ref, 5, 4, 0, &e.world))) {
        works(e.utils.copy(e.ref, layer, &e.world, nullptr, nullptr));
        works(e.utils.fill(e.ref, &kRed, &kCorner, &e.world));
        works(e.transfer(&e.world, output, &kNormal));
        works(e.transform(&e.world, output, &kNormal));
        works(e.utils.get_pixel_data8(&e.world, nullptr, &e.bytes));
        works(e.utils.get_pixel_data16(&e.world, nullptr, &e.words));
        works(e.utils.dispose_world(e.ref, &e.world));
    }
    if (gives(e.handle = e.utils.host_new_handle(100))) {
        if (gives(e.utils.host_lock_handle(e.handle))) e.utils.host_unlock_handle(e.handle);
        e.utils.host_dispose_handle(e.handle);
    }
    if (works(e.in.inter.checkout_param(e.ref, 0, 0, 1, 1, &e.def)))
        works(e.in.inter.checkin_param(e.ref, &e.def));
    works(e.in.inter.progress(e.ref, 1, 2));
    works(e.in.inter.abort(e.ref));
    gives(e.utils.ansi.strcpy(e.text, "abc"));
    int const length = e.utils.ansi.sprintf(e.text, "%d %s", 42, "x");
    works(length == 4 && !std::strcmp(e.text, "42 x") ? PF_Err_NONE : length);
    return first;
}

constexpr char kCalls[] =
    "AcquireSuite PF World Suite 2|PF World Suite 2/PF_NewWorld|PF World Suite 2/PF_GetPixelFormat|"
    "PF World Suite 2/PF_DisposeWorld|ReleaseSuite PF World Suite 2|"
    "AcquireSuite PF ColorParamSuite 1|"
    "PF ColorParamSuite 1/PF_GetFloatingPointColorFromColorDef|"
    "ReleaseSuite PF ColorParamSuite 1|new_world|copy|fill|transfer_rect|transform_world|"
    "get_pixel_data8|get_pixel_data16|dispose_world|host_new_handle|host_lock_handle|"
    "host_unlock_handle|host_dispose_handle|checkout_param|checkin_param|progress|abort|strcpy|"
    "sprintf|";

/// Calls whose refusal leaves something with the effect, and those that can't tell of theirs.
constexpr char kGiveBack[] =
    "DisposeWorld|ReleaseSuite|dispose_world|host_dispose_handle|checkin_param";
constexpr char kVoid[] = "host_unlock_handle|host_dispose_handle";

bool matches(std::string const& call, char const* pattern) {
    return std::regex_search(call, std::regex(pattern));
}

class EffectCalls : public testing::Test {
protected:
    EffectCalls() {
        host.paramsSetup([](ProbeCall const&) -> PF_Err { return 0; });
        host->monitor().restart();
    }
    zelk::CommandResult render(ProbeBody const& body) {
        return host.renderAt(zelk::Depth::k8, body);
    }
    ProbeHost host{kModernAE};
};

TEST_F(EffectCalls, FailOneByOne) {
    zelk::CallMonitor& monitor = host->monitor();
    EXPECT_EQ(render(useEverything).code, 0);
    std::string calls;
    for (std::string const& call : std::vector(monitor.log())) {
        calls += call + "|";
        monitor.restart();
        monitor.clearFaults();
        monitor.inject({call, 1, 77});
        auto const result = render(useEverything);
        EXPECT_EQ(monitor.faultsAnswered(), 1) << call;
        EXPECT_EQ(result.code == 0, matches(call, kVoid)) << call << " " << result.code;
        EXPECT_EQ(result.outstanding.describe() != "nothing", matches(call, kGiveBack)) << call;
    }
    EXPECT_EQ(calls, kCalls);
}

TEST_F(EffectCalls, LeaksAreCountedForTheirCommand) {
    auto const leak = [](ProbeCall const& call) -> PF_Err {
        Effect e{call};
        static PF_EffectWorld world;
        e.utils.new_world(e.ref, 2, 2, 0, &world);
        e.utils.new_world(e.ref, 2, 2, 0, &world);
        e.utils.host_lock_handle(e.utils.host_new_handle(0));
        e.in.pica_basicP->AcquireSuite(kPFColorParamSuite, kColors, &e.suite);
        return e.in.inter.checkout_param(e.ref, 0, 0, 1, 1, &e.def);
    };
    for (int nth = 0; nth < 2; ++nth) {
        EXPECT_EQ(render(leak).outstanding.describe(),
                  "2 worlds, 1 handle, 1 handle lock, 1 suite, 1 parameter");
        EXPECT_EQ(render(useEverything).outstanding.describe(), "nothing");
    }
    EXPECT_EQ(host->monitor().outstanding.describe(),
              "4 worlds, 2 handles, 2 handle locks, 2 suites, 2 parameters");
}

TEST_F(EffectCalls, BadOnesAreAnsweredAndMistakesNoted) {
    PF_InteractCallbacks late{};
    PF_ProgPtr lateRef = nullptr;
    auto const result = render([&](ProbeCall const& call) -> PF_Err {
        Effect e{call};
        late = e.in.inter;
        lateRef = e.ref;
        PF_EffectWorld unknown{}, made{}, deep{}, shrunk = *call.output;
        --shrunk.width;
        PF_ParamDef point{};
        point.param_type = PF_Param_POINT;
        auto const acquire = e.in.pica_basicP->AcquireSuite;
        acquire(kPFColorParamSuite, kColors, &e.suite);
        auto const convert = e.colors().PF_GetFloatingPointColorFromColorDef;
        acquire(kPFWorldSuite, kWorlds, &e.suite);
        PF_WorldSuite2 const worlds = e.worlds();
        e.utils.new_world(e.ref, 2, 2, PF_NewWorldFlag_DEEP_PIXELS, &made);
        PF_EffectWorld stale = made;
        e.utils.new_world(e.ref, 5, 4, PF_NewWorldFlag_DEEP_PIXELS, &deep);
        PF_Err onThread = 0;
        std::thread([&] { onThread = e.in.inter.progress(e.ref, 0, 1); }).join();
        PF_Err const refusals[] = {
            onThread, e.utils.fill(nullptr, nullptr, nullptr, call.output),
            e.in.inter.abort(reinterpret_cast<PF_ProgPtr>(&unknown)),
            e.utils.fill(e.ref, nullptr, nullptr, nullptr),
            e.utils.fill(e.ref, nullptr, nullptr, &unknown),
            e.utils.fill(e.ref, nullptr, nullptr, &shrunk),
            e.utils.copy(e.ref, nullptr, call.output, nullptr, nullptr),
            e.utils.copy(e.ref, &made, call.output, nullptr, nullptr),
            e.utils.new_world(e.ref, 1, 1, 0, nullptr),
            e.utils.new_world(e.ref, 32768, 1, 0, &unknown),
            e.utils.get_pixel_data8(nullptr, nullptr, &e.bytes),
            e.utils.get_pixel_data16(call.output, nullptr, nullptr),
            worlds.PF_GetPixelFormat(call.output, nullptr),
            worlds.PF_NewWorld(e.ref, 1, 1, 0, 0, &unknown), convert(e.ref, &point, &e.color),
            e.in.inter.checkout_param(e.ref, 0, 0, 1, 1, nullptr),
            e.in.inter.add_param(e.ref, -1, &point), e.in.inter.register_ui(e.ref, nullptr),
            acquire(nullptr, 2, &e.suite), acquire(kPFWorldSuite, 2, nullptr),
            acquire(kPFWorldSuite, 1, &e.suite),
            e.transform(call.output, call.output, &kNormal, nullptr, 2),
            e.transform(call.output, call.output, &kNormal, nullptr, 1, kSingular),
            // From here on each is a mistake that the host notes.
            e.in.inter.checkin_param(e.ref, &point), e.utils.dispose_world(e.ref, call.output),
            e.utils.dispose_world(e.ref, &made) ? 0 : e.utils.dispose_world(e.ref, &made),
            worlds.PF_DisposeWorld(e.ref, &stale),
            e.in.pica_basicP->ReleaseSuite(kPFWorldSuite, 1)};
        for (std::size_t i = 0; i < std::size(refusals); ++i)
            EXPECT_EQ(refusals[i], PF_Err_BAD_CALLBACK_PARAM) << i;
        const auto refuses = [&](PF_EffectWorld* from, PF_EffectWorld* to, int mode,
                                 PF_MaskWorld const* mask = nullptr) {
            PF_CompositeMode const record = {static_cast<PF_Xfer_Mode>(mode), 0, 255, 0, 32768};
            PF_CompositeMode const* const given = mode == kNoMode ? nullptr : &record;
            return e.transfer(from, to, given, mask) == PF_Err_BAD_CALLBACK_PARAM &&
                   e.transform(from, to, given, mask) == PF_Err_BAD_CALLBACK_PARAM;
        };
        PF_MaskWorld const mask{};
        EXPECT_TRUE(refuses(&shrunk, call.output, 2) && refuses(call.output, &shrunk, 2));
        EXPECT_TRUE(refuses(&deep, call.output, 2) && refuses(nullptr, call.output, 2));
        EXPECT_TRUE(refuses(call.output, call.output, 2, &mask));
        for (int mode : {kNoMode, -1, 3, 17, 22, 26, 35, 99})
            EXPECT_TRUE(refuses(call.output, call.output, mode)) << mode;
        EXPECT_EQ(e.utils.dispose_world(e.ref, &deep), 0);
        EXPECT_EQ(e.suite, nullptr);
        e.in.pica_basicP->ReleaseSuite(kPFColorParamSuite, kColors);
        e.in.pica_basicP->ReleaseSuite(kPFWorldSuite, kWorlds);
        e.utils.host_unlock_handle(nullptr);
        e.utils.host_dispose_handle(reinterpret_cast<PF_Handle>(&unknown));
        return 0;
    });
    EXPECT_EQ(late.progress(lateRef, 0, 1), PF_Err_BAD_CALLBACK_PARAM) << "no command runs";
    EXPECT_EQ(result.outstanding.describe(), "7 mistakes");
    EXPECT_EQ(host->monitor().mistakes(),
              (std::vector<std::string>{"checkin_param: not a parameter that was checked out",
                                        "dispose_world: not an image of the effect's",
                                        "dispose_world: not an image of the effect's",
                                        "PF_DisposeWorld: not an image of the effect's",
                                        "ReleaseSuite PF World Suite 1: not acquired",
                                        "host_unlock_handle: not a handle of the host's",
                                        "host_dispose_handle: not a handle of the host's"}));
}

TEST_F(EffectCalls, LongTextsAreCutAtTheirPlace) {
    std::string const text(1000, 'x');
    auto const result = render([&](ProbeCall const& call) -> PF_Err {
        Effect e{call};
        e.utils.ansi.sprintf(call.out_data->return_msg, "%s", text.c_str());
        e.utils.ansi.strcpy(call.out_data->return_msg + 10, text.c_str());
        return 0;
    });
    EXPECT_EQ(result.message, std::string(255, 'x'));
    EXPECT_EQ(result.outstanding.describe(), "2 mistakes");
}

TEST_F(EffectCalls, ExceptionsOfAnEffectEndAsHostError) {
    EXPECT_THROW(render([](ProbeCall const&) -> PF_Err { throw 516; }), zelk::HostError);
    EXPECT_EQ(render(useEverything).code, 0) << "the host goes on";
}

}  // namespace
