// Worlds and commands of the module road; see module_road.h.
#include "zelk/render/module_road.h"

#include <fmt/format.h>

#include <utility>

#include "Transform/Common/Transform_Core_Render/PassPlan.h"
#include "zelk/render/mattes.h"
#include "zelk/render/memory_budget.h"
#include "zelk/scene/effect_result.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/refusal.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// The entry that a popup has now.
std::int32_t entryOf(std::vector<Parameter> const& parameters, int index) {
    return entryOfHost(static_cast<std::int32_t>(currentNumber(parameters, index)));
}

UserError tooLarge(ModuleRender const& ask, RenderSize const& size) {
    return pictureTooLarge(ask.layerName,
                           {size.width + 2 * size.marginX, size.height + 2 * size.marginY},
                           renderBytes(size));
}

World renderPlainly(Host& host, World& input, ModuleRender const& ask, FrameRequest const& frame) {
    World output(input.spec());
    checkResult(host.render(input, output, frame), ask.layerName);
    return output;
}

World renderSmartly(Host& host, World& input, ModuleRender const& ask, FrameRequest const& frame) {
    PreRenderResult const agreed = host.preRender(&input, ask.depth, frame);
    checkResult(agreed.command, ask.layerName);
    World output = host.outputFor(agreed);
    checkResult(host.smartRender(&input, output, agreed, frame), ask.layerName);
    return output;
}

/// Throws where the reduced picture would have no pixels.
void checkDownsample(Scene const& scene, int downsample, PictureReader const& picture) {
    int const most = std::min(picture.width(), picture.height());
    if (downsample > most)
        throw refusalOf(scene, SceneField::kDownsample,
                        "leaves nothing of the picture:", std::to_string(downsample),
                        fmt::format("a whole number from 1 to {}", most));
}

RenderSize renderSize(Host const& host, ModuleRender const& ask) {
    auto const& parameters = host.parameters();
    PixelSize const margin = marginOf(parameters, ask);
    RenderSize size;
    size.width = ask.reduction.width(ask.layerSize.width);
    size.height = ask.reduction.height(ask.layerSize.height);
    size.depth = ask.depth;
    size.marginX = margin.width;
    size.marginY = margin.height;
    size.besides = ask.besidesBytes;
    size.extraImages =
        (entryOf(parameters, kParamTransferMode) != kTransferNone) +
        softens(entryOf(parameters, kParamQuality)) +
        (entryOf(parameters, kParamMotionBlur) == kMotionBlurOn || host.comp().motionBlur);
    return size;
}

}  // namespace

PixelSize marginOf(std::vector<Parameter> const& parameters, ModuleRender const& ask) {
    if (ask.isPlain) return {};
    int const margin = static_cast<int>(currentNumber(parameters, kParamGrowBounds));
    return {ask.reduction.width(margin), ask.reduction.height(margin)};
}

ModuleRender moduleRenderOf(Scene const& scene, Host const& host, PictureReader const& layer,
                            Depth depth, int reduce) {
    ModuleRender ask;
    ask.layerName = scene.layer.name();
    ask.layerSize = {layer.width(), layer.height()};
    ask.depth = depth;
    ask.reduceBy(scene.downsample.value_or(1) * reduce);
    ask.isPlain = scene.isPlain || !host.supportsSmartRender();
    ask.besidesBytes = layer.turningBytes(pixelBytes(ask.depth) / 4) +
                       matteBytes(scene, ask.layerSize, ask.layerSize);
    checkDownsample(scene, ask.downsample, layer);
    return ask;
}

std::uint64_t moduleBytes(Host const& host, ModuleRender const& ask) {
    return renderBytes(renderSize(host, ask));
}

void requireMemory(Host const& host, ModuleRender const& ask) {
    RenderSize const size = renderSize(host, ask);
    if (renderBytes(size) > availableBytes()) throw tooLarge(ask, size);
}

World readLayer(Host const& host, PictureReader& picture, ModuleRender const& ask) {
    requireMemory(host, ask);
    RenderSize const size = renderSize(host, ask);
    World layer;
    try {
        layer = World(host.worldSpec(size.width, size.height, size.depth));
    } catch (HostError const& error) {
        if (error.code() == PF_Err_OUT_OF_MEMORY) throw tooLarge(ask, size);
        throw;
    }
    picture.readInto(layer, ask.downsample);
    return layer;
}

World renderByModule(Host& host, World& layer, ModuleRender const& ask,
                     FrameRequest const& moment) {
    FrameRequest frame = moment;
    frame.downsample = ask.reduction;
    frame.layerWidth = ask.layerSize.width;
    frame.layerHeight = ask.layerSize.height;
    return ask.isPlain ? renderPlainly(host, layer, ask, frame)
                       : renderSmartly(host, layer, ask, frame);
}

}  // namespace zelk
