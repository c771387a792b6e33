// ExportJob: `zelk render`'s own run (zelk/sequence/render_frames.h) of a copy of the scene, on a
// thread of its own. What it tells as events becomes a record for a dialog.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zelk/render/run_options.h"
#include "zelk/scene/scene.h"
#include "zelk/text/errors.h"

namespace zelk {

struct ExportFailure {
    std::string place;  ///< "frame 1003", or empty for the run
    std::string message;
};

struct ExportState {
    bool isRunning = true;
    bool isStopped = false;
    bool isMovie = false;  ///< what the run writes
    int asked = 0;         ///< frames of the run, also those behind the one that ends it
    int count = 0;         ///< frames to be rendered: those asked for without those left out
    int ended = 0;         ///< written or failed
    int written = 0;       ///< by this run; at its end none of a movie that is not whole
    int skipped = 0;
    double seconds = 0;      ///< since the start
    double secondsLeft = 0;  ///< by the speed so far; 0 where that is not known
    std::string file;        ///< the last one that was written
    std::vector<ExportFailure> failures;
    std::vector<std::string> warnings;
    ExitCode code = ExitCode::kDone;

    /// Frames behind the one that ended the run.
    int untried() const;
    /// "12 of 48 frames, 0:05 left", "48 frames written, 1 failed"
    std::string text() const;
    /// The file that was written, or the folder of several; empty for none.
    std::string place() const;
};

/// How many of the files that a scene's export writes are there already. Throws where one of them
/// is its own input.
std::size_t filesThere(Scene const& exported);

class ExportJob {
public:
    /// `changed` is called on the job's thread. `run` says what is replaced and shared; where
    /// progress goes is the job's.
    ExportJob(Scene scene, RunOptions run, std::function<void()> changed);
    ~ExportJob();  ///< stops it, and waits
    ExportJob(ExportJob const&) = delete;
    ExportJob& operator=(ExportJob const&) = delete;

    void stop() { m_isStopped = true; }
    ExportState state() const;

private:
    void ask(std::size_t frames);
    void take(std::string_view line);
    void end(ExitCode code, std::string const& message);

    mutable std::mutex m_mutex;
    ExportState m_state;
    std::function<void()> m_changed;
    std::atomic<bool> m_isStopped = false;
    std::thread m_thread;
};

}  // namespace zelk
