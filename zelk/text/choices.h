// Words that a user types for a choice, into values. A refusal is a usage error that names the
// option, the value and what was expected.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

/// A word of an option and what it stands for.
template <class T>
struct Choice {
    std::string_view word;
    T value;
};

/// One of a table's words, in letters of any case.
template <class T>
T pick(std::span<Choice<T> const> choices, std::string const& option, std::string const& word) {
    std::vector<std::string_view> words;
    for (Choice<T> const& choice : choices) {
        if (lowered(choice.word) == lowered(word)) return choice.value;
        words.push_back(choice.word);
    }
    throw UserError(ExitCode::kUsage, {option, "unknown choice", word, listOf(words)});
}
template <class T, std::size_t N>
T pick(Choice<T> const (&choices)[N], std::string const& option, std::string const& word) {
    return pick(std::span<Choice<T> const>(choices), option, word);
}

template <class T, std::size_t N>
constexpr std::array<std::string_view, N> wordsOf(Choice<T> const (&choices)[N]) {
    std::array<std::string_view, N> words;
    for (std::size_t i = 0; i < N; ++i) words[i] = choices[i].word;
    return words;
}

/// The same as a list that may be empty.
template <class T, std::size_t N>
std::vector<std::string_view> wordListOf(Choice<T> const (&choices)[N]) {
    auto const words = wordsOf(choices);
    return {words.begin(), words.end()};
}

/// The word of a value; empty for one without.
template <class T, std::size_t N>
constexpr std::string_view wordOf(Choice<T> const (&choices)[N], T value) {
    for (Choice<T> const& choice : choices)
        if (choice.value == value) return choice.word;
    return {};
}

}  // namespace zelk
