// Time and size of a file, which tell whether somebody else has written it.
#pragma once

#include <filesystem>
#include <string>

namespace zelk {

/// Full path, time and size of a file, or that it is not there; a line. Taken before the file is
/// read, it is never younger than what was read.
std::string stampOf(std::filesystem::path const& file);

}  // namespace zelk
