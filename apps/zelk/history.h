// The command line as one line, for the metadata of what it makes.
#pragma once

#include <span>
#include <string>

namespace zelk {

/// "zelk" and the words, as a shell takes them again.
std::string historyOf(std::span<char const* const> words);

}  // namespace zelk
