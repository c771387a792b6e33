// See command_text.h.
#include "apps/viewer/model/command_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "apps/viewer/model/scene_inputs.h"
#include "zelk/files/absolute_path.h"
#include "zelk/movies/codecs.h"
#include "zelk/scene/as_edits.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edit_titles.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/inputs.h"
#include "zelk/text/shell_words.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

using Edits = std::vector<MadeEdit>;

std::string absoluteText(fs::path const& path) { return plainPath(path).string(); }

/// An edit as words of the command line, after a blank each.
std::string wordsOf(MadeEdit const& edit) {
    if (edit.name == "layer") return " " + shellWord(edit.text);
    if (edit.name == "output") return " -o " + shellWord(edit.text);
    std::string_view const takes = sceneEdit(edit.name).value;
    if (takes == "on|off") return " --" + edit.name;  // only what is on is named
    std::string const option = " --" + edit.name;
    bool const mayLackValue = takes.starts_with("[");
    bool const isSigned = edit.text.starts_with("-");
    std::string const join = mayLackValue || isSigned ? "=" : " ";
    if (join == "=") return " " + shellWord("--" + edit.name + "=" + edit.text);
    return option + join + shellWord(edit.text);
}

/// Its file says what is open: nobody has changed it since, or taken it away.
bool isSaved(Document const& document) {
    std::error_code none;
    return !document.file().empty() && !document.isModified() &&
           fs::exists(document.file(), none) && !document.hasFileChanged();
}

/// What makes the scene: its project, or its edits.
CommandText sceneWords(Document const& document) {
    Edits edits;
    std::string line = "zelk render";
    if (isSaved(document)) {
        line += " --project " + shellWord(absoluteText(document.file()));
        edits = editsBesidesFile(document.scene());
    } else {
        SceneAsEdits made = editsOf(document.scene(), document.frameSize());
        if (!made.obstacle.empty())
            return {"",
                    fmt::format("Save the project first: only a project holds {}.", made.obstacle)};
        edits = std::move(made.edits);
    }
    for (MadeEdit const& edit : edits) line += wordsOf(edit);
    return {line, ""};
}

/// A name for one frame of a scene that names none: "sign.0012.png", in the shell's own folder. The
/// frame mark of a layer such as "thumb_####.png" is left out, else there would be two numbers.
std::string stillName(Document const& document) {
    fs::path stem = document.file().empty() ? document.scene().layer.file.path() : document.file();
    std::string name = stem.filename().string();
    name = name.substr(0, name.find('.'));
    name = name.substr(0, std::min(name.find_first_of("#@%"), name.find("$F")));
    name.resize(name.find_last_not_of("_-") + 1);
    return fmt::format("{}.{:04}.png", name.empty() ? "frame" : name, document.frame());
}

Edits exportEdits(Scene const& scene, ExportEdits const& asked) {
    std::string const output = exportedFile(scene, asked).string();
    std::string const frames = asked.frames.empty() ? scene.frames.value_or("") : asked.frames;
    Edits edits = {{"output", output}};
    if (!frames.empty()) edits.push_back({"frames", frames});
    bool const isMovie = containerOf(output) != nullptr;
    auto const codec = asked.codec ? asked.codec : scene.codec;
    if (isMovie && codec) edits.push_back({"codec", *codec});
    if (isMovie && asked.quality) edits.push_back({"quality-level", *asked.quality});
    if (isMovie && !asked.quality && scene.codecQuality)
        edits.push_back({"quality-level", fmt::format("{}", *scene.codecQuality)});
    if (asked.channels) edits.push_back({"channels", *asked.channels});
    if (asked.depth) edits.push_back({"depth", *asked.depth});
    return edits;
}

}  // namespace

CommandText renderCommandOf(Document const& document) {
    CommandText text = sceneWords(document);
    if (text.line.empty()) return text;
    Scene const& scene = document.scene();
    bool const isOwn = scene.output && !containerOf(scene.outputPath());
    if (!isOwn)
        text.line += wordsOf({"output", stillName(document)});
    else if (!isSaved(document))
        text.line += wordsOf({"output", absoluteText(scene.outputPath())});
    bool const isStill = !isSequence(scene) && document.frame() == document.firstFrame();
    if (!isStill) text.line += wordsOf({"frames", std::to_string(document.frame())});
    return text;
}

fs::path exportedFile(Scene const& scene, ExportEdits const& asked) {
    return plainPath(asked.output.empty() ? scene.outputPath() : typedPath(scene, asked.output));
}

CommandText exportCommandOf(Document const& document, ExportEdits const& asked) {
    CommandText text = sceneWords(document);
    if (text.line.empty()) return text;
    for (MadeEdit const& edit : exportEdits(document.scene(), asked)) text.line += wordsOf(edit);
    if (asked.skipsExisting) text.line += " --skip-existing";
    if (asked.isShared) text.line += " --share";
    return text;
}

Scene exportedScene(Document const& document, ExportEdits const& asked) {
    Scene scene = document.scene();
    for (MadeEdit const& edit : exportEdits(document.scene(), asked))
        sceneEdit(edit.name).apply(scene, editTitle(edit.name), edit.text);
    checkScene(scene);
    return scene;
}

}  // namespace zelk
