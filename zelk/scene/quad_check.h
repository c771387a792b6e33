// Tells the user beforehand which pins the effect will not draw, and why.
//
// The pins are fractions of the frame, offsets added. Which quads count depends on the view: the
// From quad where it is mapped away, the To quad where the picture is put into it.
#pragma once

#include <string>
#include <vector>

#include "Transform/Common/Transform_Core_Render/PassPlan.h"
#include "hostkit/parameters.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/tracks/corners.h"
#include "zelk/tracks/quad_fault.h"

namespace zelk {

/// The images that pins are fractions of, pixels at the render's resolution.
struct PinFrame {
    int layerWidth = 0, layerHeight = 0;  ///< of From Pins
    int frameWidth = 0, frameHeight = 0;  ///< of To Pins
    Reduction reduction;
    int marginX = 0, marginY = 0;  ///< Grow Bounds, around both
    PixelMargins overscan = {};    ///< around the frame alone
    /// The image that is rendered.
    PixelSize whole() const {
        return PixelSize{frameWidth, frameHeight} +
               PixelMargins{marginX, marginY, marginX, marginY} + overscan;
    }
};

/// The quads as the effect uses them: fractions of their images, margins included, offsets added.
struct PinQuads {
    Corners from, to;
    DrawnPasses passes;  ///< what the view makes of them
};
PinQuads pinQuads(std::vector<Parameter> const& parameters, PinFrame const& frame);

/// The engine's order: upper left, lower left, upper right, lower right.
void toPinOrder(Corners const& corners, QV_UnitPoint (&pins)[4]);
Reposition repositionOf(std::vector<Parameter> const& parameters);

/// Why nothing will be drawn with the parameters' current values; empty when something will be.
std::string unusablePins(std::vector<Parameter> const& parameters, PinFrame const& frame);

}  // namespace zelk
