// See working_folder.h.
#include "zelk/files/working_folder.h"

#include <system_error>

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// As the program starts: later it may be too late to ask.
fs::path const kStartFolder = [] {
    std::error_code none;
    return fs::current_path(none);
}();

}  // namespace

fs::path fullPath(fs::path const& path) {
    std::error_code isGone;
    fs::path full = fs::absolute(path, isGone);
    return isGone ? kStartFolder / path : full;
}

}  // namespace zelk
