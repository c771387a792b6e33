// See snap.h.
#include "apps/viewer/model/snap.h"

#include <cmath>

namespace zelk {

std::vector<PanelPoint> snapTargets(PixelSize picture) {
    double const w = picture.width, h = picture.height;
    return {{0, 0}, {w, 0}, {0, h}, {w, h}, {w / 2, 0}, {w / 2, h}, {0, h / 2}, {w, h / 2}};
}

Snapped snapped(PanelPoint point, std::vector<PanelPoint> const& targets, double reachPx) {
    Snapped best = {{std::round(point.x), std::round(point.y)}};
    double nearest = reachPx;
    for (PanelPoint const& target : targets) {
        double const distance = std::hypot(target.x - point.x, target.y - point.y);
        if (distance > nearest) continue;
        nearest = distance;
        best = {target, true};
    }
    return best;
}

}  // namespace zelk
