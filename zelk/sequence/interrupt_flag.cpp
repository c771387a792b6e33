// Signal handlers; see interrupt_flag.h.
#include "zelk/sequence/interrupt_flag.h"

#include <unistd.h>

#include <cstddef>
#include <iterator>

#include "zelk/files/unfinished_files.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

constexpr int kInterrupts[] = {SIGINT, SIGTERM, SIGHUP};
constexpr std::size_t kPipe = std::size(kInterrupts);  ///< the former handler's place
static_assert(std::atomic<bool>::is_always_lock_free);
std::atomic<bool> isInterrupted = false;
std::atomic<void (*)(int)> atNext = nullptr;

/// Async-signal-safe calls only.
void onInterrupt(int signal) {
    if (isInterrupted.exchange(true)) atNext.load()(signal);
}

void endAtOnce(int) {
    UnfinishedFile::removeAll();
    ::_exit(static_cast<int>(ExitCode::kInterrupted));
}

}  // namespace

InterruptFlag::InterruptFlag(void (*next)(int)) {
    isInterrupted = false;
    atNext = next ? next : endAtOnce;
    struct sigaction handler {};
    handler.sa_handler = onInterrupt;
    handler.sa_flags = SA_RESTART;  // a picture's reader and writer notice nothing
    sigemptyset(&handler.sa_mask);
    for (int const signal : kInterrupts) sigaddset(&handler.sa_mask, signal);
    for (std::size_t i = 0; i < std::size(kInterrupts); ++i) {
        ::sigaction(kInterrupts[i], nullptr, &m_former[i]);
        if (m_former[i].sa_handler != SIG_IGN) ::sigaction(kInterrupts[i], &handler, nullptr);
    }
    handler.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &handler, &m_former[kPipe]);
}

InterruptFlag::~InterruptFlag() {
    for (std::size_t i = 0; i < std::size(kInterrupts); ++i)
        ::sigaction(kInterrupts[i], &m_former[i], nullptr);
    ::sigaction(SIGPIPE, &m_former[kPipe], nullptr);
    isInterrupted = false;
}

std::atomic<bool> const& InterruptFlag::flag() { return isInterrupted; }

}  // namespace zelk
