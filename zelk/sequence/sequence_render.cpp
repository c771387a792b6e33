// A run over many frames, and what is told of it; see sequence_render.h.
#include "zelk/sequence/sequence_render.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/load_module.h"
#include "zelk/render/memory_budget.h"
#include "zelk/render/setup.h"
#include "zelk/sequence/input_files.h"
#include "zelk/sequence/interrupt_flag.h"
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/progress.h"
#include "zelk/sequence/stages.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

void checkMovie(RenderRequest const& request) {
    if (request.skipExisting)
        throw UserError(ExitCode::kUsage, {"--skip-existing", "a movie can't be gone on with:",
                                           request.output.string(), "numbered pictures"});
    checkPlace(request.output, request.noClobber);
    requireMovieProgram(request.output);
}

void checkMemory(SequenceRenderer const& renderer, RenderRequest const& request,
                 std::size_t frames) {
    std::uint64_t const need =
        renderer.bytesInFlight() * std::min<std::uint64_t>(request.inFlight, frames);
    if (need <= availableBytes()) return;
    throw UserError(
        ExitCode::kInput,
        {"--in-flight", "more frames than the memory allows,", std::to_string(request.inFlight),
         fmt::format("{} MB to be free, or fewer frames", need / 1'000'000)});
}

class SequenceRun {
public:
    explicit SequenceRun(RenderRequest const& request)
        : m_request(request),
          m_isMovie(isMovieName(request.output)),
          m_progress(request.progress, 0, standardErrorScreen()) {}

    /// Throws what ends the run before its last frame.
    ExitCode run();
    /// Whether an error that ended the run was told, and need not be any more.
    bool tellError(char const* message);

private:
    void renderFrames(Host& host, Files const& files);
    void runStages(SequenceRenderer& renderer);
    void report(SequenceRenderer& renderer, int frame, FrameFailure const* failure);
    void tellWarnings(SequenceRenderer& renderer);
    std::size_t written() const { return m_isMovie && !m_isWhole ? 0 : m_result.done.size(); }
    std::string summary() const;
    ExitCode code() const;

    RenderRequest const& m_request;
    bool m_isMovie, m_isWhole = false;  ///< of the movie
    Progress m_progress;
    Schedule m_schedule;
    PipelineResult m_result;
    std::string m_missing;  ///< the input that is not there, which ended the run
};

ExitCode SequenceRun::run() {
    auto const host = loadModule(m_request.module);
    applyRequest(m_request, host->parameters());  // refuses bad values before any file is touched
    Files const files(m_request);
    m_schedule = scheduleOf(m_request, files);
    if (m_request.dryRun) {
        print(planText(files, m_schedule));
        return ExitCode::kDone;
    }
    m_progress.begin(m_schedule.frames.size());
    if (!m_schedule.frames.empty()) renderFrames(*host, files);
    if (m_schedule.missingFrame && !m_result.isStopped) {
        Complaint complaint =
            files.missingOf(*m_schedule.missingFrame).missing(*m_schedule.missingFrame);
        m_missing = complaint.thing;
        complaint.expected += ", or --missing (" + summary() + ")";
        throw UserError(ExitCode::kInput, complaint);
    }
    m_progress.end({written(), m_schedule.skipped, m_result.isStopped});
    if (m_request.progress != ProgressMode::kNone && !m_progress.tellsErrors())
        std::fprintf(stderr, "zelk: %s\n", summary().c_str());
    return code();
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

void SequenceRun::renderFrames(Host& host, Files const& files) {
    std::vector<int> const& frames = m_schedule.frames;
    if (m_isMovie)
        checkMovie(m_request);
    else
        checkTarget(files.output.pathOf(frames.front()), m_request.noClobber);
    checkOutputsAreNoInputs(files, frames);
    useThreads(m_request.threads);
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    SequenceRenderer renderer(m_request, files, host, compOf(m_request, *first, *last), frames);
    checkMemory(renderer, m_request, frames.size());
    runStages(renderer);
}

void SequenceRun::runStages(SequenceRenderer& renderer) {
    InterruptFlag const interrupt;
    PipelineOptions options;
    options.inFlight = static_cast<std::size_t>(m_request.inFlight);
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

void SequenceRun::report(SequenceRenderer& renderer, int frame, FrameFailure const* failure) {
    if (failure)
        m_progress.failed(frame, failure->message);
    else
        m_progress.done(frame);
    tellWarnings(renderer);
}

void SequenceRun::tellWarnings(SequenceRenderer& renderer) {
    for (std::string const& warning : renderer.warnings().take()) m_progress.warning(warning);
}

std::string SequenceRun::summary() const {
    bool const isLost = m_isMovie && (m_result.isStopped || !m_result.failed.empty());
    std::string text =
        isLost ? "no movie written" : fmt::format("{} frames written", m_result.done.size());
    if (m_schedule.skipped) text += fmt::format(", {} skipped", m_schedule.skipped);
    if (!m_result.failed.empty()) text += fmt::format(", {} failed", m_result.failed.size());
    if (m_result.isStopped) text += ", interrupted";
    return text;
}

ExitCode SequenceRun::code() const {
    if (m_result.isStopped) return ExitCode::kInterrupted;
    if (m_result.failed.empty()) return ExitCode::kDone;
    return written() > 0 ? ExitCode::kSomeFailed : m_result.failed.front().code;
}

}  // namespace

ExitCode renderSequence(RenderRequest const& request) {
    if (request.explain != Explain::kNo)
        throw UserError(ExitCode::kUsage, {"--explain", "tells of one picture, not of", "frames",
                                           "a render of a single picture"});
    SequenceRun run(request);
    try {
        return run.run();
    } catch (UserError const& error) {
        if (!run.tellError(error.what())) throw;
        return error.code();
    } catch (std::exception const& error) {
        if (!run.tellError(error.what())) throw;
        return ExitCode::kRenderFailed;
    }
}

}  // namespace zelk
