// See field_text.h.
#include "apps/viewer/model/field_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "zelk/text/numbers.h"

namespace zelk {
namespace {

constexpr double kGrid = 1e-4;  // above a 16.16 number's unit, 1.5e-5

/// A unit's first word, and what else users write for it.
struct UnitWords {
    std::string_view unit, shown;
    std::string_view words[4];
};
constexpr UnitWords kUnits[] = {
    {"px", "px", {"px", "pixel", "pixels"}},
    {"%", "%", {"%", "percent"}},
    {"degrees", "°", {"°", "deg", "degree", "degrees"}},
    {"factor", "x", {"x", "times"}},
    {"samples", "", {"sample", "samples"}},
};

UnitWords const* wordsOfUnit(std::string_view unit) {
    std::string_view const first = unit.substr(0, unit.find(' '));
    auto const* const found = std::find_if(std::begin(kUnits), std::end(kUnits),
                                           [&](auto const& words) { return words.unit == first; });
    return found == std::end(kUnits) ? nullptr : found;
}

bool isUnit(std::string_view word, std::string_view unit) {
    UnitWords const* const known = wordsOfUnit(unit);
    return word == unit || (known && std::find(std::begin(known->words), std::end(known->words),
                                               word) != std::end(known->words));
}

}  // namespace

std::string shownNumber(double value, int decimals) {
    std::string const text = fmt::format("{:.{}f}", value, decimals);
    bool const isZero = text.find_first_of("123456789") == std::string::npos;
    return isZero && text.front() == '-' ? text.substr(1) : text;
}

std::string typedNumber(double value) {
    std::string text = shownNumber(value, 4);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

std::string withSingleBlanks(std::string_view name) {
    std::string single;
    for (char const c : name)
        if (c != ' ' || !single.ends_with(' ')) single += c;
    return single;
}

std::string withoutUnit(std::string_view text, std::string_view unit) {
    auto const end = text.find_last_of("0123456789.)");
    if (end == std::string_view::npos || unit.empty()) return std::string(text);
    std::string const word = lowered(trimmed(text.substr(end + 1)));
    return std::string(isUnit(word, unit) ? text.substr(0, end + 1) : text);
}

std::string shortUnit(std::string_view unit) {
    UnitWords const* const known = wordsOfUnit(unit);
    return std::string(known ? known->shown : "");
}

double stepOf(ValueRange const& slider) {
    double const range = slider.max - slider.min;
    if (range <= 0) return 1;
    return std::min(std::pow(10, std::floor(std::log10(range / 100) + 0.55)), 1.0);
}

double stepped(double value, double step, double steps) {
    return std::round((value + step * steps) / kGrid) * kGrid;
}

}  // namespace zelk
