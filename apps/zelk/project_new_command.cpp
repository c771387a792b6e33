// New projects; see project_new_command.h.
#include "apps/zelk/project_new_command.h"

#include <fmt/format.h>

#include "zelk/files/frame_names.h"
#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/new_comp.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

CommandInfo const ProjectNewCommand::kInfo = {
    "project new", "Make a project file", "FILE --layer LAYER [OPTIONS]",
    "Examples:\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.####.exr\n"
    "  zelk project new sign.zelk.json --layer sign.png --plate shot.mov --track shot.txt \\\n"
    "    --mode add --holdout roto.####.png --quality best\n"};

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
    checkScene(scene);
    std::optional<PixelSize> size;
    if (m_size) size = parseSize("--size", *m_size);
    static_cast<void>(SequenceName(scene.outputPath().string()));  // refuses a malformed mark
    requireNew(file, m_force);
    settleNewComp(scene, size);
    writeScene(scene, file, m_force);
    print(fmt::format("{}: {}\n", file.string(), compText(scene.comp)));
    return ExitCode::kDone;
}

}  // namespace zelk
