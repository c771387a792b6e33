// Limits of control groups, versions 1 and 2: a process may take no more than any group around it
// lets it, whichever of them is the tightest.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>

namespace zelk {

inline constexpr std::uint64_t kNoMemoryLimit = std::numeric_limits<std::uint64_t>::max();

/// Bytes that the groups around this process leave it; kNoMemoryLimit where none sets a limit or
/// none can be read. `root` is where /proc and the groups are found, for tests.
///
/// Each group from the process's own up to the top that is mounted here counts, with what is used
/// in it; of that the part that files fill and that is given back at once (inactive_file) is free.
/// Of a container whose mount begins at its own group, that group is the top; limits above it, as
/// far as version 1 tells them (hierarchical_memory_limit), count too.
std::uint64_t memoryGroupsLeft(std::filesystem::path const& root = "/");

}  // namespace zelk
