// Disk ids: the controls' identities in stored projects, and what the host seam's reads are told.
//
// A control may move to another index, its disk id may not change. Corners count upper left, upper
// right, lower left, lower right by index, but upper left, lower left, upper right, lower right by
// disk id.
#pragma once

#include "params/ParamIndex.h"

namespace disk_id_detail {

struct DiskId {
    ParamIndex index;
    int id;
};

constexpr DiskId kDiskIds[kParamCount] = {
    {kParamInputLayer, 0},  ///< the host's own
    {kParamMochaImport, 168},
    {kParamViewMode, 124},
    {kParamOverlayMode, 165},
    {kParamCropToPins, 129},
    {kParamToPinsGroup, 1023},
    {kParamToUpperLeft, 1024},
    {kParamToUpperRight, 1026},
    {kParamToLowerLeft, 1025},
    {kParamToLowerRight, 1027},
    {kParamToOffsetsGroup, 150},
    {kParamToUpperLeftOffsetX, 151},
    {kParamToUpperLeftOffsetY, 152},
    {kParamToUpperRightOffsetX, 155},
    {kParamToUpperRightOffsetY, 156},
    {kParamToLowerLeftOffsetX, 153},
    {kParamToLowerLeftOffsetY, 154},
    {kParamToLowerRightOffsetX, 157},
    {kParamToLowerRightOffsetY, 158},
    {kParamToOffsetsGroupEnd, 159},
    {kParamToWireframeColor, 164},
    {kParamToPinsGroupEnd, 1028},
    {kParamFromPinsGroup, 102},
    {kParamFromUpperLeft, 103},
    {kParamFromUpperRight, 105},
    {kParamFromLowerLeft, 104},
    {kParamFromLowerRight, 106},
    {kParamFromOffsetsGroup, 140},
    {kParamFromUpperLeftOffsetX, 141},
    {kParamFromUpperLeftOffsetY, 142},
    {kParamFromUpperRightOffsetX, 145},
    {kParamFromUpperRightOffsetY, 146},
    {kParamFromLowerLeftOffsetX, 143},
    {kParamFromLowerLeftOffsetY, 144},
    {kParamFromLowerRightOffsetX, 147},
    {kParamFromLowerRightOffsetY, 148},
    {kParamFromOffsetsGroupEnd, 149},
    {kParamFromWireframeColor, 163},
    {kParamFromPinsGroupEnd, 107},
    {kParamRepositionGroup, 189},
    {kParamTranslateX, 132},
    {kParamTranslateY, 133},
    {kParamScaleX, 130},
    {kParamScaleY, 131},
    {kParamRotate, 134},
    {kParamRepositionGroupEnd, 190},
    {kParamTransformSettingsGroup, 1008},
    {kParamUseCompCamera, 160},
    {kParamQuality, 13},
    {kParamSuperSampleSoftness, 186},
    {kParamSuperSampleEdge, 187},
    {kParamGrowBounds, 28},
    {kParamWireframe, 125},
    {kParamTransformSettingsGroupEnd, 1022},
    {kParamMotionBlurGroup, 22},
    {kParamMotionBlur, 23},
    {kParamShutterAngle, 24},
    {kParamShutterPhase, 25},
    {kParamSamples, 26},
    {kParamMotionBlurGroupEnd, 27},
    {kParamSourceOpacity, 8},
    {kParamCornerPinOpacity, 68},
    {kParamTransferMode, 9},
};

constexpr bool standInIndexOrder() {
    int expected = 0;
    for (DiskId const& row : kDiskIds)
        if (row.index != expected++) return false;
    return true;
}
static_assert(standInIndexOrder());

}  // namespace disk_id_detail

/// `index` is a ParamIndex.
constexpr int diskIdOf(int index) { return disk_id_detail::kDiskIds[index].id; }
