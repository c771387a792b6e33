// Whether the effect draws a quad at all.
//
// The effect walks the corners along the edge, upper left, lower left, lower right, upper right:
//
//   0 +---+ 3     turn at j = (x[j] - x[i]) (y[k] - y[j]) - (y[j] - y[i]) (x[k] - x[j])
//     |   |
//   1 +---+ 2     turns of both signs: crossed; no turn at all: flat; else it draws
#pragma once

#include "zelk/tracks/corners.h"

namespace zelk {

enum class QuadFault { kNone, kCrossed, kFlat };

QuadFault checkQuad(Corners const& corners);

/// Whether a picture in it is seen from behind: all turns are positive. False for a faulty quad.
bool isTurnedOver(Corners const& corners);

}  // namespace zelk
