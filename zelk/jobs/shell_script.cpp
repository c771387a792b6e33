// See shell_script.h.
#include "zelk/jobs/shell_script.h"

#include <fmt/format.h>

#include "zelk/jobs/program_call.h"
#include "zelk/jobs/task_script.h"
#include "zelk/text/shell_words.h"

namespace zelk {

namespace {

std::filesystem::path scriptOf(Job const& job) { return job.folder / "run.sh"; }

// Of xargs 123 is the code where a task failed; of parallel their number.
constexpr char const* kBody = R"sh(
[ "$at_a_time" -ge 1 ] 2>/dev/null || at_a_time=1

if parallel --version 2>/dev/null | grep -q 'GNU parallel'; then
    seq 1 $tasks | parallel --quote --jobs "$at_a_time" --line-buffer "$run" $submission
else
    seq 1 $tasks | xargs -n 1 -P "$at_a_time" "$run" $submission
fi || {
    echo "some tasks failed: see zelk submit status" >&2
    exit 5
}
)sh";

}  // namespace

void writeShellScript(Job const& job, Submission& submission, std::vector<std::string> const&) {
    std::string const text =
        fmt::format(
            "#!/bin/sh\n# All tasks of this job, several at a time: run.sh [TASKS AT A TIME]\n"
            "submission={}\ntasks={}\nrun={}\nat_a_time=${{1:-$(($(nproc) / {}))}}\n",
            submission.number, submission.tasks, shellWord(job.script().string()), job.threads) +
        (submission.tasks > 0 ? kBody : "") + (job.movie ? "exec \"$run\" movie\n" : "");
    writeScript(scriptOf(job), text);
}

std::string shellPlan(Job const& job, Submission const&) {
    return "write " + scriptOf(job).string() + "\n";
}

std::string shellNext(Job const& job) { return "run " + shellWord(scriptOf(job).string()); }

void nothingRequired(Job const&) {}
std::vector<EngineTask> noTasks(Job const&) { return {}; }
void nothingToCancel(Job const&) {}
std::string nothingNext(Job const&) { return ""; }

}  // namespace zelk
