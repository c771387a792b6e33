// Sizes of pictures and frames.
#pragma once

namespace zelk {

/// Largest coordinate and largest side of a picture, pixels, that the host's records hold.
inline constexpr int kLargestPx = 32767;

struct PixelSize {
    int width = 0, height = 0;
};

}  // namespace zelk
