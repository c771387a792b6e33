// The options that are edits of a scene (zelk/scene/edits.h), and the scene that they make.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/zelk/option_adder.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// Words of a scene's options. The object must stay where it is once options are added.
class SceneOptions {
public:
    /// Adds the option of the edit of that name.
    void add(OptionAdder const& add, std::string_view edit);
    /// Adds several, in that order.
    void add(OptionAdder const& adder, std::initializer_list<std::string_view> edits) {
        for (std::string_view edit : edits) add(adder, edit);
    }

    /// `base` after the edits that were typed. Throws what edits refuse.
    Scene edited(Scene base) const;

private:
    std::map<std::string_view, std::optional<std::string>> m_texts;
    std::vector<std::string> m_settings;       ///< of --set
    std::map<std::string_view, bool> m_flags;  ///< edits of on and off
};

/// Whether a scene can be rendered to its output, in the words of the command line where layer or
/// output are missing. Throws as checkScene.
void checkTyped(Scene const& scene);

/// A scene from --project, or an empty one.
Scene sceneOfProject(std::optional<std::string> const& project);

}  // namespace zelk
