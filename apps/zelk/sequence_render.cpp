// Frames, their files, and the three stages; see sequence_render.h.
#include "apps/zelk/sequence_render.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>
#include <numeric>
#include <set>

#include "apps/zelk/errors.h"
#include "apps/zelk/frame_pipeline.h"
#include "apps/zelk/memory_budget.h"
#include "apps/zelk/memory_road.h"
#include "apps/zelk/module_road.h"
#include "apps/zelk/movie_writer.h"
#include "apps/zelk/numbers.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/picture_reader.h"
#include "apps/zelk/picture_writer.h"
#include "apps/zelk/progress.h"
#include "apps/zelk/project_file.h"
#include "apps/zelk/quiet_libraries.h"
#include "apps/zelk/render_setup.h"
#include "apps/zelk/sequence_names.h"
#include "apps/zelk/temporary_file.h"

namespace zelk {

namespace {

namespace fs = std::filesystem;

bool onDisk(fs::path const& path) {
    std::error_code fault;
    return fs::exists(path, fault);
}

bool isPattern(fs::path const& name) {
    return !onDisk(name) && SequenceName(name.string()).isSequence();
}

bool isMovieInput(fs::path const& name) {
    constexpr char const* kMovies[] = {".mov", ".mp4",  ".mkv", ".m4v",
                                       ".avi", ".webm", ".mxf", ".mpg"};
    std::string const extension = lowered(name.extension().string());
    return std::find(std::begin(kMovies), std::end(kMovies), extension) != std::end(kMovies);
}

/// A picture file, or one picture of a movie.
struct InputPicture {
    fs::path file;
    int number = -1;  ///< in a movie, from 0

    std::string name() const {
        return number < 0 ? file.string() : fmt::format("{} picture {}", file.string(), number + 1);
    }
};

/// One of the inputs: a numbered one, a movie, whose first picture is the first frame's, or the
/// same picture for all frames.
class InputFiles {
public:
    InputFiles(fs::path const& name, MissingInput missing) : m_name(name), m_missing(missing) {
        if (isMovieInput(name)) m_movieFrames = PictureReader::countOf(name);
        if (!isPattern(name)) return;
        m_pattern.emplace(name.string());
        if (missing == MissingInput::kHold) m_there = framesOnDisk(*m_pattern);
    }
    std::string name() const { return m_name.string(); }
    bool isNumbered() const { return m_pattern || m_movieFrames > 0; }
    std::vector<int> framesThere(int firstFrame) const {
        if (m_pattern) return framesOnDisk(*m_pattern);
        std::vector<int> frames(static_cast<std::size_t>(m_movieFrames));
        std::iota(frames.begin(), frames.end(), firstFrame);
        return frames;
    }
    /// The frame number of a movie's first picture.
    void startAt(int frame) { m_firstFrame = frame; }
    InputPicture own(int frame) const {
        if (m_movieFrames > 0) return {m_name, frame - m_firstFrame};
        return {m_pattern ? m_pattern->pathOf(frame) : m_name};
    }
    bool isThere(int frame) const {
        if (m_movieFrames > 0) return frame >= m_firstFrame && frame - m_firstFrame < m_movieFrames;
        return onDisk(own(frame).file);
    }

    /// The file that stands for a frame; nothing for a black one.
    std::optional<InputPicture> pictureOf(int frame) const {
        if (isThere(frame)) return own(frame);
        if (m_missing == MissingInput::kBlack) return std::nullopt;
        if (m_missing != MissingInput::kHold) return own(frame);
        if (m_movieFrames > 0)
            return own(std::clamp(frame, m_firstFrame, m_firstFrame + m_movieFrames - 1));
        if (m_there.empty()) return own(frame);
        auto const after = std::upper_bound(m_there.begin(), m_there.end(), frame);
        return own(after == m_there.begin() ? *after : *(after - 1));
    }

private:
    fs::path m_name;
    MissingInput m_missing;
    std::optional<SequenceName> m_pattern;
    std::vector<int> m_there;
    int m_movieFrames = 0, m_firstFrame = 0;
};

/// Of the composition, which a movie's first picture is: the project's, else the least of the
/// range.
int firstFrameOf(RenderRequest const& request) {
    if (request.project) return request.project->comp.startFrame;
    if (!request.frames) return 1;
    std::vector<int> const frames = parseFrameRange("--frames", *request.frames);
    return *std::min_element(frames.begin(), frames.end());
}

struct Files {
    explicit Files(RenderRequest const& request)
        : layer(request.layer, request.missing), output(request.output.string()) {
        if (request.plate) plate.emplace(*request.plate, request.missing);
        int const first = firstFrameOf(request);
        layer.startAt(first);
        if (plate) plate->startAt(first);
    }
    /// Whether a frame's inputs are there, or something stands for them.
    bool isReadable(int frame) const {
        return layer.isThere(frame) && (!plate || plate->isThere(frame));
    }
    std::string missingOf(int frame) const {
        return (layer.isThere(frame) ? *plate : layer).own(frame).name();
    }

    InputFiles layer;
    std::optional<InputFiles> plate;
    SequenceName output;
};

/// Which frames are to be rendered.
struct Schedule {
    std::vector<int> frames;
    std::size_t skipped = 0;          ///< written already, or left out for want of an input
    std::optional<int> missingFrame;  ///< before which the run ends
};

std::vector<int> framesAsked(RenderRequest const& request, Files const& files) {
    if (request.frames) return parseFrameRange("--frames", *request.frames);
    for (InputFiles const* input : {&files.layer, files.plate ? &*files.plate : nullptr}) {
        if (!input || !input->isNumbered()) continue;
        std::vector<int> frames = input->framesThere(firstFrameOf(request));
        if (!frames.empty()) return frames;
        std::string const name = input->name();
        throw UserError(ExitCode::kInput,
                        {name, "no frames on disk of", name, "numbered pictures"});
    }
    if (!request.project)
        throw UserError(ExitCode::kUsage,
                        {"--frames", "not given,", "", "the frames of the output"});
    Comp const& comp = request.project->comp;
    std::vector<int> all(static_cast<std::size_t>(comp.durationFrames));
    std::iota(all.begin(), all.end(), comp.startFrame);
    return all;
}

Schedule scheduleOf(RenderRequest const& request, Files const& files) {
    std::vector<int> const asked = framesAsked(request, files);
    if (asked.size() > 1 && !files.output.isSequence() && !isMovieName(request.output))
        throw UserError(ExitCode::kUsage,
                        {"--output", "the same file for every frame:", request.output.string(),
                         "a frame mark such as out.%04d.exr"});
    Schedule schedule;
    for (int const frame : asked) {
        bool const isWritten = request.skipExisting && !isMovieName(request.output) &&
                               onDisk(files.output.pathOf(frame));
        bool const isLeftOut = request.missing == MissingInput::kSkip && !files.isReadable(frame);
        if (isWritten || isLeftOut) {
            ++schedule.skipped;
            continue;
        }
        if (request.missing == MissingInput::kStop && !files.isReadable(frame)) {
            schedule.missingFrame = frame;
            break;
        }
        schedule.frames.push_back(frame);
    }
    return schedule;
}

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

    void store(int frame, RenderedFrame rendered) {
        if (isMovieName(m_request.output)) return storeInMovie(rendered);
        WriteRequest ask = std::move(rendered.file);
        ask.keepMetadata = m_request.keepMetadata;
        ask.noClobber = m_request.noClobber;
        ask.history = m_request.history;
        m_warnings.add(writePicture(rendered.picture, m_files.output.pathOf(frame), ask).warnings);
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

void tellPlan(Files const& files, Schedule const& schedule) {
    std::string text;
    for (int const frame : schedule.frames) {
        auto const named = [frame](InputFiles const& input) {
            auto const picture = input.pictureOf(frame);
            return picture ? picture->name() : std::string("black");
        };
        text += fmt::format("{}: read {}", frame, named(files.layer));
        if (files.plate) text += fmt::format(", over {}", named(*files.plate));
        fs::path const output = files.output.pathOf(frame);
        text +=
            fmt::format(", write {}{}\n", output.string(), onDisk(output) ? " (replacing it)" : "");
    }
    text +=
        fmt::format("{} frames to render, {} skipped\n", schedule.frames.size(), schedule.skipped);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout))
        throw UserError(ExitCode::kOutput, {"standard output", "cannot be written:", "write failed",
                                            "an open output"});
}

/// A frame's file must not be what another frame reads: which of them comes first is chance.
void checkOutputsAreNoInputs(Files const& files, std::vector<int> const& frames) {
    std::map<fs::path, int> outputs;
    auto const keyOf = [](fs::path const& path) {
        std::error_code fault;
        return fs::weakly_canonical(path, fault);
    };
    for (int const frame : frames) outputs[keyOf(files.output.pathOf(frame))] = frame;
    auto const check = [&](InputFiles const& input, int frame) {
        auto const picture = input.pictureOf(frame);
        if (!picture) return;
        auto const found = outputs.find(keyOf(picture->file));
        if (found == outputs.end() || (found->second == frame && frames.size() == 1)) return;
        if (found->second == frame && input.isNumbered()) return;
        throw UserError(ExitCode::kUsage,
                        {"--output", "would replace a picture that other frames read:",
                         picture->file.string(), "other names than the inputs'"});
    };
    for (int const frame : frames) {
        check(files.layer, frame);
        if (files.plate) check(*files.plate, frame);
    }
}

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

bool isSequence(RenderRequest const& request) {
    return request.frames || isPattern(request.layer) ||
           (request.plate && (isPattern(*request.plate) || isMovieInput(*request.plate))) ||
           (request.project && isPattern(request.output)) || isMovieInput(request.layer) ||
           isMovieName(request.output);
}

ExitCode renderSequence(RenderRequest const& request) {
    if (request.explain != Explain::kNo)
        throw UserError(ExitCode::kUsage, {"--explain", "tells of one picture, not of", "frames",
                                           "a render of a single picture"});
    auto const host = loadModule(request.module);
    applyRequest(request, host->parameters());  // refuses bad values before any file is touched
    Files const files(request);
    Schedule const schedule = scheduleOf(request, files);
    if (request.dryRun) {
        tellPlan(files, schedule);
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
