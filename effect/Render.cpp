// From the output's format to the pipeline's instance.
#include "effect/Render.h"

PF_Err Render(PluginHost_API* host) {
    constexpr PF_Err kUnknownFormat = 1;
    PluginHost_API::RasterInfo info{};
    host->getOutputRasterInfo(&info);
#define ZELK_CASE(NAME) \
    case kFormat##NAME: \
        return Render_##NAME(host);
    switch (info.format) {
        ZELK_FRAME_FORMATS(ZELK_CASE)
        default:
            return kUnknownFormat;
    }
#undef ZELK_CASE
}
