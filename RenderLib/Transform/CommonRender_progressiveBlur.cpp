// From a run-time format to the blur's instance.
#include "RenderLib/Transform/CommonRender_progressiveBlur.h"

namespace {

using BlurWrapper = int (*)(PluginHost_API*, QV_Line2D&, float, float, float, float, int,
                            PluginHost_API::RasterInfo*, bool, int);

/// By the output's format; null for one without a pixel trait.
BlurWrapper wrapperOf(PluginHost_API* host) {
    PluginHost_API::RasterInfo output{};
    host->getOutputRasterInfo(&output);
#define ZELK_CASE(NAME, ...) \
    case kFormat##NAME:      \
        return CommonRender_##NAME##_progressiveBlur;
    switch (output.format) {
        ZELK_PIXEL_FORMATS(ZELK_CASE)
        default:
            return nullptr;
    }
#undef ZELK_CASE
}

}  // namespace

int CommonRender_progressiveBlur(PluginHost_API* host, QV_Line2D& line, float radius, float aspect,
                                 float fadeStart, float fadeLength, int curve,
                                 PluginHost_API::RasterInfo* raster, bool alphaPlane, int kind,
                                 bool extended) {
    const BlurWrapper wrapper = extended ? CommonRender_ARGB32_progressiveBlur : wrapperOf(host);
    if (!wrapper) return 1;
    return wrapper(host, line, radius, aspect, fadeStart, fadeLength, curve, raster, alphaPlane,
                   kind);
}
