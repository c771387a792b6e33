// Pins as the user writes them: "x,y x,y x,y x,y" in layer pixels, y down, upper left, upper
// right, lower left, lower right. 0,0 is the outer corner of the first pixel and W,H that of the
// last. The host keeps a pin as 16.16, so a coordinate beyond 32767 is refused.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "zelk/pictures/pixel_size.h"

namespace zelk {

struct Point {
    double x = 0, y = 0;
    bool operator==(Point const&) const = default;
};

/// Upper left, upper right, lower left, lower right.
using Corners = std::array<Point, 4>;

/// Throws a usage error about `thing`.
Point parsePoint(std::string const& thing, std::string_view text);

/// Four points with blanks between them. Throws a usage error about `thing`.
Corners parseCorners(std::string const& thing, std::string_view text);

}  // namespace zelk
