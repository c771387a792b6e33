// MotionPath: where a pin is at each frame of the composition, and its keys.
//
// Pixels of the picture that the pin lies in. Offsets, Reposition and motion of the layer play no
// part, as in the effect's overlay.
#pragma once

#include <cstddef>
#include <vector>

#include "apps/viewer/model/document.h"

namespace zelk {

struct MotionPath {
    struct Key {
        std::size_t index = 0;  ///< in the parameter's track
        double frame = 0;
        PanelPoint at;
    };

    int parameter = 0;
    int firstFrame = 0;
    std::vector<PanelPoint> atFrames;  ///< one each
    std::vector<PanelPoint> curve;     ///< through the frames, finer where it bends
    std::vector<Key> keys;
};

/// Empty for a pin without keys.
MotionPath motionPathOf(Document const& document, int parameter);

}  // namespace zelk
