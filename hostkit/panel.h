// A panel of the host in which an effect draws and takes the mouse: what it shows, at which zoom,
// and the four coordinate callbacks that an effect is given for it.
//
//     frame    pixels of the panel           frame = source * zoom + pan
//     source   what the panel shows          the composition, or the layer by itself
//     comp     pixels of the composition     comp = layer + the layer's place in it
//     layer    pixels of the layer at full resolution
//
// y down. In a layer panel the layer stands in no composition: comp and layer are one there.
#pragma once

#include "platform/effect_api/effect_events.h"

namespace zelk {

/// A place on the axes of any of the spaces above.
struct PanelPoint {
    double x = 0, y = 0;
    bool operator==(PanelPoint const&) const = default;
};

struct Panel {
    PF_WindowType shows = PF_Window_COMP;
    double zoom = 1;     ///< panel pixels to a pixel of what is shown
    PanelPoint pan;      ///< where the upper left corner of what is shown lies, panel pixels
    PanelPoint layerAt;  ///< the layer's upper left corner, comp pixels; 0, 0 for one that covers
                         ///< its composition

    PanelPoint toSource(PanelPoint frame) const;
    PanelPoint toFrame(PanelPoint source) const;
    PanelPoint toLayer(PanelPoint comp) const;
    PanelPoint toComp(PanelPoint layer) const;
};

/// Throws HostError for a zoom that is not above 0, or a number that is not finite.
void requireSound(Panel const& panel);

/// The panel as an effect knows it for as long as the panel is open: the context that comes with
/// every event. The callbacks convert points to the nearest 1/65536, within 16.16; they refuse,
/// with PF_Err_BAD_CALLBACK_PARAM, any other context, and all calls outside of an event of it.
class PanelContext {
public:
    PanelContext() { m_context.magic = 0x50414E4C; }
    PanelContext(PanelContext const&) = delete;
    PanelContext& operator=(PanelContext const&) = delete;

    Panel panel;

    PF_ContextH handle();
    PF_EventCallbacks callbacks();

private:
    PF_Context m_context{};
    PF_Context* m_master = &m_context;
};

}  // namespace zelk
