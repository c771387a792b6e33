// Scenes whose project gets another place: their files stay the same, their names start at the
// project's folder, as those of a project that is opened do.
#pragma once

#include <filesystem>
#include <map>
#include <memory>

#include "zelk/scene/scene.h"

namespace zelk {

class MovedScenes {
public:
    explicit MovedScenes(std::filesystem::path project) : m_project(std::move(project)) {}

    /// The scene as `project` has it; scenes that were one stay one.
    std::shared_ptr<Scene const> of(std::shared_ptr<Scene const> const& scene);

private:
    std::filesystem::path m_project;
    std::map<std::shared_ptr<Scene const>, std::shared_ptr<Scene const>> m_scenes;
};

}  // namespace zelk
