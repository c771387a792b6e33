// FrameMap: where each pixel of a frame looks in an undistorted frame, as a lens map says.
//
// Space: pixels of the undistorted frame, y down; the centre of its upper left pixel is (0.5, 0.5).
// One position a pixel, of its centre; what lies between is bilinear. A position that is not finite
// looks nowhere. The pixels stay their owner's.
#pragma once

#include <cstddef>
#include <cstdint>

struct FrameMap {
    std::int32_t width = 0, height = 0;  ///< of the frame that is drawn
    float const* positions = nullptr;    ///< x and y of each pixel, rows from the top
    std::ptrdiff_t rowFloats = 0;        ///< from one row to the next
};
