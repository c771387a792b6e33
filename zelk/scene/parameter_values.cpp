// Text to parameter value, one function a kind; see parameter_values.h.
#include "zelk/scene/parameter_values.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "hostkit/fixed_point.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

/// One value on its way into one parameter.
struct Entry {
    std::string thing;  ///< "--set quality", "--opacity"
    std::string text;

    UserError error(std::string wrong, std::string expected) const {
        return {ExitCode::kUsage, {thing, std::move(wrong), text, std::move(expected)}};
    }
};

/// How entries are compared: "Color Dodge" is color-dodge too.
std::string choiceWord(std::string_view text) {
    std::string word = lowered(text);
    if (!isSeparator(word)) std::replace(word.begin(), word.end(), '-', ' ');
    return word;
}

void setPopup(Parameter& parameter, Entry const& entry) {
    auto const& choices = parameter.choices;
    int const count = static_cast<int>(choices.size());
    std::string const word = choiceWord(trimmed(entry.text));
    auto const found = std::find_if(choices.begin(), choices.end(),
                                    [&](auto const& choice) { return choiceWord(choice) == word; });
    int position = static_cast<int>(found - choices.begin()) + 1;
    if (found == choices.end()) {
        auto const number = parseWhole(entry.text);
        if (!number) throw entry.error("unknown choice", choiceList(parameter));
        if (*number < 1 || *number > count) {
            throw entry.error("choice out of range", choiceList(parameter));
        }
        position = *number;
    }
    if (isSeparator(choices[static_cast<std::size_t>(position - 1)])) {
        throw entry.error("a separator line is no choice:", choiceList(parameter));
    }
    setNumber(parameter.current, position);
}

void setCheckbox(Parameter& parameter, Entry const& entry) {
    std::string const word = lowered(trimmed(entry.text));
    if (word != "on" && word != "off") throw entry.error("neither on nor off:", "on or off");
    setNumber(parameter.current, word == "on" ? 1 : 0);
}

void setPointText(Parameter& parameter, Entry const& entry) {
    Point const point = parsePoint(entry.thing, entry.text);
    setPoint(parameter.current, point.x, point.y);
}

void setColorText(Parameter& parameter, Entry const& entry) {
    std::string_view const text = trimmed(entry.text);
    std::uint32_t rgb = 0;
    bool isColor = text.size() == 7 && text[0] == '#';
    if (isColor) {
        auto const [end, fault] = std::from_chars(text.data() + 1, text.data() + 7, rgb, 16);
        isColor = fault == std::errc{} && end == text.data() + 7;
    }
    if (!isColor) throw entry.error("not a colour:", "#rrggbb");
    setColor(parameter.current,
             {255, static_cast<A_u_char>(rgb >> 16), static_cast<A_u_char>((rgb >> 8) & 255),
              static_cast<A_u_char>(rgb & 255)});
}

void setSlider(Parameter& parameter, Entry const& entry) {
    ValueRange const range = typedRange(parameter);
    bool const isInteger = parameter.type() == PF_Param_SLIDER;
    std::string const expected = fmt::format(
        "a {} from {} to {}", isInteger ? "whole number" : "number", range.min, range.max);
    auto const value = parseNumber(entry.text);
    if (!value) throw entry.error("not a number:", expected);
    if (isInteger && *value != std::floor(*value)) {
        throw entry.error("not a whole number:", expected);
    }
    if (*value < range.min || *value > range.max) throw entry.error("out of range:", expected);
    setNumber(parameter.current, *value);
}

}  // namespace

ValueRange typedRange(Parameter const& parameter) {
    ValueRange const range = validRange(parameter);
    if (range.min == range.max) return {-kLargestPx, kLargestPx};
    return range;
}

std::string choiceList(Parameter const& parameter) {
    std::string list;
    for (std::string const& choice : parameter.choices) {
        if (isSeparator(choice)) continue;
        list += (list.empty() ? "" : ", ") + choice;
    }
    return fmt::format("a number from 1 to {} or one of: {}", parameter.choices.size(), list);
}

bool isSeparator(std::string_view entry) { return entry == "(-"; }

void setFromText(Parameter& parameter, std::string_view thing, std::string_view text) {
    Entry const entry{std::string(thing), std::string(text)};
    switch (parameter.type()) {
        case PF_Param_POPUP:
            return setPopup(parameter, entry);
        case PF_Param_CHECKBOX:
            return setCheckbox(parameter, entry);
        case PF_Param_POINT:
            return setPointText(parameter, entry);
        case PF_Param_COLOR:
            return setColorText(parameter, entry);
        case PF_Param_SLIDER:
        case PF_Param_FIX_SLIDER:
        case PF_Param_FLOAT_SLIDER:
        case PF_Param_ANGLE:
            return setSlider(parameter, entry);
        default:
            throw entry.error("takes no value, given", "a parameter that holds a value");
    }
}

std::string colorText(PF_Pixel color) {
    return fmt::format("#{:02x}{:02x}{:02x}", color.red, color.green, color.blue);
}

double currentNumber(std::vector<Parameter> const& parameters, int index) {
    return numberOf(parameterIn(parameters, index).current);
}

std::string defaultText(Parameter const& parameter) {
    auto const& u = parameter.registered.u;
    double const number = defaultNumberOf(parameter.registered);
    switch (parameter.type()) {
        case PF_Param_POPUP: {
            auto const position = static_cast<std::size_t>(number);
            bool const isKnown = position >= 1 && position <= parameter.choices.size();
            return isKnown ? parameter.choices[position - 1] : fmt::format("{}", number);
        }
        case PF_Param_CHECKBOX:
            return number != 0 ? "on" : "off";
        case PF_Param_POINT:
            return fmt::format("{}%,{}%", fixedToReal(u.td.x_dephault),
                               fixedToReal(u.td.y_dephault));
        case PF_Param_COLOR:
            return colorText(u.cd.dephault);
        case PF_Param_SLIDER:
        case PF_Param_FIX_SLIDER:
        case PF_Param_FLOAT_SLIDER:
        case PF_Param_ANGLE:
            return fmt::format("{}", number);
        default:
            return {};
    }
}

}  // namespace zelk
