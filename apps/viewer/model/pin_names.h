// The pins by what people call them. A pin is the index of its parameter.
#pragma once

#include <array>
#include <string>
#include <utility>

#include "zelk/scene/scene.h"

namespace zelk {

/// Corners that share an edge of a quad: top, bottom, left, right.
inline constexpr std::array<std::pair<int, int>, 4> kQuadEdges = {{{0, 1}, {2, 3}, {0, 2}, {1, 3}}};

int firstPinOf(TrackedPins pins);
TrackedPins quadOf(int parameter);
/// "To", "From"
std::string quadName(TrackedPins pins);
/// "upper left To Pin"
std::string pinName(int parameter);
/// "top edge of To Pins"
std::string edgeName(int first, int second);

}  // namespace zelk
