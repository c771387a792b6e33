// The two roads for one frame; see frame_picture.h.
#include "zelk/render/frame_picture.h"

#include <algorithm>

#include "zelk/pictures/reader.h"
#include "zelk/render/memory_road.h"
#include "zelk/render/module_road.h"
#include "zelk/render/scene_files.h"
#include "zelk/render/setup.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

PictureReader open(InputFiles const& files, int frameNumber) {
    if (!files.isThere(frameNumber)) throw UserError(ExitCode::kInput, files.missing(frameNumber));
    return files.own(frameNumber).open();
}

/// Colour over alpha, in a float world.
void makeStraight(World& world) {
    for (int y = 0; y < world.height(); ++y) {
        float* pixel = world.rowAs<float>(y);
        for (int x = 0; x < world.width(); ++x, pixel += 4) {
            float const alpha = pixel[0];
            if (alpha == 0 || alpha == 1) continue;
            for (int c = 1; c < 4; ++c) pixel[c] /= alpha;
        }
    }
}

FrameRequest momentOf(RenderRequest const& request, Host& host, int frameNumber, PixelSize layer) {
    Comp const comp = compOf(request, frameNumber, frameNumber);
    host.setComp(comp);
    FrameRequest moment = frameRequest(comp, frameNumber);
    moment.layerWidth = layer.width;
    moment.layerHeight = layer.height;
    return moment;
}

World renderedPicture(RenderRequest const& request, Host& host, PictureReader& layer,
                      std::optional<PictureReader>& plate, FramePicture const& shown) {
    std::string const name = request.layer.string();
    if (request.road == Road::kModule) {
        ModuleRender ask = moduleRenderOf(request, host, layer);
        ask.downsample = 1;
        return renderByModule(host, readLayer(host, layer, ask), ask, shown.moment);
    }
    World pixels = readAssociatedWorld(layer);
    World rendered({shown.frame.width, shown.frame.height, Depth::kFloat});
    renderInMemory(host.parameters(), pixels, rendered, shown.moment, name);
    if (plate) layOver(rendered, *plate, request.overMode);
    makeStraight(rendered);
    return rendered;
}

}  // namespace

FramePicture framePicture(RenderRequest const& request, Host& host, int frameNumber,
                          FrameView view) {
    Files const files(request);
    PictureReader layer = open(files.layer, frameNumber);
    std::optional<PictureReader> plate;
    if (files.plate) plate.emplace(open(*files.plate, frameNumber));
    PixelSize const own = {layer.width(), layer.height()};
    FramePicture shown;
    shown.frame =
        plate ? PixelSize{plate->width(), plate->height()} : request.frameSize.value_or(own);
    shown.moment = momentOf(request, host, frameNumber, shown.frame);
    shown.startFrame = host.comp().startFrame;
    setParameters(request, host, own, shown.frame);
    setNumber(host.parameters()[kGrowBounds].current, 0);

    bool const isOtherSize = own.width != shown.frame.width || own.height != shown.frame.height;
    if (view == FrameView::kLayer && isOtherSize)
        throw UserError(ExitCode::kUsage,
                        {"--panel", "To Pins lie in a frame of another size than the", "layer",
                         "comp with --over, --size or a project of another size"});
    shown.picture = view == FrameView::kLayer ? readStraightWorld(layer)
                                              : renderedPicture(request, host, layer, plate, shown);
    return shown;
}

}  // namespace zelk
