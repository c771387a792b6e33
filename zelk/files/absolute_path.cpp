// See absolute_path.h.
#include "zelk/files/absolute_path.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// As the program starts: later it may be too late to ask.
fs::path const kStartFolder = [] {
    std::error_code none;
    return fs::current_path(none);
}();

}  // namespace

fs::path absolutePath(fs::path const& path) {
    std::error_code isGone;
    fs::path full = fs::absolute(path, isGone);
    if (isGone) full = kStartFolder / path;
    bool const goesUp = std::find(full.begin(), full.end(), "..") != full.end();
    return goesUp ? full : full.lexically_normal();
}

fs::path canonicalPath(fs::path const& path) {
    std::error_code fault;
    fs::path found = fs::weakly_canonical(absolutePath(path), fault);
    if (fault) found = absolutePath(path);
    return found.has_filename() ? found : found.parent_path();
}

fs::path plainPath(fs::path const& path) {
    if (path.empty()) return path;
    fs::path const full = absolutePath(path);
    fs::path climb, rest;  // up to the last step up, and what follows it
    for (fs::path const& part : full) {
        rest /= part;
        if (part == "..") climb /= std::exchange(rest, {});
    }
    std::error_code fault;
    if (climb.empty() || !fs::exists(climb, fault)) return full;
    fs::path const there = canonicalPath(climb);
    bool const isByNames = there == canonicalPath(climb.lexically_normal());
    return (isByNames ? full : there / rest).lexically_normal();
}

}  // namespace zelk
