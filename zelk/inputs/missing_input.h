// Frames whose pictures are not all there.
#pragma once

namespace zelk {

/// What becomes of a frame whose layer or plate is not there.
enum class MissingInput {
    kStop,   ///< the run ends before it
    kHold,   ///< the nearest frame before it that is there, else after it
    kSkip,   ///< it is left out
    kBlack,  ///< a transparent layer, an opaque black plate
};

}  // namespace zelk
