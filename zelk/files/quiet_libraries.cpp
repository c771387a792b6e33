// Exchange of the descriptor behind standard error; see quiet_libraries.h.
#include "zelk/files/quiet_libraries.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

namespace zelk {

namespace {

/// The descriptor is the process's, so those who want it quiet are counted together.
std::mutex mutex;
int quietOnes = 0;
int kept = -1;  ///< the real standard error, below 0 when it could not be kept
std::atomic<bool> isLeftAlone = false;

}  // namespace

void leaveStandardErrorAlone(bool isLeft) { isLeftAlone = isLeft; }

QuietLibraries::QuietLibraries() {
    std::lock_guard const lock(mutex);
    ++quietOnes;
    // An older one that left it alone says nothing of this one.
    if (kept >= 0 || isLeftAlone) return;
    kept = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    int const nowhere = kept < 0 ? -1 : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
}

QuietLibraries::~QuietLibraries() {
    std::lock_guard const lock(mutex);
    if (--quietOnes > 0 || kept < 0) return;
    ::dup2(kept, STDERR_FILENO);
    ::close(kept);
    kept = -1;
}

void writeToStandardError(std::string_view text) {
    std::lock_guard const lock(mutex);
    [[maybe_unused]] auto const written =
        ::write(kept >= 0 ? kept : STDERR_FILENO, text.data(), text.size());
}

}  // namespace zelk
