// Corner pin keyframes as motion graphics hosts copy them to the clipboard. It looks like the form
// that the effect imports, but a heading means the corner that the host means: its words count
// first, and of numbers 0001 to 0004 the second is upper right and the third lower left.
//
//   Adobe After Effects 8.0 Keyframe Data
//   <tab>Units Per Second<tab>24                        rate; then size and pixel aspect
//   Effects<tab>Corner Pin #1<tab>Upper Left #2         a section
//   <tab>Frame<tab>X pixels<tab>Y pixels
//   <tab>0<tab>100<tab>200
//   End of Keyframe Data
//
// A heading that names no corner ends a section: other properties may have been copied along.
#pragma once

#include <string>

#include "zelk/tracks/text.h"

namespace zelk {

/// Whether such a text has a heading that the effect's import takes for another corner.
bool isKeyframeText(TrackText const& text);
Track readKeyframeText(TrackText const& text);
/// An empty corner has no section.
std::string writeKeyframeText(Track const& track);

}  // namespace zelk
