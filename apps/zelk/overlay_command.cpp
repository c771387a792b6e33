// The panel's size, what it shows, and the overlay over it; see overlay_command.h.
#include "apps/zelk/overlay_command.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "apps/zelk/overlay_port.h"
#include "zelk/pictures/writer.h"
#include "zelk/render/frame_picture.h"
#include "zelk/render/load_module.h"
#include "zelk/render/setup.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/scene_file.h"
#include "zelk/sequence/schedule.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/import.h"

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

/// A panel's pixels have 16 bits; a pin beyond them would be drawn elsewhere.
void requirePinsInPanel(Host const& host, Panel const& panel, FrameRequest const& moment) {
    for (int const first : {kToPins, kFromPins})
        for (int index = first; index < first + 4; ++index) {
            KeyValue const pin = keyValueOf(host.parameters()[static_cast<std::size_t>(index)].at(
                {moment.time, moment.timeBase.scale}));
            PanelPoint const at = panel.toFrame(panel.toComp({pin[0], pin[1]}));
            if (std::max(std::abs(at.x), std::abs(at.y)) <= kLargestPx) continue;
            throw UserError(
                ExitCode::kUsage,
                {"--zoom", "a pin beyond the 32767 pixels of a panel:",
                 std::string(kParameterNames[static_cast<std::size_t>(index)]), "a smaller zoom"});
        }
}

void refuseOwnInputs(RenderRequest const& request, int frame) {
    Files const files(request);
    requireOtherFile(request, request.output, files.layer.own(frame), "layer");
    if (files.plate) requireOtherFile(request, request.output, files.plate->own(frame), "plate");
}

}  // namespace

int frameOf(RenderRequest const& request, std::optional<int> frame) {
    if (frame) return *frame;
    if (request.project) return request.project->comp.startFrame;
    auto const tracked =
        request.tracks.empty() ? std::vector<int>() : wholeFrames(*request.tracks.front().track);
    if (!tracked.empty()) return tracked.front();
    return request.frames ? parseFrameRange("--frames", *request.frames).front() : 1;
}

std::vector<std::string> writeOverlay(OverlayRequest const& request) {
    auto const host = loadModule(request.render.module);
    if (!host->registeredCustomUi())
        throw UserError(ExitCode::kUsage, {"--host", "the effect draws no overlay in",
                                           "a host without custom panels", "another host"});
    applyRequest(request.render, host->parameters());
    checkTarget(request.render.output, request.render.noClobber);
    useThreads(request.render.threads);
    int const number = frameOf(request.render, request.frame);
    refuseOwnInputs(request.render, number);
    FramePicture const frame =
        framePicture(request.render, *host, number,
                     request.panel == PF_Window_LAYER ? FrameView::kLayer : FrameView::kRendered);
    Panel panel;
    panel.shows = request.panel;
    panel.zoom = request.zoom;
    panel.pan = {double(request.marginPx), double(request.marginPx)};
    requirePinsInPanel(*host, panel, frame.moment);
    int const width = panelLength(request, frame.frame.width);
    int const height = panelLength(request, frame.frame.height);
    Canvas const canvas = drawOverlay(*host, frame.picture, panel, frame.moment, width, height);
    WriteRequest ask;
    ask.opaque = true;
    ask.noClobber = request.render.noClobber;
    ask.history = request.render.history;
    ask.keepMetadata = request.render.keepMetadata;
    std::vector<std::string> warnings =
        writePicture(canvas.toWorld(), request.render.output, ask).warnings;
    for (TrackUse const& use : request.render.tracks) {
        auto const odd =
            warningsOf(use, {frame.frame, frame.startFrame, host->comp().timeBase.step});
        warnings.insert(warnings.end(), odd.begin(), odd.end());
    }
    return warnings;
}

}  // namespace zelk
