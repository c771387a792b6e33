// See task.h.
#include "zelk/jobs/task.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/files/frame_names.h"
#include "zelk/jobs/job_logs.h"
#include "zelk/jobs/job_scene.h"
#include "zelk/jobs/runners.h"
#include "zelk/scene/check.h"
#include "zelk/scene/file.h"
#include "zelk/sequence/progress.h"
#include "zelk/sequence/render_frames.h"

namespace zelk {

namespace {

/// Codes that no script tries again.
UserError unwanted(Job const& job, std::string const& why) {
    return {ExitCode::kInterrupted, job.folder.string() + ": " + why};
}

/// A movie has all frames or none.
void requireFrames(Job const& job) {
    std::set<int> const done = doneFrames(job, logsOf(job), false);
    std::vector<int> lost = parseFrameRange(job.file().string(), job.frames);
    std::erase_if(lost, [&](int frame) { return done.contains(frame); });
    if (!lost.empty())
        throw UserError(ExitCode::kInput,
                        {job.folder.string(), "frames are not there as they were written:",
                         shortened(frameRangeText(lost)), "all frames of the movie"});
}

/// In the log of a run that didn't begin, or once more at its end: status has the reason from it.
void noteEnd(std::filesystem::path const& log, UserError const& error) {
    Progress progress(ProgressMode::kQuiet, 0, standardErrorScreen(), openLog(log));
    progress.error({error.what(), error.code()});
    progress.end({0, 0, false, error.code()});
}

RunOptions runOf(Job const& job, TaskName name) {
    RunOptions run = job.runOptions();
    run.log = job.log(name.submission, name.task);
    return run;
}

}  // namespace

void requireWanted(Job const& job, int submission, TaskCaller const& caller) {
    if (caller.jobId && caller.jobId != job.id)
        throw unwanted(job, fmt::format("another job took the place of that of this task ({})",
                                        *caller.jobId));
    if (job.isCancelled) throw unwanted(job, "the job was cancelled; `zelk submit resume` goes on");
    auto const found =
        std::find_if(job.submissions.begin(), job.submissions.end(),
                     [submission](Submission const& each) { return each.number == submission; });
    if (found == job.submissions.end())
        throw UserError(ExitCode::kInput,
                        {job.folder.string(), "has no submission", fmt::format("{}", submission),
                         fmt::format("1 to {}", job.submissions.size())});
    if (found->isOver)
        throw unwanted(
            job, fmt::format("a later submission took the place of submission {}", submission));
}

ExitCode runTask(Job const& job, int submission, int task, TaskCaller const& caller) {
    requireWanted(job, submission, caller);
    TaskName const name{submission, task};
    Runner const runner(job, name, caller.script);
    std::vector<int> frames = readTask(job, submission, task);
    TaskLog const log = readTaskLog(job.log(submission, task));
    std::erase_if(frames, [&](int frame) {
        auto const written = log.written.find(frame);
        return written != log.written.end() &&
               isAsWritten(written->second.file, written->second, true);
    });
    if (frames.empty()) return ExitCode::kDone;
    requireWanted(readJob(job.folder), submission, caller);  // files may have been read for long
    return renderFrames(sceneOf(job, frames), runOf(job, name));
}

ExitCode gatherMovie(Job const& job, int submission, TaskCaller const& caller) {
    if (!job.movie)
        throw UserError(ExitCode::kInput, job.folder.string() +
                                              ": has no movie: `zelk submit` makes one with "
                                              "--movie");
    requireWanted(job, submission, caller);
    TaskName const name{submission, 0};
    Runner const runner(job, name, caller.script);
    RunOptions const run = runOf(job, name);
    try {
        requireFrames(job);
        Scene const scene = movieSceneOf(job, readScene(job.scene()));
        checkScene(scene);
        requireWanted(readJob(job.folder), submission, caller);
        return renderFrames(scene, run);
    } catch (UserError const& error) {
        noteEnd(run.log, error);
        throw;
    }
}

}  // namespace zelk
