// Rendering and storing of a frame, and FrameRenderer, which is their public face; see
// frame_stages.h and frame_renderer.h.
#include "zelk/render/frame_stages.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "Transform/Common/PixelMemory.h"
#include "hostkit/pixel_ops.h"
#include "zelk/pictures/buffer_input.h"
#include "zelk/pictures/png_data.h"
#include "zelk/render/explanation.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/load_module.h"
#include "zelk/render/memory_budget.h"
#include "zelk/render/setup.h"
#include "zelk/scene/check.h"
#include "zelk/scene/refusal.h"
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

/// A float world in the midst of transparent margins.
World widened(World const& picture, PixelMargins const& margins) {
    PixelSize const whole = PixelSize{picture.width(), picture.height()} + margins;
    World wide({whole.width, whole.height, Depth::kFloat});
    for (int y = 0; y < picture.height(); ++y)
        std::copy_n(picture.rowAs<float>(y), 4 * picture.width(),
                    wide.rowAs<float>(y + margins.top) + 4 * margins.left);
    return wide;
}

std::unique_ptr<Host> hostOf(Scene const& scene) {
    auto host = loadModule(scene);
    setOptionValues(scene, host->parameters());  // refuses bad values before any file is touched
    return host;
}

}  // namespace

FrameStages::FrameStages(Scene scene, RunOptions run, Explanation* explanation)
    : m_scene(std::move(scene)),
      m_run(std::move(run)),
      m_host(hostOf(m_scene)),
      m_files(m_scene),
      m_explanation(explanation) {
    useThreads(m_run.threads);
}

FrameStages::~FrameStages() { PixelMemory::releaseKept(); }

FrameRequest FrameStages::momentOf(int frame) const {
    FrameRequest moment = frameRequest(m_comp, frame);
    moment.layerWidth = m_sizes.frame.width;
    moment.layerHeight = m_sizes.frame.height;
    return moment;
}

/// A picture has at least one pixel.
void FrameStages::requireReduced(int reduce) const {
    int most = std::min(m_sizes.layer.width, m_sizes.layer.height) / m_ask.downsample;
    if (!isModule()) most = std::min({most, m_sizes.frame.width, m_sizes.frame.height});
    if (reduce >= 1 && reduce <= most) return;
    throw UserError(ExitCode::kUsage, {"preview", "can't be reduced by", std::to_string(reduce),
                                       fmt::format("a whole number from 1 to {}", most)});
}

World FrameStages::world(int frame, PreviewOptions const& options) {
    beginAt(frame);
    requireReduced(options.reduce);
    World picture = render(frame, load(frame, options.reduce, false)).picture;
    if (!isModule()) makeStraight(picture);
    if (!options.part) return picture;
    auto const [left, top, right, bottom] = *options.part;
    picture.setOrigin(0, 0);
    World part = partOf(picture, {left, top, right, bottom});
    if (part.width() < 1 || part.height() < 1)
        throw UserError(ExitCode::kUsage, "preview: the part lies outside the picture");
    return part;
}

void FrameStages::check(int frame) {
    LoadedFrame headers;
    PictureTraits layer = m_layerTraits, plate = m_plateTraits;
    headers.ask = m_ask;
    if (auto const file = m_files.layer.pictureOf(frame)) {
        PictureReader const picture = openSized(*file, m_sizes.layer, file->how);
        layer = picture.traits();
        if (isModule()) {
            headers.ask = moduleRenderOf(m_scene, *m_host, picture);
            requireMemory(*m_host, picture, headers.ask);
        }
    }
    if (m_files.plate)
        if (auto const file = m_files.plate->pictureOf(frame)) {
            PictureReader const picture = openSized(*file, m_sizes.frame, plateReading());
            plate = picture.traits();
            if (plateReading().keepsOverscan) headers.overscan = picture.overscan();
        }
    checkMattes(m_scene, m_files, frame, m_sizes.layer, holdoutFrame(headers.overscan));
    settleOutput(layer, plate, headers);
    PinFrame const space = pinFrameOf(headers.ask, 1, headers.overscan);
    plan(space, frameRequest(m_comp, frame), Depth::kFloat);
    PixelSize const size = space.whole();
    if (isMovieName(m_scene.outputPath())) {
        if (!std::exchange(m_isMovieChecked, true))
            checkMovieSize(m_scene.outputPath(), size, m_comp.timeBase);
    } else if (m_scene.output) {
        m_warnings.add(checkPicture(size, m_files.output.pathOf(frame), headers.file));
    }
}

/// The layer, the frame and the margin as the render has them.
PinFrame FrameStages::pinFrameOf(ModuleRender const& ask, int reduce,
                                 PixelMargins const& overscan) const {
    int const n = isModule() ? ask.downsample : reduce;
    PixelSize const margin = isModule() ? marginOf(m_host->parameters(), ask) : PixelSize{};
    PixelSize const layer = reduced(m_sizes.layer, n), frame = reduced(m_sizes.frame, n);
    return {layer.width, layer.height, frame.width,   frame.height,
            n,           margin.width, margin.height, overscan};
}

RenderedFrame FrameStages::render(int frame, LoadedFrame loaded) {
    FrameRequest const moment = frameRequest(m_comp, frame);
    World picture =
        isModule() ? renderedByModule(loaded, moment) : renderedInMemory(loaded, moment);
    return {std::move(picture), loaded.file};
}

World FrameStages::renderedByModule(LoadedFrame& loaded, FrameRequest const& moment) {
    PinFrame const space = pinFrameOf(loaded.ask, 1, {});
    if (m_explanation) {
        m_explanation->isPlain = loaded.ask.isPlain;
        m_explanation->margin = {space.marginX, space.marginY};
    }
    plan(space, moment, loaded.ask.depth);
    World picture = renderByModule(*m_host, std::move(loaded.layer), loaded.ask, moment);
    endStage("render");
    if (m_explanation) m_explanation->covered = countCovered(picture);
    if (loaded.holdout)
        holdOut(picture, AlphaForm::kStraight, *loaded.holdout, loaded.ask.downsample);
    return picture;
}

/// The pinned layer in the frame with its overscan. What has no place in the frame, as without To
/// Pins, is rendered without any and lies at the frame's own corner.
World FrameStages::pinnedInMemory(LoadedFrame& loaded, FrameRequest const& moment) {
    int const n = loaded.reduce;
    PixelSize const layer = reduced(m_sizes.layer, n), frame = reduced(m_sizes.frame, n);
    auto const rendered = [&](PixelMargins const& overscan) {
        PixelSize const whole = frame + overscan;
        World picture({whole.width, whole.height, Depth::kFloat}, PixelMemory::Start::kAnything);
        renderInMemory(
            m_host->parameters(), loaded.layer, picture,
            {{layer.width * n, layer.height * n}, {frame.width * n, frame.height * n}, overscan},
            moment, m_scene.layer.name());
        return picture;
    };
    auto const parameters =
        parametersAt(m_host->parameters(), {moment.time, moment.timeBase.scale});
    bool const isPlaced = pinQuads(parameters, pinFrameOf(loaded.ask, n, {})).passes.usesToQuad();
    if (isPlaced || loaded.overscan.isNone()) return rendered(loaded.overscan);
    return widened(rendered({}), loaded.overscan);
}

World FrameStages::renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment) {
    plan(pinFrameOf(loaded.ask, loaded.reduce, loaded.overscan), moment, Depth::kFloat);
    World picture = pinnedInMemory(loaded, moment);
    loaded.layer = World();
    endStage("render");
    if (m_explanation) m_explanation->covered = countCovered(picture);
    if (loaded.holdout) holdOut(picture, AlphaForm::kAssociated, *loaded.holdout, loaded.reduce);
    int const mode = m_scene.overMode.value_or(PF_Xfer_IN_FRONT);
    if (loaded.plateRows)
        layOver(picture, *loaded.plateRows, mode);
    else if (loaded.plate)
        layOver(picture, *loaded.plate, mode);
    if (m_files.plate) endStage("plate");
    return picture;
}

/// Notes what is about to be rendered.
void FrameStages::plan(PinFrame const& frame, FrameRequest const& moment, Depth depth) {
    auto const parameters =
        parametersAt(m_host->parameters(), {moment.time, moment.timeBase.scale});
    std::string const why = unusablePins(parameters, frame);
    if (!why.empty()) m_warnings.add({why + ", so nothing is drawn"});
    if (!m_explanation) return;
    m_explanation->layer = {frame.layerWidth, frame.layerHeight};
    m_explanation->frame = frame.whole();
    m_explanation->overscan = frame.overscan;
    if (m_scene.matte) m_explanation->matte = describe(*m_scene.matte);
    if (m_scene.holdout) m_explanation->holdout = describe(*m_scene.holdout);
    m_explanation->renderDepth = depth;
    m_explanation->plan = planOf(parameters, frame);
}

void FrameStages::endStage(char const* stage) {
    if (m_explanation) m_explanation->clock.lap(stage);
    if (m_listener) m_listener(stage);
    if (m_isStopped)
        throw UserError(ExitCode::kInterrupted,
                        fmt::format("the render was stopped after {}", stage));
}

void FrameStages::store(int frame, RenderedFrame const& rendered) {
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

bool FrameStages::finishMovie(std::atomic<bool> const& stop) {
    if (!m_movie) return true;
    auto const warning = m_movie->finish(!m_run.noClobber, stop);
    if (warning && !warning->empty()) m_warnings.add({*warning});
    return warning.has_value();
}

/// Bytes that a frame holds on its way, and those of the one that is being rendered.
std::uint64_t FrameStages::bytesInFlight() const {
    RenderSize size{m_sizes.layer.width, m_sizes.layer.height, m_ask.depth, 0, 0, 0,
                    m_ask.besidesBytes};
    if (isModule()) return renderBytes(size);
    PixelSize const whole = m_sizes.frame + m_sizes.overscan;
    std::uint64_t const plate =
        m_files.plate && m_inFlight > 1 ? std::uint64_t{16} * whole.width * whole.height : 0;
    return plate + m_besidesBytes +
           frameRenderBytes(m_sizes.layer.width, m_sizes.layer.height, whole.width, whole.height);
}

void FrameStages::checkMemory() const {
    if (m_inFlight == 1 && isModule()) return;
    std::uint64_t const need = bytesInFlight() * m_inFlight;
    if (need <= availableBytes()) return;
    std::string const memory = fmt::format("need {} MB of free memory", need / 1'000'000);
    if (m_inFlight == 1)
        throw UserError(ExitCode::kInput,
                        fmt::format("{}: {}x{} in a frame of {}x{} {}", m_scene.layer.name(),
                                    m_sizes.layer.width, m_sizes.layer.height, m_sizes.frame.width,
                                    m_sizes.frame.height, memory));
    throw UserError(ExitCode::kInput,
                    fmt::format("{}: {} frames {}; hold fewer", spelled(m_scene, "in-flight"),
                                m_inFlight, memory));
}

void FrameStages::storeInMovie(RenderedFrame const& rendered) {
    World const& picture = rendered.picture;
    if (!m_movie)
        m_movie.emplace(m_scene.outputPath(), picture.width(), picture.height(), m_comp.timeBase);
    m_movie->add(picture, rendered.file.form);
}

// ---- The public face of the stages.

namespace {

/// Pictures are asked for one after the other.
RunOptions oneByOne(RenderOptions const& options) {
    if (options.pngLevel < 0 || options.pngLevel > kMostPngLevel)
        throw UserError(ExitCode::kUsage,
                        {"pngLevel", "out of range:", std::to_string(options.pngLevel),
                         fmt::format("a whole number from 0 to {}", kMostPngLevel)});
    RunOptions run{options};
    run.inFlight = 1;
    return run;
}

}  // namespace

FrameRenderer::FrameRenderer(Scene scene, RenderOptions const& options)
    : m_stages(withUserErrors(
          [&] { return std::make_unique<FrameStages>(std::move(scene), oneByOne(options)); })) {}
FrameRenderer::~FrameRenderer() = default;

Scene const& FrameRenderer::scene() const { return m_stages->scene(); }
PixelSize FrameRenderer::layerSize() const { return m_stages->layerSize(); }
PixelSize FrameRenderer::frameSize() const { return m_stages->frameSize(); }
Scene FrameRenderer::settledScene() const {
    return withUserErrors([&] { return m_stages->settledScene(); });
}
void FrameRenderer::begin(std::vector<int> const& frames) {
    withUserErrors([&] { m_stages->begin(frames); });
}
void FrameRenderer::stop() { m_stages->stop(); }
void FrameRenderer::onStage(std::function<void(char const* stage)> listener) {
    m_stages->onStage(std::move(listener));
}
std::vector<std::string> FrameRenderer::takeWarnings() { return m_stages->warnings().take(); }

PictureBuffer FrameRenderer::picture(int frame, PreviewOptions const& options) {
    PictureBuffer picture =
        withUserErrors([&] { return bufferOf(m_stages->world(frame, options)); });
    picture.name = fmt::format("frame {}", frame);
    return picture;
}

void FrameRenderer::write(int frame) {
    requireOutput(scene());
    withUserErrors([&] {
        m_stages->beginAt(frame);
        SceneFiles const& files = m_stages->files();
        requireNoInput(scene(), files, m_stages->run().inPlace, frame, files.output.pathOf(frame));
        m_stages->store(frame, m_stages->render(frame, m_stages->load(frame)));
    });
}

void FrameRenderer::finishMovie() {
    if (!withUserErrors([&] { return m_stages->finishMovie(m_stages->isStopped()); }))
        throw UserError(ExitCode::kInterrupted, "the movie was stopped");
}

}  // namespace zelk
