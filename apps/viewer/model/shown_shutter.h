// The shutter that a frame is blurred by, as the effect's Motion Blur has it: its own at "On", the
// composition's at "Comp Settings", none at "Off".
#pragma once

#include <optional>
#include <string>

#include "apps/viewer/model/document.h"

namespace zelk {

struct ShownShutter {
    double angleDeg = 0, phaseDeg = 0;  ///< 360 is a frame
};

/// At the frame that is looked at; nothing where the frame is a moment.
std::optional<ShownShutter> shownShutter(Document const& document);

/// Why the composition's Motion Blur and Shutter change nothing, and what does; empty where they
/// count.
std::string whyNoCompShutter(Document const& document);

}  // namespace zelk
