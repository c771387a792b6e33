// What the effect does when the user has changed a control: an import of tracking data, and
// controls that are greyed out by other controls' values.
#pragma once

#include "platform/effect_api/effect_commands.h"

/// With `changed`, after the change that `extra` tells: the Mocha Import popup starts an import and
/// goes back to "...". Without, greys controls out or enables them, and asks the host to show it.
/// A missing suite of the import leaves as the exception of AEGP_SuiteHandler; what else fails
/// leaves controls and keys as they are.
void UpdateECW(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef** params, bool changed,
               PF_UserChangedParamExtra* extra, PF_LayerDef* output);
