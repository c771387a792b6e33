// See output_jobs.h.
#include "zelk/jobs/output_jobs.h"

#include <optional>

#include "zelk/files/frame_names.h"
#include "zelk/jobs/job_state.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

fs::path canonicalPath(fs::path const& path) {
    std::error_code fault;
    fs::path const found = fs::weakly_canonical(path, fault);
    return fault ? path : found;
}

/// Two spellings of one output write one file for a frame.
bool writeOneFile(fs::path const& a, fs::path const& b) {
    auto const first = [](fs::path const& name) {
        return canonicalPath(SequenceName(name.string()).pathOf(1));
    };
    return first(a) == first(b);
}

/// Nothing for a folder that is none, or is of another version.
std::optional<Job> jobIn(fs::path const& folder) {
    std::error_code fault;
    if (!fs::exists(folder / "job.json", fault)) return std::nullopt;
    try {
        return readJob(folder);
    } catch (UserError const&) {
        return std::nullopt;
    }
}

[[noreturn]] void throwAtWork(fs::path const& folder, fs::path const& output) {
    throw UserError(ExitCode::kOutput, folder.string() + ": is still at work on " +
                                           output.string() +
                                           ": `zelk submit resume` goes on with it, `zelk submit "
                                           "cancel` ends it");
}

void requireReplaceable(Job const& job) {
    if (!fs::exists(job.folder)) return;
    if (!fs::exists(job.file()))
        throw UserError(ExitCode::kOutput, job.folder.string() +
                                               ": is there already and is no job: remove it, or "
                                               "give another name by --job");
    Job const earlier = readJob(job.folder);
    if (!writeOneFile(earlier.output, job.output))
        throw UserError(ExitCode::kOutput, job.folder.string() + ": is the job of " +
                                               earlier.output.string() + ", not of " +
                                               job.output.string() +
                                               ": remove it, or give another name by --job");
    if (stateOf(earlier).isLive()) throwAtWork(job.folder, job.output);
}

}  // namespace

void requireFree(Job const& job) {
    requireReplaceable(job);
    std::error_code fault;
    fs::path const own = canonicalPath(job.folder);
    for (fs::directory_iterator entry(jobFolderOf(job.output).parent_path(), fault), end;
         !fault && entry != end; entry.increment(fault)) {
        fs::path const& folder = entry->path();
        if (folder.extension() != kJobEnding || canonicalPath(folder) == own) continue;
        auto const other = jobIn(folder);
        if (other && writeOneFile(other->output, job.output) && stateOf(*other).isLive())
            throwAtWork(folder, job.output);
    }
}

void linkBesideOutput(Job const& job) {
    fs::path const beside = jobFolderOf(job.output).parent_path();
    if (canonicalPath(beside) == canonicalPath(job.folder.parent_path())) return;
    std::error_code fault;
    std::string const name = job.name();
    for (std::string const& each : {name, name + "-" + job.id}) {
        fs::path const link = beside / (each + std::string(kJobEnding));
        if (fs::is_symlink(link, fault)) fs::remove(link, fault);
        fs::create_directory_symlink(job.folder, link, fault);
        if (!fault) return;
    }
}

}  // namespace zelk
