// Mattes of a frame: one that goes with the layer, in the layer's own pixels and multiplied into
// its alpha before it is pinned; and a holdout, what stands before the layer, in the frame's
// pixels, which takes its part away from the pinned layer. A black matte hides the layer, a black
// holdout nothing: so do they where a missing file is black.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/world.h"
#include "zelk/pictures/channel_plane.h"
#include "zelk/scene/inputs.h"

namespace zelk {

/// The space that a holdout is in.
struct HoldoutFrame {
    PixelSize size;         ///< of the display window
    PixelMargins overscan;  ///< rendered around it
};

/// Null without a matte. Throws an input error for one of another size than the layer, for a
/// channel that is not there, and as readers do. An alpha that nobody named and that is opaque
/// everywhere gets a warning: the matte was meant to be a colour.
std::shared_ptr<ChannelPlane const> matteOf(Scene const& scene, SceneFiles const& files, int frame,
                                            PixelSize layer, std::vector<std::string>& warnings);
/// The same of the holdout, over the frame with its overscan: null without one, and for a black
/// one. The file has the frame's size, its display window if it has one, or that of the whole.
std::shared_ptr<ChannelPlane const> holdoutOf(Scene const& scene, SceneFiles const& files,
                                              int frame, HoldoutFrame const& space,
                                              std::vector<std::string>& warnings);
/// What the two would throw, as far as headers tell.
void checkMattes(Scene const& scene, SceneFiles const& files, int frame, PixelSize layer,
                 HoldoutFrame const& space);

/// Takes `reduce` times reduced means of the plane, which lies in the picture's middle, away from
/// its alpha: times 1 - h, rounded once in the picture's own depth. `picture` is a part of the
/// whole, its upper left pixel at (left, top).
struct PartOf {
    PixelSize whole;
    int left = 0, top = 0;
};
void holdOut(World& picture, PartOf const& part, AlphaForm form, ChannelPlane const& holdout,
             int reduce);

/// Bytes that a frame's planes take.
std::uint64_t matteBytes(Scene const& scene, PixelSize layer, PixelSize frame);

/// "roto.exr:id.mask", for people.
std::string describe(SceneMatte const& matte);

}  // namespace zelk
