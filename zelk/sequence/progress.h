// What a run over many frames tells its user.
//
//   bar     one line, redrawn:   1003 (3/60) [##......] 12.3 frames/s, 0:05 left
//   plain   a line a frame:      1003 (3/60) 12.3 frames/s
//   json    an event a line, and nothing else: objects that docs/progress.schema.json describes
//           {"event":"frame","frame":1003,"index":3,"count":60,"seconds":0.31, ...}
//
// A log gets the events whatever the screen shows. Failures and warnings are told at once, without
// progress too; warnings are not where it is quiet. Speed is the mean over the last 16 frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelk/files/file_sum.h"
#include "zelk/render/run_options.h"
#include "zelk/text/errors.h"

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

/// How a run tells its progress: a single picture not at all, unless that is asked for.
ProgressMode modeOf(RunOptions const& run, bool isStill);
/// Of a run that renders nothing, events alone are told.
ProgressMode shownMode(ProgressMode mode, bool isRender);

/// Takes a line of events, its end included.
using EventSink = std::function<void(std::string_view line)>;
/// A sink that adds to a file. Throws an output error where there is no log and none can be made: a
/// file that holds anything else is left alone. What can't be written later is left out.
EventSink openLog(std::filesystem::path const& file);

/// What a run is, for its first event. Names and values may be empty.
struct RunFacts {
    std::string command;
    std::vector<std::pair<std::string, std::string>> scene;  ///< "layer" and its name, ...
    std::string frames;                                      ///< to be rendered, as a list
    std::string host, effectHost, road;
    int process = 0, threads = 0;
    std::size_t skipped = 0;
    std::vector<std::pair<std::string, std::string>> versions;
};

/// A frame that is written.
struct FrameFacts {
    std::string file = {};
    std::optional<std::uint64_t> bytes = {};  ///< of a file of its own
    std::optional<std::uint32_t> crc32 = {};  ///< of the same, where it was read back
    double loadSeconds = 0, renderSeconds = 0, storeSeconds = 0;
};

/// What went wrong. Without a frame, or with a file that is not there, it ends the run.
struct FailureFacts {
    std::string message;
    ExitCode code = ExitCode::kRenderFailed;
    std::string file = {};
    std::optional<int> frame = {};
};

/// What a run comes to, beside the frames that failed.
struct RunTotals {
    std::size_t written = 0, skipped = 0;
    bool isStopped = false;
    ExitCode code = ExitCode::kDone;
    std::string movie = {};  ///< that is whole, and its sum; empty for none
    std::optional<FileSum> movieSum = {};
};

/// For one thread at a time.
class Progress {
public:
    /// The clock starts here, or with begin.
    Progress(ProgressMode mode, std::size_t count, ProgressScreen screen, EventSink log = {});
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void begin(std::size_t count, RunFacts const& facts);
    /// Whether errors are to be told here and nowhere else: for programs.
    bool tellsErrors() const { return m_mode == ProgressMode::kJson; }

    void done(int frame, FrameFacts const& facts = {});
    /// A frame that another run has written.
    void shared(int frame, std::string const& file);
    /// A frame that was only looked at: it is counted, and nothing is told.
    void passed() { tick(); }
    void failed(int frame, FailureFacts const& facts);
    /// Something to know that is no frame's end.
    void warning(std::string_view message);
    /// What the user may wonder about; for people only.
    void note(std::string_view text);
    /// What ends the run, for events: the caller tells it where tellsErrors is false.
    void error(FailureFacts const& facts);

    /// Clears the bar, for other text on the screen; the next frame draws it again.
    void clearBar();

    /// The run has come to its end: no bar any more, and the totals in json. Without it destruction
    /// clears the bar.
    void end(RunTotals const& totals);

private:
    void tick();
    void tell(int frame, std::string const& message);
    struct Event;
    void send(Event const& event);
    /// Of an event about a frame, which has ended.
    Event eventOf(char const* name, int frame) const;
    void drawBar(std::string const& place);
    double framesPerSecond() const;

    ProgressMode m_mode;
    std::size_t m_count, m_ended = 0, m_failed = 0;
    ProgressScreen m_screen;
    EventSink m_log;
    double m_start;
    std::deque<double> m_times;  ///< ends of the last frames, and of the one before them
    bool m_isBarDrawn = false;
};

}  // namespace zelk
