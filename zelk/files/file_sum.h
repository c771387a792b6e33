// Size and checksum of a file, which tell whether it is still what was written.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zelk {

struct FileSum {
    std::uint64_t bytes = 0;
    std::uint32_t crc32 = 0;  ///< as zlib has it
    bool operator==(FileSum const&) const = default;
};

/// A checksum as logs and journals have it, eight hexadecimal digits, and back.
std::string sumText(std::uint32_t crc32);
std::optional<std::uint32_t> sumNamed(std::string_view text);

/// Reads the file; nothing where that fails.
std::optional<FileSum> sumOf(std::filesystem::path const& file);

}  // namespace zelk
