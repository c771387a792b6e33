// See shell_script.h.
#include "zelk/jobs/shell_script.h"

#include <fmt/format.h>

#include "zelk/jobs/program_call.h"
#include "zelk/jobs/task_script.h"
#include "zelk/text/shell_words.h"

namespace zelk {

namespace {

std::filesystem::path scriptOf(Job const& job) { return job.folder / "run.sh"; }

// The job knows the script by its process, so that it is at work between two tasks too. All that it
// starts is a group of processes of its own, so that a signal to the script reaches all of them: a
// shell would wait for them first. The script then lasts until the group is empty, since tasks
// finish their frames. Of xargs 123 is the code where a task failed; of parallel their number.
constexpr char const* kStart = R"sh(
if ! [ "$at_a_time" -ge 1 ] 2>/dev/null; then
    echo "run.sh: no number of tasks at a time: \"$at_a_time\", expected 1 or more" >&2
    exit 2
fi
cd "$job" || exit
busy=
# Whether one of the group lives. One that has ended is in it until somebody reaps it.
lives() {
    for stat in /proc/[0-9]*/stat; do
        read -r line 2>/dev/null <"$stat" || continue
        set -- ${line##*) }
        [ "$1" = Z ] || [ "$3" != "$group" ] || return 0
    done
    return 1
}
end() {
    trap '' HUP INT QUIT TERM
    group=${busy:+$!}
    if [ -n "$group" ]; then
        # A process becomes a group just after its start. One signal: a second one cuts off frames.
        until kill -s TERM -- "-$group" || ! kill -s 0 "$group"; do sleep 0.05; done 2>/dev/null
        while lives; do sleep 0.1; done
    fi
    exit "$1"
}
trap 'rm -f "running/$submission."*"-$$-"*' EXIT
trap 'end 129' HUP
trap 'end 130' INT
trap 'end 131' QUIT
trap 'end 143' TERM
"$program" submit begin "$job" $submission --job-id $id --script $$ || exit

# Runs its words as a group, and ends as they do.
together() {
    busy=yes
    setsid "$@" &
    wait $!
    code=$?
    busy=
    return $code
}
)sh";

// Parallel gives each task a group of its own, to which it passes the signal on: once, too.
constexpr char const* kTasks = R"sh(
if parallel --version 2>/dev/null | grep -q 'GNU parallel'; then
    each='seq 1 $0 | parallel --jobs $1 --line-buffer --termseq TERM,3600000,KILL ./task.sh $2 $3'
else
    each='seq 1 $0 | xargs -n 1 -P $1 ./task.sh $2 $3'
fi
together sh -c "$each" $tasks "$at_a_time" $id $submission || {
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
            "program={}\njob={}\nid={}\nsubmission={}\ntasks={}\n"
            "at_a_time=${{1:-$(($(nproc) < {} ? 1 : $(nproc) / {}))}}\n",
            shellWord(job.program.string()), shellWord(job.folder.string()), job.id,
            submission.number, submission.tasks, job.threads, job.threads) +
        kStart + (submission.tasks > 0 ? kTasks : "") +
        (job.movie ? "\ntogether ./task.sh $id $submission movie\n" : "");
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
