// `zelk drag`: moves or scales a quad of a project as the mouse would in a host's panel.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/command.h"
#include "apps/zelk/panel_options.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

/// Writes the project again, and tells the pins that moved, a line each.
struct DragCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    PanelOptions m_panel;
    std::optional<std::string> m_file, m_output, m_click;
    std::vector<std::string> m_to;
    bool m_shift = false, m_force = false, m_dryRun = false;
};

}  // namespace zelk
