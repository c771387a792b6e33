// What an engine's task does: a run over its frames that goes on where a former one ended.
#pragma once

#include <optional>
#include <string>

#include "zelk/files/process_tag.h"
#include "zelk/jobs/job.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Who starts a task.
struct TaskCaller {
    std::optional<std::string> jobId;  ///< as the engine was given it; nothing by hand
    std::optional<ProcessTag> script;  ///< that tries again where this process dies
};

/// Throws where the job does not want the submission's tasks any more: the job that its engine was
/// given has been replaced, or it was cancelled.
void requireWanted(Job const& job, int submission, TaskCaller const& caller);

/// Renders the task's frames but those that an earlier run of it has written and that are whole,
/// as renderFrames does and with its answer. Events go to the task's log.
ExitCode runTask(Job const& job, int submission, int task, TaskCaller const& caller);

/// Makes the movie of all frames, in their order. Throws an input error where the job has no movie,
/// or a frame's file is not there as it was written.
ExitCode gatherMovie(Job const& job, int submission, TaskCaller const& caller);

}  // namespace zelk
