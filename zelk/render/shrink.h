// How much a render's passes shrink the layer where it is seen.
#pragma once

#include "zelk/render/explanation.h"

namespace zelk {

/// Up to here Medium and High miss nothing that an output pixel covers.
inline constexpr double kShrinkWithoutAliases = 2;

/// The most source pixels that an output pixel is wide in any direction, over a grid of the frame's
/// pixels that show the layer and over all passes; 0 where none does.
double largestShrink(PlanReport const& plan);

}  // namespace zelk
