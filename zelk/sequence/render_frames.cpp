// A run over many frames, and what is told of it; see render_frames.h.
#include "zelk/sequence/render_frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

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
#include "zelk/sequence/interrupt_flag.h"
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/progress.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

void checkMovie(Scene const& scene, RunOptions const& run) {
    std::filesystem::path const output = scene.outputPath();
    if (run.skipExisting)
        throw UserError(ExitCode::kUsage,
                        {spelled(scene, "skip-existing"),
                         "a movie can't be continued:", output.string(), "numbered pictures"});
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

class SequenceRun {
public:
    SequenceRun(Scene const& scene, RunOptions const& run, Purpose purpose)
        : m_scene(scene),
          m_run(run),
          m_purpose(purpose),
          m_isStill(!isSequence(scene)),
          m_isMovie(isMovieName(scene.outputPath())),
          m_mode(modeOf(run, m_isStill)),
          m_progress(purpose == Purpose::kRender || m_mode == ProgressMode::kJson
                         ? m_mode
                         : ProgressMode::kNone,
                     0, standardErrorScreen()) {}

    /// Throws what ends the run before its last frame.
    ExitCode run();
    /// Whether an error that ended the run was told, and need not be any more.
    bool tellError(char const* message);

private:
    void takeFrames(FrameStages& renderer);
    void checkOutput(SceneFiles const& files) const;
    void runStages(FrameStages& renderer);
    void checkStages(FrameStages& renderer);
    void report(FrameStages& renderer, int frame, FrameFailure const* failure);
    void tellWarnings(FrameStages& renderer);
    void printPlan(SceneFiles const& files) const;
    void tellEnd();
    /// Whether a failure is the run's own error, in its one line.
    bool isFailureTheEnd() const { return m_isStill && m_mode == ProgressMode::kNone; }
    std::size_t written() const;
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
    Explanation m_explanation;
    std::vector<std::string> m_conversions;  ///< of colour
    std::string m_missing;                   ///< the input that is not there, which ended the run
};

ExitCode SequenceRun::run() {
    useThreads(m_run.threads);
    FrameStages renderer(m_scene, m_run, m_run.explain == Explain::kNo ? nullptr : &m_explanation);
    SceneFiles const& files = renderer.files();
    m_schedule = scheduleOf(m_scene, m_run, files);
    m_progress.begin(m_schedule.frames.size());
    if (!m_schedule.frames.empty()) takeFrames(renderer);
    m_conversions = renderer.conversions().take();
    if (m_purpose == Purpose::kPlan) printPlan(files);
    if (m_schedule.missingFrame && !m_result.isStopped) {
        InputFiles const& input = files.missingOf(*m_schedule.missingFrame);
        auto const [file, why] = input.missing(*m_schedule.missingFrame);
        m_missing = file;
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
    tellEnd();
    return code();
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
    m_progress.end({written(), m_schedule.skipped, m_result.isStopped});
    if (isFailureTheEnd() && !m_result.failed.empty())
        std::fprintf(stderr, "zelk: %s\n", oneLine(m_result.failed.front().message).c_str());
    bool const isTold = m_mode != ProgressMode::kNone || (m_isStill && m_schedule.skipped > 0);
    if (m_purpose == Purpose::kRender && isTold && !m_progress.tellsErrors())
        std::fprintf(stderr, "zelk: %s\n", summary().c_str());
    if (m_result.done.empty() || m_purpose != Purpose::kRender) return;
    if (m_run.explain == Explain::kText) print(asText(m_explanation));
    if (m_run.explain == Explain::kJson) print(asJson(m_explanation));
}

bool SequenceRun::tellError(char const* message) {
    if (!m_progress.tellsErrors()) return false;
    if (m_missing.empty())
        m_progress.error(message);
    else
        m_progress.error(message, m_schedule.missingFrame, m_missing);
    m_progress.end({written(), m_schedule.skipped, m_result.isStopped});
    return true;
}

void SequenceRun::checkOutput(SceneFiles const& files) const {
    if (!m_scene.output) return;
    if (m_isMovie)
        checkMovie(m_scene, m_run);
    else
        checkTarget(files.output.pathOf(m_schedule.frames.front()), m_run.noClobber);
    checkOutputsAreNoInputs(m_scene, m_run, files, m_schedule.frames);
}

void SequenceRun::takeFrames(FrameStages& renderer) {
    checkOutput(renderer.files());
    m_explanation.road = m_scene.roadTaken();
    PF_SpecVersion const version = renderer.host().identity().version;
    m_explanation.host = fmt::format("{} {}.{}", wordOf(kHostWords, m_scene.hostApp()),
                                     version.major, version.minor);
    m_explanation.threads = engineThreads(m_scene);
    renderer.begin(m_schedule.frames);
    renderer.checkMemory();
    if (m_scene.roadTaken() == Road::kModule) releaseStartupMemory();
    m_explanation.clock.lap("setup");
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

void SequenceRun::runStages(FrameStages& renderer) {
    std::optional<InterruptFlag> interrupt;
    if (!m_isStill) interrupt.emplace();  // a single picture ends at once: nothing is written yet
    PipelineOptions options;
    options.inFlight = static_cast<std::size_t>(m_run.inFlight);
    options.stop = &InterruptFlag::flag();
    options.stopAtFirstFailure = m_isMovie;  // a movie can't have holes
    m_result = runFrames(
        m_schedule.frames, options, [&](int frame) { return renderer.load(frame); },
        [&](int frame, LoadedFrame&& loaded) { return renderer.render(frame, std::move(loaded)); },
        [&](int frame, RenderedFrame&& done) { renderer.store(frame, std::move(done)); },
        [&](int frame, std::size_t, FrameFailure const* failure) {
            report(renderer, frame, failure);
        });
    if (m_result.isStopped || !m_result.failed.empty()) return;
    m_isWhole = renderer.finishMovie(InterruptFlag::flag());
    m_result.isStopped = !m_isWhole;
    tellWarnings(renderer);
}

void SequenceRun::report(FrameStages& renderer, int frame, FrameFailure const* failure) {
    if (failure && isFailureTheEnd()) return;
    if (failure)
        m_progress.failed(frame, failure->message);
    else if (m_purpose == Purpose::kRender)
        m_progress.done(frame);
    else
        m_progress.passed();
    tellWarnings(renderer);
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
    if (m_schedule.skipped) text += fmt::format(", {} skipped", m_schedule.skipped);
    if (!m_result.failed.empty()) text += fmt::format(", {} failed", m_result.failed.size());
    if (m_result.isStopped) text += ", interrupted";
    if (!m_conversions.empty()) text += fmt::format("; colour: {}", fmt::join(m_conversions, ", "));
    return text;
}

ExitCode SequenceRun::code() const {
    if (m_result.isStopped) return ExitCode::kInterrupted;
    if (m_result.failed.empty()) return ExitCode::kDone;
    bool const isSome = !m_isMovie && !m_result.done.empty();
    return isSome ? ExitCode::kSomeFailed : m_result.failed.front().code;
}

ExitCode take(Scene const& asked, RunOptions const& options, Purpose purpose) {
    Scene const scene = invertedScene(asked);
    if (options.explain != Explain::kNo && isSequence(scene))
        throw UserError(ExitCode::kUsage,
                        spelled(scene, "explain") + " works for a single picture only");
    SequenceRun run(scene, options, purpose);
    try {
        return withUserErrors([&] { return run.run(); });
    } catch (UserError const& error) {
        if (!run.tellError(error.what())) throw;
        return error.code();
    } catch (std::exception const& error) {
        if (!run.tellError(error.what())) throw;
        return ExitCode::kRenderFailed;
    }
}

}  // namespace

ExitCode renderFrames(Scene const& scene, RunOptions const& run) {
    return take(scene, run, run.dryRun ? Purpose::kPlan : Purpose::kRender);
}

ExitCode checkFrames(Scene const& scene) { return take(scene, {}, Purpose::kCheck); }

}  // namespace zelk
