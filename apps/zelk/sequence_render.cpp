// The three stages of many frames, and what is told of them; see sequence_render.h.
#include "apps/zelk/sequence_render.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <set>

#include "apps/zelk/errors.h"
#include "apps/zelk/frame_pipeline.h"
#include "apps/zelk/memory_budget.h"
#include "apps/zelk/memory_road.h"
#include "apps/zelk/module_road.h"
#include "apps/zelk/movie_writer.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/picture_reader.h"
#include "apps/zelk/picture_writer.h"
#include "apps/zelk/progress.h"
#include "apps/zelk/render_setup.h"
#include "apps/zelk/sequence_files.h"
#include "apps/zelk/standard_output.h"

namespace zelk {

namespace {

/// What passes from stage to stage.
struct LoadedFrame {
    World layer;
    std::optional<World> plate;
    WriteRequest file;
    ModuleRender ask;  ///< on the module road; each file has its own depth
};
struct RenderedFrame {
    World picture;
    WriteRequest file;
};

/// Sentences that are told once, whatever frame they come from; for several threads.
class Warnings {
public:
    void add(std::vector<std::string> const& sentences) {
        std::lock_guard const lock(m_mutex);
        for (std::string const& sentence : sentences)
            if (m_seen.insert(sentence).second) m_new.push_back(sentence);
    }
    std::vector<std::string> take() {
        std::lock_guard const lock(m_mutex);
        return std::exchange(m_new, {});
    }

private:
    std::mutex m_mutex;
    std::set<std::string> m_seen;
    std::vector<std::string> m_new;
};

/// The stages. load and store work beside render, and only read what the constructor settled.
class SequenceRenderer {
public:
    SequenceRenderer(RenderRequest const& request, Files const& files, Host& host, Comp const& comp,
                     std::vector<int> const& frames)
        : m_request(request), m_files(files), m_host(host), m_comp(comp) {
        host.setComp(comp);
        readSizes(frames);
        setParameters(request, host, m_layerSize, m_frameSize);
        if (request.plate || request.frameSize) checkTransfer(host.parameters());
    }

    LoadedFrame load(int frame) {
        LoadedFrame loaded;
        PictureTraits layer, plate;
        loaded.layer = loadLayer(m_files.layer.pictureOf(frame), layer, loaded.ask);
        if (m_files.plate) loaded.plate = loadPlate(m_files.plate->pictureOf(frame), plate);
        loaded.file =
            isModule() ? ownFrameOutput(m_request, layer, marginOf(m_host.parameters(), loaded.ask))
                       : outputOf(m_request, layer, m_files.plate ? &plate : nullptr);
        std::vector<std::string> warnings;
        if (m_files.plate) addColorWarning(m_request, layer, plate, warnings);
        m_warnings.add(warnings);
        return loaded;
    }

    RenderedFrame render(int frame, LoadedFrame loaded) {
        FrameRequest const moment = frameRequest(m_comp, frame);
        if (isModule())
            return {renderByModule(m_host, std::move(loaded.layer), loaded.ask, moment),
                    loaded.file};
        World picture({m_frameSize.width, m_frameSize.height, Depth::kFloat});
        renderInMemory(m_host.parameters(), loaded.layer, picture, moment,
                       m_request.layer.string());
        if (loaded.plate) layOver(picture, *loaded.plate, m_request.overMode);
        return {std::move(picture), loaded.file};
    }

    void store(int frame, RenderedFrame const& rendered) {
        if (isMovieName(m_request.output)) return storeInMovie(rendered);
        m_warnings.add(
            writePicture(rendered.picture, m_files.output.pathOf(frame), rendered.file).warnings);
    }

    /// After the last frame of a movie.
    void finishMovie() {
        if (!m_movie) return;
        std::string const warning = m_movie->finish(!m_request.noClobber);
        if (!warning.empty()) m_warnings.add({warning});
    }

    Warnings& warnings() { return m_warnings; }

    /// Bytes that a frame holds on its way, and those of the one that is being rendered.
    std::uint64_t bytesInFlight() const {
        RenderSize size{m_layerSize.width, m_layerSize.height, m_ask.depth, 0, 0, 0};
        if (isModule()) return renderBytes(size);
        std::uint64_t const plate =
            m_files.plate ? std::uint64_t{16} * m_frameSize.width * m_frameSize.height : 0;
        return plate + frameRenderBytes(m_layerSize.width, m_layerSize.height, m_frameSize.width,
                                        m_frameSize.height);
    }

private:
    bool isModule() const { return m_request.road == Road::kModule; }

    void storeInMovie(RenderedFrame const& rendered) {
        World const& picture = rendered.picture;
        if (!m_movie)
            m_movie.emplace(m_request.output, picture.width(), picture.height(), m_comp.timeBase);
        m_movie->add(picture, rendered.file.form);
    }

    /// Of the first frame that can be opened; all others must agree.
    void readSizes(std::vector<int> const& frames) {
        auto const first = [&frames](InputFiles const& files) {
            for (int const frame : frames) {
                auto const picture = files.pictureOf(frame);
                if (!picture || !onDisk(picture->file)) continue;
                try {
                    return PictureReader(picture->file, picture->number);
                } catch (UserError const&) {
                    // Its own frame will fail; the others need a size all the same.
                }
            }
            return PictureReader(files.own(frames.front()).file);
        };
        PictureReader const layer = first(m_files.layer);
        m_layerSize = {layer.width(), layer.height()};
        m_layerTraits = layer.traits();
        m_frameSize = m_request.frameSize.value_or(m_layerSize);
        m_ask = moduleRenderOf(m_request, m_host, layer);
        if (!m_files.plate) return;
        PictureReader const plate = first(*m_files.plate);
        m_frameSize = {plate.width(), plate.height()};
        m_plateTraits = plate.traits();
    }

    void requireSize(InputPicture const& file, PictureReader const& picture, PixelSize size) const {
        if (picture.width() == size.width && picture.height() == size.height) return;
        throw UserError(ExitCode::kInput, {file.name(), "another size than the first frame's:",
                                           fmt::format("{}x{}", picture.width(), picture.height()),
                                           fmt::format("{}x{}", size.width, size.height)});
    }

    World loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                    ModuleRender& ask) {
        traits = m_layerTraits;
        ask = m_ask;
        if (!file) {
            int const n = isModule() ? m_ask.downsample : 1;
            PixelSize const size = {m_layerSize.width / n, m_layerSize.height / n};
            return isModule() ? World(m_host.worldSpec(size.width, size.height, m_ask.depth))
                              : World({size.width, size.height, Depth::kFloat});
        }
        PictureReader picture(file->file, file->number);
        requireSize(*file, picture, m_layerSize);
        traits = picture.traits();
        m_warnings.add(picture.warnings());
        if (!isModule()) return readAssociatedWorld(picture);
        ask = moduleRenderOf(m_request, m_host, picture);
        return readLayer(m_host, picture, ask);
    }

    World loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits) {
        traits = m_plateTraits;
        if (!file) {
            World black({m_frameSize.width, m_frameSize.height, Depth::kFloat});
            for (int y = 0; y < black.height(); ++y)
                for (int x = 0; x < black.width(); ++x) black.rowAs<float>(y)[4 * x] = 1;
            return black;
        }
        PictureReader picture(file->file, file->number);
        requireSize(*file, picture, m_frameSize);
        traits = picture.traits();
        m_warnings.add(picture.warnings());
        return readAssociatedWorld(picture);
    }

    RenderRequest const& m_request;
    Files const& m_files;
    Host& m_host;
    Comp m_comp;
    PixelSize m_layerSize, m_frameSize;
    PictureTraits m_layerTraits, m_plateTraits;
    ModuleRender m_ask;
    Warnings m_warnings;
    std::optional<MovieWriter> m_movie;
};

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
