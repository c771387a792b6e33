// See parameter_control.h.
#include "apps/viewer/model/parameter_control.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "apps/viewer/model/field_text.h"
#include "apps/viewer/model/parameter_keys.h"
#include "apps/viewer/model/typed_number.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/render/chosen_file.h"
#include "zelk/render/setup.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/track_use.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

constexpr double kTurnDeg = 360;
constexpr int kMostTurns = kLargestPx / 360;  // of what a 16.16 angle holds

ControlKind kindOf(PF_ParamType type) {
    switch (type) {
        case PF_Param_GROUP_START:
            return ControlKind::kGroup;
        case PF_Param_ANGLE:
            return ControlKind::kAngle;
        case PF_Param_POINT:
            return ControlKind::kPoint;
        case PF_Param_POPUP:
            return ControlKind::kPopup;
        case PF_Param_CHECKBOX:
            return ControlKind::kCheckbox;
        case PF_Param_COLOR:
            return ControlKind::kColor;
        default:
            return ControlKind::kNumber;
    }
}

int fieldsOf(ControlKind kind) {
    switch (kind) {
        case ControlKind::kAngle:
        case ControlKind::kPoint:
            return 2;
        case ControlKind::kNumber:
        case ControlKind::kColor:
            return 1;
        default:
            return 0;
    }
}

int decimalsOf(Parameter const& parameter) {
    PF_ParamDefUnion const& u = parameter.registered.u;
    switch (parameter.type()) {
        case PF_Param_FIX_SLIDER:
            return u.fd.precision;
        case PF_Param_FLOAT_SLIDER:
            return u.fs_d.precision;
        case PF_Param_ANGLE:
            return 1;
        case PF_Param_POINT:
            return 2;
        default:
            return 0;
    }
}

std::string rangeOf(Parameter const& parameter) {
    ValueRange const range = validRange(parameter);
    bool const isNumber = kindOf(parameter.type()) == ControlKind::kNumber;
    if (!isNumber || range.min == range.max) return {};
    return fmt::format("{} to {}", range.min, range.max);
}

/// Without a full stop, as all helps of the window.
std::string phraseOf(std::string_view sentence) {
    return std::string(sentence.ends_with('.') ? sentence.substr(0, sentence.size() - 1)
                                               : sentence);
}

ControlRow rowOf(Parameter const& parameter, int level) {
    ControlKind const kind = kindOf(parameter.type());
    bool const isSlider = kind == ControlKind::kNumber;
    return {.name = std::string(nameOfParameter(parameter.index)),
            .label = withSingleBlanks(parameter.displayName()),
            .kind = kind,
            .level = level,
            .fields = fieldsOf(kind),
            .unit = std::string(unitOfParameter(parameter.index)),
            .help = phraseOf(helpOfParameter(parameter.index)),
            .range = rangeOf(parameter),
            .decimals = decimalsOf(parameter),
            .step = isSlider ? stepOf(sliderRange(parameter)) : 1,
            .isWhole = parameter.type() == PF_Param_SLIDER,
            .choices = parameter.choices,
            .caption = parameter.label,
            .canVary = parameter.canVaryInTime(),
            .startsFolded = (parameter.registered.flags & PF_ParamFlag_COLLAPSE_TWIRLY) != 0};
}

/// Why the effect greys controls, in the order of their indices.
struct Reason {
    int first, last;
    char const* text;
};
constexpr Reason kReasons[] = {
    {kParamToPinsGroup, kParamToWireframeColor, "Overlay Mode shows the From Pins alone."},
    {kParamFromPinsGroup, kParamFromWireframeColor, "Overlay Mode shows the To Pins alone."},
    {kParamSuperSampleSoftness, kParamSuperSampleEdge, "Only with Quality at Super Sample."},
    {kParamShutterAngle, kParamShutterPhase,
     "Only with Motion Blur at On; at Comp Settings the composition's shutter counts."},
    {kParamSamples, kParamSamples, "Only with Motion Blur."},
    {kParamSourceOpacity, kParamSourceOpacity, "Only with a Transfer Mode."},
};

std::string reasonOf(int index) {
    for (Reason const& reason : kReasons)
        if (index >= reason.first && index <= reason.last) return reason.text;
    return {};
}

/// Whole turns towards 0, and the rest.
std::array<double, 2> turnsAndDegrees(double angleDeg) {
    double const turns = std::trunc(angleDeg / kTurnDeg);
    return {turns, angleDeg - turns * kTurnDeg};
}

std::string colorOf(KeyValue const& value) {
    PF_ParamDef def{};
    def.param_type = PF_Param_COLOR;
    setKeyValue(def, value);
    return colorText(def.u.cd.value);
}

std::vector<std::string> fieldTexts(ControlRow const& row, KeyValue const& value,
                                    std::string (*number)(double, int)) {
    switch (row.kind) {
        case ControlKind::kNumber:
            return {number(value[0], row.decimals)};
        case ControlKind::kPoint:
            return {number(value[0], row.decimals), number(value[1], row.decimals)};
        case ControlKind::kAngle: {
            auto const [turns, degrees] = turnsAndDegrees(value[0]);
            return {number(turns, 0), number(degrees, row.decimals)};
        }
        case ControlKind::kColor:
            return {colorOf(value)};
        default:
            return {};
    }
}

/// Those that a scene can't have with all others.
bool needsRoad(int index) {
    return index == kParamViewMode || index == kParamGrowBounds || index == kParamTransferMode;
}

/// What the road of the scene has no use for; empty where it can be rendered.
std::string roadRefusal(Document const& document) {
    try {
        checkRoad(document.scene(), document.parameters());
    } catch (UserError const& error) {
        return error.what();
    }
    return {};
}

/// In the form that the effect's own import reads.
bool isImportable(std::string const& file) {
    try {
        return !readTrackUse({file}, TrackedPins::kTo).text.empty();
    } catch (UserError const&) {
        return false;
    }
}

}  // namespace

ParameterControl::ParameterControl(Document& document, int index, int level)
    : PanelControl(document, rowOf(document.parameter(index), level)), m_index(index) {}

ControlState ParameterControl::state() const {
    ControlState state;
    state.isEnabled = document().isEnabled(m_index);
    if (!state.isEnabled) state.whyGreyed = reasonOf(m_index);
    if (!hasValue()) return state;
    KeyValue const value = document().valueOf(m_index);
    state.fields = fieldTexts(row(), value, shownNumber);
    if (state.fields.empty()) state.choice = static_cast<int>(std::lround(value[0]));
    auto const& keys = parameter().track().keys();
    state.isDefault = keys.empty() && value == document().defaultOf(m_index);
    if (keys.empty()) return state;
    state.hasKeys = true;
    state.hasKeyHere = hasKeyHere(document(), m_index);
    state.hasKeyBefore = frameOfKey(false).has_value();
    state.hasKeyAfter = frameOfKey(true).has_value();
    return state;
}

std::string ParameterControl::typedText(int field) const {
    auto const exact = [](double value, int) { return typedNumber(value); };
    return fieldTexts(row(), document().valueOf(m_index), exact)
        .at(static_cast<std::size_t>(field));
}

KeyValue ParameterControl::withField(int field, double number) const {
    KeyValue value = document().valueOf(m_index);
    if (row().kind != ControlKind::kAngle) {
        value[static_cast<std::size_t>(field)] = number;
        return value;
    }
    auto const [turns, degrees] = turnsAndDegrees(value[0]);
    return {field == 0 ? number * kTurnDeg + degrees : turns * kTurnDeg + number};
}

KeyValue ParameterControl::fromText(int field, std::string const& text) const {
    switch (row().kind) {
        case ControlKind::kAngle:
            return angleFrom(field, withoutUnit(trimmed(text), row().unit));
        case ControlKind::kPoint:
            if (auto const pair =
                    pairIn(withoutUnit(trimmed(text), row().unit), PairComma::kDecimal))
                return {numberIn(0, (*pair)[0]), numberIn(1, (*pair)[1])};
            return withField(field, numberIn(field, text));
        default:
            break;
    }
    bool const isColor = row().kind == ControlKind::kColor;
    std::string plain = isColor ? std::string(trimmed(text)) : plainText(field, text);
    if (isColor && !plain.starts_with('#')) plain = "#" + plain;
    Parameter scratch(m_index, parameter().registered);
    setFromText(scratch, row().label, plain);
    return keyValueOf(scratch.current);
}

double ParameterControl::numberIn(int field, std::string const& text) const {
    return numberInRange(row().label, plainText(field, text), -kLargestPx, kLargestPx);
}

/// "1x20" in either field, else turns or degrees.
KeyValue ParameterControl::angleFrom(int field, std::string const& text) const {
    auto const turnsEnd = text.find('x');
    bool const isBoth = turnsEnd != std::string::npos;
    if (!isBoth && field == 1) return withField(1, numberIn(1, text));
    int const turns =
        wholeInRange(row().label, plainText(0, text.substr(0, turnsEnd)), -kMostTurns, kMostTurns);
    if (!isBoth) return withField(0, turns);
    return {turns * kTurnDeg + numberInRange(row().label, plainText(1, text.substr(turnsEnd + 1)),
                                             -kTurnDeg, kTurnDeg)};
}

void ParameterControl::set(KeyValue const& value, std::string const& name) {
    bool const isChecked = needsRoad(m_index) && roadRefusal(document()).empty();
    document().runAct(name, [&] {
        document().edit(m_index, value);
        std::string const refusal = isChecked ? roadRefusal(document()) : "";
        if (!refusal.empty()) throw UserError(ExitCode::kUsage, refusal);
    });
}

void ParameterControl::type(int field, std::string const& text) {
    set(fromText(field, text), "Set " + row().label);
}

void ParameterControl::step(int field, double steps) {
    if (row().kind == ControlKind::kColor) return;
    KeyValue const value = document().valueOf(m_index);
    bool const isAngle = row().kind == ControlKind::kAngle;
    double const now = isAngle ? turnsAndDegrees(value[0])[static_cast<std::size_t>(field)]
                               : value[static_cast<std::size_t>(field)];
    KeyValue next = withField(field, stepped(now, row().step, steps));
    for (double& number : next) number = std::clamp<double>(number, -kLargestPx, kLargestPx);
    set(next, "Set " + row().label);
}

void ParameterControl::choose(int position) { set({double(position)}, "Set " + row().label); }

bool ParameterControl::asksForFile(int position) const {
    std::string const& choice = row().choices.at(static_cast<std::size_t>(position - 1));
    bool const acts = parameter().registered.flags & PF_ParamFlag_SUPERVISE;
    return acts && choice.size() > 3 && choice.ends_with("...");
}

void ParameterControl::chooseFile(int position, std::string const& file) {
    std::uint64_t const before = document().snapshot().revision;
    ChosenFile const chosen(file);
    set({double(position)}, "Import Tracking Data");
    // The same data once more changes nothing.
    if (document().snapshot().revision == before && !isImportable(file))
        throw UserError(ExitCode::kInput, file + ": no tracking data that the effect reads");
}

void ParameterControl::reset() {
    if (hasValue()) set(document().defaultOf(m_index), "Reset " + row().label);
}

void ParameterControl::toggleKeys() { zelk::toggleKeys(document(), m_index); }
void ParameterControl::toggleKeyHere() { zelk::toggleKeyHere(document(), m_index); }

std::optional<int> ParameterControl::frameOfKey(bool isLater) const {
    return zelk::frameOfKey(document(), m_index, isLater);
}

}  // namespace zelk
