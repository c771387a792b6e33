// Angles around a quad's middle; see corner_order.h.
#include "zelk/tracks/corner_order.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

#include "zelk/text/errors.h"
#include "zelk/tracks/text.h"
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

CornerOrder parseCornerOrder(std::string const& thing, std::string const& text) {
    std::vector<int> order;
    std::string_view rest = text;
    while (order.size() < 4) {
        auto const comma = std::min(rest.find(','), rest.size());
        auto const corner = cornerNamed(rest.substr(0, comma));
        if (!corner || std::find(order.begin(), order.end(), *corner) != order.end()) break;
        order.push_back(*corner);
        rest.remove_prefix(std::min(comma + 1, rest.size()));
    }
    if (order.size() == 4 && rest.empty()) return {order[0], order[1], order[2], order[3]};
    throw UserError(ExitCode::kUsage,
                    {thing, "not an order of corners:", text, "ul, ur, ll and lr, each once"});
}

std::string cornersOption(CornerOrder const& order) {
    std::string text = "--corners ";
    for (std::size_t i = 0; i < 4; ++i)
        text += (i == 0 ? "" : ",") + std::string(kCornerNames[static_cast<std::size_t>(order[i])]);
    return text;
}

}  // namespace zelk
