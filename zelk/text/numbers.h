// Text to number and back, independent of the locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelk {

/// Without blanks at the ends.
std::string_view trimmed(std::string_view text);

/// ASCII letters made small.
std::string lowered(std::string_view text);

/// A finite decimal number that fills the whole text, blanks around it and a leading plus allowed;
/// nothing for anything else, NaN and infinities among it.
std::optional<double> parseNumber(std::string_view text);

/// parseNumber of a whole number that an int holds.
std::optional<int> parseWhole(std::string_view text);

/// The whole number `text` within [min, max]; throws a usage error about `thing` otherwise.
int wholeInRange(std::string const& thing, std::string_view text, int min, int max);
/// The same of any number.
double numberInRange(std::string const& thing, std::string_view text, double min, double max);

/// "0:05", "12:34", "1:02:03": seconds, part of one taken for a whole one.
std::string durationText(double seconds);

/// A text that can't be left out; throws a usage error about `thing` where it is empty.
std::string required(std::string const& text, std::string const& thing,
                     std::string const& expected);

}  // namespace zelk
