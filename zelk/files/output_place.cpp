// Links, folders and permissions; see output_place.h.
#include "zelk/files/output_place.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace zelk {

namespace fs = std::filesystem;

namespace {

bool isLink(fs::path const& path) {
    std::error_code none;
    return fs::is_symlink(fs::symlink_status(path, none));
}

}  // namespace

UserError existing(fs::path const& target) {
    return {ExitCode::kOutput, target.string() + ": exists already, and may not be replaced"};
}

UserError unwritable(fs::path const& target, std::string const& reason) {
    return {ExitCode::kOutput, target.string() + ": cannot be written: " +
                                   (reason.empty() ? "unknown reason" : shortened(reason))};
}

FullDisk::FullDisk(fs::path const& target, int fault)
    : UserError(unwritable(
          target, (fault == ENOSPC ? "the disk is full (" : "the share of the disk is used up (") +
                      std::string(std::strerror(fault)) + ")")) {}

bool isFullDisk(int fault) { return fault == ENOSPC || fault == EDQUOT; }

void throwUnwritable(fs::path const& target, int fault) {
    if (isFullDisk(fault)) throw FullDisk(target, fault);
    throw unwritable(target, std::strerror(fault));
}

int growthFault(fs::path const& path) {
    int const file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0) return errno;
    struct stat state {};
    int fault = ::fstat(file, &state) == 0 ? 0 : errno;
    if (fault == 0) {
        fault = ::posix_fallocate(file, state.st_size, 2 * state.st_blksize);
        if (::ftruncate(file, state.st_size) != 0 && fault == 0) fault = errno;
    }
    ::close(file);
    return fault;
}

fs::path behindLinks(fs::path target) {
    constexpr int kMostLinks = 40;
    std::error_code none;
    for (int i = 0; i < kMostLinks && isLink(target); ++i)
        target = target.parent_path() / fs::read_symlink(target, none);
    return target;
}

std::optional<FileIdentity> identityOf(fs::path const& path) {
    struct stat state {};
    if (::stat(path.c_str(), &state) != 0) return std::nullopt;
    return FileIdentity{state.st_dev, state.st_ino};
}

void requireNew(std::filesystem::path const& target, bool mayReplace) {
    std::error_code fault;
    if (mayReplace || !std::filesystem::exists(std::filesystem::symlink_status(target, fault)))
        return;
    throw UserError(ExitCode::kOutput,
                    target.string() + ": exists already: give a new name, or --force");
}

void checkPlace(fs::path const& target, bool noClobber) {
    std::error_code fault;
    if (noClobber && fs::exists(fs::symlink_status(target, fault))) throw existing(target);
    fs::path const file = behindLinks(target);
    if (isLink(file)) throw unwritable(target, "links without an end");
    fs::path const folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, fault)) throw unwritable(target, "no folder " + folder.string());
    if (fs::exists(file, fault) && !fs::is_regular_file(file, fault)) {
        throw unwritable(target, "not a regular file");
    }
    bool const isRefused = ::access(folder.c_str(), W_OK | X_OK) != 0 ||
                           (fs::exists(file, fault) && ::access(file.c_str(), W_OK) != 0);
    if (isRefused) throw unwritable(target, std::strerror(errno));
}

}  // namespace zelk
