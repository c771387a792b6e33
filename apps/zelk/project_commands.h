// `zelk project new`, `show`, `check` and `import-track`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/scene_options.h"

namespace zelk {

/// Writes a project and tells a line about it. Without a size the first frame of the plate, else of
/// the layer, must exist. The composition lasts from the first to the last of the given frames,
/// else of those on disk of a numbered plate, else layer; else it is frame 0 alone.
struct ProjectNewCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    std::optional<std::string> m_file, m_layer, m_plate, m_output, m_frames, m_rate, m_size;
    bool m_force = false;
};

/// Tells a summary, or the file in its normal form.
struct ProjectShowCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    std::optional<std::string> m_file;
    bool m_json = false;
};

/// Tells "FILE: good" for a project whose frames can all be rendered; else what its render would
/// tell, with the same exit code.
struct ProjectCheckCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    std::optional<std::string> m_file;
};

/// Tracking data onto a project's pins by the effect's import, and the project written again.
struct ProjectImportTrackCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    SceneOptions m_scene;
    std::optional<std::string> m_file, m_track, m_pins;
};

}  // namespace zelk
