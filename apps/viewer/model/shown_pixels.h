// A picture of 8 bits as the panel shows it where it does not lie there as it is: one channel, or
// colour over black or white.
//
// In: straight colour; blue, green, red, alpha, as FrameServiceOptions::isBgra has them, which are
// words of alpha, red, green, blue from the highest byte on. Out: such words, opaque.
#pragma once

#include <cstdint>

#include "hostkit/world.h"

namespace zelk {

enum class ChannelView { kColor, kRed, kGreen, kBlue, kAlpha, kLuminance };

/// What shows through.
enum class Backdrop { kChecker, kBlack, kWhite, kPlate };

struct PixelLook {
    ChannelView channels = ChannelView::kColor;
    Backdrop backdrop = Backdrop::kChecker;
    bool operator==(PixelLook const&) const = default;
};

/// Of 8 bits, in either order: nothing shows through.
bool isOpaque(World const& picture);

/// To `rowWords` words from row to row. Colour lies over black for any backdrop but white.
void showPixels(World const& picture, PixelLook const& look, std::uint32_t* words,
                std::ptrdiff_t rowWords);

}  // namespace zelk
