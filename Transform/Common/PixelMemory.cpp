// Blocks of PixelMemory: mapped for themselves from 1 MiB on, from the heap below.
#include "Transform/Common/PixelMemory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace {

constexpr std::size_t kLeastMapped = std::size_t{1} << 20;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kMostKept = std::size_t{1} << 30;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMapsAny = false;  // the sanitizers watch the heap's blocks
#elif defined(__has_feature)
constexpr bool kMapsAny = !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool kMapsAny = true;
#endif

bool isMapped(std::size_t bytes) { return kMapsAny && bytes >= kLeastMapped; }

/// Whole huge pages, so that a block of them holds no other's.
std::size_t mappedSize(std::size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

/// Zeroed, at a huge page's start; null when there is no memory.
unsigned char* mapBlock(std::size_t size) {
    std::size_t const room = size + kHugePage;
    if (room < size) return nullptr;
    void* const raw =
        ::mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (raw == MAP_FAILED) return nullptr;
    auto* const first = static_cast<unsigned char*>(raw);
    std::size_t const before =
        (kHugePage - reinterpret_cast<std::uintptr_t>(raw) % kHugePage) % kHugePage;
    if (before > 0) ::munmap(first, before);
    if (before < kHugePage) ::munmap(first + before + size, kHugePage - before);
    ::madvise(first + before, size, MADV_HUGEPAGE);  // a wish: without it pages are small
    return first + before;
}

struct Block {
    unsigned char* data;
    std::size_t size;
};

/// Blocks that no image has, oldest first.
class KeptBlocks {
public:
    unsigned char* take(std::size_t size) {
        const std::lock_guard lock(m_mutex);
        auto const found = std::find_if(m_blocks.rbegin(), m_blocks.rend(),
                                        [size](Block const& b) { return b.size == size; });
        if (found == m_blocks.rend()) return nullptr;
        unsigned char* const data = found->data;
        m_bytes -= size;
        m_blocks.erase(std::next(found).base());
        return data;
    }

    void keep(Block const& block) {
        const std::lock_guard lock(m_mutex);
        try {
            m_blocks.push_back(block);
        } catch (std::bad_alloc const&) {
            ::munmap(block.data, block.size);
            return;
        }
        m_bytes += block.size;
        dropTo(kMostKept);
    }

    void release() {
        const std::lock_guard lock(m_mutex);
        dropTo(0);
    }

    std::size_t bytes() {
        const std::lock_guard lock(m_mutex);
        return m_bytes;
    }

private:
    void dropTo(std::size_t most) {
        auto block = m_blocks.begin();
        for (; m_bytes > most; ++block) {
            ::munmap(block->data, block->size);
            m_bytes -= block->size;
        }
        m_blocks.erase(m_blocks.begin(), block);
    }

    std::mutex m_mutex;
    std::vector<Block> m_blocks;
    std::size_t m_bytes = 0;
};

/// Never destroyed: images may go after everything else.
KeptBlocks& kept() {
    static auto* const blocks = new KeptBlocks;
    return *blocks;
}

}  // namespace

PixelMemory::PixelMemory(std::size_t bytes, Start start) : m_bytes(bytes) {
    if (!isMapped(bytes)) {
        std::size_t const some = std::max<std::size_t>(bytes, 1);
        m_data = static_cast<unsigned char*>(start == Start::kZeroed ? std::calloc(some, 1)
                                                                     : std::malloc(some));
        return;
    }
    std::size_t const size = mappedSize(bytes);
    if (size < bytes) return;
    m_data = kept().take(size);
    if (m_data) {
        if (start == Start::kZeroed) zero();
        return;
    }
    m_data = mapBlock(size);
    if (m_data) return;
    releaseKept();
    m_data = mapBlock(size);
}

void PixelMemory::zero() {
    if (!m_data) return;
    if (!isMapped(m_bytes) || ::madvise(m_data, mappedSize(m_bytes), MADV_DONTNEED) != 0)
        std::memset(m_data, 0, m_bytes);
}

void PixelMemory::giveBack() {
    if (!m_data) return;
    if (isMapped(m_bytes))
        kept().keep({m_data, mappedSize(m_bytes)});
    else
        std::free(m_data);
    m_data = nullptr;
}

std::size_t PixelMemory::keptBytes() { return kept().bytes(); }

void PixelMemory::releaseKept() { kept().release(); }
