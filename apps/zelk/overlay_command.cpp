// The panel's size, what it shows, and the overlay over it; see overlay_command.h.
#include "apps/zelk/overlay_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "apps/zelk/overlay_port.h"
#include "apps/zelk/warnings.h"
#include "hostkit/host.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/frame_stages.h"
#include "zelk/render/setup.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/inputs.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/track_use.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"
#include "zelk/tracks/track.h"

namespace zelk {

namespace {

/// What is drawn, and around it.
struct PanelPicture {
    PanelView view;
    int marginPx = 0;  ///< around what the panel shows, panel pixels
};

/// Panel pixels that `sourcePx` take, with the margins.
int panelLength(PanelPicture const& ask, int sourcePx) {
    double const length = std::ceil(sourcePx * ask.view.zoom) + 2.0 * ask.marginPx;
    if (length <= kMaxWorldSide) return static_cast<int>(length);
    throw UserError(ExitCode::kUsage,
                    {"--zoom", "makes a picture larger than there can be:",
                     fmt::format("{:.0f} pixels", length), fmt::format("up to {}", kMaxWorldSide)});
}

/// A panel's pixels have 16 bits; a pin beyond them would be drawn elsewhere.
void requirePinsInPanel(Host const& host, Panel const& panel, FrameRequest const& moment) {
    for (int const first : {kToPins, kFromPins})
        for (int index = first; index < first + 4; ++index) {
            KeyValue const pin = keyValueOf(
                parameterIn(host.parameters(), index).at({moment.time, moment.timeBase.scale}));
            PanelPoint const at = panel.toFrame(panel.toComp({pin[0], pin[1]}));
            if (std::max(std::abs(at.x), std::abs(at.y)) <= kLargestPx) continue;
            throw UserError(ExitCode::kUsage,
                            {"--zoom", "a pin beyond the 32767 pixels of a panel:",
                             std::string(nameOfParameter(index)), "a smaller zoom"});
        }
}

/// The frame that a command about one frame means: the one given, else the composition's first,
/// else of the track's the one whose number the plate has, or the first, else the first of
/// --frames, else a movie's, else 1.
int frameOf(Scene const& scene, SceneFiles const& files, std::optional<int> frame) {
    if (frame) return *frame;
    if (scene.hasComp) return scene.comp.startFrame;
    auto const tracked =
        scene.tracks.empty() ? std::vector<int>() : wholeFrames(*scene.tracks.front().track);
    if (!tracked.empty()) return frameOfPicture(scene, scene.tracks.front().pins, tracked);
    if (scene.frames) return parseFrameRange("--frames", *scene.frames).front();
    bool const isMovie = files.layer.isMovie() || (files.plate && files.plate->isMovie());
    return isMovie ? files.layer.firstFrame() : 1;
}

constexpr char const* kDisplayView = "--display-view";

void writeOverlay(FrameStages& renderer, PanelPicture const& ask, RunOptions const& run,
                  std::optional<std::string> const& displayView) {
    Scene const& scene = renderer.scene();
    requirePanels(renderer.host(), scene.hostApp());
    std::filesystem::path const output = scene.outputPath();
    checkTarget(output, run.noClobber);
    int const frame = frameOf(scene, renderer.files(), ask.view.frame);
    requireNoInput(scene, renderer.files(), run.inPlace, frame, output);
    renderer.beginAt(frame);
    requireOneSpace(ask.view, renderer.layerSize(), renderer.frameSize());
    bool const isComp = ask.view.panel == PF_Window_COMP;
    using enum FrameStages::Shown;
    World const picture =
        renderer.shown(frame, isComp ? kFrame : kLayer, displayView, kDisplayView);
    Panel panel;
    panel.shows = ask.view.panel;
    panel.zoom = ask.view.zoom;
    panel.pan = {double(ask.marginPx), double(ask.marginPx)};
    FrameRequest const moment = renderer.momentOf(frame);
    requirePinsInPanel(renderer.host(), panel, moment);
    Canvas const canvas = drawOverlay(renderer.host(), picture, panel, moment,
                                      panelLength(ask, renderer.frameSize().width),
                                      panelLength(ask, renderer.frameSize().height));
    WriteRequest file = writeRequestOf(run);
    file.opaque = true;
    tellWarnings(writePicture(canvas.toWorld(), output, file).warnings);
    tellWarnings(renderer.warnings().take());
}

}  // namespace

bool isDisplayView(std::string const& word) { return !word.starts_with("-"); }

CommandInfo const OverlayCommand::kInfo = {
    "overlay", "Draw a frame with the effect's overlay on it", "LAYER -o OUTPUT [OPTIONS]",
    "Examples:\n"
    "  zelk overlay --project sign.zelk.json -o panel.png --frame 1010 --zoom 50%\n"
    "  zelk overlay in.png -o panel.png --to \"60,40 540,10 30,390 580,350\" --margin 40\n"};

void OverlayCommand::addOptions(CLI::App& app) {
    OptionAdder const add(app);
    addPictureOptions(add, m_scene, m_output);
    m_output.addThreads(add);
    m_scene.add(add, {"mode", "matte", "holdout", "orientation", "first-frame"});
    add.text("Panel", "--project", m_project, "FILE",
             "Layer, plate and keyframed parameters; options override it");
    m_panel.add(add);
    add.text("Panel", "--margin", m_margin, "N", "Panel pixels around the frame (0)");
    m_scene.add(add, {"layer-color", "plate-color", "work-color", "ocio", "color"});
    add.text("Colour", kDisplayView, m_displayView, "[VIEW]",
             "Show it through a view of the configuration: its default one without a name (sRGB)");
    m_scene.add(add, {"host", "module"});
}

ExitCode OverlayCommand::run(Invocation const& how) {
    constexpr int kMostMargin = 4096;
    Scene own = sceneOfProject(m_project);
    own.output.reset();  // that of its render
    Scene scene = m_scene.edited(std::move(own));
    checkTyped(scene);
    PanelPicture ask{m_panel.view()};
    if (m_margin) ask.marginPx = wholeInRange("--margin", *m_margin, 0, kMostMargin);
    requireFrame(ask.view, scene);
    RunOptions run = m_output.run(how);
    run.inFlight = 1;
    useThreads(run.threads);
    scene.downsample.reset();
    setParameter(scene, "grow-bounds", 0.0, "overlay");  // a panel shows the frame itself
    FrameStages renderer(scene, run);
    writeOverlay(renderer, ask, run, m_displayView);
    return ExitCode::kDone;
}

}  // namespace zelk
