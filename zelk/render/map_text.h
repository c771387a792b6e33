// Maps of many frames as text: 3 x 3 matrices from layer pixels to frame pixels, and back.
#pragma once

#include <string>
#include <vector>

#include "zelk/render/quad_map.h"

namespace zelk {

struct FrameQuadMap {
    int frame = 0;
    QuadMap map;
};

/// One JSON object that names its conventions; a frame that draws nothing has no matrices.
std::string mapsAsJson(std::vector<FrameQuadMap> const& maps);
/// A line of conventions, a line of names, and a line a frame: its number, then `matrix` and
/// `inverse` row by row, nothing where nothing is drawn.
std::string mapsAsCsv(std::vector<FrameQuadMap> const& maps);

}  // namespace zelk
