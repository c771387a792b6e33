// `zelk params`: the parameters as the module registers them.
#pragma once

#include "apps/zelk/command.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

/// Tells the list, a table or a JSON array, or the module's resource, lines or a JSON object. Of a
/// module that the user names the table starts with its resource.
struct ParamsCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    bool m_json = false, m_resource = false;
};

}  // namespace zelk
