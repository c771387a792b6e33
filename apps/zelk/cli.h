// The command line: arguments to a command, and its run.
#pragma once

#include "zelk/text/errors.h"

namespace zelk {

/// Does what the arguments ask for; help and version go to standard output. Throws UserError for
/// the first thing that is wrong.
ExitCode runCommandLine(int argc, char const* const* argv);

}  // namespace zelk
