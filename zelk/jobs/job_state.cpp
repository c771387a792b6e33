// See job_state.h.
#include "zelk/jobs/job_state.h"

#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "zelk/files/frame_names.h"
#include "zelk/files/process_tag.h"
#include "zelk/jobs/engines.h"
#include "zelk/jobs/task.h"
#include "zelk/jobs/task_log.h"
#include "zelk/scene/file.h"
#include "zelk/scene/inputs.h"
#include "zelk/sequence/journal.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

struct TaskName {
    int submission = 0, task = 0;
    auto operator<=>(TaskName const&) const = default;
};

/// "1-7" of a log or a runner.
std::optional<TaskName> taskNamed(std::string const& stem) {
    auto const bar = stem.find('-');
    if (bar == stem.npos) return std::nullopt;
    auto const submission = parseWhole(stem.substr(0, bar)),
               task = parseWhole(stem.substr(bar + 1));
    if (!submission || !task) return std::nullopt;
    return TaskName{*submission, *task};
}

std::vector<fs::path> filesIn(fs::path const& folder) {
    std::vector<fs::path> files;
    std::error_code fault;
    for (fs::directory_iterator entry(folder, fault), end; !fault && entry != end;
         entry.increment(fault))
        files.push_back(entry->path());
    std::sort(files.begin(), files.end());
    return files;
}

/// Who works on a task by its own file; dead ones are none.
std::map<TaskName, ProcessTag> runnersOf(Job const& job) {
    std::map<TaskName, ProcessTag> runners;
    for (fs::path const& file : filesIn(job.folder / "running")) {
        std::string text;
        std::getline(std::ifstream(file), text);
        auto const name = taskNamed(file.filename().string());
        auto const tag = ProcessTag::at(text);
        if (name && tag && lifeOf(*tag) != Life::kDead) runners[*name] = *tag;
    }
    return runners;
}

using Stages = std::map<TaskName, EngineTask::Stage>;

/// Tasks that somebody has. What runs on machines that can't be asked is the engine's to know: a
/// runner of an engine with a queue counts where that has the task too.
Stages stagesOf(Job const& job, JobState& state) {
    Stages stages;
    for (EngineTask const& task : engineOf(job.engine).tasks(job)) {
        ++state.engineTasks[task.word + (task.reason.empty() ? "" : " (" + task.reason + ")")];
        if (task.stage == EngineTask::Stage::kEnded) continue;
        TaskName const name = task.task == 0 ? TaskName{} : TaskName{task.submission, task.task};
        stages[name] = std::max(stages[name], task.stage);
    }
    for (auto const& [name, tag] : runnersOf(job)) {
        bool const isLocal = lifeOf(tag) == Life::kAlive;
        if (isLocal || job.engine != EngineKind::kSlurm) stages[name] = EngineTask::Stage::kRunning;
    }
    return stages;
}

struct Logs {
    std::map<int, WrittenFrame> written;
    std::map<int, std::string> failed;
    std::map<TaskName, std::string> ends;
    std::string movieEnd;
    double seconds = 0;
    std::size_t timed = 0;
};

Logs logsOf(Job const& job, JobState& state) {
    Logs all;
    std::vector<std::pair<TaskName, fs::path>> files;
    for (fs::path const& file : filesIn(job.logs())) {
        if (file.filename() == "movie.jsonl") all.movieEnd = readTaskLog(file).end;
        auto const name = taskNamed(file.stem().string());
        if (name && file.extension() == ".jsonl") files.push_back({*name, file});
    }
    std::sort(files.begin(), files.end());  // a later submission's word counts
    for (auto const& [name, file] : files) {
        TaskLog log = readTaskLog(file);
        for (auto const& [frame, written] : log.written) {
            all.written[frame] = written;
            all.failed.erase(frame);
        }
        for (auto const& [frame, why] : log.failed) all.failed[frame] = why;
        if (!log.end.empty()) all.ends[name] = log.end;
        all.seconds += log.seconds;
        all.timed += log.timed;
        state.peakBytes = std::max(state.peakBytes, log.peakBytes);
    }
    return all;
}

/// Frames of live tasks, and why those of ended ones were left.
void readFramesOfTasks(Job const& job, Stages const& stages, Logs const& logs,
                       std::map<int, EngineTask::Stage>& live, std::map<int, std::string>& left) {
    for (Submission const& submission : job.submissions) {
        auto const isOf = [&](TaskName const& name) {
            return name.submission == submission.number;
        };
        bool const isAsked =
            std::any_of(stages.begin(), stages.end(), [&](auto& e) { return isOf(e.first); }) ||
            std::any_of(logs.ends.begin(), logs.ends.end(), [&](auto& e) { return isOf(e.first); });
        if (!isAsked) continue;
        auto const tasks = readTasks(job, submission.number);
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            TaskName const name{submission.number, static_cast<int>(i) + 1};
            auto const stage = stages.find(name);
            auto const end = logs.ends.find(name);
            for (int const frame : tasks[i]) {
                if (stage != stages.end()) live[frame] = std::max(live[frame], stage->second);
                if (end != logs.ends.end()) left[frame] = end->second;
            }
        }
    }
}

JobState::Movie movieStateOf(Job const& job, Stages const& stages, Logs const& logs) {
    if (!job.movie) return JobState::Movie::kNone;
    auto const stage = stages.find(TaskName{});
    if (stage != stages.end())
        return stage->second == EngineTask::Stage::kRunning ? JobState::Movie::kRunning
                                                            : JobState::Movie::kWaiting;
    if (!logs.movieEnd.empty()) return JobState::Movie::kFailed;
    return fs::exists(job.movie->file) && fs::exists(job.logs() / "movie.jsonl")
               ? JobState::Movie::kDone
               : JobState::Movie::kMissing;
}

/// Frames whose files are there as they were written, or as they were kept.
class DoneFrames {
public:
    DoneFrames(Job const& job, Logs const& logs, bool verifies)
        : m_logs(logs), m_verifies(verifies), m_output(SceneFiles(readScene(job.scene())).output) {
        if (job.kept.empty()) return;
        for (int const frame : parseFrameRange(job.file().string(), job.kept)) m_kept.insert(frame);
    }

    bool has(int frame) {
        fs::path const file = m_output.pathOf(frame);
        std::error_code fault;
        auto const bytes = fs::file_size(file, fault);
        if (fault) return false;
        auto const written = m_logs.written.find(frame);
        bool const isOurs = written != m_logs.written.end();
        bool const isSized =
            isOurs ? bytes == written->second.bytes : m_kept.contains(frame) && bytes > 0;
        return isSized && (!m_verifies || isAsWritten(file, m_journal));
    }

private:
    Logs const& m_logs;
    bool m_verifies;
    SequenceName m_output;
    std::set<int> m_kept;
    Journal m_journal{false};
};

/// By the mean of all frames so far.
std::optional<double> secondsLeftOf(Job const& job, Logs const& logs, JobState const& state) {
    double const each =
        logs.timed > 0 ? logs.seconds / static_cast<double>(logs.timed) : job.secondsPerFrame;
    if (state.runningTasks == 0 || each <= 0) return std::nullopt;
    return each * static_cast<double>(state.running.size() + state.waiting.size()) /
           state.runningTasks;
}

constexpr std::string_view kMovieWords[] = {"none",    "missing", "waiting",
                                            "running", "failed",  "done"};

std::string clockText(double seconds) {
    auto const whole = static_cast<std::int64_t>(seconds + 0.5);
    return whole < 3600 ? fmt::format("{}:{:02}", whole / 60, whole % 60)
                        : fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace

bool JobState::isLive() const {
    return runningTasks + waitingTasks > 0 || movie == Movie::kRunning || movie == Movie::kWaiting;
}

bool JobState::isWhole() const {
    return running.empty() && waiting.empty() && failed.empty() && missing.empty() &&
           (movie == Movie::kNone || movie == Movie::kDone);
}

std::vector<int> JobState::lost(Job const& job) const {
    std::set<int> const gone(missing.begin(), missing.end());
    std::vector<int> frames;
    for (int const frame : parseFrameRange(job.file().string(), job.frames))
        if (gone.contains(frame) || failed.contains(frame)) frames.push_back(frame);
    return frames;
}

JobState stateOf(Job const& job, bool verifies) {
    JobState state;
    Stages const stages = stagesOf(job, state);
    Logs const logs = logsOf(job, state);
    std::map<int, EngineTask::Stage> live;
    std::map<int, std::string> left;
    readFramesOfTasks(job, stages, logs, live, left);
    DoneFrames done(job, logs, verifies);
    for (int const frame : parseFrameRange(job.file().string(), job.frames)) {
        auto const stage = live.find(frame);
        auto const failure = logs.failed.find(frame);
        auto const end = left.find(frame);
        if (done.has(frame))
            state.done.push_back(frame);
        else if (stage != live.end())
            (stage->second == EngineTask::Stage::kRunning ? state.running : state.waiting)
                .push_back(frame);
        else if (failure != logs.failed.end())
            state.failed[frame] = failure->second;
        else if (end != left.end())
            state.failed[frame] = end->second;
        else
            state.missing.push_back(frame);
    }
    for (auto const& [name, stage] : stages)
        if (name != TaskName{})
            ++(stage == EngineTask::Stage::kRunning ? state.runningTasks : state.waitingTasks);
    state.movie = movieStateOf(job, stages, logs);
    state.movieFailure = logs.movieEnd;
    state.secondsLeft = secondsLeftOf(job, logs, state);
    return state;
}

std::string stateText(Job const& job, JobState const& state) {
    constexpr std::size_t kMostShown = 10;
    auto const total = state.done.size() + state.running.size() + state.waiting.size() +
                       state.failed.size() + state.missing.size();
    std::string text =
        fmt::format("{}: {}, {} frames{}\n", job.folder.string(), wordOf(kEngineWords, job.engine),
                    total, job.isCancelled ? ", cancelled" : "");
    auto const row = [&](char const* word, std::size_t frames, std::string const& more) {
        text += fmt::format("  {:<8}{:>8}{}\n", word, frames, more);
    };
    auto const inTasks = [](int tasks) {
        return tasks > 0 ? fmt::format("  in {} task{}", tasks, tasks == 1 ? "" : "s") : "";
    };
    auto const listed = [](std::vector<int> const& frames) {
        return frames.empty() ? "" : "  " + shortened(frameRangeText(frames));
    };
    std::vector<int> failed;
    for (auto const& [frame, why] : state.failed) failed.push_back(frame);
    row("done", state.done.size(), "");
    row("running", state.running.size(), inTasks(state.runningTasks));
    row("waiting", state.waiting.size(), inTasks(state.waitingTasks));
    row("failed", failed.size(), listed(failed));
    row("missing", state.missing.size(), listed(state.missing));
    if (state.movie != JobState::Movie::kNone)
        text += fmt::format("  movie   {:>8}{}\n", kMovieWords[static_cast<int>(state.movie)],
                            state.movieFailure.empty() ? "" : "  " + state.movieFailure);
    for (auto const& [word, count] : state.engineTasks)
        text += fmt::format("  {} {}: {}\n", wordOf(kEngineWords, job.engine), word, count);
    std::size_t shown = 0;
    for (auto const& [frame, why] : state.failed)
        if (shown++ < kMostShown) text += fmt::format("  frame {}: {}\n", frame, why);
    if (shown > kMostShown) text += fmt::format("  and {} more\n", shown - kMostShown);
    if (state.secondsLeft) text += "  about " + clockText(*state.secondsLeft) + " left\n";
    return text;
}

std::string stateJson(Job const& job, JobState const& state) {
    nlohmann::ordered_json json = {{"job", job.folder.string()},
                                   {"engine", wordOf(kEngineWords, job.engine)},
                                   {"cancelled", job.isCancelled}};
    auto const list = [&](char const* name, std::vector<int> const& frames) {
        json[name] = {{"count", frames.size()}, {"frames", frameRangeText(frames)}};
    };
    list("done", state.done);
    list("running", state.running);
    list("waiting", state.waiting);
    list("missing", state.missing);
    json["failed"] = nlohmann::ordered_json::array();
    for (auto const& [frame, why] : state.failed)
        json["failed"].push_back({{"frame", frame}, {"message", why}});
    json["runningTasks"] = state.runningTasks;
    json["waitingTasks"] = state.waitingTasks;
    json["engineTasks"] = state.engineTasks;
    json["movie"] = kMovieWords[static_cast<int>(state.movie)];
    if (state.secondsLeft) json["secondsLeft"] = *state.secondsLeft;
    json["peakBytes"] = state.peakBytes;
    json["whole"] = state.isWhole();
    return jsonText(json);
}

int endTasks(Job const& job) {
    int ended = 0;
    for (auto const& [name, tag] : runnersOf(job)) {
        bool const isOurs = lifeOf(tag) == Life::kAlive;
        if (isOurs && ::kill(tag.id, SIGTERM) == 0) ++ended;
        std::error_code none;
        if (!isOurs) fs::remove(job.runner(name.submission, name.task), none);
    }
    return ended;
}

}  // namespace zelk
