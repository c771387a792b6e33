// See history.h.
#include "apps/zelk/history.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// A word as a shell takes it: in double quotes, unless all of it is plain.
std::string quoted(std::string const& word) {
    auto const isPlain = [](unsigned char c) {
        return std::isalnum(c) || c >= 0x80 || std::strchr("@%+=:,./_-", c) != nullptr;
    };
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
    std::string text = "\"";
    for (char const c : word) {
        if (std::strchr("\"\\$`", c) != nullptr) text += '\\';
        text += c;
    }
    return text + "\"";
}

}  // namespace

std::string historyOf(std::span<char const* const> words) {
    std::string line = "zelk";
    for (char const* word : words) line += " " + quoted(word);
    return oneLine(line);
}

}  // namespace zelk
