// How much a render's passes shrink the layer where it is seen.
#pragma once

#include "zelk/render/explanation.h"

namespace zelk {

/// From here on more than a third of the finest detail that turns into false tones is left: by
/// bilinear, which has sinc^2(1 / shrink) of it, and by High's B-spline with sinc^4.
inline constexpr double kMostShrinkOfMedium = 2, kMostShrinkOfHigh = 2.5;

/// The most source pixels that an output pixel is wide in any direction, over a grid of the frame's
/// pixels that show the layer and over all passes; 0 where none does.
double largestShrink(PlanReport const& plan);

}  // namespace zelk
