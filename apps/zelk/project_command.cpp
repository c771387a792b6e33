// New projects, summaries and checks; see project_command.h.
#include "apps/zelk/project_command.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/files/frame_names.h"
#include "zelk/files/standard_output.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/reader.h"
#include "zelk/render/load_module.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/sequence/sequence_render.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/import.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Frames that there are of a name; nothing for a plain one. Throws when there are none.
std::vector<int> framesThere(SequenceName const& name, std::string const& pattern) {
    if (!name.isSequence()) return {};
    std::vector<int> frames = framesOnDisk(name);
    if (frames.empty())
        throw UserError(ExitCode::kInput, {pattern, "no frames on disk of", pattern,
                                           "files such as " + name.pathOf(1).string()});
    return frames;
}

/// The first picture of a path or pattern, of those that the frames name.
PictureReader firstPicture(std::string const& pattern, std::optional<std::string> const& frames) {
    SequenceName const name(pattern);
    if (frames) return openPicture(name.pathOf(parseFrameRange("frames", *frames).front()));
    auto const there = framesThere(name, pattern);
    return openPicture(name.pathOf(there.empty() ? 0 : there.front()));
}

/// The frames that a new composition shows, in any order.
std::vector<int> framesOf(NewProject const& ask) {
    if (ask.frames) return parseFrameRange("--frames", *ask.frames);
    for (auto const& pattern : {ask.plate.value_or(ask.layer), ask.layer}) {
        auto frames = framesThere(SequenceName(pattern), pattern);
        if (!frames.empty()) return frames;
    }
    return {0};
}

Comp compOf(NewProject const& ask) {
    Comp comp;
    auto const frames = framesOf(ask);
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    comp.startFrame = *first;
    comp.timeBase = ask.rate.value_or(comp.timeBase);
    if (!keyTimeOf(comp, double(*last) + 1))
        throw UserError(ExitCode::kUsage,
                        {"frames", "too far apart for the composition's clock:",
                         fmt::format("{}-{}", *first, *last),
                         fmt::format("at most {} frames", INT32_MAX / comp.timeBase.step)});
    comp.durationFrames = *last - *first + 1;
    if (ask.size) {
        comp.width = ask.size->width;
        comp.height = ask.size->height;
    } else {
        PictureReader const picture = firstPicture(ask.plate.value_or(ask.layer), ask.frames);
        comp.width = picture.width();
        comp.height = picture.height();
    }
    return comp;
}

/// "1920x1080, 24 frames a second, frames 1001 to 1100"
std::string compText(Comp const& comp) {
    return fmt::format("{}x{}, {} frames a second, frames {} to {}", comp.width, comp.height,
                       rateText(comp.timeBase), comp.startFrame,
                       std::int64_t{comp.startFrame} + comp.durationFrames - 1);
}

std::string renderText(ProjectRender const& render) {
    constexpr char const* kDepthTexts[] = {"8", "16", "float"};
    std::string text;
    auto const add = [&text](std::string const& part) {
        text += (text.empty() ? "" : ", ") + part;
    };
    if (render.depth)
        add(fmt::format("depth {}", kDepthTexts[*render.depth == Depth::k8    ? 0
                                                : *render.depth == Depth::k16 ? 1
                                                                              : 2]));
    if (render.mode) add("mode " + *render.mode);
    if (render.downsample) add(fmt::format("downsample {}", *render.downsample));
    if (render.size) add(fmt::format("size {}x{}", render.size->width, render.size->height));
    return text;
}

/// "12.5; 3 keys, frames 1001 to 1100.5"
std::string settingText(ProjectParameter const& parameter) {
    std::string text = parameter.value ? valueText(*parameter.value) : "";
    auto const& keys = parameter.keys;
    if (keys.empty()) return text;
    if (!text.empty()) text += "; ";
    if (keys.size() == 1) return text + fmt::format("1 key, frame {}", keys.front().frame);
    return text + fmt::format("{} keys, frames {} to {}", keys.size(), keys.front().frame,
                              keys.back().frame);
}

std::string row(std::string_view name, std::string const& text) {
    return text.empty() ? "" : fmt::format("  {:<24}  {}\n", name, oneLine(text));
}

}  // namespace

std::string newProject(NewProject const& ask) {
    std::error_code fault;
    if (!ask.force && fs::exists(fs::symlink_status(ask.file, fault)))
        throw UserError(ExitCode::kOutput, {ask.file.string(), "there is one already:",
                                            ask.file.string(), "a new name, or --force"});
    auto const written = [&](std::string const& path) {
        static_cast<void>(SequenceName(path));  // refuses a malformed mark
        return pathSeenFrom(ask.file.parent_path(), path);
    };
    Project project;
    project.file = ask.file;
    project.layer = written(ask.layer);
    if (ask.plate) project.plate = written(*ask.plate);
    if (ask.output) project.output = written(*ask.output);
    project.frames = ask.frames;
    project.comp = compOf(ask);
    writeProject(project, ask.file, ask.force);
    return fmt::format("{}: {}\n", ask.file.string(), compText(project.comp));
}

std::string showProject(fs::path const& file, bool json) {
    Project const project = readProject(file);
    if (json) return projectText(project);
    Comp const& comp = project.comp;
    std::string text = file.string() + "\n" + row("comp", compText(comp));
    if (comp.pixelAspect != 1) text += row("pixel aspect", fmt::format("{}", comp.pixelAspect));
    if (comp.motionBlur)
        text += row("motion blur", fmt::format("shutter angle {}, phase {}", comp.shutterAngleDeg,
                                               comp.shutterPhaseDeg));
    text += row("layer", project.layer) + row("plate", project.plate.value_or("")) +
            row("output", project.output.value_or("")) +
            row("frames", project.frames.value_or("")) + row("render", renderText(project.render));
    if (!project.parameters.empty()) text += "parameters that differ from their defaults\n";
    for (ProjectParameter const& parameter : project.parameters)
        text +=
            row(kParameterNames[static_cast<std::size_t>(parameter.index)], settingText(parameter));
    return text;
}

TrackedProject trackProject(ProjectTrack const& ask) {
    Project const project = readProject(ask.project);
    TrackUse const use = readTrackUse(ask.track, ask.pins);
    auto const host = loadModule(ask.module);
    host->setComp(project.comp);
    PixelSize const size = {project.comp.width, project.comp.height};
    applyProject(project, *host, size.width, size.height);
    std::size_t const keys = importTrack(*host, use, size);
    writeProject(projectOf(project, host->parameters(), project.comp, size.width, size.height),
                 ask.project);
    char const* const pins = ask.pins == TrackedPins::kTo ? "To Pins" : "From Pins";
    return {fmt::format("{}: {} keys on the {} from {}\n", ask.project.string(), keys, pins,
                        oneLine(ask.track.string())),
            warningsOf(use, {size, project.comp.startFrame, project.comp.timeBase.step})};
}

ExitCode checkProject(ProjectCheck const& ask) {
    ExitCode const code = checkFrames(ask.render);
    if (code == ExitCode::kDone) print(ask.file.string() + ": good\n");
    return code;
}

}  // namespace zelk
