// The frames of a run that shares them with others (`--share`): which are its own to make, and how
// it waits for the rest.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zelk/files/frame_locks.h"
#include "zelk/sequence/whole_frames.h"

namespace zelk {

/// Whose a frame is: this run's, which has its lock then; another one's; nobody's any more, as its
/// file is whole.
enum class Share { kMine, kTaken, kWritten };

/// For one thread at a time, but for `release`. A run that doesn't share has all of its frames.
class SharedFrames {
public:
    /// `whole` must outlive it.
    SharedFrames(WholeFrames& whole, bool isShared) : m_whole(whole) {
        if (isShared) m_locks.emplace();
    }

    /// Throws as FrameLocks::take.
    Share take(std::filesystem::path const& file);
    /// Nothing for a file that was not taken.
    void release(std::filesystem::path const& file);

    /// What waiting asks and tells.
    struct Waiting {
        std::function<std::filesystem::path(int frame)> fileOf;
        std::function<bool()> isStopped;
        std::function<void(int frame)> noteWritten;  ///< of each frame, once
        /// Once, where there is anything to wait for: how many frames, and for whom.
        std::function<void(std::size_t count, std::string const& holder)> noteHolder;
    };
    /// Waits for frames that other runs have, until one of them is free: those that are not written
    /// by then. None when all are written, or when the run is stopped.
    std::vector<int> await(std::vector<int> frames, Waiting const& waiting);

private:
    WholeFrames& m_whole;
    std::optional<FrameLocks> m_locks;
};

}  // namespace zelk
