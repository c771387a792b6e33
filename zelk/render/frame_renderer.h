// FrameRenderer: a scene's frames, to memory or to their files.
//
//   FrameRenderer renderer(scene);
//   PictureBuffer picture = renderer.picture(1001);
//
// A run over many frames takes the three stages apart, so that they overlap: load reads, render
// computes, store writes. load, check and store may be called on other threads than render; render
// is for one thread at a time, as the module is. Several renderers may work in one process, each on
// a thread of its own. What they share is the process's: libraries are kept from standard error
// while they work, and until an output is in place a signal that ends the process removes it.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zelk/render/run_options.h"
#include "zelk/scene/scene.h"

namespace zelk {

class Host;            // hostkit/host.h
struct Explanation;    // explanation.h
struct LoadedFrame;    // frame_stages.h
struct RenderedFrame;  // frame_stages.h
struct SceneFiles;     // scene/inputs.h

/// Pixels, half-open, y down.
struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;
};

/// How a preview is made. A reduced picture has frame / reduce pixels, truncated, of block means;
/// lengths that parameters give in pixels are reduced with it on the module road alone.
struct PreviewOptions {
    int reduce = 1;
    /// Of the reduced picture, from its upper left corner, what lies within it; nothing: all.
    std::optional<PixelRect> part;
};

class FrameRenderer {
public:
    /// Loads the module and refuses what it can't hold, before any picture is touched. The scene is
    /// one that checkScene passes. `explanation`, which may be null, is filled on the way of a
    /// frame that is the only one. Throws UserError.
    explicit FrameRenderer(Scene scene, RunOptions run = {}, Explanation* explanation = nullptr);
    ~FrameRenderer();
    FrameRenderer(FrameRenderer const&) = delete;
    FrameRenderer& operator=(FrameRenderer const&) = delete;

    Scene const& scene() const;

    /// The frame in straight colour, red, green, blue, alpha: in the scene's depth on the module
    /// road, in float on the other. Calls begin where that is due. Throws an input error for a
    /// picture that is not there, a render error when the effect fails, and one with
    /// ExitCode::kInterrupted after stop().
    PictureBuffer picture(int frame, PreviewOptions const& options = {});
    /// The frame to the scene's output, which must be given: one file for a frame of many; its own
    /// layer or plate only with inPlace. A movie takes frames in order, and is whole after
    /// finishMovie.
    void write(int frame);

    /// From any thread: the picture under way ends with an error at its next stage, and no other is
    /// made.
    void stop();
    /// Is told of each stage that has ended: "read", "render", "plate", "write". On the thread of
    /// the stage; set it before the first one.
    void onStage(std::function<void(char const* stage)> listener);
    /// What there is to tell so far, a sentence each, told once.
    std::vector<std::string> takeWarnings();

    /// Settles sizes, composition and values for these frames, in any order; sizes are those of the
    /// first of them whose files can be opened; at least one. Throws an input error for files, and
    /// what imports and values refuse.
    void begin(std::vector<int> const& frames);
    /// The same for one frame, whose pictures must be there, unless it is among those already.
    void beginAt(int frame);
    /// The same for who changes values and renders nothing: a picture that can't be opened has the
    /// composition's size.
    void beginEdit(int frame);
    // After begin:
    PixelSize layerSize() const;  ///< pixels at full resolution
    PixelSize frameSize() const;  ///< the same, without Grow Bounds
    FrameRequest momentOf(int frame) const;

    // For code within the library: what stands behind, and the stages.
    SceneFiles const& files() const;
    Host& host();  ///< the module in its host, with the scene's values after begin
    /// The scene with the values that the host has now, as its file has them (sceneOf).
    Scene editedScene() const;
    World world(int frame, PreviewOptions const& options = {});  ///< picture, as a world
    World layerWorld(int frame);                                 ///< the layer alone, straight

    /// What `load` and `store` would refuse of a frame, as far as its files' headers, the output's
    /// place and its writer tell. Reads no pixels and writes nothing.
    void check(int frame);
    LoadedFrame load(int frame, int reduce = 1);
    RenderedFrame render(int frame, LoadedFrame loaded);
    void store(int frame, RenderedFrame const& rendered);
    /// After the last frame of a movie; false when `stop` was set before it was whole.
    bool finishMovie(std::atomic<bool> const& stop);
    /// Throws an input error where the frames in flight are more than the memory allows. On the
    /// module road `load` asks for the memory of each frame.
    void checkMemory() const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace zelk
