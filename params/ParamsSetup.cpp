// The list of controls, one row each in ParamIndex order.
//
// Numbers stand here as users see them; 16.16 forms are made when a record is filled. Points are
// percent of the layer. Disk ids are the controls' identities in stored projects: a row may move,
// its disk id may not change. Corners count upper left, upper right, lower left, lower right by
// position, but upper left, lower left, upper right, lower right by disk id.
#include "params/ParamsSetup.h"

#include <cstring>
#include <iterator>

#include "host/PluginHost_AE_Impl.h"
#include "params/FixedPoint.h"
#include "params/HostControls.h"
#include "params/ParamIndex.h"

namespace {

/// How a row differs from host to host.
enum class HostRule { kNone, kHiddenInPremiere, kAfterEffectsOnly };

/// Ranges in the order typed minimum and maximum, slider minimum and maximum.
struct SliderNumbers {
    float validMin, validMax, sliderMin, sliderMax, defaultValue;
    A_short precision;
};

struct PopupEntries {
    A_short count, defaultEntry;  ///< from 1
    char const* names;
};

struct PercentPoint {
    float x, y;
};

struct Control {
    ParamIndex index;
    PF_ParamType type;
    char const* name;
    A_long diskId, flags, uiFlags;
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

constexpr Control groupStart(ParamIndex index, char const* name, A_long id, A_long flags,
                             A_long uiFlags = 0) {
    return {index, PF_Param_GROUP_START, name, id, flags, uiFlags};
}

constexpr Control groupEnd(ParamIndex index, A_long id, A_long uiFlags = 0) {
    return {index, PF_Param_GROUP_END, "", id, 0, uiFlags};
}

constexpr Control slider(ParamIndex index, char const* name, A_long id, SliderNumbers numbers,
                         A_long flags = kCollapsed, A_long uiFlags = 0,
                         PF_ParamType type = PF_Param_FIX_SLIDER, HostRule rule = HostRule::kNone) {
    return {.index = index,
            .type = type,
            .name = name,
            .diskId = id,
            .flags = flags,
            .uiFlags = uiFlags,
            .rule = rule,
            .slider = numbers};
}

constexpr Control popup(ParamIndex index, char const* name, A_long id, A_long flags,
                        PopupEntries entries, HostRule rule = HostRule::kNone) {
    return {.index = index,
            .type = PF_Param_POPUP,
            .name = name,
            .diskId = id,
            .flags = flags,
            .uiFlags = 0,
            .rule = rule,
            .popup = entries};
}

constexpr Control point(ParamIndex index, char const* name, A_long id, A_long uiFlags,
                        PercentPoint percent) {
    return {.index = index,
            .type = PF_Param_POINT,
            .name = name,
            .diskId = id,
            .flags = 0,
            .uiFlags = uiFlags,
            .point = percent};
}

constexpr Control color(ParamIndex index, char const* name, A_long id, A_long uiFlags,
                        PF_Pixel value) {
    return {.index = index,
            .type = PF_Param_COLOR,
            .name = name,
            .diskId = id,
            .flags = 0,
            .uiFlags = uiFlags,
            .color = value};
}

constexpr Control byItself(ParamIndex index, PF_Err (*add)(PluginHost_API*)) {
    return {.index = index,
            .type = PF_Param_NO_DATA,
            .name = "",
            .diskId = 0,
            .flags = 0,
            .uiFlags = 0,
            .addByItself = add};
}

// clang-format off
constexpr Control kControls[] = {
    popup(kParamMochaImport, "Mocha Import", 168, kSupervised,
          {3, 1, "...|Load To Pins...|Load From Pins..."}, HostRule::kHiddenInPremiere),
    popup(kParamViewMode, "View Mode", 124, kSupervised,
          {4, 4, "Original|From Pins Zelk|To Pins Zelk|Both Pins Zelk"}),
    popup(kParamOverlayMode, "Overlay Mode", 165, kSupervised,
          {3, 2, "Show From Pins|Show To Pins|Show Both Pins"}),
    {kParamCropToPins, PF_Param_CHECKBOX, "Crop To Pins", 129, kFixed, 0},

    groupStart(kParamToPinsGroup, "To Pins", 1023, kCollapsed),
    point(kParamToUpperLeft, "Upper Left", 1024, 0, {0, 0}),
    point(kParamToUpperRight, "Upper Right", 1026, 0, {100, 0}),
    point(kParamToLowerLeft, "Lower  Left", 1025, 0, {0, 100}),
    point(kParamToLowerRight, "Lower  Right", 1027, 0, {100, 100}),
    groupStart(kParamToOffsetsGroup, "Offsets", 150, kCollapsed),
    slider(kParamToUpperLeftOffsetX, "UpperLeft X-Offset", 151, kOffset),
    slider(kParamToUpperLeftOffsetY, "UpperLeft Y-Offset", 152, kOffset),
    slider(kParamToUpperRightOffsetX, "UpperRight X-Offset", 155, kOffset),
    slider(kParamToUpperRightOffsetY, "UpperRight Y-Offset", 156, kOffset),
    slider(kParamToLowerLeftOffsetX, "LowerLeft X-Offset", 153, kOffset),
    slider(kParamToLowerLeftOffsetY, "LowerLeft Y-Offset", 154, kOffset),
    slider(kParamToLowerRightOffsetX, "LowerRight X-Offset", 157, kOffset),
    slider(kParamToLowerRightOffsetY, "LowerRight Y-Offset", 158, kOffset),
    groupEnd(kParamToOffsetsGroupEnd, 159),
    color(kParamToWireframeColor, "Wireframe Color", 164, 0, {255, 255, 255, 50}),
    groupEnd(kParamToPinsGroupEnd, 1028),

    groupStart(kParamFromPinsGroup, "From Pins", 102, kCollapsed, kGrey),
    point(kParamFromUpperLeft, "Upper Left From", 103, kGrey, {0, 0}),
    point(kParamFromUpperRight, "Upper Right From", 105, kGrey, {100, 0}),
    point(kParamFromLowerLeft, "Lower  Left From", 104, kGrey, {0, 100}),
    point(kParamFromLowerRight, "Lower  Right From", 106, kGrey, {100, 100}),
    groupStart(kParamFromOffsetsGroup, "Offsets", 140, kCollapsed),
    slider(kParamFromUpperLeftOffsetX, "UpperLeft X-Offset", 141, kOffset, kCollapsed, kGrey),
    slider(kParamFromUpperLeftOffsetY, "UpperLeft Y-Offset", 142, kOffset, kCollapsed, kGrey),
    slider(kParamFromUpperRightOffsetX, "UpperRight X-Offset", 145, kOffset, kCollapsed, kGrey),
    slider(kParamFromUpperRightOffsetY, "UpperRight Y-Offset", 146, kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerLeftOffsetX, "LowerLeft X-Offset", 143, kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerLeftOffsetY, "LowerLeft Y-Offset", 144, kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerRightOffsetX, "LowerRight X-Offset", 147, kOffset, kCollapsed, kGrey),
    slider(kParamFromLowerRightOffsetY, "LowerRight Y-Offset", 148, kOffset, kCollapsed, kGrey),
    groupEnd(kParamFromOffsetsGroupEnd, 149),
    color(kParamFromWireframeColor, "Wireframe Color", 163, kGrey, {255, 150, 150, 255}),
    groupEnd(kParamFromPinsGroupEnd, 107, kGrey),

    groupStart(kParamRepositionGroup, "Reposition", 189, 0),
    slider(kParamTranslateX, "Translate X", 132, kTranslate),
    slider(kParamTranslateY, "Translate Y", 133, kTranslate),
    slider(kParamScaleX, "Scale X", 130, kScale),
    slider(kParamScaleY, "Scale Y", 131, kScale),
    {kParamRotate, PF_Param_ANGLE, "Rotate", 134, kCollapsed, 0},
    groupEnd(kParamRepositionGroupEnd, 190),

    groupStart(kParamTransformSettingsGroup, "Transform Settings", 1008, 0),
    byItself(kParamUseCompCamera, AddUseHostCameraParam),
    popup(kParamQuality, "Quality", 13, kSupervised, {4, 3, "Low|Medium|High|Super Sample"}),
    slider(kParamSuperSampleSoftness, "Super Sample Softnesss", 186, kSoftness, kCollapsed, kGrey,
           PF_Param_FLOAT_SLIDER),
    slider(kParamSuperSampleEdge, "Super Sample Edge", 187, kEdge, kCollapsed, kGrey,
           PF_Param_FLOAT_SLIDER),
    slider(kParamGrowBounds, "Grow Bounds", 28, kGrowBoundsPx, kCollapsed, 0, PF_Param_SLIDER,
           HostRule::kAfterEffectsOnly),
    popup(kParamWireframe, "Wireframe", 125, kSupervised, {3, 3, "Always Off|Always On|On"}),
    groupEnd(kParamTransformSettingsGroupEnd, 1022),

    groupStart(kParamMotionBlurGroup, "Motion Blur", 22, kCollapsed),
    byItself(kParamMotionBlur, AddMBlurPopup),
    slider(kParamShutterAngle, "Shutter Angle", 24, kAngleDeg, kCollapsed | kFixed, kGrey),
    slider(kParamShutterPhase, "Shutter Phase", 25, kPhaseDeg, kCollapsed | kFixed, kGrey),
    slider(kParamSamples, "Samples", 26, kSampleCount),
    groupEnd(kParamMotionBlurGroupEnd, 27),

    slider(kParamSourceOpacity, "Source Opacity", 8, kOpacity),
    slider(kParamCornerPinOpacity, "Corner Pin Opacity", 68, kOpacity),
    popup(kParamTransferMode, "Transfer Mode", 9, 0,
          {23, 1, "None|Behind|Normal|(-|Add|Multiply|Screen|Overlay|Soft Light|Hard Light|(-|"
                  "Color Dodge|Color Burn|(-|Darken|Lighten|Difference|Exclusion|(-|Hue|"
                  "Saturation|Color|Luminosity"}),
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
    const bool isHidden =
        (control.rule == HostRule::kHiddenInPremiere && applId == kAppPremierePro) ||
        (control.rule == HostRule::kAfterEffectsOnly && applId != kAppAfterEffects);
    return isHidden ? kHidden : control.uiFlags;
}

/// Writes the ranges that the three kinds of slider name alike.
template <class Definition, class Convert>
void fillSlider(Definition& definition, SliderNumbers const& numbers, Convert const& convert) {
    definition.valid_min = convert(numbers.validMin);
    definition.valid_max = convert(numbers.validMax);
    definition.slider_min = convert(numbers.sliderMin);
    definition.slider_max = convert(numbers.sliderMax);
    definition.dephault = convert(numbers.defaultValue);
    definition.value = definition.dephault;
}

void fillPoint(PF_PointDef& definition, PercentPoint const& percent) {
    definition.x_value = definition.x_dephault = QVS::doubleToFixed(percent.x);
    definition.y_value = definition.y_dephault = QVS::doubleToFixed(percent.y);
}

void fillPopup(PF_PopupDef& definition, PopupEntries const& entries) {
    definition.value = definition.dephault = entries.defaultEntry;
    definition.num_choices = entries.count;
    definition.u.namesptr = entries.names;
}

/// Fills the kind's part of a cleared record; angles and group marks are all zeros.
void fillValue(PF_ParamDef& def, Control const& control) {
    switch (def.param_type) {
        case PF_Param_SLIDER:
            fillSlider(def.u.sd, control.slider, [](float v) { return static_cast<A_long>(v); });
            break;
        case PF_Param_FIX_SLIDER:
            fillSlider(def.u.fd, control.slider, [](float v) { return QVS::doubleToFixed(v); });
            def.u.fd.precision = control.slider.precision;
            break;
        case PF_Param_FLOAT_SLIDER:
            fillSlider(def.u.fs_d, control.slider, [](float v) { return v; });
            def.u.fs_d.precision = control.slider.precision;
            def.u.fs_d.curve_tolerance = 0.05f;
            break;
        case PF_Param_CHECKBOX:
            def.u.bd.u.nameptr = "";
            break;
        case PF_Param_COLOR:
            def.u.cd.value = def.u.cd.dephault = control.color;
            break;
        case PF_Param_POINT:
            fillPoint(def.u.td, control.point);
            break;
        case PF_Param_POPUP:
            fillPopup(def.u.pd, control.popup);
            break;
        default:
            break;
    }
}

PF_Err addControl(PF_InData* in_data, Control const& control) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    def.uu.id = control.diskId;
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
