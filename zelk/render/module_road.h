// The module road: the effect module in our host renders a layer in the layer's own frame, by the
// smart render protocol or by the plain render command.
#pragma once

#include <string>

#include "hostkit/host.h"
#include "zelk/pictures/reader.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// What is asked of the module beside the parameters' current values.
struct ModuleRender {
    std::string layerName;  ///< for messages
    PixelSize layerSize;    ///< at full resolution, pixels
    Depth depth = Depth::k8;
    int downsample = 1;              ///< of the layer as it is read
    Reduction reduction;             ///< of the render
    bool isPlain = false;            ///< PF_Cmd_RENDER, which knows no Grow Bounds
    std::uint64_t besidesBytes = 0;  ///< as RenderSize has them
    void reduceBy(int times) { reduction = downsample *= times; }
};

/// What Grow Bounds adds on each side at the render's resolution, pixels; none in a plain render.
PixelSize marginOf(std::vector<Parameter> const& parameters, ModuleRender const& ask);

/// What a scene asks of the module for that layer at that depth, `reduce` times smaller than it
/// says. Throws about the downsample factor where that leaves nothing of it.
ModuleRender moduleRenderOf(Scene const& scene, Host const& host, PictureReader const& layer,
                            Depth depth, int reduce = 1);

/// Bytes that the layer's render takes, and the layer.
std::uint64_t moduleBytes(Host const& host, ModuleRender const& ask);
/// Throws an input error when memory is short for them.
void requireMemory(Host const& host, ModuleRender const& ask);

/// Reads the picture into a world of the host's layout, over the downsample factor. Throws an input
/// error for a file that breaks off, or when memory is short for the render.
World readLayer(Host const& host, PictureReader& picture, ModuleRender const& ask);

/// Gives the frame, and leaves the layer as it is: the layer's size and the margin around it.
/// `moment` tells time and shutter. Throws a render error when the effect fails or keeps anything.
World renderByModule(Host& host, World& layer, ModuleRender const& ask, FrameRequest const& moment);

}  // namespace zelk
