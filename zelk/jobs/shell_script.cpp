// See shell_script.h.
#include "zelk/jobs/shell_script.h"

#include <fmt/format.h>

#include "zelk/jobs/program_call.h"
#include "zelk/jobs/task_script.h"
#include "zelk/text/shell_words.h"

namespace zelk {

namespace {

std::filesystem::path scriptOf(Job const& job) { return job.folder / "run.sh"; }

// The job knows the script by its process, so that it is at work between two tasks too. Of xargs
// 123 is the code where a task failed; of parallel their number.
constexpr char const* kStart = R"sh(
trap 'rm -f "$job/running/$submission."*"-$$-"*' EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
"$program" submit begin "$job" $submission --job-id $id --script $$ || exit
)sh";

constexpr char const* kTasks = R"sh(
[ "$at_a_time" -ge 1 ] 2>/dev/null || at_a_time=1

if parallel --version 2>/dev/null | grep -q 'GNU parallel'; then
    seq 1 $tasks | parallel --quote --jobs "$at_a_time" --line-buffer "$run" $id $submission
else
    seq 1 $tasks | xargs -n 1 -P "$at_a_time" "$run" $id $submission
fi || {
    echo "some tasks failed: see zelk submit status" >&2
    exit 5
}
)sh";

}  // namespace

void writeShellScript(Job const& job, Submission& submission, std::vector<std::string> const&,
                      std::function<void()> const&) {
    std::string const text =
        fmt::format(
            "#!/bin/sh\n# All tasks of this job, several at a time: run.sh [TASKS AT A TIME]\n"
            "program={}\njob={}\nid={}\nsubmission={}\ntasks={}\nrun={}\n"
            "at_a_time=${{1:-$(($(nproc) / {}))}}\n",
            shellWord(job.program.string()), shellWord(job.folder.string()), job.id,
            submission.number, submission.tasks, shellWord(job.script().string()), job.threads) +
        kStart + (submission.tasks > 0 ? kTasks : "") +
        (job.movie ? "\n\"$run\" $id $submission movie\n" : "");
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
