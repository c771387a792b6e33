// What all logs of a job tell together, and which frames are done by them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "zelk/jobs/job.h"
#include "zelk/jobs/runners.h"
#include "zelk/jobs/task_log.h"

namespace zelk {

struct JobLogs {
    std::map<int, WrittenFile> written;        ///< by frame; the latest submission's word counts
    std::map<int, std::string> failed;         ///< frames that were not written later, and why
    std::map<TaskName, std::string> failures;  ///< what ended a task's last run
    std::set<TaskName> ended;                  ///< tasks whose last run came to its end
    std::map<int, WrittenFile> movies;         ///< whole ones, by submission
    std::string movieFailure;                  ///< what ended the last movie's last run
    double seconds = 0;                        ///< that runs took for the frames they wrote
    std::size_t timed = 0;                     ///< these frames
    std::uint64_t peakBytes = 0;
};
JobLogs logsOf(Job const& job);

/// Notes the frames that were whole before the job, so that changes of them are seen.
void writeKeptLog(Job const& job, std::map<int, WrittenFile> const& kept);

/// By size; where it `verifies`, by every byte, if the sum of what was written is known.
bool isAsWritten(std::filesystem::path const& file, WrittenFile const& written, bool verifies);

/// The job's frames whose files are there as it wrote them, or as they were kept.
std::set<int> doneFrames(Job const& job, JobLogs const& logs, bool verifies);

/// Whether the movie is whole, and made since the last submission that had frames.
bool isMovieDone(Job const& job, JobLogs const& logs, bool verifies);

}  // namespace zelk
