// A run over many frames, and what is told of it; see render_frames.h.
#include "zelk/sequence/render_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <set>
#include <thread>
#include <tuple>
#include <utility>

#include "zelk/files/frame_locks.h"
#include "zelk/files/left_overs.h"
#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/writer.h"
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
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/progress.h"
#include "zelk/sequence/run_facts.h"
#include "zelk/sequence/schedule.h"
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

void checkMovie(Scene const& scene, RunOptions const& run) {
    std::filesystem::path const output = scene.outputPath();
    for (auto const& [isAsked, option, refusal] :
         {std::tuple{run.skipExisting != SkipExisting::kNo, "skip-existing", "continued"},
          {run.isShared, "share", "shared"}})
        if (isAsked)
            throw UserError(ExitCode::kUsage,
                            {spelled(scene, option), fmt::format("a movie can't be {}:", refusal),
                             output.string(), "numbered pictures"});
    checkPlace(output, run.noClobber);
    requireMovieProgram(output);
}

/// What becomes of the frames: they are rendered, or only checked as far as that reads no pixels.
enum class Purpose { kRender, kPlan, kCheck };

/// A single picture tells no progress unless it is asked for.
ProgressMode modeOf(RunOptions const& run, bool isStill) {
    bool const isQuiet = isStill && run.progress == ProgressMode::kAuto;
    return isQuiet ? ProgressMode::kNone : run.progress;
}

/// Of a run that renders nothing, events alone are told.
ProgressMode shownMode(ProgressMode mode, Purpose purpose) {
    bool const isKept =
        purpose == Purpose::kRender || mode == ProgressMode::kJson || mode == ProgressMode::kQuiet;
    return isKept ? mode : ProgressMode::kNone;
}

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
          m_progress(shownMode(m_mode, purpose), 0, screenOf(run), std::move(log)),
          m_explained(run.explain, m_isStill),
          m_journal(purpose == Purpose::kRender) {}

    /// Throws what ends the run before its last frame.
    ExitCode run();
    /// Whether an error that ended the run was told, and need not be any more.
    bool tellError(char const* message, ExitCode code);

private:
    void choose(FrameStages& renderer);
    void noteFolders(SceneFiles const& files, std::vector<int> const& frames);
    void sweepFolders() const;
    [[noreturn]] void endAtMissing(SceneFiles const& files);
    void takeFrames(FrameStages& renderer);
    void checkOutput(SceneFiles const& files) const;
    void runStages(FrameStages& renderer);
    PipelineResult runPass(FrameStages& renderer, std::vector<int> const& frames);
    void checkStages(FrameStages& renderer);
    enum class Share { kMine, kTaken, kWritten };
    Share shareOf(std::filesystem::path const& file);
    std::vector<int> awaited(SceneFiles const& files, std::vector<int> frames);
    TakenLoad load(FrameStages& renderer, int frame);
    TakenRender render(FrameStages& renderer, int frame, TakenLoad&& loaded);
    void store(FrameStages& renderer, int frame, TakenRender&& rendered);
    void report(FrameStages& renderer, int frame, FrameFailure const* failure);
    void noteShared(int frame, std::filesystem::path const& file);
    void tellWarnings(FrameStages& renderer);
    void printPlan(SceneFiles const& files) const;
    void tellEnd();
    bool keepsJournal() const { return !m_isStill || skipOf(m_run) == SkipExisting::kWhole; }
    bool isSilent() const {
        return m_mode == ProgressMode::kNone || m_mode == ProgressMode::kQuiet;
    }
    /// Whether a failure is the run's own error, in its one line.
    bool isFailureTheEnd() const { return m_isStill && isSilent(); }
    std::atomic<bool> const& stopFlag() const {
        return m_run.stop ? *m_run.stop : InterruptFlag::flag();
    }
    std::size_t written() const;
    RunTotals totals(ExitCode code) const;
    std::string summary() const;
    ExitCode code() const;

    Scene const& m_scene;
    RunOptions const& m_run;
    Purpose m_purpose;
    bool m_isStill;
    bool m_isMovie, m_isWhole = false;  ///< of the movie
    ProgressMode m_mode;
    Progress m_progress;
    Schedule m_schedule;
    PipelineResult m_result;
    Explanation m_explanation;  ///< what all frames' own start from
    ExplainedFrames m_explained;
    std::vector<std::string> m_conversions;     ///< of colour
    std::optional<FailureFacts> m_end;          ///< what ended the run, where it was a frame's
    std::set<std::filesystem::path> m_folders;  ///< of the output
    Journal m_journal;
    std::optional<WholeFrames> m_whole;
    std::optional<FrameLocks> m_locks;
    std::vector<int> m_left;             ///< frames of the pass that other runs have taken
    std::size_t m_shared = 0;            ///< frames that other runs have written meanwhile
    bool m_isSettled = false;            ///< sizes are those of this run
    bool m_isLeft = false;               ///< the frame that is about to be told is another run's
    std::optional<FrameFacts> m_stored;  ///< of the frame that is about to be told
    std::shared_ptr<Explanation> m_storedExplanation;  ///< of the same
};

ExitCode SequenceRun::run() {
    useThreads(m_run.threads);
    FrameStages renderer(m_scene, m_run, m_run.explain == Explain::kNo ? nullptr : &m_explanation);
    SceneFiles const& files = renderer.files();
    choose(renderer);
    RunFacts facts = runFactsOf(renderer, m_schedule.frames);
    facts.skipped = m_schedule.skipped;
    m_progress.begin(m_schedule.frames.size(), facts);
    if (!m_schedule.frames.empty()) takeFrames(renderer);
    m_conversions = renderer.conversions().take();
    if (m_purpose == Purpose::kPlan) printPlan(files);
    if (m_end && !isFailureTheEnd())
        throw UserError(m_end->code, m_end->message + " (" + summary() + ")");
    if (m_schedule.missingFrame && !m_result.isStopped) endAtMissing(files);
    tellEnd();
    return code();
}

/// Which frames are to be made. What the folders hold of the dead goes first.
void SequenceRun::choose(FrameStages& renderer) {
    SceneFiles const& files = renderer.files();
    std::vector<int> const asked = framesAsked(m_scene, files);
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
        noteFolders(files, asked);
        sweepFolders();
        if (!m_run.isShared)
            for (auto const& folder : m_folders) m_journal.tidy(folder);
    }
    m_schedule = scheduleOf(m_scene, files, asked, [this](std::filesystem::path const& file) {
        return !m_isMovie && m_whole->isWhole(file);
    });
}

void SequenceRun::noteFolders(SceneFiles const& files, std::vector<int> const& frames) {
    for (int const frame : frames) {
        std::filesystem::path const file = files.output.pathOf(frame);
        m_folders.insert(file.parent_path());
        m_folders.insert(behindLinks(file).parent_path());
    }
}

void SequenceRun::sweepFolders() const {
    for (auto const& folder : m_folders) sweepLeftOvers(folder);
}

void SequenceRun::endAtMissing(SceneFiles const& files) {
    int const frame = *m_schedule.missingFrame;
    InputFiles const& input = files.missingOf(frame);
    auto const [file, why] = input.missing(frame);
    m_end = FailureFacts{{}, ExitCode::kInput, file, frame};
    std::string sentence = file + ": " + why;
    if (!m_isStill)
        sentence += fmt::format(
            "; {}{} hold, skip or black goes on without it",
            input.isMovie() ? spelled(m_scene, "first-frame") + " says the first one's number, "
                            : std::string(),
            spelled(m_scene, "missing"));
    if (!m_isStill && m_purpose == Purpose::kRender) sentence += " (" + summary() + ")";
    throw UserError(ExitCode::kInput, sentence);
}

/// Without the frames that the check refused; nothing where that leaves nothing.
void SequenceRun::printPlan(SceneFiles const& files) const {
    Schedule plan = m_schedule;
    bool const isLost = !m_result.failed.empty() && (m_isMovie || m_result.done.empty());
    if (isLost) return;
    std::erase_if(plan.frames, [this](int frame) {
        auto const& failed = m_result.failed;
        return std::any_of(failed.begin(), failed.end(),
                           [frame](FrameFailure const& failure) { return failure.frame == frame; });
    });
    print(planText(m_scene, files, plan));
}

void SequenceRun::tellEnd() {
    bool const isFailed = isFailureTheEnd() && !m_result.failed.empty();
    if (isFailed) m_progress.error({m_result.failed.front().message, code()});
    m_progress.end(totals(code()));
    if (isFailed)
        std::fprintf(stderr, "zelk: %s\n", oneLine(m_result.failed.front().message).c_str());
    bool const isTold = m_mode != ProgressMode::kQuiet &&
                        (m_mode != ProgressMode::kNone || (m_isStill && m_schedule.skipped > 0));
    if (m_purpose == Purpose::kRender && isTold && !m_progress.tellsErrors())
        std::fprintf(stderr, "zelk: %s\n", summary().c_str());
    if (m_purpose == Purpose::kRender) print(m_explained.end());
}

RunTotals SequenceRun::totals(ExitCode code) const {
    return {written(), m_schedule.skipped + m_shared, m_result.isStopped, code};
}

bool SequenceRun::tellError(char const* message, ExitCode code) {
    FailureFacts facts = m_end.value_or(FailureFacts{});
    facts.message = message;
    facts.code = code;
    m_progress.error(facts);
    m_progress.end(totals(code));
    return m_progress.tellsErrors();
}

void SequenceRun::checkOutput(SceneFiles const& files) const {
    if (!m_scene.output) return;
    if (m_isMovie)
        checkMovie(m_scene, m_run);
    else
        checkTarget(files.output.pathOf(m_schedule.frames.front()), m_run.noClobber);
    checkOutputsAreNoInputs(m_scene, m_run, files, m_schedule.frames);
    auto const log = m_run.log.empty() ? std::nullopt : identityOf(m_run.log);
    for (int const frame : m_schedule.frames)
        if (log && identityOf(files.output.pathOf(frame)) == log)
            throw UserError(ExitCode::kUsage, {spelled(m_scene, "log"), "is the output's own file:",
                                               m_run.log.string(), "another name"});
}

void SequenceRun::takeFrames(FrameStages& renderer) {
    checkOutput(renderer.files());
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
    m_result = runFrames(
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
    if (m_run.isShared) m_locks.emplace();
    std::vector<int> frames = m_schedule.frames;
    while (!frames.empty() && !m_end) {
        m_left.clear();
        PipelineResult const pass = runPass(renderer, frames);
        m_result.failed.insert(m_result.failed.end(), pass.failed.begin(), pass.failed.end());
        m_result.isStopped = pass.isStopped;
        if (pass.isStopped) break;
        frames = awaited(renderer.files(), m_left);
    }
    m_locks.reset();
    if (m_run.isShared) sweepFolders();  // of those who died meanwhile
    if (m_end) std::erase_if(m_result.failed, [](auto const& failure) { return failure.endsRun; });
    if (m_end && isFailureTheEnd()) m_result.failed.push_back({0, m_end->message, m_end->code});
    if (m_result.isStopped || m_end || !m_result.failed.empty()) return;
    m_isWhole = renderer.finishMovie(stopFlag());
    m_result.isStopped = m_result.isStopped || !m_isWhole;
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

/// Of a run that shares: another one may have the frame, or have written it since.
SequenceRun::Share SequenceRun::shareOf(std::filesystem::path const& file) {
    if (!m_locks) return Share::kMine;
    if (!m_locks->take(file)) return Share::kTaken;
    if (!m_whole->isWhole(file)) return Share::kMine;
    m_locks->release(file);
    return Share::kWritten;
}

/// Those of frames that other runs had, once one of them is free; none when all are written.
std::vector<int> SequenceRun::awaited(SceneFiles const& files, std::vector<int> frames) {
    constexpr auto kTurn = std::chrono::milliseconds(200);
    bool isFree = frames.empty();
    for (bool isTold = false; !isFree && !frames.empty(); isTold = true) {
        std::vector<int> still;
        for (int const frame : frames) {
            std::filesystem::path const file = files.output.pathOf(frame);
            bool const isTaken = m_locks->take(file);
            bool const isWritten = isTaken && m_whole->isWhole(file);
            m_locks->release(file);
            if (isWritten)
                noteShared(frame, file);
            else
                still.push_back(frame);
            isFree = isFree || (isTaken && !isWritten);
        }
        frames = still;
        if (isFree || frames.empty()) break;
        if (stopFlag()) m_result.isStopped = true;
        if (m_result.isStopped) return {};
        if (!isTold)
            m_progress.note(fmt::format("waiting for {} of {}", framesCounted(frames.size()),
                                        lockHolder(files.output.pathOf(frames.front()))));
        std::this_thread::sleep_for(kTurn);
    }
    return frames;
}

TakenLoad SequenceRun::load(FrameStages& renderer, int frame) {
    TakenLoad taken;
    taken.facts.file = renderer.files().output.pathOf(frame).string();
    Share const share = shareOf(taken.facts.file);
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
    if (!m_isMovie && keepsJournal()) {
        if (auto const sum = sumOf(facts.file)) {
            m_journal.note(facts.file, *sum);
            facts.bytes = sum->bytes;
        }
    } else if (!m_isMovie) {
        std::error_code none;
        facts.bytes = std::filesystem::file_size(facts.file, none);
    }
    facts.storeSeconds = secondsSince(start);
    m_stored = std::move(facts);
}

void SequenceRun::report(FrameStages& renderer, int frame, FrameFailure const* failure) {
    std::filesystem::path const file = renderer.files().output.pathOf(frame);
    auto const stored = std::exchange(m_stored, std::nullopt);
    if (m_locks) m_locks->release(file);
    if (failure && failure->endsRun)
        m_end = FailureFacts{failure->message, failure->code, file.string(), frame};
    if (failure && (failure->endsRun || isFailureTheEnd())) return;
    if (failure) {
        m_progress.failed(frame, {failure->message, failure->code, file.string(), frame});
    } else if (m_purpose != Purpose::kRender) {
        m_progress.passed();
    } else if (stored) {
        m_result.done.push_back(frame);
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
    ++m_shared;
    m_progress.shared(frame, file.string());
}

void SequenceRun::tellWarnings(FrameStages& renderer) {
    for (std::string const& warning : renderer.warnings().take()) m_progress.warning(warning);
}

std::size_t SequenceRun::written() const {
    bool const isNothing = m_purpose != Purpose::kRender || (m_isMovie && !m_isWhole);
    return isNothing ? 0 : m_result.done.size();
}

std::string SequenceRun::summary() const {
    bool const isLost = m_isMovie && (m_result.isStopped || !m_result.failed.empty());
    std::size_t const count = m_purpose == Purpose::kRender ? m_result.done.size() : 0;
    std::string text = isLost ? "no movie written" : framesCounted(count) + " written";
    if (m_shared) text += fmt::format(", {} by other runs", m_shared);
    if (m_schedule.skipped) text += fmt::format(", {} skipped", m_schedule.skipped);
    if (!m_result.failed.empty()) text += fmt::format(", {} failed", m_result.failed.size());
    if (m_result.isStopped) text += ", interrupted";
    if (!m_conversions.empty()) text += fmt::format("; colour: {}", fmt::join(m_conversions, ", "));
    return text;
}

ExitCode SequenceRun::code() const {
    if (m_result.isStopped) return ExitCode::kInterrupted;
    if (m_result.failed.empty()) return ExitCode::kDone;
    bool const isSome = !m_isMovie && (!m_result.done.empty() || m_shared > 0);
    return isSome ? ExitCode::kSomeFailed : m_result.failed.front().code;
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
