// Values of parameters in users' units, from text and to text: popups by entry or number, "on" and
// "off", points "x,y" in layer pixels, colours "#rrggbb", angles in degrees, sliders as shown.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hostkit/parameters.h"
#include "zelk/tracks/corners.h"

namespace zelk {

/// True for the line between a popup's entries.
bool isSeparator(std::string_view entry);

/// What may be typed. An angle is registered without a range; its 16.16 record is the limit then.
ValueRange typedRange(Parameter const& parameter);

/// "a number from 1 to 4 or one of: Low, Medium, ..." of a popup.
std::string choiceList(Parameter const& parameter);

/// Sets `parameter.current`. `thing` is the option, for messages: "--set quality", "--opacity".
/// Throws a usage error for a value that the kind or the valid range refuses.
void setFromText(Parameter& parameter, std::string_view thing, std::string_view text);

/// "#rrggbb".
std::string colorText(PF_Pixel color);

/// The default as setFromText would take it; a point's is in percent of the layer ("100%,0%").
/// Empty for a parameter without a value.
std::string defaultText(Parameter const& parameter);

/// The current number of the parameter at `index`.
double currentNumber(std::vector<Parameter> const& parameters, int index);

}  // namespace zelk
