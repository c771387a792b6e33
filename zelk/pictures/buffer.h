// Pictures that come from no file: pixels in memory, and what stands for a file that is not there.
//
// Rows go from the top, channels red, green, blue, alpha; one channel is grey, two are grey and
// alpha. Values stand as in files: white is 255, 65535 or 1.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "zelk/pictures/pixel_size.h"

namespace zelk {

enum class SampleType { kUint8, kUint16, kHalf, kFloat };

/// Shares its pixels, which nobody may change while a scene or a renderer holds it.
struct PictureBuffer {
    std::string name = "buffer";  ///< for messages
    PixelSize size;               ///< at least 1 x 1, at most kLargestPx a side
    int channels = 4;             ///< 1 to 4
    SampleType type = SampleType::kUint8;
    bool isAssociated = false;           ///< colour is stored times alpha
    std::ptrdiff_t rowBytes = 0;         ///< from row to row, also negative; 0 for packed rows
    std::shared_ptr<void const> pixels;  ///< of the upper left one
};

/// Bytes from row to row, of packed rows too.
std::ptrdiff_t rowStep(PictureBuffer const& buffer);

/// What becomes of a frame whose layer or plate is not there.
enum class MissingInput {
    kStop,   ///< the run ends before it
    kHold,   ///< the nearest frame before it that is there, else after it
    kSkip,   ///< it is left out
    kBlack,  ///< a transparent layer, an opaque black plate
};

/// Throws an input error for a buffer without pixels, of an impossible size or channel count, or
/// with rows shorter than its pixels.
void requireSound(PictureBuffer const& buffer);

}  // namespace zelk
