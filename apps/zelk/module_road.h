// The module road: the effect module in our host renders a layer in the layer's own frame, by the
// smart render protocol or by the plain render command.
#pragma once

#include <string>

#include "apps/zelk/explain.h"
#include "apps/zelk/picture_reader.h"
#include "hostkit/host.h"

namespace zelk {

/// What is asked of the module beside the parameters' current values.
struct ModuleRender {
    std::string layerName;  ///< for messages
    Depth depth = Depth::k8;
    int downsample = 1;
    bool isPlain = false;  ///< PF_Cmd_RENDER, which knows no Grow Bounds
};

/// What Grow Bounds adds on each side at the render's resolution, pixels; none in a plain render.
PixelSize marginOf(std::vector<Parameter> const& parameters, ModuleRender const& ask);

/// Reads the picture, renders it, and gives the frame: the picture's size over the downsample
/// factor, and the margin around it. Throws an input error when memory is short, a render error
/// when the effect fails or keeps anything.
World renderByModule(Host& host, PictureReader& picture, ModuleRender const& ask,
                     StageClock& clock);

/// The effect must succeed and give back all that it took. Throws a render error else.
void checkResult(CommandResult const& result, std::string const& layerName);

}  // namespace zelk
