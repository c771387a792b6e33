// Blocks behind handles, and the account of who holds them.
#include "hostkit/handle_ledger.h"

#include <cstdlib>

namespace zelk {

void HandleLedger::FreeDeleter::operator()(void* bytes) const { std::free(bytes); }

HandleLedger::Block* HandleLedger::find(PF_Handle handle) {
    auto const found = m_blocks.find(handle);
    return found == m_blocks.end() ? nullptr : found->second.get();
}

PF_Handle HandleLedger::make(std::uint64_t bytes) {
    auto block = std::make_unique<Block>();
    block->bytes.reset(std::calloc(bytes > 0 ? bytes : 1, 1));
    block->address = block->bytes.get();
    if (!block->address) return nullptr;
    PF_Handle const handle = &block->address;
    m_blocks[handle] = std::move(block);
    ++m_monitor.outstanding.handles;
    return handle;
}

void* HandleLedger::lock(PF_Handle handle) {
    Block* const block = find(handle);
    if (!block) return nullptr;
    ++block->locks;
    ++m_monitor.outstanding.handleLocks;
    return block->address;
}

bool HandleLedger::unlock(PF_Handle handle) {
    Block* const block = find(handle);
    if (!block) return false;
    if (block->locks > 0) {
        --block->locks;
        --m_monitor.outstanding.handleLocks;
    }
    return true;
}

bool HandleLedger::dispose(PF_Handle handle) {
    Block const* const block = find(handle);
    if (!block) return false;
    m_monitor.outstanding.handleLocks -= block->locks;
    if (!block->handedOver) --m_monitor.outstanding.handles;
    m_blocks.erase(handle);
    return true;
}

void HandleLedger::handOver(PF_Handle handle) {
    Block* const block = find(handle);
    if (!block || block->handedOver) return;
    block->handedOver = true;
    --m_monitor.outstanding.handles;
}

}  // namespace zelk
