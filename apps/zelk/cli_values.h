// Typed words into values, for all commands. Every refusal is a usage error that names the option,
// the value and what was expected.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "apps/zelk/cli_options.h"
#include "zelk/scene/over_modes.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

/// One of a table's words, in letters of any case.
template <class T>
T pick(std::span<Choice<T> const> choices, char const* option, std::string const& word) {
    std::vector<std::string_view> words;
    for (Choice<T> const& choice : choices) {
        if (choice.word == lowered(word)) return choice.value;
        words.push_back(choice.word);
    }
    throw UserError(ExitCode::kUsage, {option, "unknown choice", word, listOf(words)});
}

/// Nothing for an option that was not given.
template <class T, std::size_t N>
std::optional<T> pickIfGiven(Choice<T> const (&choices)[N], char const* option,
                             std::optional<std::string> const& word) {
    if (!word) return std::nullopt;
    return pick<T>(choices, option, *word);
}

/// A word that a command can't do without.
std::string required(std::optional<std::string> const& value, char const* thing,
                     char const* expected);
/// A file to read. A picture is read in pieces, so it can't come through a pipe: an input error.
std::string pictureFile(std::optional<std::string> const& name, char const* thing);
/// "1920x1080"
PixelSize checkedSize(std::string const& text);
double checkedNumber(char const* option, std::string_view text, double least, double most);
/// Frames a second.
TimeBase checkedRate(std::string const& text);
/// For an option that another command has.
void refuseOption(bool isGiven, char const* option, char const* command, char const* expected);

}  // namespace zelk
