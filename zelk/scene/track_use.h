// Tracking files of a scene: reading, and what is odd about them there.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "zelk/scene/scene.h"
#include "zelk/tracks/check.h"

namespace zelk {

/// Throws an input error with file, line and reason.
TrackUse readTrackUse(std::filesystem::path const& file, TrackedPins pins);

/// What is odd about it in a frame of that size, a sentence each.
std::vector<std::string> warningsOf(TrackUse const& use, TrackTarget const& target);

}  // namespace zelk
