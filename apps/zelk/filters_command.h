// `zelk filters`: the kernels of --filter.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/command.h"

namespace zelk {

/// Lists the kernels, all or those that are named, and draws them.
struct FiltersCommand {
    static CommandInfo const kInfo;
    void addOptions(CLI::App& app);
    ExitCode run(Invocation const& how);

private:
    std::vector<std::string> m_names;
    std::optional<std::string> m_taps, m_plot;
    bool m_json = false, m_noClobber = false;
};

}  // namespace zelk
