// Text for the user's standard output.
#pragma once

#include <string_view>

namespace zelk {

/// Writes all of it at once. Throws an output error when it can't be written.
void print(std::string_view text);

}  // namespace zelk
