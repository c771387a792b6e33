// What passes between the stages of a frame, for runs that overlap them; see frame_renderer.h.
#pragma once

#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "hostkit/world.h"
#include "zelk/pictures/reader.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/module_road.h"

namespace zelk {

/// What was read of a frame.
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

}  // namespace zelk
