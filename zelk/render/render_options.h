// How a frame is rendered and a preview made: what is no part of the scene.
#pragma once

#include <optional>
#include <string>

namespace zelk {

/// Pixels, half-open, y down.
struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;
};

/// How a preview is made. A reduced picture has frame / reduce pixels, truncated, of block means;
/// lengths that parameters give in pixels are reduced with it.
struct PreviewOptions {
    int reduce = 1;  ///< from 1, as long as a pixel is left
    /// Of the reduced picture, from its upper left corner, what lies within it; nothing: all.
    std::optional<PixelRect> part;
};

/// What changes no pixel.
struct RenderOptions {
    bool noClobber = false;    ///< an output that is there is an error
    bool inPlace = false;      ///< the output may be the own file of one of the inputs
    bool keepMetadata = true;  ///< of the inputs, in the output
    std::string history;       ///< of the output's metadata, such as a command line; empty: none
    int pngLevel = 1;          ///< compression of PNG, 0 to 9; changes no pixel
    int threads = 0;           ///< of the whole process; 0 for the runtime's own number
};

}  // namespace zelk
