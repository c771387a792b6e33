// The After Effects binding, standing inside a command of the probe.
#pragma once

#include "host/PluginHost_AE_Impl.h"
#include "host/PluginRaster_AE_Impl.h"
#include "params/ParamsSetup.h"
#include "tests/host/ae_probe.h"

namespace zelk_test {

using AEBody = std::function<void(PluginHost_AE_Impl&)>;

inline ProbeBody withBinding(AEBody const& body) {
    return [&body](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae(call.in_data, call.out_data, call.params, call.output);
        body(ae);
        return 0;
    };
}

/// Runs `body` in a render of one small frame with an input layer; nothing may be owed after it.
inline zelk::CommandResult inRender(ProbeHost& host, zelk::Depth depth, AEBody const& body) {
    if (host->parameters().empty()) host.paramsSetup([](ProbeCall const&) { return PF_Err_NONE; });
    auto const result = host.renderAt(depth, withBinding(body));
    EXPECT_EQ(nothingOwed(result), "nothing");
    return result;
}

/// A host that has registered the effect's controls and reset them for a layer of that size.
inline ProbeHost hostWithControls(zelk::HostIdentity identity, int width, int height) {
    ProbeHost host(identity);
    host.paramsSetup(withBinding([](PluginHost_AE_Impl& ae) { EXPECT_EQ(ParamsSetup(&ae), 0); }));
    host->resetParameters(width, height);
    return host;
}

}  // namespace zelk_test
