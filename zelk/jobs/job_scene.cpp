// See job_scene.h.
#include "zelk/jobs/job_scene.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "zelk/files/absolute_path.h"
#include "zelk/files/frame_names.h"
#include "zelk/movies/probe.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/host_errors.h"
#include "zelk/render/setup.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/invert.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/words.h"
#include "zelk/sequence/journal.h"
#include "zelk/sequence/schedule.h"
#include "zelk/sequence/whole_frames.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

void makeAbsolute(ScenePath& path) { path = {absolutePath(path.path()).string(), {}}; }

void makeAbsolute(SceneInput& input) {
    if (!input.buffer) makeAbsolute(input.file);
}

/// Where the scene's files are, whatever folder it is read from and in.
void anchor(Scene& scene) {
    makeAbsolute(scene.layer);
    if (scene.plate) makeAbsolute(*scene.plate);
    if (scene.matte) makeAbsolute(scene.matte->file);
    if (scene.holdout) makeAbsolute(scene.holdout->file);
    if (scene.stMap) makeAbsolute(*scene.stMap);
    if (scene.output) makeAbsolute(*scene.output);
    char const* const config = std::getenv("OCIO");
    if (!scene.color.config && !scene.color.isRaw && config && *config)
        scene.color.config = ScenePath{config, {}};
    // A configuration that comes with the library, "ocio://...", is no file.
    if (scene.color.config && fs::exists(scene.color.config->path()))
        makeAbsolute(*scene.color.config);
}

/// A scene without a composition gets one that lasts as long as its frames.
Comp settledComp(FrameStages const& stages, std::vector<int> const& frames) {
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    Comp comp = compOf(stages.scene(), *first, *last);
    if (stages.scene().hasComp) return comp;
    comp.width = stages.frameSize().width;
    comp.height = stages.frameSize().height;
    return comp;
}

WrittenFile keptFile(fs::path const& file, Journal& journal) {
    WrittenFile kept{file, 0, std::nullopt};
    std::error_code fault;
    kept.bytes = fs::file_size(file, fault);
    auto const known = journal.find(file);
    if (known && known->bytes == kept.bytes) kept.crc32 = known->crc32;
    return kept;
}

/// Those of `frames` to be rendered; those that are whole go to `kept`.
std::vector<int> framesTodo(FrameStages const& stages, std::vector<int> const& frames,
                            WholeFrames& whole, Journal& journal,
                            std::map<int, WrittenFile>& kept) {
    SceneFiles const& files = stages.files();
    std::set<fs::path> done;
    Schedule const schedule = scheduleOf(stages.scene(), files, frames, [&](fs::path const& file) {
        return whole.isWhole(file) && done.insert(file).second;
    });
    for (int const frame : frames)
        if (fs::path const file = files.output.pathOf(frame); done.contains(file))
            kept[frame] = keptFile(file, journal);
    if (!schedule.missingFrame) return schedule.frames;
    auto const [file, why] =
        files.missingOf(*schedule.missingFrame).missing(*schedule.missingFrame);
    throw UserError(
        ExitCode::kInput,
        fmt::format("{}: {}; {} {}, {} or {} goes on without it", file, why,
                    spelled(stages.scene(), "missing"), spelledWord(stages.scene(), "hold"),
                    spelledWord(stages.scene(), "skip"), spelledWord(stages.scene(), "black")));
}

}  // namespace

FrozenScene frozenScene(Scene const& asked, RunOptions const& run) {
    return withUserErrors([&] {
        FrozenScene frozen;
        FrameStages stages(invertedScene(asked), run);
        std::vector<int> frames = framesAsked(stages.scene(), stages.files());
        stages.begin(frames);
        Journal journal(!run.dryRun);
        WholeFrames whole(run.skipExisting, &journal, [&] { return stages.outputSize(); });
        frozen.todo = framesTodo(stages, frames, whole, journal, frozen.kept);
        Comp const comp = settledComp(stages, frames);
        std::set<int> has(frozen.todo.begin(), frozen.todo.end());
        for (auto const& [frame, file] : frozen.kept) has.insert(frame);
        std::erase_if(frames, [&](int frame) { return !has.contains(frame); });
        checkOutputsAreNoInputs(stages.scene(), run, stages.files(), frames);
        frozen.scene = stages.settledScene();
        frozen.scene.comp = comp;
        frozen.scene.hasComp = frozen.scene.ownStart = frozen.scene.ownDuration = true;
        frozen.scene.frames = frameRangeText(frames);
        frozen.frames = std::move(frames);
        anchor(frozen.scene);
        return frozen;
    });
}

Scene sceneOf(Job const& job, std::vector<int> const& frames) {
    Scene scene = readScene(job.scene());
    for (auto const& [name, text] : job.edits)
        sceneEdit(name).apply(scene, job.file().string() + ": edits." + name, text);
    scene.frames = frameRangeText(frames);
    return scene;
}

std::optional<fs::path> soundOf(Scene const& frozen) {
    SceneFiles const files(frozen);
    for (InputFiles const* input : {files.plate ? &*files.plate : nullptr, &files.layer})
        if (input && input->movieFacts() && !soundCodecsOf(input->name()).empty())
            return input->name();
    return std::nullopt;
}

Scene movieSceneOf(Job const& job) {
    Scene const frozen = readScene(job.scene());
    Scene scene;
    scene.editPrefix = "--";
    auto const edit = [&](char const* name, std::string const& text) {
        sceneEdit(name).apply(scene, std::string("--") + name, text);
    };
    scene.layer.file = *frozen.output;
    edit("output", job.movie->file.string());
    edit("frames", job.frames);
    edit("rate", rateText(frozen.comp.timeBase));
    edit("view", "original");
    if (job.movie->codec) edit("codec", *job.movie->codec);
    if (job.movie->quality) edit("quality-level", fmt::format("{}", *job.movie->quality));
    // A movie's frames have the numbers that they had for the job's.
    scene.movieStart = frozen.movieStart;
    if (job.movie->sound) edit("sound", job.movie->sound->string());
    if (frozen.color.isRaw) edit("color", "raw");
    if (frozen.color.output) edit("layer-color", *frozen.color.output);
    if (frozen.color.config) edit("ocio", frozen.color.config->path().string());
    if (auto const module = job.edits.find("module"); module != job.edits.end())
        edit("module", module->second);
    return scene;
}

}  // namespace zelk
