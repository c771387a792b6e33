// What the two forms of keyframe text share: the head's values, headings of sections and the text
// itself. A heading may mean one corner to the host that wrote it and another to the effect's
// import.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "tracking/TrackingLine.h"
#include "zelk/tracks/text.h"

namespace zelk {

/// The corner that a heading means to the host; nothing for a line that is no corner's heading.
std::optional<int> cornerOfHeading(std::string_view line);
/// Whether a corner is named by words, not by its number alone.
bool headingHasWords(std::string_view line);
/// Rate and pixel aspect of the file's head.
void readHeaderValue(std::string_view line, Track& track);
/// The number after a keyword of the file's head; nothing without one above 0.
std::optional<double> valueAfter(std::string_view line, std::string_view keyword);
/// The corner whose pin takes the samples after a heading: sections count, words don't.
int importedCorner(TrackingLine const& heading);

/// The text with a heading for each corner, upper left, upper right, lower left, lower right.
std::string keyframeText(Track const& track, std::array<std::string_view, 4> const& headings);

}  // namespace zelk
