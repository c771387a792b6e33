// Signal handlers; see interrupt_flag.h.
#include "apps/zelk/interrupt_flag.h"

#include <cstddef>
#include <iterator>

namespace zelk {

namespace {

constexpr int kInterrupts[] = {SIGINT, SIGTERM};
static_assert(std::atomic<bool>::is_always_lock_free);
std::atomic<bool> isInterrupted = false;
std::atomic<void (*)(int)> atNext = SIG_DFL;

/// Async-signal-safe calls only.
void onInterrupt(int) {
    isInterrupted = true;
    struct sigaction present {
    }, next{};
    next.sa_handler = atNext;
    for (int const signal : kInterrupts) {
        ::sigaction(signal, nullptr, &present);
        if (present.sa_handler == onInterrupt) ::sigaction(signal, &next, nullptr);
    }
}

}  // namespace

InterruptFlag::InterruptFlag(void (*next)(int)) {
    isInterrupted = false;
    atNext = next;
    struct sigaction handler {};
    handler.sa_handler = onInterrupt;
    handler.sa_flags = SA_RESTART;  // a picture's reader and writer notice nothing
    sigemptyset(&handler.sa_mask);
    for (int const signal : kInterrupts) sigaddset(&handler.sa_mask, signal);
    for (std::size_t i = 0; i < std::size(kInterrupts); ++i) {
        ::sigaction(kInterrupts[i], nullptr, &m_former[i]);
        if (m_former[i].sa_handler != SIG_IGN) ::sigaction(kInterrupts[i], &handler, nullptr);
    }
}

InterruptFlag::~InterruptFlag() {
    for (std::size_t i = 0; i < std::size(kInterrupts); ++i)
        ::sigaction(kInterrupts[i], &m_former[i], nullptr);
}

std::atomic<bool> const& InterruptFlag::flag() { return isInterrupted; }

}  // namespace zelk
