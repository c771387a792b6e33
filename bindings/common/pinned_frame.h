// One frame for another host: its pictures and the values of the controls, through the effect's
// pipeline.
//
//   bytes    premultiplied or straight, as the host has them: the effect's 8-bit pipeline
//   shorts   the same in 16 bits, white 65535 to 32768 and back, each rounded once
//   floats, halves, and anything over a plate: float, premultiplied, with exact edges
//
// Pictures are read and written in place where they have the layout of an image of the engine and
// cover what is rendered; else through an image of our own. The whole of `image` is rendered,
// whatever window of it is written, so that the windows of a frame fit together bit for bit.
#pragma once

#include <functional>
#include <optional>

#include "bindings/common/host_picture.h"
#include "host/PluginHost_Memory_Impl.h"

namespace zelk::bindings {

/// Which rows of the output are written: all, or those of a field, which count upwards from the row
/// above y = 0, itself even.
enum class FieldRows { kAll, kEven, kOdd };

/// All places are pixels of one plane with y down, at the resolution of the render.
struct PinnedFrame {
    HostPicture source, output;
    PixelRect layer;   ///< the source's whole place; what its pixels don't cover is transparent
    PixelRect image;   ///< what is rendered
    PixelRect frame;   ///< what the To Offsets are hundredths of
    PixelRect window;  ///< what of the output is written
    FieldRows rows = FieldRows::kAll;
    /// Laid under the result, with the mode of Transfer Mode, None being Normal; without one a
    /// Transfer Mode lays the result over the source.
    std::optional<HostPicture> plate;
    double scale = 1;       ///< the lesser of both axes' downsample factors
    float frameAspect = 0;  ///< that Reposition turns in; 0: the image's own

    double time = 0;  ///< frames
    double framesPerSecond = 24;
    /// A control's value at a time in frames: points in pixels of the plane, popups from 0, colours
    /// from 0 to 1. Called on the calling thread.
    std::function<PluginHost_Memory_Impl::Value(int index, double time)> valueOf;
    std::function<bool()> isStopped;  ///< the user gave up; may be empty
    int threads = 0;                  ///< at most; 0: the runtime's own number
};

enum class PinnedResult { kDone, kStopped, kNoMemory, kFailed };

/// Renders the frame and writes the window; what of it lies outside of the image is cleared. Where
/// the result isn't kDone the window's content counts for nothing. Reads of the controls may throw;
/// nothing else does.
PinnedResult renderPinned(PinnedFrame const& frame);

}  // namespace zelk::bindings
