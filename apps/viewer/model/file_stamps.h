// Times and sizes of the files that a frame is made of: where they are others than those that it
// was rendered with, its picture is old.
#pragma once

#include <filesystem>
#include <string>

#include "zelk/scene/scene.h"

namespace zelk {

/// Name, time and size of a file, or that it is not there; a line.
std::string stampOf(std::filesystem::path const& file);
/// A line for each file: pictures by the frame's number, tracks, the colour configuration. What
/// stands for a numbered picture that is not there, and files that a configuration names, are not
/// among them.
std::string fileStamps(Scene const& scene, int frame);

}  // namespace zelk
