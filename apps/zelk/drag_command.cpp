// A session of one drag; see drag_command.h.
#include "apps/zelk/drag_command.h"

#include <fmt/format.h>

#include <cmath>

#include "hostkit/edit_session.h"
#include "zelk/files/output_place.h"
#include "zelk/files/standard_output.h"
#include "zelk/render/frame_stages.h"
#include "zelk/scene/file.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

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

/// What the mouse does, in panel pixels.
struct MousePath {
    Point click;
    std::vector<Point> to;  ///< the last one with the button released
    bool shift = false;     ///< held at the click: scales
};

/// The pins that moved. Throws a usage error for a click that meets no quad.
std::string drag(EditSession& session, MousePath const& mouse) {
    auto const before = pinValues(session);
    if (!session.click(mouseAt(mouse.click, mouse.shift)))
        throw UserError(
            ExitCode::kUsage,
            {"--from", "meets no quad:", fmt::format("{},{}", mouse.click.x, mouse.click.y),
             "a point of the panel inside the pins that Overlay Mode shows"});
    for (Point const& point : mouse.to) session.drag(mouseAt(point, mouse.shift));
    session.release(mouseAt(mouse.to.back(), mouse.shift));
    return movesText(before, pinValues(session));
}

}  // namespace

CommandInfo const DragCommand::kInfo = {
    "drag", "Move a project's pins as the mouse would", "FILE --from X,Y --to X,Y [OPTIONS]",
    "Examples:\n"
    "  zelk drag sign.zelk.json --from 300,200 --to 340,190\n"
    "  zelk drag sign.zelk.json --from 300,200 --to 700,200 --shift -o wide.zelk.json\n"};

void DragCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    add.text("Mouse", "FILE", m_file, "", "The project file, *.zelk.json");
    add.text("Mouse", "--from", m_click, "X,Y", "Where the button goes down, panel pixels");
    add.texts("Mouse", "--to", m_to, "X,Y", "Where the mouse goes, repeatable; the last releases");
    add.flag("Mouse", "--shift", m_shift, "Scale about the click instead of moving");
    m_panel.add(add);
    add.text("Output", "-o,--output", m_output, "OUTPUT", "Another project file (FILE itself)");
    add.flag("Output", "--force", m_force, "Replace another project file");
    add.flag("Output", "--dry-run", m_dryRun, "Print the pins, and write nothing");
    m_scene.add(add, {"host", "module"});
}

ExitCode DragCommand::run(Invocation const&) {
    std::string const file = required(m_file.value_or(""), "FILE", "a project file");
    MousePath mouse;
    mouse.click = parsePoint("--from", required(m_click.value_or(""), "--from", "a point x,y"));
    for (std::string const& point : m_to) mouse.to.push_back(parsePoint("--to", point));
    if (mouse.to.empty()) throw missing("--to", "a point x,y");
    mouse.shift = m_shift;
    PanelView const view = m_panel.view();

    requireNew(m_output.value_or(file), !m_output || m_force);
    Scene const scene = m_scene.edited(readScene(file));
    requireFrame(view, scene);
    FrameStages renderer(scene);
    requirePanels(renderer.host(), scene.hostApp());
    int const frame = view.frame.value_or(scene.comp.startFrame);
    renderer.beginEdit(frame);
    PixelSize const size = renderer.frameSize();
    requireOneSpace(view, renderer.layerSize(), size);
    EditSession session(renderer.host(), size.width, size.height, frame);
    session.panel().shows = view.panel;
    session.panel().zoom = view.zoom;
    std::string const moves = drag(session, mouse);
    if (!m_dryRun)
        writeScene(renderer.settledScene(), m_output.value_or(file), !m_output || m_force);
    print(moves.empty() ? file + ": nothing moved\n" : moves);
    return ExitCode::kDone;
}

}  // namespace zelk
