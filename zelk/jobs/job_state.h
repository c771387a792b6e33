// How far a job is: what its engine has, what its logs tell and what lies on the disk.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zelk/jobs/engine.h"
#include "zelk/jobs/job.h"

namespace zelk {

/// Each frame of the job stands in one of the lists.
struct JobState {
    std::vector<int> done;              ///< written by this job, or kept, and there
    std::vector<int> running, waiting;  ///< of tasks that an engine has
    std::map<int, std::string> failed;  ///< nobody has them any more; why
    std::vector<int> missing;           ///< neither
    int runningTasks = 0, waitingTasks = 0;
    bool hasScript = false;  ///< one that starts tasks is at work, between two of them too
    std::map<std::string, int> engineTasks;  ///< the engine's own words and reasons, counted
    enum class Movie { kNone, kMissing, kWaiting, kRunning, kFailed, kDone } movie = Movie::kNone;
    std::string movieFailure;
    std::optional<double> secondsLeft;  ///< where something runs and frames were timed
    std::uint64_t peakBytes = 0;        ///< the most that a task has taken

    bool isLive() const;   ///< something runs or waits
    bool isWhole() const;  ///< all is done, the movie too
    /// Frames that a resume hands over: those that nobody has, in the job's order.
    std::vector<int> lost(Job const& job) const;
};

/// `verifies` reads each file and compares it with what was written; else its size does.
JobState stateOf(Job const& job, bool verifies = false);

/// Several lines for people.
std::string stateText(Job const& job, JobState const& state);
/// docs/farm.md has its keys.
std::string stateJson(Job const& job, JobState const& state);

}  // namespace zelk
