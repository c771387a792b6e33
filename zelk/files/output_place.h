// Where an output goes, and whether it may.
#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "zelk/text/errors.h"

namespace zelk {

/// An output error for a file that is there and may not be replaced.
UserError existing(std::filesystem::path const& target);
/// Why `target` can't be written, as an output error.
UserError unwritable(std::filesystem::path const& target, std::string const& reason);

/// An output error of a disk that is full, or of a user's share of it: what is written next would
/// fail too.
class FullDisk : public UserError {
public:
    FullDisk(std::filesystem::path const& target, int fault);
};
/// Whether a code of the system's is such an end.
bool isFullDisk(int fault);
/// Throws unwritable for a code of the system's, or FullDisk.
[[noreturn]] void throwUnwritable(std::filesystem::path const& target, int fault);
/// The code of growing a file by two blocks, which are taken back; 0 where the disk takes them.
int growthFault(std::filesystem::path const& file);

/// Where a link leads, to a file or to nothing yet: it is written there, and the link stays.
std::filesystem::path behindLinks(std::filesystem::path target);

/// Which file a path leads to, through links and under any name; nothing where there is none.
struct FileIdentity {
    std::uint64_t device = 0, inode = 0;
    auto operator<=>(FileIdentity const&) const = default;
};
std::optional<FileIdentity> identityOf(std::filesystem::path const& path);

/// Throws an output error when a file is there, or anything else, and may not be replaced.
void requireNew(std::filesystem::path const& target, bool mayReplace);

/// Throws an output error when `target`'s place refuses a file, when something other than a file is
/// there, or anything with `noClobber` set. Writes nothing.
void checkPlace(std::filesystem::path const& target, bool noClobber);

}  // namespace zelk
