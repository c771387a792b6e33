// Reading of a frame's pictures; see frame_stages.h.
#include <fmt/format.h>

#include <utility>

#include "hostkit/pixel_ops.h"
#include "zelk/render/explanation.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/setup.h"

namespace zelk {

namespace {

/// The whole picture, reduced, in associated colour.
World associatedWorld(PictureReader& picture, int reduce) {
    if (reduce == 1) return readAssociatedWorld(picture);
    PixelSize const size = reduced({picture.width(), picture.height()}, reduce);
    World world({size.width, size.height, Depth::kFloat});
    picture.readInto(world, reduce);
    for (int y = 0; y < world.height(); ++y) {
        float* pixel = world.rowAs<float>(y);
        for (int x = 0; x < world.width(); ++x, pixel += 4)
            for (int c = 1; c < 4; ++c) pixel[c] *= pixel[0];
    }
    return world;
}

}  // namespace

World FrameStages::layerWorld(int frame, FrameColors& colors) {
    if (!m_files.layer.isThere(frame)) throw m_files.layer.missing(frame).error();
    PictureReader layer = m_files.layer.own(frame).open();
    m_warnings.add(layer.warnings());
    WriteRequest nowhere;
    colors = m_colors.settle(layer.traits(), nullptr, nowhere);
    colors.work = colors.layer;
    return readStraightWorld(layer);
}

/// A file that holds windows, channels and parts of its own gets those of the plate. A proxy and a
/// lens map, which is of the frame, leave overscan out.
ReadOptions FrameStages::plateReading() const {
    bool const isHeld = m_scene.output && isOpenExrName(m_scene.outputPath());
    bool const isWhole = downsample() == 1 && !m_scene.stMap;
    return {m_scene.keepsOrientation, isHeld && isWhole && !m_scene.dropsOverscan,
            isHeld && channelsOf(m_scene) != OutputChannels::kAlpha};
}

LoadedFrame FrameStages::load(int frame, int reduce, bool isForFile) {
    LoadedFrame loaded;
    if (m_explanation) loaded.explanation = std::make_shared<Explanation>(*m_explanation);
    if (m_explanation) loaded.explanation->clock.leaveOut();
    loaded.reduce = reduce * (isModule() ? 1 : downsample());
    PictureTraits layer, plate;
    std::vector<std::string> warnings;
    loaded.matte = matteOf(m_scene, m_files, frame, m_sizes.layer, warnings);
    loaded.layer = loadLayer(m_files.layer.pictureOf(frame), layer, loaded);
    loaded.matte.reset();
    ReadOptions const how = isForFile ? plateReading() : ReadOptions{m_scene.keepsOrientation};
    if (m_files.plate) loadPlate(m_files.plate->pictureOf(frame), plate, how, loaded);
    loaded.holdout = holdoutOf(m_scene, m_files, frame, holdoutFrame(loaded.overscan), warnings);
    m_warnings.add(warnings);
    if (m_files.stMap) loaded.map = loadMap(m_files.stMap->pictureOf(frame), loaded.reduce);
    settleOutput(layer, plate, loaded);
    convertInputs(loaded);
    endStage("read", loaded.explanation.get());
    return loaded;
}

World FrameStages::loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                             LoadedFrame& loaded) {
    traits = m_layerTraits;
    loaded.ask = m_ask;
    loaded.ask.downsample *= loaded.reduce;
    if (!file) {
        PixelSize const size =
            reduced(m_sizes.layer, isModule() ? loaded.ask.downsample : loaded.reduce);
        return isModule() ? World(m_host->worldSpec(size.width, size.height, m_ask.depth))
                          : World({size.width, size.height, Depth::kFloat});
    }
    PictureReader picture = openSized(*file, m_sizes.layer, file->how);
    traits = picture.traits();
    m_warnings.add(picture.warnings());
    picture.setMatte(loaded.matte);
    if (!isModule()) return associatedWorld(picture, loaded.reduce);
    loaded.ask = moduleRenderOf(m_scene, *m_host, picture, loaded.reduce);
    return readLayer(*m_host, picture, loaded.ask);
}

/// Of one frame alone the rows wait in their file: nothing would be gained by keeping them.
void FrameStages::loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits,
                            ReadOptions const& how, LoadedFrame& loaded) {
    traits = m_plateTraits;
    if (!file) {
        PixelSize const size = reduced(m_sizes.frame, loaded.reduce);
        World& black = loaded.plate.emplace(WorldSpec{size.width, size.height, Depth::kFloat});
        for (int y = 0; y < black.height(); ++y)
            for (int x = 0; x < black.width(); ++x) black.rowAs<float>(y)[4 * x] = 1;
        return;
    }
    PictureReader& picture = loaded.plateRows.emplace(openSized(*file, m_sizes.frame, how));
    traits = picture.traits();
    if (how.keepsOverscan) loaded.overscan = picture.overscan();
    m_warnings.add(picture.warnings());
    if (m_inFlight == 1 && loaded.reduce == 1) return;
    loaded.plate = associatedWorld(picture, loaded.reduce);
    loaded.plateRows.reset();
}

/// One map mostly serves a whole shot: it is read again where its file has changed alone.
std::shared_ptr<StMap const> FrameStages::loadMap(std::optional<InputPicture> const& file,
                                                  int reduce) {
    std::string key = fmt::format("{}:{}", reduce, file ? file->name() : "");
    std::error_code fault;
    if (file && file->isOnDisk())
        key += fmt::format(
            ":{}", std::filesystem::last_write_time(file->file, fault).time_since_epoch().count());
    if (m_map && key == m_mapKey) return m_map;
    m_map.reset();
    if (file) m_warnings.add(checkStMap(*file, m_sizes.frame));
    StMap map = file ? readStMap(*file, m_sizes.frame) : emptyStMap(m_sizes.frame);
    if (reduce > 1) map = reducedMap(map, reduce);
    m_map = std::make_shared<StMap const>(std::move(map));
    m_mapKey = key;
    return m_map;
}

/// How the frame's file will be, and what is odd about the two inputs together.
void FrameStages::settleOutput(PictureTraits const& layer, PictureTraits const& plate,
                               LoadedFrame& loaded) {
    loaded.file = isModule() ? ownFrameOutput(m_scene, m_run, layer,
                                              marginOf(m_host->parameters(), loaded.ask))
                             : outputOf(m_scene, m_run, layer, m_files.plate ? &plate : nullptr);
    if (!isModule()) loaded.file.margins = loaded.overscan;
    loaded.colors = m_colors.settle(layer, m_files.plate ? &plate : nullptr, loaded.file);
    m_warnings.add(loaded.colors.warnings);
    m_conversions.add(loaded.colors.conversions);
}

/// To the working space. Rows of a plate that wait in their file are converted as they are read.
void FrameStages::convertInputs(LoadedFrame& loaded) const {
    FrameColors const& colors = loaded.colors;
    if (loaded.explanation) {
        loaded.explanation->color = {colors.layer.name, colors.plate ? colors.plate->name : "",
                                     colors.work.name, colors.output.name, colors.conversions};
    }
    if (colors.layerToWork)
        colors.layerToWork->apply(loaded.layer,
                                  isModule() ? AlphaForm::kStraight : AlphaForm::kAssociated);
    if (colors.plateToWork && loaded.plate)
        colors.plateToWork->apply(*loaded.plate, AlphaForm::kAssociated);
}

}  // namespace zelk
