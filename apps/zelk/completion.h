// Completion of the command line for shells: commands, options, the words that an option takes,
// parameters and their entries after --set, files.
//
// Each script is one table, made from the records of the help, with the shell's own few lines that
// look up in it. None runs the program.
#pragma once

#include <string>
#include <vector>

#include "apps/zelk/command_page.h"

namespace zelk {

/// A parameter of the effect that has a value.
struct SettableParameter {
    std::string name;
    std::vector<std::string> entries;  ///< of a popup or a checkbox, as --set takes them
};

/// What `zelk params` lists, of the module beside the program. Throws as loadModule does.
std::vector<SettableParameter> settableParameters();

using Parameters = std::vector<SettableParameter>;

std::string bashCompletion(CommandPage const& program, Parameters const& parameters);
std::string zshCompletion(CommandPage const& program, Parameters const& parameters);
std::string fishCompletion(CommandPage const& program, Parameters const& parameters);

}  // namespace zelk
