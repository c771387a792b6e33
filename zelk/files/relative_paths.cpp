// Paths between folders; see relative_paths.h.
#include "zelk/files/relative_paths.h"

#include "zelk/files/absolute_path.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Absolute, without a blank name at the end.
fs::path plainFolder(fs::path const& folder) {
    fs::path const plain = plainPath(folder.empty() ? "." : folder);
    return plain.has_filename() ? plain : plain.parent_path();
}

}  // namespace

bool isSameFolder(fs::path const& a, fs::path const& b) {
    return a == b || plainFolder(a) == plainFolder(b);
}

std::string pathFrom(fs::path const& folder, fs::path const& path, bool mayClimb) {
    fs::path const home = plainFolder(folder);
    fs::path const there = plainPath(path);
    fs::path const relative = there.lexically_relative(home);
    bool const climbs = relative.empty() || *relative.begin() == "..";
    // ".." leaves a linked folder to where the link leads.
    std::error_code fault;
    if (climbs && (!mayClimb || fs::weakly_canonical(home, fault) != home)) return there.string();
    return relative.string();
}

}  // namespace zelk
