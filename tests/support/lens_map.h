// An ST map of a lens, as a node compositor would write it: radial distortion about the centre.
#pragma once

#include <cmath>

#include "tests/support/zelk_process.h"

namespace zelk_test {

/// Where a pixel of the distorted frame looks in the undistorted one, as red and green: at `r` half
/// diagonals from the centre it looks at r (1 + k1 r^2). Above 0 the frame is drawn together, as by
/// a wide lens (a barrel), and its corners look outside.
inline Picture<float> lensMap(int width, int height, double k1) {
    Picture<float> map{width, height, 3, {}, {}};
    double const half = std::hypot(width, height) / 2;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double const dx = x + 0.5 - width / 2.0, dy = y + 0.5 - height / 2.0;
            double const scale = 1 + k1 * (dx * dx + dy * dy) / (half * half);
            map.values.push_back(static_cast<float>(0.5 + dx * scale / width));
            map.values.push_back(static_cast<float>(0.5 - dy * scale / height));
            map.values.push_back(0);
        }
    return map;
}

}  // namespace zelk_test
