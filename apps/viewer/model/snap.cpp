// See snap.h.
#include "apps/viewer/model/snap.h"

#include <cmath>

namespace zelk {

std::vector<PanelPoint> snapTargets(PixelSize picture, PixelSize other) {
    double const w = picture.width, h = picture.height;
    std::vector<PanelPoint> targets = {{0, 0},     {w, 0},     {0, h},     {w, h},
                                       {w / 2, 0}, {w / 2, h}, {0, h / 2}, {w, h / 2}};
    double const right = other.width, bottom = other.height;
    for (PanelPoint const& corner :
         {PanelPoint{right, 0}, PanelPoint{0, bottom}, PanelPoint{right, bottom}})
        if (corner.x <= w && corner.y <= h) targets.push_back(corner);
    return targets;
}

Snapped snapped(PanelPoint point, std::vector<PanelPoint> const& targets, double reachPx,
                SnapWay way) {
    auto const kept = [&](PanelPoint to) {
        if (way == SnapWay::kAcross) to.y = point.y;
        if (way == SnapWay::kUpAndDown) to.x = point.x;
        return to;
    };
    Snapped best = {kept({std::round(point.x), std::round(point.y)})};
    double nearest = reachPx;
    for (PanelPoint const& target : targets) {
        PanelPoint const to = kept(target);
        double const distance = std::hypot(to.x - point.x, to.y - point.y);
        if (distance > nearest) continue;
        nearest = distance;
        best = {to, true};
    }
    return best;
}

}  // namespace zelk
