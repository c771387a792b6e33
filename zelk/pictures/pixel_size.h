// Sizes and points in pictures and frames: pixels, y down. 0,0 is the outer corner of the first
// pixel and width,height that of the last.
#pragma once

#include <array>

namespace zelk {

/// Largest coordinate and largest side of a picture, pixels, that the host's records hold.
inline constexpr int kLargestPx = 32767;

struct PixelSize {
    int width = 0, height = 0;
    bool operator==(PixelSize const&) const = default;
};

/// Pixels around a picture on each side.
struct PixelMargins {
    int left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(PixelMargins const&) const = default;
    bool isNone() const { return *this == PixelMargins{}; }
};

inline PixelSize operator+(PixelSize size, PixelMargins const& margins) {
    return {size.width + margins.left + margins.right, size.height + margins.top + margins.bottom};
}

struct Point {
    double x = 0, y = 0;
    bool operator==(Point const&) const = default;
};

/// Upper left, upper right, lower left, lower right.
using Corners = std::array<Point, 4>;

}  // namespace zelk
