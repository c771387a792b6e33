// Scenes to schedules; see schedule.h.
#include "zelk/sequence/schedule.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <tuple>

#include "zelk/files/output_place.h"
#include "zelk/movies/writer.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/setup.h"
#include "zelk/scene/refusal.h"
#include "zelk/scene/track_use.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/track.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// The whole frames of the first track. Of them a single picture shows the one whose number its
/// plate has, else the first.
std::vector<int> trackedFrames(Scene const& scene, SceneFiles const& files) {
    requireRead(scene.tracks.front());
    TrackUse const& use = scene.tracks.front();
    std::vector<int> frames = wholeFrames(*use.track);
    bool const isOne = !files.output.isSequence() && !isMovieName(scene.outputPath());
    if (isOne && !frames.empty()) return {frameOfPicture(scene, use.pins, frames)};
    if (!frames.empty()) return frames;
    throw missing(spelled(scene, "frames"), "whole frames: the track has fractions of them only");
}

/// A composition shows its frames without holes: one between those on disk is missing.
std::vector<int> withHoles(std::vector<int> const& frames, Comp const& comp) {
    std::vector<int> all = frames;
    std::int64_t const last = std::int64_t{comp.startFrame} + comp.durationFrames - 1;
    for (std::size_t i = 1; i < frames.size(); ++i)
        for (std::int64_t hole =
                 std::max(std::int64_t{frames[i - 1]} + 1, std::int64_t{comp.startFrame});
             hole < frames[i] && hole <= last; ++hole)
            all.push_back(static_cast<int>(hole));
    std::sort(all.begin(), all.end());
    return all;
}

std::vector<int> framesMeant(Scene const& scene, SceneFiles const& files) {
    if (!isSequence(scene)) return {compOf(scene, 0, 0).startFrame};
    if (scene.frames) return parseFrameRange(spelled(scene, "frames"), *scene.frames);
    for (auto const& [kind, input] : files.inputs()) {
        if (!input->isNumbered()) continue;
        std::vector<int> frames = input->framesRequired();
        return scene.hasComp ? withHoles(frames, scene.comp) : frames;
    }
    if (!scene.hasComp && !scene.tracks.empty()) return trackedFrames(scene, files);
    if (!scene.hasComp) throw missing(spelled(scene, "frames"), "the frames to render");
    std::vector<int> all(static_cast<std::size_t>(scene.comp.durationFrames));
    std::iota(all.begin(), all.end(), scene.comp.startFrame);
    return all;
}

}  // namespace

std::vector<int> framesAsked(Scene const& scene, SceneFiles const& files) {
    files.requireNames();
    std::vector<int> asked = framesMeant(scene, files);
    bool const isMovie = isMovieName(scene.outputPath());
    if (asked.size() > 1 && scene.output && !files.output.isSequence() && !isMovie)
        throw refusalOf(scene, SceneField::kOutput,
                        "the same file for every frame:", scene.outputPath().string(),
                        "a frame mark such as out.%04d.exr");
    return asked;
}

Schedule scheduleOf(Scene const& scene, SceneFiles const& files, std::vector<int> const& asked,
                    IsDone const& isDone) {
    Schedule schedule;
    for (int const frame : asked) {
        bool const isWritten = scene.output && isDone(files.output.pathOf(frame));
        bool const isLeftOut = scene.missing == MissingInput::kSkip && !files.isReadable(frame);
        if (isWritten || isLeftOut) {
            ++schedule.skipped;
            continue;
        }
        if (scene.missing == MissingInput::kStop && !files.isReadable(frame)) {
            schedule.missingFrame = frame;
            break;
        }
        schedule.frames.push_back(frame);
    }
    return schedule;
}

Schedule scheduleOf(Scene const& scene, RunOptions const& run, SceneFiles const& files) {
    bool const skips =
        run.skipExisting == SkipExisting::kByName && !isMovieName(scene.outputPath());
    return scheduleOf(scene, files, framesAsked(scene, files),
                      [&](fs::path const& file) { return skips && onDisk(file); });
}

namespace {

void checkMovie(Scene const& scene, RunOptions const& run) {
    fs::path const output = scene.outputPath();
    for (auto const& [isAsked, option, refusal] :
         {std::tuple{run.skipExisting != SkipExisting::kNo, "skip-existing", "continued"},
          {run.isShared, "share", "shared"}})
        if (isAsked)
            throw UserError(ExitCode::kUsage,
                            {spelled(scene, option), fmt::format("a movie can't be {}:", refusal),
                             output.string(), "numbered pictures"});
    checkPlace(output, run.noClobber);
    requireMovieProgram(output);
}

}  // namespace

void checkOutputsAreNoInputs(Scene const& scene, RunOptions const& run, SceneFiles const& files,
                             std::vector<int> const& frames) {
    std::map<FileIdentity, int> outputs;  // what is not there yet is no input either
    for (int const frame : frames)
        if (auto const output = identityOf(files.output.pathOf(frame))) outputs[*output] = frame;
    auto const check = [&](InputFiles const& input, char const* kind, int frame) {
        auto const picture = input.pictureOf(frame);
        auto const own = picture && picture->isOnDisk() ? identityOf(picture->file) : std::nullopt;
        auto const found = own ? outputs.find(*own) : outputs.end();
        if (found == outputs.end()) return;
        bool const isReadBefore =
            isMovieName(scene.outputPath()) ||
            (found->second == frame && (input.isNumbered() || frames.size() == 1));
        if (isReadBefore)
            return requireOtherFile(scene, run.inPlace, files.output.pathOf(frame), *picture, kind);
        throw refusalOf(scene, SceneField::kOutput,
                        "would replace a picture that other frames read:", picture->file.string(),
                        "other names than the inputs'");
    };
    for (int const frame : frames)
        for (NamedInput const& input : files.inputs()) check(*input.files, input.kind, frame);
}

void checkOutputs(Scene const& scene, RunOptions const& run, SceneFiles const& files,
                  std::vector<int> const& frames) {
    if (isMovieName(scene.outputPath()))
        checkMovie(scene, run);
    else
        checkTarget(files.output.pathOf(frames.front()), run.noClobber);
    checkOutputsAreNoInputs(scene, run, files, frames);
}

void checkLogIsNoOutput(Scene const& scene, RunOptions const& run, SceneFiles const& files,
                        std::vector<int> const& frames) {
    auto const log = run.log.empty() ? std::nullopt : identityOf(run.log);
    bool const isOutput = log && std::any_of(frames.begin(), frames.end(), [&](int frame) {
                              return identityOf(files.output.pathOf(frame)) == log;
                          });
    if (!isOutput) return;
    std::error_code ignored;
    if (fs::file_size(run.log, ignored) == 0) fs::remove(run.log, ignored);
    throw UserError(
        ExitCode::kUsage,
        {spelled(scene, "log"), "is the output's own file:", run.log.string(), "another name"});
}

std::string missingText(Scene const& scene, SceneFiles const& files, int frame) {
    InputFiles const& input = files.missingOf(frame);
    auto const [file, why] = input.missing(frame);
    std::string const text = file + ": " + why;
    if (!isSequence(scene)) return text;
    std::string const number =
        input.isMovie() ? spelled(scene, "first-frame") + " says the first one's number, " : "";
    return text + fmt::format("; {}{} {}, {} or {} goes on without it", number,
                              spelled(scene, "missing"), spelledWord(scene, "hold"),
                              spelledWord(scene, "skip"), spelledWord(scene, "black"));
}

std::string planText(Scene const& scene, SceneFiles const& files, Schedule const& schedule) {
    std::string text;
    bool const isOne = !isSequence(scene);
    for (int const frame : schedule.frames) {
        auto const named = [frame](InputFiles const& input) {
            auto const picture = input.pictureOf(frame);
            return picture ? picture->name() : std::string("black");
        };
        text += isOne ? std::string() : fmt::format("{}: ", frame);
        text += "read " + named(files.layer);
        if (files.stMap) text += fmt::format(", through {}", named(*files.stMap));
        if (files.plate) text += fmt::format(", over {}", named(*files.plate));
        if (files.matte) text += fmt::format(", matte {}", named(*files.matte));
        if (files.holdout) text += fmt::format(", holdout {}", named(*files.holdout));
        fs::path const output = files.output.pathOf(frame);
        text +=
            fmt::format(", write {}{}\n", output.string(), onDisk(output) ? " (replacing it)" : "");
    }
    return text + fmt::format("{} to render, {} skipped\n", framesCounted(schedule.frames.size()),
                              schedule.skipped);
}

std::string framesCounted(std::size_t count) {
    return fmt::format("{} frame{}", count, count == 1 ? "" : "s");
}

}  // namespace zelk
