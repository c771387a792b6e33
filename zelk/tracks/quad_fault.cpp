// The turns at four corners; see quad_fault.h.
#include "zelk/tracks/quad_fault.h"

namespace zelk {

namespace {

struct Turns {
    bool left = false, right = false;
};

Turns turnsOf(Corners const& corners) {
    Point const edge[4] = {corners[0], corners[2], corners[3], corners[1]};
    Turns turns;
    for (int i = 0; i < 4; ++i) {
        Point const& a = edge[i];
        Point const& b = edge[(i + 1) % 4];
        Point const& c = edge[(i + 2) % 4];
        double const turn = (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
        turns.left = turns.left || turn < 0;
        turns.right = turns.right || turn > 0;
    }
    return turns;
}

}  // namespace

QuadFault checkQuad(Corners const& corners) {
    Turns const turns = turnsOf(corners);
    if (turns.left && turns.right) return QuadFault::kCrossed;
    return turns.left || turns.right ? QuadFault::kNone : QuadFault::kFlat;
}

bool isTurnedOver(Corners const& corners) {
    Turns const turns = turnsOf(corners);
    return turns.right && !turns.left;
}

}  // namespace zelk
