// Rows of a raster in bands on the OpenMP team.
//
// Waking the team takes some microseconds, a hundred where it sleeps and the machine is busy: small
// rasters stay on the calling thread. Each thread gets one band of neighbouring rows. A row
// function writes nothing but its own row, so that results are the same for any number of threads.
#pragma once

#include <cstdint>

/// Bytes of a raster, in all the images that a pass touches, from which on a team is worth waking.
constexpr std::int64_t kBytesWorthATeam = 1 << 20;

/// `bytesALine` is what one of `count` lines reads and writes.
constexpr bool isWorthATeam(int count, std::int64_t bytesALine) {
    return count * bytesALine >= kBytesWorthATeam;
}

/// Calls `row(y)` for each row from 0 to height - 1, in any order, perhaps on several threads.
/// `bytesARow` is what one row reads and writes. `row` throws nothing.
template <class Row>
void forEachRow(int height, std::int64_t bytesARow, Row row) {
    if (!isWorthATeam(height, bytesARow)) {
        for (int y = 0; y < height; ++y) row(y);
        return;
    }
#pragma omp parallel for schedule(static)
    for (int y = 0; y < height; ++y) row(y);
}
