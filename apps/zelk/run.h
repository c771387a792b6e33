// Runs what the command line asks for.
#pragma once

#include "apps/zelk/cli_options.h"
#include "zelk/text/errors.h"

namespace zelk {

/// Lists go to standard output, warnings to standard error. Throws for every failure but those of
/// single frames of many: the answer tells them.
ExitCode run(CommandLine const& line);

}  // namespace zelk
