// From a run-time format to the engine's instance.
#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"

namespace {

using CoreWrapper = int (*)(PluginHost_API*, CoreRenderArguments&,
                            PluginHost_API::RasterInfo const&, PluginHost_API::RasterInfo const&,
                            bool, bool, RenderSettings*, bool, bool);

/// Null for a format without a pixel trait.
CoreWrapper wrapperOf(QV_RasterFormat format) {
#define ZELK_CASE(NAME, ...) \
    case kFormat##NAME:      \
        return CommonRender_##NAME##_CoreTransformRender;
    switch (format) {
        ZELK_PIXEL_FORMATS(ZELK_CASE)
        default:
            return nullptr;
    }
#undef ZELK_CASE
}

}  // namespace

int CommonRender_CoreTransformRender(PluginHost_API* host, CoreRenderArguments& core,
                                     PluginHost_API::RasterInfo const& src,
                                     PluginHost_API::RasterInfo const& dst, bool clearOutput,
                                     bool singleChannel, RenderSettings* settings,
                                     bool edgeCoverage, bool fillMode) {
    PluginHost_API::RasterInfo output{};
    host->getOutputRasterInfo(&output);
    const CoreWrapper wrapper = wrapperOf(output.format);
    if (!wrapper) return 1;
    return wrapper(host, core, src, dst, clearOutput, singleChannel, settings, edgeCoverage,
                   fillMode);
}
