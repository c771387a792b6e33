// What a run over many frames tells its user.
//
//   bar     one line, redrawn:   1003 (3/60) [##......] 12.3 frames/s, 0:05 left
//   plain   a line a frame:      1003 (3/60) 12.3 frames/s
//   json    an object a line, and nothing else:
//           {"event":"frame","frame":1003,"index":3,"count":60,"seconds":0.31}
//           "failed" is a frame with its "message"; "warning" and "error" have a "message", an
//           "error" about a missing input its "frame" and "file"; "done" ends every run.
//
// Failures and warnings are told at once, without progress too. Speed is the mean over the
// last 16 frames.
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "zelk/render/run_options.h"

namespace zelk {

/// Where progress goes, and its clock.
struct ProgressScreen {
    std::function<void(std::string_view)> write;
    std::function<double()> seconds;  ///< of a clock that never goes back
    std::function<int()> columns;     ///< characters that a line holds
    bool isTerminal = false;
};

/// Standard error as it is now: it stays reachable when it is made quiet later. What can't be
/// written is left out.
ProgressScreen standardErrorScreen();

/// What a run comes to, beside the frames that failed.
struct RunTotals {
    std::size_t written = 0, skipped = 0;
    bool isStopped = false;
};

/// For one thread at a time.
class Progress {
public:
    /// The clock starts here, or with begin.
    Progress(ProgressMode mode, std::size_t count, ProgressScreen screen);
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void begin(std::size_t count);
    /// Whether errors are to be told here and nowhere else: for programs.
    bool tellsErrors() const { return m_mode == ProgressMode::kJson; }

    void done(int frame);
    /// A frame that was only looked at: it is counted, and nothing is told.
    void passed() { tick(); }
    void failed(int frame, std::string_view message);
    /// Something to know that is no frame's end.
    void warning(std::string_view message);
    /// What ends the run, where tellsErrors; `frame` and `file` are of an input that is not there.
    void error(std::string_view message, std::optional<int> frame = {}, std::string_view file = {});

    /// Clears the bar, for other text on the screen; the next frame draws it again.
    void clearBar();

    /// The run has come to its end: no bar any more, and the totals in json. Without it destruction
    /// clears the bar.
    void end(RunTotals const& totals);

private:
    void tick();
    void tell(int frame, std::string const& message);
    void drawBar(std::string const& place);
    double framesPerSecond() const;

    ProgressMode m_mode;
    std::size_t m_count, m_ended = 0, m_failed = 0;
    ProgressScreen m_screen;
    double m_start;
    std::deque<double> m_times;  ///< ends of the last frames, and of the one before them
    bool m_isBarDrawn = false;
};

}  // namespace zelk
