// Manual pages and completion as files, for packages.
#pragma once

#include <filesystem>

#include "apps/zelk/command_page.h"

namespace zelk {

/// Into man1/, bash/, zsh/ and fish/ of a folder, which are made. Throws an output error.
void writePages(CommandPage const& program, std::filesystem::path const& folder);

}  // namespace zelk
