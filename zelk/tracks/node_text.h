// The text of a node compositor's corner pin, as its nodes are saved and copied:
//
//   CornerPin2D {
//    to1 {{curve x1 100 x2 101} {curve x1 880 x2 879}}     x and y; frame 1, frame 2
//    to2 {300 880}                                         a corner that stays
//    from3 {1920 1080}
//   }
//
// y points up there: to1 is lower left, to2 lower right, to3 upper right, to4 upper left, and the
// frame's height is needed to turn them. It is given by the user, by a Root node's format, or by
// From pins that lie on the corners of a frame. A value of a curve without a frame belongs to the
// frame after the one before. Letters among a curve's values say how it runs between keys, which
// is passed over.
#pragma once

#include <string>

#include "zelk/tracks/text.h"

namespace zelk {

bool isNodeText(TrackText const& text);
/// Whether it was meant so, though it has no pins.
bool resemblesNodeText(TrackText const& text);
Track readNodeText(TrackText const& text);
/// The track has a size.
std::string writeNodeText(Track const& track);

}  // namespace zelk
