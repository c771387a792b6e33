// The overlay's outlines and labels.
//
//     UL ------- UR     pen: UL, LL, LR, UR, UL
//      |          |     labels at 5, 5 from each corner: UL, LL, UR, LR
//     LL ------- LR
#include "interaction/DrawEvent.h"

#include <algorithm>
#include <cstring>

#include "interaction/HandleEvent.h"
#include "interaction/PanelPoints.h"
#include "params/ParameterDef.h"

namespace {

using Labels = std::array<char const*, 4>;
constexpr Labels kFromLabels = {"From-Pin-UL", "From-Pin-LL", "From-Pin-UR", "From-Pin-LR"};
constexpr Labels kToLabels = {"To-Pin-UL", "To-Pin-LL", "To-Pin-UR", "To-Pin-LR"};

/// A pixel of the panel.
struct PanelPixel {
    short x, y;
};
using PanelQuad = std::array<PanelPixel, 4>;

/// A control's 8-bit channel as the upper half of a port's 16 bits.
unsigned short portChannel(A_u_long word, int firstBit) {
    return static_cast<unsigned short>((word >> firstBit & 0xFF) << 8);
}

RGBColor portColor(A_u_long pfColor) {
    return {portChannel(pfColor, 8), portChannel(pfColor, 16), portChannel(pfColor, 24)};
}

void setPortColors(RGBColor const& color) {
    RGBForeColor(&color);
    RGBBackColor(&color);
}

/// From a pin's whole layer pixel to the panel's.
PanelPixel panelPixel(PF_InData const& in, PF_PointDef const& pin, PF_EventExtra& extra) {
    PF_FixedPoint point = {fixedOfWhole(wholePart(pin.x_value)),
                           fixedOfWhole(wholePart(pin.y_value))};
    PF_EventCallbacks const& host = extra.cbs;
    host.layer_to_comp(host.refcon, extra.contextH, in.current_time, in.time_scale, &point);
    host.source_to_frame(host.refcon, extra.contextH, &point);
    return {static_cast<short>(wholePart(point.x)), static_cast<short>(wholePart(point.y))};
}

PanelQuad panelQuad(PF_InData const& in, PF_ParamDef** params, PinIndices const& pins,
                    PF_EventExtra& extra) {
    PanelQuad quad;
    for (std::size_t i = 0; i < quad.size(); ++i)
        quad[i] = panelPixel(in, params[pins[i]]->u.td, extra);
    return quad;
}

void drawQuad(PanelQuad const& quad, Labels const& labels, RGBColor& color) {
    MoveTo(quad[0].x, quad[0].y);
    for (const std::size_t i : {1u, 3u, 2u, 0u}) LineTo(quad[i].x, quad[i].y);
    for (std::size_t i = 0; i < quad.size(); ++i)
        UI_DrawString(0, static_cast<short>(quad[i].x + kLabelOffsetPx),
                      static_cast<short>(quad[i].y + kLabelOffsetPx), labels[i], &color);
}

bool isHidden(int wireframe) {
    return wireframe == kWireframeAlwaysOff || (wireframe == kWireframeOn && g_isDragging);
}

}  // namespace

void UI_DrawString(int, short x, short y, char const* text, RGBColor* color) {
    MoveTo(x, static_cast<short>(y + kBaselineBelowTopPx));
    RGBColor fore, back;
    GetForeColor(&fore);
    GetBackColor(&back);
    if (color) RGBForeColor(color);
    std::array<unsigned char, 256> pascal;
    pascal[0] = static_cast<unsigned char>(std::min<std::size_t>(std::strlen(text), 255));
    std::memcpy(&pascal[1], text, pascal[0]);
    DrawString(pascal.data());
    RGBForeColor(&fore);
    RGBBackColor(&back);
}

PF_Err DrawEvent(PF_InData* in_data, PF_OutData*, PF_ParamDef** params, PF_LayerDef*,
                 PF_EventExtra* extra) {
    static RGBColor color, color2;  // of the from and the to quad
    const QVS::ParameterDef controls(in_data, params);
    color = portColor(controls.GetPFColor(kParamFromWireframeColor));
    color2 = portColor(controls.GetPFColor(kParamToWireframeColor));
    extra->evt_out_flags = PF_EO_NONE;
    setPortColors(color);
    if (isHidden(entryOfHost(controls.GetMenuValue(kParamWireframe)))) return PF_Err_NONE;

    const PanelQuad from = panelQuad(*in_data, params, kFromPins, *extra);
    int const mode = entryOfHost(controls.GetMenuValue(kParamOverlayMode));
    if (showsFromPins(mode)) drawQuad(from, kFromLabels, color);
    setPortColors(color2);
    const PanelQuad to = panelQuad(*in_data, params, kToPins, *extra);
    if (showsToPins(mode)) drawQuad(to, kToLabels, color2);
    extra->evt_out_flags = PF_EO_HANDLED_EVENT;
    return PF_Err_NONE;
}
