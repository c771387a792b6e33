// A tracking file onto a host's pins by the effect's own import, as if its user had chosen the file
// in the effect's dialog.
#pragma once

#include <filesystem>

#include "apps/zelk/cli_options.h"
#include "hostkit/comp.h"
#include "hostkit/host.h"

namespace zelk {

/// Runs the import onto the To or the From Pins, whose former keyframes go. `file` is in the
/// import's form; its frame numbers are those of the host's composition. `frame` is the size that a
/// file without one is scaled to, pixels. The number of keys that came up on the four pins. Throws
/// a render error when the effect fails.
std::size_t importTrack(Host& host, std::filesystem::path const& file, TrackedPins pins,
                        PixelSize frame);

}  // namespace zelk
