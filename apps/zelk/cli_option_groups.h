// The options of each command, bound to the record of what was typed, and the examples of its help.
#pragma once

#include <optional>
#include <string>

#include "apps/zelk/cli_options.h"

namespace CLI {
class App;
}

namespace zelk {

void addRenderOptions(CLI::App& command, TypedOptions& typed);
void addParamsOptions(CLI::App& command, TypedOptions& typed);
void addProjectOptions(CLI::App& command, TypedOptions& typed, std::optional<std::string>& verb);
void addOverlayOptions(CLI::App& command, TypedOptions& typed);
void addDragOptions(CLI::App& command, TypedOptions& typed);
void addTrackOptions(CLI::App& command, TypedOptions& typed);

}  // namespace zelk
