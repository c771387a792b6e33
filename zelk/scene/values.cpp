// The values of a scene meet the parameters that a module registered; see values.h.
#include "zelk/scene/values.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "zelk/scene/clock.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

std::string expectedOf(Parameter const& parameter) {
    ValueRange const range = typedRange(parameter);
    switch (parameter.type()) {
        case PF_Param_CHECKBOX:
            return "true or false";
        case PF_Param_COLOR:
            return "a colour \"#rrggbb\"";
        case PF_Param_POINT:
            return fmt::format("a point [x, y] in pixels from {} to {}", range.min, range.max);
        case PF_Param_POPUP:
            return choiceList(parameter);
        case PF_Param_SLIDER:
            return fmt::format("a whole number from {} to {}", range.min, range.max);
        default:
            return fmt::format("a number from {} to {}", range.min, range.max);
    }
}

bool isWithin(double number, ValueRange const& range) {
    return number >= range.min && number <= range.max;  // false for what is not a number
}

/// One parameter on its way to a scene's value and keys.
class Target {
public:
    Target(Scene const& scene, Parameter& parameter, std::string const& option)
        : m_thing(!option.empty()      ? option
                  : scene.file.empty() ? "project"
                                       : scene.file.string()),
          m_place(option.empty() ? fmt::format("parameters.{}", nameOfParameter(parameter.index))
                                 : ""),
          m_isOption(!option.empty()),
          m_comp(scene.comp),
          m_parameter(parameter),
          m_scratch(parameter.index, parameter.registered) {
        m_scratch.choices = parameter.choices;
    }

    void apply(SceneParameter const& from) {
        if (auto const* typed = from.value ? std::get_if<TypedText>(&*from.value) : nullptr) {
            setFromText(m_parameter, m_thing, typed->text);
            return dropKeys();
        }
        if (!m_parameter.hasValue())
            refuse(m_place + " has no value: it is a", kindName(m_parameter.type()),
                   "a parameter with a value");
        if (from.diskId && *from.diskId != m_parameter.diskId())
            refuse(m_place + ".id can't be", fmt::format("{}", *from.diskId),
                   fmt::format("{}, as the module has it", m_parameter.diskId()));
        if (from.value) setKeyValue(m_parameter.current, numbersOf(*from.value, ".value"));
        dropKeys();
        if (!from.keys.empty()) applyKeys(from.keys);
    }

private:
    void dropKeys() {
        if (!m_parameter.track().empty()) m_parameter.editTrack().clear();
    }

    void applyKeys(std::vector<SceneKey> const& keys) {
        if (!m_parameter.canVaryInTime())
            refuse(m_place + " can't have keys:", fmt::format("{} keys", keys.size()),
                   "a value alone");
        KeyframeTrack& track = m_parameter.editTrack();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            std::string const place = fmt::format(".keys[{}]", i);
            bool const holds =
                keys[i].toNext.value_or(Interpolation::kHold) == Interpolation::kHold;
            if (track.holdsOnly() && !holds)
                refuse(m_place + place + ".interpolation can't be",
                       std::string(wordOf(kInterpolationWords, *keys[i].toNext)),
                       "hold, the only one between entries");
            auto const time = keyTimeOf(m_comp, keys[i].frame);
            if (!time || track.find(*time))
                refuse(m_place + place + ".frame can't be", valueText(keys[i].frame),
                       "one key at a frame, within the composition's clock");
            track.set({*time, numbersOf(keys[i].value, place + ".value"),
                       keys[i].toNext.value_or(Interpolation::kLinear), keys[i].incoming,
                       keys[i].outgoing});
        }
    }

    /// As a key holds them, unrounded.
    KeyValue numbersOf(SceneValue const& value, std::string const& place) {
        std::optional<KeyValue> const numbers = numbersOf(value);
        if (!numbers)
            refuse((m_isOption ? "" : m_place + place + " ") + "can't be" +
                       (std::holds_alternative<std::string>(value) ? " the text" : ""),
                   valueText(value), expectedOf(m_parameter));
        return *numbers;
    }

    /// Nothing for what the kind or its range refuses.
    std::optional<KeyValue> numbersOf(SceneValue const& value) {
        ValueRange const range = typedRange(m_parameter);
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
        throw UserError(m_isOption ? ExitCode::kUsage : ExitCode::kInput,
                        {m_thing, wrong, shortened(value), expected});
    }

    std::string m_thing, m_place;
    bool m_isOption;
    Comp const& m_comp;
    Parameter& m_parameter;
    Parameter m_scratch;  ///< of the same kind, to try texts on
};

/// A value of the track or the record, kept within what the file may say.
SceneValue sceneValue(Parameter const& parameter, KeyValue const& numbers) {
    ValueRange const range = typedRange(parameter);
    double const number = std::clamp(numbers[0], range.min, range.max);
    switch (parameter.type()) {
        case PF_Param_CHECKBOX:
            return number != 0;
        case PF_Param_COLOR: {
            PF_ParamDef def = parameter.registered;
            setKeyValue(def, numbers);
            return colorText(def.u.cd.value);
        }
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

std::vector<SceneKey> keysOf(Parameter const& parameter, Comp const& comp) {
    Interpolation const own =
        parameter.track().holdsOnly() ? Interpolation::kHold : Interpolation::kLinear;
    std::vector<SceneKey> keys;
    keys.reserve(parameter.track().size());
    std::optional<KeyTime> last;
    for (Keyframe const& from : parameter.track().keys()) {
        SceneKey key{frameOf(comp, from.time), sceneValue(parameter, from.value), std::nullopt,
                     from.incoming, from.outgoing};
        if (from.toNext != own) key.toNext = from.toNext;
        std::optional<KeyTime> const time = keyTimeOf(comp, key.frame);
        if (!keys.empty() && time == last) keys.pop_back();
        last = time;
        keys.push_back(std::move(key));
    }
    return keys;
}

}  // namespace

void setValues(Scene const& scene, ValuesFrom from, std::vector<Parameter>& parameters) {
    std::vector<Parameter> changed = parameters;
    for (SceneParameter const& entry : scene.parameters) {
        if (entry.option.empty() != (from == ValuesFrom::kFile)) continue;
        int const index = requiredParameter(entry.option, entry.name);
        Target(scene, parameterIn(changed, index), entry.option).apply(entry);
    }
    std::move(changed.begin(), changed.end(), parameters.begin());
}

bool isSetIn(Scene const& scene, int index) {
    std::string_view const name = nameOfParameter(index);
    return std::any_of(scene.parameters.begin(), scene.parameters.end(),
                       [name](SceneParameter const& entry) { return entry.name == name; });
}

std::optional<int> followedPin(Scene const& scene, int index) {
    bool const isTo = index >= kToPins && index < kToPins + 4;
    if (!isTo || scene.fillsFrame || scene.isInverted) return std::nullopt;
    bool const isTracked =
        std::any_of(scene.tracks.begin(), scene.tracks.end(),
                    [](TrackUse const& use) { return use.pins == TrackedPins::kTo; });
    if (isTracked) return std::nullopt;
    return index - kToPins + kFromPins;
}

std::optional<SceneParameter> entryOf(Scene const& scene, int index,
                                      std::vector<Parameter> const& parameters,
                                      std::vector<Parameter> const& defaults) {
    Parameter const& parameter = parameterIn(parameters, index);
    SceneParameter entry{std::string(nameOfParameter(index)), parameter.diskId(), std::nullopt,
                         keysOf(parameter, scene.comp)};
    auto const followed = entry.keys.empty() ? followedPin(scene, index) : std::nullopt;
    Parameter const& open =
        followed ? parameterIn(parameters, *followed) : parameterIn(defaults, index);
    bool const stays = followed && isSetIn(scene, index);
    if (stays || keyValueOf(parameter.current) != keyValueOf(open.current))
        entry.value = sceneValue(parameter, keyValueOf(parameter.current));
    if (!entry.value && entry.keys.empty()) return std::nullopt;
    return entry;
}

Scene sceneOf(Scene base, std::vector<Parameter> const& parameters,
              std::vector<Parameter> const& defaults) {
    base.tracks.clear();
    base.comp.motionBlur = base.comp.motionBlur || base.motionBlur;
    base.motionBlur.reset();
    base.options.clear();
    std::vector<SceneParameter> entries;
    for (Parameter const& parameter : parameters) {
        if (!parameter.hasValue()) continue;
        if (auto entry = entryOf(base, parameter.index, parameters, defaults))
            entries.push_back(std::move(*entry));
    }
    base.parameters = std::move(entries);
    return base;
}

}  // namespace zelk
