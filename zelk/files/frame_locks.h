// Locks by which runs share the frames of a folder, on one machine or over a shared file system.
//
// A lock is a hidden file beside the frame (where links under its name lead), `.FRAME.zelk-lock`,
// whose one line names its holder. It is made complete beside its place and linked into it, which
// fails where one is there; file systems without links create it there exclusively. A holder
// touches its locks every 10 s.
//
// A lock whose holder is dead is taken over: on the holder's own machine that is known at once,
// from another one when the lock was not touched for 2 minutes by the file system's own clock. Who
// takes it over first locks, in the same way, the name of that very lock, so that of several that
// found it dead one replaces it.
#pragma once

#include <condition_variable>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace zelk {

/// For several threads.
class FrameLocks {
public:
    FrameLocks();
    ~FrameLocks();  ///< releases all
    FrameLocks(FrameLocks const&) = delete;
    FrameLocks& operator=(FrameLocks const&) = delete;

    /// Whether the file is this run's to make. False when a living run has it, or one that nothing
    /// is known of. Throws an output error where the folder takes no file.
    bool take(std::filesystem::path const& target);
    /// Nothing for a file that was not taken.
    void release(std::filesystem::path const& target);

private:
    std::mutex m_mutex;
    std::condition_variable_any m_woken;
    std::map<std::filesystem::path, std::string> m_held;  ///< by lock file: its line
    std::jthread m_heart;
};

/// "HOST, process ID" of who has the lock of a file; empty where there is none.
std::string lockHolder(std::filesystem::path const& target);

bool isLockName(std::string_view name);
/// Removes a lock whose holder is dead; `lock` is its own file.
void sweepLock(std::filesystem::path const& lock);

}  // namespace zelk
