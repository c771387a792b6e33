// Registration of the effect's controls with the host.
#pragma once

#include "platform/effect_api/effect_types.h"

class PluginHost_API;

/// Appends the 62 controls after the input layer in ParamIndex order and announces kParamCount
/// parameters. 1 without an After Effects side of the host; else 0, or the first code with which
/// the host refused a control, the rest of the list being left out.
PF_Err ParamsSetup(PluginHost_API* host);
