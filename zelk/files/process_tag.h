// Which process made a hidden file, so that a later one knows whether it may be removed.
//
// A process is told by its machine, its id and the moment when it was started: an id alone is given
// again. The machine is a checksum of the host's name, its boot and its space of process ids, so
// that containers and machines that share a folder are told apart.
#pragma once

#include <sys/types.h>

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zelk {

struct ProcessTag {
    std::uint32_t machine = 0;
    pid_t id = 0;
    std::uint64_t start = 0;  ///< clock ticks since the machine's boot

    auto operator<=>(ProcessTag const&) const = default;
    std::string text() const;  ///< "1a2b3c4d-4711-9876543"
    /// The tag that a text starts with, exactly as `text` writes it; of a process, whose id is
    /// positive.
    static std::optional<ProcessTag> at(std::string_view text);
};

ProcessTag thisProcess();
/// Of another process of this machine; nothing where /proc shows none.
std::optional<ProcessTag> processOf(pid_t id);
std::string hostName();

/// kUnknown is a process of which nothing but the age of its files is known: one of another
/// machine, or one that /proc hides from this user.
enum class Life { kAlive, kDead, kUnknown };
Life lifeOf(ProcessTag const& process);

/// `.STEM.zelk-TAG-NUMBER.EXTENSION`, a hidden name beside `target` with its extension, which file
/// systems take: they end at 255 bytes.
std::string hiddenName(std::filesystem::path const& target, int number);
/// Who made a file with such a name; nothing for any other name.
std::optional<ProcessTag> makerOf(std::string_view name);

}  // namespace zelk
