// The jobs of one output: those that stand beside it, and links there to those that stand
// elsewhere.
#pragma once

#include "zelk/jobs/job.h"

namespace zelk {

/// Throws an output error where a new job may not take the place of what `job.folder` has, or where
/// another job of its output is at work.
void requireFree(Job const& job);

/// Beside the output, to a job that stands elsewhere. Where the folder takes no link there is none.
void linkBesideOutput(Job const& job);

}  // namespace zelk
