// The host's relocatable memory: blocks that an effect reaches through a handle.
//
// A new block is zeroed and not locked. Unlocking one that is not locked is harmless: effects
// unlock a block as soon as they have it. Locks count, and go with the block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

#include "hostkit/call_monitor.h"

namespace zelk {

class HandleLedger {
public:
    explicit HandleLedger(CallMonitor& monitor) : m_monitor(monitor) {}

    /// Null when there is no memory.
    PF_Handle make(std::uint64_t bytes);
    /// The address of the bytes; null for a handle that is not one of these.
    void* lock(PF_Handle handle);
    /// False for a handle that is not one of these; so with dispose.
    bool unlock(PF_Handle handle);
    bool dispose(PF_Handle handle);

    /// A block that the effect left with the host, such as its global data: no longer owed.
    void handOver(PF_Handle handle);

private:
    struct FreeDeleter {
        void operator()(void* bytes) const;
    };
    struct Block {
        void* address = nullptr;  ///< what the handle points at
        std::unique_ptr<void, FreeDeleter> bytes;
        int locks = 0;
        bool handedOver = false;
    };
    Block* find(PF_Handle handle);

    CallMonitor& m_monitor;
    std::map<PF_Handle, std::unique_ptr<Block>> m_blocks;
};

}  // namespace zelk
