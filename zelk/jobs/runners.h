// Who works on a job: a file a process in its folder `running`, gone with what it stands for.
//
//   1-7.1a2b3c4d-4711-98    task 7 of submission 1; 1-0: its movie
//   1.1a2b3c4d-4712-99      a script that starts all tasks of submission 1 in turn
//
// The name has the tag (zelk/files/process_tag.h) of whoever stands for the work: the process
// that renders, or the script that starts it and tries again. The line in the file is the tag of
// the process that renders, none yet in a script's, and its host. Of this machine a file counts
// while one of the two lives; of others, which can't be asked, as long as it is there.
#pragma once

#include <compare>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "zelk/files/process_tag.h"
#include "zelk/jobs/job.h"

namespace zelk {

/// Task 0 is the movie.
struct TaskName {
    int submission = 0, task = 0;
    auto operator<=>(TaskName const&) const = default;
    std::string text() const;  ///< "1-7"
    static std::optional<TaskName> at(std::string const& text);
};

struct Running {
    int submission = 0;
    std::optional<int> task;           ///< none for a script of all tasks
    std::optional<ProcessTag> worker;  ///< who renders, where it lives or can't be asked
    bool isHere = false;               ///< on this machine
    std::string host;
    std::filesystem::path file;
};

/// Without those whose processes are dead.
std::vector<Running> runnersOf(Job const& job);

/// This process works on a task, while the object lives. Under a script, `holder`, the file is the
/// script's to remove.
class Runner {
public:
    Runner(Job const& job, TaskName name, std::optional<ProcessTag> const& holder);
    ~Runner();
    Runner(Runner const&) = delete;
    Runner& operator=(Runner const&) = delete;

private:
    std::filesystem::path m_file;
    bool m_isOwn;
};

/// A script works on a submission. Throws an output error where another one does.
void noteScript(Job const& job, int submission, ProcessTag const& script);

/// Of an engine without a queue: asks the processes on this machine that render to end, and forgets
/// those of other machines, which see that the job is cancelled when they start next. The number of
/// processes.
int endRunners(Job const& job);

}  // namespace zelk
