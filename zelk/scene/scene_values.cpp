// The values of a project meet the parameters that a module registered; see scene_file.h.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/scene_file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// What a value of the parameter may be. An angle is registered without a range; its 16.16 record
/// is the limit then.
ValueRange rangeOf(Parameter const& parameter) {
    ValueRange const range = validRange(parameter);
    if (range.min == range.max) return {-kLargestPx, kLargestPx};
    return range;
}

std::string expectedOf(Parameter const& parameter) {
    ValueRange const range = rangeOf(parameter);
    switch (parameter.type()) {
        case PF_Param_CHECKBOX:
            return "true or false";
        case PF_Param_COLOR:
            return "a colour \"#rrggbb\"";
        case PF_Param_POINT:
            return fmt::format("a point [x, y] in pixels from {} to {}", range.min, range.max);
        case PF_Param_POPUP: {
            std::string list;
            for (std::string const& choice : parameter.choices)
                if (!isSeparator(choice)) list += (list.empty() ? "" : ", ") + choice;
            return fmt::format("a number from 1 to {} or one of: {}", range.max, list);
        }
        case PF_Param_SLIDER:
            return fmt::format("a whole number from {} to {}", range.min, range.max);
        default:
            return fmt::format("a number from {} to {}", range.min, range.max);
    }
}

bool isWithin(double number, ValueRange const& range) {
    return number >= range.min && number <= range.max;  // false for what is not a number
}

/// One parameter on its way to a project's value and keys.
class Target {
public:
    Target(Project const& project, Parameter& parameter)
        : m_file(project.file.empty() ? "project" : project.file.string()),
          m_place("parameters." +
                  std::string(kParameterNames[static_cast<std::size_t>(parameter.index)])),
          m_comp(project.comp),
          m_parameter(parameter),
          m_scratch(parameter.index, parameter.registered) {
        m_scratch.choices = parameter.choices;
    }

    void apply(ProjectParameter const& from) {
        if (!m_parameter.hasValue())
            refuse(m_place + " holds no value: it is a", kindName(m_parameter.type()),
                   "a parameter that holds one");
        if (from.diskId && *from.diskId != m_parameter.diskId())
            refuse(m_place + ".id can't be", fmt::format("{}", *from.diskId),
                   fmt::format("{}, as the module has it", m_parameter.diskId()));
        if (from.value) setKeyValue(m_parameter.current, numbersOf(*from.value, ".value"));
        if (!from.keys.empty()) applyKeys(from.keys);
    }

private:
    void applyKeys(std::vector<ProjectKey> const& keys) {
        if (!m_parameter.canVaryInTime())
            refuse(m_place + ".keys: it can't vary in time, but has",
                   fmt::format("{} keys", keys.size()), "a value alone");
        KeyframeTrack& track = m_parameter.editTrack();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            std::string const place = fmt::format(".keys[{}]", i);
            bool const holds =
                keys[i].toNext.value_or(Interpolation::kHold) == Interpolation::kHold;
            if (track.holdsOnly() && !holds)
                refuse(m_place + place + ".interpolation can't be",
                       std::string(interpolationWord(*keys[i].toNext)),
                       "hold, as entries have nothing between them");
            auto const time = keyTimeOf(m_comp, keys[i].frame);
            if (!time || track.find(*time))
                refuse(m_place + place + ".frame can't be", valueText(keys[i].frame),
                       "a moment of its own that the clock reaches");
            track.set({*time, numbersOf(keys[i].value, place + ".value"),
                       keys[i].toNext.value_or(Interpolation::kLinear), keys[i].incoming,
                       keys[i].outgoing});
        }
    }

    /// As a key holds them, unrounded.
    KeyValue numbersOf(ProjectValue const& value, std::string const& place) {
        std::optional<KeyValue> const numbers = numbersOf(value);
        if (!numbers)
            refuse(m_place + place + " can't be" +
                       (std::holds_alternative<std::string>(value) ? " the text" : ""),
                   valueText(value), expectedOf(m_parameter));
        return *numbers;
    }

    /// Nothing for what the kind or its range refuses.
    std::optional<KeyValue> numbersOf(ProjectValue const& value) {
        ValueRange const range = rangeOf(m_parameter);
        auto const* number = std::get_if<double>(&value);
        switch (m_parameter.type()) {
            case PF_Param_CHECKBOX:
                if (auto const* flag = std::get_if<bool>(&value)) return KeyValue{*flag ? 1. : 0.};
                return std::nullopt;
            case PF_Param_POINT: {
                auto const* point = std::get_if<Point>(&value);
                if (!point || !isWithin(point->x, range) || !isWithin(point->y, range))
                    return std::nullopt;
                return KeyValue{point->x, point->y};
            }
            case PF_Param_POPUP:
                if (number) return byText(fmt::format("{}", *number));
                [[fallthrough]];
            case PF_Param_COLOR:
                if (auto const* text = std::get_if<std::string>(&value)) return byText(*text);
                return std::nullopt;
            default: {
                bool const isWhole = m_parameter.type() == PF_Param_SLIDER;
                if (!number || !isWithin(*number, range)) return std::nullopt;
                if (isWhole && *number != std::floor(*number)) return std::nullopt;
                return KeyValue{*number};
            }
        }
    }

    /// Entries and colours as the command line takes them.
    std::optional<KeyValue> byText(std::string const& text) {
        try {
            setFromText(m_scratch, "", text);
        } catch (UserError const&) {
            return std::nullopt;
        }
        return keyValueOf(m_scratch.current);
    }

    [[noreturn]] void refuse(std::string const& wrong, std::string const& value,
                             std::string const& expected) const {
        throw UserError(ExitCode::kInput, {m_file, wrong, shortened(value), expected});
    }

    std::string m_file, m_place;
    Comp const& m_comp;
    Parameter& m_parameter;
    Parameter m_scratch;  ///< of the same kind, to try texts on
};

/// A value of the track or the record, kept within what the file may say.
ProjectValue projectValue(Parameter const& parameter, KeyValue const& numbers) {
    ValueRange const range = rangeOf(parameter);
    double const number = std::clamp(numbers[0], range.min, range.max);
    PF_ParamDef def = parameter.registered;
    setKeyValue(def, numbers);
    switch (parameter.type()) {
        case PF_Param_CHECKBOX:
            return number != 0;
        case PF_Param_COLOR:
            return colorText(def.u.cd.value);
        case PF_Param_POINT:
            return Point{number, std::clamp(numbers[1], range.min, range.max)};
        case PF_Param_POPUP: {
            auto const position = static_cast<std::size_t>(std::round(number));
            return parameter.choices.at(position - 1);
        }
        case PF_Param_SLIDER:
            return std::round(number);
        default:
            return number;
    }
}

std::vector<ProjectKey> keysOf(Parameter const& parameter, Comp const& comp) {
    Interpolation const own =
        parameter.track().holdsOnly() ? Interpolation::kHold : Interpolation::kLinear;
    std::vector<ProjectKey> keys;
    for (Keyframe const& from : parameter.track().keys()) {
        ProjectKey key{frameOf(comp, from.time), projectValue(parameter, from.value), std::nullopt,
                       from.incoming, from.outgoing};
        if (from.toNext != own) key.toNext = from.toNext;
        bool const meets =
            !keys.empty() && keyTimeOf(comp, keys.back().frame) == keyTimeOf(comp, key.frame);
        if (meets) keys.pop_back();
        keys.push_back(std::move(key));
    }
    return keys;
}

}  // namespace

void applyProject(Project const& project, std::vector<Parameter>& parameters) {
    std::vector<Parameter> changed = parameters;
    for (ProjectParameter const& from : project.parameters)
        Target(project, changed.at(static_cast<std::size_t>(from.index))).apply(from);
    std::move(changed.begin(), changed.end(), parameters.begin());
}

void applyProject(Project const& project, Host& host, int layerWidthPx, int layerHeightPx) {
    host.setComp(project.comp);
    host.resetParameters(layerWidthPx, layerHeightPx);
    applyProject(project, host.parameters());
}

Project projectOf(Project base, std::vector<Parameter> const& parameters, Comp const& comp,
                  int layerWidthPx, int layerHeightPx) {
    base.comp = comp;
    base.parameters.clear();
    for (Parameter const& parameter : parameters) {
        if (!parameter.hasValue()) continue;
        PF_ParamDef byDefault = parameter.registered;
        resetToDefault(byDefault, layerWidthPx, layerHeightPx);
        ProjectParameter to;
        to.index = parameter.index;
        to.diskId = parameter.diskId();
        if (keyValueOf(parameter.current) != keyValueOf(byDefault))
            to.value = projectValue(parameter, keyValueOf(parameter.current));
        to.keys = keysOf(parameter, comp);
        if (to.value || !to.keys.empty()) base.parameters.push_back(std::move(to));
    }
    return base;
}

}  // namespace zelk
