// The two roads for one frame; see frame_picture.h.
#include "apps/zelk/frame_picture.h"

#include <algorithm>

#include "apps/zelk/errors.h"
#include "apps/zelk/memory_road.h"
#include "apps/zelk/module_road.h"
#include "apps/zelk/parameter_names.h"
#include "apps/zelk/picture_reader.h"
#include "apps/zelk/render_setup.h"
#include "apps/zelk/sequence_files.h"

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

}  // namespace

FramePicture framePicture(RenderRequest const& request, Host& host, int frameNumber) {
    Files const files(request);
    PictureReader layer = open(files.layer, frameNumber);
    std::optional<PictureReader> plate;
    if (files.plate) plate.emplace(open(*files.plate, frameNumber));
    PixelSize const own = {layer.width(), layer.height()};
    PixelSize const size =
        plate ? PixelSize{plate->width(), plate->height()} : request.frameSize.value_or(own);
    FramePicture shown;
    shown.moment = momentOf(request, host, frameNumber, size);
    shown.startFrame = host.comp().startFrame;
    setParameters(request, host, own, size);
    setNumber(host.parameters()[kGrowBounds].current, 0);

    shown.layer = World({own.width, own.height, layer.traits().depth});
    layer.readInto(shown.layer, 1);
    if (request.road == Road::kModule) {
        ModuleRender ask = moduleRenderOf(request, host, layer);
        ask.downsample = 1;
        PictureReader again = open(files.layer, frameNumber);
        shown.rendered = renderByModule(host, readLayer(host, again, ask), ask, shown.moment);
        return shown;
    }
    PictureReader again = open(files.layer, frameNumber);
    World pixels = readAssociatedWorld(again);
    shown.rendered = World({size.width, size.height, Depth::kFloat});
    renderInMemory(host.parameters(), pixels, shown.rendered, shown.moment, files.layer.name());
    if (plate) layOver(shown.rendered, *plate, request.overMode);
    makeStraight(shown.rendered);
    return shown;
}

}  // namespace zelk
