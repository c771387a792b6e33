// One channel of a picture as numbers: a matte, 0 hides and 1 shows.
#pragma once

#include <cmath>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/pixel_size.h"

namespace zelk {

class PictureReader;

/// How colour stands to alpha in memory.
enum class AlphaForm { kStraight, kAssociated };

struct ChannelPlane {
    PixelSize size;
    std::vector<float> values;  ///< row by row from the top, each within 0 and 1
    float* row(int y) {
        return &values[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width)];
    }
    float const* row(int y) const { return const_cast<ChannelPlane*>(this)->row(y); }
};

/// Reads a channel as it is stored, limited to 0 and 1, what is no number as 0. `name` is that of
/// a channel in the file or in one of its further parts ("id.mask", or "mask" of the part "id");
/// else R, G, B or A, or Y for the luminance by the weights of BT.709. Empty: alpha, else
/// luminance. Throws an input error for a channel that is not there, and as the reader does.
ChannelPlane readChannel(PictureReader& picture, std::string const& name);

/// Means of n by n blocks; rows and columns that fill no block are left out.
ChannelPlane boxReduced(ChannelPlane const& plane, int n);

/// Alpha times a factor from 0 to 1 a pixel, in `rgba` or any order with alpha at `alphaAt`:
/// straight colour stays, integers are rounded once, to nearest; associated colour goes with its
/// alpha.
template <class Channel>
void multiplyAlpha(Channel* pixels, int count, float const* factors, AlphaForm form, int alphaAt) {
    for (int x = 0; x < count; ++x, pixels += 4) {
        if constexpr (!std::is_floating_point_v<Channel>) {
            pixels[alphaAt] =
                static_cast<Channel>(std::floor(double(pixels[alphaAt]) * factors[x] + 0.5));
        } else if (form == AlphaForm::kStraight) {
            pixels[alphaAt] *= factors[x];
        } else {
            for (int c = 0; c < 4; ++c) pixels[c] *= factors[x];
        }
    }
}

}  // namespace zelk
