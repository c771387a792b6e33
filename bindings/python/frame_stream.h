// A scene's frames one after the other, made ahead of who takes them: a thread of its own reads,
// renders and stores, and waits when enough frames are held.
#pragma once

#include <pybind11/pybind11.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "bindings/python/scene_object.h"

namespace zelk::python {

class FrameStream {
public:
    /// `inFlight` frames are held at a time, what waits to be taken among them.
    FrameStream(SceneObject const& scene, std::optional<std::string> const& frames, int threads,
                int inFlight);
    ~FrameStream() { close(); }
    FrameStream(FrameStream const&) = delete;
    FrameStream& operator=(FrameStream const&) = delete;

    /// Frame, array, warnings; StopIteration after the last one. Throws what ended the run, after
    /// the frames before it.
    pybind11::tuple next();
    /// Ends the run; frames that were not taken go.
    void close();
    /// Whether this is its copy in a process that was forked: the thread is the parent's, and
    /// nothing that waits for it, not even the destructor, comes to an end.
    bool isForeign() const { return m_process != ::getpid(); }

private:
    struct Made {
        int frame;
        PictureBuffer picture;
        Sentences warnings;
    };

    void run(Scene const& scene, RunOptions const& options, int threads);
    void put(Made made);
    std::optional<Made> take();

    pid_t m_process = ::getpid();
    StoredForm m_form;
    bool m_keepsAxis;
    std::atomic<bool> m_stop = false;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Made> m_made;
    bool m_isEnded = false;
    std::exception_ptr m_error;
    std::thread m_thread;
};

struct DeleteOwn {
    void operator()(FrameStream* stream) const {
        if (!stream->isForeign()) delete stream;
    }
};
using FrameStreamHolder = std::unique_ptr<FrameStream, DeleteOwn>;

void addFrameStream(pybind11::module_& module);

}  // namespace zelk::python
