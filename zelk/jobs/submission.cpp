// See submission.h.
#include "zelk/jobs/submission.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "zelk/files/absolute_path.h"
#include "zelk/files/frame_names.h"
#include "zelk/files/output_place.h"
#include "zelk/jobs/chunks.h"
#include "zelk/jobs/engines.h"
#include "zelk/jobs/job_lock.h"
#include "zelk/jobs/job_logs.h"
#include "zelk/jobs/job_scene.h"
#include "zelk/jobs/job_state.h"
#include "zelk/jobs/output_jobs.h"
#include "zelk/jobs/program_call.h"
#include "zelk/jobs/runners.h"
#include "zelk/jobs/task_log.h"
#include "zelk/jobs/task_script.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/writer.h"
#include "zelk/scene/as_edits.h"
#include "zelk/scene/check.h"
#include "zelk/scene/file.h"
#include "zelk/scene/refusal.h"
#include "zelk/sequence/render_frames.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/json_text.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// A folder that takes a job's place when it is complete, and is gone otherwise.
class StagedFolder {
public:
    explicit StagedFolder(fs::path folder)
        : m_target(std::move(folder)),
          m_path(m_target.parent_path() / ("." + m_target.filename().string() + ".new")) {
        std::error_code fault;
        fs::remove_all(m_path, fault);
        fs::create_directories(m_path / "logs", fault);
        if (fault) throwUnwritable(m_target, fault.value());
        fs::create_directory(m_path / "running", fault);
    }
    ~StagedFolder() {
        std::error_code none;
        if (!m_isInPlace) fs::remove_all(m_path, none);
    }
    StagedFolder(StagedFolder const&) = delete;
    StagedFolder& operator=(StagedFolder const&) = delete;

    fs::path const& path() const { return m_path; }
    /// An earlier one stands aside first, so that there is one or the other at any time but between
    /// two renames.
    void putInPlace() {
        std::error_code fault, none;
        fs::path const former =
            m_target.parent_path() / ("." + m_target.filename().string() + ".old");
        fs::remove_all(former, none);
        if (fs::exists(m_target, none)) fs::rename(m_target, former, fault);
        if (!fault) fs::rename(m_path, m_target, fault);
        if (fault) {
            if (!fs::exists(m_target, none)) fs::rename(former, m_target, none);
            throwUnwritable(m_target, fault.value());
        }
        m_isInPlace = true;
        fs::remove_all(former, none);
    }

private:
    fs::path m_target, m_path;
    bool m_isInPlace = false;
};

bool isText(std::string const& text) {
    try {
        jsonText(text);
        return true;
    } catch (nlohmann::json::type_error const&) {
        return false;
    }
}

/// The record is text. What the command line says is in its history.
void requireText(Job const& job) {
    std::string const movie = job.movie ? job.movie->file.string() : "";
    for (auto const& [thing, text] : {std::pair("the job's folder", job.folder.string()),
                                      {"the program", job.program.string()},
                                      {"--output", job.output.string()},
                                      {"--movie", movie},
                                      {"--engine-option", shellLine(job.engineOptions)},
                                      {"the command line", job.history}})
        if (!isText(text))
            throw UserError(ExitCode::kUsage,
                            {thing, "a job can't hold the name", text, "names in UTF-8"});
}

void requireText(Scene const& frozen) {
    try {
        sceneText(frozen);
    } catch (nlohmann::json::type_error const&) {
        throw UserError(ExitCode::kInput, {"the scene", "a job can't hold a path such as",
                                           frozen.layer.name(), "paths in UTF-8"});
    }
}

void requireParts(Scene const& scene) {
    if (isMovieName(scene.outputPath()))
        throw refusalOf(scene, SceneField::kOutput,
                        "a movie can't be parted into tasks:", scene.outputPath().string(),
                        "numbered pictures, with --movie for what gathers them");
}

/// What would end the last task only.
void requireMovie(JobMovie const& movie) {
    if (!isMovieName(movie.file))
        throw UserError(ExitCode::kUsage, {"--movie", "no movie's name", movie.file.string(),
                                           "one that ends in .mov, .mp4 or .mkv"});
    checkPlace(movie.file, false);
}

/// The same of its codec, its quality and its frames.
void requireMovie(Job const& job, FrozenScene const& frozen) {
    checkScene(movieSceneOf(job, frozen.scene));
    MovieRequest ask;
    ask.target = job.movie->file;
    ask.size = frozen.size;
    ask.codec = job.movie->codec;
    ask.quality = job.movie->quality;
    requireMovieSize(ask);
}

/// The folder is made beside its place, where its lock is too.
void requirePlace(fs::path const& folder) {
    fs::path const beside = folder.parent_path();
    std::error_code fault;
    if (!fs::is_directory(beside, fault)) throw unwritable(folder, "no folder " + beside.string());
    if (::access(beside.c_str(), W_OK | X_OK) != 0) throwUnwritable(folder, errno);
}

/// The movie would be made when its inputs are read already.
void requireMovieIsNoInput(JobMovie const& movie, FrozenScene const& frozen) {
    auto const own = identityOf(movie.file);
    if (!own || frozen.frames.empty()) return;
    SceneFiles const files(frozen.scene);
    for (NamedInput const& input : files.inputs())
        if (identityOf(input.files->own(frozen.frames.front()).file) == own)
            throw UserError(ExitCode::kUsage,
                            {"--movie", fmt::format("would replace the {}:", input.kind),
                             movie.file.string(), "another name"});
}

/// First, middle and last.
std::vector<int> timedOf(std::vector<int> const& frames) {
    std::vector<int> timed;
    for (std::size_t const at : {std::size_t{0}, frames.size() / 2, frames.size() - 1})
        if (timed.empty() || timed.back() != frames[at]) timed.push_back(frames[at]);
    return timed;
}

struct Timing {
    ExitCode code = ExitCode::kDone;
    TaskLog log;
};

/// Renders them as a task would.
Timing timeFrames(Job const& job, std::vector<int> const& frames) {
    RunOptions run = job.runOptions();
    run.progress = ProgressMode::kQuiet;
    run.log = job.log(0, 0);
    Timing timing;
    timing.code = renderFrames(sceneOf(job, frames), run);
    timing.log = readTaskLog(run.log);
    return timing;
}

std::uint64_t memoryAsked(std::uint64_t peakBytes) {
    constexpr double kMargin = 1.25, kMb = 1 << 20;
    constexpr std::uint64_t kRestMb = 64;
    return static_cast<std::uint64_t>(std::ceil(static_cast<double>(peakBytes) * kMargin / kMb)) +
           kRestMb;
}

/// Their tasks are refused from now on.
void endSubmissions(Job& job) {
    for (Submission& submission : job.submissions) submission.isOver = true;
}

/// Those of which the engine has taken tasks that nobody knows: the command was killed meanwhile.
void endCutSubmissions(Job& job) {
    for (Submission& submission : job.submissions) {
        int known = 0;
        for (EngineArray const& array : submission.arrays) known += array.count;
        if (known != submission.tasks) submission.isOver = true;
    }
}

/// Memory counts for engines that hand it out.
bool asksMemory(Job const& job) { return job.engine != EngineKind::kShell; }

std::string tasksText(Job const& job, Submission const& submission) {
    if (submission.tasks == 0) return "the movie alone";
    std::string text =
        fmt::format("{} task{} of up to {}", submission.tasks, submission.tasks == 1 ? "" : "s",
                    framesCounted(static_cast<std::size_t>(job.framesPerTask)));
    text += fmt::format(", {} thread{}", job.threads, job.threads == 1 ? "" : "s");
    if (job.memoryMb > 0 && asksMemory(job)) text += fmt::format(", {} MB", job.memoryMb);
    if (job.movie) text += ", then the movie";
    return text;
}

std::string handedText(Job const& job, Submission const& submission) {
    std::string names;
    for (EngineArray const& array : submission.arrays) names += " " + array.id;
    if (!submission.movieId.empty()) names += " " + submission.movieId;
    std::string text =
        fmt::format("{}: {}; {}{}\n", job.folder.string(), tasksText(job, submission),
                    wordOf(kEngineWords, job.engine), names);
    if (std::string const next = engineOf(job.engine).next(job); !next.empty()) text += next + "\n";
    return text;
}

/// The record is whole before the engine has anything, and has each of the engine's names as soon
/// as it is known. Where the engine refuses, the job stays for a resume.
std::string handOver(Job job, std::vector<int> const& frames,
                     std::vector<std::string> const& before) {
    auto const tasks = tasksOf(frames, job.framesPerTask);
    Submission next;
    next.number = job.submissions.empty() ? 1 : job.submissions.back().number + 1;
    next.tasks = static_cast<int>(tasks.size());
    writeTasks(job, next.number, tasks);
    writeScript(job.script(), taskScript(job));  // the folder may have moved since
    // What a script or an engine without a queue has left of earlier ones would come twice.
    job.engine == EngineKind::kSlurm ? endCutSubmissions(job) : endSubmissions(job);
    job.submissions.push_back(next);
    job.isCancelled = false;
    auto const record = [&] { writeJob(job); };
    record();
    Submission& submission = job.submissions.back();
    try {
        engineOf(job.engine).handOver(job, submission, before, record);
    } catch (UserError const& error) {
        submission.isOver = true;
        record();
        throw UserError(error.code(), std::string(error.what()) + "; `zelk submit resume " +
                                          job.folder.string() + "` tries again");
    }
    record();
    return handedText(job, submission);
}

std::string planOf(Job job, std::size_t frames, bool isTimed) {
    Submission submission;
    submission.number = job.submissions.empty() ? 1 : job.submissions.back().number + 1;
    std::string text = fmt::format("{}: {} to render", job.folder.string(), framesCounted(frames));
    if (isTimed)
        return text + "; tasks and memory are settled once three frames are timed" +
               (job.movie ? ", then the movie\n" : "\n");
    submission.tasks =
        static_cast<int>(tasksOf(std::vector<int>(frames), job.framesPerTask).size());
    return text + ": " + tasksText(job, submission) + "\n" +
           engineOf(job.engine).plan(job, submission);
}

}  // namespace

Submitted submitJob(SubmitRequest const& request) {
    requireParts(request.scene);
    Job job = request.job;
    job.id = newJobId();
    job.output = absolutePath(request.scene.outputPath());
    job.folder = request.folder.empty() ? jobFolderOf(job.output) : jobFolderNamed(request.folder);
    requireText(job);
    if (job.movie) requireMovie(*job.movie);
    engineOf(job.engine).require(job);
    requireFree(job);
    RunOptions run = job.runOptions();
    run.skipExisting = request.skipExisting;
    run.dryRun = request.dryRun;
    FrozenScene const frozen = frozenScene(request.scene, run);
    requireText(frozen.scene);
    for (MadeEdit const& edit : editsBesidesFile(request.scene)) job.edits[edit.name] = edit.text;
    job.frames = frameRangeText(frozen.frames);
    if (job.movie) {
        requireMovieIsNoInput(*job.movie, frozen);
        job.movie->sound = soundOf(frozen.scene);
        requireMovie(job, frozen);
    }
    if (!frozen.todo.empty())
        checkTarget(SceneFiles(frozen.scene).output.pathOf(frozen.todo.front()), false);
    requirePlace(job.folder);
    job.memoryMb = request.memoryMb.value_or(0);
    bool const needsTime = !request.framesPerTask && !request.frameSeconds;
    bool const needsMemory = !request.memoryMb && asksMemory(job);
    bool const isTimed = !frozen.todo.empty() && (needsTime || needsMemory);
    auto const settleTasks = [&](double seconds, std::size_t frames) {
        job.secondsPerFrame = seconds;
        job.framesPerTask =
            request.framesPerTask.value_or(framesPerTask(seconds, request.taskSeconds, frames));
    };
    settleTasks(request.frameSeconds.value_or(0), frozen.todo.size());
    std::string const allWritten = job.folder.string() + ": all frames are written\n";
    if (request.dryRun)
        return {ExitCode::kDone, frozen.todo.empty() && !job.movie
                                     ? allWritten
                                     : planOf(job, frozen.todo.size(), isTimed)};

    JobLock const lock(job);
    requireFree(job);  // still
    StagedFolder staged(job.folder);
    Job stagedJob = job;
    stagedJob.folder = staged.path();
    writeScene(frozen.scene, stagedJob.scene());
    writeScript(stagedJob.script(), taskScript(job));
    writeKeptLog(stagedJob, frozen.kept);
    std::vector<int> todo = frozen.todo;
    if (isTimed) {
        std::vector<int> const timed = timedOf(todo);
        Timing const timing = timeFrames(stagedJob, timed);
        if (timing.code != ExitCode::kDone) return {timing.code, ""};
        std::erase_if(todo, [&](int frame) { return timing.log.written.contains(frame); });
        double const seconds = timing.log.seconds / static_cast<double>(timed.size());
        if (needsMemory) job.memoryMb = memoryAsked(timing.log.peakBytes);
        settleTasks(request.frameSeconds.value_or(seconds), todo.size());
    }
    stagedJob = job;
    stagedJob.folder = staged.path();
    writeJob(stagedJob);
    staged.putInPlace();
    linkBesideOutput(job);
    std::string const facts =
        isTimed ? fmt::format("{} timed, {:.3g} s a frame\n",
                              framesCounted(frozen.todo.size() - todo.size()), job.secondsPerFrame)
                : "";
    if (todo.empty() && !job.movie) return {ExitCode::kDone, facts + allWritten};
    return {ExitCode::kDone, facts + handOver(job, todo, {})};
}

std::string resumeJob(fs::path const& folder, ResumeRequest const& request) {
    Job job = readJob(folder);
    std::optional<JobLock> lock;
    if (!request.dryRun) {
        lock.emplace(job);
        job = readJob(folder);
    }
    Engine const& engine = engineOf(job.engine);
    engine.require(job);
    requireOutputFree(job);
    job.program = fs::read_symlink("/proc/self/exe");
    JobState const state = stateOf(job, request.verifies);
    // What a script of its own will still start is known to nobody else.
    if (job.engine != EngineKind::kSlurm && state.isLive())
        throw UserError(ExitCode::kOutput, job.folder.string() +
                                               ": is still at work: let it end, or end it by "
                                               "`zelk submit cancel`");
    std::vector<int> const frames = state.lost(job);
    bool const lacksMovie =
        state.movie == JobState::Movie::kMissing || state.movie == JobState::Movie::kFailed;
    if (frames.empty() && !lacksMovie)
        return job.folder.string() +
               (state.isWhole() ? ": all frames are written\n" : ": all frames are on their way\n");
    if (request.framesPerTask) job.framesPerTask = *request.framesPerTask;
    if (request.memoryMb) job.memoryMb = *request.memoryMb;
    if (request.dryRun) return planOf(job, frames.size(), false);
    std::set<std::string> before;
    for (EngineTask const& task : engine.tasks(job)) {
        if (task.stage == EngineTask::Stage::kEnded || task.task == 0) continue;
        for (Submission const& submission : job.submissions)
            for (EngineArray const& array : submission.arrays)
                if (submission.number == task.submission && task.task > array.offset &&
                    task.task <= array.offset + array.count)
                    before.insert(array.id);
    }
    return (frames.empty() ? std::string() : framesCounted(frames.size()) + " to render\n") +
           handOver(job, frames, {before.begin(), before.end()});
}

std::string cancelJob(fs::path const& folder) {
    Job job = readJob(folder);
    std::optional<JobLock> lock;
    std::optional<UserError> unrecorded;
    try {
        lock.emplace(job);
        job = readJob(folder);
        job.isCancelled = true;
        endSubmissions(job);
        writeJob(job);
    } catch (JobIsBusy const&) {
        throw;
    } catch (UserError const& error) {
        unrecorded = error;  // what runs is ended all the same
    }
    try {
        engineOf(job.engine).cancel(job);
    } catch (UserError const& error) {
        if (unrecorded) throw;
        throw UserError(error.code(), job.folder.string() +
                                          ": cancelled in its record, so that no task starts any "
                                          "more; what runs could not be asked to end: " +
                                          error.what());
    }
    // Slurm has told its tasks; a second signal would cut off the frames that they still finish.
    int const ended = job.engine == EngineKind::kSlurm ? 0 : endRunners(job);
    if (unrecorded)
        throw UserError(unrecorded->code(),
                        std::string(unrecorded->what()) +
                            "; what runs was asked to end, but the job doesn't know that it was "
                            "cancelled");
    std::string text = job.folder.string() + ": cancelled";
    if (ended > 0)
        text += fmt::format(", {} running task{} asked to end", ended, ended == 1 ? "" : "s");
    return text + "; what is written stays\n";
}

}  // namespace zelk
