// See file_sum.h.
#include "zelk/files/file_sum.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>
#include <zlib.h>

#include <charconv>
#include <vector>

namespace zelk {

std::string sumText(std::uint32_t crc32) { return fmt::format("{:08x}", crc32); }

std::optional<std::uint32_t> sumNamed(std::string_view text) {
    std::uint32_t crc32 = 0;
    auto const [end, fault] = std::from_chars(text.data(), text.data() + text.size(), crc32, 16);
    bool const isWhole = fault == std::errc{} && end == text.data() + text.size();
    return isWhole ? std::optional(crc32) : std::nullopt;
}

std::optional<FileSum> sumOf(std::filesystem::path const& path) {
    int const file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return std::nullopt;
    std::vector<unsigned char> chunk(1 << 20);
    FileSum sum;
    ssize_t count = 0;
    while ((count = ::read(file, chunk.data(), chunk.size())) > 0) {
        sum.bytes += static_cast<std::uint64_t>(count);
        sum.crc32 = static_cast<std::uint32_t>(
            ::crc32_z(sum.crc32, chunk.data(), static_cast<std::size_t>(count)));
    }
    ::close(file);
    return count == 0 ? std::optional(sum) : std::nullopt;
}

}  // namespace zelk
