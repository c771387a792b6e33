// See shell_words.h.
#include "zelk/text/shell_words.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace zelk {

std::string shellWord(std::string const& word) {
    auto const isPlain = [](unsigned char c) {
        return std::isalnum(c) || c >= 0x80 || std::strchr("@%+=:,./_-", c) != nullptr;
    };
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
    std::string text = "'";
    for (char const c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

}  // namespace zelk
