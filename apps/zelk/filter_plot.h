// A picture of kernels: their weights over the distance to the sample, and what they leave of each
// frequency.
#pragma once

#include <vector>

#include "apps/drawing/canvas.h"

namespace zelk {

/// Up to eight kernels by number: two charts side by side, a curve each. More: a small pair of
/// charts for each, in rows.
Canvas plotFilters(std::vector<int> const& numbers, int taps);

}  // namespace zelk
