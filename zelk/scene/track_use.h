// A tracking file in a scene: onto which pins it goes, and what is odd about it there.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "zelk/tracks/check.h"
#include "zelk/tracks/track.h"

namespace zelk {

/// Which quad a tracking file goes to.
enum class TrackedPins { kTo, kFrom };

/// A tracking file that was read and that the host can hold. Its frame numbers are those of the
/// composition.
struct TrackUse {
    std::filesystem::path file;
    TrackedPins pins = TrackedPins::kTo;
    std::shared_ptr<Track const> track;
    std::string text;  ///< of the file as it was read, where that is what the import takes
};

/// Throws an input error with file, line and reason.
TrackUse readTrackUse(std::filesystem::path const& file, TrackedPins pins);

/// What is odd about it in a frame of that size, a sentence each.
std::vector<std::string> warningsOf(TrackUse const& use, TrackTarget const& target);

}  // namespace zelk
