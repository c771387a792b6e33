// Times of interleaved runs: what the programs that print tables share.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace zelk_bench {

template <class Work>
double millisecondsOf(Work const& work) {
    auto const start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start;
    return taken.count();
}

/// Of at least one value; the upper of two in the middle.
inline double median(std::vector<double> values) {
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace zelk_bench
