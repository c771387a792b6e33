// A picture of 8 bits as the panel shows it: colour or one channel, over a colour or as it is for
// what lies behind it.
//
// In: straight colour; alpha, red, green, blue. Out: words of alpha, red, green, blue from the
// highest byte on, colour times alpha. Channels by themselves, and all over black or white, are
// opaque.
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

/// To `rowWords` words from row to row. Answers whether nothing shows through.
bool showPixels(World const& picture, PixelLook const& look, std::uint32_t* words,
                std::ptrdiff_t rowWords);

}  // namespace zelk
