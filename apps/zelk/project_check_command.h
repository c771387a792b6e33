// `zelk project check`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/project_options.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

/// Tells "FILE: good" for a project whose frames can all be rendered; else what its render would
/// tell, with the same exit code.
struct ProjectCheckCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    ProjectFile m_file;
};

}  // namespace zelk
