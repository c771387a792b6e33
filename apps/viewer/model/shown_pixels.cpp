// See shown_pixels.h.
#include "apps/viewer/model/shown_pixels.h"

#include <cstring>

#include "Transform/Common/RowBands.h"

namespace zelk {
namespace {

using Word = std::uint32_t;
constexpr Word kOpaque = 0xFF000000;

/// channel * alpha / 255 to the nearest; exact for all bytes.
Word times(Word channel, Word alpha) {
    Word const product = channel * alpha + 128;
    return (product + (product >> 8)) >> 8;
}

Word grey(Word value) { return kOpaque | value << 16 | value << 8 | value; }

/// Rec. 709's weights, to the nearest.
Word luminance(Word red, Word green, Word blue) {
    return (2126 * red + 7152 * green + 722 * blue + 5000) / 10000;
}

Word wordAt(std::uint8_t const* row, int x) {
    Word word;
    std::memcpy(&word, row + 4 * std::ptrdiff_t{x}, sizeof word);
    return word;
}

template <class PixelFunc>
void eachPixel(World const& picture, Word* words, std::ptrdiff_t rowWords, PixelFunc pixel) {
    forEachRow(picture.height(), std::int64_t{2} * picture.rowBytes(), [&](int y) {
        auto const* from = picture.rowAs<std::uint8_t>(y);
        for (int x = 0; x < picture.width(); ++x) {
            Word const word = wordAt(from, x);
            words[y * rowWords + x] =
                pixel(word >> 24, word >> 16 & 255, word >> 8 & 255, word & 255);
        }
    });
}

}  // namespace

bool isOpaque(World const& picture) {
    Word const alpha = picture.spec().bgra ? kOpaque : 255;  // as memory has it, lowest byte first
    for (int y = 0; y < picture.height(); ++y) {
        auto const* row = picture.rowAs<std::uint8_t>(y);
        Word common = alpha;
        for (int x = 0; x < picture.width(); ++x) common &= wordAt(row, x);
        if (common != alpha) return false;
    }
    return true;
}

void showPixels(World const& picture, PixelLook const& look, std::uint32_t* words,
                std::ptrdiff_t rowWords) {
    auto const each = [&](auto pixel) { return eachPixel(picture, words, rowWords, pixel); };
    // Over white each channel is c a + 255 (1 - a) = 255 - (255 - c) a.
    switch (look.channels) {
        case ChannelView::kRed:
            return each([](Word, Word r, Word, Word) { return grey(r); });
        case ChannelView::kGreen:
            return each([](Word, Word, Word g, Word) { return grey(g); });
        case ChannelView::kBlue:
            return each([](Word, Word, Word, Word b) { return grey(b); });
        case ChannelView::kAlpha:
            return each([](Word a, Word, Word, Word) { return grey(a); });
        case ChannelView::kLuminance:
            return each([](Word, Word r, Word g, Word b) { return grey(luminance(r, g, b)); });
        case ChannelView::kColor:
            break;
    }
    if (look.backdrop == Backdrop::kWhite)
        return each([](Word a, Word r, Word g, Word b) {
            return kOpaque | (255 - times(255 - r, a)) << 16 | (255 - times(255 - g, a)) << 8 |
                   (255 - times(255 - b, a));
        });
    each([](Word a, Word r, Word g, Word b) {
        return kOpaque | times(r, a) << 16 | times(g, a) << 8 | times(b, a);
    });
}

}  // namespace zelk
