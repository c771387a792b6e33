// One step of a conversion: straight red, green, blue, packed, in place.
#pragma once

#include <functional>

namespace zelk {

/// For several threads at once; throws nothing. An empty one can't be had.
using ColorStep = std::function<void(float* rgb, int pixels)>;

}  // namespace zelk
