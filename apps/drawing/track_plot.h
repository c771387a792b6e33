// A picture of a track: the frame, the paths of the four corners, and the quad at the first and at
// the last frame.
#pragma once

#include <optional>

#include "apps/drawing/canvas.h"
#include "zelk/tracks/track.h"

namespace zelk {

/// Colours of the corners: upper left, upper right, lower left, lower right.
inline constexpr std::array<CanvasColor, 4> kCornerColors = {
    {{230, 85, 75}, {90, 170, 255}, {240, 190, 60}, {110, 205, 110}}};

/// Up to 1600 pixels wide and high, at least 160 and 64, and a legend below. Shows the frame and
/// what of the paths lies up to a frame's size outside of it; how many samples do not is written in
/// a corner. `under` is laid into the frame, each side scaled by itself, and is the frame of a
/// track without a size.
Canvas plotTrack(Track const& track, World const* under = nullptr);

}  // namespace zelk
