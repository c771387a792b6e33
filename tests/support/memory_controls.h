// The effect's controls on a memory host, set as a new instance of the effect has them.
#pragma once

#include "host/PluginHost_Memory_Impl.h"
#include "params/ParamIndex.h"

namespace zelk {

/// Sets every control that a render reads. Pins are at the corners of the frame.
inline void setDefaultControls(PluginHost_Memory_Impl& host) {
    const struct {
        int index;
        double x, y, z;
    } defaults[] = {
        {kParamMochaImport, 0, 0, 0},
        {kParamViewMode, 3, 0, 0},
        {kParamOverlayMode, 1, 0, 0},
        {kParamCropToPins, 0, 0, 0},
        {kParamToWireframeColor, 1, 1, 50 / 255.0},
        {kParamFromWireframeColor, 150 / 255.0, 150 / 255.0, 1},
        {kParamTranslateX, 0, 0, 0},
        {kParamTranslateY, 0, 0, 0},
        {kParamScaleX, 1, 0, 0},
        {kParamScaleY, 1, 0, 0},
        {kParamRotate, 0, 0, 0},
        {kParamQuality, 2, 0, 0},
        {kParamSuperSampleSoftness, 1, 0, 0},
        {kParamSuperSampleEdge, 0, 0, 0},
        {kParamGrowBounds, 0, 0, 0},
        {kParamWireframe, 2, 0, 0},
        {kParamMotionBlur, 0, 0, 0},
        {kParamShutterAngle, 360, 0, 0},
        {kParamShutterPhase, 0, 0, 0},
        {kParamSamples, 8, 0, 0},
        {kParamSourceOpacity, 100, 0, 0},
        {kParamCornerPinOpacity, 100, 0, 0},
        {kParamTransferMode, 0, 0, 0},
    };
    for (auto const& d : defaults) host.setColor(d.index, d.x, d.y, d.z);
    for (const int firstPin : {kParamToUpperLeft, kParamFromUpperLeft})
        for (int i = 0; i < 4; ++i) host.setPoint(firstPin + i, i % 2, i / 2);
    for (const int firstOffset : {kParamToUpperLeftOffsetX, kParamFromUpperLeftOffsetX})
        for (int i = 0; i < 8; ++i) host.setFloat(firstOffset + i, 0);
}

}  // namespace zelk
