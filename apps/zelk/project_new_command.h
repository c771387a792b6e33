// `zelk project new`.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "apps/zelk/command.h"
#include "apps/zelk/project_options.h"

namespace zelk {

/// Writes a project and tells a line about it. Without a size the first frame of the plate, else of
/// the layer, must exist. The composition lasts from the first to the last of the given frames,
/// else of those of a numbered plate or a movie, else layer; else it is frame 0 alone. Without a
/// rate it has the movie's.
struct ProjectNewCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    /// An edit of the new scene, and how the option for it is called.
    struct Edit {
        std::string_view name;
        char const *option, *help;  ///< help: null for the edit's own
        std::optional<std::string> text = {};
    };

    ProjectFile m_file;
    std::array<Edit, 21> m_edits = {
        {{"layer", "--layer", "The picture or pattern to pin"},
         {"over", "--over", "What it is laid over"},
         {"over", "--plate", "The same"},
         {"output", "--output", "What is written"},
         {"matte", "--matte", nullptr},
         {"holdout", "--holdout", nullptr},
         {"mode", "--mode", nullptr},
         {"quality", "--quality", nullptr},
         {"frames", "--frames", "The frames to be rendered"},
         {"rate", "--rate", "Frames a second (a movie's, else 24)"},
         {"first-frame", "--first-frame", "Frame number of a movie's first picture (0)"},
         {"codec", "--codec", nullptr},
         {"quality-level", "--quality-level", nullptr},
         {"track-format", "--track-format", nullptr},
         {"track-size", "--track-size", nullptr},
         {"corners", "--corners", nullptr},
         {"flip-y", "--flip-y", nullptr},
         {"track-first-frame", "--track-first-frame", nullptr},
         {"shift-frames", "--shift-frames", nullptr},
         {"track", "--track", nullptr},
         {"track-from", "--track-from", nullptr}}};
    std::optional<std::string> m_size;
    bool m_force = false;
};

}  // namespace zelk
