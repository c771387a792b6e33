// `zelk project import-track`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/project_options.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

/// Tracking data onto a project's pins by the effect's import, and the project written again.
struct ProjectImportTrackCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    ProjectFile m_file;
    SceneOptions m_scene;
    std::optional<std::string> m_track, m_pins;
};

}  // namespace zelk
