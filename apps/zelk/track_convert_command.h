// `zelk track convert IN OUT`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/track_options.h"

namespace zelk {

/// Writes a track in another form.
struct TrackConvertCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    TrackOptions m_track;
    std::optional<std::string> m_in, m_out, m_as;
    bool m_force = false;
};

}  // namespace zelk
