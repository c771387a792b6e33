// A kernel of kFilterWords as the engine takes it.
#pragma once

#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"

namespace zelk {

/// `taps` is 4, 6, 8 or 10.
inline KernelChoice kernelChoice(int number, int taps) {
    // What this window leaves beyond its width is a hundredth of its middle.
    constexpr double kKaiserAlpha = 6.5;
    KernelChoice kernel;
    kernel.filter = number;
    kernel.sizeIndex = (taps - 4) / 2;
    if (number == kFilterKaiser) kernel.paramB = kKaiserAlpha;
    return kernel;
}

}  // namespace zelk
