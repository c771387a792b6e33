// `zelk overlay`: a frame with the effect's overlay drawn on it, as a host's panel shows it.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/output_options.h"
#include "apps/zelk/panel_options.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

/// Whether the word after --display-view, whose value may be left out, is one.
bool isDisplayView(std::string const& word);

struct OverlayCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    PanelOptions m_panel;
    OutputOptions m_output;
    std::optional<std::string> m_project, m_margin, m_displayView;
};

}  // namespace zelk
