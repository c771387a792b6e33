// ST maps: pictures that say where each pixel of a distorted frame looks in the undistorted one, as
// node compositors write them.
//
// The first two channels that are not alpha are parts of the frame's width from the left and of its
// height from the bottom: 0,0 is the outer corner of the lower left pixel, 1,1 that of the upper
// right one, pixel centres at (i + 0.5) / size. Stored values count, whatever the file says of
// their colour. Where a value is not finite, where the file has no data, and where alpha is 0,
// unless it is 0 everywhere, a pixel looks nowhere.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Transform/Common/FrameMap.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/pixel_size.h"

namespace zelk {

struct StMap {
    PixelSize size;
    /// x and y of each pixel, rows from the top, in pixels of the undistorted frame, y down, its
    /// upper left pixel's centre at 0.5, 0.5; not numbers where a pixel looks nowhere.
    std::vector<float> positions;

    float const* at(int x, int y) const {
        return &positions[2 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                               static_cast<std::size_t>(x))];
    }
    /// Over these positions, which stay where they are.
    FrameMap frameMap() const {
        return {size.width, size.height, positions.data(), std::ptrdiff_t{2} * size.width};
    }
};

/// What readStMap would refuse of a file's header, and what is odd about it, a sentence each.
/// Throws an input error for a file that can't be read, of another size than the frame's, with one
/// channel alone or with 8-bit samples, which can't name the pixels of a frame.
std::vector<std::string> checkStMap(InputPicture const& file, PixelSize frame);
/// Throws the same, and for a file that breaks off.
StMap readStMap(InputPicture const& file, PixelSize frame);
/// A map by which every pixel looks nowhere.
StMap emptyStMap(PixelSize frame);
/// Of a frame `reduce` times smaller: the mean of what a block's pixels look at, and nowhere where
/// none of them looks anywhere.
StMap reducedMap(StMap const& map, int reduce);
/// The same of a frame of any smaller size, by area.
StMap reducedMap(StMap const& map, PixelSize to);

}  // namespace zelk
