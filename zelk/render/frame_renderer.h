// FrameRenderer: a scene's frames, to memory or to their files.
//
//   FrameRenderer renderer(scene);
//   PictureBuffer picture = renderer.picture(1001);
//
// A renderer is for one thread at a time, but for stop. Several may work in one process, each on a
// thread of its own. What they share is the process's: libraries are kept from standard error while
// they work, and until an output is in place a signal that ends the process removes it.
//
// All errors are UserError (text/errors.h).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zelk/render/render_options.h"
#include "zelk/scene/scene.h"

namespace zelk {

class FrameStages;  // what a renderer is made of, for code within the library

class FrameRenderer {
public:
    /// Loads the effect's module and refuses values that it can't hold, before any picture is
    /// touched. The scene is copied; it is one that checkScene passes.
    explicit FrameRenderer(Scene scene, RenderOptions const& options = {});
    ~FrameRenderer();
    FrameRenderer(FrameRenderer const&) = delete;
    FrameRenderer& operator=(FrameRenderer const&) = delete;

    /// Of an inverted scene, the one that renders it (invert.h).
    Scene const& scene() const;

    /// The frame in straight colour, red, green, blue, alpha, whose pixels belong to the caller: in
    /// the scene's depth on the module road, in float on the other. Throws an input error for a
    /// picture that is not there, a render error when the effect fails, and one with
    /// ExitCode::kInterrupted after stop(). In the working colour space, or that of output-color.
    PictureBuffer picture(int frame, PreviewOptions const& options = {});
    /// The frame to the scene's output, which must be given: one file for a frame of many; its own
    /// layer or plate only with inPlace. A movie takes frames in order, and is whole after
    /// finishMovie; its sound is that of the frames of begin. Throws as picture, and an output
    /// error for a place that takes no file.
    void write(int frame);
    void finishMovie();

    /// Settles sizes and values for these frames, at least one, in any order; sizes are those of
    /// the first of them whose files can be opened. picture and write do the same for one frame
    /// where it is due. Only a scene without a composition depends on it: it lasts from the first
    /// of the frames to the last.
    void begin(std::vector<int> const& frames);
    // After begin, or a frame:
    PixelSize layerSize() const;  ///< pixels at full resolution
    PixelSize frameSize() const;  ///< the same, without Grow Bounds and overscan
    /// The scene without tracks and edits, with the values that they came to: writeScene takes it.
    Scene settledScene() const;

    /// From any thread: the picture under way ends with an error at its next stage, and no other is
    /// made.
    void stop();
    /// Is called for each stage that has ended: "read", "render", "plate", "write"; set it before
    /// the first one.
    void onStage(std::function<void(char const* stage)> listener);
    /// Warnings that came up since the last call, a sentence each, none twice.
    std::vector<std::string> takeWarnings();

private:
    std::unique_ptr<FrameStages> m_stages;
};

}  // namespace zelk
