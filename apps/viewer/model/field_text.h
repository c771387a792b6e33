// Numbers of the panel's fields, to text and from it.
#pragma once

#include <string>
#include <string_view>

#include "hostkit/parameters.h"

namespace zelk {

/// With so many decimals; never "-0".
std::string shownNumber(double value, int decimals);
/// With the decimals that a 16.16 number needs, at most 4.
std::string typedNumber(double value);

/// Names as they are shown: some of the effect's own have doubled blanks.
std::string withSingleBlanks(std::string_view name);

/// "12 px" is "12" where the unit is "px of frame"; a text that ends with no such unit stays.
std::string withoutUnit(std::string_view text, std::string_view unit);
/// What stands beside a field: "px", "%", "°", "x"
std::string shortUnit(std::string_view unit);

/// About a hundredth of a slider's range: a power of ten, at most 1.
double stepOf(ValueRange const& slider);
/// A number and so many steps, on a grid that leaves no dust of binary fractions.
double stepped(double value, double step, double steps);

}  // namespace zelk
