// Tracking data exactly as the effect's import reads it, line by line and by its own table, but
// with faults reported instead of passed over; and the same form written.
//
// A heading's first hit in the import's table decides: 0001 or "Upper Left", 0002 or "Lower Left",
// 0003 or "Upper Right", 0004 or "Lower Right", whatever else the heading says. Numbers are single
// floats there; here they are the shortest decimals that stand for the same floats.
#pragma once

#include <string>

#include "zelk/tracks/text.h"

namespace zelk {

/// Whether a line is a heading to the import, and no table's header with separators.
bool isMocha(TrackText const& text);
/// Whether it has the form's head, though no corner's section.
bool resemblesMocha(TrackText const& text);
Track readMocha(TrackText const& text);
/// The track has a size: the import scales what has none from 720x486 to the frame. Headings
/// are numbers without words, which every reader takes alike. An empty corner has no section.
std::string writeMocha(Track const& track);

}  // namespace zelk
