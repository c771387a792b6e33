// The smart render protocol: SmartPreRender agrees on the rectangles, SmartRender draws.
//
// Space: pixels of the layer at the command's resolution, y down, rectangles half-open; the layer's
// upper left corner is (0, 0). With a Grow Bounds margin of (gx, gy):
//
//   (-gx, -gy) +---------------------+
//              |    (0, 0)           |     pre-render asks for the whole layer and promises
//              |      +-------+      |     the outer rectangle; render puts the layer into an image
//              |      | layer |      |     of that size, renders there, and copies the result out.
//              |      +-------+      |
//              +---------------------+
//
// Both commands check out every control themselves, at the command's time, and check them in on
// every path, the refused ones excepted. Nothing passes from one command to the other.
#pragma once

#include "platform/effect_api/effect_smart_render.h"

/// Asks for the whole layer and reports the output rectangle, which depends on the layer's size,
/// the resolution and Grow Bounds alone. The result is the code of the first control that can't be
/// checked out, the output record then untouched; else that of the layer's check-out, the output
/// record then filled all the same. `params` and `output` are not read.
PF_Err SmartPreRender(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                      PF_LayerDef* output, PF_PreRenderExtra* extra);

/// Renders into the output world that the host hands out. The result is 0, or the first code that
/// the host or the render gave; where no image could be had or copied, "Error" goes to standard
/// output. A layer without pixels clears the output, if there is one, and the result is 0. `params`
/// and `output` are not read.
PF_Err SmartRender(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params,
                   PF_LayerDef* output, PF_SmartRenderExtra* extra);
