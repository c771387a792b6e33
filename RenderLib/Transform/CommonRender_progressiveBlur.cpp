// From a run-time format to the blur's instance.
#include "RenderLib/Transform/CommonRender_progressiveBlur.h"

#include <iterator>

namespace {

using BlurWrapper = int (*)(PluginHost_API*, QV_Line2D&, float, float, float, float, int,
                            PluginHost_API::RasterInfo*, bool, int);

/// By format code; code 4 has no pixel trait.
constexpr BlurWrapper kWrappers[] = {CommonRender_ARGB8_progressiveBlur,
                                     CommonRender_BGRA8_progressiveBlur,
                                     CommonRender_RGBA8_progressiveBlur,
                                     CommonRender_ARGB15_progressiveBlur,
                                     nullptr,
                                     CommonRender_ARGB14_progressiveBlur,
                                     CommonRender_BGRA14_progressiveBlur,
                                     CommonRender_ARGB16_progressiveBlur,
                                     CommonRender_RGBA16_progressiveBlur,
                                     CommonRender_ARGB32_progressiveBlur,
                                     CommonRender_RGBA32_progressiveBlur,
                                     CommonRender_BGRA32_progressiveBlur};

BlurWrapper wrapperOf(PluginHost_API* host) {
    PluginHost_API::RasterInfo output{};
    host->getOutputRasterInfo(&output);
    const auto code = static_cast<std::uint32_t>(output.format);
    return code < std::size(kWrappers) ? kWrappers[code] : nullptr;
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
