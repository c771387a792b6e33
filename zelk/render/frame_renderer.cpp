// Loading, rendering and storing of a frame; see frame_renderer.h.
#include "zelk/render/frame_renderer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "hostkit/host.h"
#include "hostkit/pixel_ops.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/buffer_input.h"
#include "zelk/render/explanation.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/load_module.h"
#include "zelk/render/memory_budget.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/inputs.h"
#include "zelk/scene/quad_check.h"
#include "zelk/scene/values.h"
#include "zelk/text/errors.h"

namespace zelk {

void Warnings::add(std::vector<std::string> const& sentences) {
    std::lock_guard const lock(m_mutex);
    for (std::string const& sentence : sentences)
        if (m_seen.insert(sentence).second) m_new.push_back(sentence);
}

std::vector<std::string> Warnings::take() {
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_new, {});
}

namespace {

PixelSize sizeOf(PictureReader const& picture) { return {picture.width(), picture.height()}; }

PixelSize reduced(PixelSize size, int reduce) {
    return {size.width / reduce, size.height / reduce};
}

/// Colour over alpha, in a float world of associated colour.
void makeStraight(World& world) {
    for (int y = 0; y < world.height(); ++y) {
        float* pixel = world.rowAs<float>(y);
        for (int x = 0; x < world.width(); ++x, pixel += 4) {
            float const alpha = pixel[0];
            if (alpha == 0 || alpha == 1) continue;
            for (int c = 1; c < 4; ++c) pixel[c] /= alpha;
        }
    }
}

/// The whole picture, reduced, in associated colour.
World associatedWorld(PictureReader& picture, int reduce) {
    if (reduce == 1) return readAssociatedWorld(picture);
    PixelSize const size = reduced(sizeOf(picture), reduce);
    World world({size.width, size.height, Depth::kFloat});
    picture.readInto(world, reduce);
    for (int y = 0; y < world.height(); ++y) {
        float* pixel = world.rowAs<float>(y);
        for (int x = 0; x < world.width(); ++x, pixel += 4)
            for (int c = 1; c < 4; ++c) pixel[c] *= pixel[0];
    }
    return world;
}

/// The first picture that can be opened, of those that frames name.
std::optional<PictureReader> firstOf(InputFiles const& files, std::vector<int> const& frames) {
    for (int const frame : frames) {
        auto const picture = files.pictureOf(frame);
        if (!picture || !(picture->buffer || picture->isOnDisk())) continue;
        try {
            return picture->open();
        } catch (UserError const&) {
            // Its own frame will fail; the others need a size all the same.
        }
    }
    return std::nullopt;
}

/// The same for a frame, else for any that is there.
std::optional<PictureReader> anyOf(InputFiles const& files, int frame) {
    auto picture = firstOf(files, {frame});
    return picture ? std::move(picture) : firstOf(files, files.framesThere());
}

std::unique_ptr<Host> hostOf(Scene const& scene) {
    auto host = loadModule(scene);
    setOptionValues(scene, host->parameters());  // refuses bad values before any file is touched
    return host;
}

}  // namespace

class FrameRenderer::Impl {
public:
    Impl(Scene scene, RunOptions run, Explanation* explanation)
        : m_scene(std::move(scene)),
          m_run(std::move(run)),
          m_host(hostOf(m_scene)),
          m_files(m_scene),
          m_explanation(explanation) {}

    void begin(std::vector<int> const& frames);
    void beginEdit(int frame);
    Scene editedScene() const;
    FrameRequest momentOf(int frame) const;
    World world(int frame, PreviewOptions const& options);
    World layerWorld(int frame);
    void check(int frame);
    LoadedFrame load(int frame, int reduce);
    RenderedFrame render(int frame, LoadedFrame loaded);
    void store(int frame, RenderedFrame const& rendered);
    bool finishMovie(std::atomic<bool> const& stop);
    void checkMemory() const;
    void beginAt(int frame);
    void requireReduced(int reduce) const;

    bool isModule() const { return m_scene.roadTaken() == Road::kModule; }
    std::uint64_t bytesInFlight() const;
    void endStage(char const* stage);
    void settleOutput(PictureTraits const& layer, PictureTraits const& plate, LoadedFrame& loaded);
    PinFrame pinFrameOf(ModuleRender const& ask, int reduce) const;
    void plan(PinFrame const& frame, FrameRequest const& moment, Depth depth);
    World renderedByModule(LoadedFrame& loaded, FrameRequest const& moment);
    World renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment);
    void storeInMovie(RenderedFrame const& rendered);
    void settleComp(std::vector<int> const& frames);
    void readSizes(std::vector<int> const& frames);
    void settleSizes(std::optional<PictureReader> const& layer,
                     std::optional<PictureReader> const& plate, ImageSizes const& unknown);
    void settleValues(std::vector<int> const& frames);
    World loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                    LoadedFrame& loaded);
    void loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits,
                   LoadedFrame& loaded);
    PictureReader openSized(InputPicture const& file, PixelSize size) const;

    Scene m_scene;
    RunOptions m_run;
    std::unique_ptr<Host> m_host;
    SceneFiles m_files;
    Comp m_comp;
    std::vector<int> m_frames;   ///< of begin
    std::size_t m_inFlight = 1;  ///< frames; with 1 of them nothing overlaps
    PixelSize m_layerSize, m_frameSize;
    PictureTraits m_layerTraits, m_plateTraits;  ///< also a black picture's
    ModuleRender m_ask;
    Warnings m_warnings;
    std::optional<MovieWriter> m_movie;
    bool m_isMovieChecked = false;
    Explanation* m_explanation;
    std::function<void(char const* stage)> m_listener;
    std::atomic<bool> m_isStopped{false};
};

void FrameRenderer::Impl::begin(std::vector<int> const& frames) {
    if (frames.empty()) throw std::invalid_argument("no frames to begin with");
    m_inFlight = std::min(static_cast<std::size_t>(m_run.inFlight), frames.size());
    settleComp(frames);
    readSizes(frames);
    settleValues(frames);
}

void FrameRenderer::Impl::beginEdit(int frame) {
    settleComp({frame});
    PixelSize const whole = {m_comp.width, m_comp.height};
    settleSizes(anyOf(m_files.layer, frame),
                m_files.plate ? anyOf(*m_files.plate, frame) : std::nullopt, {whole, whole});
    settleValues({});
}

void FrameRenderer::Impl::settleComp(std::vector<int> const& frames) {
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    m_comp = compOf(m_scene, *first, *last);
    m_host->setComp(m_comp);
}

void FrameRenderer::Impl::settleValues(std::vector<int> const& frames) {
    setParameters(m_scene, *m_host, m_layerSize, m_frameSize);
    for (TrackUse const& use : m_scene.tracks)
        m_warnings.add(warningsOf(use, {m_frameSize, m_comp.startFrame, m_comp.timeBase.step}));
    if (m_scene.hasFrame()) checkTransfer(m_scene, m_host->parameters());
    m_frames = frames;
}

Scene FrameRenderer::Impl::editedScene() const {
    return sceneOf(m_scene, m_host->parameters(),
                   defaultsOf(m_scene, m_host->parameters(), m_layerSize, m_frameSize));
}

FrameRequest FrameRenderer::Impl::momentOf(int frame) const {
    FrameRequest moment = frameRequest(m_comp, frame);
    moment.layerWidth = m_frameSize.width;
    moment.layerHeight = m_frameSize.height;
    return moment;
}

void FrameRenderer::Impl::beginAt(int frame) {
    if (m_isStopped) throw UserError(ExitCode::kInterrupted, "the render was stopped");
    if (!m_files.isReadable(frame) && m_scene.missing == MissingInput::kStop)
        throw m_files.missingOf(frame).missing(frame).error();
    bool const isBegun = m_scene.hasComp ? !m_frames.empty() : m_frames == std::vector{frame};
    if (!isBegun) begin({frame});
}

/// A picture has at least one pixel.
void FrameRenderer::Impl::requireReduced(int reduce) const {
    int most = std::min(m_layerSize.width, m_layerSize.height) / m_ask.downsample;
    if (!isModule()) most = std::min({most, m_frameSize.width, m_frameSize.height});
    if (reduce >= 1 && reduce <= most) return;
    throw UserError(ExitCode::kUsage, {"preview", "can't be reduced by", std::to_string(reduce),
                                       fmt::format("a whole number from 1 to {}", most)});
}

World FrameRenderer::Impl::world(int frame, PreviewOptions const& options) {
    beginAt(frame);
    requireReduced(options.reduce);
    World picture = render(frame, load(frame, options.reduce)).picture;
    if (!isModule()) makeStraight(picture);
    if (!options.part) return picture;
    auto const [left, top, right, bottom] = *options.part;
    picture.setOrigin(0, 0);
    World part = partOf(picture, {left, top, right, bottom});
    if (part.width() < 1 || part.height() < 1)
        throw UserError(ExitCode::kUsage, "preview: the part lies outside the picture");
    return part;
}

World FrameRenderer::Impl::layerWorld(int frame) {
    if (!m_files.layer.isThere(frame)) throw m_files.layer.missing(frame).error();
    PictureReader layer = m_files.layer.own(frame).open();
    m_warnings.add(layer.warnings());
    return readStraightWorld(layer);
}

void FrameRenderer::Impl::check(int frame) {
    LoadedFrame headers;
    PictureTraits layer = m_layerTraits, plate = m_plateTraits;
    headers.ask = m_ask;
    if (auto const file = m_files.layer.pictureOf(frame)) {
        PictureReader const picture = openSized(*file, m_layerSize);
        layer = picture.traits();
        if (isModule()) {
            headers.ask = moduleRenderOf(m_scene, *m_host, picture);
            requireMemory(*m_host, picture, headers.ask);
        }
    }
    if (m_files.plate)
        if (auto const file = m_files.plate->pictureOf(frame))
            plate = openSized(*file, m_frameSize).traits();
    settleOutput(layer, plate, headers);
    PinFrame const space = pinFrameOf(headers.ask, 1);
    plan(space, frameRequest(m_comp, frame), Depth::kFloat);
    PixelSize const size = {space.frameWidth + 2 * space.marginX,
                            space.frameHeight + 2 * space.marginY};
    if (isMovieName(m_scene.outputPath())) {
        if (!std::exchange(m_isMovieChecked, true))
            checkMovieSize(m_scene.outputPath(), size, m_comp.timeBase);
    } else if (m_scene.output) {
        m_warnings.add(checkPicture(size, m_files.output.pathOf(frame), headers.file));
    }
}

LoadedFrame FrameRenderer::Impl::load(int frame, int reduce) {
    LoadedFrame loaded;
    loaded.reduce = reduce;
    PictureTraits layer, plate;
    loaded.layer = loadLayer(m_files.layer.pictureOf(frame), layer, loaded);
    if (m_files.plate) loadPlate(m_files.plate->pictureOf(frame), plate, loaded);
    settleOutput(layer, plate, loaded);
    endStage("read");
    return loaded;
}

/// How the frame's file will be, and what is odd about the two inputs together.
void FrameRenderer::Impl::settleOutput(PictureTraits const& layer, PictureTraits const& plate,
                                       LoadedFrame& loaded) {
    loaded.file = isModule() ? ownFrameOutput(m_scene, m_run, layer,
                                              marginOf(m_host->parameters(), loaded.ask))
                             : outputOf(m_scene, m_run, layer, m_files.plate ? &plate : nullptr);
    std::vector<std::string> warnings;
    if (m_files.plate) addColorWarning(m_scene, layer, plate, warnings);
    m_warnings.add(warnings);
}

/// The layer, the frame and the margin as the render has them.
PinFrame FrameRenderer::Impl::pinFrameOf(ModuleRender const& ask, int reduce) const {
    int const n = isModule() ? ask.downsample : reduce;
    PixelSize const margin = isModule() ? marginOf(m_host->parameters(), ask) : PixelSize{};
    PixelSize const layer = reduced(m_layerSize, n), frame = reduced(m_frameSize, n);
    return {layer.width, layer.height, frame.width, frame.height, n, margin.width, margin.height};
}

RenderedFrame FrameRenderer::Impl::render(int frame, LoadedFrame loaded) {
    FrameRequest const moment = frameRequest(m_comp, frame);
    World picture =
        isModule() ? renderedByModule(loaded, moment) : renderedInMemory(loaded, moment);
    return {std::move(picture), loaded.file};
}

World FrameRenderer::Impl::renderedByModule(LoadedFrame& loaded, FrameRequest const& moment) {
    PinFrame const space = pinFrameOf(loaded.ask, 1);
    if (m_explanation) {
        m_explanation->isPlain = loaded.ask.isPlain;
        m_explanation->margin = {space.marginX, space.marginY};
    }
    plan(space, moment, loaded.ask.depth);
    World picture = renderByModule(*m_host, std::move(loaded.layer), loaded.ask, moment);
    endStage("render");
    if (m_explanation) m_explanation->covered = countCovered(picture);
    return picture;
}

World FrameRenderer::Impl::renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment) {
    plan(pinFrameOf(loaded.ask, loaded.reduce), moment, Depth::kFloat);
    int const n = loaded.reduce;
    PixelSize const layer = reduced(m_layerSize, n), frame = reduced(m_frameSize, n);
    World picture({frame.width, frame.height, Depth::kFloat});
    renderInMemory(m_host->parameters(), loaded.layer, picture,
                   {{layer.width * n, layer.height * n}, {frame.width * n, frame.height * n}},
                   moment, m_scene.layer.name());
    loaded.layer = World();
    endStage("render");
    if (m_explanation) m_explanation->covered = countCovered(picture);
    int const mode = m_scene.overMode.value_or(PF_Xfer_IN_FRONT);
    if (loaded.plateRows)
        layOver(picture, *loaded.plateRows, mode);
    else if (loaded.plate)
        layOver(picture, *loaded.plate, mode);
    if (m_files.plate) endStage("plate");
    return picture;
}

/// Notes what is about to be rendered.
void FrameRenderer::Impl::plan(PinFrame const& frame, FrameRequest const& moment, Depth depth) {
    auto const parameters =
        parametersAt(m_host->parameters(), {moment.time, moment.timeBase.scale});
    std::string const why = unusablePins(parameters, frame);
    if (!why.empty()) m_warnings.add({why + ", so nothing is drawn"});
    if (!m_explanation) return;
    m_explanation->layer = {frame.layerWidth, frame.layerHeight};
    m_explanation->frame = {frame.frameWidth + 2 * frame.marginX,
                            frame.frameHeight + 2 * frame.marginY};
    m_explanation->renderDepth = depth;
    m_explanation->plan = planOf(parameters, frame);
}

void FrameRenderer::Impl::endStage(char const* stage) {
    if (m_explanation) m_explanation->clock.lap(stage);
    if (m_listener) m_listener(stage);
    if (m_isStopped)
        throw UserError(ExitCode::kInterrupted,
                        fmt::format("the render was stopped after {}", stage));
}

void FrameRenderer::Impl::store(int frame, RenderedFrame const& rendered) {
    if (isMovieName(m_scene.outputPath())) return storeInMovie(rendered);
    WriteReport const written =
        writePicture(rendered.picture, m_files.output.pathOf(frame), rendered.file);
    m_warnings.add(written.warnings);
    if (m_explanation) {
        m_explanation->writtenType = written.sampleType;
        m_explanation->writtenBits = written.sampleBits;
        m_explanation->clock.lap("write");
    }
    if (m_listener) m_listener("write");
}

bool FrameRenderer::Impl::finishMovie(std::atomic<bool> const& stop) {
    if (!m_movie) return true;
    auto const warning = m_movie->finish(!m_run.noClobber, stop);
    if (warning && !warning->empty()) m_warnings.add({*warning});
    return warning.has_value();
}

/// Bytes that a frame holds on its way, and those of the one that is being rendered.
std::uint64_t FrameRenderer::Impl::bytesInFlight() const {
    RenderSize size{m_layerSize.width, m_layerSize.height, m_ask.depth, 0, 0, 0};
    if (isModule()) return renderBytes(size);
    std::uint64_t const plate = m_files.plate && m_inFlight > 1
                                    ? std::uint64_t{16} * m_frameSize.width * m_frameSize.height
                                    : 0;
    return plate + frameRenderBytes(m_layerSize.width, m_layerSize.height, m_frameSize.width,
                                    m_frameSize.height);
}

void FrameRenderer::Impl::checkMemory() const {
    if (m_inFlight == 1 && isModule()) return;
    std::uint64_t const need = bytesInFlight() * m_inFlight;
    if (need <= availableBytes()) return;
    std::string const memory = fmt::format("need {} MB of free memory", need / 1'000'000);
    if (m_inFlight == 1)
        throw UserError(
            ExitCode::kInput,
            fmt::format("{}: {}x{} in a frame of {}x{} {}", m_scene.layer.name(), m_layerSize.width,
                        m_layerSize.height, m_frameSize.width, m_frameSize.height, memory));
    throw UserError(ExitCode::kInput,
                    fmt::format("--in-flight: {} frames {}; hold fewer", m_inFlight, memory));
}

void FrameRenderer::Impl::storeInMovie(RenderedFrame const& rendered) {
    World const& picture = rendered.picture;
    if (!m_movie)
        m_movie.emplace(m_scene.outputPath(), picture.width(), picture.height(), m_comp.timeBase);
    m_movie->add(picture, rendered.file.form);
}

/// Of the first frame that can be opened; all others must agree. Of two inputs one may be black
/// throughout: it then has the size of the other.
void FrameRenderer::Impl::readSizes(std::vector<int> const& frames) {
    auto layer = firstOf(m_files.layer, frames);
    auto plate = m_files.plate ? firstOf(*m_files.plate, frames) : std::nullopt;
    bool const mayLackOne = m_scene.missing == MissingInput::kBlack && (layer || plate);
    if (!layer && !mayLackOne) layer = m_files.layer.own(frames.front()).open();
    if (m_files.plate && !plate && !mayLackOne) plate = m_files.plate->own(frames.front()).open();
    m_layerTraits = (layer ? *layer : *plate).traits();
    m_plateTraits = (plate ? *plate : *layer).traits();
    if (isModule()) m_ask = moduleRenderOf(m_scene, *m_host, *layer);
    PixelSize const one = sizeOf(layer ? *layer : *plate);
    settleSizes(layer, plate, {one, one});
}

/// The one place that says how large layer and frame are; `unknown` where no picture tells.
void FrameRenderer::Impl::settleSizes(std::optional<PictureReader> const& layer,
                                      std::optional<PictureReader> const& plate,
                                      ImageSizes const& unknown) {
    m_layerSize = layer ? sizeOf(*layer) : unknown.layer;
    PixelSize const own = m_files.plate ? unknown.frame : m_layerSize;
    m_frameSize = m_scene.frameSize().value_or(plate ? sizeOf(*plate) : own);
}

PictureReader FrameRenderer::Impl::openSized(InputPicture const& file, PixelSize size) const {
    PictureReader picture = file.open();
    if (picture.width() == size.width && picture.height() == size.height) return picture;
    throw UserError(
        ExitCode::kInput,
        fmt::format("{}: another size than the first frame's: {}x{}, not {}x{}", file.name(),
                    picture.width(), picture.height(), size.width, size.height));
}

World FrameRenderer::Impl::loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                                     LoadedFrame& loaded) {
    traits = m_layerTraits;
    loaded.ask = m_ask;
    loaded.ask.downsample *= loaded.reduce;
    if (!file) {
        PixelSize const size =
            reduced(m_layerSize, isModule() ? loaded.ask.downsample : loaded.reduce);
        return isModule() ? World(m_host->worldSpec(size.width, size.height, m_ask.depth))
                          : World({size.width, size.height, Depth::kFloat});
    }
    PictureReader picture = openSized(*file, m_layerSize);
    traits = picture.traits();
    m_warnings.add(picture.warnings());
    if (!isModule()) return associatedWorld(picture, loaded.reduce);
    loaded.ask = moduleRenderOf(m_scene, *m_host, picture, loaded.reduce);
    return readLayer(*m_host, picture, loaded.ask);
}

/// Of one frame alone the rows wait in their file: nothing would be gained by keeping them.
void FrameRenderer::Impl::loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits,
                                    LoadedFrame& loaded) {
    traits = m_plateTraits;
    if (!file) {
        PixelSize const size = reduced(m_frameSize, loaded.reduce);
        World& black = loaded.plate.emplace(WorldSpec{size.width, size.height, Depth::kFloat});
        for (int y = 0; y < black.height(); ++y)
            for (int x = 0; x < black.width(); ++x) black.rowAs<float>(y)[4 * x] = 1;
        return;
    }
    PictureReader& picture = loaded.plateRows.emplace(openSized(*file, m_frameSize));
    traits = picture.traits();
    m_warnings.add(picture.warnings());
    if (m_inFlight == 1 && loaded.reduce == 1) return;
    loaded.plate = associatedWorld(picture, loaded.reduce);
    loaded.plateRows.reset();
}

FrameRenderer::FrameRenderer(Scene scene, RunOptions run, Explanation* explanation)
    : m_impl(std::make_unique<Impl>(std::move(scene), std::move(run), explanation)) {
    useThreads(m_impl->m_run.threads);
}
FrameRenderer::~FrameRenderer() = default;

Scene const& FrameRenderer::scene() const { return m_impl->m_scene; }
SceneFiles const& FrameRenderer::files() const { return m_impl->m_files; }
Host& FrameRenderer::host() { return *m_impl->m_host; }
std::vector<std::string> FrameRenderer::takeWarnings() { return m_impl->m_warnings.take(); }
PixelSize FrameRenderer::layerSize() const { return m_impl->m_layerSize; }
PixelSize FrameRenderer::frameSize() const { return m_impl->m_frameSize; }
void FrameRenderer::stop() { m_impl->m_isStopped = true; }
void FrameRenderer::onStage(std::function<void(char const* stage)> listener) {
    m_impl->m_listener = std::move(listener);
}

PictureBuffer FrameRenderer::picture(int frame, PreviewOptions const& options) {
    PictureBuffer picture = bufferOf(m_impl->world(frame, options));
    picture.name = fmt::format("frame {}", frame);
    return picture;
}

void FrameRenderer::write(int frame) {
    requireOutput(m_impl->m_scene);
    m_impl->beginAt(frame);
    requireNoInput(scene(), files(), m_impl->m_run.inPlace, frame, files().output.pathOf(frame));
    store(frame, render(frame, load(frame)));
}

World FrameRenderer::world(int frame, PreviewOptions const& options) {
    return m_impl->world(frame, options);
}
World FrameRenderer::layerWorld(int frame) { return m_impl->layerWorld(frame); }
void FrameRenderer::begin(std::vector<int> const& frames) { m_impl->begin(frames); }
void FrameRenderer::beginAt(int frame) { m_impl->beginAt(frame); }
void FrameRenderer::beginEdit(int frame) { m_impl->beginEdit(frame); }
Scene FrameRenderer::editedScene() const { return m_impl->editedScene(); }
FrameRequest FrameRenderer::momentOf(int frame) const { return m_impl->momentOf(frame); }
void FrameRenderer::check(int frame) { m_impl->check(frame); }
LoadedFrame FrameRenderer::load(int frame, int reduce) { return m_impl->load(frame, reduce); }
RenderedFrame FrameRenderer::render(int frame, LoadedFrame loaded) {
    return m_impl->render(frame, std::move(loaded));
}
void FrameRenderer::store(int frame, RenderedFrame const& rendered) {
    m_impl->store(frame, rendered);
}
bool FrameRenderer::finishMovie(std::atomic<bool> const& stop) { return m_impl->finishMovie(stop); }
void FrameRenderer::checkMemory() const { m_impl->checkMemory(); }

}  // namespace zelk
