// See job_logs.h.
#include "zelk/jobs/job_logs.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "zelk/files/frame_names.h"
#include "zelk/files/text_file.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Those of all tasks, an earlier submission's first.
std::vector<std::pair<TaskName, fs::path>> taskLogsOf(Job const& job) {
    std::vector<std::pair<TaskName, fs::path>> files;
    std::error_code fault;
    for (fs::directory_iterator entry(job.logs(), fault), end; !fault && entry != end;
         entry.increment(fault)) {
        auto const name = TaskName::at(entry->path().stem().string());
        if (name && entry->path().extension() == ".jsonl") files.push_back({*name, entry->path()});
    }
    std::sort(files.begin(), files.end());
    return files;
}

void add(TaskLog const& log, JobLogs& all) {
    for (auto const& [frame, written] : log.written) {
        all.written[frame] = written;
        all.failed.erase(frame);
    }
    for (auto const& [frame, why] : log.failed) all.failed[frame] = why;
    all.seconds += log.seconds;
    all.timed += log.timed;
    all.peakBytes = std::max(all.peakBytes, log.peakBytes);
}

}  // namespace

JobLogs logsOf(Job const& job) {
    JobLogs all;
    add(readTaskLog(job.keptLog()), all);
    for (auto const& [name, file] : taskLogsOf(job)) {
        bool const isMovie = name.task == 0 && name.submission > 0;
        TaskLog const log = readTaskLog(file);
        if (log.hasEnded) all.ended.insert(name);
        if (isMovie) {
            if (log.movie) all.movies[name.submission] = *log.movie;
            all.movieFailure = log.failure;
        } else {
            add(log, all);
            if (!log.failure.empty()) all.failures[name] = log.failure;
        }
    }
    return all;
}

void writeKeptLog(Job const& job, std::map<int, WrittenFile> const& kept) {
    std::string text;
    for (auto const& [frame, file] : kept) {
        nlohmann::ordered_json line = {{"event", "kept"},
                                       {"frame", frame},
                                       {"file", file.file.string()},
                                       {"bytes", file.bytes}};
        if (file.crc32) line["crc32"] = sumText(*file.crc32);
        text += line.dump() + "\n";
    }
    writeTextFile(job.keptLog(), text, true);
}

bool isAsWritten(fs::path const& file, WrittenFile const& written, bool verifies) {
    std::error_code fault;
    auto const bytes = fs::file_size(file, fault);
    if (fault || bytes != written.bytes) return false;
    return !verifies || !written.crc32 || sumOf(file) == FileSum{written.bytes, *written.crc32};
}

std::set<int> doneFrames(Job const& job, JobLogs const& logs, bool verifies) {
    SequenceName const output(job.output.string());
    std::set<int> done;
    for (int const frame : parseFrameRange(job.file().string(), job.frames)) {
        auto const written = logs.written.find(frame);
        if (written != logs.written.end() &&
            isAsWritten(output.pathOf(frame), written->second, verifies))
            done.insert(frame);
    }
    return done;
}

bool isMovieDone(Job const& job, JobLogs const& logs, bool verifies) {
    if (logs.movies.empty()) return false;
    auto const& [made, movie] = *logs.movies.rbegin();
    for (Submission const& submission : job.submissions)
        if (submission.tasks > 0 && submission.number > made) return false;
    return isAsWritten(job.movie->file, movie, verifies);
}

}  // namespace zelk
