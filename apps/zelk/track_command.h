// `zelk track FILE` and `zelk track convert IN OUT`.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>

#include "apps/zelk/cli_options.h"
#include "zelk/tracks/check.h"
#include "zelk/tracks/forms.h"

namespace zelk {

/// What is changed of a track that was read, in this order.
struct TrackChange {
    std::optional<std::array<int, 4>> corners;  ///< as reorderCorners takes them
    bool flipY = false;
    std::optional<double> pixelAspect;  ///< of the file's pixels; they become square
    std::optional<double> firstFrame;   ///< the least frame becomes this one
    double shiftFrames = 0;
    std::optional<double> rate;
};

/// A checked `zelk track`.
struct TrackRequest {
    std::filesystem::path file;
    ReadTrackOptions read;
    TrackChange change;
    std::optional<std::filesystem::path> output;  ///< convert: where to
    TrackFormat const* as = nullptr;              ///< convert: the form to write
    bool force = false;                           ///< convert: may replace a file
    bool json = false;
    std::optional<std::filesystem::path> plot, over;
    bool noClobber = false;  ///< the plot may not replace a file
};

/// The track as it will be used: read and changed. Throws an input error, and a usage error for a
/// change that needs a frame's size that nothing tells.
Track trackOf(TrackRequest const& request);

/// Writes what is asked for and answers what the file holds and what is odd about it, or a line
/// about the written file.
std::string runTrack(TrackRequest const& request);

/// Writes `track` in a form. Throws an output error, and a usage error without a size that the form
/// needs.
void writeTrack(Track const& track, TrackFormat const& format, std::filesystem::path const& file,
                bool mayReplace);

}  // namespace zelk
