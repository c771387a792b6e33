// The panel's size, what it shows, and the overlay over it; see overlay_command.h.
#include "apps/zelk/overlay_command.h"

#include <fmt/format.h>

#include <cmath>

#include "apps/zelk/errors.h"
#include "apps/zelk/frame_picture.h"
#include "apps/zelk/overlay_port.h"
#include "apps/zelk/params_command.h"
#include "apps/zelk/picture_writer.h"
#include "apps/zelk/project_file.h"
#include "apps/zelk/render_setup.h"
#include "apps/zelk/sequence_names.h"
#include "apps/zelk/track_import.h"

namespace zelk {

namespace {

/// Panel pixels that `sourcePx` take, with the margins.
int panelLength(OverlayRequest const& request, int sourcePx) {
    double const length = std::ceil(sourcePx * request.zoom) + 2.0 * request.marginPx;
    if (length <= kMaxWorldSide) return static_cast<int>(length);
    throw UserError(ExitCode::kUsage,
                    {"--zoom", "makes a picture larger than there can be:",
                     fmt::format("{:.0f} pixels", length), fmt::format("up to {}", kMaxWorldSide)});
}

/// The first whole frame of a track at or after its least.
int trackFrame(Track const& track) {
    std::optional<double> first;
    eachRow(track, [&first](TrackRow const& row) {
        if (!first) first = row.frame;
    });
    return static_cast<int>(std::ceil(first.value_or(1)));
}

}  // namespace

int frameOf(RenderRequest const& request, std::optional<int> frame) {
    if (frame) return *frame;
    if (request.project) return request.project->comp.startFrame;
    if (!request.tracks.empty()) return trackFrame(*request.tracks.front().track);
    return request.frames ? parseFrameRange("--frames", *request.frames).front() : 1;
}

std::vector<std::string> writeOverlay(OverlayRequest const& request) {
    auto const host = loadModule(request.render.module);
    applyRequest(request.render, host->parameters());
    checkTarget(request.render.output, request.render.noClobber);
    useThreads(request.render.threads);
    FramePicture const frame =
        framePicture(request.render, *host, frameOf(request.render, request.frame));
    Panel panel;
    panel.shows = request.panel;
    panel.zoom = request.zoom;
    panel.pan = {double(request.marginPx), double(request.marginPx)};
    World const& shown = request.panel == PF_Window_LAYER ? frame.layer : frame.rendered;
    int const width = panelLength(request, shown.width());
    int const height = panelLength(request, shown.height());
    Canvas const canvas = drawOverlay(*host, shown, panel, frame.moment, width, height);
    WriteRequest ask;
    ask.opaque = true;
    ask.noClobber = request.render.noClobber;
    ask.history = request.render.history;
    ask.keepMetadata = request.render.keepMetadata;
    std::vector<std::string> warnings =
        writePicture(canvas.toWorld(), request.render.output, ask).warnings;
    for (TrackUse const& use : request.render.tracks) {
        auto const odd =
            warningsOf(use, {PixelSize{frame.moment.layerWidth, frame.moment.layerHeight}, {}});
        warnings.insert(warnings.end(), odd.begin(), odd.end());
    }
    return warnings;
}

}  // namespace zelk
