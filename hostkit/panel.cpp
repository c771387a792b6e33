// Coordinates of panels, and the callbacks that lend them to effects.
#include "hostkit/panel.h"

#include <cmath>

#include "hostkit/fixed_point.h"
#include "hostkit/host_impl.h"

namespace zelk {
namespace {

using Conversion = PanelPoint (Panel::*)(PanelPoint) const;

/// One coordinate callback of the event that runs.
PF_Err convert(char const* name, void* refcon, PF_ContextH context, PF_FixedPoint* point,
               Conversion conversion) {
    return answerCall(name, [&](Host::Impl& host) -> PF_Err {
        if (host.running.command != PF_Cmd_EVENT || !point) return PF_Err_BAD_CALLBACK_PARAM;
        auto const* const extra = static_cast<PF_EventExtra const*>(host.running.scene->extra);
        if (!refcon || refcon != extra->cbs.refcon || context != extra->contextH)
            return PF_Err_BAD_CALLBACK_PARAM;
        Panel const& panel = static_cast<PanelContext const*>(refcon)->panel;
        PanelPoint const to = (panel.*conversion)({fixedToReal(point->x), fixedToReal(point->y)});
        *point = {realToFixed(to.x), realToFixed(to.y)};
        return PF_Err_NONE;
    });
}

PF_Err layerToComp(void* refcon, PF_ContextH context, A_long, A_u_long, PF_FixedPoint* point) {
    return convert("layer_to_comp", refcon, context, point, &Panel::toComp);
}

PF_Err compToLayer(void* refcon, PF_ContextH context, A_long, A_u_long, PF_FixedPoint* point) {
    return convert("comp_to_layer", refcon, context, point, &Panel::toLayer);
}

PF_Err sourceToFrame(void* refcon, PF_ContextH context, PF_FixedPoint* point) {
    return convert("source_to_frame", refcon, context, point, &Panel::toFrame);
}

PF_Err frameToSource(void* refcon, PF_ContextH context, PF_FixedPoint* point) {
    return convert("frame_to_source", refcon, context, point, &Panel::toSource);
}

}  // namespace

PanelPoint Panel::toSource(PanelPoint frame) const {
    return {(frame.x - pan.x) / zoom, (frame.y - pan.y) / zoom};
}

PanelPoint Panel::toFrame(PanelPoint source) const {
    return {source.x * zoom + pan.x, source.y * zoom + pan.y};
}

PanelPoint Panel::toLayer(PanelPoint comp) const {
    if (shows != PF_Window_COMP) return comp;
    return {comp.x - layerAt.x, comp.y - layerAt.y};
}

PanelPoint Panel::toComp(PanelPoint layer) const {
    if (shows != PF_Window_COMP) return layer;
    return {layer.x + layerAt.x, layer.y + layerAt.y};
}

void requireSound(Panel const& panel) {
    for (double const number :
         {panel.zoom, panel.pan.x, panel.pan.y, panel.layerAt.x, panel.layerAt.y})
        if (!std::isfinite(number)) throw HostError("a number of a panel is not finite");
    if (!(panel.zoom > 0)) throw HostError("the zoom of a panel is not above 0");
}

PF_ContextH PanelContext::handle() {
    m_context.w_type = panel.shows;
    return &m_master;
}

PF_EventCallbacks PanelContext::callbacks() {
    return {this, layerToComp, compToLayer, sourceToFrame, frameToSource};
}

}  // namespace zelk
