// See task.h.
#include "zelk/jobs/task.h"

#include <fstream>
#include <utility>

#include "zelk/files/file_sum.h"
#include "zelk/files/process_tag.h"
#include "zelk/jobs/job_scene.h"
#include "zelk/jobs/task_log.h"
#include "zelk/scene/check.h"
#include "zelk/sequence/render_frames.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// The file that tells who works on a task, while one lives.
class Runner {
public:
    explicit Runner(fs::path file) : m_file(std::move(file)) {
        std::error_code none;
        fs::create_directories(m_file.parent_path(), none);
        std::ofstream(m_file) << thisProcess().text() << ' ' << hostName() << '\n';
    }
    ~Runner() {
        std::error_code none;
        fs::remove(m_file, none);
    }
    Runner(Runner const&) = delete;
    Runner& operator=(Runner const&) = delete;

private:
    fs::path m_file;
};

UserError cancelled(Job const& job) {
    return {ExitCode::kInterrupted,
            job.folder.string() + ": the job was cancelled; `zelk submit resume` goes on"};
}

}  // namespace

bool isAsWritten(fs::path const& file, Journal& journal) {
    auto const known = journal.find(file);
    return known && sumOf(file) == known;
}

ExitCode runTask(Job const& job, int submission, int task) {
    if (job.isCancelled) throw cancelled(job);
    std::vector<int> frames = readTask(job, submission, task);
    Journal journal(false);
    TaskLog const log = readTaskLog(job.log(submission, task));
    std::erase_if(frames, [&](int frame) {
        auto const written = log.written.find(frame);
        return written != log.written.end() && isAsWritten(written->second.file, journal);
    });
    if (frames.empty()) return ExitCode::kDone;
    Runner const runner(job.runner(submission, task));
    RunOptions run = job.runOptions();
    run.log = job.log(submission, task);
    return renderFrames(sceneOf(job, frames), run);
}

ExitCode gatherMovie(Job const& job) {
    if (!job.movie)
        throw UserError(ExitCode::kInput, job.file().string() + ": has no movie: give --movie");
    if (job.isCancelled) throw cancelled(job);
    Scene const scene = movieSceneOf(job);
    checkScene(scene);
    Runner const runner(job.runner(0, 0));
    RunOptions run = job.runOptions();
    run.log = job.logs() / "movie.jsonl";
    return renderFrames(scene, run);
}

}  // namespace zelk
