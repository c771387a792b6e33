// Copying and zeroing of blocks of rows, in bands on the OpenMP team where they are large.
//
// A block is `rows` rows of `rowBytes` bytes, `stride` bytes apart; strides may be negative. Rows
// that follow each other without a gap go as one piece, which the library moves past the caches.
#pragma once

#include <omp.h>

#include <cstddef>
#include <cstring>

#include "Transform/Common/RowBands.h"

namespace pixel_blocks {

/// Calls `band(first, end)` for parts of 0..rows that make up all of it, perhaps on several
/// threads.
template <class Band>
void forEachBand(int rows, std::size_t rowBytes, Band band) {
    if (rows <= 0) return;
    if (!isWorthATeam(rows, static_cast<std::int64_t>(rowBytes))) return band(0, rows);
#pragma omp parallel
    {
        auto const bounds = [rows, threads = omp_get_num_threads()](int thread) {
            return static_cast<int>(std::int64_t{rows} * thread / threads);
        };
        int const thread = omp_get_thread_num();
        band(bounds(thread), bounds(thread + 1));
    }
}

}  // namespace pixel_blocks

/// The blocks do not overlap.
inline void copyBlock(void* to, std::ptrdiff_t toStride, void const* from,
                      std::ptrdiff_t fromStride, std::size_t rowBytes, int rows) {
    auto* const target = static_cast<unsigned char*>(to);
    auto const* const source = static_cast<unsigned char const*>(from);
    bool const isOnePiece =
        toStride == fromStride && toStride == static_cast<std::ptrdiff_t>(rowBytes);
    pixel_blocks::forEachBand(rows, rowBytes, [=](int first, int end) {
        if (isOnePiece) {
            std::memcpy(target + first * toStride, source + first * fromStride,
                        rowBytes * static_cast<std::size_t>(end - first));
            return;
        }
        for (int y = first; y < end; ++y)
            std::memcpy(target + y * toStride, source + y * fromStride, rowBytes);
    });
}

inline void zeroBlock(void* to, std::ptrdiff_t stride, std::size_t rowBytes, int rows) {
    auto* const target = static_cast<unsigned char*>(to);
    bool const isOnePiece = stride == static_cast<std::ptrdiff_t>(rowBytes);
    pixel_blocks::forEachBand(rows, rowBytes, [=](int first, int end) {
        if (isOnePiece) {
            std::memset(target + first * stride, 0,
                        rowBytes * static_cast<std::size_t>(end - first));
            return;
        }
        for (int y = first; y < end; ++y) std::memset(target + y * stride, 0, rowBytes);
    });
}
