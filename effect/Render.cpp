// From the output's format to the pipeline's instance.
#include "effect/Render.h"

#include "host/PluginHost_API.h"

PF_Err Render(PluginHost_API* host) {
    constexpr PF_Err kUnknownFormat = 1;
    PluginHost_API::RasterInfo info{};
    host->getOutputRasterInfo(&info);
    switch (info.format) {
        case kFormatARGB8:
            return Render_ARGB8(host);
        case kFormatBGRA8:
            return Render_BGRA8(host);
        case kFormatARGB15:
            return Render_ARGB15(host);
        case kFormatARGB32:
            return Render_ARGB32(host);
        case kFormatBGRA32:
            return Render_BGRA32(host);
        default:
            return kUnknownFormat;
    }
}
