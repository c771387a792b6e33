// `zelk params`: the parameters as the module registers them.
#pragma once

#include <memory>
#include <string>

#include "apps/zelk/cli_options.h"
#include "hostkit/host.h"

namespace zelk {

/// Loads the module as the host asked for, sets it up and checks that its parameters are those
/// that the names belong to. Throws an input error for a module that is missing or is not ours, a
/// render error for one that refuses to be set up.
std::unique_ptr<Host> loadModule(ModuleRequest const& request);

/// The list, a table or a JSON array, or the module's resource, lines or a JSON object; with a line
/// end.
std::string listParameters(ParamsRequest const& request);

}  // namespace zelk
