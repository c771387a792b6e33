// The tables of names, units and help.
#include "params/ParameterNames.h"

#include <cstddef>

namespace {

/// Words for controls that stand side by side.
struct Words {
    int first, count;
    std::string_view text;
};

template <std::size_t N>
std::string_view find(Words const (&words)[N], int index) {
    for (Words const& row : words)
        if (index >= row.first && index < row.first + row.count) return row.text;
    return {};
}

}  // namespace

std::array<std::string_view, kParamCount> const kParameterNames = {
    "input-layer",
    "mocha-import",
    "view-mode",
    "overlay-mode",
    "crop-to-pins",
    "to-pins-group",
    "to-upper-left",
    "to-upper-right",
    "to-lower-left",
    "to-lower-right",
    "to-offsets-group",
    "to-upper-left-offset-x",
    "to-upper-left-offset-y",
    "to-upper-right-offset-x",
    "to-upper-right-offset-y",
    "to-lower-left-offset-x",
    "to-lower-left-offset-y",
    "to-lower-right-offset-x",
    "to-lower-right-offset-y",
    "to-offsets-group-end",
    "to-wireframe-color",
    "to-pins-group-end",
    "from-pins-group",
    "from-upper-left",
    "from-upper-right",
    "from-lower-left",
    "from-lower-right",
    "from-offsets-group",
    "from-upper-left-offset-x",
    "from-upper-left-offset-y",
    "from-upper-right-offset-x",
    "from-upper-right-offset-y",
    "from-lower-left-offset-x",
    "from-lower-left-offset-y",
    "from-lower-right-offset-x",
    "from-lower-right-offset-y",
    "from-offsets-group-end",
    "from-wireframe-color",
    "from-pins-group-end",
    "reposition-group",
    "translate-x",
    "translate-y",
    "scale-x",
    "scale-y",
    "rotate",
    "reposition-group-end",
    "transform-settings-group",
    "use-comp-camera",
    "quality",
    "super-sample-softness",
    "super-sample-edge",
    "grow-bounds",
    "wireframe",
    "transform-settings-group-end",
    "motion-blur-group",
    "motion-blur",
    "shutter-angle",
    "shutter-phase",
    "samples",
    "motion-blur-group-end",
    "source-opacity",
    "corner-pin-opacity",
    "transfer-mode",
};

std::string_view unitOfParameter(int index) {
    constexpr Words kUnits[] = {
        {kParamToUpperLeft, 4, "px of frame"},
        {kParamToUpperLeftOffsetX, 8, "% of frame"},
        {kParamFromUpperLeft, 4, "px of layer"},
        {kParamFromUpperLeftOffsetX, 8, "% of layer"},
        {kParamTranslateX, 2, "% of quad"},
        {kParamScaleX, 2, "factor"},
        {kParamRotate, 1, "degrees"},
        {kParamSuperSampleSoftness, 1, "factor"},
        {kParamSuperSampleEdge, 1, "1/32 of layer side"},
        {kParamGrowBounds, 1, "px"},
        {kParamShutterAngle, 2, "degrees"},
        {kParamSamples, 1, "samples"},
        {kParamSourceOpacity, 2, "%"},
    };
    return find(kUnits, index);
}

std::string_view helpOfParameter(int index) {
    // clang-format off
    constexpr Words kHelp[] = {
        {kParamMochaImport, 1, "Loads a planar tracker's text file into the To or the From Pins."},
        {kParamViewMode, 1, "Shows the layer itself, one of the two quads alone, or the whole pin."},
        {kParamOverlayMode, 1, "Which quads are drawn on screen and can be dragged."},
        {kParamCropToPins, 1, "Cuts the picture at the From Pins."},
        {kParamToPinsGroup, 1, "Where the picture goes."},
        {kParamToUpperLeft, 4, "Where the corner of the From quad goes in the frame."},
        {kParamToOffsetsGroup, 1, "Added to the To Pins, so that tracked pins can be corrected."},
        {kParamToUpperLeftOffsetX, 8, "Added to the pin, in hundredths of the frame's size."},
        {kParamToWireframeColor, 1, "Colour of the To quad on screen."},
        {kParamFromPinsGroup, 1, "Which part of the layer is pinned."},
        {kParamFromUpperLeft, 4, "The corner of the quad in the layer that goes to the To Pin."},
        {kParamFromOffsetsGroup, 1, "Added to the From Pins, so that tracked pins can be corrected."},
        {kParamFromUpperLeftOffsetX, 8, "Added to the pin, in hundredths of the layer's size."},
        {kParamFromWireframeColor, 1, "Colour of the From quad on screen."},
        {kParamRepositionGroup, 1, "Moves the picture within the pinned plane."},
        {kParamTranslateX, 2, "Moves the picture within the plane, in hundredths of the quad."},
        {kParamScaleX, 2, "Scales the picture within the plane; 1 leaves it."},
        {kParamRotate, 1, "Turns the picture within the plane, in degrees."},
        {kParamTransformSettingsGroup, 1, "How pixels are resampled."},
        {kParamUseCompCamera, 1, "Sees the plane through the composition's camera."},
        {kParamQuality, 1, "How pixels are resampled; Super Sample softens what shrinks."},
        {kParamSuperSampleSoftness, 1, "How much Super Sample softens a picture that shrinks."},
        {kParamSuperSampleEdge, 1, "How far Super Sample fades the layer's border."},
        {kParamGrowBounds, 1, "How far the picture may reach beyond the frame, in pixels."},
        {kParamWireframe, 1, "When the quads are drawn on screen: On hides them during a drag."},
        {kParamMotionBlurGroup, 1, "Blurs the motion of animated pins over the shutter."},
        {kParamMotionBlur, 1, "Whether the motion of pins and Reposition is blurred."},
        {kParamShutterAngle, 1, "How long the shutter is open; 360 degrees are a whole frame."},
        {kParamShutterPhase, 1, "When the shutter opens, from the frame's time; 360 degrees are a frame."},
        {kParamSamples, 1, "How many moments the shutter's time is made of."},
        {kParamSourceOpacity, 1, "Opacity of the layer that lies under the result in a transfer mode."},
        {kParamCornerPinOpacity, 1, "Opacity of the pinned picture."},
        {kParamTransferMode, 1, "How the pinned picture is laid over what lies under it."},
    };
    // clang-format on
    return find(kHelp, index);
}
