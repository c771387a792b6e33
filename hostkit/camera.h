// The camera that looks at a composition's layer, the same at all times.
#pragma once

#include "platform/effect_api/aegp_suites.h"

namespace zelk {

struct Camera {
    QV_Matrix4 matrix{};
    double planeDistance = 0;  ///< to the image plane
    A_short planeWidth = 0;    ///< of the image plane
    A_short planeHeight = 0;
    double zoom = 0;
};

}  // namespace zelk
