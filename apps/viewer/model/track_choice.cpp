// See track_choice.h.
#include "apps/viewer/model/track_choice.h"

#include <fmt/format.h>

#include <cctype>
#include <cmath>
#include <utility>

#include "apps/viewer/model/scene_inputs.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/track_use.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/check.h"

namespace zelk {

namespace {

std::string capitalized(std::string text) {
    if (!text.empty())
        text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

/// What a reading says otherwise than another one.
std::string changeText(TrackReading const& from, TrackReading const& to) {
    std::vector<std::string> parts;
    if (to.format != from.format) parts.push_back("Form " + to.format.value_or(""));
    if (to.size != from.size)
        parts.push_back(fmt::format("Size {}x{}", to.size->width, to.size->height));
    if (to.order != from.order) parts.push_back("Corners " + to.order.value_or(""));
    if (to.flipsY != from.flipsY)
        parts.push_back(to.flipsY ? "y is counted from below" : "y is counted from above");
    if (to.firstFrame != from.firstFrame)
        parts.push_back(fmt::format("First Frame {}", *to.firstFrame));
    if (to.shiftFrames != from.shiftFrames)
        parts.push_back(fmt::format("Shift {}", *to.shiftFrames));
    return fmt::format("{}", fmt::join(parts, ", "));
}

}  // namespace

std::optional<ShownPicture> pictureUnder(Scene const& scene, TrackedPins pins) {
    if (pins == TrackedPins::kFrom) return ShownPicture::kLayer;
    if (scene.plate) return ShownPicture::kPlate;
    return scene.isInverted ? std::optional(ShownPicture::kLayer) : std::nullopt;
}

TrackChoice::TrackChoice(Scene const& scene, std::filesystem::path file, PixelSize frame,
                         PixelSize layer)
    : m_comp(scene.comp), m_file(std::move(file)), m_frame(frame), m_layer(layer) {
    read();
}

void TrackChoice::setPins(TrackedPins pins) {
    m_pins = pins;
    read();
}

void TrackChoice::setReading(TrackReading reading) {
    m_reading = std::move(reading);
    read();
}

void TrackChoice::read() {
    m_use = {};
    m_fault.clear();
    m_warnings.clear();
    try {
        m_use = readTrackUse({m_file.string()}, m_pins, m_reading);
    } catch (UserError const& error) {
        m_fault = error.what();
        return;
    }
    PixelSize const pinned = m_pins == TrackedPins::kTo ? m_frame : m_layer;
    for (TrackIssue& issue :
         checkTrack(*m_use.track, {pinned, m_comp.startFrame, m_comp.timeBase.step})) {
        TrackWarning warning{capitalized(std::move(issue.text)), mended(m_reading, issue.fix), ""};
        if (issue.line > 0) warning.text = fmt::format("Line {}: {}", issue.line, warning.text);
        if (warning.mended == m_reading) warning.mended.reset();
        if (warning.mended) warning.mend = changeText(m_reading, *warning.mended);
        m_warnings.push_back(std::move(warning));
    }
}

std::optional<TrackChoice::Span> TrackChoice::span() const {
    std::optional<Span> span;
    if (!m_use.track) return span;
    eachRow(*m_use.track, [&](TrackRow const& row) {
        int const first = static_cast<int>(std::floor(row.frame));
        int const last = static_cast<int>(std::ceil(row.frame));
        if (!span) span = Span{first, last};
        span->last = last;
    });
    return span;
}

bool TrackChoice::reachesBeyond(Comp const& comp) const {
    auto const own = span();
    return own &&
           (own->first < comp.startFrame || own->last > comp.startFrame + comp.durationFrames - 1);
}

void TrackChoice::put(Scene& scene, bool fitsComp) const {
    if (!m_use.track) throw UserError(ExitCode::kInput, m_fault);
    scene.trackReading = m_reading;
    sceneEdit(m_pins == TrackedPins::kTo ? "track" : "track-from")
        .apply(scene, "the track", m_file.string());
    scene.trackReading = {};
    scene.options.clear();
    scene.tracks.back().file = pathIn(scene, m_file);
    int const first = m_pins == TrackedPins::kTo ? kToPins : kFromPins;
    std::erase_if(scene.parameters, [first](SceneParameter const& entry) {
        int const index = requiredParameter("", entry.name);
        return index >= first && index < first + 4;
    });
    if (!fitsComp) return;
    auto const own = span();
    scene.comp.startFrame = own->first;
    scene.comp.durationFrames = own->last - own->first + 1;
    scene.ownStart = scene.ownDuration = true;
}

}  // namespace zelk
