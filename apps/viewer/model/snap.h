// Snapping: where a point that is moved comes to lie when its user asks for order.
#pragma once

#include <optional>
#include <vector>

#include "hostkit/panel.h"
#include "zelk/pictures/pixel_size.h"

namespace zelk {

/// Corners and middles of the edges of a picture, pixels. Of another one that lies in its upper
/// left corner, as a layer does in its frame, the corners that lie within.
std::vector<PanelPoint> snapTargets(PixelSize picture, PixelSize other);

/// Where a point may go.
enum class SnapWay { kAnywhere, kAcross, kUpAndDown };

struct Snapped {
    PanelPoint at;
    bool isOnTarget = false;  ///< else on a whole pixel
};

/// The nearest target within `reachPx` of the point, else the nearest corner of a pixel. On one
/// axis alone that of the nearest target on it, however far aside that lies; the other one stays.
Snapped snapped(PanelPoint point, std::vector<PanelPoint> const& targets, double reachPx,
                SnapWay way = SnapWay::kAnywhere);

}  // namespace zelk
