// Footprints: an output pixel as the integral of the source over the area that it covers there.
//
// clang-format off
//
//   output pixel      source pixels (texels)       One step to the right on the screen moves (ux, vx)
//    +---+               .------.                  in the source, one step down (uy, vy): the pixel
//    | . |    ---->     /  .   /                   covers the parallelogram that they span around its
//    +---+             '------'                    centre (u, v).
//
// clang-format on
//
// The integral is a mean of n by m samples of an interpolated source, spread over the
// parallelogram. Where the picture grows a side is shorter than a texel: one sample is taken, and
// the picture stays as sharp as the interpolation. Just above 1 the interpolation widens until it
// is as wide as the footprint (in variance), then samples take over: nothing jumps, so that no seam
// shows where the map's scale passes a number. Large footprints sample a pyramid of halved images,
// so that a pixel costs at most some hundred samples, or a sliver's some thousand.
//
// The interpolation has six taps a side, the least mean error for photographs among weights that
// keep straight lines (FootprintTaps.h): positions are exact, and a highlight's halo ends after
// three texels. Widened, it is a mixture of that and of the cubic B-spline, whose variance is that
// of a box of 2 texels.
//
// Space: as PixelSampling.h; texel centres have whole coordinates. Images are float, four channels,
// colour times alpha. Sums in float: over rows, times the column's weight, over the samples, over
// the columns; vector code gives the same bits.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Transform/Common/PixelMemory.h"
#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/ScreenPlane.h"

/// Where an output pixel looks, in source pixels: its centre, and how that moves per output column
/// and row.
struct Footprint {
    double u, v;
    double ux, vx;
    double uy, vy;
};

/// The source and its halves: level l has texels of 2^l source pixels a side, each their mean;
/// beyond the right and lower borders the border repeats.
class FootprintSource {
public:
    struct Level {
        float const* pixels;
        std::ptrdiff_t rowFloats;
        std::int32_t width, height;
    };

    /// The settings' source rectangle, whose pixels stay the caller's, and `levels` levels, fewer
    /// where the last one is a single texel. Without levels() when there is no memory.
    FootprintSource(RenderSettings const& settings, int levels);
    /// The levels that a footprint asks for, at least 1.
    static int levelsFor(Footprint const& footprint);

    /// At least the source itself, from the finest on.
    std::vector<Level> const& levels() const { return m_levels; }
    std::int32_t left() const { return m_left; }
    std::int32_t top() const { return m_top; }

private:
    bool addLevel();

    std::vector<Level> m_levels;
    std::vector<PixelMemory> m_memory;
    std::int32_t m_left, m_top;
};

/// The samples of one footprint, in texels of a level.
struct FootprintSamples {
    std::int32_t level;
    std::int32_t columns, rows;  ///< along the step to the right and the one down
    double x, y;                 ///< of the first sample
    double columnX, columnY;     ///< from one sample to the next
    double rowX, rowY;
    float splineX, splineY;  ///< share of the B-spline in the kernel, 0 to 1
    float scale;             ///< 1 over the number of samples
};

FootprintSamples samplesOf(FootprintSource const& source, Footprint const& footprint);

/// The means of `count` footprints, four channels each. The vector twin gives the same bits.
void sampleFootprints(FootprintSource const& source, FootprintSamples const* samples, int count,
                      float* out);
void sampleFootprintsSimd(FootprintSource const& source, FootprintSamples const* samples, int count,
                          float* out);

/// What the footprint line functions read beside the settings, as RenderSettings::footprint.
struct FootprintContext {
    FootprintSource source;
    ScreenPlane plane;  ///< of the polygon that is scanned
};

/// Footprint of a screen position: perspective-correct position and its derivatives.
Footprint footprintAt(ScreenPlane const& plane, double sx, double sy);

/// Alpha, which negative weights may carry beyond 0 or 1, within them; and 1 where it is that but
/// for the rounding of weights, 2e-6, so that an opaque picture hides what lies behind it.
inline float limitedAlpha(float alpha) {
    constexpr float kOpaque = 1 - 4e-6f;
    return alpha > kOpaque ? 1 : std::max(alpha, 0.0f);
}

/// The interior's line function, for float images of four channels; alpha is limited.
void footprintFunc(void* settings, LineRenderStruct* line);
