// Warnings of a command, on standard error.
#pragma once

#include <string>
#include <vector>

namespace zelk {

/// A line each.
void tellWarnings(std::vector<std::string> const& warnings);

}  // namespace zelk
