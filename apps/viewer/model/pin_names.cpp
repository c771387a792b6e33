// What people call pins; see pin_names.h.
#include "apps/viewer/model/pin_names.h"

#include <array>

#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

constexpr std::array<char const*, 4> kCorners = {"upper left", "upper right", "lower left",
                                                 "lower right"};

int cornerOf(int parameter) { return parameter - firstPinOf(quadOf(parameter)); }

}  // namespace

int firstPinOf(TrackedPins pins) { return pins == TrackedPins::kTo ? kToPins : kFromPins; }

TrackedPins quadOf(int parameter) {
    return parameter >= kToPins && parameter < kToPins + 4 ? TrackedPins::kTo : TrackedPins::kFrom;
}

std::string quadName(TrackedPins pins) { return pins == TrackedPins::kTo ? "To" : "From"; }

std::string pinName(int parameter) {
    return std::string(kCorners[static_cast<std::size_t>(cornerOf(parameter))]) + " " +
           quadName(quadOf(parameter)) + " Pin";
}

std::string edgeName(int first, int second) {
    int const a = cornerOf(first), b = cornerOf(second);
    std::string const side = a + b == 1 ? "top" : a + b == 5 ? "bottom" : a == 0 ? "left" : "right";
    return side + " edge of " + quadName(quadOf(first)) + " Pins";
}

}  // namespace zelk
