// `zelk overlay`: a frame with the effect's overlay drawn on it, as a host's panel shows it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/cli_options.h"
#include "hostkit/panel.h"

namespace zelk {

/// A checked `zelk overlay`. The request's output is the picture to be written.
struct OverlayRequest {
    RenderRequest render;
    std::optional<int> frame;  ///< nothing: the composition's first
    PF_WindowType panel = PF_Window_COMP;
    double zoom = 1;
    int marginPx = 0;  ///< around what the panel shows, panel pixels
};

/// The frame that a command about one frame means: the one given, else the project's first, else
/// the track's, else the first of --frames, else 1.
int frameOf(RenderRequest const& request, std::optional<int> frame);

/// Writes the picture; warnings, a sentence each. Throws as renders do.
std::vector<std::string> writeOverlay(OverlayRequest const& request);

}  // namespace zelk
