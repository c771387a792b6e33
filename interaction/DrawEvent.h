// The overlay: the From and To quads as wire outlines with a label at each corner, in pixels of the
// panel, drawn in the port that the host has made current.
//
// It shows the controls' values of the current time: offsets, Reposition and motion play no part.
#pragma once

#include "platform/effect_api/effect_events.h"
#include "platform/services/DrawingPort.h"

/// Where a label's baseline starts, in panel pixels from its corner.
constexpr int kLabelOffsetPx = 5;
constexpr int kBaselineBelowTopPx = 10;  ///< below the label's top, which the offset leads to

/// Draws what Overlay Mode and Wireframe ask for. Answers 0; `evt_out_flags` becomes
/// PF_EO_HANDLED_EVENT, or 0 where Wireframe hides the outlines. Codes of the host's coordinate
/// callbacks are not looked at: a point that is refused is drawn as the host left it.
PF_Err DrawEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                 PF_LayerDef* output, PF_EventExtra* extra);

/// One line of text, up to 255 characters, with its top at about `y`, in `color` or, where that is
/// null, in the port's own. The port's colours stay as they were. The first argument is not read.
void UI_DrawString(int, short x, short y, char const* text, RGBColor* color);
