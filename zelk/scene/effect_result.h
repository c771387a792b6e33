// What a command of the effect came to.
#pragma once

#include <string>

#include "hostkit/host.h"

namespace zelk {

/// The effect must succeed and give back all that it took. Throws a render error else.
void checkResult(CommandResult const& result, std::string const& layerName);

}  // namespace zelk
