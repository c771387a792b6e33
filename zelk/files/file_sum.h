// Size and checksum of a file, which tell whether it is still what was written.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace zelk {

struct FileSum {
    std::uint64_t bytes = 0;
    std::uint32_t crc32 = 0;  ///< as zlib has it
    bool operator==(FileSum const&) const = default;
};

/// Reads the file; nothing where that fails.
std::optional<FileSum> sumOf(std::filesystem::path const& file);

}  // namespace zelk
