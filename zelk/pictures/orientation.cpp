// The eight orientations; see orientation.h.
#include "zelk/pictures/orientation.h"

#include <utility>

namespace zelk {

Orientation orientationOf(OIIO::ImageSpec const& spec) {
    constexpr Orientation kOrientations[] = {
        {false, false, false}, {false, true, false}, {false, true, true}, {false, false, true},
        {true, false, false},  {true, true, false},  {true, true, true},  {true, false, true},
    };
    int const number = spec.get_int_attribute("Orientation", 1);
    return number >= 1 && number <= 8 ? kOrientations[number - 1] : Orientation{};
}

PixelSize upright(PixelSize stored, Orientation const& turn) {
    if (turn.isTransposed) std::swap(stored.width, stored.height);
    return stored;
}

PixelMargins upright(PixelMargins const& stored, Orientation const& turn) {
    PixelMargins margins = stored;
    if (turn.isTransposed) margins = {stored.top, stored.left, stored.bottom, stored.right};
    if (turn.mirrorsX) std::swap(margins.left, margins.right);
    if (turn.mirrorsY) std::swap(margins.top, margins.bottom);
    return margins;
}

void setUpright(OIIO::ParamValueList& metadata, Orientation const& turn) {
    if (turn.isUpright()) return;
    metadata["Orientation"] = 1;
    if (!turn.isTransposed) return;
    float const horizontal = metadata.get_float("XResolution", 0),
                vertical = metadata.get_float("YResolution", 0),
                aspect = metadata.get_float("PixelAspectRatio", 0);
    if (horizontal > 0 && vertical > 0) {
        metadata["XResolution"] = vertical;
        metadata["YResolution"] = horizontal;
    }
    if (aspect > 0) metadata["PixelAspectRatio"] = 1 / aspect;
}

}  // namespace zelk
