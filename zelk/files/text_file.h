// A text file whole: read with a limit, written whole or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zelk {

inline constexpr std::size_t kLargestTextFile = std::size_t{64} << 20;

/// All bytes of `file`. `kind` is what it should be, "a project". Throws an input error when it
/// can't be read or is larger than `mostBytes`, pipes and devices included.
std::string readTextFile(std::filesystem::path const& file, std::string const& kind,
                         std::size_t mostBytes = kLargestTextFile);

/// What was there stays until all is written. Throws an output error, also for a file that is there
/// already when it may not be replaced.
void writeTextFile(std::filesystem::path const& file, std::string_view text, bool mayReplace);

}  // namespace zelk
