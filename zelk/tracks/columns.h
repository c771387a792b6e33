// Plain text in columns with blanks between them: `frame corner x y` or `corner frame x y` for each
// sample, or a frame and the x and y of all four corners, all rows alike. `#` starts a comment.
#pragma once

#include <string>

#include "zelk/tracks/text.h"

namespace zelk {

/// Whether all rows can be read so. With numbers for corners both may be true of a text.
bool isColumns(TrackText const& text);
bool isCornerColumns(TrackText const& text);
/// Whether the first rows were meant so, faults aside; the first that is true is the likelier.
bool resemblesColumns(TrackText const& text);
bool resemblesCornerColumns(TrackText const& text);
Track readColumns(TrackText const& text);
Track readCornerColumns(TrackText const& text);
/// Samples stay as they are; corners have names.
std::string writeColumns(Track const& track);
std::string writeCornerColumns(Track const& track);

}  // namespace zelk
