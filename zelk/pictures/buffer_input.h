// Buffers where picture files are read, and worlds as buffers.
#pragma once

#include <OpenImageIO/imageio.h>

#include <memory>

#include "hostkit/world.h"
#include "zelk/pictures/buffer.h"

namespace zelk {

/// A buffer for code that reads picture files; nothing but its pixels is copied, row by row.
std::unique_ptr<OIIO::ImageInput> inputOf(std::shared_ptr<PictureBuffer const> buffer);

/// The pixels of a world of straight colour as red, green, blue, alpha in its own depth; 16 bits
/// become 0 to 65535.
PictureBuffer bufferOf(World const& world);

}  // namespace zelk
