// From a run-time format to the engine's instance.
#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"

#include <iterator>

namespace {

using CoreWrapper = int (*)(PluginHost_API*, CoreRenderArguments&,
                            PluginHost_API::RasterInfo const&, PluginHost_API::RasterInfo const&,
                            bool, bool, RenderSettings*, bool, bool);

/// By format code; code 4 has no pixel trait.
constexpr CoreWrapper kWrappers[] = {CommonRender_ARGB8_CoreTransformRender,
                                     CommonRender_BGRA8_CoreTransformRender,
                                     CommonRender_RGBA8_CoreTransformRender,
                                     CommonRender_ARGB15_CoreTransformRender,
                                     nullptr,
                                     CommonRender_ARGB14_CoreTransformRender,
                                     CommonRender_BGRA14_CoreTransformRender,
                                     CommonRender_ARGB16_CoreTransformRender,
                                     CommonRender_RGBA16_CoreTransformRender,
                                     CommonRender_ARGB32_CoreTransformRender,
                                     CommonRender_RGBA32_CoreTransformRender,
                                     CommonRender_BGRA32_CoreTransformRender};

}  // namespace

int CommonRender_CoreTransformRender(PluginHost_API* host, CoreRenderArguments& core,
                                     PluginHost_API::RasterInfo const& src,
                                     PluginHost_API::RasterInfo const& dst, bool clearOutput,
                                     bool singleChannel, RenderSettings* settings,
                                     bool edgeCoverage, bool fillMode) {
    PluginHost_API::RasterInfo output{};
    host->getOutputRasterInfo(&output);
    const auto code = static_cast<std::uint32_t>(output.format);
    if (code >= std::size(kWrappers) || !kWrappers[code]) return 1;
    return kWrappers[code](host, core, src, dst, clearOutput, singleChannel, settings, edgeCoverage,
                           fillMode);
}
