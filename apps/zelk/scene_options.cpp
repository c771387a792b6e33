// Names, types and help of a scene's options; see scene_options.h.
#include "apps/zelk/scene_options.h"

#include <stdexcept>
#include <utility>

#include "apps/zelk/environment.h"
#include "zelk/scene/check.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

/// An edit as an option: its text is the edit's own (zelk/scene/edits.h).
struct SceneOption {
    std::string_view edit;
    char const* group;
};

constexpr SceneOption kOptions[] = {
    {"layer", "Files"},
    {"output", "Files"},
    {"over", "Files"},
    {"size", "Files"},
    {"st-map", "Files"},
    {"to", "Pins"},
    {"from", "Pins"},
    {"track", "Pins"},
    {"track-from", "Pins"},
    {"track-format", "Tracking data"},
    {"track-size", "Tracking data"},
    {"corners", "Tracking data"},
    {"flip-y", "Tracking data"},
    {"track-first-frame", "Tracking data"},
    {"shift-frames", "Tracking data"},
    {"view", "Pins"},
    {"invert", "Pins"},
    {"quality", "Rendering"},
    {"set", "Rendering"},
    {"depth", "Rendering"},
    {"downsample", "Rendering"},
    {"road", "Rendering"},
    {"grow", "Rendering"},
    {"filter", "Rendering"},
    {"taps", "Rendering"},
    {"edges", "Rendering"},
    {"feather", "Rendering"},
    {"choke", "Rendering"},
    {"frames", "Time"},
    {"motion-blur", "Time"},
    {"shutter", "Time"},
    {"rate", "Time"},
    {"first-frame", "Time"},
    {"codec", "Movies"},
    {"quality-level", "Movies"},
    {"sound", "Movies"},
    {"missing", "Sequence"},
    {"opacity", "Compositing"},
    {"transfer", "Compositing"},
    {"source-opacity", "Compositing"},
    {"mode", "Compositing"},
    {"layer-color", "Colour"},
    {"plate-color", "Colour"},
    {"output-color", "Colour"},
    {"work-color", "Colour"},
    {"ocio", "Colour"},
    {"color", "Colour"},
    {"matte", "Compositing"},
    {"holdout", "Compositing"},
    {"orientation", "Files"},
    {"overscan", "Files"},
    {"channels", "Files"},
    {"plain", "Host"},
    {"host", "Host"},
    {"module", "Host"},
};

SceneOption const& optionOf(std::string_view edit) {
    for (SceneOption const& option : kOptions)
        if (option.edit == edit) return option;
    throw std::out_of_range("no option for " + std::string(edit));
}

constexpr char const* kPrefix = "--";

/// What messages call it.
std::string thingOf(std::string_view edit) {
    return edit == "layer" ? "LAYER" : kPrefix + std::string(edit);
}

}  // namespace

void SceneOptions::add(OptionAdder const& add, std::string_view name) {
    SceneOption const& option = optionOf(name);
    SceneEdit const& edit = sceneEdit(name);
    std::string const typed = name == "output" ? "-o,--output" : thingOf(name);
    if (name == "set")
        add.texts(option.group, typed, m_settings, edit.value, edit.help);
    else if (std::string_view(edit.value) == "on|off")
        add.flag(option.group, typed, m_flags[edit.name], edit.help);
    else
        add.text(option.group, typed, m_texts[edit.name], name == "layer" ? "" : edit.value,
                 edit.help, edit.words ? edit.words() : Words());
}

Scene SceneOptions::edited(Scene scene) const {
    scene.editPrefix = kPrefix;
    if (auto const module = environmentText(kModuleVariable))
        sceneEdit("module").apply(scene, variableName(kModuleVariable), *module);
    for (SceneEdit const& edit : sceneEdits()) {
        std::string const thing = thingOf(edit.name);
        auto const typed = m_texts.find(edit.name);
        if (typed != m_texts.end() && typed->second) edit.apply(scene, thing, *typed->second);
        auto const flag = m_flags.find(edit.name);
        if (flag != m_flags.end() && flag->second) edit.apply(scene, thing, "on");
        if (edit.name == "set")
            for (std::string const& setting : m_settings) edit.apply(scene, thing, setting);
    }
    return scene;
}

void checkTyped(Scene const& scene) {
    bool const isOfPlate = scene.isInverted && scene.plate;
    if (!scene.layer.isGiven() && !isOfPlate) throw missing(thingOf("layer"), "a picture file");
    checkScene(scene);
    requireOutput(scene);
}

Scene sceneOfProject(std::optional<std::string> const& project) {
    return project ? readScene(required(*project, "--project", "a project file")) : Scene{};
}

}  // namespace zelk
