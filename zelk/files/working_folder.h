// Full paths, even where the working folder is gone.
#pragma once

#include <filesystem>

namespace zelk {

/// As std::filesystem::absolute. Where the working folder has been removed, names start at the
/// folder that the program was started in. Never throws for a folder.
std::filesystem::path fullPath(std::filesystem::path const& path);

}  // namespace zelk
