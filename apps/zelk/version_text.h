// What `zelk --version --verbose` prints.
#pragma once

#include <string>

namespace zelk {

/// Build, instruction set, libraries, hosts; a line each. A module or a program that is missing is
/// told in its line.
std::string versionText();

}  // namespace zelk
