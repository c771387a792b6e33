// See job_lock.h.
#include "zelk/jobs/job_lock.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <set>
#include <thread>

#include "zelk/files/absolute_path.h"
#include "zelk/files/output_place.h"

namespace zelk {

namespace fs = std::filesystem;

JobLock::JobLock(Job const& job, Of of) {
    using Clock = std::chrono::steady_clock;
    auto const end = Clock::now() + std::chrono::seconds(5);
    // In one order everywhere, so that no two commands wait for each other.
    std::set<fs::path> folders{canonicalPath(jobFolderOf(job.output))};
    if (of == Of::kOutputAndJob) folders.insert(canonicalPath(job.folder));
    for (fs::path const& folder : folders) {
        fs::path const beside = folder.parent_path();
        if (::access(beside.c_str(), W_OK | X_OK) != 0) throwUnwritable(beside, errno);
        while (!m_locks.take(folder)) {
            if (Clock::now() > end) {
                std::string const holder = lockHolder(folder);
                throw JobIsBusy(ExitCode::kOutput,
                                folder.string() + ": another command works on this job (" +
                                    (holder.empty() ? "it doesn't say which" : holder) +
                                    "): try again when it has ended");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
}

}  // namespace zelk
