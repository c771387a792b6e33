// A world as a picture file, in the world's depth where the format holds it.
//
// Formats that keep straight colour get the world's values unchanged (16 bits: white 32768 becomes
// 65535). Formats whose colour is stored times alpha get the product, made in float; formats
// without alpha get the same product, which is the picture over black.
#pragma once

#include <filesystem>

#include "apps/zelk/picture_reader.h"
#include "hostkit/world.h"

namespace zelk {

/// Throws an output error when `target` names no format that can be written, or its place refuses
/// a file. Writes nothing.
void checkTarget(std::filesystem::path const& target);

/// Writes beside `target` and renames into place. Throws an output error; the target is then as it
/// was before. `traits` are those of the layer.
void writePicture(World const& world, std::filesystem::path const& target,
                  PictureTraits const& traits);

}  // namespace zelk
