// Renderers of one scene that wait for their next frame, so that a second frame opens no module
// again and two threads have one each.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "zelk/render/frame_stages.h"
#include "zelk/scene/scene.h"

namespace zelk::python {

/// The scene as renders to memory take it: checked, without an output, inverted where it says so.
Scene preparedScene(Scene scene);

/// For several threads.
class Renderers {
public:
    /// Forgets those that wait, and those under way when they come back: the scene has changed.
    void clear();
    std::uint64_t version() const { return m_version; }

    using Made = std::unique_ptr<FrameStages>;
    /// `version` is that of the scene.
    Made take(Scene const& scene, std::uint64_t version);
    void giveBack(Made renderer, std::uint64_t version);

private:
    std::mutex m_mutex;
    std::uint64_t m_version = 0;  ///< changes with the interpreter's lock held
    std::vector<Made> m_idle;
};

/// The number of threads of the engine on the calling thread, for the length of a scope; 0 leaves
/// the runtime's own.
class ThreadScope {
public:
    explicit ThreadScope(int threads);
    ~ThreadScope();
    ThreadScope(ThreadScope const&) = delete;
    ThreadScope& operator=(ThreadScope const&) = delete;

private:
    int m_before;
};

/// Throws a usage error for a number of threads that is none.
void requireThreads(int threads);

}  // namespace zelk::python
