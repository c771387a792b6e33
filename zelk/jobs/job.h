// A job: what was submitted, as a folder beside its output that engines and their tasks read.
//
//   comp.zelk-job/
//     job.json          this record
//     scene.zelk.json   the scene as it was submitted: absolute paths, tracks as keyframes
//     tasks-1.txt       frames of the first submission, a line a task; resume adds tasks-2.txt ...
//     task.sh           what an engine starts: ID SUBMISSION TASK, the movie is task 0
//     logs/1-7.jsonl    events of a task's runs, 1-0.jsonl of the movie's; 0-0.jsonl of the frames
//                       that were timed; kept.jsonl has the frames that were whole before
//     running/          who works on it (zelk/jobs/runners.h)
//
// Only submit, resume and cancel write the record, whole or not at all, one of them at a time
// (zelk/jobs/job_lock.h); tasks only read it. A job that stands elsewhere has a link beside its
// output, so that each job of an output is found there.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/render/run_options.h"
#include "zelk/text/choices.h"

namespace zelk {

enum class EngineKind { kSlurm, kShell, kOpenJd };
inline constexpr Choice<EngineKind> kEngineWords[] = {
    {"slurm", EngineKind::kSlurm}, {"shell", EngineKind::kShell}, {"openjd", EngineKind::kOpenJd}};

/// Tasks that an engine took in one call, under its own name for them: element i, from 1, is task
/// `offset` + i of the submission.
struct EngineArray {
    std::string id;
    int offset = 0, count = 0;
};

/// What one submit or resume handed over.
struct Submission {
    int number = 0;  ///< from 1
    int tasks = 0;
    std::vector<EngineArray> arrays;
    std::string movieId;  ///< of the engine; empty for none
    bool isOver = false;  ///< cancelled, or a later one took its place: its tasks are refused
};

struct JobMovie {
    std::filesystem::path file;
    std::optional<std::string> codec;
    std::optional<double> quality;
};

struct Job {
    std::filesystem::path folder;  ///< absolute; not part of the record
    std::string id;  ///< at random; engines' tasks say it, and those of a replaced job are refused
    std::filesystem::path output;  ///< of the frames; absolute
    std::string history;           ///< the render as a command line, for the files' metadata
    std::filesystem::path program;
    EngineKind engine = EngineKind::kSlurm;
    std::vector<std::string> engineOptions;  ///< further words for the engine's own program
    std::string frames;                      ///< asked for, as a list
    int framesPerTask = 1;
    double secondsPerFrame = 0;  ///< as timed or told; 0 when nobody knows
    int threads = 1;             ///< a task's
    std::uint64_t memoryMb = 0;  ///< 2^20 bytes that a task asks for; 0 for the engine's own
    int retries = 2;             ///< of a task that was killed or met a full disk
    std::map<std::string, std::string> edits;  ///< of the scene, that its file has no place for
    std::optional<JobMovie> movie;
    bool keepMetadata = true, isStrict = false;
    int pngLevel = 1, inFlight = 3;
    bool isCancelled = false;
    std::vector<Submission> submissions;

    std::string name() const;  ///< "comp"
    std::filesystem::path file() const { return folder / "job.json"; }
    std::filesystem::path scene() const { return folder / "scene.zelk.json"; }
    std::filesystem::path script() const { return folder / "task.sh"; }
    std::filesystem::path logs() const { return folder / "logs"; }
    std::filesystem::path keptLog() const { return logs() / "kept.jsonl"; }
    std::filesystem::path running() const { return folder / "running"; }
    std::filesystem::path log(int submission, int task) const;
    std::filesystem::path tasks(int submission) const;
    RunOptions runOptions() const;
};

inline constexpr std::string_view kJobEnding = ".zelk-job";

/// The job of an output that may have a frame mark: beside it, "comp.zelk-job" of "comp.####.exr";
/// where a folder has the mark, beside that folder.
std::filesystem::path jobFolderOf(std::filesystem::path const& output);

/// Eight hexadecimal digits.
std::string newJobId();

/// Throws an input error for a folder that is no job's, naming the place of what can't be read.
Job readJob(std::filesystem::path const& folder);
void writeJob(Job const& job);

/// Frames of a submission's tasks, task 1 first. Throws an input error.
std::vector<std::vector<int>> readTasks(Job const& job, int submission);
void writeTasks(Job const& job, int submission, std::vector<std::vector<int>> const& tasks);
/// Those of one task alone.
std::vector<int> readTask(Job const& job, int submission, int task);

}  // namespace zelk
