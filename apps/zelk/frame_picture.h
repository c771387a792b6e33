// One frame of a request as a picture in memory, whatever road it takes: for what is drawn over it.
#pragma once

#include "apps/zelk/cli_options.h"
#include "hostkit/comp.h"
#include "hostkit/host.h"

namespace zelk {

/// What a panel shows of a frame. Both are straight colour, in any depth.
struct FramePicture {
    World layer;     ///< the picture to pin, at full resolution
    World rendered;  ///< the frame: the layer's own, or the plate's
    FrameRequest moment;
    int startFrame = 0;  ///< of the composition
};

/// Sets the host's parameters and composition as a render of the request does, and renders that
/// frame at full resolution without Grow Bounds. Throws as renders do.
FramePicture framePicture(RenderRequest const& request, Host& host, int frameNumber);

}  // namespace zelk
