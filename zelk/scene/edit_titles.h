// What a window calls edits and their words: the labels of its controls, in title case.
#pragma once

#include <string>
#include <string_view>

namespace zelk {

/// "color-dodge" is "Color Dodge".
std::string titleOf(std::string_view words);
/// "st-map" is "Lens Map"; of an edit without a name of its own here, its words.
std::string editTitle(std::string_view edit);

}  // namespace zelk
