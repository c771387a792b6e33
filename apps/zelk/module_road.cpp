// Worlds and commands of the module road; see module_road.h.
#include "apps/zelk/module_road.h"

#include <fmt/format.h>

#include <utility>

#include "apps/zelk/errors.h"
#include "apps/zelk/memory_budget.h"
#include "apps/zelk/memory_release.h"
#include "apps/zelk/parameter_names.h"
#include "apps/zelk/parameter_values.h"

namespace zelk {

namespace {

constexpr int kTransferNone = 1;  ///< first entry of the popup

UserError tooLarge(ModuleRender const& ask, RenderSize const& size) {
    return {ExitCode::kInput,
            {ask.layerName, "picture larger than the memory allows,",
             fmt::format("{}x{}", size.width + 2 * size.marginX, size.height + 2 * size.marginY),
             fmt::format("{} MB to be free", renderBytes(size) / 1'000'000)}};
}

World renderPlainly(Host& host, World input, ModuleRender const& ask, FrameRequest const& frame) {
    World output(input.spec());
    checkResult(host.render(input, output, frame), ask.layerName);
    return output;
}

World renderSmartly(Host& host, World input, ModuleRender const& ask, FrameRequest const& frame) {
    PreRenderResult const agreed = host.preRender(&input, ask.depth, frame);
    checkResult(agreed.command, ask.layerName);
    World output = host.outputFor(agreed);
    checkResult(host.smartRender(&input, output, agreed, frame), ask.layerName);
    return output;
}

}  // namespace

PixelSize marginOf(std::vector<Parameter> const& parameters, ModuleRender const& ask) {
    if (ask.isPlain) return {};
    int const margin = static_cast<int>(currentNumber(parameters, kGrowBounds)) / ask.downsample;
    return {margin, margin};
}

void checkResult(CommandResult const& result, std::string const& layerName) {
    if (result.code != PF_Err_NONE) {
        std::string const message = result.message.empty() ? "no message" : result.message;
        throw UserError(ExitCode::kRenderFailed,
                        {layerName, fmt::format("the render failed with code {}:", result.code),
                         message, "code 0"});
    }
    if (!(result.outstanding == Outstanding{})) {
        throw UserError(ExitCode::kRenderFailed,
                        {layerName, "the effect kept", result.outstanding.describe(), "nothing"});
    }
}

World renderByModule(Host& host, PictureReader& picture, ModuleRender const& ask,
                     StageClock& clock) {
    PixelSize const margin = marginOf(host.parameters(), ask);
    bool const transfers = currentNumber(host.parameters(), kTransferMode) != kTransferNone;
    RenderSize const size = {picture.width() / ask.downsample, picture.height() / ask.downsample,
                             ask.depth, margin.width, margin.height, transfers};
    if (renderBytes(size) > availableBytes()) throw tooLarge(ask, size);
    World input;
    try {
        input = World(host.worldSpec(size.width, size.height, size.depth));
    } catch (HostError const& error) {
        if (error.code() == PF_Err_OUT_OF_MEMORY) throw tooLarge(ask, size);
        throw;
    }
    picture.readInto(input, ask.downsample);
    releaseStartupMemory();
    clock.lap("read");

    FrameRequest frame;
    frame.downsample = ask.downsample;
    frame.layerWidth = picture.width();
    frame.layerHeight = picture.height();
    World output = ask.isPlain ? renderPlainly(host, std::move(input), ask, frame)
                               : renderSmartly(host, std::move(input), ask, frame);
    clock.lap("render");
    return output;
}

}  // namespace zelk
