// A session of one drag; see drag_command.h.
#include "apps/zelk/drag_command.h"

#include <fmt/format.h>

#include <cmath>

#include "hostkit/edit_session.h"
#include "zelk/render/load_module.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/scene_file.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

MouseEvent mouseAt(Point const& point, bool shift) {
    MouseEvent mouse;
    mouse.x = static_cast<int>(std::lround(point.x));
    mouse.y = static_cast<int>(std::lround(point.y));
    mouse.modifiers = shift ? PF_Mod_SHIFT_KEY : PF_Mod_NONE;
    return mouse;
}

std::vector<KeyValue> pinValues(EditSession const& session) {
    std::vector<KeyValue> values;
    for (int const first : {kToPins, kFromPins})
        for (int corner = 0; corner < 4; ++corner)
            values.push_back(session.valueOf(first + corner));
    return values;
}

/// "to-upper-left: 10,20 -> 30,40", a line for each pin that is not where it was.
std::string movesText(std::vector<KeyValue> const& before, std::vector<KeyValue> const& after) {
    std::string text;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i] == after[i]) continue;
        auto const index = static_cast<std::size_t>((i < 4 ? kToPins : kFromPins)) + i % 4;
        text += fmt::format("{}: {},{} -> {},{}\n", kParameterNames[index], before[i][0],
                            before[i][1], after[i][0], after[i][1]);
    }
    return text;
}

}  // namespace

std::string drag(DragRequest const& request) {
    Project const project = readProject(request.project);
    auto const host = loadModule(request.module);
    host->setComp(project.comp);
    int const width = project.comp.width, height = project.comp.height;
    applyProject(project, *host, width, height);

    if (!host->registeredCustomUi())
        throw UserError(ExitCode::kUsage, {"--host", "the effect draws and drags nothing in",
                                           "a host without custom panels", "another host"});
    EditSession session(*host, width, height);
    session.setFrame(request.frame.value_or(project.comp.startFrame));
    session.panel().shows = request.panel;
    session.panel().zoom = request.zoom;
    auto const before = pinValues(session);
    if (!session.click(mouseAt(request.from, request.shift)))
        throw UserError(ExitCode::kUsage,
                        {"--from", "no quad that Overlay Mode shows lies at",
                         fmt::format("{},{}", request.from.x, request.from.y),
                         "a point of the panel inside the From Pins or the To Pins"});
    for (Point const& point : request.to) session.drag(mouseAt(point, request.shift));
    session.release(mouseAt(request.to.back(), request.shift));

    if (!request.dryRun)
        writeProject(projectOf(project, host->parameters(), project.comp, width, height),
                     request.output, request.mayReplace);
    std::string const moves = movesText(before, pinValues(session));
    return moves.empty() ? request.project.string() + ": nothing moved\n" : moves;
}

}  // namespace zelk
