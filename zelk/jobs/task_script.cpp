// See task_script.h.
#include "zelk/jobs/task_script.h"

#include <fmt/format.h>

#include "zelk/files/output_place.h"
#include "zelk/files/text_file.h"
#include "zelk/jobs/program_call.h"
#include "zelk/text/shell_words.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

// Codes that are tried again: 4, a full disk, and 128 + a signal; but not 130 and 143, by which
// users and engines end a task.
//
// A signal is noted and not passed on: engines and terminals send it to the child too, and a second
// one would cut off the frame that it finishes. The script waits for the child and ends as it does.
constexpr char const* kBody = R"sh(
name=$2-$3 id=$1
case $3 in
movie) name=$2-0; set -- movie "$job" "$2" ;;
*) set -- task "$job" "$2" "$3" ;;
esac
trap 'rm -f "$job/running/$name."*"-$$-"*' EXIT
told=
trap 'told=129' HUP
trap 'told=130' INT
trap 'told=143' TERM

tries=0
while [ -z "$told" ]; do
    "$program" submit "$@" --job-id "$id" --script $$ && exit 0
    code=$?
    [ -z "$told" ] || exit $code
    case $code in
    4 | 129 | 13[1-9] | 14[0-2] | 14[4-9] | 15[0-9]) ;;
    *) exit $code ;;
    esac
    tries=$((tries + 1))
    [ $tries -le $retries ] || exit $code
    echo "zelk submit: $* ended with code $code; retry $tries of $retries" >&2
)sh";

constexpr char const* kRequeue = R"sh(    [ "${SLURM_RESTART_COUNT:-0}" -lt $retries ] || exit $code
    # The plain id of an array's element may stand for the whole array.
    queued=${SLURM_ARRAY_JOB_ID:+${SLURM_ARRAY_JOB_ID}_$SLURM_ARRAY_TASK_ID}
    scontrol requeue "${queued:-$SLURM_JOB_ID}" && sleep 60  # the engine ends this script meanwhile
)sh";

constexpr char const* kScriptEnd = R"sh(    sleep 2
done
exit $told
)sh";

// An element of an array is a task from an offset on.
constexpr char const* kArray = R"sh(
[ "$3" = movie ] || set -- "$1" "$2" $(($3 + SLURM_ARRAY_TASK_ID))
)sh";

}  // namespace

std::string taskScript(Job const& job) {
    bool const isSlurm = job.engine == EngineKind::kSlurm;
    return fmt::format(
               "#!/bin/sh\n# A task of this job, started by its engine: task.sh ID SUBMISSION {}, "
               "or task.sh ID\n# SUBMISSION movie.\nprogram={}\njob={}\nretries={}\n",
               isSlurm ? "OFFSET" : "TASK", shellWord(job.program.string()),
               shellWord(job.folder.string()), job.retries) +
           (isSlurm ? kArray : "") + kBody + (isSlurm ? kRequeue : "") + kScriptEnd;
}

void writeScript(fs::path const& file, std::string const& text) {
    writeTextFile(file, text, true);
    std::error_code fault;
    fs::permissions(file, fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add, fault);
    if (fault) throwUnwritable(file, fault.value());
}

}  // namespace zelk
