// The ST map of a made-up lens, to show pictures through: radial distortion about the centre.
#pragma once

#include <cmath>
#include <vector>

namespace zelk {

/// Red, green and a blue of 0 of each pixel, rows from the top. A pixel at r half diagonals from
/// the centre looks at r (1 + k1 r^2): above 0 the frame is drawn together as by a wide lens, and
/// its corners look outside.
inline std::vector<float> lensMap(int width, int height, double k1) {
    double const half = std::hypot(width, height) / 2;
    std::vector<float> values;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double const dx = x + 0.5 - width / 2.0, dy = y + 0.5 - height / 2.0;
            double const scale = 1 + k1 * (dx * dx + dy * dy) / (half * half);
            values.push_back(static_cast<float>(0.5 + dx * scale / width));
            values.push_back(static_cast<float>(0.5 - dy * scale / height));
            values.push_back(0);
        }
    return values;
}

}  // namespace zelk
