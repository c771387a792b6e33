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
#include "zelk/render/module_road.h"
#include "zelk/scene/render_request.h"
#include "zelk/sequence/input_files.h"

namespace zelk {

/// What passes from stage to stage.
struct LoadedFrame {
    World layer;
    std::optional<World> plate;
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
    SequenceRenderer(RenderRequest const& request, Files const& files, Host& host, Comp const& comp,
                     std::vector<int> const& frames);

    LoadedFrame load(int frame);
    RenderedFrame render(int frame, LoadedFrame loaded);
    void store(int frame, RenderedFrame const& rendered);
    /// After the last frame of a movie; false when `stop` was set before it was whole.
    bool finishMovie(std::atomic<bool> const& stop);

    Warnings& warnings() { return m_warnings; }

    /// Bytes that a frame holds on its way, and those of the one that is being rendered.
    std::uint64_t bytesInFlight() const;

private:
    bool isModule() const { return m_request.road == Road::kModule; }
    void storeInMovie(RenderedFrame const& rendered);
    void readSizes(std::vector<int> const& frames);
    void requireSize(InputPicture const& file, PictureReader const& picture, PixelSize size) const;
    World loadLayer(std::optional<InputPicture> const& file, PictureTraits& traits,
                    ModuleRender& ask);
    World loadPlate(std::optional<InputPicture> const& file, PictureTraits& traits);

    RenderRequest const& m_request;
    Files const& m_files;
    Host& m_host;
    Comp m_comp;
    PixelSize m_layerSize, m_frameSize;
    PictureTraits m_layerTraits, m_plateTraits;  ///< also a black picture's
    ModuleRender m_ask;
    Warnings m_warnings;
    std::optional<MovieWriter> m_movie;
};

}  // namespace zelk
