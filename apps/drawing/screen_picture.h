// A picture file as a screen shows it, to be drawn on: straight colour, converted to sRGB from what
// the file's space is. $OCIO counts as for a render.
#pragma once

#include <filesystem>

#include "hostkit/world.h"

namespace zelk {

/// Of the file's own depth. Throws an input error for a file that can't be read.
World screenPicture(std::filesystem::path const& file);

}  // namespace zelk
