// Options of a command, one group after the other.
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace zelk {

/// Words that an option takes, for completion.
using Words = std::vector<std::string_view>;

/// Words go with every option that takes a value, as the name of a check that refuses nothing, one
/// a line: values are checked by the commands.
inline void offer(CLI::Option& option, Words const& words) {
    std::string lines;
    for (std::string_view const word : words) lines += std::string(word) + "\n";
    option.check(CLI::Validator([](std::string&) { return std::string(); }, "", lines));
}

inline std::vector<std::string> offeredWords(CLI::Option& option) {
    std::istringstream lines(option.get_validator()->get_name());
    std::vector<std::string> words;
    for (std::string word; std::getline(lines, word);) words.push_back(word);
    return words;
}

class OptionAdder {
public:
    explicit OptionAdder(CLI::App& command) : m_command(command) {}

    /// A positional argument or an option with one text, with the words that it takes where there
    /// is a list of them.
    void text(char const* group, std::string const& name, std::optional<std::string>& value,
              char const* type, std::string const& help, Words const& words = {}) const {
        offer(*m_command.add_option(name, value, help)->type_name(type)->group(group), words);
    }
    /// An option that may come several times.
    void texts(char const* group, std::string const& name, std::vector<std::string>& values,
               char const* type, std::string const& help) const {
        offer(*m_command.add_option(name, values, help)
                   ->type_name(type)
                   ->allow_extra_args(false)
                   ->group(group),
              {});
    }
    /// Any number of positional arguments.
    void names(char const* group, std::string const& name, std::vector<std::string>& values,
               std::string const& help, Words const& words) const {
        offer(*m_command.add_option(name, values, help)->type_name("")->group(group), words);
    }
    void flag(char const* group, std::string const& name, bool& value,
              std::string const& help) const {
        m_command.add_flag(name, value, help)->disable_flag_override()->group(group);
    }

private:
    CLI::App& m_command;
};

}  // namespace zelk
