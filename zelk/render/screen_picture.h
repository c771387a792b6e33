// A rendered picture as a screen takes it: 8 bits, straight, converted to the display's space.
//
// Values are those that an 8-bit file of the picture would have: integers of 8 bits as they are
// where nothing is converted; all else in float, converted, rounded once to nearest, limited.
//
// A plate that is not under the picture yet is laid there on the way, some pixels at a time: the
// picture is read once and stays as it is.
#pragma once

#include <memory>

#include "hostkit/pixel_ops.h"
#include "zelk/color/color_transform.h"
#include "zelk/render/screen_rows.h"

namespace zelk {

/// Bytes of floats by a conversion that takes each channel by itself, never falling: the
/// conversion's own results. Null for a curve too steep for a table. `way` takes grey to grey.
std::shared_ptr<ByteTable const> byteTableOf(ColorTransform const& way);

/// Null where nothing is converted; a table where the transform is a curve.
struct ScreenWay {
    std::shared_ptr<ColorTransform const> transform;
    std::shared_ptr<ByteTable const> table;
};

/// What lies under a float picture of associated colour: pixel (left, top) under its first one.
struct ScreenPlate {
    World const* picture = nullptr;  ///< null for none
    int left = 0, top = 0;
    int mode = 0;  ///< as layOver
    /// The plate alone as screenPicture gives it, of the same way and order; null: not known. It
    /// is what shows where the picture is 0.
    World const* shown = nullptr;
};

/// `part` lies within the picture. Blue, green, red, alpha in memory with `isBgra`, else alpha
/// first. Rows on the team.
World screenPicture(World const& picture, Bounds const& part, AlphaForm form, ScreenWay const& way,
                    bool isBgra, ScreenPlate const& plate = {});

}  // namespace zelk
