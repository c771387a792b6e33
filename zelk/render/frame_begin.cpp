// What is settled before a frame: sizes, composition, values; see frame_stages.h.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "Transform/Common/PopupEntries.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/movie_sound.h"
#include "zelk/render/setup.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/track_use.h"
#include "zelk/scene/values.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

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

/// Where the parameters of a quad begin.
struct QuadPlace {
    int pins, offsets;
};
constexpr QuadPlace kFromQuad = {kFromPins, kFromOffsets}, kToQuad = {kToPins, kToOffsets};

/// A pin at a moment, offset added, in pixels of the picture that it lies in.
Point pinAt(std::vector<Parameter> const& parameters, QuadPlace quad, int corner,
            KeyTime const& time, PixelSize picture) {
    KeyValue const pin = keyValueOf(parameterIn(parameters, quad.pins + corner).at(time));
    auto const offset = [&](int axis) {
        return numberOf(parameterIn(parameters, quad.offsets + 2 * corner + axis).at(time)) * 0.01;
    };
    return {pin[0] + offset(0) * picture.width, pin[1] + offset(1) * picture.height};
}

/// The longest sides that the quad has at any of its pins' keys, rounded: whatever frame is
/// rendered, all have one size.
PixelSize sizeOfQuad(std::vector<Parameter> const& parameters, QuadPlace quad, PixelSize picture) {
    std::set<KeyTime> moments;
    for (int i = quad.pins; i < quad.pins + 4; ++i)
        for (Keyframe const& key : parameterIn(parameters, i).track().keys())
            moments.insert(key.time);
    if (moments.empty()) moments.insert(KeyTime{});
    double width = 1, height = 1;
    for (KeyTime const& time : moments) {
        Corners corners;
        for (int i = 0; i < 4; ++i)
            corners[static_cast<std::size_t>(i)] = pinAt(parameters, quad, i, time, picture);
        auto const length = [&](std::size_t a, std::size_t b) {
            return std::hypot(corners[b].x - corners[a].x, corners[b].y - corners[a].y);
        };
        width = std::max({width, length(0, 1), length(2, 3)});
        height = std::max({height, length(0, 2), length(1, 3)});
    }
    auto const whole = [](double side) {
        return static_cast<int>(std::lround(std::min<double>(side, kLargestPx)));
    };
    return {whole(width), whole(height)};
}

}  // namespace

void FrameStages::begin(std::vector<int> const& frames) {
    if (frames.empty()) throw missing("the frames", "one at least");
    m_inFlight = std::min(static_cast<std::size_t>(m_run.inFlight), frames.size());
    m_files.requireNames();
    checkSound(m_scene, m_files);
    settleComp(frames);
    readSizes(frames);
    settleValues(frames);
}

void FrameStages::beginAt(int frame) {
    if (isEnding()) throw stopped("");
    if (!m_files.isReadable(frame) && m_scene.missing == MissingInput::kStop) {
        m_files.requireNames();
        throw m_files.missingOf(frame).missing(frame).error();
    }
    if (m_scene.hasComp) requireOnClock(m_scene.comp, frame, "frame");
    bool const isBegun = m_scene.hasComp ? !m_frames.empty() : m_frames == std::vector{frame};
    if (!isBegun) begin({frame});
}

void FrameStages::beginEdit(int frame) {
    settleComp({frame});
    PixelSize const whole = {m_comp.width, m_comp.height};
    settleSizes(anyOf(m_files.layer, frame),
                m_files.plate ? anyOf(*m_files.plate, frame) : std::nullopt, {whole, whole});
    settleValues({});
}

void FrameStages::changeEdit(Scene scene, int frame) {
    scene.comp.timeBase = m_scene.comp.timeBase;
    m_scene = std::move(scene);
    m_warnings.valuesChange();
    settleComp({frame});
}

void FrameStages::settleComp(std::vector<int> const& frames) {
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    for (int const frame : {*first, *last}) {
        Comp clock = m_scene.comp;
        if (!m_scene.hasComp) clock.startFrame = *first;
        // Of a composition's own length the last frame ends within the clock too.
        if (!keyTimeOf(clock, frame + (m_scene.hasComp ? 0. : 1.)))
            throw refusalOf(m_scene, SceneField::kFrames,
                            "beyond the composition's clock:", std::to_string(frame),
                            clockText(clock));
    }
    m_comp = compOf(m_scene, *first, *last);
    m_host->setComp(m_comp);
}

/// Of the first frame that can be opened; all others must agree. Of two inputs one may be black
/// throughout: it then has the size of the other.
void FrameStages::readSizes(std::vector<int> const& frames) {
    auto layer = firstOf(m_files.layer, frames);
    auto plate = m_files.plate ? firstOf(*m_files.plate, frames) : std::nullopt;
    bool const mayLackOne = m_scene.missing == MissingInput::kBlack && (layer || plate);
    if (!layer && !mayLackOne) layer = m_files.layer.own(frames.front()).open();
    if (m_files.plate && !plate && !mayLackOne) plate = m_files.plate->own(frames.front()).open();
    m_layerTraits = (layer ? *layer : *plate).traits();
    m_plateTraits = (plate ? *plate : *layer).traits();
    if (isModule()) m_ask = moduleRenderOf(m_scene, *m_host, *layer, renderDepth(m_layerTraits));
    PixelSize const one = (layer ? *layer : *plate).size();
    settleSizes(layer, plate, {one, one});
    m_sizes.overscan = plate && plateReading().keepsOverscan ? plate->overscan() : PixelMargins{};
    m_besidesBytes = matteBytes(m_scene, m_sizes.layer, m_sizes.frame + m_sizes.overscan);
    for (auto const* picture : {&layer, &plate})
        if (*picture) m_besidesBytes += (*picture)->turningBytes(sizeof(float));
}

/// The one place that says how large layer and frame are; `unknown` where no picture tells.
void FrameStages::settleSizes(std::optional<PictureReader> const& layer,
                              std::optional<PictureReader> const& plate,
                              ImageSizes const& unknown) {
    m_sizes.layer = layer ? layer->size() : unknown.layer;
    PixelSize const own = m_files.plate ? unknown.frame : m_sizes.layer;
    m_sizes.frame = m_scene.frameSize().value_or(plate ? plate->size() : own);
    if (!isModule()) requirePixelsLeft();
}

/// Throws where the reduced pictures of the memory road would have none.
void FrameStages::requirePixelsLeft() const {
    int const most = std::min(
        {m_sizes.layer.width, m_sizes.layer.height, m_sizes.frame.width, m_sizes.frame.height});
    if (downsample() <= most) return;
    throw refusalOf(m_scene, SceneField::kDownsample,
                    "leaves nothing of the picture:", std::to_string(downsample()),
                    fmt::format("a whole number from 1 to {}", most));
}

/// Also the frames that other runs show of the same scene: a part of a shot is what the whole is.
FrameSpan FrameStages::shownSpan() const {
    FrameSpan span = {m_comp.startFrame, m_comp.startFrame + m_comp.durationFrames - 1};
    for (InputFiles const* input : {&m_files.layer, m_files.plate ? &*m_files.plate : nullptr}) {
        if (!input || !input->isNumbered()) continue;
        std::vector<int> const there = input->framesThere();
        if (there.empty()) continue;
        span = {std::min(span.first, there.front()), std::max(span.last, there.back())};
    }
    return span;
}

/// A single picture whose number none of the track's frames has shows the first of them, which is
/// rarely the one that belongs to it.
void FrameStages::warnOfNumber(std::vector<int> const& frames) {
    if (frames.size() != 1 || m_scene.hasComp || m_scene.frames || m_scene.tracks.empty()) return;
    TrackUse const& use = m_scene.tracks.front();
    auto const number = numberOfPicture(m_scene, use.pins);
    std::vector<int> const tracked = wholeFrames(*use.track);
    if (!number || *number == frames.front() || tracked.size() < 2) return;
    if (frameOfPicture(m_scene, use.pins, tracked) != frames.front()) return;
    auto const [first, last] = std::minmax_element(tracked.begin(), tracked.end());
    m_warnings.add({fmt::format(
        "{}: its frames are {} to {}, and {} has the number {}: frame {} is shown; {} says which "
        "one, {} numbers the track",
        use.name(), *first, *last,
        (use.pins == TrackedPins::kTo ? *m_scene.plate : m_scene.layer).name(), *number,
        frames.front(), spelled(m_scene, "frames"), spelled(m_scene, "track-first-frame"))});
}

void FrameStages::setValues(Scene scene, bool isBlurred) {
    scene.comp.timeBase = m_scene.comp.timeBase;
    m_scene = std::move(scene);
    m_warnings.valuesChange();
    if (m_frames.empty()) return;
    settleComp(m_frames);
    PixelMargins const overscan = m_sizes.overscan;
    m_sizes = m_pictureSizes;
    m_sizes.overscan = overscan;
    settleValues(m_frames);
    if (isBlurred) return;
    Parameter& blur = parameterIn(m_host->parameters(), kParamMotionBlur);
    setNumber(blur.current, hostEntry(kMotionBlurOff));
    if (!blur.track().empty()) blur.editTrack().clear();
}

void FrameStages::settleValues(std::vector<int> const& frames) {
    m_pictureSizes = m_sizes;
    for (TrackUse const& use : m_scene.tracks) {
        if (!frames.empty()) requireRead(use);
        if (use.track && !m_run.isForEdit) requireMeant(m_scene, use, shownSpan());
    }
    setParameters(m_scene, *m_host, m_sizes.layer, m_sizes.frame);
    if (m_scene.fillsFrame && !m_scene.size) {
        m_sizes.frame = sizeOfQuad(m_host->parameters(), kFromQuad, m_sizes.layer);
        setParameters(m_scene, *m_host, m_sizes.layer, m_sizes.frame);
    }
    for (TrackUse const& use : m_scene.tracks) {
        if (!use.track) continue;
        PixelSize const pinned = use.pins == TrackedPins::kTo ? m_sizes.frame : m_sizes.layer;
        m_warnings.add(warningsOf(m_scene, use, {pinned, m_comp.startFrame, m_comp.timeBase.step}));
    }
    warnOfNumber(frames);
    if (!frames.empty()) checkRoad(m_scene, m_host->parameters());
    m_frames = frames;
}

/// The quad lies in the plate, or in the layer without one: either has the frame's size here.
PixelSize FrameStages::takenSize() const {
    if (m_scene.size) return *m_scene.size;
    return sizeOfQuad(m_host->parameters(), kToQuad, m_sizes.frame);
}

PictureReader FrameStages::openSized(InputPicture const& file, PixelSize size,
                                     ReadOptions const& how) const {
    PictureReader picture = file.open(how);
    PixelSize const own = picture.displaySize();
    if (own == size) return picture;
    throw UserError(ExitCode::kInput,
                    fmt::format("{}: another size than the first frame's: {}x{}, not {}x{}",
                                file.name(), own.width, own.height, size.width, size.height));
}

/// Keys don't say any more that their track was taken for another than it is.
Scene FrameStages::settledScene() const {
    for (TrackUse const& use : m_scene.tracks)
        if (use.track && m_run.isForEdit) requireMeant(m_scene, use, shownSpan());
    Scene scene = sceneOf(m_scene, m_host->parameters(),
                          defaultsOf(m_scene, m_host->parameters(), m_sizes.layer, m_sizes.frame));
    if (!std::exchange(scene.fillsFrame, false)) return scene;
    scene.size = m_sizes.frame;
    auto const [w, h] = m_sizes.frame;
    Corners const corners = {{{0, 0}, {double(w), 0}, {0, double(h)}, {double(w), double(h)}}};
    for (std::size_t i = 0; i < 4; ++i)
        scene.parameters.push_back(
            {std::string(nameOfParameter(kToPins + static_cast<int>(i))), {}, corners[i]});
    return scene;
}

}  // namespace zelk
