// `zelk render` over many frames: reading, rendering and writing overlap.
#pragma once

#include "zelk/scene/render_request.h"
#include "zelk/text/exit_codes.h"

namespace zelk {

/// Renders every frame to its file, or with dryRun only tells on standard output what would be read
/// and written. Warnings and a summary go to standard error, progress as asked. The answer is 0; 5
/// when some frames failed; 130 when interrupted. Throws when nothing can be rendered at all, and
/// for an input that is not there, after the frames before it.
ExitCode renderSequence(RenderRequest const& request);

}  // namespace zelk
