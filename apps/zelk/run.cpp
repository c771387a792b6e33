// Dispatch of the commands; see run.h.
#include "apps/zelk/run.h"

#include <cstdio>

#include "apps/zelk/drag_command.h"
#include "apps/zelk/overlay_command.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/project_command.h"
#include "apps/zelk/track_command.h"
#include "zelk/files/standard_output.h"
#include "zelk/sequence/sequence_render.h"

namespace zelk {

namespace {

void tell(std::vector<std::string> const& warnings) {
    for (std::string const& warning : warnings)
        std::fprintf(stderr, "zelk: warning: %s\n", warning.c_str());
}

}  // namespace

ExitCode run(CommandLine const& line) {
    if (line.text) print(*line.text);
    if (line.params) print(listParameters(*line.params));
    if (line.overlay) tell(writeOverlay(*line.overlay));
    if (line.drag) print(drag(*line.drag));
    if (line.track) print(runTrack(*line.track));
    if (line.importTrack) {
        TrackedProject const tracked = trackProject(*line.importTrack);
        tell(tracked.warnings);
        print(tracked.text);
    }
    if (line.newProject) print(newProject(*line.newProject));
    if (line.project) print(showProject(line.project->file, line.project->json));
    if (line.projectCheck) return checkProject(*line.projectCheck);
    if (line.render) return renderFrames(*line.render);
    return ExitCode::kDone;
}

}  // namespace zelk
