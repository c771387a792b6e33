// A project's summary; see project_show_command.h.
#include "apps/zelk/project_show_command.h"

#include <fmt/format.h>

#include "zelk/files/standard_output.h"
#include "zelk/scene/file.h"
#include "zelk/scene/file_form.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

std::string renderText(Scene const& scene) {
    std::string text;
    auto const add = [&text](std::string const& part) {
        text += (text.empty() ? "" : ", ") + part;
    };
    if (scene.depth) add(fmt::format("depth {}", wordOf(kDepthWords, *scene.depth)));
    if (scene.overMode) add(fmt::format("mode {}", wordOf(kOverModes, *scene.overMode)));
    if (scene.downsample) add(fmt::format("downsample {}", *scene.downsample));
    if (scene.isInverted) add("inverted");
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

std::string summaryOf(Scene const& scene) {
    Comp const& comp = scene.comp;
    std::string text = scene.file.string() + "\n" + row("comp", compText(comp));
    if (comp.pixelAspect != 1) text += row("pixel aspect", fmt::format("{}", comp.pixelAspect));
    if (comp.motionBlur)
        text += row("motion blur", fmt::format("shutter angle {}, phase {}", comp.shutterAngleDeg,
                                               comp.shutterPhaseDeg));
    text += row("layer", scene.layer.file.written) +
            row("plate", scene.plate ? scene.plate->file.written : "") +
            row("st map", scene.stMap ? scene.stMap->file.written : "") +
            row("output", scene.output ? scene.output->written : "") +
            row("frames", scene.frames.value_or("")) + row("render", renderText(scene));
    if (!scene.parameters.empty()) text += "parameters that differ from their defaults\n";
    for (SceneParameter const& parameter : scene.parameters)
        text += row(parameter.name, settingText(parameter));
    return text;
}

}  // namespace

CommandInfo const ProjectShowCommand::kInfo = {"project show", "Show what a project file holds",
                                               "FILE [OPTIONS]",
                                               "Examples:\n"
                                               "  zelk project show sign.zelk.json --json\n"};

void ProjectShowCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
    add.flag("Project", "--json", m_json, "The file in its normal form");
}

ExitCode ProjectShowCommand::run(Invocation const&) {
    Scene const scene = readScene(m_file.name());
    print(m_json ? sceneText(scene) : summaryOf(scene));
    return ExitCode::kDone;
}

}  // namespace zelk
