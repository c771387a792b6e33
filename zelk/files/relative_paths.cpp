// Paths between folders; see relative_paths.h.
#include "zelk/files/relative_paths.h"

#include <algorithm>

#include "zelk/files/working_folder.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Absolute, without a blank name at the end.
fs::path plainFolder(fs::path const& folder) {
    fs::path const plain = fullPath(folder.empty() ? "." : folder).lexically_normal();
    return plain.has_filename() ? plain : plain.parent_path();
}

}  // namespace

fs::path absolutePath(fs::path const& path) {
    fs::path const whole = fullPath(path);
    bool const goesUp = std::find(whole.begin(), whole.end(), "..") != whole.end();
    return goesUp ? whole : whole.lexically_normal();
}

bool isSameFolder(fs::path const& a, fs::path const& b) { return plainFolder(a) == plainFolder(b); }

std::string pathFrom(fs::path const& folder, fs::path const& path, bool mayClimb) {
    fs::path const home = plainFolder(folder);
    fs::path const there = fullPath(path).lexically_normal();
    fs::path const relative = there.lexically_relative(home);
    bool const climbs = relative.empty() || *relative.begin() == "..";
    // ".." leaves a linked folder to where the link leads.
    std::error_code fault;
    if (climbs && (!mayClimb || fs::weakly_canonical(home, fault) != home)) return there.string();
    return relative.string();
}

}  // namespace zelk
