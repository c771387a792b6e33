// From fields of the scene to the engine's record; see resampling.h.
#include "zelk/render/resampling.h"

namespace zelk {

ResampleOptions resampleOptionsOf(Scene const& scene) {
    ResampleOptions options;
    options.integratesFootprint = scene.isBest;
    return options;
}

}  // namespace zelk
