// The effect's module in our host.
#pragma once

#include <memory>

#include "hostkit/host.h"
#include "zelk/scene/render_request.h"

namespace zelk {

/// Loads the module as the host asked for, sets it up and checks that its parameters are those
/// that the names belong to. Throws an input error for a module that is missing or is not ours, a
/// render error for one that refuses to be set up.
std::unique_ptr<Host> loadModule(ModuleRequest const& request);

}  // namespace zelk
