// A command line as one text.
#pragma once

#include <string>

namespace zelk {

/// A word as a shell takes it: in single quotes, unless all of it is plain. An interactive
/// shell takes "!" for its history within double ones.
std::string shellWord(std::string const& word);

}  // namespace zelk
