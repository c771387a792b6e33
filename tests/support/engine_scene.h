// One render of the engine as a test describes it, and the call that makes it.
#pragma once

#include "Transform/Common/ResampleOptions.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/random_quads.h"

namespace zelk {

/// A pixel rectangle, all sides inclusive.
struct PixelRect {
    int left, top, right, bottom;
    int width() const { return right - left + 1; }
    int height() const { return bottom - top + 1; }
};

struct EngineScene {
    int frameWidth = 0, frameHeight = 0;  ///< what the pins are fractions of, pixels
    PixelRect window{};  ///< part of the frame that is rendered; the destination raster's size
    PixelRect source{};  ///< part of the source raster that may be read
    Quad from = kUnitSquare, to = kUnitSquare;
    int filter = 1;     ///< number in the filter list, 22 for super sampling
    int sizeIndex = 0;  ///< 0 to 3: 4, 6, 8 or 10 taps

    int quality() const { return filter == 22 ? 3 : filter < 2 ? filter : 2; }
    /// Whole rasters of these sizes.
    void setSizes(int width, int height, int sourceWidth, int sourceHeight) {
        frameWidth = width, frameHeight = height;
        window = {0, 0, width - 1, height - 1};
        source = {0, 0, sourceWidth - 1, sourceHeight - 1};
    }
};

struct EngineOptions {
    bool premiere = false;  ///< the host is Premiere Pro: no threads
    int threads = 0;        ///< of the OpenMP team; 0 leaves the default
    bool clearOutput = true;
    bool fill = false;  ///< the outline alone, as channel 0
    ResampleOptions const* resample = nullptr;
};

/// A scene with random quads, window and source rectangle. `largest` bounds both rasters' sides.
EngineScene randomScene(Random& random, int largest);

/// A source raster for the scene: noise from 0 to white in every channel. Float rasters hold no
/// numbers outside the source rectangle, so that one read there spoils a pixel.
GuardedRaster noiseSource(Random& random, EngineScene const& scene, QV_RasterFormat format,
                          int paddingBytes = 0);

/// Renders the scene into a raster of the window's size. Fails the running test if the engine's
/// result isn't 0 or a guard byte of either raster changed.
GuardedRaster renderScene(EngineScene const& scene, GuardedRaster const& source,
                          EngineOptions const& options = {}, int paddingBytes = 0);

}  // namespace zelk
