// New projects; see project_new_command.h.
#include "apps/zelk/project_new_command.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/files/frame_names.h"
#include "zelk/files/output_place.h"
#include "zelk/files/relative_paths.h"
#include "zelk/files/standard_output.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/reader.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/file.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

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
        throw UserError(ExitCode::kInput, {pattern, "no such frames", "",
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

std::string newProject(NewProject const& ask) {
    requireNew(ask.file, ask.force);
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

}  // namespace

CommandInfo const ProjectNewCommand::kInfo = {
    "project new", "Make a project file", "FILE --layer LAYER [OPTIONS]",
    "Examples:\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.####.exr\n"};

void ProjectNewCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
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
    ask.file = m_file.name();
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

}  // namespace zelk
