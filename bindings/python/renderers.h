// Renderers of one scene that wait for their next frame, so that a second frame opens no module
// again and two threads have one each.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "zelk/render/frame_stages.h"
#include "zelk/scene/scene.h"

namespace zelk::python {

/// The scene as renders to memory take it: checked, without an output, inverted where it says so.
Scene preparedScene(Scene scene);

/// For several threads. What a process has opened is not for one that it forks: both would read by
/// the same descriptors, and end the same movie programs.
class Renderers {
public:
    ~Renderers() { leaveToParent(); }
    /// Forgets those that wait, and those under way when they come back: the scene has changed.
    void clear();
    std::uint64_t version() const { return m_version; }

    using Made = std::unique_ptr<FrameStages>;
    /// `version` is that of the scene.
    Made take(Scene const& scene, std::uint64_t version);
    void giveBack(Made renderer, std::uint64_t version);

private:
    void leaveToParent();

    std::mutex m_mutex;
    pid_t m_process = ::getpid();
    std::uint64_t m_version = 0;  ///< changes with the interpreter's lock held
    std::vector<Made> m_idle;
};

/// The number of threads of the engine on the calling thread, for the length of a scope; 0 leaves
/// the runtime's own. A process that is forked has lost the team of the thread that forked it, and
/// the runtime would wait for it for ever: that thread's number is 1 from then on. Other threads
/// begin with teams of their own.
class ThreadScope {
public:
    explicit ThreadScope(int threads);
    ~ThreadScope();
    ThreadScope(ThreadScope const&) = delete;
    ThreadScope& operator=(ThreadScope const&) = delete;

private:
    int m_before;
};

inline constexpr int kMostThreads = 1024;

}  // namespace zelk::python
