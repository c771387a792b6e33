// Whose the threads are; see exr_threads.h.
#include "zelk/pictures/exr_threads.h"

#include <fmt/format.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "zelk/text/errors.h"

namespace zelk {

namespace {

std::atomic<pid_t> owner = 0;  ///< of the threads; 0 before there are any

/// The library's end joins its threads. In a process that was forked others may have their place,
/// and it fails or waits for ever: such a process ends before it comes to that.
void endForked(int status, void*) {
    if (::getpid() == owner) return;
    std::fflush(nullptr);
    ::_exit(status);
}

}  // namespace

void requireExrThreads(std::string_view format, std::filesystem::path const& file) {
    if (format != "openexr") return;
    pid_t const own = ::getpid();
    pid_t found = 0;
    if (owner.compare_exchange_strong(found, own)) {
        ::on_exit(endForked, nullptr);  // of what is told so, the last comes first
        return;
    }
    if (found == own) return;
    throw UserError(ExitCode::kRenderFailed,
                    fmt::format("{}: OpenEXR can't be read or written in a process that was forked "
                                "from one that did: start the process anew",
                                file.string()));
}

}  // namespace zelk
