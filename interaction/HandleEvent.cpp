// Clicks and drags. The state of a drag lives in the statics below and in the host's
// continue_refcon: 0 and 1 the last mouse position, 2 whether the To quad was picked.
#include "interaction/HandleEvent.h"

#include <algorithm>
#include <optional>

#include "Transform/Common/QV_Poly/PlanePrimitives.h"
#include "interaction/DrawEvent.h"
#include "interaction/PanelPoints.h"
#include "interaction/current_tool_is_pointer.h"
#include "params/ParameterDef.h"

bool g_isDragging = false;

namespace {

bool g_isScale = false;
double g_anchorX, g_anchorY;  ///< the click
double g_x[4], g_y[4];        ///< the picked quad at the click, whole pixels

constexpr double kScalePerPx = 0.0025f;  // 400 pixels double; the single float, widened
constexpr double kLargestScale = 4.0;
constexpr double kSmallestScale = 0.001;

/// A whole layer pixel.
struct LayerPixel {
    int x, y;
};

LayerPixel mousePosition(PF_InData const& in, PF_EventExtra& extra) {
    const PF_Point mouse = extra.u.do_click.screen_point;
    PF_FixedPoint point = {fixedOfWhole(mouse.h), fixedOfWhole(mouse.v)};
    PF_EventCallbacks const& host = extra.cbs;
    host.frame_to_source(host.refcon, extra.contextH, &point);
    if (isCompPanel(extra))
        host.comp_to_layer(host.refcon, extra.contextH, in.current_time, in.time_scale, &point);
    return {wholePart(point.x), wholePart(point.y)};
}

LayerPixel pinPixel(PF_ParamDef const& def) {
    return {wholePart(def.u.td.x_value), wholePart(def.u.td.y_value)};
}

bool isInQuad(LayerPixel mouse, PF_ParamDef** params, PinIndices const& pins, double& area) {
    double x[4], y[4];
    for (std::size_t i = 0; i < pins.size(); ++i) {
        const LayerPixel pin = pinPixel(*params[pins[i]]);
        x[i] = pin.x;
        y[i] = pin.y;
    }
    // Upper left, lower left, upper right, lower right is Z order, mirrored at the diagonal.
    return isPointInQuad(mouse.x, mouse.y, x[0], y[0], x[1], y[1], x[2], y[2], x[3], y[3], area);
}

/// Of two quads under the mouse the smaller; From when they are equal. Null for none that is shown.
PinIndices const* pickedPins(LayerPixel mouse, int overlayMode, PF_ParamDef** params) {
    double toArea, fromArea;
    bool const isInTo = isInQuad(mouse, params, kToPins, toArea) && showsToPins(overlayMode);
    bool const isInFrom =
        isInQuad(mouse, params, kFromPins, fromArea) && showsFromPins(overlayMode);
    if (isInFrom && !(isInTo && fromArea > toArea)) return &kFromPins;
    return isInTo ? &kToPins : nullptr;
}

void rememberClick(LayerPixel mouse, PF_ParamDef** params, PinIndices const& pins) {
    for (std::size_t i = 0; i < pins.size(); ++i) {
        const LayerPixel pin = pinPixel(*params[pins[i]]);
        g_x[i] = pin.x;
        g_y[i] = pin.y;
    }
    g_anchorX = mouse.x;
    g_anchorY = mouse.y;
}

void rememberMouse(LayerPixel mouse, PF_EventExtra& extra) {
    extra.u.do_click.continue_refcon[0] = mouse.x;
    extra.u.do_click.continue_refcon[1] = mouse.y;
}

double scaleOf(double mouse, double anchor) {
    double const scale = 1.0 + (mouse - anchor) * kScalePerPx;
    return std::max(std::min(scale, kLargestScale), kSmallestScale);
}

/// About the anchor, truncated toward zero to a whole pixel.
PF_Fixed scaled(double atClick, double anchor, double scale) {
    return fixedOfWhole(static_cast<int>((atClick - anchor) * scale + anchor));
}

void scalePins(LayerPixel mouse, PF_ParamDef** params, PinIndices const& pins) {
    double const sx = scaleOf(mouse.x, g_anchorX), sy = scaleOf(mouse.y, g_anchorY);
    for (std::size_t i = 0; i < pins.size(); ++i) {
        PF_PointDef& pin = params[pins[i]]->u.td;
        pin.x_value = scaled(g_x[i], g_anchorX, sx);
        pin.y_value = scaled(g_y[i], g_anchorY, sy);
    }
}

void movePins(LayerPixel from, LayerPixel to, PF_ParamDef** params, PinIndices const& pins) {
    for (int const index : pins) {
        PF_PointDef& pin = params[index]->u.td;
        pin.x_value = movedBy(pin.x_value, to.x - from.x);
        pin.y_value = movedBy(pin.y_value, to.y - from.y);
    }
}

/// What the host carried from the event before; 16 bits, as a mouse position has.
LayerPixel lastMouse(PF_EventExtra const& extra) {
    auto const* const refcon = extra.u.do_click.continue_refcon;
    return {static_cast<A_short>(refcon[0]), static_cast<A_short>(refcon[1])};
}

PF_Err click(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params, PF_LayerDef* output,
             PF_EventExtra* extra) {
    if (!current_tool_is_pointer(in_data, out_data)) return PF_Err_NONE;
    g_isDragging = g_isScale = false;
    const LayerPixel mouse = mousePosition(*in_data, *extra);
    int const mode =
        entryOfHost(QVS::ParameterDef(in_data, params).GetMenuValue(kParamOverlayMode));
    PinIndices const* const picked = pickedPins(mouse, mode, params);
    if (!picked) return PF_Err_NONE;

    PF_DoClickEventInfo& info = extra->u.do_click;
    g_isScale = (info.modifiers & PF_Mod_SHIFT_KEY) != 0;
    rememberClick(mouse, params, *picked);
    extra->evt_out_flags = PF_EO_HANDLED_EVENT;
    rememberMouse(mouse, *extra);
    info.continue_refcon[2] = picked == &kToPins;
    info.send_drag = true;
    return DrawEvent(in_data, out_data, params, output, extra);
}

PF_Err drag(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params, PF_LayerDef* output,
            PF_EventExtra* extra) {
    PF_DoClickEventInfo& info = extra->u.do_click;
    g_isDragging = !info.last_time;
    if (info.last_time) g_isScale = false;
    const LayerPixel last = lastMouse(*extra);
    PinIndices const& pins = info.continue_refcon[2] ? kToPins : kFromPins;
    const LayerPixel mouse = mousePosition(*in_data, *extra);
    if (g_isScale)
        scalePins(mouse, params, pins);
    else
        movePins(last, mouse, params, pins);
    for (int const index : pins) params[index]->uu.change_flags = PF_ChangeFlag_CHANGED_VALUE;

    rememberMouse(mouse, *extra);
    info.send_drag = !info.last_time;
    if (info.last_time) DrawEvent(in_data, out_data, params, output, extra);
    extra->evt_out_flags = PF_EO_HANDLED_EVENT;
    return PF_Err_NONE;
}

}  // namespace

PF_Err HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                   PF_LayerDef* output, PF_EventExtra* extra) {
    if (!extra || !params) return PF_Err_NONE;
    if (extra->e_type == PF_Event_DRAW) return DrawEvent(in_data, out_data, params, output, extra);
    if (extra->e_type != PF_Event_DO_CLICK && extra->e_type != PF_Event_DRAG) return PF_Err_NONE;
    if ((*extra->contextH)->w_type > PF_Window_LAYER) return PF_Err_NONE;
    return extra->e_type == PF_Event_DO_CLICK ? click(in_data, out_data, params, output, extra)
                                              : drag(in_data, out_data, params, output, extra);
}
