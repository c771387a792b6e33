// One command at a time changes a job, and one job of an output is made at a time: hidden lock
// files (zelk/files/frame_locks.h) beside the output's usual folder of a job and beside the job's
// own.
#pragma once

#include "zelk/files/frame_locks.h"
#include "zelk/jobs/job.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Another command has the job.
class JobIsBusy : public UserError {
    using UserError::UserError;
};

/// Holds them, while it lives.
class JobLock {
public:
    enum class Of { kOutputAndJob, kOutput };
    /// Waits a few seconds for another command; throws JobIsBusy where that goes on, and an output
    /// error where a folder takes no file.
    explicit JobLock(Job const& job, Of of = Of::kOutputAndJob);

private:
    FrameLocks m_locks;
};

}  // namespace zelk
