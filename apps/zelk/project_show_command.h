// `zelk project show`.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/command.h"
#include "apps/zelk/project_options.h"

namespace zelk {

/// Tells a summary, or the file in its normal form.
struct ProjectShowCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    ProjectFile m_file;
    bool m_json = false;
};

}  // namespace zelk
