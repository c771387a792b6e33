// See job_lock.h.
#include "zelk/jobs/job_lock.h"

#include <chrono>
#include <set>
#include <thread>

#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

JobLock::JobLock(Job const& job) {
    using Clock = std::chrono::steady_clock;
    auto const end = Clock::now() + std::chrono::seconds(5);
    // In one order everywhere, so that no two commands wait for each other.
    for (fs::path const& folder : std::set<fs::path>{jobFolderOf(job.output), job.folder})
        while (!m_locks.take(folder)) {
            std::string const holder = lockHolder(folder);
            if (Clock::now() > end && !holder.empty())
                throw UserError(ExitCode::kOutput, folder.string() +
                                                       ": another command works on this job (" +
                                                       holder + "): try again when it has ended");
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
}

}  // namespace zelk
