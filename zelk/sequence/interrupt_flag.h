// How the user ends a run over many frames.
#pragma once

#include <atomic>
#include <csignal>

namespace zelk {

/// While it lives, the first SIGINT, SIGTERM or SIGHUP sets a flag and nothing else. The next one
/// goes to `next`: by default it removes the files that are half written and ends the process at
/// once, with the exit code of an interruption. A signal that the caller ignores stays ignored. Nor
/// does a pipe whose reader is gone end the process: what is written to it fails. The former
/// handlers come back at the end. One lives at a time.
class InterruptFlag {
public:
    explicit InterruptFlag(void (*next)(int) = nullptr);
    ~InterruptFlag();
    InterruptFlag(InterruptFlag const&) = delete;
    InterruptFlag& operator=(InterruptFlag const&) = delete;

    /// False where none lives.
    static std::atomic<bool> const& flag();

private:
    struct sigaction m_former[4];
};

}  // namespace zelk
