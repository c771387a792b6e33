// See history.h.
#include "apps/zelk/history.h"

#include "zelk/text/errors.h"
#include "zelk/text/shell_words.h"

namespace zelk {

std::string historyOf(std::span<char const* const> words) {
    std::string line = "zelk";
    for (char const* word : words) line += " " + shellWord(word);
    return oneLine(line);
}

}  // namespace zelk
