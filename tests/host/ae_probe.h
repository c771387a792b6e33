// ProbeHost: runs a test's own code inside a command of the host, where callbacks and suites
// answer, faults can be injected and what is owed is counted.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "hostkit/host.h"

namespace zelk_test {

/// What the host handed over with a command.
struct ProbeCall {
    PF_Cmd command;
    PF_InData* in_data;
    PF_OutData* out_data;
    PF_ParamDef** params;
    PF_LayerDef* output;
};
/// What a body gets in fact.
struct ProbeCommand : ProbeCall {
    void* extra;
};
/// The command's own record.
template <class Record>
Record* extraOf(ProbeCall const& call) {
    return static_cast<Record*>(static_cast<ProbeCommand const&>(call).extra);
}
using ProbeBody = std::function<PF_Err(ProbeCall const&)>;

constexpr zelk::HostIdentity kModernAE = {kAppAfterEffects, {13, 27}};
constexpr zelk::HostIdentity kOlderAE = {kAppAfterEffects, {12, 11}};
constexpr zelk::HostIdentity kModernPremiere = {kAppPremierePro, {13, 27}};
constexpr zelk::HostIdentity kModernKeyG = {kAppFinalCutPro, {13, 27}};

inline zelk::HostOptions optionsOf(zelk::HostIdentity identity) { return {.identity = identity}; }

/// Every command of ZELK_PROBE_MODULE, which stays loaded, goes to `body` from here on.
inline void setProbeBody(ProbeBody const* body) {
    void* const module = dlopen(ZELK_PROBE_MODULE, RTLD_NOW | RTLD_NODELETE);
    reinterpret_cast<void (*)(ProbeBody const*)>(dlsym(module, "setProbeBody"))(body);
    dlclose(module);
}

/// Random channels of the depth's whole range; from 0 to 2 in float.
inline void fillRandom(zelk::World& world, unsigned seed) {
    std::mt19937 random(seed);
    for (int y = 0; y < world.height(); ++y)
        for (int c = 0; c < 4 * world.width(); ++c)
            if (world.depth() == zelk::Depth::k8)
                world.rowAs<A_u_char>(y)[c] = static_cast<A_u_char>(random() % 256);
            else if (world.depth() == zelk::Depth::k16)
                world.rowAs<A_u_short>(y)[c] = static_cast<A_u_short>(random() % 32769);
            else
                world.rowAs<float>(y)[c] = static_cast<float>(random() % 2049) / 1024.0f;
}

/// Of all rows, without padding.
inline std::vector<std::byte> pixelsOf(zelk::World const& world) {
    std::vector<std::byte> all;
    for (int y = 0; y < world.height(); ++y)
        all.insert(all.end(), world.row(y),
                   world.row(y) + world.width() * zelk::pixelBytes(world.depth()));
    return all;
}

/// Sets a control of the host's in users' units; popups count from 1, pins are in layer pixels.
inline void setControl(zelk::Host& host, int index, double value) {
    zelk::setNumber(parameterIn(host.parameters(), index).current, value);
}
inline void setPin(zelk::Host& host, int index, double x, double y) {
    zelk::setPoint(parameterIn(host.parameters(), index).current, x, y);
}

class ProbeHost {
public:
    explicit ProbeHost(zelk::HostOptions const& options)
        : m_host(zelk::Host::loadOnly(ZELK_PROBE_MODULE, options)) {}
    explicit ProbeHost(zelk::HostIdentity identity) : ProbeHost(optionsOf(identity)) {}

    zelk::Host* operator->() { return m_host.get(); }
    zelk::Host& operator*() { return *m_host; }

    zelk::CommandResult paramsSetup(ProbeBody const& body) {
        setProbeBody(&body);
        return m_host->paramsSetup();
    }
    zelk::CommandResult bare(ProbeBody const& body) {
        setProbeBody(&body);
        return m_host->bareCommand(PF_Cmd_COMPLETELY_GENERAL);
    }
    zelk::CommandResult render(zelk::World& input, zelk::World& output,
                               zelk::FrameRequest const& frame, ProbeBody const& body) {
        setProbeBody(&body);
        return m_host->render(input, output, frame);
    }
    /// A render of a small frame at a depth, filled with random bytes (finite floats).
    zelk::CommandResult renderAt(zelk::Depth depth, ProbeBody const& body) {
        const zelk::WorldSpec spec = m_host->worldSpec(5, 4, depth);
        zelk::World input(spec), output(spec);
        fillRandom(input, 1);
        fillRandom(output, 2);
        zelk::FrameRequest frame;
        frame.time = 3000;
        frame.totalTime = 10000;
        return render(input, output, frame, body);
    }

private:
    std::unique_ptr<zelk::Host> m_host;
};

inline std::string nothingOwed(zelk::CommandResult const& result) {
    return result.outstanding.describe();
}

}  // namespace zelk_test
