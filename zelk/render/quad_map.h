// QuadMap: the plane map between a layer and its frame that a render draws by, for programs that
// draw themselves.
//
// Space of both sides: pixels, y down, 0,0 the outer corner of the upper left pixel, so that pixel
// centres lie at .5. Of a grown frame the pixels count from the corner that it has without its
// margin. Points are column vectors, matrices row-major:
//   x' = (m[0] x + m[1] y + m[2]) / (m[6] x + m[7] y + m[8]),  y' likewise with m[3], m[4], m[5]
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "Transform/Common/ResampleOptions.h"
#include "hostkit/frame_request.h"
#include "hostkit/parameters.h"
#include "hostkit/world.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/scene/quad_check.h"

namespace zelk {

/// Scaled so that m[8] is 1, where it is not 0.
using PlaneMatrix = std::array<double, 9>;

/// Nothing for a point on the horizon.
std::optional<Point> mapped(PlaneMatrix const& matrix, Point const& point);

struct QuadMap {
    bool isDrawn = true;     ///< false: the pins are unusable, nothing is drawn and nothing maps
    PixelSize layer, frame;  ///< without margins
    PlaneMatrix toFrame{}, toLayer{};
};

/// The map of the parameters' current values: all passes of the view one after the other, offsets,
/// Reposition and the texture of each quality as the engine lays them. Quality Low stretches its
/// texture between the centres of the first and last pixels but one; of layers below 3 pixels a
/// side its map is that of the other qualities.
QuadMap mapOf(std::vector<Parameter> const& parameters, PinFrame const& frame,
              ResampleOptions const& resample);

/// The map as an ST map, a float world of the frame's size that a file of associated colour holds
/// as it stands. Red and green are where in the layer the pixel's centre looks, parts of its width
/// from the left and of its height from the bottom; blue is 0, alpha the coverage that the render
/// gives an opaque layer at that moment. Where that is 0, all is.
World stPictureOf(QuadMap const& map, std::vector<Parameter> const& parameters,
                  FrameRequest const& moment, ResampleOptions const& resample);

}  // namespace zelk
