// PixelMemory: the pixels of one image, owned.
//
// Large blocks come from the system in huge pages where it has them, and stay with the process when
// an image goes: the next one of that size takes them over. Frames of a sequence so touch no new
// memory, which costs more than their pixels do. At most 1 GiB is kept; it counts as free for who
// asks whether an image fits (keptBytes), and is given back when memory is short or on demand.
// Threads may share all of this.
#pragma once

#include <cstddef>
#include <utility>

class PixelMemory {
public:
    enum class Start { kZeroed, kAnything };

    PixelMemory() = default;
    /// Without data() when there is no memory. Of 0 bytes too there is data().
    PixelMemory(std::size_t bytes, Start start);
    ~PixelMemory() { giveBack(); }
    PixelMemory(PixelMemory&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)), m_bytes(other.m_bytes) {}
    PixelMemory& operator=(PixelMemory&& other) noexcept {
        std::swap(m_data, other.m_data);
        std::swap(m_bytes, other.m_bytes);
        return *this;
    }

    unsigned char* data() const { return m_data; }
    /// All bytes become 0. Pages of a large block cost nothing until they are touched again.
    void zero();
    void giveBack();

    /// Bytes that no image has now and the process still holds.
    static std::size_t keptBytes();
    /// Gives those to the system.
    static void releaseKept();

private:
    unsigned char* m_data = nullptr;
    std::size_t m_bytes = 0;
};
