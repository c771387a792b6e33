// A render on the After Effects binding, with what the binding could not pass upwards by itself.
#pragma once

#include "platform/effect_api/effect_types.h"

class PluginHost_AE_Impl;

/// Render, but for a host that refused to tell an image's pixel format: the output is then cleared
/// and the result the host's code, as a frame of misread images is worth nothing.
PF_Err renderOnHost(PluginHost_AE_Impl& host);
