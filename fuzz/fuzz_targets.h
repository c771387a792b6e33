// What a fuzzer, and a test that replays its corpus, does with one input: a reader, and then what
// must hold of whatever it read. An input is refused by a UserError or passes; anything else is a
// fault.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zelk {

struct FuzzTarget {
    std::string name;  ///< of the corpus folder too
    /// Throws std::logic_error when what was read is not what comes back from writing it.
    std::function<void(std::string_view bytes)> run;
};

/// One for each form of tracking data, and one for project files.
std::vector<FuzzTarget> fuzzTargets();

}  // namespace zelk
