// What the commands about tracking data share.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "apps/zelk/option_adder.h"
#include "zelk/tracks/track.h"

namespace zelk {

/// How a track is read, and what is changed of it, in this order: corners, y, pixel aspect, frames,
/// rate.
class TrackOptions {
public:
    void add(OptionAdder const& add);
    /// The track as it will be used. Throws an input error, and a usage error for a change that
    /// needs a frame's size that nothing gives. `asks`: a form that can't be recognised is an
    /// error.
    Track trackOf(std::string const& file, bool asks) const;

private:
    std::optional<std::string> m_format, m_size, m_rate, m_corners, m_pixelAspect, m_firstFrame,
        m_shiftFrames;
    bool m_flipY = false;
};

/// What is reported of a track besides its faults.
struct TrackSummary {
    std::size_t frames = 0, whole = 0;
    double firstFrame = 0, lastFrame = 0;
    std::optional<TrackRow> firstQuad, lastQuad;
};
TrackSummary summaryOf(Track const& track);

/// Throws a usage error about `option` where nothing gives the frame's size.
void requireSize(Track const& track, std::string const& option, std::string const& value);

}  // namespace zelk
