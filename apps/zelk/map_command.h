// `zelk map`: the map of a pinned quad, as ST maps or as 3 x 3 matrices, for programs that draw
// themselves.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/output_options.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

struct MapCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    OutputOptions m_output;
    bool m_isMatrix = false;
    std::optional<std::string> m_project;
};

}  // namespace zelk
