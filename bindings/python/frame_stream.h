// A scene's frames one after the other, made ahead of who takes them: a thread of its own reads,
// renders and stores, and waits when enough frames are held.
#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
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

private:
    struct Made {
        int frame;
        PictureBuffer picture;
        Sentences warnings;
    };

    void run(Scene const& scene, RunOptions const& options, int threads);
    void put(Made made);
    std::optional<Made> take();

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

void addFrameStream(pybind11::module_& module);

}  // namespace zelk::python
