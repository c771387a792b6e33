// `zelk params`: the parameters as the module registers them.
#pragma once

#include <string>

#include "apps/zelk/cli_options.h"

namespace zelk {

/// The list, a table or a JSON array, or the module's resource, lines or a JSON object; with a line
/// end. Of a module that the user names the table starts with its resource.
std::string listParameters(ParamsRequest const& request);

}  // namespace zelk
