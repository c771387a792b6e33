// What the host side could not do, as errors for the user.
#pragma once

#include "hostkit/error.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Calls. A HostError becomes an input error where memory is short, else a render error.
template <class Call>
decltype(auto) withUserErrors(Call const& call) {
    try {
        return call();
    } catch (HostError const& error) {
        bool const isMemory = error.code() == PF_Err_OUT_OF_MEMORY;
        throw UserError(isMemory ? ExitCode::kInput : ExitCode::kRenderFailed, error.what());
    }
}

}  // namespace zelk
