// Full paths, even where the working folder is gone.
#pragma once

#include <filesystem>

namespace zelk {

/// Absolute and plain. With a step up, "..", the text stays as it is: from a linked folder it leads
/// to where the link leads. Where the working folder has been removed, names start at the folder
/// that the program was started in. Never throws for a folder.
std::filesystem::path absolutePath(std::filesystem::path const& path);

/// Absolute, without steps up, and of the same file: where a step up leaves a linked folder, the
/// path goes on from where the link leads; elsewhere links stay in it. Steps up stay where they
/// leave a folder that is not there. Empty for an empty one.
std::filesystem::path plainPath(std::filesystem::path const& path);

/// Where links and steps up lead, as far as the path is there, without a slash at the end.
std::filesystem::path canonicalPath(std::filesystem::path const& path);

}  // namespace zelk
