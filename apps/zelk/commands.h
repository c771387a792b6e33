// All commands of the command line.
#pragma once

#include <variant>

#include "apps/zelk/drag_command.h"
#include "apps/zelk/filters_command.h"
#include "apps/zelk/map_command.h"
#include "apps/zelk/overlay_command.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/project_check_command.h"
#include "apps/zelk/project_import_track_command.h"
#include "apps/zelk/project_new_command.h"
#include "apps/zelk/project_show_command.h"
#include "apps/zelk/render_command.h"
#include "apps/zelk/submit_command.h"
#include "apps/zelk/submit_job_commands.h"
#include "apps/zelk/track_command.h"
#include "apps/zelk/track_convert_command.h"
#include "apps/zelk/view_command.h"

namespace zelk {

/// One of them, with its words. A nested one comes after the command that its path starts with.
using Command =
    std::variant<RenderCommand, ParamsCommand, ProjectNewCommand, ProjectShowCommand,
                 ProjectCheckCommand, ProjectImportTrackCommand, OverlayCommand, DragCommand,
                 TrackCommand, TrackConvertCommand, FiltersCommand, MapCommand, SubmitCommand,
                 SubmitStatusCommand, SubmitResumeCommand, SubmitCancelCommand, SubmitBeginCommand,
                 SubmitTaskCommand, SubmitMovieCommand, ViewCommand>;

}  // namespace zelk
