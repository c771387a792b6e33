// See output_jobs.h.
#include "zelk/jobs/output_jobs.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "zelk/files/absolute_path.h"
#include "zelk/files/frame_names.h"
#include "zelk/files/output_place.h"
#include "zelk/jobs/job_logs.h"
#include "zelk/jobs/job_state.h"
#include "zelk/jobs/runners.h"
#include "zelk/text/errors.h"
#include "zelk/text/shell_words.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Two spellings of one output write one file for a frame.
bool writeOneFile(fs::path const& a, fs::path const& b) {
    auto const first = [](fs::path const& name) {
        return canonicalPath(SequenceName(name.string()).pathOf(1));
    };
    return first(a) == first(b);
}

/// Nothing for a folder that is none, or is of another version.
std::optional<Job> jobIn(fs::path const& folder) {
    std::error_code fault;
    if (!fs::exists(folder / "job.json", fault)) return std::nullopt;
    try {
        return readJob(folder);
    } catch (UserError const&) {
        return std::nullopt;
    }
}

[[noreturn]] void throwAtWork(fs::path const& folder, fs::path const& output) {
    throw UserError(ExitCode::kOutput, folder.string() + ": is still at work on " +
                                           output.string() +
                                           ": `zelk submit resume` goes on with it, `zelk submit "
                                           "cancel` ends it");
}

/// By its own record and logs: all that was handed over is cancelled or came to its end.
bool isOver(Job const& job) {
    JobLogs const logs = logsOf(job);
    auto const hasEnded = [&](int submission, int task) {
        TaskName const name{submission, task};
        return logs.ended.contains(name) && !logs.failures.contains(name);  // it may be tried again
    };
    for (Submission const& submission : job.submissions) {
        if (submission.isOver) continue;
        for (int task = job.movie ? 0 : 1; task <= submission.tasks; ++task)
            if (!hasEnded(submission.number, task)) return false;
    }
    return true;
}

/// Where its engine can't be asked, a job that is over has nothing at work but what runs here.
bool isAtWork(Job const& job) {
    try {
        return stateOf(job).isLive();
    } catch (UserError const& error) {
        auto const running = runnersOf(job);
        if (isOver(job))
            return std::any_of(running.begin(), running.end(),
                               [](Running const& each) { return each.isHere; });
        throw UserError(error.code(),
                        fmt::format("{}: may be at work on {}: {}; `zelk submit cancel {}` ends it",
                                    job.folder.string(), job.output.string(), error.what(),
                                    shellWord(job.folder.string())));
    }
}

void requireReplaceable(Job const& job) {
    std::error_code fault;
    bool const isThere = fs::exists(job.folder, fault);
    bool const isJob = isThere && fs::exists(job.file(), fault);
    if (fault) throwUnwritable(job.folder, fault.value());
    if (!isThere) return;
    if (!isJob)
        throw UserError(ExitCode::kOutput, job.folder.string() +
                                               ": is there already and is no job: remove it, or "
                                               "give another name by --job");
    Job const earlier = readJob(job.folder);
    if (!writeOneFile(earlier.output, job.output))
        throw UserError(ExitCode::kOutput, job.folder.string() + ": is the job of " +
                                               earlier.output.string() + ", not of " +
                                               job.output.string() +
                                               ": remove it, or give another name by --job");
    if (isAtWork(earlier)) throwAtWork(job.folder, job.output);
}

}  // namespace

void requireFree(Job const& job) {
    requireReplaceable(job);
    requireOutputFree(job);
}

void requireOutputFree(Job const& job) {
    std::error_code fault;
    fs::path const own = canonicalPath(job.folder);
    for (fs::directory_iterator entry(jobFolderOf(job.output).parent_path(), fault), end;
         !fault && entry != end; entry.increment(fault)) {
        fs::path const& folder = entry->path();
        if (folder.extension() != kJobEnding || canonicalPath(folder) == own) continue;
        auto const other = jobIn(folder);
        if (other && writeOneFile(other->output, job.output) && isAtWork(*other))
            throwAtWork(folder, job.output);
    }
}

void linkBesideOutput(Job const& job) {
    fs::path const beside = jobFolderOf(job.output).parent_path(), own = canonicalPath(job.folder);
    if (canonicalPath(beside) == own.parent_path()) return;
    std::error_code fault;
    std::string const name = job.name();
    for (std::string const& each : {name, name + "-" + job.id}) {
        fs::path const link = beside / (each + std::string(kJobEnding));
        bool const isOthers = canonicalPath(link) != own && jobIn(link);
        if (!isOthers && fs::is_symlink(link, fault)) fs::remove(link, fault);
        fs::create_directory_symlink(own, link, fault);
        if (!fault) return;
    }
}

}  // namespace zelk
