// Handles over the C++ heap: one block holds the master pointer, followed by the bytes.
#include "platform/services/Handles.h"

#include <cstdlib>
#include <limits>

namespace {

struct alignas(std::max_align_t) Block {
    void* bytes;  ///< first, so that the block's address is the handle
};

}  // namespace

void** NewHandle(std::size_t bytes) {
    if (bytes > std::numeric_limits<std::size_t>::max() - sizeof(Block)) return nullptr;
    void* memory = std::calloc(1, sizeof(Block) + bytes);
    if (!memory) return nullptr;
    auto* block = static_cast<Block*>(memory);
    block->bytes = block + 1;
    return &block->bytes;
}

void HLock(void**) {}

void HUnlock(void**) {}

void DisposeHandle(void** handle) { std::free(handle); }
