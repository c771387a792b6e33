// From fields of the scene to the engine's record; see resampling.h.
#include "zelk/render/resampling.h"

#include "zelk/scene/kernel_choice.h"
#include "zelk/scene/words.h"

namespace zelk {

ResampleOptions resampleOptionsOf(Scene const& scene, double times) {
    ResampleOptions options;
    bool const isExact = scene.edgesTaken() == FrameEdges::kExact;
    options.edges = isExact ? EdgeCoverage::kExact : EdgeCoverage::kGrid;
    options.integratesFootprint = scene.isBest;
    options.featherPx = scene.featherPx / times;
    options.chokePx = scene.chokePx / times;
    if (!scene.filter) return options;
    for (Choice<int> const& choice : kFilterWords)
        if (choice.word == *scene.filter)
            options.kernel = kernelChoice(choice.value, scene.taps.value_or(4));
    return options;
}

}  // namespace zelk
