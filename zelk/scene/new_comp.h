// The composition that a scene gets where it has none.
#pragma once

#include <optional>

#include "zelk/pictures/pixel_size.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Clock, first frame, length and, without `size`, size: those of the plate, else of the layer,
/// whose pictures must be there; the frames are the scene's where it names some. The scene's
/// hasComp becomes true. Throws an input error for a picture that can't be opened, and for frames
/// that the clock does not reach.
void settleNewComp(Scene& scene, std::optional<PixelSize> const& size = std::nullopt);

}  // namespace zelk
