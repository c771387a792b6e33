// Options of commands that show one frame as a host's panel does.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/option_adder.h"
#include "hostkit/host.h"
#include "platform/effect_api/effect_events.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Which panel, at which frame and size.
struct PanelView {
    std::optional<int> frame;  ///< nothing: the composition's first
    double zoom = 1;
    PF_WindowType panel = PF_Window_COMP;
};

/// Throws a usage error for a frame that the scene's composition does not reach.
void requireFrame(PanelView const& view, Scene const& scene);
/// Throws a usage error for a host in which the effect has no panels.
void requirePanels(Host const& host, HostApp app);
/// A layer's panel shows the layer: throws a usage error where the pins of both quads don't lie in
/// its space.
void requireOneSpace(PanelView const& view, PixelSize layer, PixelSize frame);

class PanelOptions {
public:
    void add(OptionAdder const& add);
    PanelView view() const;

private:
    std::optional<std::string> m_frame, m_zoom, m_panel;
};

}  // namespace zelk
