// What a command of the command line is: a struct with its words, its check and its run, in a file
// of its name.
//
//   struct SomeCommand {
//       static CommandInfo const kInfo;
//       void addOptions(CLI::App& app);       // binds the words to members
//       ExitCode run(Invocation const& how);  // checks them, then does it
//   };
//
// commands.h lists them all.
#pragma once

#include <string>
#include <vector>

#include "zelk/text/errors.h"

namespace CLI {
class App;
}

namespace zelk {

struct CommandInfo {
    char const* path;         ///< "render", "project new"
    char const* description;  ///< for help, no full stop
    char const* usage;        ///< what it can't do without: "LAYER -o OUTPUT"
    char const* notes;        ///< below the options in its help, examples among them
};

/// How the program was called.
struct Invocation {
    std::string history;             ///< the command line as one line that a shell takes again
    std::vector<char const*> words;  ///< the same in words, without the program's name
};

}  // namespace zelk
