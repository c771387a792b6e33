// One call of an engine's own program.
#pragma once

#include <string>
#include <vector>

namespace zelk {

struct ProgramAnswer {
    bool isDone = false;  ///< it ended with code 0
    std::string output;
    std::string words;  ///< what it said on standard error, on one line
};

/// Waits for its end. Throws UserError where there is no such program in the PATH; `package` is
/// what brings it.
ProgramAnswer askProgram(std::vector<std::string> const& words, std::string const& package);
/// The same of a call that must succeed, for its output; `expected` is what it should have given.
std::string callProgram(std::vector<std::string> const& words, std::string const& package,
                        std::string const& expected);

/// Words as one line for a POSIX shell.
std::string shellLine(std::vector<std::string> const& words);

}  // namespace zelk
