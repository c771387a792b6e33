// Slurm's words; see slurm.h.
#include "zelk/jobs/slurm.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "zelk/jobs/program_call.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

using Words = std::vector<std::string>;

constexpr char const* kPackage = "slurm-client";
constexpr int kUsualArraySize = 1001;

/// Slurm has patterns in the names of outputs.
std::string outputName(std::filesystem::path const& file) {
    std::string name;
    for (char const c : file.string()) name += c == '%' ? std::string("%%") : std::string(1, c);
    return name;
}

Words sbatchWords(Job const& job, std::string const& output) {
    Words words = {"sbatch",
                   "--parsable",
                   "--job-name=" + job.name(),
                   "--chdir=" + job.folder.string(),
                   "--output=" + outputName(job.logs()) + output,
                   "--open-mode=append",
                   "--requeue",
                   "--ntasks=1",
                   fmt::format("--cpus-per-task={}", job.threads)};
    if (job.memoryMb > 0) words.push_back(fmt::format("--mem={}M", job.memoryMb));
    words.insert(words.end(), job.engineOptions.begin(), job.engineOptions.end());
    return words;
}

/// "1234" of sbatch's "1234;cluster".
std::string submitted(Words const& words) {
    std::string const output =
        callProgram(words, kPackage, "a job of the cluster; `sinfo` tells whether it is up");
    std::string const id(std::string_view(output).substr(0, output.find_first_of(";\n")));
    if (!id.empty() &&
        std::all_of(id.begin(), id.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return id;
    throw UserError(ExitCode::kRenderFailed,
                    {"sbatch", "answered", oneLine(output), "the number of a job"});
}

int maxArraySize() {
    std::istringstream lines(
        callProgram({"scontrol", "show", "config"}, kPackage, "the cluster's configuration"));
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("MaxArraySize")) continue;
        auto const size = parseWhole(line.substr(line.find('=') + 1));
        if (size && *size > 1) return *size;
    }
    return kUsualArraySize;
}

Words idsOf(Job const& job) {
    Words ids;
    for (Submission const& submission : job.submissions) {
        for (EngineArray const& array : submission.arrays) ids.push_back(array.id);
        if (!submission.movieId.empty()) ids.push_back(submission.movieId);
    }
    return ids;
}

EngineTask::Stage stageOf(std::string const& word) {
    for (char const* waits : {"PENDING", "REQUEUED", "REQUEUE_FED", "REQUEUE_HOLD", "SUSPENDED",
                              "SPECIAL_EXIT", "RESV_DEL_HOLD"})
        if (word == waits) return EngineTask::Stage::kWaiting;
    for (char const* runs :
         {"RUNNING", "CONFIGURING", "COMPLETING", "STAGE_OUT", "SIGNALING", "RESIZING", "STOPPED"})
        if (word == runs) return EngineTask::Stage::kRunning;
    return EngineTask::Stage::kEnded;
}

}  // namespace

std::vector<EngineArray> arraysOf(int tasks, int maxArraySize) {
    int const most = std::max(maxArraySize - 1, 1);  // elements are counted from 1
    std::vector<EngineArray> arrays;
    for (int offset = 0; offset < tasks; offset += most)
        arrays.push_back({"", offset, std::min(most, tasks - offset)});
    return arrays;
}

Words arrayWords(Job const& job, int submission, EngineArray const& array) {
    Words words = sbatchWords(job, "/slurm-%A_%a.txt");
    words.push_back(fmt::format("--array=1-{}", array.count));
    words.insert(words.end(), {job.script().string(), job.id, fmt::format("{}", submission),
                               fmt::format("{}", array.offset)});
    return words;
}

Words movieWords(Job const& job, int submission, Words const& after) {
    Words words = sbatchWords(job, "/slurm-movie-%j.txt");
    if (!after.empty())
        words.insert(words.end(), {fmt::format("--dependency=afterok:{}", fmt::join(after, ":")),
                                   "--kill-on-invalid-dep=yes"});
    words.insert(words.end(),
                 {job.script().string(), job.id, fmt::format("{}", submission), "movie"});
    return words;
}

void requireSlurm(Job const&) { maxArraySize(); }

std::string slurmPlan(Job const& job, Submission const& submission) {
    std::string text;
    Words after;
    for (EngineArray const& array : arraysOf(submission.tasks, maxArraySize())) {
        text += shellLine(arrayWords(job, submission.number, array)) + "\n";
        after.push_back(fmt::format("JOB{}", after.size() + 1));
    }
    if (job.movie) text += shellLine(movieWords(job, submission.number, after)) + "\n";
    return text;
}

/// All or nothing: where one call fails, what the others took is cancelled.
void handToSlurm(Job const& job, Submission& submission, Words const& before,
                 std::function<void()> const& record) {
    Words ids = before, outdated = {"scancel"};
    for (Submission const& earlier : job.submissions)
        if (!earlier.movieId.empty() && earlier.number != submission.number)
            outdated.push_back(earlier.movieId);
    try {
        for (EngineArray array : arraysOf(submission.tasks, maxArraySize())) {
            array.id = submitted(arrayWords(job, submission.number, array));
            submission.arrays.push_back(array);
            ids.push_back(array.id);
            record();
        }
        if (job.movie) submission.movieId = submitted(movieWords(job, submission.number, ids));
        record();
    } catch (UserError const&) {
        Words words = {"scancel"};
        for (EngineArray const& array : submission.arrays) words.push_back(array.id);
        if (words.size() > 1) askProgram(words, kPackage);
        submission.arrays.clear();
        throw;
    }
    if (outdated.size() > 1) askProgram(outdated, kPackage);  // it would wait for what failed
}

std::vector<EngineTask> tasksIn(Job const& job, std::string_view text) {
    struct Place {
        int submission = 0, offset = 0;
        bool isMovie = false;
    };
    std::map<std::string, Place> places;
    for (Submission const& submission : job.submissions) {
        for (EngineArray const& array : submission.arrays)
            places[array.id] = {submission.number, array.offset};
        if (!submission.movieId.empty()) places[submission.movieId] = {submission.number, 0, true};
    }
    std::vector<EngineTask> tasks;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        auto const first = line.find('|'), second = line.find('|', first + 1);
        if (second == line.npos) continue;
        std::string const name = line.substr(0, first);
        auto const bar = name.find('_');
        auto const place = places.find(name.substr(0, bar));
        if (place == places.end()) continue;
        auto const element = bar == name.npos ? std::nullopt : parseWhole(name.substr(bar + 1));
        if (!place->second.isMovie && !element) continue;
        EngineTask task;
        task.submission = place->second.submission;
        task.task = place->second.isMovie ? 0 : place->second.offset + *element;
        std::string const word = line.substr(first + 1, second - first - 1);
        task.word = word.substr(0, word.find(' '));  // "CANCELLED by 0"
        task.stage = stageOf(task.word);
        task.reason = line.substr(second + 1);
        if (task.reason == "None") task.reason.clear();
        tasks.push_back(task);
    }
    return tasks;
}

std::vector<EngineTask> slurmTasks(Job const& job) {
    Words const ids = idsOf(job);
    if (ids.empty()) return {};
    std::string const list = fmt::format("{}", fmt::join(ids, ","));
    ProgramAnswer const queue = askProgram(
        {"squeue", "-h", "-r", "--states=all", "-o", "%i|%T|%r", "--jobs=" + list}, kPackage);
    bool const isForgotten = queue.words.find("Invalid job id") != std::string::npos;
    if (!queue.isDone && !isForgotten)
        throw UserError(ExitCode::kRenderFailed,
                        "squeue failed: " + queue.words + "; expected the cluster's queue");
    std::vector<EngineTask> tasks = tasksIn(job, queue.isDone ? queue.output : "");
    // Where accounting is not kept sacct fails, and the job's files must do.
    ProgramAnswer history;
    try {
        history = askProgram({"sacct", "-n", "-P", "-X", "--format=JobID,State,Reason", "-j", list},
                             kPackage);
    } catch (UserError const&) {
        return tasks;
    }
    if (!history.isDone) return tasks;
    std::map<std::pair<int, int>, bool> isKnown;
    for (EngineTask const& task : tasks) isKnown[{task.submission, task.task}] = true;
    for (EngineTask const& task : tasksIn(job, history.output))
        if (task.stage == EngineTask::Stage::kEnded &&
            !isKnown.contains({task.submission, task.task}))
            tasks.push_back(task);
    return tasks;
}

void cancelSlurm(Job const& job) {
    Words words = {"scancel"};
    Words const ids = idsOf(job);
    words.insert(words.end(), ids.begin(), ids.end());
    if (ids.empty()) return;
    ProgramAnswer const answer = askProgram(words, kPackage);
    bool const isForgotten = answer.words.find("Invalid job id") != std::string::npos;
    if (!answer.isDone && !isForgotten)
        throw UserError(ExitCode::kRenderFailed,
                        "scancel failed: " + answer.words + "; expected jobs that are cancelled");
}

}  // namespace zelk
