// All commands of the command line.
#pragma once

#include <variant>

#include "apps/zelk/drag_command.h"
#include "apps/zelk/overlay_command.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/project_commands.h"
#include "apps/zelk/render_command.h"
#include "apps/zelk/track_commands.h"

namespace zelk {

/// One of them, with its words. A nested one comes after the command that its path starts with.
using Command = std::variant<RenderCommand, ParamsCommand, ProjectNewCommand, ProjectShowCommand,
                             ProjectCheckCommand, ProjectImportTrackCommand, OverlayCommand,
                             DragCommand, TrackCommand, TrackConvertCommand>;

}  // namespace zelk
