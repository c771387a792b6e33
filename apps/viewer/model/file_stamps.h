// Times and sizes of the files that a frame is made of: where they are others than those that it
// was rendered with, its picture is old.
#pragma once

#include <string>

#include "zelk/scene/scene.h"

namespace zelk {

/// As they are now, a line for each file: pictures by the frame's number, tracks, the colour
/// configuration. What stands for a numbered picture that is not there, and files that a
/// configuration names, are not among them.
std::string fileStamps(Scene const& scene, int frame);

/// Those that are opened once for all frames: movies, single pictures, the colour configuration.
/// To be taken before they are opened.
std::string openedStamps(Scene const& scene);
/// What a frame is made of that is rendered from now on, with those `opened`: tracks as they were
/// read, numbered pictures as they are now.
std::string usedStamps(Scene const& scene, int frame, std::string const& opened);

}  // namespace zelk
