// Links, folders and permissions; see output_place.h.
#include "zelk/files/output_place.h"

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
