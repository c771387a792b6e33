// The memory road: the effect's pipeline over plain float buffers, for a layer of any size in a
// frame of any size.
//
// Colour is associated throughout: the layer comes so, the frame leaves so. The pipeline runs as on
// a host that keeps premultiplied colour. To Pins are in frame pixels, From Pins in layer pixels.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Transform/Common/ResampleOptions.h"
#include "hostkit/frame_request.h"
#include "hostkit/parameters.h"
#include "hostkit/world.h"
#include "zelk/color/color_transform.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/pictures/reader.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// A float world with the whole picture in associated colour.
World readAssociatedWorld(PictureReader& picture);

/// Sizes that points are fractions of, at full resolution: From Pins of the layer, all others of
/// the frame. Around the frame the image may have margins, which change no point's place in it.
struct ImageSizes {
    PixelSize layer, frame;
    PixelMargins overscan = {};
};

/// Renders `layer` by the parameters' values at a moment into `frame`, both float worlds of
/// associated colour, perhaps smaller than their full sizes; what the layer does not cover becomes
/// transparent. `resample` is what is asked of the resampling beyond the parameters. Throws a
/// render error when the pipeline fails, and where
/// `isStopped`, asked between samples of motion blur, says so. The layer stays as it is.
void renderInMemory(std::vector<Parameter> const& parameters, World& layer, World& frame,
                    ImageSizes const& full, FrameRequest const& moment,
                    std::string const& layerName, ResampleOptions const& resample = {},
                    std::function<bool()> const& isStopped = {});

/// Lays `frame` over the plate, which has its size, by a PF_Xfer_* mode; both and the result are
/// associated. Normal is f + p (1 - alpha of f) in each channel, f alone where that alpha is 1 but
/// for the rounding of a kernel's weights.
/// Other modes blend straight colour by the effect's own arithmetic; where the frame is transparent
/// the plate stays as it is. The plate's rows are read as they are needed, and converted where
/// `toWork` is not null.
void layOver(World& frame, PictureReader& plate, ColorTransform const* toWork, int mode);
/// The same over a plate in memory, whose pixel (left, top) lies under the frame's first one.
void layOver(World& frame, World const& plate, int mode, int left = 0, int top = 0);

}  // namespace zelk
