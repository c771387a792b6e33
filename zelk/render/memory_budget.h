// What memory there is, so that a picture that cannot be rendered is refused before it is read.
#pragma once

#include <cstdint>
#include <string>

#include "hostkit/world.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Bytes that this process may still take: the least of the system's available memory, the
/// process's address space limit and those of the control groups around it.
std::uint64_t availableBytes();

/// What else a render takes.
inline constexpr std::uint64_t kRestBytes = 100'000'000;

/// A render in a host: the layer, and the margin that Grow Bounds adds on each side.
struct RenderSize {
    int width = 0, height = 0;  ///< pixels
    Depth depth = Depth::k8;
    int marginX = 0, marginY = 0;
    int extraImages = 0;        ///< for a Transfer Mode, Super Sample, motion blur: one each
    std::uint64_t besides = 0;  ///< bytes of mattes, and of a picture that is turned
};

/// Bytes that a render in a host takes: the layer; the output, two more of the effect's own and the
/// extra ones, of the frame's size; two more with a margin; what is held besides; and 100 MB.
std::uint64_t renderBytes(RenderSize const& size);

/// Bytes that a render into a frame takes: the layer and two copies of it, the frame, and 100 MB.
std::uint64_t frameRenderBytes(int layerWidth, int layerHeight, int frameWidth, int frameHeight);

/// Bytes that a picture takes that is shown by itself: the picture, its display, and 100 MB.
std::uint64_t shownBytes(int width, int height, Depth depth);

/// About a picture that these bytes are not there for.
UserError pictureTooLarge(std::string const& name, PixelSize size, std::uint64_t bytes);

}  // namespace zelk
