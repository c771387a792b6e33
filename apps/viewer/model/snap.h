// Snapping: where a point that is moved comes to lie when its user asks for order.
#pragma once

#include <optional>
#include <vector>

#include "hostkit/panel.h"
#include "zelk/pictures/pixel_size.h"

namespace zelk {

/// Corners and middles of the edges of a picture, pixels.
std::vector<PanelPoint> snapTargets(PixelSize picture);

struct Snapped {
    PanelPoint at;
    bool isOnTarget = false;  ///< else on a whole pixel
};

/// The nearest target within `reachPx` of the point, else the nearest corner of a pixel.
Snapped snapped(PanelPoint point, std::vector<PanelPoint> const& targets, double reachPx);

}  // namespace zelk
