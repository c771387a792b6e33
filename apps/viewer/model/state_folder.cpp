// See state_folder.h.
#include "apps/viewer/model/state_folder.h"

#include <cstdlib>

namespace zelk {

std::filesystem::path stateFolder() {
    auto const folderOf = [](char const* variable) {
        char const* const text = std::getenv(variable);
        return std::filesystem::path(text ? text : "");
    };
    std::filesystem::path const own = folderOf("XDG_STATE_HOME");
    if (own.is_absolute()) return own / "zelk";
    return folderOf("HOME") / ".local/state/zelk";
}

}  // namespace zelk
