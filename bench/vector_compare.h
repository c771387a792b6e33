// What the benchmarks of vector code share: frames, and a comparison of scalar and vector code on
// every instruction set of this machine.
#pragma once

#include <benchmark/benchmark.h>
#include <hwy/targets.h>
#include <omp.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace zelk_bench {

constexpr int kWidth = 1920, kHeight = 1080;

using Picture = std::vector<unsigned char>;

/// A picture without structure, every channel of 1, 2 or 4 bytes within the format's range.
inline Picture makeNoise(int channelBytes, int channelsOfPixel = 4) {
    std::size_t const channels = static_cast<std::size_t>(kWidth) * kHeight * channelsOfPixel;
    Picture picture(channels * static_cast<std::size_t>(channelBytes));
    std::uint32_t state = 12345;
    auto const next = [&state] { return (state = state * 1664525u + 1013904223u) >> 16; };
    for (std::size_t i = 0; i < channels; ++i) {
        const std::uint32_t v = next();
        if (channelBytes == 1) {
            picture[i] = static_cast<unsigned char>(v);
        } else if (channelBytes == 2) {
            auto const channel = static_cast<unsigned short>(v / 2);
            std::memcpy(&picture[i * 2], &channel, sizeof channel);
        } else {
            float const channel = static_cast<float>(v) / 65535.0f;
            std::memcpy(&picture[i * 4], &channel, sizeof channel);
        }
    }
    return picture;
}

/// On one thread the time that it had a processor, so that other work of the machine doesn't count;
/// on more the time that passed.
inline double secondsNow() {
    timespec now{};
    clock_gettime(omp_get_max_threads() == 1 ? CLOCK_THREAD_CPUTIME_ID : CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// Seconds of the fastest of seven calls, each after `prepare`, which is not measured.
template <class Function, class Prepare>
double secondsOf(Function function, Prepare prepare) {
    double best = 1e9;
    for (int i = 0; i < 7; ++i) {
        prepare();
        double const start = secondsNow();
        function();
        benchmark::ClobberMemory();
        best = std::min(best, secondsNow() - start);
    }
    return best;
}

/// 0 gives the choice back to the processor.
inline void forceTarget(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

/// Measures `scalar` and `vector`, which make `frame` of what `prepare` leaves, and writes the
/// figures. False, with an error noted, where they disagree.
template <class Scalar, class Vector, class Prepare>
bool compare(benchmark::State& state, Picture& frame, Scalar scalar, Vector vector,
             Prepare prepare) {
    double const scalarSeconds = secondsOf(scalar, prepare);
    const Picture wanted = frame;
    for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
        forceTarget(target);
        double const seconds = secondsOf(vector, prepare);
        state.counters[std::string("x_") + hwy::TargetName(target)] = scalarSeconds / seconds;
        forceTarget(0);
        if (frame != wanted) {
            state.SkipWithError("vectors change the picture");
            return false;
        }
    }
    double const seconds = secondsOf(vector, prepare);
    state.counters["x_memcpy"] =
        seconds / secondsOf([&] { std::memcpy(frame.data(), wanted.data(), frame.size()); }, [] {});
    return true;
}

}  // namespace zelk_bench
