// A run over many frames, and what is told of it; see render_frames.h.
#include "zelk/sequence/render_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>

#include "zelk/files/standard_output.h"
#include "zelk/movies/writer.h"
#include "zelk/render/explanation.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/memory_release.h"
#include "zelk/render/setup.h"
#include "zelk/scene/invert.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/words.h"
#include "zelk/sequence/explained_frames.h"
#include "zelk/sequence/interrupt_flag.h"
#include "zelk/sequence/journal.h"
#include "zelk/sequence/output_folders.h"
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/progress.h"
#include "zelk/sequence/run_facts.h"
#include "zelk/sequence/run_tally.h"
#include "zelk/sequence/schedule.h"
#include "zelk/sequence/shared_frames.h"
#include "zelk/sequence/whole_frames.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

ProgressScreen screenOf(RunOptions const& run) {
    ProgressScreen screen = standardErrorScreen();
    if (!run.progressTo) return screen;
    screen.write = run.progressTo;
    screen.isTerminal = false;
    return screen;
}

/// What becomes of the frames: they are rendered, or only checked as far as that reads no pixels.
enum class Purpose { kRender, kPlan, kCheck };

/// Runs that share frames take what is whole for another one's work.
SkipExisting skipOf(RunOptions const& run) {
    bool const isImplied = run.isShared && run.skipExisting == SkipExisting::kNo;
    return isImplied ? SkipExisting::kWhole : run.skipExisting;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A frame on its way; without a picture it is not this run's to make.
template <class Picture>
struct Taken {
    std::optional<Picture> picture;
    FrameFacts facts;
    bool isLeft = false;  ///< another run has it; else one has written it
};
using TakenLoad = Taken<LoadedFrame>;
using TakenRender = Taken<RenderedFrame>;

class SequenceRun {
public:
    SequenceRun(Scene const& scene, RunOptions const& run, Purpose purpose, EventSink log)
        : m_scene(scene),
          m_run(run),
          m_purpose(purpose),
          m_isStill(!isSequence(scene)),
          m_isMovie(isMovieName(scene.outputPath())),
          m_mode(modeOf(run, m_isStill)),
          m_progress(shownMode(m_mode, purpose == Purpose::kRender), 0, screenOf(run),
                     std::move(log)),
          m_explained(run.explain, m_isStill),
          m_journal(purpose == Purpose::kRender) {
        m_tally.isRender = purpose == Purpose::kRender;
        m_tally.isMovie = m_isMovie;
    }

    /// Throws what ends the run before its last frame.
    ExitCode run();
    /// Whether an error that ended the run was told, and need not be any more.
    bool tellError(char const* message, ExitCode code);

private:
    void choose(FrameStages& renderer);
    [[noreturn]] void endAtMissing(SceneFiles const& files);
    void takeFrames(FrameStages& renderer);
    void runStages(FrameStages& renderer);
    PipelineResult runPass(FrameStages& renderer, std::vector<int> const& frames);
    void checkStages(FrameStages& renderer);
    std::vector<int> awaited(SceneFiles const& files);
    TakenLoad load(FrameStages& renderer, int frame);
    TakenRender render(FrameStages& renderer, int frame, TakenLoad&& loaded);
    void store(FrameStages& renderer, int frame, TakenRender&& rendered);
    void report(FrameStages& renderer, int frame, FrameFailure const* failure);
    void noteShared(int frame, std::filesystem::path const& file);
    void tellWarnings(FrameStages& renderer);
    void printPlan(SceneFiles const& files) const;
    void tellEnd();
    bool keepsJournal() const { return !m_isStill || skipOf(m_run) == SkipExisting::kWhole; }
    bool hasEvents() const { return !m_run.log.empty() || m_mode == ProgressMode::kJson; }
    bool isSilent() const {
        return m_mode == ProgressMode::kNone || m_mode == ProgressMode::kQuiet;
    }
    /// Whether a failure is the run's own error, in its one line.
    bool isFailureTheEnd() const { return m_isStill && isSilent(); }
    std::atomic<bool> const& stopFlag() const {
        return m_run.stop ? *m_run.stop : InterruptFlag::flag();
    }

    Scene const& m_scene;
    RunOptions const& m_run;
    Purpose m_purpose;
    bool m_isStill, m_isMovie;
    ProgressMode m_mode;
    Progress m_progress;
    Schedule m_schedule;
    RunTally m_tally;
    Explanation m_explanation;  ///< what all frames' own start from
    ExplainedFrames m_explained;
    std::optional<FailureFacts> m_end;  ///< what ended the run, where it was a frame's
    OutputFolders m_folders;
    Journal m_journal;
    std::optional<WholeFrames> m_whole;
    std::optional<SharedFrames> m_shares;  ///< while frames are made
    std::vector<int> m_left;               ///< frames of the pass that other runs have taken
    bool m_isSettled = false;              ///< sizes are those of this run
    bool m_isLeft = false;                 ///< the frame that is about to be told is another run's
    std::optional<FrameFacts> m_stored;    ///< of the frame that is about to be told
    std::shared_ptr<Explanation> m_storedExplanation;  ///< of the same
};

ExitCode SequenceRun::run() {
    useThreads(m_run.threads);
    FrameStages renderer(m_scene, m_run, m_run.explain == Explain::kNo ? nullptr : &m_explanation);
    SceneFiles const& files = renderer.files();
    std::optional<InterruptFlag> interrupt;
    // A single picture ends at once, as does what writes nothing.
    if (!m_isStill && m_purpose == Purpose::kRender) interrupt.emplace();
    choose(renderer);
    RunFacts facts = runFactsOf(renderer, m_schedule.frames);
    facts.skipped = m_tally.skipped;
    m_progress.begin(m_schedule.frames.size(), facts);
    if (!m_schedule.frames.empty()) takeFrames(renderer);
    m_tally.conversions = renderer.conversions().take();
    if (m_purpose == Purpose::kPlan) printPlan(files);
    if (m_end && !isFailureTheEnd())
        throw UserError(m_end->code, m_end->message + " (" + m_tally.summary() + ")");
    if (m_schedule.missingFrame && !m_tally.result.isStopped) endAtMissing(files);
    tellEnd();
    return m_tally.code();
}

/// Which frames are to be made. What the folders hold of the dead goes first.
void SequenceRun::choose(FrameStages& renderer) {
    SceneFiles const& files = renderer.files();
    std::vector<int> const asked = framesAsked(m_scene, files);
    if (m_scene.output) checkLogIsNoOutput(m_scene, m_run, files, asked);
    m_whole.emplace(skipOf(m_run), keepsJournal() ? &m_journal : nullptr,
                    [&, asked]() -> std::optional<PixelSize> {
                        try {
                            if (!std::exchange(m_isSettled, true)) renderer.begin(asked);
                            return renderer.outputSize();
                        } catch (UserError const&) {
                            return std::nullopt;
                        }
                    });
    if (m_purpose == Purpose::kRender && m_scene.output) {
        for (int const frame : asked) m_folders.add(files.output.pathOf(frame));
        m_folders.sweep();
        if (!m_run.isShared) m_folders.tidy(m_journal);
    }
    m_schedule = scheduleOf(m_scene, files, asked, [this](std::filesystem::path const& file) {
        return !m_isMovie && !stopFlag() && m_whole->isWhole(file);
    });
    m_tally.skipped = m_schedule.skipped;
}

void SequenceRun::endAtMissing(SceneFiles const& files) {
    int const frame = *m_schedule.missingFrame;
    m_end = FailureFacts{{}, ExitCode::kInput, files.missingOf(frame).missing(frame).file, frame};
    std::string sentence = missingText(m_scene, files, frame);
    if (!m_isStill && m_purpose == Purpose::kRender) sentence += " (" + m_tally.summary() + ")";
    throw UserError(ExitCode::kInput, sentence);
}

/// Without the frames that the check refused; nothing where that leaves nothing.
void SequenceRun::printPlan(SceneFiles const& files) const {
    Schedule plan = m_schedule;
    bool const isLost =
        !m_tally.result.failed.empty() && (m_isMovie || m_tally.result.done.empty());
    if (isLost) return;
    std::erase_if(plan.frames, [this](int frame) {
        auto const& failed = m_tally.result.failed;
        return std::any_of(failed.begin(), failed.end(),
                           [frame](FrameFailure const& failure) { return failure.frame == frame; });
    });
    print(planText(m_scene, files, plan));
}

void SequenceRun::tellEnd() {
    bool const isFailed = isFailureTheEnd() && !m_tally.result.failed.empty();
    if (isFailed) m_progress.error({m_tally.result.failed.front().message, m_tally.code()});
    m_progress.end(m_tally.totals(m_tally.code()));
    if (isFailed)
        std::fprintf(stderr, "zelk: %s\n", oneLine(m_tally.result.failed.front().message).c_str());
    bool const isTold = m_mode != ProgressMode::kQuiet &&
                        (m_mode != ProgressMode::kNone || (m_isStill && m_tally.skipped > 0));
    if (m_purpose == Purpose::kRender && isTold && !m_progress.tellsErrors())
        std::fprintf(stderr, "zelk: %s\n", m_tally.summary().c_str());
    if (m_purpose == Purpose::kRender) print(m_explained.end());
}

bool SequenceRun::tellError(char const* message, ExitCode code) {
    FailureFacts facts = m_end.value_or(FailureFacts{});
    facts.message = message;
    facts.code = code;
    m_progress.error(facts);
    m_progress.end(m_tally.totals(code));
    return m_progress.tellsErrors();
}

void SequenceRun::takeFrames(FrameStages& renderer) {
    if (m_scene.output) checkOutputs(m_scene, m_run, renderer.files(), m_schedule.frames);
    m_explanation.road = m_scene.roadTaken();
    m_explanation.host = effectHostOf(renderer);
    m_explanation.threads = engineThreads(m_scene);
    renderer.begin(m_schedule.frames);
    m_isSettled = true;
    renderer.checkMemory();
    if (m_scene.roadTaken() == Road::kModule) releaseStartupMemory();
    if (m_isStill) m_explanation.clock.lap("setup");
    if (m_purpose == Purpose::kRender)
        runStages(renderer);
    else
        checkStages(renderer);
}

/// The files' headers and places only, in the frames' order.
void SequenceRun::checkStages(FrameStages& renderer) {
    auto const check = [&](int frame) { return renderer.check(frame), frame; };
    PipelineOptions options;
    options.stopAtFirstFailure = m_isMovie;
    m_tally.result = runFrames(
        m_schedule.frames, options, check, [](int frame, int) { return frame; }, [](int, int) {},
        [&](int frame, std::size_t, FrameFailure const* failure) {
            report(renderer, frame, failure);
        });
}

/// Frames that other runs have taken come again, until they are done or free.
void SequenceRun::runStages(FrameStages& renderer) {
    std::optional<InterruptFlag> interrupt;
    // A single picture ends at once: nothing is written yet.
    if (!m_isStill && !m_run.stop) interrupt.emplace();
    m_shares.emplace(*m_whole, m_run.isShared);
    std::vector<int> frames = m_schedule.frames;
    while (!frames.empty() && !m_end) {
        m_left.clear();
        PipelineResult const pass = runPass(renderer, frames);
        m_tally.result.failed.insert(m_tally.result.failed.end(), pass.failed.begin(),
                                     pass.failed.end());
        m_tally.result.isStopped = pass.isStopped;
        if (pass.isStopped) break;
        frames = awaited(renderer.files());
    }
    m_shares.reset();
    if (m_run.isShared) m_folders.sweep();  // of those who died meanwhile
    if (m_end)
        std::erase_if(m_tally.result.failed, [](auto const& failure) { return failure.endsRun; });
    if (m_end && isFailureTheEnd())
        m_tally.result.failed.push_back({0, m_end->message, m_end->code});
    if (m_tally.result.isStopped || m_end || !m_tally.result.failed.empty()) return;
    m_tally.isWholeMovie = renderer.finishMovie(stopFlag());
    m_tally.result.isStopped = m_tally.result.isStopped || !m_tally.isWholeMovie;
    if (m_isMovie && m_tally.isWholeMovie && hasEvents()) {
        m_tally.movie = m_scene.outputPath().string();
        m_tally.movieSum = sumOf(m_tally.movie);
    }
    tellWarnings(renderer);
}

PipelineResult SequenceRun::runPass(FrameStages& renderer, std::vector<int> const& frames) {
    PipelineOptions options;
    options.inFlight = static_cast<std::size_t>(m_run.inFlight);
    options.stop = &stopFlag();
    options.stopAtFirstFailure = m_isMovie;  // a movie can't have holes
    return runFrames(
        frames, options, [&](int frame) { return load(renderer, frame); },
        [&](int frame, TakenLoad&& loaded) { return render(renderer, frame, std::move(loaded)); },
        [&](int frame, TakenRender&& done) { store(renderer, frame, std::move(done)); },
        [&](int frame, std::size_t, FrameFailure const* failure) {
            report(renderer, frame, failure);
        });
}

/// Those of the pass's frames that other runs had, once one of them is free.
std::vector<int> SequenceRun::awaited(SceneFiles const& files) {
    auto const fileOf = [&](int frame) { return files.output.pathOf(frame); };
    auto const isStopped = [&] {
        if (stopFlag()) m_tally.result.isStopped = true;
        return m_tally.result.isStopped;
    };
    auto const noteWritten = [&](int frame) { noteShared(frame, fileOf(frame)); };
    auto const noteHolder = [&](std::size_t count, std::string const& holder) {
        m_progress.note(fmt::format("waiting for {}{}{}", framesCounted(count),
                                    holder.empty() ? "" : " of ", holder));
    };
    return m_shares->await(m_left, {fileOf, isStopped, noteWritten, noteHolder});
}

TakenLoad SequenceRun::load(FrameStages& renderer, int frame) {
    TakenLoad taken;
    taken.facts.file = renderer.files().output.pathOf(frame).string();
    Share const share = m_shares->take(taken.facts.file);
    taken.isLeft = share == Share::kTaken;
    if (share != Share::kMine) return taken;
    auto const start = std::chrono::steady_clock::now();
    taken.picture = renderer.load(frame);
    taken.facts.loadSeconds = secondsSince(start);
    return taken;
}

TakenRender SequenceRun::render(FrameStages& renderer, int frame, TakenLoad&& loaded) {
    TakenRender taken{{}, std::move(loaded.facts), loaded.isLeft};
    if (!loaded.picture) return taken;
    auto const start = std::chrono::steady_clock::now();
    taken.picture = renderer.render(frame, std::move(*loaded.picture));
    taken.facts.renderSeconds = secondsSince(start);
    return taken;
}

void SequenceRun::store(FrameStages& renderer, int frame, TakenRender&& rendered) {
    m_isLeft = rendered.isLeft;
    if (!rendered.picture) return;
    auto const start = std::chrono::steady_clock::now();
    FrameFacts& facts = rendered.facts;
    m_storedExplanation = rendered.picture->explanation;
    renderer.store(frame, std::move(*rendered.picture));
    if (!m_isMovie && (keepsJournal() || hasEvents())) {
        if (auto const sum = sumOf(facts.file)) {
            if (keepsJournal()) m_journal.note(facts.file, *sum);
            facts.bytes = sum->bytes;
            facts.crc32 = sum->crc32;
        }
    }
    facts.storeSeconds = secondsSince(start);
    m_stored = std::move(facts);
}

void SequenceRun::report(FrameStages& renderer, int frame, FrameFailure const* failure) {
    std::filesystem::path const file = renderer.files().output.pathOf(frame);
    auto const stored = std::exchange(m_stored, std::nullopt);
    if (m_shares) m_shares->release(file);
    if (failure && failure->endsRun)
        m_end = FailureFacts{failure->message, failure->code, file.string(), frame};
    if (failure && (failure->endsRun || isFailureTheEnd())) return;
    if (failure) {
        m_progress.failed(frame, {failure->message, failure->code, file.string(), frame});
    } else if (m_purpose != Purpose::kRender) {
        m_progress.passed();
    } else if (stored) {
        m_tally.result.done.push_back(frame);
        m_progress.done(frame, *stored);
        if (m_storedExplanation) print(m_explained.add(frame, stored->file, *m_storedExplanation));
    } else if (m_isLeft) {
        m_left.push_back(frame);
    } else {
        noteShared(frame, file);
    }
    tellWarnings(renderer);
}

void SequenceRun::noteShared(int frame, std::filesystem::path const& file) {
    ++m_tally.shared;
    m_progress.shared(frame, file.string());
}

void SequenceRun::tellWarnings(FrameStages& renderer) {
    for (std::string const& warning : renderer.warnings().take()) m_progress.warning(warning);
}

ExitCode take(Scene const& asked, RunOptions const& options, Purpose purpose) {
    Scene const scene = invertedScene(asked);
    EventSink log = options.log.empty() ? EventSink() : openLog(options.log);
    SequenceRun run(scene, options, purpose, std::move(log));
    try {
        return withUserErrors([&] { return run.run(); });
    } catch (UserError const& error) {
        if (!run.tellError(error.what(), error.code())) throw;
        return error.code();
    } catch (std::exception const& error) {
        if (!run.tellError(error.what(), ExitCode::kRenderFailed)) throw;
        return ExitCode::kRenderFailed;
    }
}

}  // namespace

ExitCode renderFrames(Scene const& scene, RunOptions const& run) {
    return take(scene, run, run.dryRun ? Purpose::kPlan : Purpose::kRender);
}

ExitCode checkFrames(Scene const& scene) { return take(scene, {}, Purpose::kCheck); }

}  // namespace zelk
