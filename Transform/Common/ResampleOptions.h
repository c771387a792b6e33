// ResampleOptions: what a caller of the pipeline may ask of the resampling beyond the effect's own
// controls: exact edges, a kernel by name, a footprint for every pixel, a lens map.
//
// A host binding hands it out (PluginHost_API::resampleOptions); the pipeline passes it on to the
// passes, and the engine reads it. Hosts without it get the effect's own resampling, bit for bit.
// Only float images of four channels are resampled in another way; the record owns no memory.
#pragma once

#include <cstdint>

struct FrameMap;  // FrameMap.h

/// Where coverage at the outline comes from.
enum class EdgeCoverage : std::int32_t {
    kGrid,   ///< the area scan's 16 by 512 cells
    kExact,  ///< the area of the pixel inside the outline
};

/// A reconstruction kernel instead of the one that Quality means.
struct KernelChoice {
    std::int32_t filter = -1;    ///< number in the filter list; below 0: Quality's
    std::int32_t sizeIndex = 0;  ///< 0 to 3: 4, 6, 8 or 10 taps
    double paramB = 0.333, paramC = 0.333;
};

struct ResampleOptions {
    EdgeCoverage edges = EdgeCoverage::kGrid;
    KernelChoice kernel;
    /// Every output pixel integrates the source over its own footprint; Quality and kernel then
    /// choose nothing.
    bool integratesFootprint = false;
    /// From a pixel of the frame to where it looks in the frame that the pins stand in; null:
    /// itself. Of the pass that draws the frame alone.
    FrameMap const* map = nullptr;
    /// Along the outline, in output pixels: the width of a soft edge, half on each side, and how
    /// far the outline moves inward. Exact edges only.
    double featherPx = 0, chokePx = 0;
    /// Width over height that Reposition's Rotate turns in, of a frame within a larger image; 0:
    /// the image's own.
    float frameAspect = 0;
    /// Rows of the frame that are wanted, and of those the pixels before `wantedRight`; neither end
    /// is among them, all others are anything. The exact scan heeds it, in the pass that draws the
    /// frame. No rows stand for all of the frame. There is no left end: where a run starts decides
    /// how its positions round.
    std::int32_t wantedTop = 0, wantedEnd = 0, wantedRight = 0;
};
