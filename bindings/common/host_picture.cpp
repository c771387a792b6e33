// Rows in pieces that stay in cache; see host_picture.h.
#include "bindings/common/host_picture.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "Transform/Common/Transform_Core_Render/PremultSimd.h"
#include "zelk/pictures/row_values.h"

namespace zelk::bindings {

namespace {

constexpr int kPiece = 128;  ///< pixels at a time

template <class T>
constexpr T kHostWhite = std::numeric_limits<T>::max();
template <>
constexpr float kHostWhite<float> = 1;
/// Of halves, as their bits.
constexpr std::uint16_t kHalfWhite = 0x3C00;

int channelCount(ChannelSet channels) {
    return channels == ChannelSet::kRGBA ? 4 : channels == ChannelSet::kRGB ? 3 : 1;
}

std::size_t bytesOf(HostPicture const& picture, int count) {
    return static_cast<std::size_t>(picture.pixelBytes()) * static_cast<std::size_t>(count);
}

/// Samples of any set of channels as red, green, blue, alpha.
template <class T>
void spread(T const* from, HostPicture const& picture, int count, T white, T* rgba) {
    int const step = channelCount(picture.channels);
    bool const isAlpha = picture.channels == ChannelSet::kAlpha;
    bool const isWhite =
        picture.channels == ChannelSet::kRGB || (!isAlpha && picture.alpha == AlphaState::kOpaque);
    for (int i = 0; i < count; ++i, from += step, rgba += 4) {
        for (int c = 0; c < 3; ++c) rgba[c] = isAlpha ? T{0} : from[c];
        rgba[3] = isWhite ? white : from[step - 1];
    }
}

template <class T>
void gather(T const* rgba, HostPicture const& picture, int count, T* to) {
    int const step = channelCount(picture.channels);
    for (int i = 0; i < count; ++i, rgba += 4, to += step) {
        if (picture.channels == ChannelSet::kAlpha)
            to[0] = rgba[3];
        else
            std::copy_n(rgba, step, to);
    }
}

/// Rounded once, to nearest; what is no number becomes 0. Without a branch, for the compiler's
/// vectors.
template <class T>
T rounded(float value) {
    constexpr auto kWhite = static_cast<float>(kHostWhite<T>);
    float scaled = value * kWhite + 0.5f;
    scaled = scaled > 0 ? scaled : 0;
    scaled = scaled < kWhite ? scaled : kWhite;
    return static_cast<T>(static_cast<int>(scaled));
}

template <class Stored, class Channel>
void toEngine(Stored const* from, int values, bool isHalf, Channel* to) {
    auto const n = static_cast<std::size_t>(values);
    if constexpr (std::is_same_v<Stored, std::uint16_t>) {
        if constexpr (std::is_same_v<Channel, std::uint16_t>)
            return vectorRows().fromFile16(from, n, to);
        else if (isHalf)
            return vectorRows().fromHalf(from, n, to);
    }
    if constexpr (std::is_same_v<Stored, Channel>)
        std::copy_n(from, n, to);
    else
        for (int i = 0; i < values; ++i)
            to[i] = static_cast<Channel>(from[i]) / static_cast<Channel>(kHostWhite<Stored>);
}

template <class Channel, class Stored>
void toHost(Channel const* from, int values, bool isHalf, Stored* to) {
    auto const n = static_cast<std::size_t>(values);
    if constexpr (std::is_same_v<Stored, std::uint16_t>) {
        if constexpr (std::is_same_v<Channel, std::uint16_t>)
            return vectorRows().toFile16(from, n, to);
        else if (isHalf)
            return vectorRows().toHalf(from, n, to);
    }
    if constexpr (std::is_same_v<Stored, Channel>)
        std::copy_n(from, n, to);
    else
        for (int i = 0; i < values; ++i) to[i] = rounded<Stored>(from[i]);
}

/// Red, green, blue, alpha between straight and premultiplied. Colour without alpha outlives a
/// division, not a multiplication.
template <class Channel>
void changeAlphaState(Channel* rgba, int count, bool divides) {
    if constexpr (std::is_same_v<Channel, float>)
        vectorRows().byAlpha(rgba, static_cast<std::size_t>(count), {divides, divides});
    else
        premultRowSimd(rgba, count, 3, divides);
}

/// What a frame over a plate has in 8 bits: one step for each way.
template <class Trait, class Stored>
bool areStraightBytes(HostPicture const& picture, bool isStraight) {
    return Trait::kIsFloat && std::is_same_v<Stored, std::uint8_t> && !isStraight &&
           picture.channels == ChannelSet::kRGBA && picture.alpha == AlphaState::kStraight;
}

/// The host's samples have no alignment of their own.
template <class Trait, class Stored>
void takePiece(HostPicture const& picture, unsigned char const* from, int count, bool isStraight,
               typename Trait::Channel* pixels) {
    typename Trait::Channel rgba[4 * kPiece];
    if constexpr (Trait::kIsFloat && std::is_same_v<Stored, std::uint8_t>) {
        if (areStraightBytes<Trait, Stored>(picture, isStraight)) {
            auto const pixelCount = static_cast<std::size_t>(count);
            if constexpr (Trait::kAlpha != 0)
                return vectorRows().fromStraightBytes(from, pixelCount, pixels);
            vectorRows().fromStraightBytes(from, pixelCount, rgba);
            return turnRow(rgba, pixelCount, Turn::kToAlphaFirst, pixels);
        }
    }
    Stored stored[4 * kPiece], own[4 * kPiece];
    std::memcpy(stored, from, bytesOf(picture, count));
    Stored const* samples = stored;
    bool const isHalf = picture.samples == SampleType::kHalf;
    if (picture.channels != ChannelSet::kRGBA || picture.alpha == AlphaState::kOpaque) {
        Stored const white = isHalf ? static_cast<Stored>(kHalfWhite) : kHostWhite<Stored>;
        spread(stored, picture, count, white, own);
        samples = own;
    }
    toEngine(samples, 4 * count, isHalf, rgba);
    bool const hasState =
        picture.channels == ChannelSet::kRGBA && picture.alpha != AlphaState::kOpaque;
    bool const wasStraight = picture.alpha == AlphaState::kStraight;
    if (hasState && wasStraight != isStraight) changeAlphaState(rgba, count, isStraight);
    if constexpr (Trait::kAlpha == 0)
        turnRow(rgba, static_cast<std::size_t>(count), Turn::kToAlphaFirst, pixels);
    else
        std::copy_n(rgba, 4 * count, pixels);
}

template <class Trait, class Stored>
void givePiece(typename Trait::Channel const* pixels, bool isStraight, HostPicture const& picture,
               int count, unsigned char* to) {
    typename Trait::Channel rgba[4 * kPiece];
    bool const isOneStep = areStraightBytes<Trait, Stored>(picture, isStraight);
    if constexpr (Trait::kAlpha == 0)
        turnRow(pixels, static_cast<std::size_t>(count), Turn::kToAlphaLast, rgba);
    else if (!isOneStep)
        std::copy_n(pixels, 4 * count, rgba);
    if constexpr (Trait::kIsFloat && std::is_same_v<Stored, std::uint8_t>)
        if (isOneStep)
            return vectorRows().toStraightBytes(Trait::kAlpha == 0 ? rgba : pixels,
                                                static_cast<std::size_t>(count), to);
    bool const wantsStraight =
        picture.channels == ChannelSet::kRGBA && picture.alpha == AlphaState::kStraight;
    if (picture.channels != ChannelSet::kAlpha && wantsStraight != isStraight)
        changeAlphaState(rgba, count, wantsStraight);
    Stored stored[4 * kPiece], own[4 * kPiece];
    toHost(rgba, 4 * count, picture.samples == SampleType::kHalf, stored);
    if (picture.channels != ChannelSet::kRGBA) gather(stored, picture, count, own);
    std::memcpy(to, picture.channels == ChannelSet::kRGBA ? stored : own, bytesOf(picture, count));
}

/// Calls `body` with each piece's address, its first pixel within the row and its length, and with
/// a value of the type of the picture's samples.
template <class Trait, class Body>
void forEachPiece(HostPicture const& picture, int x, int y, int count, Body const& body) {
    for (int done = 0; done < count; done += kPiece) {
        unsigned char* const at = picture.pixel(x + done, y);
        int const n = std::min(kPiece, count - done);
        if constexpr (!Trait::kIsFloat) {
            body(at, done, n, typename Trait::Channel());
        } else if (picture.samples == SampleType::kByte) {
            body(at, done, n, std::uint8_t());
        } else if (picture.samples == SampleType::kFloat) {
            body(at, done, n, 0.0f);
        } else {
            body(at, done, n, std::uint16_t());
        }
    }
}

}  // namespace

PixelRect intersection(PixelRect const& a, PixelRect const& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

int HostPicture::pixelBytes() const {
    constexpr int kBytes[] = {1, 2, 2, 4};
    return channelCount(channels) * kBytes[static_cast<int>(samples)];
}

unsigned char* HostPicture::pixel(int x, int y) const {
    return topRow + (y - at.top) * rowBytes +
           static_cast<std::ptrdiff_t>(x - at.left) * pixelBytes();
}

template <class Trait>
void takeRow(HostPicture const& picture, int x, int y, int count, bool isStraight,
             typename Trait::Channel* pixels) {
    forEachPiece<Trait>(
        picture, x, y, count, [&](unsigned char const* from, int first, int n, auto sample) {
            takePiece<Trait, decltype(sample)>(picture, from, n, isStraight, pixels + 4 * first);
        });
}

template <class Trait>
void giveRow(typename Trait::Channel const* pixels, bool isStraight, HostPicture const& picture,
             int x, int y, int count) {
    forEachPiece<Trait>(
        picture, x, y, count, [&](unsigned char* to, int first, int n, auto sample) {
            givePiece<Trait, decltype(sample)>(pixels + 4 * first, isStraight, picture, n, to);
        });
}

#define ZELK_ROWS(NAME)                                                                         \
    template void takeRow<PIXEL_##NAME>(HostPicture const&, int, int, int, bool,                \
                                        PIXEL_##NAME::Channel*);                                \
    template void giveRow<PIXEL_##NAME>(PIXEL_##NAME::Channel const*, bool, HostPicture const&, \
                                        int, int, int);
ZELK_FRAME_FORMATS(ZELK_ROWS)
#undef ZELK_ROWS

}  // namespace zelk::bindings
