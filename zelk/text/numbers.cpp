// Text to number; see numbers.h.
#include "zelk/text/numbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "zelk/text/errors.h"

namespace zelk {

std::string_view trimmed(std::string_view text) {
    auto const first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string lowered(std::string_view text) {
    std::string small(text);
    for (char& c : small) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return small;
}

std::optional<double> parseNumber(std::string_view text) {
    std::string_view digits = trimmed(text);
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
    double value = 0;
    auto const [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    bool const isWhole = end == digits.data() + digits.size() && !digits.empty();
    if (fault != std::errc{} || !isWhole || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<int> parseWhole(std::string_view text) {
    auto const value = parseNumber(text);
    if (!value || *value != std::floor(*value)) return std::nullopt;
    if (std::abs(*value) > std::numeric_limits<int>::max()) return std::nullopt;
    return static_cast<int>(*value);
}

int wholeInRange(std::string const& thing, std::string_view text, int min, int max) {
    std::string const expected = fmt::format("a whole number from {} to {}", min, max);
    auto const value = parseWhole(text);
    if (value && *value >= min && *value <= max) return *value;
    throw UserError(
        ExitCode::kUsage,
        {thing, value ? "out of range:" : "not a whole number:", std::string(text), expected});
}

double numberInRange(std::string const& thing, std::string_view text, double min, double max) {
    auto const value = parseNumber(text);
    if (value && *value >= min && *value <= max) return *value;
    throw UserError(ExitCode::kUsage,
                    {thing, value ? "out of range:" : "not a number:", std::string(text),
                     fmt::format("a number from {} to {}", min, max)});
}

std::string required(std::string const& text, std::string const& thing,
                     std::string const& expected) {
    if (!text.empty()) return text;
    throw missing(thing, expected);
}

std::string durationText(double seconds) {
    auto const whole = static_cast<std::int64_t>(std::ceil(std::min(seconds, 1e9)));
    if (whole < 3600) return fmt::format("{}:{:02}", whole / 60, whole % 60);
    return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace zelk
