// The module in our host, its two quads as rectangles of a layer of 400 x 300, and one panel.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "hostkit/edit_session.h"
#include "hostkit/events.h"
#include "interaction/PanelPoints.h"

namespace zelk_test {

using Pins = PinIndices;
constexpr Pins kTo = kToPins, kFrom = kFromPins;

/// Layer pixels.
struct Box {
    double left, top, right, bottom;
};
constexpr Box kToBox = {100, 100, 300, 250};
constexpr Box kFromBox = {150, 120, 350, 200};  // smaller, and it sticks out to the right

struct Stage {
    explicit Stage(zelk::HostOptions const& options = {}) : host(ZELK_MODULE, options) {
        host.resetParameters(400, 300);
        place(kTo, kToBox);
        place(kFrom, kFromBox);
        events.frame.layerWidth = 400;
        events.frame.layerHeight = 300;
    }

    PF_ParamDef& value(int index) { return parameterIn(host.parameters(), index).current; }
    void set(int index, double number) { zelk::setNumber(value(index), number); }
    void place(Pins const& pins, Box const& box) {
        for (std::size_t i = 0; i < 4; ++i)
            zelk::setPoint(value(pins[i]), i < 2 ? box.left : box.right,
                           i % 2 ? box.bottom : box.top);
    }
    /// x and y of the pins in 16.16.
    std::vector<PF_Fixed> fixed(Pins const& pins) {
        std::vector<PF_Fixed> all;
        for (int pin : pins)
            for (PF_Fixed c : {value(pin).u.td.x_value, value(pin).u.td.y_value}) all.push_back(c);
        return all;
    }
    /// The panel's pixel of a layer's; exact where the panel has one.
    zelk::MouseEvent at(double x, double y, A_long modifiers = 0) {
        zelk::Panel const& panel = events.panel();
        zelk::PanelPoint const p = panel.toFrame(panel.toComp({x, y}));
        return {static_cast<int>(p.x), static_cast<int>(p.y), modifiers};
    }

    zelk::Host host;
    zelk::PanelEvents events{host};
};

/// `pins` moved by whole pixels.
inline std::vector<PF_Fixed> moved(std::vector<PF_Fixed> pins, int dx, int dy) {
    for (std::size_t i = 0; i < pins.size(); ++i) pins[i] += (i % 2 ? dy : dx) * 65536;
    return pins;
}

}  // namespace zelk_test
