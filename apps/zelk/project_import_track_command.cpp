// Tracks onto a project; see project_import_track_command.h.
#include "apps/zelk/project_import_track_command.h"

#include <fmt/format.h>

#include "apps/zelk/warnings.h"
#include "hostkit/host.h"
#include "zelk/files/standard_output.h"
#include "zelk/render/frame_stages.h"
#include "zelk/scene/file.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/track_use.h"
#include "zelk/scene/words.h"
#include "zelk/text/choices.h"

namespace zelk {

namespace {

std::size_t keysOf(std::vector<Parameter> const& parameters, TrackedPins pins) {
    int const first = pins == TrackedPins::kTo ? kToPins : kFromPins;
    std::size_t keys = 0;
    for (int i = first; i < first + 4; ++i) keys += parameterIn(parameters, i).track().size();
    return keys;
}

}  // namespace

CommandInfo const ProjectImportTrackCommand::kInfo = {
    "project import-track", "Put tracking data onto a project's pins", "FILE TRACK [OPTIONS]",
    "Examples:\n"
    "  zelk project import-track sign.zelk.json shot.txt\n"};

void ProjectImportTrackCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    m_file.add(add);
    add.text("Project", "TRACK", m_track, "", "The tracking data");
    add.text("Project", "--pins", m_pins, "PINS", "to or from (to)", wordListOf(kPinsWords));
    m_scene.add(add, {"track-format", "track-size", "corners", "flip-y", "track-first-frame",
                      "shift-frames", "host", "module"});
}

ExitCode ProjectImportTrackCommand::run(Invocation const&) {
    std::string const file = m_file.name();
    std::string const track = required(m_track.value_or(""), "TRACK", "a tracking file");
    auto const pins = m_pins ? pick(kPinsWords, "--pins", *m_pins) : TrackedPins::kTo;
    Scene scene = m_scene.edited(readScene(file));
    scene.tracks.push_back(readTrackUse({track}, pins, scene.trackReading, scene.editPrefix));
    FrameStages renderer(scene);
    renderer.beginEdit(scene.comp.startFrame);
    writeScene(renderer.settledScene(), file);
    tellWarnings(renderer.warnings().take());
    std::size_t const keys = keysOf(renderer.host().parameters(), pins);
    print(fmt::format("{}: {} keys on the {} from {}\n", file, keys,
                      pins == TrackedPins::kTo ? "To Pins" : "From Pins", oneLine(track)));
    return ExitCode::kDone;
}

}  // namespace zelk
