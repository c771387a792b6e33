// The two controls that depend on what the host can do: the Motion Blur popup, which offers the
// composition's shutter only in After Effects, and the Use Comp Camera checkbox.
#pragma once

#include "platform/effect_api/effect_types.h"

class PluginHost_API;

/// Appends the control. 1 without an After Effects side of the host, else the host's code.
PF_Err AddMBlurPopup(PluginHost_API* host);
PF_Err AddUseHostCameraParam(PluginHost_API* host);

/// A MotionBlurEntry; Off without an After Effects side.
int GetMBlurValue(PluginHost_API* host);

/// Always false, whatever a stored project holds: the control is hidden and disabled, and no
/// render uses the composition's camera.
bool GetUseHostCameraParamValue(PluginHost_API* host);
