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
// starts is a session and a group of its own, so that a signal to the script reaches all of them: a
// shell would wait for them first. The script then lasts until none of them lives, since tasks
// finish their frames. Of xargs 123 is the code where a task failed; of parallel their number.
constexpr char const* kStart = R"sh(
if ! [ "$at_a_time" -ge 1 ] 2>/dev/null; then
    echo "run.sh: no number of tasks at a time: \"$at_a_time\", expected 1 or more" >&2
    exit 2
fi
cd "$job" || exit
busy=
# Those of the session that live: `pids`. One that has ended is in it until somebody reaps it. No
# second shell is asked, which a signal from the terminal would end too.
living() {
    pids=
    for stat in /proc/[0-9]*/stat; do
        read -r line 2>/dev/null <"$stat" || continue
        set -- ${line##*) }
        [ "$1" = Z ] || [ "$4" != "$session" ] || { stat=${stat%/stat}; pids="$pids ${stat#/proc/}"; }
    done
}
last() { while living; [ -n "$pids" ]; do sleep 0.1; done; }
end() {
    trap '' HUP INT QUIT TERM
    session=${busy:+$!}
    if [ -n "$session" ]; then
        echo "run.sh: waits for the frames at work; a second signal ends them at once" >&2
        # A process becomes a group just after its start. Each task gets one signal: a second one
        # cuts off its frame.
        until kill -s 0 -- "-$session" || ! kill -s 0 "$session"; do sleep 0.05; done 2>/dev/null
        for signal in $signals; do kill -s "$signal" -- "-$session"; done 2>/dev/null
        trap 'living; kill -s TERM $pids 2>/dev/null' INT QUIT TERM  # a closed terminal sends HUP twice
        last
    fi
    exit "$1"
}
trap 'rm -f "running/$submission."*"-$$-"*' EXIT
trap 'end 129' HUP
trap 'end 130' INT
trap 'end 131' QUIT
trap 'end 143' TERM
"$program" submit begin "$job" $submission --job-id $id --script $$ || exit

# Runs its words as a session, which `signals` end, and ends as they do, once all of it has ended.
together() {
    busy=yes
    setsid "$@" &
    session=$!
    wait $session
    code=$?
    [ $code -eq 0 ] || last
    busy=
    return $code
}
)sh";

// Parallel gives each task a group of its own, to which it passes TERM on: once, too. Until its
// first task it takes TERM for nothing, while HUP ends it; then HUP is to start no more tasks.
constexpr char const* kTasks = R"sh(
if parallel --version 2>/dev/null | grep -q 'GNU parallel'; then
    signals='HUP TERM'
    each='seq 1 $0 | parallel --jobs $1 --line-buffer --termseq TERM,3600000,KILL ./task.sh $2 $3'
else
    signals=TERM
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
        (job.movie ? "\nsignals=TERM\ntogether ./task.sh $id $submission movie\n" : "");
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
