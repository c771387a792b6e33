// A run over many frames, and what is told of it; see sequence_render.h.
#include "apps/zelk/sequence_render.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "apps/zelk/errors.h"
#include "apps/zelk/frame_pipeline.h"
#include "apps/zelk/interrupt_flag.h"
#include "apps/zelk/memory_budget.h"
#include "apps/zelk/movie_writer.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/picture_writer.h"
#include "apps/zelk/progress.h"
#include "apps/zelk/render_setup.h"
#include "apps/zelk/sequence_files.h"
#include "apps/zelk/sequence_stages.h"
#include "apps/zelk/standard_output.h"

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

std::string summaryOf(PipelineResult const& result, Schedule const& schedule, bool isMovie) {
    bool const isLost = isMovie && (result.isStopped || !result.failed.empty());
    std::string text =
        isLost ? "no movie written" : fmt::format("{} frames written", result.done.size());
    if (schedule.skipped) text += fmt::format(", {} skipped", schedule.skipped);
    if (!result.failed.empty()) text += fmt::format(", {} failed", result.failed.size());
    if (result.isStopped) text += ", interrupted";
    return text;
}

ExitCode codeOf(PipelineResult const& result, bool isMovie) {
    if (result.isStopped) return ExitCode::kInterrupted;
    if (result.failed.empty()) return ExitCode::kDone;
    bool const isAnyWritten = !isMovie && !result.done.empty();
    return isAnyWritten ? ExitCode::kSomeFailed : result.failed.front().code;
}

PipelineResult runStages(SequenceRenderer& renderer, RenderRequest const& request,
                         std::vector<int> const& frames) {
    Progress progress(request.progress, frames.size(), standardErrorScreen());
    InterruptFlag const interrupt;
    PipelineOptions options;
    options.inFlight = static_cast<std::size_t>(request.inFlight);
    options.stop = &InterruptFlag::flag();
    options.stopAtFirstFailure = isMovieName(request.output);  // a movie can't have holes
    auto const report = [&](int frame, std::size_t, FrameFailure const* failure) {
        if (failure)
            progress.failed(frame, failure->message);
        else
            progress.done(frame);
        for (std::string const& warning : renderer.warnings().take()) progress.warning(warning);
    };
    PipelineResult const result = runFrames(
        frames, options, [&](int frame) { return renderer.load(frame); },
        [&](int frame, LoadedFrame&& loaded) { return renderer.render(frame, std::move(loaded)); },
        [&](int frame, RenderedFrame&& done) { renderer.store(frame, std::move(done)); }, report);
    if (!result.isStopped && result.failed.empty()) {
        renderer.finishMovie();
        for (std::string const& warning : renderer.warnings().take()) progress.warning(warning);
    }
    progress.end(result.isStopped);
    return result;
}

}  // namespace

ExitCode renderSequence(RenderRequest const& request) {
    if (request.explain != Explain::kNo)
        throw UserError(ExitCode::kUsage, {"--explain", "tells of one picture, not of", "frames",
                                           "a render of a single picture"});
    auto const host = loadModule(request.module);
    applyRequest(request, host->parameters());  // refuses bad values before any file is touched
    Files const files(request);
    Schedule const schedule = scheduleOf(request, files);
    if (request.dryRun) {
        print(planText(files, schedule));
        return ExitCode::kDone;
    }
    bool const isMovie = isMovieName(request.output);
    PipelineResult result;
    if (schedule.frames.empty()) Progress(request.progress, 0, standardErrorScreen()).end(false);
    if (!schedule.frames.empty()) {
        if (isMovie)
            checkMovie(request);
        else
            checkTarget(files.output.pathOf(schedule.frames.front()), request.noClobber);
        checkOutputsAreNoInputs(files, schedule.frames);
        useThreads(request.threads);
        auto const [first, last] =
            std::minmax_element(schedule.frames.begin(), schedule.frames.end());
        SequenceRenderer renderer(request, files, *host, compOf(request, *first, *last),
                                  schedule.frames);
        checkMemory(renderer, request, schedule.frames.size());
        result = runStages(renderer, request, schedule.frames);
    }
    std::string const summary = summaryOf(result, schedule, isMovie);
    if (schedule.missingFrame && !result.isStopped) {
        std::string const missing = files.missingOf(*schedule.missingFrame);
        throw UserError(ExitCode::kInput, {missing, "no such file", missing,
                                           "a picture, or --missing (" + summary + ")"});
    }
    if (request.progress != ProgressMode::kNone && request.progress != ProgressMode::kJson)
        std::fprintf(stderr, "zelk: %s\n", summary.c_str());
    return codeOf(result, isMovie);
}

}  // namespace zelk
