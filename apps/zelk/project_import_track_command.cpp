// Tracks onto a project; see project_import_track_command.h.
#include "apps/zelk/project_import_track_command.h"

#include <fmt/format.h>

#include "apps/zelk/warnings.h"
#include "zelk/files/standard_output.h"
#include "zelk/render/load_module.h"
#include "zelk/render/track_import.h"
#include "zelk/scene/file.h"
#include "zelk/scene/values.h"
#include "zelk/text/choices.h"

namespace zelk {

CommandInfo const ProjectImportTrackCommand::kInfo = {
    "project import-track", "Put tracking data onto a project's pins", "FILE TRACK [OPTIONS]",
    "Examples:\n"
    "  zelk project import-track sign.zelk.json shot.txt\n"};

void ProjectImportTrackCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
    add.text("Project", "TRACK", m_track, "", "The tracking data");
    add.text("Project", "--pins", m_pins, "PINS", "to or from (to)");
    m_scene.add(add, {"host", "module"});
}

ExitCode ProjectImportTrackCommand::run(Invocation const&) {
    constexpr Choice<TrackedPins> kPins[] = {{"to", TrackedPins::kTo},
                                             {"from", TrackedPins::kFrom}};
    std::string const file = m_file.name();
    std::string const track = required(m_track.value_or(""), "TRACK", "a tracking file");
    auto const pins = m_pins ? pick(kPins, "--pins", *m_pins) : TrackedPins::kTo;
    Scene const scene = m_scene.edited(readScene(file));
    TrackUse const use = readTrackUse(track, pins);
    auto const host = loadModule(scene);
    PixelSize const size = {scene.comp.width, scene.comp.height};
    setUp(*host, scene, size);
    std::size_t const keys = importTrack(*host, use, size);
    writeScene(sceneOf(scene, host->parameters(), size), file);
    tellWarnings(warningsOf(use, {size, scene.comp.startFrame, scene.comp.timeBase.step}));
    print(fmt::format("{}: {} keys on the {} from {}\n", file, keys,
                      pins == TrackedPins::kTo ? "To Pins" : "From Pins", oneLine(track)));
    return ExitCode::kDone;
}

}  // namespace zelk
