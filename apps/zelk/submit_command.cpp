// Options of a submission; see submit_command.h.
#include "apps/zelk/submit_command.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "apps/zelk/history.h"
#include "apps/zelk/render_command.h"
#include "zelk/files/absolute_path.h"
#include "zelk/files/standard_output.h"
#include "zelk/jobs/submission.h"
#include "zelk/scene/edits.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Of `zelk submit` alone, each with a value. Others are those of `zelk render`.
constexpr std::string_view kOwnOptions[] = {
    "--engine", "--engine-option", "--job",   "--chunk", "--task-time",    "--frame-time",
    "--memory", "--retries",       "--movie", "--codec", "--quality-level"};

/// An option of a render that takes no value.
bool isFlag(std::string_view word) {
    constexpr std::string_view kFlags[] = {"--no-clobber", "--in-place", "--no-metadata",
                                           "--strict"};
    if (std::find(std::begin(kFlags), std::end(kFlags), word) != std::end(kFlags)) return true;
    auto const edits = sceneEdits();
    return std::any_of(edits.begin(), edits.end(), [word](SceneEdit const& edit) {
        return std::string_view(edit.value) == "on|off" && word == "--" + std::string(edit.name);
    });
}

/// Whether the word after this option is its value, whatever it looks like. A value that may be
/// left out doesn't look like a file or an option.
bool awaitsValue(std::string_view option) {
    bool const isShort = option[1] != '-';
    bool const hasValue = isShort ? option.size() > 2 : option.find('=') != option.npos;
    bool const mayLack = option == "--skip-existing" || option == "--motion-blur";
    return !hasValue && !mayLack && !isFlag(option);
}

bool isProjectName(std::string const& name) { return lowered(name).ends_with(".json"); }

}  // namespace

std::uint64_t memoryNamed(std::string const& thing, std::string const& text) {
    constexpr int kMost = 1 << 24;
    std::string const small = lowered(text);
    bool const isGiga = small.ends_with("g");
    bool const hasUnit = isGiga || small.ends_with("m");
    auto const number = parseWhole(small.substr(0, small.size() - (hasUnit ? 1 : 0)));
    int const most = isGiga ? kMost / 1024 : kMost;
    if (!number || *number < 1 || *number > most)
        throw UserError(ExitCode::kUsage,
                        {thing, "no size of memory:", text, "megabytes such as 512, 512M or 2G"});
    return static_cast<std::uint64_t>(*number) * (isGiga ? 1024 : 1);
}

std::string renderHistory(std::vector<char const*> const& words,
                          std::optional<std::string> const& file) {
    std::vector<char const*> render = {"render"};
    bool const isProject = file && isProjectName(*file);
    bool isFileNamed = false, isOver = false;  // of the options
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string_view const word = words[i];
        if (i == 0 && word == "submit") continue;
        bool const isOption = !isOver && word.size() > 1 && word.starts_with("-");
        isOver = isOver || word == "--";
        if (isOption && isOver) {
            if (!isProject) render.push_back(words[i]);  // --project is an option
            continue;
        }
        bool const isFile = isProject && !isFileNamed && !isOption && word == *file;
        if (isFile) render.push_back("--project");
        isFileNamed = isFileNamed || isFile;
        bool const hasNext = isOption && i + 1 < words.size() && awaitsValue(word);
        bool const isOwn =
            isOption && std::find(std::begin(kOwnOptions), std::end(kOwnOptions),
                                  word.substr(0, word.find('='))) != std::end(kOwnOptions);
        if (!isOwn) render.push_back(words[i]);
        if (!isOwn && hasNext) render.push_back(words[i + 1]);
        i += hasNext ? 1 : 0;
    }
    return historyOf(render);
}

CommandInfo const SubmitCommand::kInfo = {
    "submit", "Hand a render over to an engine: Slurm, a shell script, Open Job Description",
    "PROJECT|LAYER -o OUTPUT --engine ENGINE [OPTIONS]",
    "A job stands beside the output as NAME.zelk-job: the scene as it is now, and what each task\n"
    "  did. Changes of the project alter nothing. First, middle and last frame are rendered at\n"
    "  once; their time says how many go into a task, their memory what a task asks for.\n"
    "\n"
    "Engines: slurm hands arrays to `sbatch`; shell writes run.sh for GNU parallel or xargs;\n"
    "  openjd writes template.json.\n"
    "\n"
    "Examples:\n"
    "  zelk submit shot.zelk.json --engine slurm --movie shot.mov\n"
    "  zelk submit sign.png --over shot.####.exr -o comp.####.exr --track shot.txt --engine shell\n"
    "  zelk submit status comp.zelk-job\n"};

void SubmitCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    add.text("Files", "FILE", m_file, "", "A project, *.json, or the picture to pin");
    m_scene.add(add, {"output", "over", "size"});
    m_output.addContentOptions(add);
    addPinOptions(add, m_scene);
    add.text("Farm", "--engine", m_engine, "ENGINE", listOf(wordsOf(kEngineWords)),
             wordListOf(kEngineWords));
    add.texts("Farm", "--engine-option", m_engineOptions, "WORD",
              "A word more for sbatch, such as --partition=night; it may come again");
    add.text("Farm", "--job", m_job, "FOLDER", "The job's folder (NAME.zelk-job beside OUTPUT)");
    add.text("Farm", "--task-time", m_taskTime, "SECONDS", "What a task is to take (120)");
    add.text("Farm", "--frame-time", m_frameTime, "SECONDS",
             "What a frame takes (first, middle and last are timed)");
    add.text("Farm", "--chunk", m_chunk, "FRAMES", "Frames of a task (by the two times)");
    add.text("Farm", "--threads", m_threads, "N", "Processors of a task (1)");
    add.text("Farm", "--memory", m_memory, "MB",
             "Memory of a task, such as 800 or 2G (what the timed frames took, and a quarter)");
    add.text("Farm", "--retries", m_retries, "N",
             "Retries of a task that was killed or met a full disk (2)");
    add.text("Farm", "--movie", m_movie, "FILE", "Gather the frames to a movie when all are there");
    add.text("Farm", "--codec", m_codec, "CODEC", "Of the movie (by its extension)",
             sceneEdit("codec").words());
    add.text("Farm", "--quality-level", m_quality, "Q", "Of the movie, in its codec's own range");
    add.flag("Farm", "--dry-run", m_dryRun, "Print what would be handed over");
    m_scene.add(add, {"st-map", "invert", "depth", "downsample"});
    m_scene.add(add, {"road", "grow", "filter", "taps", "edges", "feather", "choke", "frames"});
    add.text("Time", "--project", m_project, "FILE",
             "Layer, plate, output, frames and keyframed parameters; options override it");
    m_scene.add(add, {"motion-blur", "shutter", "rate", "first-frame"});
    add.text("Sequence", "--in-flight", m_inFlight, "N", "Frames held at a time by a task (3)");
    m_scene.add(add, "missing");
    add.text("Sequence", "--skip-existing", m_skipExisting, "[whole|name]",
             "Leave out frames whose file reads back whole, or is there at all (whole)",
             skipWords());
    add.flag("Messages", "--strict", m_isStrict, "Take a warning for a failure");
    m_scene.add(add, {"opacity", "transfer", "source-opacity", "mode", "matte", "holdout"});
    m_scene.add(add, {"layer-color", "plate-color", "output-color", "work-color", "ocio", "color"});
    m_scene.add(add, {"orientation", "overscan", "channels", "plain"});
    m_scene.add(add, {"host", "module"});
}

Scene SubmitCommand::scene() const {
    bool const isProject = m_file && isProjectName(*m_file);
    if (isProject && m_project)
        throw UserError(ExitCode::kUsage, "--project is FILE: give one of them");
    Scene base = sceneOfProject(isProject ? m_file : m_project);
    base.editPrefix = "--";
    if (m_file && !isProject) sceneEdit("layer").apply(base, "FILE", *m_file);
    if (!m_file && !m_project) throw missing("FILE", "a project file or a picture");
    return m_scene.edited(std::move(base));
}

/// The movie as it was asked for; nothing without --movie.
std::optional<JobMovie> SubmitCommand::movie() const {
    if (!m_movie && (m_codec || m_quality))
        throw UserError(ExitCode::kUsage, std::string(m_codec ? "--codec" : "--quality-level") +
                                              " is the movie's: give --movie");
    if (!m_movie) return std::nullopt;
    Scene scene;
    if (m_codec) sceneEdit("codec").apply(scene, "--codec", *m_codec);
    if (m_quality) sceneEdit("quality-level").apply(scene, "--quality-level", *m_quality);
    return JobMovie{
        absolutePath(required(*m_movie, "--movie", "a file")), scene.codec, scene.codecQuality, {}};
}

Job SubmitCommand::job(Invocation const& how) const {
    constexpr int kMostThreads = 1024, kMostRetries = 100, kMostInFlight = 64;
    Job job;
    if (!m_engine) throw missing("--engine", listOf(wordsOf(kEngineWords)));
    job.engine = pick(kEngineWords, "--engine", *m_engine);
    if (!m_engineOptions.empty() && job.engine != EngineKind::kSlurm)
        throw UserError(ExitCode::kUsage,
                        "--engine-option is a word for sbatch: give it with --engine slurm");
    job.engineOptions = m_engineOptions;
    job.history = renderHistory(how.words, m_file);
    job.program = fs::read_symlink("/proc/self/exe");
    if (m_threads) job.threads = wholeInRange("--threads", *m_threads, 1, kMostThreads);
    if (m_retries) job.retries = wholeInRange("--retries", *m_retries, 0, kMostRetries);
    if (m_inFlight) job.inFlight = wholeInRange("--in-flight", *m_inFlight, 1, kMostInFlight);
    RunOptions const run = m_output.run(how);
    job.keepMetadata = run.keepMetadata;
    job.pngLevel = run.pngLevel;
    job.isStrict = m_isStrict;
    job.movie = movie();
    return job;
}

ExitCode SubmitCommand::run(Invocation const& how) {
    constexpr int kMostChunk = 1000000;
    constexpr double kMostSeconds = 1e6, kLeastSeconds = 1e-4;
    SubmitRequest request;
    request.job = job(how);
    if (m_job) request.folder = required(*m_job, "--job", "a folder");
    if (m_chunk) request.framesPerTask = wholeInRange("--chunk", *m_chunk, 1, kMostChunk);
    if (m_taskTime)
        request.taskSeconds = numberInRange("--task-time", *m_taskTime, 1, kMostSeconds);
    if (m_frameTime)
        request.frameSeconds =
            numberInRange("--frame-time", *m_frameTime, kLeastSeconds, kMostSeconds);
    if (m_memory) request.memoryMb = memoryNamed("--memory", *m_memory);
    if (m_skipExisting) request.skipExisting = skipNamed(*m_skipExisting);
    request.dryRun = m_dryRun;
    request.scene = scene();
    checkTyped(request.scene);
    Submitted const submitted = submitJob(request);
    print(submitted.text);
    return submitted.code;
}

}  // namespace zelk
