// A tracking file onto a host's pins by the effect's own import, as if its user had chosen the file
// in the effect's dialog.
#pragma once

#include <cstddef>

#include "hostkit/host.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Runs the effect's import onto the To or the From Pins, whose former keyframes go. A file of
/// another form than the import's is handed over in that form; one without a size is taken as the
/// import does it, scaled to `frame`, or, in another form, to be of that size. Pins of pictures of
/// another size than `frame` are scaled to `pinned`, the size of the pictures in whose pixels they
/// are. The number of keys that came up. Throws a render error when the effect fails or keys are
/// missing, and one about the scene's host where the effect has no import.
std::size_t importTrack(Host& host, Scene const& scene, TrackUse const& use, PixelSize frame,
                        PixelSize pinned);

}  // namespace zelk
