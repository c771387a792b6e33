// The positions of the effect's controls in the host's parameter list.
//
// A position is not a control's identity in stored projects: that is its disk id, which
// ParamsSetup registers. Positions may be reordered between releases, disk ids may not.
// Group starts and group ends take a position each. Corners count upper left, upper right,
// lower left, lower right.
#pragma once

enum ParamIndex : int {
    kParamInputLayer = 0,  ///< the host's own; never registered
    kParamMochaImport,
    kParamViewMode,
    kParamOverlayMode,
    kParamCropToPins,

    kParamToPinsGroup,
    kParamToUpperLeft,
    kParamToUpperRight,
    kParamToLowerLeft,
    kParamToLowerRight,
    kParamToOffsetsGroup,
    kParamToUpperLeftOffsetX,
    kParamToUpperLeftOffsetY,
    kParamToUpperRightOffsetX,
    kParamToUpperRightOffsetY,
    kParamToLowerLeftOffsetX,
    kParamToLowerLeftOffsetY,
    kParamToLowerRightOffsetX,
    kParamToLowerRightOffsetY,
    kParamToOffsetsGroupEnd,
    kParamToWireframeColor,
    kParamToPinsGroupEnd,

    kParamFromPinsGroup,
    kParamFromUpperLeft,
    kParamFromUpperRight,
    kParamFromLowerLeft,
    kParamFromLowerRight,
    kParamFromOffsetsGroup,
    kParamFromUpperLeftOffsetX,
    kParamFromUpperLeftOffsetY,
    kParamFromUpperRightOffsetX,
    kParamFromUpperRightOffsetY,
    kParamFromLowerLeftOffsetX,
    kParamFromLowerLeftOffsetY,
    kParamFromLowerRightOffsetX,
    kParamFromLowerRightOffsetY,
    kParamFromOffsetsGroupEnd,
    kParamFromWireframeColor,
    kParamFromPinsGroupEnd,

    kParamRepositionGroup,
    kParamTranslateX,
    kParamTranslateY,
    kParamScaleX,
    kParamScaleY,
    kParamRotate,
    kParamRepositionGroupEnd,

    kParamTransformSettingsGroup,
    kParamUseCompCamera,
    kParamQuality,
    kParamSuperSampleSoftness,
    kParamSuperSampleEdge,
    kParamGrowBounds,
    kParamWireframe,
    kParamTransformSettingsGroupEnd,

    kParamMotionBlurGroup,
    kParamMotionBlur,
    kParamShutterAngle,
    kParamShutterPhase,
    kParamSamples,
    kParamMotionBlurGroupEnd,

    kParamSourceOpacity,
    kParamCornerPinOpacity,
    kParamTransferMode,

    kParamCount
};
static_assert(kParamCount == 63);
