// Loading, rendering and storing of a frame; see stages.h.
#include "zelk/sequence/stages.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "zelk/render/memory_budget.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/setup.h"
#include "zelk/scene/quad_check.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/import.h"

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

SequenceRenderer::SequenceRenderer(RenderRequest const& request, Files const& files, Host& host,
                                   Comp const& comp, std::vector<int> const& frames,
                                   Explanation* explanation)
    : m_request(request),
      m_files(files),
      m_host(host),
      m_comp(comp),
      m_inFlight(std::min(static_cast<std::size_t>(request.inFlight), frames.size())),
      m_explanation(explanation) {
    host.setComp(comp);
    readSizes(frames);
    setParameters(request, host, m_layerSize, m_frameSize);
    for (TrackUse const& use : request.tracks)
        m_warnings.add(warningsOf(use, {m_frameSize, comp.startFrame, comp.timeBase.step}));
    if (request.plate || request.frameSize) checkTransfer(host.parameters());
}

void SequenceRenderer::check(int frame) {
    LoadedFrame headers;
    PictureTraits layer = m_layerTraits, plate = m_plateTraits;
    headers.ask = m_ask;
    if (auto const file = m_files.layer.pictureOf(frame)) {
        PictureReader const picture = openSized(*file, m_layerSize);
        layer = picture.traits();
        if (isModule()) {
            headers.ask = moduleRenderOf(m_request, m_host, picture);
            requireMemory(m_host, picture, headers.ask);
        }
    }
    if (m_files.plate)
        if (auto const file = m_files.plate->pictureOf(frame))
            plate = openSized(*file, m_frameSize).traits();
    settleOutput(layer, plate, headers);
    PinFrame const space = pinFrameOf(headers.ask);
    plan(space, frameRequest(m_comp, frame), Depth::kFloat);
    PixelSize const size = {space.frameWidth + 2 * space.marginX,
                            space.frameHeight + 2 * space.marginY};
    if (isMovieName(m_request.output)) {
        if (!std::exchange(m_isMovieChecked, true))
            checkMovieSize(m_request.output, size, m_comp.timeBase);
    } else if (!m_request.output.empty()) {
        m_warnings.add(checkPicture(size, m_files.output.pathOf(frame), headers.file));
    }
}

LoadedFrame SequenceRenderer::load(int frame) {
    LoadedFrame loaded;
    PictureTraits layer, plate;
    loaded.layer = loadLayer(m_files.layer.pictureOf(frame), layer, loaded.ask);
    if (m_files.plate) loadPlate(m_files.plate->pictureOf(frame), plate, loaded);
    settleOutput(layer, plate, loaded);
    lap("read");
    return loaded;
}

/// How the frame's file will be, and what is odd about the two inputs together.
void SequenceRenderer::settleOutput(PictureTraits const& layer, PictureTraits const& plate,
                                    LoadedFrame& loaded) {
    loaded.file = isModule()
                      ? ownFrameOutput(m_request, layer, marginOf(m_host.parameters(), loaded.ask))
                      : outputOf(m_request, layer, m_files.plate ? &plate : nullptr);
    std::vector<std::string> warnings;
    if (m_files.plate) addColorWarning(m_request, layer, plate, warnings);
    m_warnings.add(warnings);
}

/// The layer, the frame and the margin as the render has them.
PinFrame SequenceRenderer::pinFrameOf(ModuleRender const& ask) const {
    int const n = isModule() ? ask.downsample : 1;
    PixelSize const margin = isModule() ? marginOf(m_host.parameters(), ask) : PixelSize{};
    return {m_layerSize.width / n,
            m_layerSize.height / n,
            m_frameSize.width / n,
            m_frameSize.height / n,
            n,
            margin.width,
            margin.height};
}

RenderedFrame SequenceRenderer::render(int frame, LoadedFrame loaded) {
    FrameRequest const moment = frameRequest(m_comp, frame);
    World picture =
        isModule() ? renderedByModule(loaded, moment) : renderedInMemory(loaded, moment);
    return {std::move(picture), loaded.file};
}

World SequenceRenderer::renderedByModule(LoadedFrame& loaded, FrameRequest const& moment) {
    PinFrame const space = pinFrameOf(loaded.ask);
    if (m_explanation) {
        m_explanation->isPlain = loaded.ask.isPlain;
        m_explanation->margin = {space.marginX, space.marginY};
    }
    plan(space, moment, loaded.ask.depth);
    World picture = renderByModule(m_host, std::move(loaded.layer), loaded.ask, moment);
    lap("render");
    if (m_explanation) m_explanation->covered = countCovered(picture);
    return picture;
}

World SequenceRenderer::renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment) {
    plan(pinFrameOf(loaded.ask), moment, Depth::kFloat);
    World picture({m_frameSize.width, m_frameSize.height, Depth::kFloat});
    renderInMemory(m_host.parameters(), loaded.layer, picture, moment, m_request.layer.string());
    loaded.layer = World();
    lap("render");
    if (m_explanation) m_explanation->covered = countCovered(picture);
    if (loaded.plateRows)
        layOver(picture, *loaded.plateRows, m_request.overMode);
    else if (loaded.plate)
        layOver(picture, *loaded.plate, m_request.overMode);
    if (m_files.plate) lap("plate");
    return picture;
}

/// Notes what is about to be rendered.
void SequenceRenderer::plan(PinFrame const& frame, FrameRequest const& moment, Depth depth) {
    auto const parameters = parametersAt(m_host.parameters(), {moment.time, moment.timeBase.scale});
    std::string const why = unusablePins(parameters, frame);
    if (!why.empty()) m_warnings.add({why + ", so nothing is drawn"});
    if (!m_explanation) return;
    m_explanation->layer = {frame.layerWidth, frame.layerHeight};
    m_explanation->frame = {frame.frameWidth + 2 * frame.marginX,
                            frame.frameHeight + 2 * frame.marginY};
    m_explanation->renderDepth = depth;
    m_explanation->plan = planOf(parameters, frame);
}

/// Ends a stage of the frame that is explained.
void SequenceRenderer::lap(char const* stage) {
    if (m_explanation) m_explanation->clock.lap(stage);
}

void SequenceRenderer::store(int frame, RenderedFrame const& rendered) {
    if (isMovieName(m_request.output)) return storeInMovie(rendered);
    WriteReport const written =
        writePicture(rendered.picture, m_files.output.pathOf(frame), rendered.file);
    m_warnings.add(written.warnings);
    if (!m_explanation) return;
    m_explanation->writtenType = written.sampleType;
    m_explanation->writtenBits = written.sampleBits;
    lap("write");
}

bool SequenceRenderer::finishMovie(std::atomic<bool> const& stop) {
    if (!m_movie) return true;
    auto const warning = m_movie->finish(!m_request.noClobber, stop);
    if (warning && !warning->empty()) m_warnings.add({*warning});
    return warning.has_value();
}

/// Bytes that a frame holds on its way, and those of the one that is being rendered.
std::uint64_t SequenceRenderer::bytesInFlight() const {
    RenderSize size{m_layerSize.width, m_layerSize.height, m_ask.depth, 0, 0, 0};
    if (isModule()) return renderBytes(size);
    std::uint64_t const plate = m_files.plate && m_inFlight > 1
                                    ? std::uint64_t{16} * m_frameSize.width * m_frameSize.height
                                    : 0;
    return plate + frameRenderBytes(m_layerSize.width, m_layerSize.height, m_frameSize.width,
                                    m_frameSize.height);
}

void SequenceRenderer::checkMemory() const {
    if (m_inFlight == 1 && isModule()) return;
    std::uint64_t const need = bytesInFlight() * m_inFlight;
    if (need <= availableBytes()) return;
    std::string const toBeFree = fmt::format("{} MB to be free", need / 1'000'000);
    if (m_inFlight == 1)
        throw UserError(ExitCode::kInput,
                        {m_request.layer.string(), "layer and frame larger than the memory allows,",
                         fmt::format("{}x{} in {}x{}", m_layerSize.width, m_layerSize.height,
                                     m_frameSize.width, m_frameSize.height),
                         toBeFree});
    throw UserError(ExitCode::kInput, {"--in-flight", "more frames than the memory allows,",
                                       std::to_string(m_inFlight), toBeFree + ", or fewer frames"});
}

void SequenceRenderer::storeInMovie(RenderedFrame const& rendered) {
    World const& picture = rendered.picture;
    if (!m_movie)
        m_movie.emplace(m_request.output, picture.width(), picture.height(), m_comp.timeBase);
    m_movie->add(picture, rendered.file.form);
}

/// Of the first frame that can be opened; all others must agree. Of two inputs one may be black
/// throughout: it then has the size of the other.
void SequenceRenderer::readSizes(std::vector<int> const& frames) {
    auto const first = [&frames](InputFiles const& files) -> std::optional<PictureReader> {
        for (int const frame : frames) {
            auto const picture = files.pictureOf(frame);
            if (!picture || !onDisk(picture->file)) continue;
            try {
                return picture->open();
            } catch (UserError const&) {
                // Its own frame will fail; the others need a size all the same.
            }
        }
        return std::nullopt;
    };
    auto layer = first(m_files.layer), plate = m_files.plate ? first(*m_files.plate) : std::nullopt;
    bool const mayLackOne = m_request.missing == MissingInput::kBlack && (layer || plate);
    if (!layer && !mayLackOne) layer = m_files.layer.own(frames.front()).open();
    if (m_files.plate && !plate && !mayLackOne) plate = m_files.plate->own(frames.front()).open();
    auto const sizeOf = [](PictureReader const& picture) {
        return PixelSize{picture.width(), picture.height()};
    };
    m_layerSize = sizeOf(layer ? *layer : *plate);
    m_layerTraits = (layer ? *layer : *plate).traits();
    if (isModule()) m_ask = moduleRenderOf(m_request, m_host, *layer);
    m_frameSize = m_request.frameSize.value_or(plate ? sizeOf(*plate) : m_layerSize);
    m_plateTraits = (plate ? *plate : *layer).traits();
}

PictureReader SequenceRenderer::openSized(InputPicture const& file, PixelSize size) const {
    PictureReader picture = file.open();
    if (picture.width() == size.width && picture.height() == size.height) return picture;
    throw UserError(ExitCode::kInput, {file.name(), "another size than the first frame's:",
                                       fmt::format("{}x{}", picture.width(), picture.height()),
                                       fmt::format("{}x{}", size.width, size.height)});
}

World SequenceRenderer::loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                                  ModuleRender& ask) {
    traits = m_layerTraits;
    ask = m_ask;
    if (!file) {
        int const n = isModule() ? m_ask.downsample : 1;
        PixelSize const size = {m_layerSize.width / n, m_layerSize.height / n};
        return isModule() ? World(m_host.worldSpec(size.width, size.height, m_ask.depth))
                          : World({size.width, size.height, Depth::kFloat});
    }
    PictureReader picture = openSized(*file, m_layerSize);
    traits = picture.traits();
    m_warnings.add(picture.warnings());
    if (!isModule()) return readAssociatedWorld(picture);
    ask = moduleRenderOf(m_request, m_host, picture);
    return readLayer(m_host, picture, ask);
}

/// Of one frame alone the rows wait in their file: nothing would be gained by keeping them.
void SequenceRenderer::loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits,
                                 LoadedFrame& loaded) {
    traits = m_plateTraits;
    if (!file) {
        World& black =
            loaded.plate.emplace(WorldSpec{m_frameSize.width, m_frameSize.height, Depth::kFloat});
        for (int y = 0; y < black.height(); ++y)
            for (int x = 0; x < black.width(); ++x) black.rowAs<float>(y)[4 * x] = 1;
        return;
    }
    PictureReader& picture = loaded.plateRows.emplace(openSized(*file, m_frameSize));
    traits = picture.traits();
    m_warnings.add(picture.warnings());
    if (m_inFlight == 1) return;
    loaded.plate = readAssociatedWorld(picture);
    loaded.plateRows.reset();
}

}  // namespace zelk
