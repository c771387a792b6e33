// See the header.
#include "effect/HostRender.h"

#include "effect/Render.h"
#include "host/PluginHost_AE_Impl.h"

PF_Err renderOnHost(PluginHost_AE_Impl& host) {
    const PF_Err result = Render(&host);
    const PF_Err refused = host.queryError();
    if (!refused) return result;
    host.fillOutput();
    return refused;
}
