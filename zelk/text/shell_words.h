// A command line as one text.
#pragma once

#include <string>

namespace zelk {

/// A word as a shell takes it: in double quotes, unless all of it is plain.
std::string shellWord(std::string const& word);

}  // namespace zelk
