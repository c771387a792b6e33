// Rows to bytes; see screen_picture.h.
//
// ByteCurve: a float's upper 18 bits name a cell, of which one of an octave has 512. No cell has
// more than one step between bytes, so that a byte is that of the cell's start, or one more from
// the step on. Steps are found by bisection over the bits of floats.
#include "zelk/render/screen_picture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "Transform/Common/RowBands.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/world_rows.h"

namespace zelk {

namespace {

constexpr int kShift = 14;
constexpr float kLeast = 0x1p-16f;  ///< below it is black
constexpr std::uint32_t kFirstCell = std::bit_cast<std::uint32_t>(kLeast) >> kShift;
constexpr std::uint32_t kEndCell = std::bit_cast<std::uint32_t>(1.0f) >> kShift;
constexpr int kPixelsAtOnce = 512;

std::uint8_t toByte(float value) {
    return static_cast<std::uint8_t>(std::max(0.0f, std::min(value, 1.0f)) * 255.0f + 0.5f);
}

std::uint8_t converted(ColorTransform const& way, float value) {
    float pixel[4] = {value, value, value, 1};
    way.apply(pixel, 1, ColorTransform::AlphaAt::kLast, AlphaForm::kStraight);
    return toByte(pixel[0]);
}

/// The least float from 0 to 1 that becomes `byte`; 2 for none.
float stepTo(ColorTransform const& way, int byte) {
    std::uint32_t low = 0, high = std::bit_cast<std::uint32_t>(1.0f);
    if (converted(way, 1) < byte) return 2;
    while (low < high) {
        std::uint32_t const middle = low + (high - low) / 2;
        if (converted(way, std::bit_cast<float>(middle)) >= byte)
            high = middle;
        else
            low = middle + 1;
    }
    return std::bit_cast<float>(low);
}

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

void putBytes(float const* argb, int count, bool isBgra, std::uint8_t* to) {
    for (int i = 0; i < 4 * count; ++i) to[i] = toByte(argb[i]);
    if (isBgra) turnBytes(to, count, to);
}

template <class Channel>
void floatsOf(Channel const* from, int count, bool isBgra, float* argb) {
    constexpr auto kUnit = static_cast<float>(kWhite<Channel>);
    for (int x = 0; x < count; ++x, from += 4, argb += 4)
        for (int c = 0; c < 4; ++c) argb[c] = static_cast<float>(from[isBgra ? 3 - c : c]) / kUnit;
}

struct RowWay {
    AlphaForm form;
    ScreenWay const& way;
    bool isBgra;
};

/// Bytes of 16 bits where nothing is converted.
std::array<std::uint8_t, kWhite<std::uint16_t> + 1> bytesOf16() {
    std::array<std::uint8_t, kWhite<std::uint16_t> + 1> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = toByte(static_cast<float>(i) / static_cast<float>(kWhite<std::uint16_t>));
    return bytes;
}

void screenRow16(World const& from, int y, bool isBgra, World& to) {
    static auto const kBytes = bytesOf16();
    auto const* value = from.rowAs<std::uint16_t>(y);
    auto* byte = to.rowAs<std::uint8_t>(y);
    for (int i = 0; i < 4 * from.width(); ++i)
        byte[i] = kBytes[std::min<std::size_t>(value[i], kBytes.size() - 1)];
    if (isBgra != from.spec().bgra) turnBytes(byte, from.width(), byte);
}

template <class Channel>
void screenRow(World const& from, int y, RowWay const& how, World& to) {
    float argb[4 * kPixelsAtOnce];
    Channel const* pixel = from.rowAs<Channel>(y);
    std::uint8_t* byte = to.rowAs<std::uint8_t>(y);
    for (int left = 0; left < from.width(); left += kPixelsAtOnce) {
        int const n = std::min(kPixelsAtOnce, from.width() - left);
        floatsOf(pixel + 4 * left, n, from.spec().bgra, argb);
        if (how.form == AlphaForm::kAssociated) makeStraight(argb, n);
        if (how.way.curve) {
            how.way.curve->toBytes(argb, n, how.isBgra, byte + 4 * left);
            continue;
        }
        if (how.way.transform)
            how.way.transform->apply(argb, n, ColorTransform::AlphaAt::kFirst,
                                     AlphaForm::kStraight);
        putBytes(argb, n, how.isBgra, byte + 4 * left);
    }
}

void copyBytes(World const& from, int y, World& to) {
    auto const* row = from.rowAs<std::uint8_t>(y);
    if (from.spec().bgra == to.spec().bgra)
        std::copy_n(row, 4 * from.width(), to.rowAs<std::uint8_t>(y));
    else
        turnBytes(row, from.width(), to.rowAs<std::uint8_t>(y));
}

}  // namespace

std::shared_ptr<ByteCurve const> ByteCurve::of(ColorTransform const& way) {
    auto curve = std::make_shared<ByteCurve>();
    curve->m_cells.reserve(kEndCell - kFirstCell);
    int byte = converted(way, 0);
    float next = stepTo(way, byte + 1);
    if (byte > 0 || next < kLeast || converted(way, 2) < 255) return nullptr;
    for (std::uint32_t cell = kFirstCell; cell < kEndCell; ++cell) {
        float const end = std::bit_cast<float>((cell + 1) << kShift);
        curve->m_cells.push_back({next, static_cast<std::uint8_t>(byte)});
        if (next >= end) continue;
        next = ++byte < 255 ? stepTo(way, byte + 1) : 2;
        if (next < end) return nullptr;
    }
    return curve;
}

std::uint8_t ByteCurve::byteOf(float value) const {
    if (!(value >= kLeast)) return 0;
    if (value >= 1) return 255;
    Cell const& cell = m_cells[(std::bit_cast<std::uint32_t>(value) >> kShift) - kFirstCell];
    return static_cast<std::uint8_t>(cell.byte + (value >= cell.next));
}

void ByteCurve::toBytes(float const* argb, int count, bool isBgra, std::uint8_t* to) const {
    int const turn = isBgra ? 3 : 0;
    for (int x = 0; x < count; ++x, argb += 4, to += 4) {
        to[turn] = toByte(argb[0]);
        for (int c = 1; c < 4; ++c) to[c ^ turn] = byteOf(argb[c]);
    }
}

World screenPicture(World const& picture, AlphaForm form, ScreenWay const& way, bool isBgra) {
    World screen({picture.width(), picture.height(), Depth::k8, isBgra},
                 PixelMemory::Start::kAnything);
    RowWay const how = {form, way, isBgra};
    bool const isCopy = picture.depth() == Depth::k8 && !way.transform;
    std::int64_t const bytes = picture.rowBytes() + screen.rowBytes();
    forEachRow(picture.height(), bytes, [&](int y) {
        if (isCopy) return copyBytes(picture, y, screen);
        if (picture.depth() == Depth::k16 && !way.transform)
            return screenRow16(picture, y, isBgra, screen);
        withChannelOf(picture.depth(),
                      [&](auto channel) { screenRow<decltype(channel)>(picture, y, how, screen); });
    });
    return screen;
}

}  // namespace zelk
