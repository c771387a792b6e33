// Paths as they are written in a file: relative to the folder that the file stands in.
#pragma once

#include <filesystem>
#include <string>

namespace zelk {

/// Whether two folders, as the working folder sees them, are one by their names (plainPath).
bool isSameFolder(std::filesystem::path const& a, std::filesystem::path const& b);

/// `path`, as the working folder sees it, as it would be written in a file in `folder`: relative
/// where it lies below; elsewhere by "..", if it `mayClimb` and no link lies on the way, else
/// absolute.
std::string pathFrom(std::filesystem::path const& folder, std::filesystem::path const& path,
                     bool mayClimb);

}  // namespace zelk
