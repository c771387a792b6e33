// See file_stamp.h.
#include "zelk/files/file_stamp.h"

#include <fmt/format.h>

#include "zelk/files/absolute_path.h"

namespace zelk {

namespace fs = std::filesystem;

std::string stampOf(fs::path const& file) {
    std::error_code fault;
    std::string const name = plainPath(file).string();  // one, wherever the project lies
    auto const changed = fs::last_write_time(file, fault).time_since_epoch().count();
    if (fault) return name + " -\n";
    return fmt::format("{} {} {}\n", name, changed, fs::file_size(file, fault));
}

}  // namespace zelk
