// `zelk track FILE`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/track_options.h"

namespace zelk {

/// Tells what a file holds and what is odd about it, and draws its paths.
struct TrackCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    TrackOptions m_track;
    std::optional<std::string> m_file, m_plot, m_over;
    bool m_json = false, m_noClobber = false;
};

}  // namespace zelk
