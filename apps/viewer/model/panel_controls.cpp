// See panel_controls.h.
#include "apps/viewer/model/panel_controls.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/viewer/model/comp_control.h"
#include "apps/viewer/model/input_control.h"
#include "apps/viewer/model/parameter_control.h"
#include "apps/viewer/model/scene_control.h"
#include "zelk/scene/color_names.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/numbers.h"

namespace zelk {
namespace {

using Controls = std::vector<std::unique_ptr<PanelControl>>;

/// A heading over settings, which has nothing to change.
class Heading : public PanelControl {
public:
    using PanelControl::PanelControl;
    ControlState state() const override { return {}; }
};

void addGroup(Document& document, Controls& controls, std::string_view group) {
    controls.push_back(
        std::make_unique<Heading>(document, ControlRow{.name = "scene " + std::string(group),
                                                       .label = std::string(group),
                                                       .level = 1,
                                                       .startsFolded = true}));
}

void addComposition(Document& document, Controls& controls) {
    addGroup(document, controls, "Composition");
    for (auto& control : compControls(document, 2)) controls.push_back(std::move(control));
    controls.push_back(std::make_unique<SceneControl>(document, missingFramesSetting(), 2,
                                                      std::vector<std::string>()));
}

void addSettings(Document& document, Controls& controls) {
    std::vector<std::string> spaces;
    if (document.colors().fault.empty()) spaces = colorConfigOf(document.scene()).names();
    std::string_view group;
    controls.push_back(std::make_unique<Heading>(
        document, ControlRow{.name = "scene", .label = "Scene", .help = "How it is rendered"}));
    addComposition(document, controls);
    for (SceneSetting const& setting : sceneSettings()) {
        bool const isNext = setting.group != group;
        if (isNext) addGroup(document, controls, setting.group);
        group = setting.group;
        if (isNext && group == kPicturesGroup)
            for (InputKind const kind : {InputKind::kLayer, InputKind::kPlate})
                controls.push_back(std::make_unique<InputControl>(document, kind, 2));
        controls.push_back(
            std::make_unique<SceneControl>(document, setting, group.empty() ? 1 : 2, spaces));
    }
}

void addParameters(Document& document, Controls& controls) {
    controls.push_back(std::make_unique<Heading>(
        document, ControlRow{.name = "effect", .label = "Corner Pin", .help = "The effect"}));
    int level = 1;
    for (int index = 1; index < kParameterCount; ++index) {
        Parameter const& parameter = document.parameter(index);
        if (parameter.type() == PF_Param_GROUP_END) {
            --level;
            continue;
        }
        if (!(parameter.registered.ui_flags & PF_PUI_NO_ECW_UI))
            controls.push_back(std::make_unique<ParameterControl>(document, index, level));
        if (parameter.type() == PF_Param_GROUP_START) ++level;
    }
}

/// The panel's two headings have no name that counts.
bool has(ControlRow const& row, std::string const& text) {
    if (row.level == 0) return false;
    return lowered(row.label).find(text) != std::string::npos ||
           lowered(row.name).find(text) != std::string::npos;
}

}  // namespace

std::string controlsKey(Document const& document) {
    Scene const& scene = document.scene();
    std::string const config = scene.color.config ? scene.color.config->path().string() : "";
    return fmt::format("{}|{}|{}|{}|{}", scene.module.string(), static_cast<int>(scene.hostApp()),
                       scene.color.isRaw, config, document.colors().fault);
}

Controls panelControls(Document& document) {
    Controls controls;
    addSettings(document, controls);
    addParameters(document, controls);
    return controls;
}

std::vector<bool> foundRows(Controls const& controls, std::string const& text) {
    std::string const word = lowered(trimmed(text));
    std::vector<bool> found(controls.size(), word.empty());
    std::vector<std::size_t> groups;  // about the row
    for (std::size_t i = 0; i < controls.size(); ++i) {
        ControlRow const& row = controls[i]->row();
        groups.resize(std::min<std::size_t>(groups.size(), std::size_t(row.level)));
        bool const isInFound = std::any_of(groups.begin(), groups.end(), [&](std::size_t group) {
            return has(controls[group]->row(), word);
        });
        if (has(row, word) || isInFound) {
            found[i] = true;
            for (std::size_t const group : groups) found[group] = true;
        }
        if (row.kind == ControlKind::kGroup) groups.push_back(i);
    }
    return found;
}

}  // namespace zelk
