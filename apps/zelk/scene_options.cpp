// Names, types and help of a scene's options; see scene_options.h.
#include "apps/zelk/scene_options.h"

#include <stdexcept>
#include <utility>

#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

struct SceneOption {
    std::string_view edit;
    char const* name;  ///< null: "--" and the edit's
    char const *group, *type, *help;
};

constexpr SceneOption kOptions[] = {
    {"layer", "LAYER", "Files", "", "The picture to pin"},
    {"output", "-o,--output", "Files", "OUTPUT",
     "The picture to write; its extension chooses the format"},
    {"over", nullptr, "Files", "PLATE",
     "Lay the pinned layer over this picture; To Pins are then in its pixels"},
    {"size", nullptr, "Files", "WxH", "The same into a transparent frame of this size"},
    {"to", nullptr, "Pins", "\"X,Y X,Y X,Y X,Y\"", "To Pins, where the picture goes"},
    {"from", nullptr, "Pins", "\"X,Y X,Y X,Y X,Y\"", "From Pins, what is taken from it"},
    {"track", nullptr, "Pins", "FILE", "Tracking data for the To Pins, by the effect's import"},
    {"track-from", nullptr, "Pins", "FILE", "The same for the From Pins"},
    {"view", nullptr, "Pins", "VIEW", "original, from, to or both (both)"},
    {"quality", nullptr, "Rendering", "QUALITY", "low, medium, high or super (high)"},
    {"set", nullptr, "Rendering", "NAME=VALUE", "Any parameter of `zelk params`, repeatable"},
    {"depth", nullptr, "Rendering", "DEPTH", "8, 16 or float (the layer's own)"},
    {"downsample", nullptr, "Rendering", "N",
     "Render at 1/N of the size, as a host does for a preview (1)"},
    {"road", nullptr, "Rendering", "ROAD",
     "module: the effect in a host; memory: its pipeline in float (module, or memory with --over "
     "or --size)"},
    {"grow", nullptr, "Rendering", "N", "Make the frame larger by N pixels on each side (0)"},
    {"frames", nullptr, "Time", "RANGE", "Frames of a sequence, such as 1001-1100 or 1-10,20-30x2"},
    {"motion-blur", nullptr, "Time", "[SAMPLES]", "Switch the composition's motion blur on"},
    {"shutter", nullptr, "Time", "ANGLE[,PHASE]", "Degrees of a frame (180,-90)"},
    {"rate", nullptr, "Time", "FPS", "Frames a second (24)"},
    {"missing", nullptr, "Sequence", "MODE",
     "Input frames that are not there: stop, hold, skip or black (stop)"},
    {"opacity", nullptr, "Compositing", "PERCENT", "Of the pinned layer (100)"},
    {"transfer", nullptr, "Compositing", "MODE",
     "Lay the pinned layer over the layer itself by a Transfer Mode (none)"},
    {"source-opacity", nullptr, "Compositing", "PERCENT",
     "Of the layer under it, with --transfer (100)"},
    {"mode", nullptr, "Compositing", "MODE",
     "Lay the pinned layer over the plate by a mode (normal)"},
    {"plain", nullptr, "Host", "", "Render by the plain command, not the smart protocol"},
    {"host", nullptr, "Host", "ID", "The host to be: FXTC, PrMr, KeyG or MOTN (FXTC)"},
    {"module", nullptr, "Host", "PATH", "The effect's module, instead of the built one"},
};

SceneOption const& optionOf(std::string_view edit) {
    for (SceneOption const& option : kOptions)
        if (option.edit == edit) return option;
    throw std::out_of_range("no option for " + std::string(edit));
}

/// What messages call it.
std::string thingOf(std::string_view edit) {
    return edit == "layer" ? "LAYER" : "--" + std::string(edit);
}

}  // namespace

void SceneOptions::add(OptionAdder const& add, std::string_view edit) {
    SceneOption const& option = optionOf(edit);
    std::string const name = option.name ? option.name : "--" + std::string(edit);
    if (edit == "set")
        add.texts(option.group, name, m_settings, option.type, option.help);
    else if (edit == "plain")
        add.flag(option.group, name, m_isPlain, option.help);
    else
        add.text(option.group, name, m_texts[sceneEdit(edit).name], option.type, option.help);
}

Scene SceneOptions::edited(Scene scene) const {
    for (SceneEdit const& edit : sceneEdits()) {
        std::string const thing = thingOf(edit.name);
        auto const typed = m_texts.find(edit.name);
        if (typed != m_texts.end() && typed->second) edit.apply(scene, thing, *typed->second);
        if (edit.name == "plain" && m_isPlain) edit.apply(scene, thing, "on");
        if (edit.name == "set")
            for (std::string const& setting : m_settings) edit.apply(scene, thing, setting);
    }
    return scene;
}

Scene sceneOfProject(std::optional<std::string> const& project) {
    return project ? readScene(required(*project, "--project", "a project file")) : Scene{};
}

}  // namespace zelk
