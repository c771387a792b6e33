// The list of parameters, and how their numbers count; see description.h.
#include "bindings/frei0r/description.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string_view>

#include "bindings/common/effect_controls.h"
#include "params/FixedPoint.h"
#include "params/ParameterNames.h"
#include "params/TransferMenu.h"

namespace zelk::bindings {

namespace {

/// In the order of use: programs that take parameters by position leave out the last ones. Stored
/// projects know parameters by name, scripts by position: new ones go to the end. What lies under
/// the layer without a plate is last, as only one of the plug-ins has it.
constexpr int kControls[] = {
    kParamToUpperLeft,   kParamToUpperRight,     kParamToLowerLeft,         kParamToLowerRight,
    kParamQuality,       kParamCornerPinOpacity, kParamTransferMode,        kParamCropToPins,
    kParamFromUpperLeft, kParamFromUpperRight,   kParamFromLowerLeft,       kParamFromLowerRight,
    kParamViewMode,      kParamTranslateX,       kParamTranslateY,          kParamScaleX,
    kParamScaleY,        kParamRotate,           kParamSuperSampleSoftness, kParamSuperSampleEdge,
    kParamSourceOpacity};

std::string asWord(std::string_view text) {
    std::string word;
    for (char const c : text)
        word += c == ' ' || c == '_'
                    ? '-'
                    : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return word;
}

std::vector<std::string> wordsOf(int control) {
    if (control == kParamQuality) return {"low", "medium", "high", "super"};
    if (control == kParamViewMode) return {"original", "from", "to", "both"};
    std::vector<std::string> words;
    for (TransferMenuEntry const& entry : kTransferMenu)
        words.push_back(entry.name == kTransferMenuSeparator.name ? "" : asWord(entry.name));
    return words;
}

double unitOf(int control) {
    std::string_view const unit = unitOfParameter(control);
    if (unit.starts_with('%')) return 100;
    return unit == "degrees" ? 360 : 1;
}

/// Names of records are for a panel, where two blanks may keep columns apart.
std::string withSingleBlanks(std::string_view text) {
    std::string result;
    for (char const c : text)
        if (c != ' ' || !result.ends_with(' ')) result += c;
    return result;
}

double numberOf(PF_ParamDef const& def) {
    switch (def.param_type) {
        case PF_Param_POPUP:
            return def.u.pd.value - 1;
        case PF_Param_CHECKBOX:
            return def.u.bd.value;
        case PF_Param_SLIDER:
            return def.u.sd.value;
        case PF_Param_FIX_SLIDER:
            return QVS::fixedToDouble(def.u.fd.value);
        case PF_Param_FLOAT_SLIDER:
            return def.u.fs_d.value;
        case PF_Param_ANGLE:
            return QVS::fixedToDouble(def.u.ad.value);
        default:
            return 0;
    }
}

/// Pins start in percent.
double cornerOf(PF_ParamDef const& def, bool isVertical) {
    return QVS::fixedToDouble(isVertical ? def.u.td.y_value : def.u.td.x_value) / 100;
}

Frei0rParameter cornerParameter(int control, PF_ParamDef const& def, bool isVertical) {
    Frei0rParameter corner;
    corner.control = control;
    corner.type = F0R_PARAM_DOUBLE;
    corner.isCorner = corner.isFixed = true;
    corner.isVertical = isVertical;
    corner.atFirst = cornerOf(def, isVertical);
    corner.name = std::string(kParameterNames[static_cast<std::size_t>(control)]) +
                  (isVertical ? "-y" : "-x");
    corner.label = withSingleBlanks(def.name) + (isVertical ? " Y" : " X");
    corner.help = std::string(helpOfParameter(control)) +
                  (isVertical ? " 0 is the frame's top, 1 its bottom"
                              : " 0 is the frame's left, 1 its right") +
                  "; values beyond lie outside.";
    return corner;
}

/// Ranges as the record has them.
void setRanges(Frei0rParameter& parameter, PF_ParamDef const& def) {
    auto const take = [&parameter](auto const& slider, auto const& number) {
        parameter.least = number(slider.valid_min) / parameter.unit;
        parameter.most = number(slider.valid_max) / parameter.unit;
        parameter.shownLeast = number(slider.slider_min) / parameter.unit;
        parameter.shownMost = number(slider.slider_max) / parameter.unit;
    };
    if (def.param_type == PF_Param_FIX_SLIDER)
        take(def.u.fd, [](PF_Fixed v) { return QVS::fixedToDouble(v); });
    else if (def.param_type == PF_Param_FLOAT_SLIDER)
        take(def.u.fs_d, [](double v) { return v; });
}

Frei0rParameter parameterOf(int control, PF_ParamDef const& def) {
    Frei0rParameter parameter;
    parameter.control = control;
    parameter.name = kParameterNames[static_cast<std::size_t>(control)];
    parameter.label = withSingleBlanks(def.name);
    parameter.help = helpOfParameter(control);
    parameter.unit = unitOf(control);
    parameter.atFirst = numberOf(def) / parameter.unit;
    if (def.param_type == PF_Param_POPUP) {
        parameter.type = F0R_PARAM_STRING;
        parameter.words = wordsOf(control);
        parameter.help += " One of:";
        for (std::string const& word : parameter.words)
            if (!word.empty()) parameter.help += ' ' + word;
    } else if (def.param_type == PF_Param_CHECKBOX) {
        parameter.type = F0R_PARAM_BOOL;
    } else {
        parameter.type = F0R_PARAM_DOUBLE;
        parameter.isFixed = def.param_type != PF_Param_FLOAT_SLIDER;
        if (def.param_type == PF_Param_ANGLE) {
            // As many turns as 16.16 degrees hold.
            constexpr double kMostTurns = 91;
            parameter.least = -kMostTurns;
            parameter.most = kMostTurns;
            parameter.shownLeast = -1;
            parameter.help += " 1 is a whole turn.";
        } else {
            setRanges(parameter, def);
            if (parameter.unit == 100) parameter.help += " 1 is 100 %.";
        }
    }
    return parameter;
}

std::vector<Frei0rParameter> makeParameters(bool hasPlate) {
    EffectControls controls;
    std::vector<Frei0rParameter> parameters;
    for (int const control : kControls) {
        if (hasPlate && control == kParamSourceOpacity) continue;
        PF_ParamDef const& def = controls[control];
        if (def.param_type != PF_Param_POINT) {
            parameters.push_back(parameterOf(control, def));
            continue;
        }
        for (bool const isVertical : {false, true})
            parameters.push_back(cornerParameter(control, def, isVertical));
    }
    return parameters;
}

ControlValues makeDefaults() {
    EffectControls controls;
    ControlValues values;
    for (int control = kParamInputLayer + 1; control < kParamCount; ++control) {
        PF_ParamDef const& def = controls[control];
        auto& value = values[static_cast<std::size_t>(control)];
        if (def.param_type == PF_Param_POINT)
            value = {cornerOf(def, false), cornerOf(def, true)};
        else
            value = {numberOf(def)};
    }
    return values;
}

}  // namespace

f0r_plugin_info_t frei0rPluginInfo(bool hasPlate) {
    f0r_plugin_info_t info{};
    info.name = hasPlate ? "Zelk Corner Pin Over" : "Zelk Corner Pin";
    info.author = "Quorvane";
    info.plugin_type = hasPlate ? F0R_PLUGIN_TYPE_MIXER2 : F0R_PLUGIN_TYPE_FILTER;
    info.color_model = F0R_COLOR_MODEL_RGBA8888;
    info.frei0r_version = FREI0R_MAJOR_VERSION;
    info.major_version = ZELK_VERSION_MAJOR;
    info.minor_version = ZELK_VERSION_MINOR;
    info.num_params = static_cast<int>(frei0rParameters(hasPlate).size());
    info.explanation = hasPlate ? "Pins the second picture by its corners, over the first"
                                : "Pins the picture by its corners, with anti-aliased edges";
    return info;
}

std::vector<Frei0rParameter> const& frei0rParameters(bool hasPlate) {
    static std::vector<Frei0rParameter> const kWithout = makeParameters(false);
    static std::vector<Frei0rParameter> const kWith = makeParameters(true);
    return hasPlate ? kWith : kWithout;
}

ControlValues const& defaultControlValues() {
    static ControlValues const kValues = makeDefaults();
    return kValues;
}

int entryOfWord(Frei0rParameter const& parameter, std::string_view word) {
    std::string const wanted = asWord(word);
    auto const found = std::find(parameter.words.begin(), parameter.words.end(), wanted);
    if (wanted.empty() || found == parameter.words.end()) return -1;
    return static_cast<int>(found - parameter.words.begin());
}

double controlValue(Frei0rParameter const& parameter, double value, int size) {
    if (parameter.type == F0R_PARAM_BOOL) return value >= 0.5 ? 1 : 0;
    double const number = parameter.isCorner
                              ? value * size
                              : std::clamp(value, parameter.least, parameter.most) * parameter.unit;
    return parameter.isFixed ? QVS::fixedToDouble(QVS::doubleToFixed(number)) : number;
}

}  // namespace zelk::bindings
