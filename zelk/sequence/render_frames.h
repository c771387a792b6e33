// `zelk render`: reading, rendering and writing of many frames overlap. A single picture is a
// sequence of one that tells no progress unless asked.
#pragma once

#include "zelk/render/run_options.h"
#include "zelk/scene/scene.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Renders every frame to its file, or with dryRun only tells on standard output what would be read
/// and written, and checks it as checkFrames does. Warnings and a summary go to standard error,
/// progress as asked; what a single picture's render did goes to standard output. The answer is 0;
/// 5 when some frames failed; 130 when interrupted. Throws when nothing can be rendered at all, and
/// for an input that is not there, after the frames before it.
ExitCode renderFrames(Scene const& scene, RunOptions const& run);

/// Finds what renderFrames would find before it reads pixels, in the same words and with the same
/// answer: inputs that are not there, are no pictures or of another size, places that take no file.
/// Writes nothing.
ExitCode checkFrames(Scene const& scene);

}  // namespace zelk
