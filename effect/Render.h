// The render command by pixel format.
//
// The output's format decides; every raster of a render has it.
#pragma once

#include "Transform/Common/PixelTraits.h"
#include "platform/effect_api/effect_types.h"

/// The user stopped the render (PluginHost_API::doAbort); what the output holds counts for nothing.
constexpr PF_Err kRenderStopped = -1;

/// Renders the host's input into its output. 1, with the output untouched, for a format other
/// than a frame's; else the pipeline's code.
PF_Err Render(PluginHost_API* host);

/// The pipeline of one format; see CornerPinRender.h.
#define ZELK_DECLARE(NAME) PF_Err Render_##NAME(PluginHost_API* host);
ZELK_FRAME_FORMATS(ZELK_DECLARE)
#undef ZELK_DECLARE
