// Which motion graphics host hostkit claims to be.
#pragma once

#include <array>
#include <string_view>

#include "platform/effect_api/effect_types.h"

namespace zelk {

/// An application id with the interface version that the host announces. A host is modern when
/// `version.minor` is above 11: it then offers "PF World Suite" 2 and pixel format queries.
struct HostIdentity {
    A_u_long applId = kAppAfterEffects;
    PF_SpecVersion version = {13, 27};

    bool isModern() const { return version.minor > 11; }
    bool operator==(HostIdentity const& other) const {
        return applId == other.applId && version.major == other.version.major &&
               version.minor == other.version.minor;
    }
};

/// A host that can be asked for by name, such as "FXTC".
struct NamedHost {
    std::string_view name;
    HostIdentity identity;
    std::string_view title;
};

/// Every host that the effect tells apart, in its present, modern version.
inline constexpr std::array<NamedHost, 4> kKnownHosts = {{
    {"FXTC", {kAppAfterEffects, {13, 27}}, "After Effects"},
    {"PrMr", {kAppPremierePro, {13, 27}}, "Premiere Pro"},
    {"KeyG", {kAppFinalCutPro, {13, 27}}, "Final Cut Pro"},
    {"MOTN", {kAppMotion, {13, 27}}, "Motion"},
}};

}  // namespace zelk
