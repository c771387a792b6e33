// Locks first, then files; see shared_frames.h.
#include "zelk/sequence/shared_frames.h"

#include <chrono>
#include <thread>

namespace zelk {

namespace fs = std::filesystem;

Share SharedFrames::take(fs::path const& file) {
    if (!m_locks) return Share::kMine;
    if (!m_locks->take(file)) return Share::kTaken;
    if (!m_whole.isWhole(file)) return Share::kMine;
    m_locks->release(file);
    return Share::kWritten;
}

void SharedFrames::release(fs::path const& file) {
    if (m_locks) m_locks->release(file);
}

std::vector<int> SharedFrames::await(std::vector<int> frames, Waiting const& waiting) {
    constexpr auto kTurn = std::chrono::milliseconds(200);
    for (bool isTold = false; !frames.empty(); isTold = true) {
        bool isFree = false;
        std::vector<int> still;
        for (int const frame : frames) {
            fs::path const file = waiting.fileOf(frame);
            Share const share = take(file);
            release(file);
            isFree = isFree || share == Share::kMine;
            if (share == Share::kWritten)
                waiting.noteWritten(frame);
            else
                still.push_back(frame);
        }
        frames = still;
        if (isFree || frames.empty()) break;
        if (waiting.isStopped()) return {};
        if (!isTold) waiting.noteHolder(frames.size(), lockHolder(waiting.fileOf(frames.front())));
        std::this_thread::sleep_for(kTurn);
    }
    return frames;
}

}  // namespace zelk
