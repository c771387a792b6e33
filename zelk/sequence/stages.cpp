// Loading, rendering and storing of a frame; see stages.h.
#include "zelk/sequence/stages.h"

#include <fmt/format.h>

#include <utility>

#include "zelk/render/memory_budget.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/setup.h"
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
                                   Comp const& comp, std::vector<int> const& frames)
    : m_request(request), m_files(files), m_host(host), m_comp(comp) {
    host.setComp(comp);
    readSizes(frames);
    setParameters(request, host, m_layerSize, m_frameSize);
    for (TrackUse const& use : request.tracks)
        m_warnings.add(warningsOf(use, {m_frameSize, comp.startFrame}));
    if (request.plate || request.frameSize) checkTransfer(host.parameters());
}

LoadedFrame SequenceRenderer::load(int frame) {
    LoadedFrame loaded;
    PictureTraits layer, plate;
    loaded.layer = loadLayer(m_files.layer.pictureOf(frame), layer, loaded.ask);
    if (m_files.plate) loaded.plate = loadPlate(m_files.plate->pictureOf(frame), plate);
    loaded.file = isModule()
                      ? ownFrameOutput(m_request, layer, marginOf(m_host.parameters(), loaded.ask))
                      : outputOf(m_request, layer, m_files.plate ? &plate : nullptr);
    std::vector<std::string> warnings;
    if (m_files.plate) addColorWarning(m_request, layer, plate, warnings);
    m_warnings.add(warnings);
    return loaded;
}

RenderedFrame SequenceRenderer::render(int frame, LoadedFrame loaded) {
    FrameRequest const moment = frameRequest(m_comp, frame);
    if (isModule())
        return {renderByModule(m_host, std::move(loaded.layer), loaded.ask, moment), loaded.file};
    World picture({m_frameSize.width, m_frameSize.height, Depth::kFloat});
    renderInMemory(m_host.parameters(), loaded.layer, picture, moment, m_request.layer.string());
    if (loaded.plate) layOver(picture, *loaded.plate, m_request.overMode);
    return {std::move(picture), loaded.file};
}

void SequenceRenderer::store(int frame, RenderedFrame const& rendered) {
    if (isMovieName(m_request.output)) return storeInMovie(rendered);
    m_warnings.add(
        writePicture(rendered.picture, m_files.output.pathOf(frame), rendered.file).warnings);
}

bool SequenceRenderer::finishMovie(std::atomic<bool> const& stop) {
    if (!m_movie) return true;
    auto const warning = m_movie->finish(!m_request.noClobber, stop);
    if (warning && !warning->empty()) m_warnings.add({*warning});
    return warning.has_value();
}

std::uint64_t SequenceRenderer::bytesInFlight() const {
    RenderSize size{m_layerSize.width, m_layerSize.height, m_ask.depth, 0, 0, 0};
    if (isModule()) return renderBytes(size);
    std::uint64_t const plate =
        m_files.plate ? std::uint64_t{16} * m_frameSize.width * m_frameSize.height : 0;
    return plate + frameRenderBytes(m_layerSize.width, m_layerSize.height, m_frameSize.width,
                                    m_frameSize.height);
}

void SequenceRenderer::storeInMovie(RenderedFrame const& rendered) {
    World const& picture = rendered.picture;
    if (!m_movie)
        m_movie.emplace(m_request.output, picture.width(), picture.height(), m_comp.timeBase);
    m_movie->add(picture, rendered.file.form);
}

/// Of the first frame that can be opened; all others must agree.
void SequenceRenderer::readSizes(std::vector<int> const& frames) {
    auto const first = [&frames](InputFiles const& files) {
        for (int const frame : frames) {
            auto const picture = files.pictureOf(frame);
            if (!picture || !onDisk(picture->file)) continue;
            try {
                return picture->open();
            } catch (UserError const&) {
                // Its own frame will fail; the others need a size all the same.
            }
        }
        return files.own(frames.front()).open();
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

void SequenceRenderer::requireSize(InputPicture const& file, PictureReader const& picture,
                                   PixelSize size) const {
    if (picture.width() == size.width && picture.height() == size.height) return;
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
    PictureReader picture = file->open();
    requireSize(*file, picture, m_layerSize);
    traits = picture.traits();
    m_warnings.add(picture.warnings());
    if (!isModule()) return readAssociatedWorld(picture);
    ask = moduleRenderOf(m_request, m_host, picture);
    return readLayer(m_host, picture, ask);
}

World SequenceRenderer::loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits) {
    traits = m_plateTraits;
    if (!file) {
        World black({m_frameSize.width, m_frameSize.height, Depth::kFloat});
        for (int y = 0; y < black.height(); ++y)
            for (int x = 0; x < black.width(); ++x) black.rowAs<float>(y)[4 * x] = 1;
        return black;
    }
    PictureReader picture = file->open();
    requireSize(*file, picture, m_frameSize);
    traits = picture.traits();
    m_warnings.add(picture.warnings());
    return readAssociatedWorld(picture);
}

}  // namespace zelk
