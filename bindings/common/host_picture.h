// A picture as other hosts hand it over: samples, channels and the state of alpha in their words,
// and its rows' way to the engine's images and back.
//
// Space: pixels with y down; rectangles are half-open. Images of the engine have alpha first or
// last and keep red, green, blue. Whites: bytes 255, shorts 65535 in the host and 32768 in the
// engine, floats 1.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Transform/Common/PixelTraits.h"

namespace zelk::bindings {

struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool isEmpty() const { return right <= left || bottom <= top; }
    bool operator==(PixelRect const&) const = default;
};

/// What both have; empty rectangles may have any place.
PixelRect intersection(PixelRect const& a, PixelRect const& b);

enum class SampleType { kByte, kShort, kHalf, kFloat };
enum class ChannelSet { kRGBA, kRGB, kAlpha };
/// Opaque pictures have white alpha, whatever lies in that channel.
enum class AlphaState { kPremultiplied, kStraight, kOpaque };

/// A view of the host's pixels, which outlive it. `topRow` is the first pixel of the upper row,
/// `rowBytes` leads to the row below it and may be negative. Without `topRow` the picture is
/// transparent everywhere.
struct HostPicture {
    unsigned char* topRow = nullptr;
    std::ptrdiff_t rowBytes = 0;
    PixelRect at;
    SampleType samples = SampleType::kFloat;
    ChannelSet channels = ChannelSet::kRGBA;
    AlphaState alpha = AlphaState::kPremultiplied;

    int pixelBytes() const;
    unsigned char* pixel(int x, int y) const;
};

/// `count` pixels of the row `y` from `x` on, all inside the picture, as a row of the engine's,
/// straight or premultiplied. Trait is one of a frame's formats: of 8 bits for bytes, PIXEL_ARGB15
/// for shorts, float for any samples. Alpha goes where the format has it, colours before or behind
/// it in the host's order.
template <class Trait>
void takeRow(HostPicture const& picture, int x, int y, int count, bool isStraight,
             typename Trait::Channel* pixels);

/// The way back. A picture without alpha gets the colour over black.
template <class Trait>
void giveRow(typename Trait::Channel const* pixels, bool isStraight, HostPicture const& picture,
             int x, int y, int count);

}  // namespace zelk::bindings
