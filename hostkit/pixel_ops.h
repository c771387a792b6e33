// Copying and filling of images, as the host's `copy` and `fill` callbacks do it.
//
// Rectangles are in pixels, half-open, and may lie outside the image: only what falls inside is
// touched.
#pragma once

#include "hostkit/world.h"

namespace zelk {

/// A half-open pixel rectangle, in int: 16-bit rectangles may name any place and be moved.
struct Bounds {
    int left, top, right, bottom;

    static Bounds of(World const& world);
    /// The rectangle, or for null all of `world`.
    static Bounds of(PF_Rect const* rect, World const& world);
    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool empty() const { return right <= left || bottom <= top; }
    Bounds shifted(int dx, int dy) const;
    Bounds meet(Bounds const& other) const;  ///< what both have; perhaps empty
    bool operator==(Bounds const&) const = default;
};

/// What two parts of a layer have in common; all zeros for nothing.
PF_LRect meet(PF_LRect const& a, PF_LRect const& b);

/// The pixels of `world` that lie in `rect` of the layer, with their origin; an image without
/// record where there are none.
World partOf(World const& world, PF_LRect const& rect);

/// Depth and channel order are the same.
bool sameLayout(World const& a, World const& b);

/// The pixel of `world`'s depth and channel order for an 8-bit colour, in the first pixelBytes of
/// `bytes`. 16 bits: c * 32768 / 255 to the nearest; float: c / 255.
void encodeColor(World const& world, PF_Pixel color, std::byte (&bytes)[16]);

/// Fills `rect` (null: all) with `color` (null: transparent black).
void fillPixels(World& world, PF_Pixel const* color, PF_Rect const* rect);

/// Copies `fromRect` (null: all) so that its corner comes to `toRect`'s (null: the image's),
/// clipped to both rectangles and both images; `from` and `to` may be the same image. False, with
/// nothing done, when depth or channel order differ.
bool copyPixels(World const& from, World& to, PF_Rect const* fromRect, PF_Rect const* toRect);

}  // namespace zelk
