// Whose the threads are; see exr_threads.h.
#include "zelk/pictures/exr_threads.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>

#include "zelk/text/errors.h"

namespace zelk {

void requireExrThreads(std::string_view format, std::filesystem::path const& file) {
    static std::atomic<pid_t> owner = 0;
    if (format != "openexr") return;
    pid_t const own = ::getpid();
    pid_t found = 0;
    if (owner.compare_exchange_strong(found, own) || found == own) return;
    throw UserError(ExitCode::kRenderFailed,
                    fmt::format("{}: OpenEXR can't be read or written in a process that was forked "
                                "from one that did: start the process anew",
                                file.string()));
}

}  // namespace zelk
