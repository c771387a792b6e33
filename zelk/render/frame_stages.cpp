// Rendering of a frame; see frame_stages.h.
#include "zelk/render/frame_stages.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "Transform/Common/PixelMemory.h"
#include "Transform/Common/PopupEntries.h"
#include "Transform/Common/Transform_Core_Render/PassPlan.h"
#include "hostkit/pixel_ops.h"
#include "zelk/render/explanation.h"
#include "zelk/render/load_module.h"
#include "zelk/render/memory_budget.h"
#include "zelk/render/resampling.h"
#include "zelk/render/setup.h"
#include "zelk/render/shrink.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/refusal.h"
#include "zelk/text/errors.h"

namespace zelk {

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

FrameStages::FrameStages(Scene scene, RunOptions run, Explanation const* explanation)
    : m_scene(std::move(scene)),
      m_run(std::move(run)),
      m_host(hostOf(m_scene)),
      m_files(m_scene),
      m_warnings(m_run.isStrict),
      m_explanation(explanation) {
    if (!m_run.isForEdit) m_colors.emplace(m_scene);
    m_scene.comp.timeBase = rateOf(m_scene, m_files);
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
    int most = std::min(m_sizes.layer.width, m_sizes.layer.height);
    if (!isModule()) most = std::min({most, m_sizes.frame.width, m_sizes.frame.height});
    requireReduction(reduce, most / downsample());
}

void requireReduction(int reduce, int most) {
    if (reduce >= 1 && reduce <= most) return;
    throw UserError(ExitCode::kUsage, {"preview", "can't be reduced by", std::to_string(reduce),
                                       fmt::format("a whole number from 1 to {}", most)});
}

World FrameStages::world(int frame, PreviewOptions const& options) {
    beginAt(frame);
    requireReduced(options.reduce);
    LoadedFrame loaded = load(frame, options.reduce, false);
    loaded.part = options.part;
    return finished(render(frame, std::move(loaded)));
}

World FrameStages::finished(RenderedFrame rendered) const {
    World& picture = rendered.picture;
    if (!isModule()) makeStraight(picture);
    if (m_scene.color.output && rendered.colors.workToOutput)
        rendered.colors.workToOutput->apply(picture, AlphaForm::kStraight);
    return std::move(picture);
}

void FrameStages::watch(std::atomic<bool> const* isStopped) {
    m_watched = isStopped;
    if (isStopped)
        m_host->stopWhen([this] { return isEnding(); });
    else
        m_host->stopWhen({});
}

UserError FrameStages::stopped(std::string const& after) const {
    return {ExitCode::kInterrupted, "the render was stopped" + after};
}

World FrameStages::shown(int frame, Shown what, std::optional<std::string> const& view,
                         std::string const& thing) {
    beginAt(frame);
    FrameColors colors;
    World picture;
    if (what == Shown::kLayer) {
        picture = layerWorld(frame, colors);
    } else {
        // As the panel sees it: the display window.
        RenderedFrame rendered = render(frame, load(frame, 1, false));
        picture = std::move(rendered.picture);
        if (!isModule()) makeStraight(picture);
        colors = std::move(rendered.colors);
    }
    if (auto const way = m_colors->toDisplay(colors.work, view, thing))
        way->apply(picture, AlphaForm::kStraight);
    return picture;
}

void FrameStages::check(int frame) {
    LoadedFrame headers;
    PictureTraits layer = m_layerTraits, plate = m_plateTraits;
    headers.ask = m_ask;
    if (auto const file = m_files.layer.pictureOf(frame)) {
        PictureReader const picture = openSized(*file, m_sizes.layer, file->how);
        layer = picture.traits();
        if (isModule()) {
            headers.ask = moduleRenderOf(m_scene, *m_host, picture, renderDepth(layer));
            zelk::requireMemory(*m_host, headers.ask);
        }
    }
    if (m_files.plate)
        if (auto const file = m_files.plate->pictureOf(frame)) {
            PictureReader const picture = openSized(*file, m_sizes.frame, plateReading());
            plate = picture.traits();
            if (plateReading().keepsOverscan) headers.overscan = picture.overscan();
        }
    if (m_files.stMap)
        if (auto const file = m_files.stMap->pictureOf(frame))
            m_warnings.add(checkStMap(*file, m_sizes.frame));
    checkMattes(m_scene, m_files, frame, m_sizes.layer, holdoutFrame(headers.overscan));
    settleOutput(layer, plate, headers);
    PinFrame const space = pinFrameOf(headers.ask, downsample(), headers.overscan);
    plan(space, frameRequest(m_comp, frame), Depth::kFloat);
    PixelSize const size = space.whole();
    if (isMovieName(m_scene.outputPath())) {
        if (!std::exchange(m_isMovieChecked, true)) checkMovie(movieRequestOf(size));
    } else if (m_scene.output) {
        m_warnings.add(checkPicture(size, m_files.output.pathOf(frame), headers.file));
    }
}

Depth FrameStages::renderDepth(PictureTraits const& layer) {
    Depth const asked = m_scene.depth.value_or(layer.depth);
    if (!m_colors || !m_roundsLast || asked >= layer.depth) return asked;
    WriteRequest file = ownFrameOutput(m_scene, m_run, layer, {});
    FrameColors const colors = m_colors->settle(layer, nullptr, file);
    bool const converts = colors.layerToWork || colors.workToOutput || colors.workToStored;
    return converts ? layer.depth : asked;
}

/// The layer, the frame and the margin as the render has them.
PinFrame FrameStages::pinFrameOf(ModuleRender const& ask, Reduction const& memory,
                                 PixelMargins const& overscan) const {
    Reduction const n = isModule() ? ask.reduction : memory;
    PixelSize const margin = isModule() ? marginOf(m_host->parameters(), ask) : PixelSize{};
    PixelSize const layer = reduced(m_sizes.layer, n), frame = reduced(m_sizes.frame, n);
    return {layer.width, layer.height, frame.width,   frame.height,
            n,           margin.width, margin.height, overscan};
}

PixelSize FrameStages::outputSize() const { return pinFrameOf(m_ask, downsample(), {}).whole(); }

/// After beginEdit too, which reads no header.
PixelSize FrameStages::previewSize(int reduce, std::optional<PixelSize> to) const {
    ModuleRender ask;
    ask.reduction = to ? reductionTo(*to) : downsample() * reduce;
    ask.isPlain = m_scene.isPlain || !m_host->supportsSmartRender();
    return pinFrameOf(ask, ask.reduction, {}).whole();
}

PixelSize FrameStages::withinFrame(PixelSize size) const {
    PixelSize const& full = m_sizes.frame;
    return {std::clamp(size.width, 1, full.width), std::clamp(size.height, 1, full.height)};
}

Reduction FrameStages::reductionTo(PixelSize wanted) const {
    PixelSize const& full = m_sizes.frame;
    PixelSize const size = withinFrame(wanted);
    return {{size.width, full.width}, {size.height, full.height}};
}

RenderedFrame FrameStages::render(int frame, LoadedFrame loaded) {
    if (loaded.explanation) loaded.explanation->clock.leaveOut();
    FrameRequest const moment = frameRequest(m_comp, frame);
    try {
        FrameRest rest;
        World picture = isModule() ? renderedByModule(loaded, moment, rest)
                                   : renderedInMemory(loaded, moment, rest);
        AlphaForm const form = isModule() ? AlphaForm::kStraight : AlphaForm::kAssociated;
        return {std::move(picture),       form,
                wholeOf(loaded),          loaded.file,
                std::move(loaded.colors), loaded.explanation,
                std::move(rest)};
    } catch (UserError const&) {
        if (isEnding()) throw stopped(" within a frame");
        throw;
    }
}

PixelSize FrameStages::wholeOf(LoadedFrame const& loaded) const {
    return pinFrameOf(loaded.ask, loaded.reduction, loaded.overscan).whole();
}

/// Cuts out what is wanted, or leaves it to who shows the picture, where nobody else reads it.
PartOf FrameStages::cut(World& picture, LoadedFrame const& loaded, FrameRest& rest) {
    PartOf place = {{picture.width(), picture.height()}};
    if (!loaded.part) return place;
    PixelRect const& asked = *loaded.part;
    Bounds const whole = Bounds::of(picture);
    Bounds const part = whole.meet({asked.left, asked.top, asked.right, asked.bottom});
    if (part.empty())
        throw UserError(ExitCode::kUsage, "preview: the part lies outside the picture");
    if (part == whole) return place;
    if (loaded.isForScreen && !loaded.holdout) {
        rest.part = part;
        return place;
    }
    picture.setOrigin(0, 0);
    picture = partOf(picture, {part.left, part.top, part.right, part.bottom});
    picture.setOrigin(0, 0);
    place.left = part.left;
    place.top = part.top;
    return place;
}

World FrameStages::renderedByModule(LoadedFrame& loaded, FrameRequest const& moment,
                                    FrameRest& rest) {
    PinFrame const space = pinFrameOf(loaded.ask, 1, {});
    Explanation* const explanation = loaded.explanation.get();
    if (explanation) {
        explanation->isPlain = loaded.ask.isPlain;
        explanation->margin = {space.marginX, space.marginY};
    }
    plan(space, moment, loaded.ask.depth, explanation);
    World picture = renderByModule(*m_host, loaded.layer->picture, loaded.ask, moment);
    loaded.layer.reset();
    endStage("render", explanation);
    if (explanation) explanation->covered = countCovered(picture);
    PartOf const part = cut(picture, loaded, rest);
    if (loaded.holdout)
        holdOut(picture, part, AlphaForm::kStraight, *loaded.holdout, holdoutReduce(loaded));
    return picture;
}

/// Of the plane as it was loaded: one that was made smaller has the frame's size already.
int FrameStages::holdoutReduce(LoadedFrame const& loaded) const {
    if (!loaded.reduction.isWhole()) return 1;
    return isModule() ? loaded.ask.downsample : loaded.reduce;
}

/// Pixels that nobody wants are left out, where none of them gets into another one.
void FrameStages::limitPixels(LoadedFrame const& loaded, ResampleOptions& resample) const {
    int const quality =
        entryOfHost(static_cast<int>(currentNumber(m_host->parameters(), kParamQuality)));
    bool const isHeld = m_host->parameters()[kParamQuality].track().empty() && !softens(quality);
    if (!loaded.part || loaded.plateRows || !loaded.overscan.isNone() || !isHeld) return;
    PixelSize const size = reduced(m_sizes.frame, loaded.reduction);
    resample.wantedTop = std::clamp(loaded.part->top, 0, size.height);
    resample.wantedEnd = std::clamp(loaded.part->bottom, 0, size.height);
    resample.wantedRight = std::clamp(loaded.part->right, 0, size.width);
}

/// The pinned layer in the frame with its overscan. What has no place in the frame, as without To
/// Pins, is rendered without any and lies at the frame's own corner.
World FrameStages::pinnedInMemory(LoadedFrame& loaded, FrameRequest const& moment) {
    Reduction const& by = loaded.reduction;
    PixelSize const layer = reduced(m_sizes.layer, by), frame = reduced(m_sizes.frame, by);
    ImageSizes full = m_sizes;
    // Whole blocks alone are there.
    if (int const n = loaded.reduce; by.isWhole())
        full = {{layer.width * n, layer.height * n}, {frame.width * n, frame.height * n}};
    FrameMap map;
    ResampleOptions resample = resampleOptionsOf(m_scene, by.larger());
    if (loaded.map) {
        map = loaded.map->frameMap();
        resample.map = &map;
    }
    limitPixels(loaded, resample);
    auto const rendered = [&](PixelMargins const& overscan) {
        PixelSize const whole = frame + overscan;
        World picture({whole.width, whole.height, Depth::kFloat}, PixelMemory::Start::kAnything);
        full.overscan = overscan;
        renderInMemory(m_host->parameters(), loaded.layer->picture, picture, full, moment,
                       m_scene.layer.name(), resample, [this] { return isEnding(); });
        return picture;
    };
    auto const parameters =
        parametersAt(m_host->parameters(), {moment.time, moment.timeBase.scale});
    bool const isPlaced = pinQuads(parameters, pinFrameOf(loaded.ask, by, {})).passes.usesToQuad();
    if (isPlaced || loaded.overscan.isNone()) return rendered(loaded.overscan);
    return widened(rendered({}), loaded.overscan);
}

World FrameStages::renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment,
                                    FrameRest& rest) {
    Explanation* const explanation = loaded.explanation.get();
    // What there is to say of a frame of any other size is what there is of it in full.
    Reduction const planned = loaded.reduction.isWhole() ? loaded.reduction : 1;
    plan(pinFrameOf(loaded.ask, planned, loaded.overscan), moment, Depth::kFloat, explanation);
    World picture = pinnedInMemory(loaded, moment);
    loaded.layer.reset();
    loaded.map.reset();
    endStage("render", explanation);
    if (explanation) explanation->covered = countCovered(picture);
    int const mode = m_scene.overMode.value_or(PF_Xfer_IN_FRONT);
    if (loaded.plateRows) {
        if (loaded.holdout)
            holdOut(picture, {{picture.width(), picture.height()}}, AlphaForm::kAssociated,
                    *loaded.holdout, holdoutReduce(loaded));
        layOver(picture, *loaded.plateRows, loaded.colors.plateToWork.get(), mode);
        cut(picture, loaded, rest);
    } else {
        PartOf const part = cut(picture, loaded, rest);
        if (loaded.holdout)
            holdOut(picture, part, AlphaForm::kAssociated, *loaded.holdout, holdoutReduce(loaded));
        if (loaded.plate && loaded.isForScreen)
            rest.plate = loaded.plate, rest.mode = mode, rest.left = part.left, rest.top = part.top;
        else if (loaded.plate)
            layOver(picture, loaded.plate->picture, mode, part.left, part.top);
    }
    if (m_files.plate) endStage("plate", explanation);
    return picture;
}

QuadMap FrameStages::mapAt(int frame) {
    FrameRequest const moment = momentOf(frame);
    PinFrame const space = pinFrameOf(m_ask, 1, {});
    plan(space, moment, Depth::kFloat);
    return mapOf(parametersAt(m_host->parameters(), {moment.time, moment.timeBase.scale}), space,
                 resampleOptionsOf(m_scene, 1));
}

World FrameStages::stPictureAt(int frame) {
    return stPictureOf(mapAt(frame), m_host->parameters(), momentOf(frame),
                       resampleOptionsOf(m_scene, 1));
}

/// Notes what is about to be rendered.
void FrameStages::plan(PinFrame const& frame, FrameRequest const& moment, Depth depth,
                       Explanation* explanation) {
    auto const parameters =
        parametersAt(m_host->parameters(), {moment.time, moment.timeBase.scale});
    std::string const why = unusablePins(parameters, frame);
    m_warnings.add(why.empty() ? std::vector<std::string>()
                               : std::vector{why + ", so nothing is drawn"});
    ResampleOptions const resample = isModule() ? ResampleOptions{} : resampleOptionsOf(m_scene, 1);
    PlanReport const plan = planOf(parameters, frame, resample);
    warnOfShrink(parameters, plan);
    if (!explanation) return;
    explanation->layer = {frame.layerWidth, frame.layerHeight};
    explanation->frame = frame.whole();
    explanation->overscan = frame.overscan;
    if (m_scene.matte) explanation->matte = describe(*m_scene.matte);
    if (m_scene.holdout) explanation->holdout = describe(*m_scene.holdout);
    if (m_scene.stMap) explanation->stMap = m_scene.stMap->name();
    explanation->renderDepth = depth;
    explanation->plan = plan;
}

/// Once a run. Medium reads two pixels a side and High four, wherever they stand.
void FrameStages::warnOfShrink(std::vector<Parameter> const& parameters, PlanReport const& plan) {
    if (m_scene.filter || m_scene.isBest) return;
    auto const quality = entryOfHost(static_cast<int>(currentNumber(parameters, kParamQuality)));
    if (quality != kQualityMedium && quality != kQualityHigh) return;
    double const most = quality == kQualityMedium ? kMostShrinkOfMedium : kMostShrinkOfHigh;
    if (largestShrink(plan) <= most) return;
    m_warnings.add(
        {fmt::format("the layer shrinks to less than half somewhere, where fine detail "
                     "flickers and makes stairs: {}",
                     toGive(m_scene, "quality", "best"))});
}

void FrameStages::endStage(char const* stage, Explanation* explanation) {
    if (explanation) explanation->clock.lap(stage);
    if (m_listener) m_listener(stage);
    if (isEnding()) throw stopped(fmt::format(" after {}", stage));
}

/// Bytes that a frame holds on its way, and those of the one that is being rendered.
std::uint64_t FrameStages::bytesInFlight() const {
    RenderSize size{m_sizes.layer.width, m_sizes.layer.height, m_ask.depth, 0, 0, 0,
                    m_ask.besidesBytes};
    return isModule() ? renderBytes(size) : bytesInMemory(downsample());
}

namespace {

std::uint64_t pixels(PixelSize of) { return std::uint64_t(of.width) * std::uint64_t(of.height); }

}  // namespace

/// Of the memory road.
std::uint64_t FrameStages::bytesInMemory(int reduce) const {
    bool const isKept = m_files.plate && (m_kept || m_inFlight > 1 || reduce > 1);
    PixelSize const frame = reduced(m_sizes.frame, reduce) + m_sizes.overscan;
    return (isKept ? 16 * pixels(frame) : 0) + bytesInMemory(reduced(m_sizes.layer, reduce), frame);
}

/// But for the plate.
std::uint64_t FrameStages::bytesInMemory(PixelSize layer, PixelSize frame) const {
    // Of Quality "best": halves of halves of the layer.
    std::uint64_t const pyramid = m_scene.isBest ? 16 * pixels(layer) / 3 : 0;
    // Numbered maps are as many as frames; a scan through one has corners of pixels too.
    std::uint64_t const map = m_files.stMap ? (8 + 16) * pixels(frame) : 0;
    return pyramid + map + m_besidesBytes +
           frameRenderBytes(layer.width, layer.height, frame.width, frame.height);
}

void FrameStages::checkMemory() const {
    if (m_inFlight == 1 && isModule()) return;
    std::uint64_t const need = bytesInFlight() * m_inFlight;
    if (need <= availableBytes()) return;
    if (m_inFlight == 1) throw tooLarge(m_sizes.layer, m_sizes.frame, need);
    throw UserError(ExitCode::kInput,
                    fmt::format("{}: {} frames need {} MB of free memory; hold fewer",
                                spelled(m_scene, "in-flight"), m_inFlight, need / 1'000'000));
}

UserError FrameStages::tooLarge(PixelSize layer, PixelSize frame, std::uint64_t need) const {
    return {ExitCode::kInput, fmt::format("{}: {}x{} in a frame of {}x{} need {} MB of free memory",
                                          m_scene.layer.name(), layer.width, layer.height,
                                          frame.width, frame.height, need / 1'000'000)};
}

ModuleRender FrameStages::askOf(int reduce, std::optional<PixelSize> to) const {
    ModuleRender ask = m_ask;
    ask.reduceBy(reduce);
    if (!to) return ask;
    ask.reduction = reductionTo(*to);
    ask.besidesBytes += sourceBytes();
    return ask;
}

/// Of the inputs that smaller ones are made of.
std::uint64_t FrameStages::sourceBytes() const {
    if (isModule()) return std::uint64_t(pixelBytes(m_ask.depth)) * pixels(m_sizes.layer);
    int const planes = (m_files.plate ? 16 : 0) + (m_files.stMap ? 8 : 0);
    return std::uint64_t(planes) * pixels(m_sizes.frame);
}

std::uint64_t FrameStages::frameBytes(int reduce, std::optional<PixelSize> to) const {
    if (isModule()) return moduleBytes(*m_host, askOf(reduce, to));
    if (!to) return bytesInMemory(downsample() * reduce);
    PixelSize const size = withinFrame(*to);
    std::uint64_t const plate = m_files.plate ? 16 * pixels(size) : 0;
    return sourceBytes() + plate + bytesInMemory(m_sizes.layer, size);
}

void FrameStages::requireMemory(int reduce, std::optional<PixelSize> to) const {
    if (isModule()) return zelk::requireMemory(*m_host, askOf(reduce, to));
    std::uint64_t const need = frameBytes(reduce, to);
    int const n = downsample() * reduce;
    if (need > availableBytes())
        throw tooLarge(reduced(m_sizes.layer, n), reduced(m_sizes.frame, n), need);
}

}  // namespace zelk
