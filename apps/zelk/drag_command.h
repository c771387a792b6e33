// `zelk drag`: moves or scales a quad of a project as the mouse would in a host's panel.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/zelk/cli_options.h"
#include "hostkit/panel.h"
#include "zelk/scene/corners.h"

namespace zelk {

/// A checked `zelk drag`.
struct DragRequest {
    std::filesystem::path project;
    std::filesystem::path output;  ///< a project file; the same for a change in place
    bool mayReplace = true;        ///< an output that is there
    ModuleRequest module;
    Point from;             ///< of the click, panel pixels
    std::vector<Point> to;  ///< where the mouse goes, the last one with the button released
    bool shift = false;     ///< held at the click: scales
    std::optional<int> frame;
    PF_WindowType panel = PF_Window_COMP;
    double zoom = 1;
    bool dryRun = false;  ///< tells, and writes nothing
};

/// Writes the project and answers the pins that moved, a line each. Throws a usage error for a
/// click that meets no quad, as readProject and writeProject, and a render error when the effect
/// fails.
std::string drag(DragRequest const& request);

}  // namespace zelk
