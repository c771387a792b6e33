// FrameRenderer: a scene's frames, to memory or to their files.
//
//   FrameRenderer renderer(scene);
//   World picture = renderer.picture(1001);
//
// A run over many frames takes the three stages apart, so that they overlap: load reads, render
// computes, store writes. load, check and store may be called on other threads than render; render
// is for one thread at a time, as the module is. Renderers share nothing: several may work in one
// process, each on a thread of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "hostkit/host.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/explanation.h"
#include "zelk/render/module_road.h"
#include "zelk/render/run_options.h"
#include "zelk/scene/scene.h"
#include "zelk/scene/scene_inputs.h"

namespace zelk {

/// How a preview is made. A reduced picture has frame / reduce pixels, truncated, of block means;
/// lengths that parameters give in pixels are reduced with it on the module road alone.
struct PreviewOptions {
    int reduce = 1;
    std::optional<PF_LRect> part;  ///< of the reduced picture, pixels, half-open; nothing: all
};

/// What passes from stage to stage.
struct LoadedFrame {
    World layer;
    std::optional<World> plate;
    std::optional<PictureReader> plateRows;  ///< a plate whose rows are read when they are needed
    WriteRequest file;
    ModuleRender ask;  ///< on the module road; each file has its own depth
    int reduce = 1;
};
struct RenderedFrame {
    World picture;  ///< straight colour on the module road, associated in float on the other
    WriteRequest file;
};

/// Sentences that are told once, whatever frame they come from; for several threads.
class Warnings {
public:
    void add(std::vector<std::string> const& sentences);
    std::vector<std::string> take();

private:
    std::mutex m_mutex;
    std::set<std::string> m_seen;
    std::vector<std::string> m_new;
};

class FrameRenderer {
public:
    /// Loads the module and refuses what it can't hold, before any picture is touched. The scene is
    /// one that checkScene passes. `explanation`, which may be null, is filled on the way of a
    /// frame that is the only one. Throws UserError.
    explicit FrameRenderer(Scene scene, RunOptions run = {}, Explanation* explanation = nullptr);

    Scene const& scene() const { return m_scene; }
    SceneFiles const& files() const { return m_files; }
    /// The module in its host, with the scene's values after begin.
    Host& host() { return *m_host; }

    /// Settles sizes, composition and values for these frames, in any order; sizes are those of the
    /// first of them whose files can be opened. Throws an input error for files, and what imports
    /// and values refuse.
    void begin(std::vector<int> const& frames);
    // After begin:
    PixelSize layerSize() const { return m_layerSize; }  ///< pixels at full resolution
    PixelSize frameSize() const { return m_frameSize; }  ///< the same, without Grow Bounds
    FrameRequest momentOf(int frame) const;
    Warnings& warnings() { return m_warnings; }

    /// The frame in straight colour: in the scene's depth on the module road, in float on the
    /// other. Calls begin where that is due. Throws an input error for a picture that is not there,
    /// a render error when the effect fails, and `interrupted` after stop().
    World picture(int frame, PreviewOptions const& options = {});
    /// The layer alone, as its file has it.
    World layerPicture(int frame);

    /// From any thread: the picture under way ends with an error at its next stage.
    void stop() { m_isStopped = true; }
    /// Is told of each stage that has ended: "read", "render", "plate", "write".
    void onStage(std::function<void(char const* stage)> listener) {
        m_listener = std::move(listener);
    }

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
    bool isModule() const { return m_scene.roadTaken() == Road::kModule; }
    std::uint64_t bytesInFlight() const;
    void endStage(char const* stage);
    void settleOutput(PictureTraits const& layer, PictureTraits const& plate, LoadedFrame& loaded);
    PinFrame pinFrameOf(ModuleRender const& ask, int reduce) const;
    void plan(PinFrame const& frame, FrameRequest const& moment, Depth depth);
    World renderedByModule(LoadedFrame& loaded, FrameRequest const& moment);
    World renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment);
    void storeInMovie(RenderedFrame const& rendered);
    void readSizes(std::vector<int> const& frames);
    World loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                    LoadedFrame& loaded);
    void loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits,
                   LoadedFrame& loaded);
    PictureReader openSized(InputPicture const& file, PixelSize size) const;

    Scene m_scene;
    RunOptions m_run;
    std::unique_ptr<Host> m_host;
    SceneFiles m_files;
    Comp m_comp;
    std::vector<int> m_frames;   ///< of begin
    std::size_t m_inFlight = 1;  ///< frames; with 1 of them nothing overlaps
    PixelSize m_layerSize, m_frameSize;
    PictureTraits m_layerTraits, m_plateTraits;  ///< also a black picture's
    ModuleRender m_ask;
    Warnings m_warnings;
    std::optional<MovieWriter> m_movie;
    bool m_isMovieChecked = false;
    Explanation* m_explanation;
    std::function<void(char const* stage)> m_listener;
    std::atomic<bool> m_isStopped{false};
};

}  // namespace zelk
