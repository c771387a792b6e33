// The table of files and what reads it; see unfinished_files.h.
#include "zelk/files/unfinished_files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "zelk/files/quiet_libraries.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

constexpr int kInterruptions[] = {SIGINT, SIGTERM, SIGHUP};

/// Its name is whole whenever kAnnounced is seen.
enum SlotState { kFree, kBeingFilled, kAnnounced };
struct Slot {
    std::atomic<int> state = kFree;
    std::atomic<pid_t> program = 0;
    int folder = -1;
    char name[NAME_MAX + 1];
    std::string message;
};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

constexpr int kSlots = 4;

/// Never destroyed: it is read while the process ends.
Slot* slots() {
    static Slot* const all = new Slot[kSlots];
    return all;
}
std::atomic<Slot*> table = nullptr;  ///< slots(), for handlers

/// A program that was killed is gone in a moment; one that the kernel holds is not waited for.
void endProgram(pid_t program) {
    ::kill(program, SIGKILL);
    for (int turn = 0; turn < 100 && ::waitpid(program, nullptr, WNOHANG) == 0; ++turn)
        ::poll(nullptr, 0, 10);
}

void onExit() {
    std::string words;
    for (Slot const* slot = slots(); slot != slots() + kSlots; ++slot)
        if (slot->state == kAnnounced) words += slot->message;
    if (words.empty()) return;
    UnfinishedFile::removeAll();
    writeToStandardError(words);
    ::_exit(static_cast<int>(ExitCode::kOutput));
}

void onInterruption(int signal) {
    UnfinishedFile::removeAll();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// Only a default action is replaced, and for good: no moment is without a handler.
void watchForEnds() {
    [[maybe_unused]] static bool const isGuarded = std::atexit(onExit) == 0;
    std::signal(SIGXFSZ, SIG_IGN);  // a file too large is an error like a full disk
    for (int const signal : kInterruptions) {
        struct sigaction present {};
        if (::sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL)
            std::signal(signal, onInterruption);
    }
}

}  // namespace

UnfinishedFile::UnfinishedFile(int folder, std::string const& name, std::string message)
    : m_slot(-1) {
    table = slots();
    watchForEnds();
    if (name.size() > NAME_MAX) return;
    for (int i = 0; i < kSlots; ++i) {
        Slot& slot = slots()[i];
        int isFree = kFree;
        if (!slot.state.compare_exchange_strong(isFree, kBeingFilled)) continue;
        slot.folder = folder;
        std::strcpy(slot.name, name.c_str());
        slot.message = std::move(message);
        slot.program = 0;
        slot.state = kAnnounced;
        m_slot = i;
        return;
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (m_slot >= 0) slots()[m_slot].state = kFree;
}

void UnfinishedFile::writtenBy(pid_t program) {
    if (m_slot >= 0) slots()[m_slot].program = program;
}

void UnfinishedFile::removeAll() {
    Slot* const all = table;
    for (int i = 0; all && i < kSlots; ++i) {
        if (all[i].state != kAnnounced) continue;
        if (pid_t const program = all[i].program) endProgram(program);
        ::unlinkat(all[i].folder, all[i].name, 0);
    }
}

}  // namespace zelk
