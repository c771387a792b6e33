// New projects; see project_new_command.h.
#include "apps/zelk/project_new_command.h"

#include <fmt/format.h>

#include <algorithm>

#include "zelk/files/frame_names.h"
#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/inputs/input_files.h"
#include "zelk/pictures/reader.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Frames that there are of a name; nothing for a plain one. Throws when there are none.
std::vector<int> framesThere(SequenceName const& name, std::string const& pattern) {
    if (!name.isSequence()) return {};
    std::vector<int> frames = framesOnDisk(name);
    if (frames.empty())
        throw UserError(ExitCode::kInput, {pattern, "no such frames", "",
                                           "files such as " + name.pathOf(1).string()});
    return frames;
}

std::string layerName(Scene const& scene) { return scene.layer.name(); }
std::string plateOrLayer(Scene const& scene) {
    return scene.plate ? scene.plate->name() : layerName(scene);
}

/// The frames that a new composition shows, in any order.
std::vector<int> framesOf(Scene const& scene) {
    if (scene.frames) return parseFrameRange("--frames", *scene.frames);
    for (auto const& pattern : {plateOrLayer(scene), layerName(scene)}) {
        auto frames = framesThere(SequenceName(pattern), pattern);
        if (!frames.empty()) return frames;
    }
    return {0};
}

/// The first picture of the plate, else of the layer, of those that the frames name.
PictureReader firstPicture(Scene const& scene) {
    std::string const pattern = plateOrLayer(scene);
    SequenceName const name(pattern);
    if (scene.frames) return openPicture(name.pathOf(framesOf(scene).front()));
    auto const there = framesThere(name, pattern);
    return openPicture(name.pathOf(there.empty() ? 0 : there.front()));
}

void settleComp(Scene& scene, std::optional<PixelSize> const& size) {
    Comp& comp = scene.comp;
    auto const frames = framesOf(scene);
    auto const [first, last] = std::minmax_element(frames.begin(), frames.end());
    comp.startFrame = *first;
    if (!keyTimeOf(comp, double(*last) + 1))
        throw UserError(ExitCode::kUsage,
                        {"--frames", "too far apart for the composition's clock:",
                         fmt::format("{}-{}", *first, *last),
                         fmt::format("at most {} frames", mostFramesOf(comp.timeBase))});
    comp.durationFrames = *last - *first + 1;
    if (size) {
        comp.width = size->width;
        comp.height = size->height;
        return;
    }
    PictureReader const picture = firstPicture(scene);
    comp.width = picture.width();
    comp.height = picture.height();
}

}  // namespace

CommandInfo const ProjectNewCommand::kInfo = {
    "project new", "Make a project file", "FILE --layer LAYER [OPTIONS]",
    "Examples:\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.####.exr\n"};

void ProjectNewCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
    for (Edit& edit : m_edits) {
        std::string const typed = edit.name == "output" ? "-o,--output" : edit.option;
        add.text("Project", typed, edit.text, sceneEdit(edit.name).value, edit.help);
    }
    add.text("Project", "--size", m_size, "WxH",
             "Of the composition (the plate's, else the layer's)");
    add.flag("Project", "--force", m_force, "Replace a file");
}

ExitCode ProjectNewCommand::run(Invocation const&) {
    fs::path const file = m_file.name();
    Scene scene;
    for (Edit const& edit : m_edits) {
        if (edit.text && scene.options.contains(SceneField::kPlate) && edit.name == "over")
            throw UserError(ExitCode::kUsage, "--plate is --over: give one of them");
        if (edit.text) sceneEdit(edit.name).apply(scene, edit.option, *edit.text);
    }
    if (!scene.layer.isGiven()) throw missing("--layer", "a picture file or pattern");
    std::optional<PixelSize> size;
    if (m_size) size = parseSize("--size", *m_size);
    for (std::string const& path :
         {layerName(scene), plateOrLayer(scene), scene.outputPath().string()})
        static_cast<void>(SequenceName(path));  // refuses a malformed mark
    requireNew(file, m_force);
    settleComp(scene, size);
    writeScene(scene, file, m_force);
    print(fmt::format("{}: {}\n", file.string(), compText(scene.comp)));
    return ExitCode::kDone;
}

}  // namespace zelk
