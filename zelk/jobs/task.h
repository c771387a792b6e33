// What an engine's task does: a run over its frames that goes on where a former one ended.
#pragma once

#include <filesystem>

#include "zelk/jobs/job.h"
#include "zelk/sequence/journal.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Renders the task's frames but those that an earlier run of it has written and that are whole,
/// as renderFrames does and with its answer. Events go to the task's log.
ExitCode runTask(Job const& job, int submission, int task);

/// Makes the movie of all frames, in their order. Throws an input error where the job has no movie;
/// a frame that is not there ends it.
ExitCode gatherMovie(Job const& job);

/// Whether the file is what was written under that name last: by size and sum, as the folder's
/// journal has them.
bool isAsWritten(std::filesystem::path const& file, Journal& journal);

}  // namespace zelk
