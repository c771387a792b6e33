// What a run tells of itself in its first event.
#pragma once

#include <vector>

#include "zelk/render/frame_stages.h"
#include "zelk/sequence/progress.h"

namespace zelk {

/// `renderer` has its scene and its host; the frames are those to be rendered.
RunFacts runFactsOf(FrameStages& renderer, std::vector<int> const& frames);

/// "FXTC 13.27": the host that the effect is told of.
std::string effectHostOf(FrameStages& renderer);

}  // namespace zelk
