// Options of commands that show one frame as a host's panel does.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/option_adder.h"
#include "platform/effect_api/effect_events.h"

namespace zelk {

/// Which panel, at which frame and size.
struct PanelView {
    std::optional<int> frame;  ///< nothing: the composition's first
    double zoom = 1;
    PF_WindowType panel = PF_Window_COMP;
};

class PanelOptions {
public:
    void add(OptionAdder const& add);
    PanelView view() const;

private:
    std::optional<std::string> m_frame, m_zoom, m_panel;
};

}  // namespace zelk
