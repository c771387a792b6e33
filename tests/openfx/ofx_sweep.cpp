#include "tests/openfx/ofx_sweep.h"

#include <fmt/format.h>

#include "tests/openfx/ofx_picture.h"

namespace zelk_ofx {

void setPins(Instance& instance, std::array<double, 8> const& pins) {
    char const* const names[] = {"to-upper-left", "to-upper-right", "to-lower-left",
                                 "to-lower-right"};
    for (int i = 0; i < 4; ++i) instance.set(names[i], {{pins[2 * i], pins[2 * i + 1]}, ""});
}

namespace {

constexpr OfxRectI kFrame = {0, 0, 32, 24};
constexpr std::array<double, 8> kPins = {3, 22, 30, 20, 2, 3, 28, 1};
enum Stage { kDescribe, kCreate, kRender, kOverlay, kImport };
constexpr char const* kStageNames[] = {"describe", "create", "render", "overlay", "import"};

struct Outcome {
    bool refused = false, wrongFrame = false;
    long calls = 0;
    std::vector<std::string> leaks, broken;
    std::vector<unsigned char> frame;
    std::string struck;
};

// One life of the plug-in, with the fault within one stage; `right` is what the frame must be,
// empty for the run that finds it out.
Outcome run(SweepPlace const& place, HostChoice const& choice, Stage stage, Fault const& fault,
            std::vector<unsigned char> const& right) {
    Outcome outcome;
    PictureBuffer source(kFrame), output(kFrame);
    source.fill([](int x, int y, int c) { return (x * 7 + y * 13 + c * 29) % 32 / 31.0; });
    RenderCall const call{.output = output.view(), .window = kFrame};
    Host host(choice, place.binary);
    // What happens in the stage runs under the fault.
    auto const within = [&](Stage now, auto work) {
        if (now == stage) host.setFault(fault);
        bool const done = work();
        if (now == stage) {
            outcome.calls = host.calls();
            outcome.struck = host.struck();
            outcome.refused = !done;
            host.setFault({});
        }
        return done;
    };
    auto const frameIs = [&](bool done) {
        if (!done) return;
        outcome.frame = output.bytes(kFrame);
        outcome.wrongFrame |= !right.empty() && outcome.frame != right;
    };
    auto const life = [&] {
        outcome.refused =
            !within(kDescribe, [&] { return good(host.prepare(kOfxImageEffectContextFilter)); });
        if (outcome.refused) return;
        std::unique_ptr<Instance> instance;
        Project const project{.size = {32, 24}};
        within(kCreate, [&] {
            instance = host.create(kOfxImageEffectContextFilter, {{"Source", still(source.view())}},
                                   project);
            return instance != nullptr;
        });
        if (!instance) return;
        setPins(*instance, kPins);
        frameIs(within(kRender, [&] { return good(instance->render(call)); }));
        // Whatever went wrong in a frame must not harm the next.
        output.clear();
        frameIs(good(instance->render(call)));
        if (stage < kOverlay) return;
        // The destroy actions are outside: without the host's properties nothing is found to free.
        std::unique_ptr<Overlay> shown;
        within(kOverlay, [&] {
            shown = std::make_unique<Overlay>(*instance);
            Overlay& overlay = *shown;
            std::vector<DrawOp> ops;
            bool const done = good(overlay.status()) && good(overlay.draw(ops));
            overlay.pen(kOfxInteractActionPenMotion, {3, 22});
            overlay.pen(kOfxInteractActionPenDown, {3, 22});
            overlay.key(kOfxInteractActionKeyDown, kOfxKey_Shift_L);
            overlay.pen(kOfxInteractActionPenMotion, {5, 20});
            overlay.pen(kOfxInteractActionPenUp, {5, 20});
            return done;
        });
        shown.reset();
        if (stage < kImport) return;
        within(kImport, [&] {
            instance->set("track-file", {{}, place.trackFile});
            return good(instance->changed("load-to-pins"));
        });
    };
    try {
        life();
    } catch (std::exception const& e) {
        host.violate(e.what());
    }
    host.unload();
    outcome.leaks = host.leaks;
    outcome.broken = host.violations;
    outcome.broken.insert(outcome.broken.end(), host.misses.begin(), host.misses.end());
    return outcome;
}

void count(SweepRow& row, Outcome const& outcome, std::string const& which) {
    ++row.runs;
    row.refused += outcome.refused;
    row.leaks += !outcome.leaks.empty();
    row.wrongFrames += outcome.wrongFrame;
    row.broken += !outcome.broken.empty();
    if (!row.first.empty()) return;
    if (outcome.wrongFrame) row.first = which + ": wrong frame";
    if (!outcome.leaks.empty()) row.first = which + ": kept " + outcome.leaks[0];
    if (!outcome.broken.empty()) row.first = which + ": " + outcome.broken[0];
}

}  // namespace

std::vector<SweepRow> sweepSuites(SweepPlace const& place) {
    HostChoice const whole = hostChoice("tree_with_draw_suite");
    Outcome const plain = run(place, whole, kImport, {}, {});
    std::vector<SweepRow> rows = {{.what = "nothing refused"}};
    count(rows[0], plain, "all suites");
    for (char const* suite : {"OfxPropertySuite 1", "OfxImageEffectSuite 1", "OfxParameterSuite 1",
                              "OfxMemorySuite 1", "OfxMultiThreadSuite 1", "OfxMessageSuite 1",
                              "OfxMessageSuite 2", "OfxInteractSuite 1", "OfxDrawSuite 1"}) {
        HostChoice choice = whole;
        choice.refusedSuite = suite;
        SweepRow& row = rows.emplace_back(SweepRow{.what = std::string("without ") + suite});
        count(row, run(place, choice, kImport, {}, plain.frame), suite);
    }
    return rows;
}

std::vector<SweepRow> sweepCalls(SweepPlace const& place, bool byTurns) {
    constexpr std::pair<OfxStatus, char const*> kStatuses[] = {{kOfxStatFailed, "Failed"},
                                                               {kOfxStatErrMemory, "Memory"},
                                                               {kOfxStatErrBadHandle, "BadHandle"}};
    HostChoice const choice = hostChoice("tree_with_draw_suite");
    std::vector<SweepRow> rows;
    for (Stage const stage : {kDescribe, kCreate, kRender, kOverlay, kImport}) {
        Outcome const plain = run(place, choice, stage, {}, {});
        for (int kind = 0; kind < (byTurns ? 1 : 3); ++kind) {
            char const* const name = byTurns ? "one of three" : kStatuses[kind].second;
            SweepRow& row = rows.emplace_back(
                SweepRow{.what = fmt::format("{}, call n answers {}", kStageNames[stage], name),
                         .calls = plain.calls});
            for (long n = 1; n <= plain.calls; ++n) {
                auto const& [status, word] = kStatuses[byTurns ? n % 3 : kind];
                Outcome outcome =
                    run(place, choice, stage, {.nth = n, .status = status}, plain.frame);
                // Failed means that there is no such picture: black and transparent, it is.
                if (status == kOfxStatFailed && outcome.struck.starts_with("clipGetImage"))
                    outcome.wrongFrame = false;
                count(row, outcome,
                      fmt::format("{}: {} answers {}", kStageNames[stage], outcome.struck, word));
            }
        }
    }
    return rows;
}

}  // namespace zelk_ofx
