// The three stages of many frames: what is read, rendered and written of each.
#pragma once

#include <atomic>
#include <cstdint>
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
#include "zelk/scene/render_request.h"
#include "zelk/sequence/schedule.h"

namespace zelk {

/// What passes from stage to stage.
struct LoadedFrame {
    World layer;
    std::optional<World> plate;
    std::optional<PictureReader> plateRows;  ///< a plate whose rows are read when they are needed
    WriteRequest file;
    ModuleRender ask;  ///< on the module road; each file has its own depth
};
struct RenderedFrame {
    World picture;
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

/// load and store work beside render, and only read what the constructor settled.
class SequenceRenderer {
public:
    /// Sizes are those of the first of `frames` whose files can be opened. Throws as renders do.
    /// `explanation`, which may be null, is filled on the way of a frame that is the only one.
    SequenceRenderer(RenderRequest const& request, Files const& files, Host& host, Comp const& comp,
                     std::vector<int> const& frames, Explanation* explanation);

    /// What `load` and `store` would refuse of a frame, as far as its files' headers, the output's
    /// place and its writer tell. Reads no pixels and writes nothing.
    void check(int frame);
    LoadedFrame load(int frame);
    RenderedFrame render(int frame, LoadedFrame loaded);
    void store(int frame, RenderedFrame const& rendered);
    /// After the last frame of a movie; false when `stop` was set before it was whole.
    bool finishMovie(std::atomic<bool> const& stop);

    Warnings& warnings() { return m_warnings; }

    /// Throws an input error where the frames in flight are more than the memory allows. On the
    /// module road `load` asks for the memory of each frame.
    void checkMemory() const;

private:
    bool isModule() const { return m_request.road == Road::kModule; }
    std::uint64_t bytesInFlight() const;
    void lap(char const* stage);
    void settleOutput(PictureTraits const& layer, PictureTraits const& plate, LoadedFrame& loaded);
    PinFrame pinFrameOf(ModuleRender const& ask) const;
    void plan(PinFrame const& frame, FrameRequest const& moment, Depth depth);
    World renderedByModule(LoadedFrame& loaded, FrameRequest const& moment);
    World renderedInMemory(LoadedFrame& loaded, FrameRequest const& moment);
    void storeInMovie(RenderedFrame const& rendered);
    void readSizes(std::vector<int> const& frames);
    World loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                    ModuleRender& ask);
    void loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits,
                   LoadedFrame& loaded);
    PictureReader openSized(InputPicture const& file, PixelSize size) const;

    RenderRequest const& m_request;
    Files const& m_files;
    Host& m_host;
    Comp m_comp;
    std::size_t m_inFlight;  ///< frames; with 1 of them nothing overlaps
    PixelSize m_layerSize, m_frameSize;
    PictureTraits m_layerTraits, m_plateTraits;  ///< also a black picture's
    ModuleRender m_ask;
    Warnings m_warnings;
    std::optional<MovieWriter> m_movie;
    bool m_isMovieChecked = false;
    Explanation* m_explanation;
};

}  // namespace zelk
