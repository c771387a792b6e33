// The list of controls, one row each in ParamIndex order.
//
// Numbers stand here as users see them; 16.16 forms are made when a record is filled. Points are
// percent of the layer.
#include "params/ParamsSetup.h"

#include <cstdint>
#include <cstring>
#include <iterator>

#include "Transform/Common/PopupEntries.h"
#include "host/PluginHost_AE_Impl.h"
#include "params/ControlRecords.h"
#include "params/DiskId.h"
#include "params/HostControls.h"
#include "params/ParamIndex.h"
#include "params/TransferMenu.h"

namespace {

/// How a row differs from host to host.
enum class HostRule { kNone, kHiddenInPremiere, kAfterEffectsOnly };

using QVS::SliderNumbers;

struct PopupEntries {
    std::int32_t defaultEntry;  ///< from 0
    char const* names;          ///< with '|' between
};

struct PercentPoint {
    float x, y;
};

struct Control {
    ParamIndex index;
    PF_ParamType type;
    char const* name;
    A_long flags, uiFlags;
    HostRule rule = HostRule::kNone;
    SliderNumbers slider{};
    PopupEntries popup{};
    PercentPoint point{};
    PF_Pixel color{};
    PF_Err (*addByItself)(PluginHost_API*) = nullptr;  ///< a control that registers itself
};

constexpr A_long kCollapsed = PF_ParamFlag_COLLAPSE_TWIRLY;
constexpr A_long kFixed = PF_ParamFlag_CANNOT_TIME_VARY;
constexpr A_long kSupervised = PF_ParamFlag_SUPERVISE | PF_ParamFlag_CANNOT_TIME_VARY;
constexpr A_long kGrey = PF_PUI_DISABLED;
constexpr A_long kHidden = PF_PUI_NO_ECW_UI | PF_PUI_DISABLED;

constexpr SliderNumbers kOffset = {-100, 100, -100, 100, 0, 1};
constexpr SliderNumbers kTranslate = {-1000, 1000, -100, 100, 0, 1};
constexpr SliderNumbers kScale = {-20, 20, -5, 5, 1, 2};
constexpr SliderNumbers kSoftness = {0, 5, 0, 2, 1, 2};
constexpr SliderNumbers kEdge = {0, 12, 0, 1, 0, 2};
constexpr SliderNumbers kGrowBoundsPx = {0, 5000, 0, 100, 0, 0};
constexpr SliderNumbers kAngleDeg = {0, 720, 0, 360, 360, 1};
constexpr SliderNumbers kPhaseDeg = {-360, 360, -360, 360, 0, 1};
constexpr SliderNumbers kSampleCount = {1, 64, 1, 32, 8, 1};
constexpr SliderNumbers kOpacity = {0, 100, 0, 100, 100, 1};

constexpr Control groupStart(ParamIndex index, char const* name, A_long flags, A_long uiFlags = 0) {
    return {index, PF_Param_GROUP_START, name, flags, uiFlags};
}

constexpr Control groupEnd(ParamIndex index, A_long uiFlags = 0) {
    return {index, PF_Param_GROUP_END, "", 0, uiFlags};
}

constexpr Control slider(ParamIndex index, char const* name, SliderNumbers numbers,
                         A_long flags = kCollapsed, A_long uiFlags = 0,
                         PF_ParamType type = PF_Param_FIX_SLIDER, HostRule rule = HostRule::kNone) {
    return {.index = index,
            .type = type,
            .name = name,
            .flags = flags,
            .uiFlags = uiFlags,
            .rule = rule,
            .slider = numbers};
}

constexpr Control popup(ParamIndex index, char const* name, A_long flags, PopupEntries entries,
                        HostRule rule = HostRule::kNone) {
    return {.index = index,
            .type = PF_Param_POPUP,
            .name = name,
            .flags = flags,
            .uiFlags = 0,
            .rule = rule,
            .popup = entries};
}

constexpr Control point(ParamIndex index, char const* name, A_long uiFlags, PercentPoint percent) {
    return {.index = index,
            .type = PF_Param_POINT,
            .name = name,
            .flags = 0,
            .uiFlags = uiFlags,
            .point = percent};
}

constexpr Control color(ParamIndex index, char const* name, A_long uiFlags, PF_Pixel value) {
    return {.index = index,
            .type = PF_Param_COLOR,
            .name = name,
            .flags = 0,
            .uiFlags = uiFlags,
            .color = value};
}

constexpr Control byItself(ParamIndex index, PF_Err (*add)(PluginHost_API*)) {
    return {.index = index,
            .type = PF_Param_NO_DATA,
            .name = "",
            .flags = 0,
            .uiFlags = 0,
            .addByItself = add};
}

// clang-format off
constexpr Control kControls[] = {
    popup(kParamMochaImport, "Mocha Import", kSupervised,
          {kImportNothing, "...|Load To Pins...|Load From Pins..."}, HostRule::kHiddenInPremiere),
    popup(kParamViewMode, "View Mode", kSupervised,
          {kViewBothPins, "Original|From Pins Zelk|To Pins Zelk|Both Pins Zelk"}),
    popup(kParamOverlayMode, "Overlay Mode", kSupervised,
          {kShowToPins, "Show From Pins|Show To Pins|Show Both Pins"}),
    {kParamCropToPins, PF_Param_CHECKBOX, "Crop To Pins", kFixed, 0},

    groupStart(kParamToPinsGroup, "To Pins", kCollapsed),
    point(kParamToUpperLeft, "Upper Left", 0, {0, 0}),
    point(kParamToUpperRight, "Upper Right", 0, {100, 0}),
    point(kParamToLowerLeft, "Lower  Left", 0, {0, 100}),
    point(kParamToLowerRight, "Lower  Right", 0, {100, 100}),
    groupStart(kParamToOffsetsGroup, "Offsets", kCollapsed),
    slider(kParamToUpperLeftOffsetX, "UpperLeft X-Offset", kOffset),
    slider(kParamToUpperLeftOffsetY, "UpperLeft Y-Offset", kOffset),
    slider(kParamToUpperRightOffsetX, "UpperRight X-Offset", kOffset),
    slider(kParamToUpperRightOffsetY, "UpperRight Y-Offset", kOffset),
    slider(kParamToLowerLeftOffsetX, "LowerLeft X-Offset", kOffset),
    slider(kParamToLowerLeftOffsetY, "LowerLeft Y-Offset", kOffset),
    slider(kParamToLowerRightOffsetX, "LowerRight X-Offset", kOffset),
    slider(kParamToLowerRightOffsetY, "LowerRight Y-Offset", kOffset),
    groupEnd(kParamToOffsetsGroupEnd),
    color(kParamToWireframeColor, "Wireframe Color", 0, {255, 255, 255, 50}),
    groupEnd(kParamToPinsGroupEnd),

    groupStart(kParamFromPinsGroup, "From Pins", kCollapsed, kGrey),
    point(kParamFromUpperLeft, "Upper Left From", kGrey, {0, 0}),
    point(kParamFromUpperRight, "Upper Right From", kGrey, {100, 0}),
    point(kParamFromLowerLeft, "Lower  Left From", kGrey, {0, 100}),
    point(kParamFromLowerRight, "Lower  Right From", kGrey, {100, 100}),
    groupStart(kParamFromOffsetsGroup, "Offsets", kCollapsed),
    slider(kParamFromUpperLeftOffsetX, "UpperLeft X-Offset", kOffset, kCollapsed, kGrey),
    slider(kParamFromUpperLeftOffsetY, "UpperLeft Y-Offset", kOffset, kCollapsed, kGrey),
    slider(kParamFromUpperRightOffsetX, "UpperRight X-Offset", kOffset, kCollapsed, kGrey),
    slider(kParamFromUpperRightOffsetY, "UpperRight Y-Offset", kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerLeftOffsetX, "LowerLeft X-Offset", kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerLeftOffsetY, "LowerLeft Y-Offset", kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerRightOffsetX, "LowerRight X-Offset", kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerRightOffsetY, "LowerRight Y-Offset", kOffset, kCollapsed, kGrey),
    groupEnd(kParamFromOffsetsGroupEnd),
    color(kParamFromWireframeColor, "Wireframe Color", kGrey, {255, 150, 150, 255}),
    groupEnd(kParamFromPinsGroupEnd, kGrey),

    groupStart(kParamRepositionGroup, "Reposition", 0),
    slider(kParamTranslateX, "Translate X", kTranslate),
    slider(kParamTranslateY, "Translate Y", kTranslate),
    slider(kParamScaleX, "Scale X", kScale),
    slider(kParamScaleY, "Scale Y", kScale),
    {kParamRotate, PF_Param_ANGLE, "Rotate", kCollapsed, 0},
    groupEnd(kParamRepositionGroupEnd),

    groupStart(kParamTransformSettingsGroup, "Transform Settings", 0),
    byItself(kParamUseCompCamera, AddUseHostCameraParam),
    popup(kParamQuality, "Quality", kSupervised, {kQualityHigh, "Low|Medium|High|Super Sample"}),
    slider(kParamSuperSampleSoftness, "Super Sample Softnesss", kSoftness, kCollapsed, kGrey,
           PF_Param_FLOAT_SLIDER),
    slider(kParamSuperSampleEdge, "Super Sample Edge", kEdge, kCollapsed, kGrey,
           PF_Param_FLOAT_SLIDER),
    slider(kParamGrowBounds, "Grow Bounds", kGrowBoundsPx, kCollapsed, 0, PF_Param_SLIDER,
           HostRule::kAfterEffectsOnly),
    popup(kParamWireframe, "Wireframe", kSupervised, {kWireframeOn, "Always Off|Always On|On"}),
    groupEnd(kParamTransformSettingsGroupEnd),

    groupStart(kParamMotionBlurGroup, "Motion Blur", kCollapsed),
    byItself(kParamMotionBlur, AddMBlurPopup),
    slider(kParamShutterAngle, "Shutter Angle", kAngleDeg, kCollapsed | kFixed, kGrey),
    slider(kParamShutterPhase, "Shutter Phase", kPhaseDeg, kCollapsed | kFixed, kGrey),
    slider(kParamSamples, "Samples", kSampleCount),
    groupEnd(kParamMotionBlurGroupEnd),

    slider(kParamSourceOpacity, "Source Opacity", kOpacity),
    slider(kParamCornerPinOpacity, "Corner Pin Opacity", kOpacity),
    popup(kParamTransferMode, "Transfer Mode", 0,
          {kTransferNone, kTransferMenuText}),
};
// clang-format on

constexpr bool standsInIndexOrder() {
    int expected = kParamInputLayer + 1;
    for (Control const& control : kControls)
        if (control.index != expected++) return false;
    return expected == kParamCount;
}
static_assert(standsInIndexOrder());

/// Final Cut Pro has no float sliders.
PF_ParamType typeOn(A_u_long applId, PF_ParamType type) {
    return type == PF_Param_FLOAT_SLIDER && applId == kAppFinalCutPro ? PF_Param_FIX_SLIDER : type;
}

A_long uiFlagsOn(A_u_long applId, Control const& control) {
    bool const isHidden =
        (control.rule == HostRule::kHiddenInPremiere && applId == kAppPremierePro) ||
        (control.rule == HostRule::kAfterEffectsOnly && applId != kAppAfterEffects);
    return isHidden ? kHidden : control.uiFlags;
}

/// Fills the kind's part of a cleared record; angles and group marks are all zeros.
void fillValue(PF_ParamDef& def, Control const& control) {
    switch (def.param_type) {
        case PF_Param_SLIDER:
            QVS::fillRanges(def.u.sd, control.slider,
                            [](float v) { return static_cast<A_long>(v); });
            break;
        case PF_Param_FIX_SLIDER:
            QVS::fillFixedSlider(def.u.fd, control.slider, QVS::doubleToFixed);
            break;
        case PF_Param_FLOAT_SLIDER:
            QVS::fillFloatSlider(def.u.fs_d, control.slider);
            break;
        case PF_Param_CHECKBOX:
            def.u.bd.u.nameptr = "";
            break;
        case PF_Param_COLOR:
            QVS::fillColor(def.u.cd, control.color);
            break;
        case PF_Param_POINT:
            QVS::fillPoint(def.u.td, control.point.x, control.point.y);
            break;
        case PF_Param_POPUP:
            QVS::fillPopup(def.u.pd, QVS::popupEntryCount(control.popup.names),
                           hostEntry(control.popup.defaultEntry), control.popup.names);
            break;
        default:
            break;
    }
}

PF_Err addControl(PF_InData* in_data, Control const& control) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    def.uu.id = diskIdOf(control.index);
    def.ui_flags = uiFlagsOn(in_data->appl_id, control);
    def.param_type = typeOn(in_data->appl_id, control.type);
    in_data->utils->ansi.strcpy(def.name, control.name);
    def.flags = control.flags;
    fillValue(def, control);
    return in_data->inter.add_param(in_data->effect_ref, -1, &def);
}

}  // namespace

PF_Err ParamsSetup(PluginHost_API* host) {
    PluginHost_AE_Impl* ae = host->getAEHost();
    if (!ae) return 1;
    for (Control const& control : kControls) {
        const PF_Err err =
            control.addByItself ? control.addByItself(host) : addControl(ae->in_data, control);
        if (err) return err;
    }
    ae->out_data->num_params = kParamCount;
    return 0;
}
