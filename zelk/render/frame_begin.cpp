// What is settled before a frame: sizes, composition, values; see frame_stages.h.
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "zelk/render/frame_stages.h"
#include "zelk/render/setup.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/track_use.h"
#include "zelk/scene/values.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

PixelSize sizeOf(PictureReader const& picture) { return {picture.width(), picture.height()}; }

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

}  // namespace

void FrameStages::begin(std::vector<int> const& frames) {
    if (frames.empty()) throw missing("the frames", "one at least");
    m_inFlight = std::min(static_cast<std::size_t>(m_run.inFlight), frames.size());
    settleComp(frames);
    readSizes(frames);
    settleValues(frames);
}

void FrameStages::beginAt(int frame) {
    if (m_isStopped) throw UserError(ExitCode::kInterrupted, "the render was stopped");
    if (!m_files.isReadable(frame) && m_scene.missing == MissingInput::kStop)
        throw m_files.missingOf(frame).missing(frame).error();
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
    if (isModule()) m_ask = moduleRenderOf(m_scene, *m_host, *layer);
    PixelSize const one = sizeOf(layer ? *layer : *plate);
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
    m_sizes.layer = layer ? sizeOf(*layer) : unknown.layer;
    PixelSize const own = m_files.plate ? unknown.frame : m_sizes.layer;
    m_sizes.frame = m_scene.frameSize().value_or(plate ? sizeOf(*plate) : own);
}

void FrameStages::settleValues(std::vector<int> const& frames) {
    setParameters(m_scene, *m_host, m_sizes.layer, m_sizes.frame);
    for (TrackUse const& use : m_scene.tracks)
        m_warnings.add(warningsOf(use, {m_sizes.frame, m_comp.startFrame, m_comp.timeBase.step}));
    if (!frames.empty()) checkRoad(m_scene, m_host->parameters());
    m_frames = frames;
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

Scene FrameStages::settledScene() const {
    return sceneOf(m_scene, m_host->parameters(),
                   defaultsOf(m_scene, m_host->parameters(), m_sizes.layer, m_sizes.frame));
}

}  // namespace zelk
