// From the output's format to the pipeline's instance.
#include "effect/Render.h"

#include "Transform/Common/Transform_Core_Render/ompc.h"

PF_Err Render(PluginHost_API* host) {
    constexpr PF_Err kUnknownFormat = 1;
    // In Premiere Pro a command keeps to one thread: its passes too, not its core renders alone.
    if (host->getAEHost() && host->isApplication(kAppPremierePro)) ompc_set_num_threads(0);
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
