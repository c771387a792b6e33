// What `--help` prints of a command, as records: manual pages and completion are made from them, so
// that nothing is said twice.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace zelk {

struct OptionPage {
    std::vector<std::string> names;  ///< "-o", "--output"; or one positional's, "LAYER"
    std::string value;               ///< "OUTPUT", in brackets what may be left out; empty for none
    std::string help;                ///< on one line
    std::vector<std::string> words;  ///< that it takes; empty where there is no list of them
    bool isPositional = false;
    bool isRepeated = false;  ///< may come several times

    bool takesValue() const { return !value.empty() || isPositional; }
    bool mayLeaveValueOut() const { return value.starts_with('['); }
    bool takesFile() const;
    /// NAME=VALUE of a parameter.
    bool takesSetting() const { return value == "NAME=VALUE"; }
};

/// Options under one heading.
struct OptionGroup {
    std::string title;
    std::vector<OptionPage> options;
};

struct CommandPage {
    std::vector<std::string> path;  ///< "zelk", "project", "new"
    std::string description;        ///< one sentence without its full stop
    std::string usage;              ///< "zelk project new FILE [OPTIONS]"
    std::string notes;              ///< below the options, as it is printed
    std::vector<OptionPage> positionals;
    std::vector<OptionGroup> groups;
    std::vector<CommandPage> below;  ///< commands nested in it

    /// "zelk project new"; with "-" between, what its manual page is called.
    std::string name(char const* between = " ") const;
    /// Positionals and options in the order of its help.
    std::vector<OptionPage> options() const;
};

/// Of a command and of all below it. Hidden options are left out, as in the help.
CommandPage pageOf(CLI::App& command);

/// A page and all below it.
std::vector<CommandPage const*> allPages(CommandPage const& page);

/// `text` with every `from` replaced.
std::string replaced(std::string text, std::string_view from, std::string_view to);

}  // namespace zelk
