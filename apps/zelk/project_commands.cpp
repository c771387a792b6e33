// New projects, summaries, checks and imports; see project_commands.h.
#include "apps/zelk/project_commands.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/zelk/warnings.h"
#include "zelk/files/frame_names.h"
#include "zelk/files/relative_paths.h"
#include "zelk/files/standard_output.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/reader.h"
#include "zelk/render/load_module.h"
#include "zelk/render/track_import.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/over_modes.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/scene_check.h"
#include "zelk/scene/scene_edits.h"
#include "zelk/scene/scene_file.h"
#include "zelk/scene/scene_values.h"
#include "zelk/sequence/sequence_render.h"
#include "zelk/text/choices.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// A new project's words. Relative paths start at the working folder.
struct NewProject {
    fs::path file;
    std::string layer;
    std::optional<std::string> plate, output;
    std::optional<std::string> frames;  ///< range text
    std::optional<TimeBase> rate;       ///< nothing: 24
    std::optional<PixelSize> size;      ///< nothing: the plate's, else the layer's
    bool force = false;                 ///< may replace a file
};

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

std::string renderText(Scene const& scene) {
    std::string text;
    auto const add = [&text](std::string const& part) {
        text += (text.empty() ? "" : ", ") + part;
    };
    if (scene.depth) add(fmt::format("depth {}", depthWord(*scene.depth)));
    if (scene.overMode) add(fmt::format("mode {}", overModeWord(*scene.overMode)));
    if (scene.downsample) add(fmt::format("downsample {}", *scene.downsample));
    if (scene.size) add(fmt::format("size {}x{}", scene.size->width, scene.size->height));
    return text;
}

/// "12.5; 3 keys, frames 1001 to 1100.5"
std::string settingText(SceneParameter const& parameter) {
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

std::string newProject(NewProject const& ask) {
    std::error_code fault;
    if (!ask.force && fs::exists(fs::symlink_status(ask.file, fault)))
        throw UserError(ExitCode::kOutput, {ask.file.string(), "there is one already:",
                                            ask.file.string(), "a new name, or --force"});
    auto const written = [&](std::string const& path) {
        static_cast<void>(SequenceName(path));  // refuses a malformed mark
        return pathFrom(ask.file.parent_path(), path, fs::path(path).is_relative());
    };
    fs::path const folder = ask.file.parent_path();
    Scene scene;
    scene.file = ask.file;
    scene.layer.file = {written(ask.layer), folder};
    if (ask.plate) scene.plate = SceneInput{{written(*ask.plate), folder}};
    if (ask.output) scene.output = ScenePath{written(*ask.output), folder};
    scene.frames = ask.frames;
    scene.comp = compOf(ask);
    writeScene(scene, ask.file, ask.force);
    return fmt::format("{}: {}\n", ask.file.string(), compText(scene.comp));
}

std::string summaryOf(Scene const& scene) {
    Comp const& comp = scene.comp;
    std::string text = scene.file.string() + "\n" + row("comp", compText(comp));
    if (comp.pixelAspect != 1) text += row("pixel aspect", fmt::format("{}", comp.pixelAspect));
    if (comp.motionBlur)
        text += row("motion blur", fmt::format("shutter angle {}, phase {}", comp.shutterAngleDeg,
                                               comp.shutterPhaseDeg));
    text += row("layer", scene.layer.file.written) +
            row("plate", scene.plate ? scene.plate->file.written : "") +
            row("output", scene.output ? scene.output->written : "") +
            row("frames", scene.frames.value_or("")) + row("render", renderText(scene));
    if (!scene.parameters.empty()) text += "parameters that differ from their defaults\n";
    for (SceneParameter const& parameter : scene.parameters)
        text += row(nameOfParameter(parameter.index), settingText(parameter));
    return text;
}

/// The project file that each of these commands is about.
void addFile(OptionAdder const& add, std::optional<std::string>& file) {
    add.text("Project", "FILE", file, "", "The project file, *.zelk.json");
}

std::string fileOf(std::optional<std::string> const& file) {
    return required(file.value_or(""), "FILE", "a project file");
}

}  // namespace

CommandInfo const ProjectNewCommand::kInfo = {
    "project new", "Make a project file", "FILE --layer LAYER [OPTIONS]",
    "Examples:\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.####.exr\n"};

void ProjectNewCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    addFile(add, m_file);
    add.text("Project", "--layer", m_layer, "LAYER", "The picture or pattern to pin");
    add.text("Project", "--plate", m_plate, "PLATE", "What it is laid over");
    add.text("Project", "-o,--output", m_output, "OUTPUT", "What is written");
    add.text("Project", "--frames", m_frames, "RANGE", "The frames to be rendered");
    add.text("Project", "--rate", m_rate, "FPS", "Frames a second (24)");
    add.text("Project", "--size", m_size, "WxH",
             "Of the composition (the plate's, else the layer's)");
    add.flag("Project", "--force", m_force, "Replace a file");
}

ExitCode ProjectNewCommand::run(Invocation const&) {
    NewProject ask;
    ask.file = fileOf(m_file);
    ask.layer = required(m_layer.value_or(""), "--layer", "a picture file or pattern");
    ask.plate = m_plate;
    ask.output = m_output;
    ask.frames = m_frames;
    if (m_rate) ask.rate = parseRate("--rate", *m_rate);
    if (m_size) ask.size = parseSize("--size", *m_size);
    ask.force = m_force;
    print(newProject(ask));
    return ExitCode::kDone;
}

CommandInfo const ProjectShowCommand::kInfo = {"project show", "Tell what a project file holds",
                                               "FILE [OPTIONS]",
                                               "Examples:\n"
                                               "  zelk project show sign.zelk.json --json\n"};

void ProjectShowCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    addFile(add, m_file);
    add.flag("Project", "--json", m_json, "The file in its normal form");
}

ExitCode ProjectShowCommand::run(Invocation const&) {
    Scene const scene = readScene(fileOf(m_file));
    print(m_json ? sceneText(scene) : summaryOf(scene));
    return ExitCode::kDone;
}

CommandInfo const ProjectCheckCommand::kInfo = {
    "project check", "Tell whether all frames of a project can be rendered", "FILE [OPTIONS]",
    "Examples:\n"
    "  zelk project check sign.zelk.json\n"};

void ProjectCheckCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    addFile(add, m_file);
    m_scene.add(add, {"host", "module"});
}

ExitCode ProjectCheckCommand::run(Invocation const&) {
    std::string const file = fileOf(m_file);
    Scene const scene = m_scene.edited(readScene(file));
    checkScene(scene);
    ExitCode const code = checkFrames(scene);
    if (code == ExitCode::kDone) print(file + ": good\n");
    return code;
}

CommandInfo const ProjectImportTrackCommand::kInfo = {
    "project import-track", "Put tracking data onto a project's pins", "FILE TRACK [OPTIONS]",
    "Examples:\n"
    "  zelk project import-track sign.zelk.json shot.txt\n"};

void ProjectImportTrackCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    addFile(add, m_file);
    add.text("Project", "TRACK", m_track, "", "The tracking data");
    add.text("Project", "--pins", m_pins, "PINS", "to or from (to)");
    m_scene.add(add, {"host", "module"});
}

ExitCode ProjectImportTrackCommand::run(Invocation const&) {
    constexpr Choice<TrackedPins> kPins[] = {{"to", TrackedPins::kTo},
                                             {"from", TrackedPins::kFrom}};
    std::string const file = fileOf(m_file);
    std::string const track = required(m_track.value_or(""), "TRACK", "a tracking file");
    auto const pins = m_pins ? pick(kPins, "--pins", *m_pins) : TrackedPins::kTo;
    Scene const scene = m_scene.edited(readScene(file));
    TrackUse const use = readTrackUse(track, pins);
    auto const host = loadModule(scene);
    PixelSize const size = {scene.comp.width, scene.comp.height};
    setUp(*host, scene, size);
    std::size_t const keys = importTrack(*host, use, size);
    writeScene(sceneOf(scene, host->parameters(), size), file);
    tellWarnings(warningsOf(use, {size, scene.comp.startFrame, scene.comp.timeBase.step}));
    print(fmt::format("{}: {} keys on the {} from {}\n", file, keys,
                      pins == TrackedPins::kTo ? "To Pins" : "From Pins", oneLine(track)));
    return ExitCode::kDone;
}

}  // namespace zelk
