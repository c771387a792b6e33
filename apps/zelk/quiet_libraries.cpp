// Exchange of the descriptor behind standard error; see quiet_libraries.h.
#include "apps/zelk/quiet_libraries.h"

#include <fcntl.h>
#include <unistd.h>

namespace zelk {

QuietLibraries::QuietLibraries() : m_kept(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    if (m_kept < 0) return;
    int const nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
}

QuietLibraries::~QuietLibraries() {
    if (m_kept < 0) return;
    ::dup2(m_kept, STDERR_FILENO);
    ::close(m_kept);
}

}  // namespace zelk
