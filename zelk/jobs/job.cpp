// The record's text; see job.h.
#include "zelk/jobs/job.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "zelk/files/absolute_path.h"
#include "zelk/files/frame_names.h"
#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"
#include "zelk/text/json_text.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

using Ordered = nlohmann::ordered_json;
using Json = nlohmann::json;

constexpr char const* kSchema = "zelk-job";
constexpr int kVersion = 2;

Ordered submissionJson(Submission const& submission) {
    Ordered json = {{"number", submission.number}, {"tasks", submission.tasks}};
    for (EngineArray const& array : submission.arrays)
        json["arrays"].push_back(
            {{"id", array.id}, {"offset", array.offset}, {"count", array.count}});
    if (!submission.movieId.empty()) json["movieId"] = submission.movieId;
    json["over"] = submission.isOver;
    return json;
}

Submission submissionOf(Json const& json) {
    Submission submission;
    submission.number = json.at("number");
    submission.tasks = json.at("tasks");
    for (Json const& array : json.value("arrays", Json::array()))
        submission.arrays.push_back({array.at("id"), array.at("offset"), array.at("count")});
    submission.movieId = json.value("movieId", "");
    submission.isOver = json.at("over");
    return submission;
}

Ordered movieJson(JobMovie const& movie) {
    Ordered json = {{"file", movie.file.string()}};
    if (movie.codec) json["codec"] = *movie.codec;
    if (movie.quality) json["quality"] = *movie.quality;
    if (movie.sound) json["sound"] = movie.sound->string();
    return json;
}

JobMovie movieOf(Json const& json) {
    JobMovie movie;
    movie.file = json.at("file").get<std::string>();
    if (json.contains("codec")) movie.codec = json["codec"].get<std::string>();
    if (json.contains("quality")) movie.quality = json["quality"].get<double>();
    if (json.contains("sound")) movie.sound = json["sound"].get<std::string>();
    return movie;
}

/// Throws the library's exceptions for a key that is missing or of another kind.
void read(Json const& json, Job& job) {
    job.id = json.at("id");
    job.output = json.at("output").get<std::string>();
    job.history = json.at("command");
    job.program = json.at("program").get<std::string>();
    job.engine = pick(kEngineWords, "engine", json.at("engine").get<std::string>());
    job.engineOptions = json.at("engineOptions").get<std::vector<std::string>>();
    job.frames = json.at("frames");
    job.framesPerTask = json.at("framesPerTask");
    job.secondsPerFrame = json.at("secondsPerFrame");
    job.threads = json.at("threads");
    job.memoryMb = json.at("memoryMb");
    job.retries = json.at("retries");
    job.edits = json.at("edits").get<std::map<std::string, std::string>>();
    if (json.contains("movie")) job.movie = movieOf(json["movie"]);
    job.keepMetadata = json.at("keepMetadata");
    job.isStrict = json.at("strict");
    job.pngLevel = json.at("pngLevel");
    job.inFlight = json.at("inFlight");
    job.isCancelled = json.at("cancelled");
    for (Json const& each : json.at("submissions")) job.submissions.push_back(submissionOf(each));
}

void requireFrameList(Job const& job) {
    try {
        parseFrameRange(job.file().string() + ": frames", job.frames);
    } catch (UserError const& error) {
        throw UserError(ExitCode::kInput, error.what());
    }
}

UserError noTask(Job const& job, int submission, int task) {
    return {ExitCode::kInput,
            {job.tasks(submission).string(), "has no task", std::to_string(task),
             "a line of frames for it"}};
}

}  // namespace

std::string Job::name() const { return folder.stem().string(); }
fs::path Job::log(int submission, int task) const {
    return logs() / fmt::format("{}-{}.jsonl", submission, task);
}
fs::path Job::tasks(int submission) const {
    return folder / fmt::format("tasks-{}.txt", submission);
}

RunOptions Job::runOptions() const {
    RunOptions run;
    run.keepMetadata = keepMetadata;
    run.history = history;
    run.pngLevel = pngLevel;
    run.threads = threads;
    run.isStrict = isStrict;
    run.inFlight = inFlight;
    run.progress = ProgressMode::kPlain;
    return run;
}

fs::path jobFolderOf(fs::path const& output) {
    fs::path const one = SequenceName(output.string()).pathOf(1);
    fs::path beside;  // what lies before the mark, and the name that has it
    auto left = output.begin(), right = one.begin();
    for (; left != output.end() && right != one.end() && *left == *right; ++left, ++right)
        beside /= *left;
    std::string name = left == output.end() ? output.filename().string() : left->string();
    if (left == output.end()) beside = output.parent_path();
    if (left == output.end() || std::next(left) == output.end())
        name = fs::path(name).stem().string();
    std::string stem = name.substr(0, name.find_first_of("#@%$"));
    while (!stem.empty() && std::string_view("._- ").find(stem.back()) != std::string_view::npos)
        stem.pop_back();
    return absolutePath(beside / ((stem.empty() ? "frames" : stem) + std::string(kJobEnding)));
}

fs::path jobFolderNamed(fs::path const& name) {
    fs::path folder = absolutePath(name);
    if (!folder.has_filename()) folder = folder.parent_path();
    if (folder.extension() != kJobEnding) folder += kJobEnding;
    return folder;
}

std::string newJobId() { return fmt::format("{:08x}", std::random_device()()); }

Job readJob(fs::path const& folder) {
    Job job;
    job.folder = absolutePath(folder);
    if (!job.folder.has_filename()) job.folder = job.folder.parent_path();
    std::error_code fault;  // told when it is read
    if (!fs::exists(job.file(), fault) && !fault)
        throw UserError(ExitCode::kInput, folder.string() +
                                              ": is no job: give a folder *.zelk-job, as "
                                              "`zelk submit` makes it beside the output");
    Json const json = parseJson(job.file(), readTextFile(job.file(), "a job"));
    try {
        bool const isKnown = json.at("schema") == kSchema && json.at("version") == kVersion;
        if (!isKnown)
            throw UserError(ExitCode::kInput,
                            {job.file().string(), "is a job of another version:",
                             json.at("version").dump(), fmt::format("{}", kVersion)});
        read(json, job);
        requireFrameList(job);
    } catch (Json::exception const& error) {
        throw UserError(ExitCode::kInput, job.file().string() + ": is no whole record of a job: " +
                                              shortened(oneLine(error.what())));
    }
    return job;
}

void writeJob(Job const& job) {
    Ordered json = {{"schema", kSchema},
                    {"version", kVersion},
                    {"id", job.id},
                    {"output", job.output.string()},
                    {"command", job.history},
                    {"program", job.program.string()},
                    {"engine", wordOf(kEngineWords, job.engine)},
                    {"engineOptions", job.engineOptions},
                    {"frames", job.frames},
                    {"framesPerTask", job.framesPerTask},
                    {"secondsPerFrame", job.secondsPerFrame},
                    {"threads", job.threads},
                    {"memoryMb", job.memoryMb},
                    {"retries", job.retries},
                    {"edits", job.edits}};
    if (job.movie) json["movie"] = movieJson(*job.movie);
    json["keepMetadata"] = job.keepMetadata;
    json["strict"] = job.isStrict;
    json["pngLevel"] = job.pngLevel;
    json["inFlight"] = job.inFlight;
    json["cancelled"] = job.isCancelled;
    json["submissions"] = Ordered::array();
    for (Submission const& each : job.submissions)
        json["submissions"].push_back(submissionJson(each));
    writeTextFile(job.file(), jsonText(json), true);
}

std::vector<std::vector<int>> readTasks(Job const& job, int submission) {
    std::istringstream lines(readTextFile(job.tasks(submission), "tasks of a job"));
    std::vector<std::vector<int>> tasks;
    for (std::string line; std::getline(lines, line);)
        tasks.push_back(parseFrameRange(job.tasks(submission).string(), line));
    return tasks;
}

void writeTasks(Job const& job, int submission, std::vector<std::vector<int>> const& tasks) {
    std::string text;
    for (auto const& frames : tasks) text += frameRangeText(frames) + "\n";
    writeTextFile(job.tasks(submission), text, true);
}

std::vector<int> readTask(Job const& job, int submission, int task) {
    std::istringstream lines(readTextFile(job.tasks(submission), "tasks of a job"));
    std::string line;
    for (int i = 0; i < task; ++i)
        if (!std::getline(lines, line)) throw noTask(job, submission, task);
    if (task < 1) throw noTask(job, submission, task);
    return parseFrameRange(job.tasks(submission).string(), line);
}

}  // namespace zelk
