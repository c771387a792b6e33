// Stages that stay; see live_renderer.h.
#include "zelk/render/live_renderer.h"

#include <fmt/format.h>

#include <algorithm>

#include "Transform/Common/PixelMemory.h"
#include "hostkit/pixel_ops.h"
#include "zelk/pictures/buffer_input.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/memory_budget.h"
#include "zelk/scene/color_names.h"
#include "zelk/scene/inputs.h"
#include "zelk/scene/invert.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// One frame at a time.
RunOptions oneByOne() {
    RunOptions run;
    run.inFlight = 1;
    return run;
}

/// Name and time of the colour configuration, and whether it is used.
std::string configKey(Scene const& scene) {
    std::filesystem::path const file = colorConfigFile(scene);
    std::string const key = file.empty() ? "" : inputKey(InputPicture{file});
    return key + (scene.color.isBuiltIn ? " built in" : "");
}

/// Colour goes from a curve over BT.709's primaries to sRGB: each channel alone.
bool isCurve(ColorSpace const& space, LiveScreen const& how) {
    CurveSpace const* const curve = space.curve();
    return curve && !how.view && curve->primaries == kRec709Primaries;
}

UserError outside() { return {ExitCode::kUsage, "preview: the part lies outside the picture"}; }

}  // namespace

struct LiveRenderer::Inputs {
    explicit Inputs(Scene const& scene) : files(scene), colors(scene) {}
    SceneFiles files;
    SceneColors colors;
};

LiveRenderer::LiveRenderer(std::uint64_t inputBytes) : m_kept(inputBytes) {}
LiveRenderer::~LiveRenderer() = default;

void LiveRenderer::dropStages() {
    m_shownPlate = {};
    m_way.reset();
    m_stages.reset();
    m_inputs.reset();
    m_fitting = {};
}

void LiveRenderer::setScene(Scene scene) {
    std::string config = configKey(scene);
    if (config != m_config) m_kept.clear();
    m_config = std::move(config);
    dropStages();
    m_given = std::move(scene);
    m_scene = invertedScene(m_given);
    m_isSettled = false;
}

/// Quality "best" may be all that a scene has of what the other road alone can do.
void LiveRenderer::setValues(Scene scene) {
    m_given = std::move(scene);
    Scene now = invertedScene(m_given);
    if (now.roadTaken() != m_scene.roadTaken()) dropStages();
    m_scene = std::move(now);
    m_isSettled = false;
}

/// What fails leaves nothing behind but the inputs.
template <class Work>
auto LiveRenderer::working(std::atomic<bool> const* isStopped, Work const& work) {
    if (isStopped && *isStopped) throw UserError(ExitCode::kInterrupted, "the render was stopped");
    try {
        return withUserErrors(work);
    } catch (UserError const& error) {
        if (error.code() != ExitCode::kInterrupted) dropStages();
        throw;
    }
}

namespace {

/// Watches the caller's flag for the length of a scope.
class Watch {
public:
    Watch(FrameStages& stages, std::atomic<bool> const* isStopped) : m_stages(stages) {
        m_stages.watch(isStopped);
    }
    ~Watch() { m_stages.watch(nullptr); }
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;

private:
    FrameStages& m_stages;
};

}  // namespace

FrameStages& LiveRenderer::stagesAt(int frame, bool isBlurred) {
    m_stages->beginAt(frame);
    if (m_isSettled && m_isBlurred == isBlurred) return *m_stages;
    m_isSettled = false;
    m_stages->setValues(m_scene, isBlurred);
    m_isBlurred = isBlurred;
    m_isSettled = true;
    return *m_stages;
}

/// What is kept of other frames makes room for what doesn't fit beside it.
void LiveRenderer::makeRoomFor(std::uint64_t bytes) {
    if (bytes <= availableBytes()) return;
    m_shownPlate = {};
    m_kept.clear();
    if (m_stages) m_stages->dropSmaller();
    if (m_makeRoom) m_makeRoom();
}

void LiveRenderer::requireMemory(FrameStages const& stages, int frame, LiveView const& view) {
    int const reduce = view.reduce;
    std::uint64_t const need = stages.frameBytes(reduce, view.size);
    if (m_fitting.frame == frame && m_fitting.reduce == reduce && need <= m_fitting.bytes) return;
    m_fitting = {};
    // An input that is not there yet is read as for the full frame.
    makeRoomFor(std::max(need, stages.frameBytes(reduce)));
    stages.requireMemory(reduce, view.size);
    m_fitting = {frame, reduce, need};
}

RenderedFrame LiveRenderer::rendered(int frame, LiveView const& view, bool isForScreen,
                                     std::atomic<bool> const* isStopped) {
    if (!m_stages) {
        m_stages = std::make_unique<FrameStages>(m_scene, oneByOne());
        m_stages->keepInputs(&m_kept);
        m_isSettled = false;
    }
    if (view.size && view.reduce * m_scene.downsample.value_or(1) != 1)
        throw UserError(ExitCode::kUsage,
                        "preview: a reduced picture can't have a size of its own");
    Watch const watch(*m_stages, isStopped);
    FrameStages& stages = stagesAt(frame, view.isBlurred);
    stages.requireReduced(view.reduce);
    requireMemory(stages, frame, view);
    LoadedFrame loaded = stages.load(frame, view.reduce, false);
    if (view.size) stages.sizeTo(*view.size, loaded);
    loaded.part = view.part;
    loaded.isForScreen = isForScreen;
    return stages.render(frame, std::move(loaded));
}

PictureBuffer LiveRenderer::picture(int frame, LiveView const& view,
                                    std::atomic<bool> const* isStopped) {
    PictureBuffer picture = working(isStopped, [&] {
        RenderedFrame now = rendered(frame, view, false, isStopped);
        return bufferOf(m_stages->finished(std::move(now)));
    });
    picture.name = fmt::format("frame {}", frame);
    return picture;
}

LivePicture LiveRenderer::screen(int frame, LiveView const& view, LiveScreen const& how,
                                 std::atomic<bool> const* isStopped) {
    return working(isStopped, [&] {
        if (view.shows != LiveView::Shows::kFrame) return inputOnScreen(frame, view, how);
        RenderedFrame now = rendered(frame, view, !how.wantsStored, isStopped);
        return frameOnScreen(std::move(now), how);
    });
}

LivePicture LiveRenderer::frameOnScreen(RenderedFrame now, LiveScreen const& how) {
    LivePicture picture;
    picture.whole = now.whole;
    ScreenWay const way = wayOf(m_stages->colors(), now.colors.work, how);
    FrameRest const& rest = now.rest;
    Bounds const part = rest.part.value_or(Bounds::of(now.picture));
    ScreenPlate plate;
    if (rest.plate)
        plate = {&rest.plate->picture, rest.left + part.left, rest.top + part.top, rest.mode,
                 shownPlate(now, way, how.isBgra)};
    picture.display = screenPicture(now.picture, part, now.form, way, how.isBgra, plate);
    if (how.wantsStored) picture.stored = m_stages->asFile(std::move(now));
    return picture;
}

/// Of a plate that comes again. Null for a new one: one frame alone is not worth it.
World const* LiveRenderer::shownPlate(RenderedFrame const& now, ScreenWay const& way, bool isBgra) {
    std::shared_ptr<ReadInput> const& plate = now.rest.plate;
    ShownPlate& known = m_shownPlate;
    if (known.plate != plate || known.transform != way.transform ||
        (known.picture.width() > 0 && known.picture.spec().bgra != isBgra)) {
        known = {plate, way.transform, {}};
        return nullptr;
    }
    if (known.picture.width() < 1)
        known.picture =
            screenPicture(plate->picture, Bounds::of(plate->picture), now.form, way, isBgra);
    return &known.picture;
}

std::uint64_t LiveRenderer::inputBytes() const {
    std::uint64_t const smaller = m_stages ? m_stages->smallerBytes() : 0;
    return m_kept.bytes() + smaller + worldBytes(m_shownPlate.picture);
}

/// Before an input is read that is shown by itself. A frame that fitted may not do so beside it.
void LiveRenderer::requireInput(PictureReader const& picture, std::string const& name,
                                PixelSize size) {
    Depth const depth = picture.traits().depth;
    std::uint64_t const need =
        shownBytes(size.width, size.height, depth) + picture.turningBytes(pixelBytes(depth) / 4);
    m_fitting = {};
    makeRoomFor(need);
    if (need > availableBytes()) throw pictureTooLarge(name, size, need);
}

std::shared_ptr<ReadInput> LiveRenderer::inputAt(int frame, bool isPlate, int reduce) {
    SceneFiles const& all = m_inputs->files;
    InputFiles const& files = isPlate ? all.plate.value() : all.layer;
    auto const file = files.pictureOf(frame);
    if (!file) throw files.missing(frame).error();
    std::string const name = (isPlate ? *m_given.plate : m_given.layer).name();
    return m_kept.readOnce(fmt::format("shown {} / {}", inputKey(file), reduce), [&] {
        PictureReader picture = file->open();
        requireReduction(reduce, std::min(picture.width(), picture.height()));
        ReadInput read;
        read.source = file->buffer;
        read.traits = picture.traits();
        PixelSize const size = reduced({picture.width(), picture.height()}, reduce);
        requireInput(picture, name, size);
        read.picture = World({size.width, size.height, picture.traits().depth});
        picture.readInto(read.picture, reduce);
        return read;
    });
}

LivePicture LiveRenderer::inputOnScreen(int frame, LiveView const& view, LiveScreen const& how) {
    bool const isPlate = view.shows == LiveView::Shows::kPlate;
    if (isPlate && !m_given.plate)
        throw UserError(ExitCode::kUsage, "the scene has no plate to show");
    if (!m_inputs) m_inputs = std::make_unique<Inputs>(m_given);
    auto const input = inputAt(frame, isPlate, view.reduce);
    WriteRequest nowhere;
    FrameColors const colors =
        m_inputs->colors.settle(input->traits, isPlate ? &input->traits : nullptr, nowhere);
    World const& all = input->picture;
    LivePicture picture;
    picture.whole = {all.width(), all.height()};
    Bounds part = Bounds::of(all);
    if (view.part)
        part = part.meet({view.part->left, view.part->top, view.part->right, view.part->bottom});
    if (part.empty()) throw outside();
    picture.display = screenPicture(
        all, part, AlphaForm::kStraight,
        wayOf(m_inputs->colors, colors.plate.value_or(colors.layer), how), how.isBgra);
    // What is kept for images of pixels does not serve a copy of values.
    bool const fits = worldBytes(all) + PixelMemory::keptBytes() + kRestBytes < availableBytes();
    if (how.wantsStored && fits && part == Bounds::of(all)) picture.stored = bufferOf(all);
    return picture;
}

ScreenWay LiveRenderer::wayOf(SceneColors& colors, ColorSpace const& space, LiveScreen const& how) {
    if (m_way && m_way->colors == &colors && m_way->space == space && m_way->view == how.view)
        return m_way->way;
    ScreenWay way;
    way.transform = colors.toDisplay(space, how.view, "the view");
    if (way.transform && isCurve(space, how)) way.table = byteTableOf(*way.transform);
    m_way = KnownWay{&colors, space, how.view, way};
    return way;
}

std::vector<std::string> LiveRenderer::warnings() const {
    return m_stages ? m_stages->warnings().holding() : std::vector<std::string>();
}

}  // namespace zelk
