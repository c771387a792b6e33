// Pins as the user writes them: "x,y x,y x,y x,y" in layer pixels, y down, upper left, upper
// right, lower left, lower right. The host keeps a pin as 16.16, so a coordinate beyond kLargestPx
// is refused.
#pragma once

#include <string>
#include <string_view>

#include "zelk/pictures/pixel_size.h"

namespace zelk {

/// Throws a usage error about `thing`.
Point parsePoint(std::string const& thing, std::string_view text);

/// Four points with blanks between them. Throws a usage error about `thing`.
Corners parseCorners(std::string const& thing, std::string_view text);

}  // namespace zelk
