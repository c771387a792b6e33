// The run and its queue; see frame_stream.h.
#include "bindings/python/frame_stream.h"

#include <chrono>
#include <utility>

#include "bindings/python/arrays.h"
#include "bindings/python/gil.h"
#include "bindings/python/values.h"
#include "zelk/render/host_errors.h"
#include "zelk/sequence/pipeline.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/errors.h"

namespace py = pybind11;

namespace zelk::python {

FrameStream::FrameStream(SceneObject const& scene, std::optional<std::string> const& frames,
                         int threads, int inFlight)
    : m_form(scene.form()), m_keepsAxis(scene.keepsAxis()) {
    RunOptions options;
    options.inFlight = inFlight;
    m_thread = std::thread([this, threads, options, own = manyFrames(scene.scene(), frames)] {
        try {
            withUserErrors([&] { run(own, options, threads); });
        } catch (...) {
            std::lock_guard const lock(m_mutex);
            m_error = std::current_exception();
        }
        std::lock_guard const lock(m_mutex);
        m_isEnded = true;
        m_changed.notify_all();
    });
}

void FrameStream::run(Scene const& scene, RunOptions const& options, int threads) {
    ThreadScope const team(threads);
    FrameStages stages(scene, options);
    stages.roundLast();
    Schedule const schedule = scheduleOf(scene, options, stages.files());
    if (!schedule.frames.empty()) {
        stages.begin(schedule.frames);
        stages.checkMemory();
        PipelineOptions how;
        how.inFlight = static_cast<std::size_t>(options.inFlight);
        how.stopAtFirstFailure = true;
        how.stop = &m_stop;
        PipelineResult const result = runFrames(
            schedule.frames, how, [&](int frame) { return stages.load(frame, 1, false); },
            [&](int frame, LoadedFrame&& loaded) {
                return stages.render(frame, std::move(loaded));
            },
            [&](int frame, RenderedFrame&& done) {
                PictureBuffer picture = stages.stored(std::move(done), m_form);
                put({frame, std::move(picture), stages.warnings().take()});
            });
        if (!result.failed.empty())
            throw UserError(result.failed.front().code, result.failed.front().message);
    }
    if (schedule.missingFrame && !m_stop)
        throw stages.files()
            .missingOf(*schedule.missingFrame)
            .missing(*schedule.missingFrame)
            .error();
}

/// One waits to be taken at a time: the others are counted by the pipeline.
void FrameStream::put(Made made) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stop || m_made.empty(); });
    if (m_stop) return;
    m_made.push_back(std::move(made));
    m_changed.notify_all();
}

/// The interpreter's signals are looked at ten times a second.
std::optional<FrameStream::Made> FrameStream::take() {
    for (;;) {
        {
            Unlocked const unlocked;
            std::unique_lock lock(m_mutex);
            m_changed.wait_for(lock, std::chrono::milliseconds(100),
                               [this] { return m_isEnded || !m_made.empty(); });
            if (!m_made.empty()) {
                Made made = std::move(m_made.front());
                m_made.pop_front();
                m_changed.notify_all();
                return made;
            }
            if (m_isEnded) return std::nullopt;
        }
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    }
}

py::tuple FrameStream::next() {
    if (isForeign())
        throw UserError(ExitCode::kRenderFailed,
                        "these frames are made in the process that this one was forked from: call "
                        "`frames` again");
    if (auto made = take())
        return py::make_tuple(made->frame, arrayOf(made->picture, m_keepsAxis),
                              listOf(made->warnings));
    if (m_error) std::rethrow_exception(std::exchange(m_error, nullptr));
    throw py::stop_iteration();
}

/// Buffers of the scene may take the interpreter's lock as they go.
void FrameStream::close() {
    if (isForeign()) return;
    Unlocked const unlocked;
    {
        std::lock_guard const lock(m_mutex);
        m_stop = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable()) m_thread.join();
    std::lock_guard const lock(m_mutex);
    m_made.clear();
}

void addFrameStream(py::module_& module) {
    py::class_<FrameStream, FrameStreamHolder>(module, "FrameStream")
        .def("next", &FrameStream::next)
        .def("close", &FrameStream::close);
}

}  // namespace zelk::python
