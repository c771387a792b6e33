// Registration and reading of the controls that depend on the host.
#include "params/HostControls.h"

#include "Transform/Common/PopupEntries.h"
#include "host/PluginHost_AE_Impl.h"
#include "params/DiskId.h"
#include "params/ParamIndex.h"
#include "params/ParameterDef.h"

PF_Err AddMBlurPopup(PluginHost_API* host) {
    PluginHost_AE_Impl* ae = host->getAEHost();
    if (!ae) return 1;
    QVS::ParameterDef parameters(ae->in_data, nullptr);
    parameters.paramFlags = PF_ParamFlag_CANNOT_TIME_VARY | PF_ParamFlag_SUPERVISE;
    bool const hasShutter = ae->isApplication(kAppAfterEffects);
    return parameters.AddPopup(
        "Motion Blur", hostEntry(hasShutter ? kMotionBlurComp : kMotionBlurOff),
        hasShutter ? "Off|On|Comp Settings" : "Off|On", diskIdOf(kParamMotionBlur));
}

PF_Err AddUseHostCameraParam(PluginHost_API* host) {
    PluginHost_AE_Impl* ae = host->getAEHost();
    if (!ae) return 1;
    QVS::ParameterDef parameters(ae->in_data, nullptr);
    parameters.paramFlags = PF_ParamFlag_CANNOT_TIME_VARY;
    parameters.uiFlags = PF_PUI_NO_ECW_UI | PF_PUI_DISABLED;
    return parameters.AddCheckbox("Use Comp Camera", "", false, diskIdOf(kParamUseCompCamera));
}

int GetMBlurValue(PluginHost_API* host) {
    PluginHost_AE_Impl* ae = host->getAEHost();
    if (!ae || !ae->params) return 0;
    return entryOfHost(ae->params[kParamMotionBlur]->u.pd.value);
}

bool GetUseHostCameraParamValue(PluginHost_API*) { return false; }
