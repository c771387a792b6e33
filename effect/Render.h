// The render command by pixel format.
//
// The output's format decides; every raster of a render has it.
#pragma once

#include "platform/effect_api/effect_types.h"

class PluginHost_API;

/// Renders the host's input into its output. 1, with the output untouched, for a format other
/// than the five below; else the pipeline's code.
PF_Err Render(PluginHost_API* host);

/// The pipeline of one format; see CornerPinRender.h.
PF_Err Render_ARGB8(PluginHost_API* host);
PF_Err Render_BGRA8(PluginHost_API* host);
PF_Err Render_ARGB15(PluginHost_API* host);
PF_Err Render_ARGB32(PluginHost_API* host);
PF_Err Render_BGRA32(PluginHost_API* host);
