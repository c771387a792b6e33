// Pictures to bytes; see screen_picture.h.
//
// Floats go some hundred pixels at a time, which stay in the first cache on their way: over the
// plate, straight, converted, to bytes.
#include "zelk/render/screen_picture.h"

#include <algorithm>
#include <cstring>

#include "Transform/Common/RowBands.h"
#include "Transform/Common/Transform_Core_Render/PlateRows.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/world_rows.h"

namespace zelk {

namespace {

constexpr int kPixelsAtOnce = 256;

/// Straight colour, alpha first, of `count` pixels.
void makeStraight(float* argb, int count) {
    for (int x = 0; x < count; ++x, argb += 4) {
        float const alpha = argb[0];
        if (alpha == 0 || alpha == 1) continue;
        for (int c = 1; c < 4; ++c) argb[c] /= alpha;
    }
}

/// Between alpha first and alpha last, colours turned: bytes of a pixel in the other order.
void turnBytes(std::uint8_t const* from, int count, std::uint8_t* to) {
    for (int x = 0; x < count; ++x, from += 4, to += 4) {
        std::uint32_t pixel;
        std::memcpy(&pixel, from, 4);
        pixel = __builtin_bswap32(pixel);
        std::memcpy(to, &pixel, 4);
    }
}

template <class Channel>
void floatsOf(Channel const* from, int count, bool isBgra, float* argb) {
    constexpr auto kUnit = static_cast<float>(kWhite<Channel>);
    for (int x = 0; x < count; ++x, from += 4, argb += 4)
        for (int c = 0; c < 4; ++c) argb[c] = static_cast<float>(from[isBgra ? 3 - c : c]) / kUnit;
}

bool isZero(float const* values, int count) {
    std::uint32_t any = 0;
    for (int i = 0; i < count; ++i) {
        std::uint32_t bits;
        std::memcpy(&bits, values + i, sizeof bits);
        any |= bits;
    }
    return any == 0;
}

/// What all rows have in common.
struct Screening {
    World const& picture;
    Bounds part;
    AlphaForm form;
    ScreenWay const& way;
    ScreenPlate plate;
    World& to;

    bool isBgra() const { return to.spec().bgra; }
    bool isTurned() const { return isBgra() != picture.spec().bgra; }
    int width() const { return part.width(); }
    template <class Channel>
    Channel const* row(int y) const {
        return picture.rowAs<Channel>(part.top + y) + 4 * part.left;
    }
    std::uint8_t* bytes(int y) const { return to.rowAs<std::uint8_t>(y); }
};

/// `argb` may be changed where a buffer is needed anyway; it is `buffer` then.
void putBytes(Screening const& all, float const* argb, float* buffer, int count, std::uint8_t* to) {
    ScreenRowWay how = {all.form == AlphaForm::kAssociated, all.isBgra(), all.way.table.get()};
    if (all.way.transform && !all.way.table) {
        if (argb != buffer) std::copy_n(argb, 4 * count, buffer);
        if (how.isAssociated) makeStraight(buffer, count);
        how.isAssociated = false;
        all.way.transform->apply(buffer, count, ColorTransform::AlphaAt::kFirst,
                                 AlphaForm::kStraight);
        argb = buffer;
    }
    vectorScreenRows().toBytes(argb, count, how, to);
}

/// Some pixels of a float picture, with what lies under them.
void screenFloats(Screening const& all, int y, int left, int count) {
    alignas(64) float buffer[4 * kPixelsAtOnce];
    float const* argb = all.row<float>(y) + 4 * left;
    std::uint8_t* const to = all.bytes(y) + 4 * left;
    ScreenPlate const& plate = all.plate;
    if (!plate.picture) return putBytes(all, argb, buffer, count, to);
    int const px = plate.left + left, py = plate.top + y;
    if (plate.shown && isZero(argb, 4 * count)) {
        std::copy_n(plate.shown->rowAs<std::uint8_t>(py) + 4 * px, 4 * count, to);
        return;
    }
    std::copy_n(argb, 4 * count, buffer);
    layOverPlate(buffer, plate.picture->rowAs<float>(py) + 4 * px, count, plate.mode);
    putBytes(all, buffer, buffer, count, to);
}

template <class Channel>
void screenIntegers(Screening const& all, int y, int left, int count) {
    alignas(64) float buffer[4 * kPixelsAtOnce];
    floatsOf(all.row<Channel>(y) + 4 * left, count, all.picture.spec().bgra, buffer);
    putBytes(all, buffer, buffer, count, all.bytes(y) + 4 * left);
}

void copyBytes(Screening const& all, int y) {
    auto const* row = all.row<std::uint8_t>(y);
    if (all.isTurned())
        turnBytes(row, all.width(), all.bytes(y));
    else
        std::copy_n(row, 4 * all.width(), all.bytes(y));
}

void screenRow(Screening const& all, int y) {
    Depth const depth = all.picture.depth();
    if (depth == Depth::k8 && !all.way.transform) return copyBytes(all, y);
    if (depth == Depth::k16 && !all.way.transform)
        return vectorScreenRows().toBytes16(all.row<std::uint16_t>(y), all.width(), all.isBgra(),
                                            all.bytes(y));
    for (int left = 0; left < all.width(); left += kPixelsAtOnce) {
        int const count = std::min(kPixelsAtOnce, all.width() - left);
        if (depth == Depth::kFloat)
            screenFloats(all, y, left, count);
        else if (depth == Depth::k16)
            screenIntegers<std::uint16_t>(all, y, left, count);
        else
            screenIntegers<std::uint8_t>(all, y, left, count);
    }
}

}  // namespace

World screenPicture(World const& picture, Bounds const& part, AlphaForm form, ScreenWay const& way,
                    bool isBgra, ScreenPlate const& plate) {
    World screen({part.width(), part.height(), Depth::k8, isBgra}, PixelMemory::Start::kAnything);
    Screening const all = {picture, part, form, way, plate, screen};
    std::int64_t const bytes =
        std::int64_t{part.width()} * (pixelBytes(picture.depth()) + pixelBytes(Depth::k8));
    forEachRow(part.height(), bytes, [&](int y) { screenRow(all, y); });
    return screen;
}

}  // namespace zelk
