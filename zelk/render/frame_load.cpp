// Reading of a frame's pictures; see frame_stages.h.
#include <fmt/format.h>

#include <utility>

#include <algorithm>

#include "hostkit/pixel_ops.h"
#include "zelk/pictures/area_reduce.h"
#include "zelk/render/explanation.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/setup.h"
#include "zelk/text/errors.h"

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
    colors = m_colors->settle(layer.traits(), nullptr, nowhere);
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

/// By its key, or read now; kept where inputs are.
template <class Read>
std::shared_ptr<ReadInput> FrameStages::kept(std::string const& key, Read const& read) {
    auto const input = m_kept ? m_kept->readOnce(key, read) : std::make_shared<ReadInput>(read());
    m_warnings.add(input->warnings);
    return input;
}

LoadedFrame FrameStages::load(int frame, int reduce, bool isForFile) {
    LoadedFrame loaded;
    if (m_explanation) loaded.explanation = std::make_shared<Explanation>(*m_explanation);
    if (m_explanation) loaded.explanation->clock.leaveOut();
    loaded.reduce = reduce * (isModule() ? 1 : downsample());
    PictureTraits plate;
    loaded.layer = layerAt(frame, loaded.reduce);
    loaded.ask = loaded.layer->ask;
    loaded.reduction = isModule() ? loaded.ask.reduction : Reduction(loaded.reduce);
    ReadOptions const how = isForFile ? plateReading() : ReadOptions{m_scene.keepsOrientation};
    if (m_files.plate) loadPlate(frame, plate, how, loaded);
    loaded.holdout = loadHoldout(frame, loaded.overscan);
    if (m_files.stMap) loaded.map = loadMap(m_files.stMap->pictureOf(frame), loaded.reduce);
    settleOutput(loaded.layer->traits, plate, loaded);
    convertInputs(frame, how, loaded);
    endStage("read", loaded.explanation.get());
    return loaded;
}

namespace {

template <class Input>
bool isOf(Input const&, Input const&) {
    return true;
}
/// Colours may have been converted since.
bool isOf(ReadInput const& made, ReadInput const& from) {
    return made.conversion == from.conversion;
}

/// By `make`, unless it is the last one.
template <class Input, class Make>
void makeSmaller(SmallerOf<Input>& last, PixelSize to, std::shared_ptr<Input>& input,
                 Make const& make) {
    if (!input) return;
    if (last.from.lock() != input || last.size != to || !isOf(*last.made, *input)) {
        last = {};
        auto made = make(*input, to);
        last = {input, to, std::make_shared<Input>(std::move(made))};
    }
    input = last.made;
}

ReadInput smallerPicture(ReadInput const& input, PixelSize to, AlphaForm form) {
    ReadInput made;
    made.picture = areaReduced(input.picture, to, form);
    made.traits = input.traits;
    made.conversion = input.conversion;
    return made;
}

std::uint64_t bytesOf(std::shared_ptr<ReadInput> const& input) {
    return input ? worldBytes(input->picture) : 0;
}

}  // namespace

void FrameStages::sizeTo(PixelSize to, LoadedFrame& loaded) {
    to = withinFrame(to);
    loaded.reduction = loaded.ask.reduction = reductionTo(to);
    auto const straight = [](ReadInput const& input, PixelSize size) {
        return smallerPicture(input, size, AlphaForm::kStraight);
    };
    auto const associated = [](ReadInput const& input, PixelSize size) {
        return smallerPicture(input, size, AlphaForm::kAssociated);
    };
    auto const plane = [](ChannelPlane const& holdout, PixelSize size) {
        return areaReduced(holdout, size);
    };
    auto const positions = [](StMap const& map, PixelSize size) { return reducedMap(map, size); };
    if (isModule()) makeSmaller(m_smaller.layer, to, loaded.layer, straight);
    makeSmaller(m_smaller.plate, to, loaded.plate, associated);
    makeSmaller(m_smaller.holdout, to, loaded.holdout, plane);
    makeSmaller(m_smaller.map, to, loaded.map, positions);
}

std::uint64_t FrameStages::smallerBytes() const {
    auto const& [layer, plate, holdout, map] = m_smaller;
    return bytesOf(layer.made) + bytesOf(plate.made) +
           sizeof(float) * ((holdout.made ? holdout.made->values.size() : 0) +
                            (map.made ? map.made->positions.size() : 0));
}

/// All that the layer's pixels depend on, but for colour spaces.
std::string FrameStages::layerKey(int frame, int reduce) const {
    auto const matte = m_files.matte ? m_files.matte->pictureOf(frame) : std::nullopt;
    auto const depth = m_scene.depth ? static_cast<int>(*m_scene.depth) : -1;
    return fmt::format("layer {} {}x{} / {} {} {} {} {} {} {} matte {} {}",
                       inputKey(m_files.layer.pictureOf(frame)), m_sizes.layer.width,
                       m_sizes.layer.height, reduce, isModule(), depth, downsample(),
                       m_scene.isPlain, static_cast<int>(m_scene.hostApp()),
                       m_scene.module.string(), m_files.matte ? inputKey(matte) : "",
                       m_scene.matte ? m_scene.matte->channel : "");
}

std::shared_ptr<ReadInput> FrameStages::layerAt(int frame, int reduce) {
    auto const file = m_files.layer.pictureOf(frame);
    return kept(m_kept ? layerKey(frame, reduce) : "",
                [&] { return readLayerOf(file, frame, reduce); });
}

ReadInput FrameStages::readLayerOf(std::optional<InputPicture> const& file, int frame, int reduce) {
    ReadInput read;
    read.traits = m_layerTraits;
    read.ask = m_ask;
    read.ask.reduceBy(reduce);
    if (!file) {
        PixelSize const size = reduced(m_sizes.layer, isModule() ? read.ask.downsample : reduce);
        read.picture = isModule() ? World(m_host->worldSpec(size.width, size.height, m_ask.depth))
                                  : World({size.width, size.height, Depth::kFloat});
        return read;
    }
    auto const matte = matteOf(m_scene, m_files, frame, m_sizes.layer, read.warnings);
    PictureReader picture = openSized(*file, m_sizes.layer, file->how);
    read.source = file->buffer;
    read.traits = picture.traits();
    for (std::string const& warning : picture.warnings()) read.warnings.push_back(warning);
    picture.setMatte(matte);
    if (isModule()) {
        read.ask = moduleRenderOf(m_scene, *m_host, picture, renderDepth(read.traits), reduce);
        read.picture = readLayer(*m_host, picture, read.ask);
    } else {
        read.picture = associatedWorld(picture, reduce);
    }
    return read;
}

ReadInput FrameStages::readPlateOf(std::optional<InputPicture> const& file, ReadOptions const& how,
                                   int reduce) const {
    ReadInput read;
    read.traits = m_plateTraits;
    if (!file) {
        PixelSize const size = reduced(m_sizes.frame, reduce);
        read.picture = World({size.width, size.height, Depth::kFloat});
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) read.picture.rowAs<float>(y)[4 * x] = 1;
        return read;
    }
    PictureReader picture = openSized(*file, m_sizes.frame, how);
    read.source = file->buffer;
    read.traits = picture.traits();
    for (std::string const& warning : picture.warnings()) read.warnings.push_back(warning);
    if (how.keepsOverscan) read.overscan = picture.overscan();
    read.picture = associatedWorld(picture, reduce);
    return read;
}

std::shared_ptr<ReadInput> FrameStages::plateAt(int frame, ReadOptions const& how, int reduce) {
    auto const file = m_files.plate->pictureOf(frame);
    return kept(m_kept ? plateKey(frame, reduce) : "",
                [&] { return readPlateOf(file, how, reduce); });
}

std::string FrameStages::plateKey(int frame, int reduce) const {
    return fmt::format("plate {} {}x{} / {}", inputKey(m_files.plate->pictureOf(frame)),
                       m_sizes.frame.width, m_sizes.frame.height, reduce);
}

/// Of one frame alone the rows wait in their file: nothing would be gained by keeping them.
void FrameStages::loadPlate(int frame, PictureTraits& traits, ReadOptions const& how,
                            LoadedFrame& loaded) {
    auto const file = m_files.plate->pictureOf(frame);
    if (!file || m_kept || m_inFlight > 1 || loaded.reduce > 1) {
        loaded.plate = plateAt(frame, how, loaded.reduce);
        traits = loaded.plate->traits;
        loaded.overscan = loaded.plate->overscan;
        return;
    }
    PictureReader& picture = loaded.plateRows.emplace(openSized(*file, m_sizes.frame, how));
    traits = picture.traits();
    if (how.keepsOverscan) loaded.overscan = picture.overscan();
    m_warnings.add(picture.warnings());
}

std::shared_ptr<ChannelPlane const> FrameStages::loadHoldout(int frame,
                                                             PixelMargins const& overscan) {
    if (!m_files.holdout) return nullptr;
    struct Holdout {
        std::shared_ptr<ChannelPlane const> plane;
        std::vector<std::string> warnings;
    };
    auto const read = [&] {
        Holdout holdout;
        holdout.plane =
            holdoutOf(m_scene, m_files, frame, holdoutFrame(overscan), holdout.warnings);
        m_warnings.add(holdout.warnings);
        return holdout;
    };
    if (!m_kept || !overscan.isNone()) return read().plane;
    std::string const key =
        fmt::format("holdout {} {} {}x{}", inputKey(m_files.holdout->pictureOf(frame)),
                    m_scene.holdout->channel, m_sizes.frame.width, m_sizes.frame.height);
    if (auto const kept = m_kept->find<Holdout>(key)) {
        m_warnings.add(kept->warnings);
        return kept->plane;
    }
    auto const holdout = std::make_shared<Holdout>(read());
    if (holdout->plane) m_kept->keep(key, holdout, sizeof(float) * holdout->plane->values.size());
    return holdout->plane;
}

/// One map mostly serves a whole shot: it is read again where its file has changed alone.
std::shared_ptr<StMap const> FrameStages::loadMap(std::optional<InputPicture> const& file,
                                                  int reduce) {
    std::string key = fmt::format("{}:{}", reduce, file ? file->name() : "");
    std::error_code fault;
    if (file && file->isOnDisk())
        key += fmt::format(
            ":{}", std::filesystem::last_write_time(file->file, fault).time_since_epoch().count());
    if (m_map && key == m_mapKey) {
        m_warnings.add(m_mapWarnings);
        return m_map;
    }
    m_map.reset();
    m_mapWarnings.clear();
    if (file) m_mapWarnings = checkStMap(*file, m_sizes.frame);
    m_warnings.add(m_mapWarnings);
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
    loaded.colors = m_colors->settle(layer, m_files.plate ? &plate : nullptr, loaded.file);
    m_warnings.add(loaded.colors.warnings);
    m_conversions.add(loaded.colors.conversions);
}

namespace {

/// Once: false for a picture that is in another space already, and has to be read again.
bool convert(ReadInput& input, SharedTransform const& way, ColorSpace const& from,
             ColorSpace const& to, AlphaForm form) {
    bool const isDone = input.conversion.has_value();
    if (!way) return !isDone;
    std::pair const wanted(from, to);
    if (isDone) return input.conversion == wanted;
    way->apply(input.picture, form);
    input.conversion = wanted;
    return true;
}

}  // namespace

/// To the working space. Rows of a plate that wait in their file are converted as they are read.
void FrameStages::convertInputs(int frame, ReadOptions const& how, LoadedFrame& loaded) {
    FrameColors const& colors = loaded.colors;
    if (loaded.explanation) {
        loaded.explanation->color = {colors.layer.name, colors.plate ? colors.plate->name : "",
                                     colors.work.name, colors.output.name, colors.conversions};
    }
    AlphaForm const form = isModule() ? AlphaForm::kStraight : AlphaForm::kAssociated;
    auto const convertLayer = [&] {
        return convert(*loaded.layer, colors.layerToWork, colors.layer, colors.work, form);
    };
    if (!convertLayer()) {
        m_kept->drop(layerKey(frame, loaded.reduce));
        loaded.layer = layerAt(frame, loaded.reduce);
        convertLayer();
    }
    if (!loaded.plate) return;
    auto const convertPlate = [&] {
        return convert(*loaded.plate, colors.plateToWork, colors.plate.value_or(colors.work),
                       colors.work, AlphaForm::kAssociated);
    };
    if (convertPlate()) return;
    m_kept->drop(plateKey(frame, loaded.reduce));
    loaded.plate = plateAt(frame, how, loaded.reduce);
    convertPlate();
}

}  // namespace zelk
