// Options of a command, one group after the other.
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <vector>

namespace zelk {

class OptionAdder {
public:
    explicit OptionAdder(CLI::App& command) : m_command(command) {}

    /// A positional argument or an option with one text.
    void text(char const* group, std::string const& name, std::optional<std::string>& value,
              char const* type, std::string const& help) const {
        m_command.add_option(name, value, help)->type_name(type)->group(group);
    }
    /// An option that may come several times.
    void texts(char const* group, std::string const& name, std::vector<std::string>& values,
               char const* type, std::string const& help) const {
        m_command.add_option(name, values, help)
            ->type_name(type)
            ->allow_extra_args(false)
            ->group(group);
    }
    void flag(char const* group, std::string const& name, bool& value,
              std::string const& help) const {
        m_command.add_flag(name, value, help)->disable_flag_override()->group(group);
    }

private:
    CLI::App& m_command;
};

}  // namespace zelk
