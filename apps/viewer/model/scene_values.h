// Parameters that were edited, back into the scene that they came from.
#pragma once

#include <vector>

#include "hostkit/parameters.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// The scene with the values and keyframes of the parameters `edits`; entries of all others stay as
/// they were written. `defaults` as in entryOf (zelk/scene/values.h). An edited To Pin has an entry
/// from then on, wherever it stands, and so has one whose From Pin is edited, which it doesn't
/// follow any more. An edited pin of a tracked quad takes the whole quad out of the track: its four
/// pins then have the track's keys as their own. An edited Quality is no longer "best".
Scene sceneWithEdits(Scene const& scene, std::vector<int> const& edits,
                     std::vector<Parameter> const& parameters,
                     std::vector<Parameter> const& defaults);

}  // namespace zelk
