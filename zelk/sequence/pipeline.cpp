// Three threads that follow one another through the frames; see pipeline.h.
//
// Three counters say how many frames have left each stage; stored <= rendered <= loaded and
// loaded <= stored + slots. A stage waits until the one before it is a frame ahead (the reader:
// until a slot is free), or until the run ends. Every change of a counter or of the end is made
// under the one mutex and wakes all, so no wake-up is lost; whoever leaves early sets the end, so
// nobody waits for a stage that is gone. A slot belongs to the stage whose turn it is. Until the
// end one stage at least is at work, so the stop flag, which wakes nobody, is seen when that work
// is done.
#include "zelk/sequence/pipeline.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "Transform/Common/PixelMemory.h"
#include "zelk/files/output_place.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// Calls `work`; what it threw, in words.
template <class Work>
std::optional<FrameFailure> failureOf(int frame, Work const& work) {
    try {
        work();
        return std::nullopt;
    } catch (FullDisk const& error) {
        return FrameFailure{frame, error.what(), error.code(), true};
    } catch (UserError const& error) {
        return FrameFailure{frame, error.what(), error.code()};
    } catch (std::exception const& error) {
        return FrameFailure{frame, error.what(), ExitCode::kRenderFailed};
    } catch (...) {
        return FrameFailure{frame, "unknown failure", ExitCode::kRenderFailed};
    }
}

class Pipeline {
public:
    Pipeline(std::vector<int> const& frames, PipelineOptions const& options,
             SlotStages const& stages, FrameReport const& report)
        : m_frames(frames),
          m_options(options),
          m_stages(stages),
          m_report(report),
          m_slots(options.slots(frames.size())),
          m_end(frames.size()),
          m_failures(m_slots) {}

    PipelineResult run() {
        {
            std::jthread reader, writer;
            guarded([&] {
                reader = std::jthread([this] { guarded([this] { loadAll(); }); });
                writer = std::jthread([this] { guarded([this] { storeAll(); }); });
                renderAll();
            });
        }
        if (m_fault) std::rethrow_exception(m_fault);
        bool const isEndedByFailure =
            std::any_of(m_result.failed.begin(), m_result.failed.end(),
                        [this](FrameFailure const& failure) { return endsRun(failure); });
        m_result.isStopped = m_sawStop && !isEndedByFailure;
        return std::move(m_result);
    }

private:
    /// A stage's way through all frames, or a part of it. Trouble that is no frame's own ends the
    /// run.
    template <class Work>
    void guarded(Work const& work) {
        try {
            work();
        } catch (...) {
            std::lock_guard const lock(m_mutex);
            if (!m_fault) m_fault = std::current_exception();
            m_end = 0;
            m_changed.notify_all();
        }
    }

    void loadAll() {
        for (std::size_t i = 0; await(i, [&] { return i < m_stored + m_slots; }); ++i) {
            work(i, m_stages.load);
            advance(m_loaded);
        }
    }

    void renderAll() {
        for (std::size_t i = 0; await(i, [&] { return i < m_loaded; }); ++i) {
            work(i, m_stages.render);
            // No image will be made any more: what was kept for one serves the writer better.
            if (i + 1 == m_frames.size()) PixelMemory::releaseKept();
            advance(m_rendered);
        }
    }

    void storeAll() {
        for (std::size_t i = 0; await(i, [&] { return i < m_rendered; }); ++i) {
            work(i, m_stages.store);
            m_stages.clear(slotOf(i));
            auto const failure = std::move(m_failures[slotOf(i)]);
            m_failures[slotOf(i)].reset();
            // The result is the writer's until the threads are joined.
            if (failure)
                m_result.failed.push_back(*failure);
            else
                m_result.done.push_back(m_frames[i]);
            advance(m_stored);
            if (m_report) m_report(m_frames[i], i, failure ? &*failure : nullptr);
        }
    }

    /// Waits for frame i's turn; false when the run ends before it.
    template <class Ready>
    bool await(std::size_t i, Ready const& isReady) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return i >= m_end || isReady(); });
        if (i < m_end && m_options.stop && *m_options.stop) {
            m_sawStop = true;
            m_end = 0;
            m_changed.notify_all();
        }
        return i < m_end;
    }

    /// One stage of one frame, unless an earlier one failed. Frames after a failure that ends the
    /// run have no turn any more, those before it have.
    void work(std::size_t i, std::function<void(std::size_t, int)> const& stage) {
        std::size_t const slot = slotOf(i);
        if (m_failures[slot]) return;
        m_failures[slot] = failureOf(m_frames[i], [&] { stage(slot, m_frames[i]); });
        if (!m_failures[slot] || !endsRun(*m_failures[slot])) return;
        std::lock_guard const lock(m_mutex);
        m_end = std::min(m_end, i + 1);
        m_changed.notify_all();
    }

    bool endsRun(FrameFailure const& failure) const {
        return m_options.stopAtFirstFailure || failure.endsRun;
    }

    void advance(std::size_t& counter) {
        std::lock_guard const lock(m_mutex);
        ++counter;
        m_changed.notify_all();
    }

    std::size_t slotOf(std::size_t i) const { return i % m_slots; }

    std::vector<int> const& m_frames;
    PipelineOptions const& m_options;
    SlotStages const& m_stages;
    FrameReport const& m_report;
    std::size_t const m_slots;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_end;  ///< frames from here on have no turn any more
    std::size_t m_loaded = 0, m_rendered = 0, m_stored = 0;
    bool m_sawStop = false;
    std::exception_ptr m_fault;  ///< the first trouble that is no frame's own

    std::vector<std::optional<FrameFailure>> m_failures;  ///< of the frame in each slot
    PipelineResult m_result;
};

}  // namespace

PipelineResult runStages(std::vector<int> const& frames, PipelineOptions const& options,
                         SlotStages const& stages, FrameReport const& report) {
    return Pipeline(frames, options, stages, report).run();
}

}  // namespace zelk
