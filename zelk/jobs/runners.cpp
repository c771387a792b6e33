// See runners.h.
#include "zelk/jobs/runners.h"

#include <fmt/format.h>
#include <signal.h>

#include <fstream>

#include "zelk/files/output_place.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

void writeRunner(fs::path const& file, std::string const& worker) {
    std::error_code fault;
    fs::create_directories(file.parent_path(), fault);
    std::ofstream(file) << worker << ' ' << hostName() << '\n';
}

/// What a file of the folder tells; nothing for one of another name.
std::optional<Running> runningIn(fs::path const& file) {
    std::string const name = file.filename().string();
    std::string const place = name.substr(0, name.find('.'));
    auto const holder = ProcessTag::at(name.substr(std::min(place.size() + 1, name.size())));
    auto const task = TaskName::at(place);
    auto const all = parseWhole(place);
    if (!holder || (!task && !all)) return std::nullopt;
    Running running;
    running.submission = task ? task->submission : *all;
    if (task) running.task = task->task;
    running.file = file;
    std::string line;
    std::ifstream in(file);
    std::getline(in, line);
    auto const worker = ProcessTag::at(line);
    running.host = line.substr(std::min(line.find(' ') + 1, line.size()));
    bool const hasWorker = worker && lifeOf(*worker) != Life::kDead;
    if (hasWorker) running.worker = worker;
    running.isHere = lifeOf(hasWorker ? *worker : *holder) == Life::kAlive;
    return hasWorker || lifeOf(*holder) != Life::kDead ? std::optional(running) : std::nullopt;
}

}  // namespace

std::string TaskName::text() const { return fmt::format("{}-{}", submission, task); }

std::optional<TaskName> TaskName::at(std::string const& text) {
    auto const bar = text.find('-');
    if (bar == text.npos) return std::nullopt;
    auto const submission = parseWhole(text.substr(0, bar)),
               task = parseWhole(text.substr(bar + 1));
    if (!submission || !task) return std::nullopt;
    return TaskName{*submission, *task};
}

std::vector<Running> runnersOf(Job const& job) {
    std::vector<Running> all;
    std::error_code fault;
    for (fs::directory_iterator entry(job.running(), fault), end; !fault && entry != end;
         entry.increment(fault))
        if (auto const running = runningIn(entry->path())) all.push_back(*running);
    return all;
}

Runner::Runner(Job const& job, TaskName name, std::optional<ProcessTag> const& holder)
    : m_file(job.running() / (name.text() + "." + holder.value_or(thisProcess()).text())),
      m_isOwn(!holder) {
    writeRunner(m_file, thisProcess().text());
}

Runner::~Runner() {
    std::error_code none;
    if (m_isOwn) fs::remove(m_file, none);
}

void noteScript(Job const& job, int submission, ProcessTag const& script) {
    for (Running const& running : runnersOf(job))
        if (running.submission == submission && !running.task)
            throw UserError(ExitCode::kOutput,
                            fmt::format("{}: its script is at work already, on {}: let it end, or "
                                        "end it by `zelk submit cancel`",
                                        job.folder.string(), running.host));
    writeRunner(job.running() / fmt::format("{}.{}", submission, script.text()), "script");
}

int endRunners(Job const& job) {
    int ended = 0;
    for (Running const& running : runnersOf(job)) {
        if (running.isHere && running.worker && ::kill(running.worker->id, SIGTERM) == 0) ++ended;
        std::error_code none;
        if (!running.isHere) fs::remove(running.file, none);
    }
    return ended;
}

}  // namespace zelk
