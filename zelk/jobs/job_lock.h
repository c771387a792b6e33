// One command at a time changes a job, and one job of an output is made at a time: hidden lock
// files (zelk/files/frame_locks.h) beside the output's usual folder of a job and beside the job's
// own.
#pragma once

#include "zelk/files/frame_locks.h"
#include "zelk/jobs/job.h"

namespace zelk {

/// Holds both, while it lives.
class JobLock {
public:
    /// Waits a few seconds for another command; throws an output error where that goes on, or where
    /// a folder takes no file.
    explicit JobLock(Job const& job);

private:
    FrameLocks m_locks;
};

}  // namespace zelk
