// Quads one by one, and the order that most of the odd ones ask for; see check_parts.h.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "zelk/tracks/check_parts.h"
#include "zelk/tracks/corner_order.h"
#include "zelk/tracks/frame_list.h"
#include "zelk/tracks/quad_fault.h"

namespace zelk {

namespace {

CornerOrder mostOf(std::map<CornerOrder, int> const& orders) {
    if (orders.empty()) return {0, 1, 2, 3};
    return std::max_element(orders.begin(), orders.end(),
                            [](auto const& a, auto const& b) { return a.second < b.second; })
        ->first;
}

/// What gives every corner the place where it lies; nothing when it lies there. Headings
/// in words were most likely meant as they say.
std::string orderFix(Track const& track, CornerOrder const& order) {
    constexpr CornerOrder kAsIs = {0, 1, 2, 3}, kByWords = {0, 2, 1, 3};
    if (order == kAsIs) return "";
    if (order == kByWords && track.format == "mocha") return kMeantByWords;
    return cornersOption(order);
}

}  // namespace

void checkQuads(Track const& track, TrackIssues& issues) {
    FrameList crossed, flat, turned;
    std::map<CornerOrder, int> orders;
    eachRow(track, [&](TrackRow const& row) {
        if (!row.isWhole()) return;
        Corners const quad = row.quad();
        QuadFault const fault = checkQuad(quad);
        if (fault == QuadFault::kCrossed) crossed.add(row.frame);
        if (fault == QuadFault::kFlat) flat.add(row.frame);
        if (isTurnedOver(quad)) turned.add(row.frame);
        if (fault == QuadFault::kCrossed || isTurnedOver(quad)) ++orders[orderByPlace(quad)];
    });
    auto const order = mostOf(orders);
    bool const isUpsideDown =
        order == CornerOrder{kLowerLeft, kLowerRight, kUpperLeft, kUpperRight};
    std::string const fix = isUpsideDown ? "--flip-y" : orderFix(track, order);
    if (!crossed.isEmpty())
        issues.add(TrackFault::kCrossed, 0,
                   fmt::format("the quad crosses itself, and nothing is drawn, at {}",
                               framesText(crossed)),
                   fix);
    if (!flat.isEmpty())
        issues.add(
            TrackFault::kFlat, 0,
            fmt::format("the quad has no area, and nothing is drawn, at {}", framesText(flat)));
    if (isUpsideDown && !turned.isEmpty())
        issues.add(TrackFault::kUpsideDown, 0,
                   fmt::format("upper corners lie below lower ones at {}: y seems to point up",
                               framesText(turned)),
                   track.hasSize() ? fix : fix + " --size WxH");
    else if (!turned.isEmpty())
        issues.add(TrackFault::kTurnedOver, 0,
                   fmt::format("the picture is turned over at {}", framesText(turned)), fix);
}

}  // namespace zelk
