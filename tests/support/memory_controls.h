// The effect's controls on a memory host, set as a new instance of the effect has them.
#pragma once

#include "host/PluginHost_Memory_Impl.h"
#include "params/ParamIndex.h"

namespace zelk {

/// Sets every control that a render reads. Pins are at the corners of the frame.
inline void setDefaultControls(PluginHost_Memory_Impl& host) {
    for (int index = 0; index < kParamCount; ++index) host.setFloat(index, 0);
    for (int const one : {kParamOverlayMode, kParamScaleX, kParamScaleY, kParamSuperSampleSoftness})
        host.setFloat(one, 1);
    for (int const percent : {kParamSourceOpacity, kParamCornerPinOpacity})
        host.setFloat(percent, 100);
    host.setPopup(kParamViewMode, 3);
    host.setPopup(kParamQuality, 2);
    host.setPopup(kParamWireframe, 2);
    host.setFloat(kParamShutterAngle, 360);
    host.setInt(kParamSamples, 8);
    host.setColor(kParamToWireframeColor, 1, 1, 50 / 255.0);
    host.setColor(kParamFromWireframeColor, 150 / 255.0, 150 / 255.0, 1);
    for (int const firstPin : {kParamToUpperLeft, kParamFromUpperLeft})
        for (int i = 0; i < 4; ++i) host.setPoint(firstPin + i, i % 2, i / 2);
}

}  // namespace zelk
