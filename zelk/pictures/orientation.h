// How a file's rows and columns lie in the upright picture: the "Orientation" of EXIF and TIFF.
//
//   1 F    2  F mirrored    3 turned by 180     4 mirrored top to bottom
//   5 rows and columns swapped     6 to be turned clockwise     7 5 turned by 180     8 counter-
//   clockwise
//
// Pixel (x, y) of the upright picture is a stored one: its column and row, swapped where the
// picture is transposed, each counted from the other end where the upright axis is mirrored.
#pragma once

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "zelk/pictures/pixel_size.h"

namespace zelk {

struct Orientation {
    bool isTransposed = false;                ///< stored rows are upright columns
    bool mirrorsX = false, mirrorsY = false;  ///< along the upright picture's axes
    bool operator==(Orientation const&) const = default;
    bool isUpright() const { return *this == Orientation{}; }
    /// Whether the first upright row needs the last stored one, or all of them.
    bool needsWhole() const { return isTransposed || mirrorsY; }
};

/// What the attribute says; upright where there is none or it is not 1 to 8.
Orientation orientationOf(OIIO::ImageSpec const& spec);

/// Stored sizes and margins as the upright picture has them.
PixelSize upright(PixelSize stored, Orientation const& turn);
PixelMargins upright(PixelMargins const& stored, Orientation const& turn);

/// The metadata of a picture that was made upright: orientation 1, and densities and the pixel's
/// aspect of the axes that they belong to now.
void setUpright(OIIO::ParamValueList& metadata, Orientation const& turn);

/// `count` pixels in reverse order.
template <class Channel>
void mirrorRow(Channel const* rgba, int count, Channel* mirrored) {
    for (int x = 0; x < count; ++x) std::copy_n(rgba + 4 * (count - 1 - x), 4, mirrored + 4 * x);
}

/// Calls sink(y, rgba) for each upright row of a whole picture of four channels.
template <class Channel, class Sink>
void eachUprightRow(std::vector<Channel> const& stored, PixelSize size, Orientation const& turn,
                    Sink const& sink) {
    constexpr int kBlock = 16;  // rows: a line of the cache holds pixels of several columns
    PixelSize const out = upright(size, turn);
    auto const rowValues = static_cast<std::size_t>(out.width) * 4;
    std::vector<Channel> rows(rowValues * kBlock);
    auto const pixelAt = [&](int x, int y) {
        if (turn.mirrorsX) x = out.width - 1 - x;
        if (turn.mirrorsY) y = out.height - 1 - y;
        if (turn.isTransposed) std::swap(x, y);
        return &stored[(static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                        static_cast<std::size_t>(x)) *
                       4];
    };
    for (int top = 0; top < out.height; top += kBlock) {
        int const count = std::min(kBlock, out.height - top);
        for (int x = 0; x < out.width; ++x)
            for (int y = 0; y < count; ++y)
                std::copy_n(pixelAt(x, top + y), 4,
                            &rows[rowValues * static_cast<std::size_t>(y) +
                                  4 * static_cast<std::size_t>(x)]);
        for (int y = 0; y < count; ++y)
            sink(top + y,
                 static_cast<Channel const*>(&rows[rowValues * static_cast<std::size_t>(y)]));
    }
}

}  // namespace zelk
