// The rows of the timeline: parameters, and their keys by frame.
#pragma once

#include <string>
#include <vector>

#include "apps/viewer/model/document.h"
#include "apps/viewer/model/key_acts.h"

namespace zelk {

struct TimelineKey {
    double frame = 0;
    KeyRef ref;
    Interpolation before = Interpolation::kLinear;  ///< of the way that leads to it
    Interpolation after = Interpolation::kLinear;
};

struct TimelineRow {
    int index = 0;
    std::string name;  ///< "To Pins: Upper Left"
    std::vector<TimelineKey> keys;
};

enum class RowFilter {
    kAnimated,  ///< parameters that have keys
    kAll,       ///< all that may have keys
};

/// In the effect's order.
std::vector<TimelineRow> timelineRows(Document const& document, RowFilter filter);

/// The frame of the nearest key before or after the document's frame, of all rows; the frame
/// itself where there is none.
int keyBefore(Document const& document);
int keyAfter(Document const& document);

/// As many of `frames` as these keys can move without one leaving the composition; those outside
/// may come in, or stay.
int framesWithin(Document const& document, KeySelection const& keys, int frames);

}  // namespace zelk
