// `zelk project new|show|check|import-track`.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/cli_options.h"
#include "zelk/scene/scene_file.h"
#include "zelk/text/exit_codes.h"

namespace zelk {

/// A checked `zelk project new`. Paths as typed: relative ones start at the working folder.
struct NewProject {
    std::filesystem::path file;
    std::string layer;
    std::optional<std::string> plate, output;
    std::optional<std::string> frames;  ///< range text
    std::optional<TimeBase> rate;       ///< nothing: 24
    std::optional<PixelSize> size;      ///< nothing: the plate's, else the layer's
    bool force = false;                 ///< may replace a file
};

/// Writes the file and answers a line about it. Without a size the first frame of the plate, else
/// of the layer, must exist. The composition lasts from the first to the last of the given frames,
/// else of those on disk of a numbered plate, else layer; else it is frame 0 alone. Throws a usage
/// error for the frames or a pattern, an input error for pictures, an output error for the file.
std::string newProject(NewProject const& ask);

/// A readable summary, or the file in its normal form. Throws as readProject.
std::string showProject(std::filesystem::path const& file, bool json);

/// Tracking data onto a project's pins by the effect's import, and the project written again:
/// the text about it, and what is odd about the track. Throws as readProject, readTrackUse,
/// importTrack and writeProject.
struct TrackedProject {
    std::string text;
    std::vector<std::string> warnings;  ///< a sentence each
};
TrackedProject trackProject(ProjectTrack const& ask);

/// Prints "FILE: good" for a project whose frames can all be rendered; else what its render would
/// tell, with the same answer. Throws as checkFrames.
ExitCode checkProject(ProjectCheck const& ask);

}  // namespace zelk
