// One frame of a request as a picture in memory, whatever road it takes: for what is drawn over it.
#pragma once

#include "hostkit/comp.h"
#include "hostkit/host.h"
#include "zelk/scene/render_request.h"

namespace zelk {

/// Which of a frame's pictures a panel shows.
enum class FrameView {
    kRendered,  ///< the frame: the layer's own, or the plate's
    kLayer,     ///< the picture to pin, which then must have the frame's size
};

/// A frame as a panel shows it.
struct FramePicture {
    World picture;  ///< straight colour, in any depth
    FrameRequest moment;
    PixelSize frame;     ///< pixels
    int startFrame = 0;  ///< of the composition
};

/// Sets the host's parameters and composition as a render of the request does, and reads or renders
/// that frame at full resolution without Grow Bounds. Throws as renders do, and a usage error about
/// `--panel` for a layer of another size than the frame's.
FramePicture framePicture(RenderRequest const& request, Host& host, int frameNumber,
                          FrameView view);

}  // namespace zelk
