// What memory there is, so that a picture that cannot be rendered is refused before it is read.
#pragma once

#include <cstdint>

#include "hostkit/world.h"

namespace zelk {

/// Bytes that this process may still take: the least of the system's available memory, the
/// process's address space limit and its control group's limit.
std::uint64_t availableBytes();

/// Bytes that a render in a host takes: the layer, the output, two more of the effect's own, and
/// 100 MB.
std::uint64_t renderBytes(int width, int height, Depth depth);

/// Bytes that a render into a frame takes: the layer and two copies of it, the frame, and 100 MB.
std::uint64_t frameRenderBytes(int layerWidth, int layerHeight, int frameWidth, int frameHeight);

}  // namespace zelk
