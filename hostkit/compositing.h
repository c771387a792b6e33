// Laying one image over another by a transfer mode, as the host's `transfer_rect` and
// `transform_world` callbacks do it; the latter sends the source through a matrix first.
//
// Space: pixels, y down, straight colour. The source is the foreground; the destination is the
// background, whose opacity is 1, and takes the result.
//
// Modes: those that PF_Xfer_Mode names, but for Dissolve, which this host hasn't.
// PF_Xfer_COPY puts the source's pixels in the destination's place, alpha times opacity, in single
// precision and for integers truncated: the alpha with which every other mode begins.
// Opacity: `opacity` / 255 for 8 bits and float; for 16 bits `opacitySu` / 32768, at most 1.
// With `rgb_only` the destination keeps its alpha.
#pragma once

#include <array>
#include <optional>

#include "hostkit/world.h"

namespace zelk {

/// Lays `sourceRect` (null: all) of `source` over `destination`, its corner at (x, y), clipped to
/// both images, which may be the same one: it is then read as it was before. False, with nothing
/// done, when depth or channel order differ or the mode is not offered.
bool transferPixels(World const& source, PF_Rect const* sourceRect, PF_CompositeMode const& mode,
                    int x, int y, World& destination);

/// Sends a point of the destination to the source: (u v w) = (x y 1) M, the point (u / w, v / w).
/// Row vectors; pixel (i, j) has its centre at (i + 1/2, j + 1/2). Multiples of a map are the same
/// map, negative ones too. A point with w = 0 lies nowhere.
using PixelMap = std::array<std::array<double, 3>, 3>;

/// The map of a host's matrix, which is inverted when it leads from source to destination; none
/// when it then is singular or not finite.
std::optional<PixelMap> pixelMap(PF_FloatMatrix const& matrix, bool sourceToDestination);

enum class Sampling {
    kNearest,  ///< the pixel in which the point lies, as it stands
    /// The four nearest pixels by their premultiplied colour, in double and rounded to the nearest
    /// once. At the centre of a pixel that pixel as it stands, its colour under alpha 0 included.
    kBilinear,
};

/// Samples `source` for each pixel of `rect` (null: all) of `destination` and lays the sample over
/// it. Outside the source lies transparent black, which PF_Xfer_COPY copies, too. Otherwise as
/// transferPixels.
bool transformPixels(World const& source, PixelMap const& map, Sampling sampling,
                     PF_CompositeMode const& mode, PF_Rect const* rect, World& destination);

}  // namespace zelk
