// `zelk render`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/scene_options.h"
#include "zelk/render/run_options.h"

namespace zelk {

struct RenderCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    RunOptions m_run;  ///< its switches
    bool m_dropsMetadata = false;
    std::optional<std::string> m_project, m_threads, m_inFlight, m_progress, m_explain;
};

}  // namespace zelk
