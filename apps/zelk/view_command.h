// `zelk view`: a scene in the viewer, which is a program of its own.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/output_options.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

struct ViewCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    OutputOptions m_output;
    std::optional<std::string> m_file, m_project;
};

}  // namespace zelk
