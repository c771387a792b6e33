// `zelk project new`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/project_options.h"

namespace zelk {

/// Writes a project and tells a line about it. Without a size the first frame of the plate, else of
/// the layer, must exist. The composition lasts from the first to the last of the given frames,
/// else of those on disk of a numbered plate, else layer; else it is frame 0 alone.
struct ProjectNewCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    ProjectFile m_file;
    std::optional<std::string> m_layer, m_plate, m_output, m_frames, m_rate, m_size;
    bool m_force = false;
};

}  // namespace zelk
