// The command line: arguments to a command, and its run.
#pragma once

namespace zelk {

/// The whole program: does what the arguments ask for and gives the exit code. Help and version go
/// to standard output, the first thing that is wrong to standard error as one line.
int runProgram(int argc, char const* const* argv);

}  // namespace zelk
