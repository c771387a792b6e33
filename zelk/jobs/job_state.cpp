// See job_state.h.
#include "zelk/jobs/job_state.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "zelk/files/frame_names.h"
#include "zelk/jobs/engines.h"
#include "zelk/jobs/job_logs.h"
#include "zelk/jobs/runners.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

using Stages = std::map<TaskName, EngineTask::Stage>;

/// The movie has one name, whichever submission it is of.
TaskName nameOf(int submission, int task) {
    return task == 0 ? TaskName{} : TaskName{submission, task};
}

/// Tasks that somebody has, and submissions whose scripts are at work. What runs on machines that
/// can't be asked is the engine's to know: a runner of an engine with a queue counts where that has
/// the task too.
Stages stagesOf(Job const& job, JobState& state, std::set<int>& scripts) {
    Stages stages;
    for (EngineTask const& task : engineOf(job.engine).tasks(job)) {
        ++state.engineTasks[task.word + (task.reason.empty() ? "" : " (" + task.reason + ")")];
        if (task.stage == EngineTask::Stage::kEnded) continue;
        TaskName const name = nameOf(task.submission, task.task);
        stages[name] = std::max(stages[name], task.stage);
    }
    for (Running const& running : runnersOf(job)) {
        if (!running.isHere && job.engine == EngineKind::kSlurm) continue;
        if (running.task)
            stages[nameOf(running.submission, *running.task)] = EngineTask::Stage::kRunning;
        else
            scripts.insert(running.submission);
    }
    return stages;
}

/// A submission's tasks, read once.
class TaskLists {
public:
    explicit TaskLists(Job const& job) : m_job(job) {}
    std::vector<std::vector<int>> const& of(int submission) {
        auto const known = m_tasks.find(submission);
        if (known != m_tasks.end()) return known->second;
        return m_tasks[submission] = readTasks(m_job, submission);
    }

private:
    Job const& m_job;
    std::map<int, std::vector<std::vector<int>>> m_tasks;
};

/// What a script will still start, or an engine that can't be asked was given: tasks that have not
/// come to an end, and the movie.
void addHandedTasks(Job const& job, std::set<int> const& scripts, JobLogs const& logs,
                    std::set<int> const& done, TaskLists& lists, Stages& stages) {
    std::size_t const frameCount = parseFrameRange(job.file().string(), job.frames).size();
    for (Submission const& submission : job.submissions) {
        bool const isHanded =
            job.engine == EngineKind::kOpenJd || scripts.contains(submission.number);
        if (submission.isOver || !isHanded) continue;
        auto const& tasks = lists.of(submission.number);
        bool hasLeft = false;
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            TaskName const name{submission.number, static_cast<int>(i) + 1};
            bool const isLeft = !logs.ended.contains(name) &&
                                !std::all_of(tasks[i].begin(), tasks[i].end(),
                                             [&](int frame) { return done.contains(frame); });
            if (isLeft) stages.try_emplace(name, EngineTask::Stage::kWaiting);
            hasLeft = hasLeft || isLeft || stages.contains(name);
        }
        // Without one of its frames there is no movie.
        bool const mayCome = hasLeft || done.size() == frameCount;
        if (job.movie && mayCome && !logs.ended.contains({submission.number, 0}))
            stages.try_emplace(TaskName{}, EngineTask::Stage::kWaiting);
    }
}

/// Frames of live tasks, and why those of ended ones were left.
void readFramesOfTasks(Job const& job, Stages const& stages, JobLogs const& logs, TaskLists& lists,
                       std::map<int, EngineTask::Stage>& live, std::map<int, std::string>& left) {
    for (Submission const& submission : job.submissions) {
        auto const isOf = [&](auto const& entry) {
            return entry.first.submission == submission.number;
        };
        bool const isAsked = std::any_of(stages.begin(), stages.end(), isOf) ||
                             std::any_of(logs.failures.begin(), logs.failures.end(), isOf);
        if (!isAsked) continue;
        auto const& tasks = lists.of(submission.number);
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            TaskName const name{submission.number, static_cast<int>(i) + 1};
            auto const stage = stages.find(name);
            auto const end = logs.failures.find(name);
            for (int const frame : tasks[i]) {
                if (stage != stages.end()) live[frame] = std::max(live[frame], stage->second);
                if (end != logs.failures.end()) left[frame] = end->second;
            }
        }
    }
}

JobState::Movie movieStateOf(Job const& job, Stages const& stages, JobLogs const& logs,
                             bool verifies) {
    if (!job.movie) return JobState::Movie::kNone;
    auto const stage = stages.find(TaskName{});
    if (stage != stages.end())
        return stage->second == EngineTask::Stage::kRunning ? JobState::Movie::kRunning
                                                            : JobState::Movie::kWaiting;
    if (isMovieDone(job, logs, verifies)) return JobState::Movie::kDone;
    return logs.movieFailure.empty() ? JobState::Movie::kMissing : JobState::Movie::kFailed;
}

/// By the mean of all frames so far.
std::optional<double> secondsLeftOf(Job const& job, JobLogs const& logs, JobState const& state) {
    double const each =
        logs.timed > 0 ? logs.seconds / static_cast<double>(logs.timed) : job.secondsPerFrame;
    if (state.runningTasks == 0 || each <= 0) return std::nullopt;
    return each * static_cast<double>(state.running.size() + state.waiting.size()) /
           state.runningTasks;
}

/// Frames that failed alike, in the order of their first ones.
std::vector<std::pair<std::string, std::vector<int>>> causesOf(
    std::map<int, std::string> const& failed) {
    std::vector<std::pair<std::string, std::vector<int>>> causes;
    std::map<std::string_view, std::size_t> places;
    for (auto const& [frame, why] : failed) {
        auto const [place, isNew] = places.try_emplace(why, causes.size());
        if (isNew) causes.push_back({why, {}});
        causes[place->second].second.push_back(frame);
    }
    return causes;
}

constexpr std::string_view kMovieWords[] = {"none",    "missing", "waiting",
                                            "running", "failed",  "done"};

}  // namespace

bool JobState::isLive() const {
    return runningTasks + waitingTasks > 0 || hasScript || movie == Movie::kRunning ||
           movie == Movie::kWaiting;
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
    std::set<int> scripts;
    Stages stages = stagesOf(job, state, scripts);
    JobLogs const logs = logsOf(job);
    std::set<int> const done = doneFrames(job, logs, verifies);
    TaskLists lists(job);
    addHandedTasks(job, scripts, logs, done, lists, stages);
    std::map<int, EngineTask::Stage> live;
    std::map<int, std::string> left;
    readFramesOfTasks(job, stages, logs, lists, live, left);
    for (int const frame : parseFrameRange(job.file().string(), job.frames)) {
        auto const stage = live.find(frame);
        auto const failure = logs.failed.find(frame);
        auto const end = left.find(frame);
        if (done.contains(frame))
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
    state.movie = movieStateOf(job, stages, logs, verifies);
    if (state.movie == JobState::Movie::kFailed) state.movieFailure = logs.movieFailure;
    state.hasScript = !scripts.empty();
    state.peakBytes = logs.peakBytes;
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
    if (state.hasScript) text += "  its script is at work\n";
    for (auto const& [word, count] : state.engineTasks)
        text += fmt::format("  {} {}: {}\n", wordOf(kEngineWords, job.engine), word, count);
    std::size_t shown = 0;
    auto const causes = causesOf(state.failed);
    for (auto const& [why, frames] : causes)
        if (shown++ < kMostShown)
            text += fmt::format("  {} {}: {}\n", frames.size() == 1 ? "frame" : "frames",
                                shortened(frameRangeText(frames)), why);
    if (shown > kMostShown) text += fmt::format("  and {} more causes\n", shown - kMostShown);
    if (state.secondsLeft) text += "  about " + durationText(*state.secondsLeft) + " left\n";
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
    json["script"] = state.hasScript;
    json["engineTasks"] = state.engineTasks;
    json["movie"] = kMovieWords[static_cast<int>(state.movie)];
    if (state.secondsLeft) json["secondsLeft"] = *state.secondsLeft;
    json["peakBytes"] = state.peakBytes;
    json["whole"] = state.isWhole();
    return jsonText(json);
}

}  // namespace zelk
