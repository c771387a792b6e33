// `task.sh` of a job: what every engine starts.
//
//   task.sh ID SUBMISSION TASK      renders the task's frames
//   task.sh ID SUBMISSION movie     gathers the frames to the movie
//
// ID is the job's: a task that its engine has left of a job that was replaced is refused.
//
// It runs `zelk submit task`, or `zelk submit movie`, and again when that was killed or met a full
// disk, up to the job's retries: all else would fail alike. What was written stays, so that a retry
// goes on. On Slurm a retry is a requeue, so that another node may have it.
#pragma once

#include <string>

#include "zelk/jobs/job.h"

namespace zelk {

std::string taskScript(Job const& job);

/// Writes an executable file, whole or not at all. Throws an output error.
void writeScript(std::filesystem::path const& file, std::string const& text);

}  // namespace zelk
