// See left_overs.h.
#include "zelk/files/left_overs.h"

#include <chrono>
#include <string>

#include "zelk/files/frame_locks.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

bool isLeftOver(fs::directory_entry const& file, ProcessTag const& maker) {
    constexpr auto kForgotten = std::chrono::hours(24);
    Life const life = lifeOf(maker);
    if (life != Life::kUnknown) return life == Life::kDead;
    std::error_code fault;
    auto const changed = file.last_write_time(fault);
    return !fault && fs::file_time_type::clock::now() - changed > kForgotten;
}

void sweepLeftOvers(fs::path const& folder) {
    std::error_code fault, ignored;
    fs::directory_iterator entry(folder.empty() ? "." : folder, fault);
    for (fs::directory_iterator const end; !fault && entry != end; entry.increment(fault)) {
        std::string const name = entry->path().filename().string();
        if (!name.starts_with('.') || !entry->is_regular_file(ignored)) continue;
        auto const maker = makerOf(name);
        if (maker && isLeftOver(*entry, *maker)) fs::remove(entry->path(), ignored);
        if (maker || !isLockName(name)) continue;
        try {
            sweepLock(entry->path());
        } catch (UserError const&) {
            // Nothing can be written here, which whoever writes will tell.
        }
    }
}

}  // namespace zelk
