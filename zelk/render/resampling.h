// What a scene asks of the resampling beyond the effect's parameters.
#pragma once

#include "Transform/Common/ResampleOptions.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// In a picture that is so many times smaller. Without the lens map, which is read with its frame.
ResampleOptions resampleOptionsOf(Scene const& scene, double times);

}  // namespace zelk
