// Angles around a quad's middle; see corner_order.h.
#include "zelk/tracks/corner_order.h"

#include <algorithm>
#include <cmath>

#include "zelk/tracks/track.h"

namespace zelk {

// Around the middle the corners are at angles; the upper left one is nearest to the frame's.
CornerOrder orderByPlace(Corners const& quad) {
    CornerOrder order = {0, 1, 2, 3};
    Point middle;
    for (Point const& p : quad) {
        middle.x += p.x / 4;
        middle.y += p.y / 4;
    }
    auto const angle = [&](int i) {
        Point const& p = quad[static_cast<std::size_t>(i)];
        return std::atan2(p.y - middle.y, p.x - middle.x);
    };
    std::sort(order.begin(), order.end(), [&](int a, int b) { return angle(a) < angle(b); });
    auto const reach = [&](int i) {
        Point const& p = quad[static_cast<std::size_t>(i)];
        return p.x + p.y;
    };
    std::rotate(order.begin(),
                std::min_element(order.begin(), order.end(),
                                 [&](int a, int b) { return reach(a) < reach(b); }),
                order.end());
    return {order[0], order[1], order[3], order[2]};  // clockwise: ul, ur, lr, ll
}

std::string cornersOption(CornerOrder const& order) {
    std::string text = "--corners ";
    for (std::size_t i = 0; i < 4; ++i)
        text += (i == 0 ? "" : ",") + std::string(kCornerNames[static_cast<std::size_t>(order[i])]);
    return text;
}

}  // namespace zelk
