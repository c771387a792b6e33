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
#include "zelk/scene/inputs.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Of an input over many frames; nothing for a single picture. Throws where a numbered one has
/// none.
std::vector<int> framesThere(InputFiles const& input) {
    if (!input.isNumbered()) return {};
    std::vector<int> frames = input.framesThere();
    if (frames.empty())
        throw UserError(ExitCode::kInput, {input.name(), "no such frames", "",
                                           "files such as " + input.own(1).file.string()});
    return frames;
}

/// The frames that a new composition shows, in any order: the plate's, else the layer's.
std::vector<int> framesOf(Scene const& scene, SceneFiles const& files) {
    if (scene.frames) return parseFrameRange("--frames", *scene.frames);
    for (InputFiles const* input : {files.plate ? &*files.plate : nullptr, &files.layer}) {
        auto frames = input ? framesThere(*input) : std::vector<int>();
        if (!frames.empty()) return frames;
    }
    return {0};
}

/// Clock, length and size, as far as they are not given: those of the plate, else of the layer.
void settleComp(Scene& scene, std::optional<PixelSize> const& size) {
    SceneFiles const files(scene);
    Comp& comp = scene.comp;
    comp.timeBase = rateOf(scene, files);
    if ((files.layer.isMovie() || (files.plate && files.plate->isMovie())) && !scene.movieStart)
        scene.movieStart = 0;
    auto const frames = framesOf(scene, files);
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
    PictureReader const picture =
        (files.plate ? *files.plate : files.layer).own(frames.front()).open();
    comp.width = picture.width();
    comp.height = picture.height();
}

}  // namespace

CommandInfo const ProjectNewCommand::kInfo = {
    "project new", "Make a project file", "FILE --layer LAYER [OPTIONS]",
    "Examples:\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.####.exr\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.mov --track shot.txt\n"};

void ProjectNewCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
    for (Edit& edit : m_edits) {
        std::string const typed = edit.name == "output" ? "-o,--output" : edit.option;
        SceneEdit const& own = sceneEdit(edit.name);
        add.text("Project", typed, edit.text, own.value, edit.help ? edit.help : own.help,
                 own.words ? own.words() : Words());
    }
    add.text("Project", "--size", m_size, "WxH",
             "Of the composition (the plate's, else the layer's)");
    add.flag("Project", "--force", m_force, "Replace a file");
}

ExitCode ProjectNewCommand::run(Invocation const&) {
    fs::path const file = m_file.name();
    Scene scene;
    scene.editPrefix = "--";
    for (Edit const& edit : m_edits) {
        if (edit.text && scene.options.contains(SceneField::kPlate) && edit.name == "over")
            throw UserError(ExitCode::kUsage, "--plate is --over: give one of them");
        if (edit.text) sceneEdit(edit.name).apply(scene, edit.option, *edit.text);
    }
    if (!scene.layer.isGiven()) throw missing("--layer", "a picture file or pattern");
    std::optional<PixelSize> size;
    if (m_size) size = parseSize("--size", *m_size);
    static_cast<void>(SequenceName(scene.outputPath().string()));  // refuses a malformed mark
    requireNew(file, m_force);
    settleComp(scene, size);
    writeScene(scene, file, m_force);
    print(fmt::format("{}: {}\n", file.string(), compText(scene.comp)));
    return ExitCode::kDone;
}

}  // namespace zelk
