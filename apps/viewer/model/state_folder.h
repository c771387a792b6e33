// Where the viewer keeps what is its own and no project's: autosaved scenes, names of recent files.
#pragma once

#include <filesystem>

namespace zelk {

/// $XDG_STATE_HOME/zelk, by default ~/.local/state/zelk. It need not be there.
std::filesystem::path stateFolder();

}  // namespace zelk
