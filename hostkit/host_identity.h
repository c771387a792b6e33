// Which motion graphics host hostkit claims to be.
#pragma once

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

}  // namespace zelk
