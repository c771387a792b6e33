// Reading of a frame's pictures; see frame_stages.h.
#include <utility>

#include "hostkit/pixel_ops.h"
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

World FrameStages::layerWorld(int frame) {
    if (!m_files.layer.isThere(frame)) throw m_files.layer.missing(frame).error();
    PictureReader layer = m_files.layer.own(frame).open();
    m_warnings.add(layer.warnings());
    return readStraightWorld(layer);
}

/// A file that holds windows, channels and parts of its own gets those of the plate.
ReadOptions FrameStages::plateReading() const {
    bool const isHeld = m_scene.output && isOpenExrName(m_scene.outputPath());
    return {m_scene.keepsOrientation, isHeld && !m_scene.dropsOverscan,
            isHeld && channelsOf(m_scene) != OutputChannels::kAlpha};
}

LoadedFrame FrameStages::load(int frame, int reduce, bool isForFile) {
    LoadedFrame loaded;
    loaded.reduce = reduce;
    PictureTraits layer, plate;
    loaded.matte = matteOf(m_scene, m_files, frame, m_sizes.layer);
    loaded.layer = loadLayer(m_files.layer.pictureOf(frame), layer, loaded);
    loaded.matte.reset();
    ReadOptions const how = isForFile ? plateReading() : ReadOptions{m_scene.keepsOrientation};
    if (m_files.plate) loadPlate(m_files.plate->pictureOf(frame), plate, how, loaded);
    loaded.holdout = holdoutOf(m_scene, m_files, frame, holdoutFrame(loaded.overscan));
    settleOutput(layer, plate, loaded);
    endStage("read");
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

/// How the frame's file will be, and what is odd about the two inputs together.
void FrameStages::settleOutput(PictureTraits const& layer, PictureTraits const& plate,
                               LoadedFrame& loaded) {
    loaded.file = isModule() ? ownFrameOutput(m_scene, m_run, layer,
                                              marginOf(m_host->parameters(), loaded.ask))
                             : outputOf(m_scene, m_run, layer, m_files.plate ? &plate : nullptr);
    if (!isModule()) loaded.file.margins = loaded.overscan;
    std::vector<std::string> warnings;
    if (m_files.plate) addColorWarning(m_scene, layer, plate, warnings);
    m_warnings.add(warnings);
}

}  // namespace zelk
