// The import of tracking data over the number of its keys, and a frame's time with that many.
//
// `x_per_key` is the time of a key over that in the smallest import of the same run: 1 where the
// time grows in proportion. `x_frame` is the time of a small frame over that of the smallest track:
// 1 where keys cost nothing. Each import first checks that all of its keys came up.
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>

#include "zelk/render/module_road.h"
#include "zelk/render/track_import.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/track_use.h"
#include "zelk/tracks/track.h"

namespace {

using namespace zelk;

constexpr int kSmallest = 1000, kWidth = 64, kHeight = 36;

/// A file of `keys` samples on each corner, for the length of a scope.
struct TrackFile {
    explicit TrackFile(int keys) : path(newPath()) {
        std::ofstream out(path);
        out << fmt::format("Source Width {}\nSource Height {}\n", kWidth, kHeight);
        for (int corner = 0; corner < 4; ++corner) {
            out << fmt::format("ADBE Corner Pin-000{}\n", corner + 1);
            for (int frame = 0; frame < keys; ++frame)
                out << fmt::format("{}\t{:.3f}\t{:.3f}\n", frame,
                                   (corner % 2) * kWidth + frame % 97 * 0.01,
                                   (corner / 2) * kHeight + frame % 89 * 0.01);
        }
    }
    ~TrackFile() { std::remove(path.c_str()); }
    static std::string newPath() {
        static int count = 0;
        return fmt::format("/tmp/zelk-bench-{}-{}.txt", ::getpid(), count++);
    }
    std::string path;
};

struct Effect {
    Effect() : host(ZELK_MODULE) {
        Comp comp;
        comp.width = kWidth, comp.height = kHeight, comp.durationFrames = 5000;
        host.setComp(comp);
        host.resetParameters(kWidth, kHeight);
    }
    void import(TrackUse const& use, int keys) {
        PixelSize const size = {kWidth, kHeight};
        if (importTrack(host, {}, use, size, size) != 4u * static_cast<unsigned>(keys))
            throw std::runtime_error("keys are missing");
    }
    void render(int frame) {
        World layer(host.worldSpec(kWidth, kHeight, Depth::k8));
        ModuleRender const ask{"bench", {kWidth, kHeight}, Depth::k8, 1, false};
        renderByModule(host, layer, ask, frameRequest(host.comp(), frame));
    }
    Host host;
};

template <class Work>
double secondsOf(Work const& work) {
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void importKeys(benchmark::State& state, int keys) {
    const TrackFile small(kSmallest), file(keys);
    const TrackUse smallUse = readTrackUse({small.path}, TrackedPins::kTo);
    const TrackUse use = readTrackUse({file.path}, TrackedPins::kTo);
    Effect effect;
    double least = 1e9, seconds = 0;
    for (int i = 0; i < 5; ++i)
        least = std::min(least, secondsOf([&] { effect.import(smallUse, kSmallest); }));
    for (auto _ : state) seconds += secondsOf([&] { effect.import(use, keys); });
    double const perKey = seconds / static_cast<double>(state.iterations()) / keys;
    state.counters["us_per_key"] = perKey * 1e6 / 4;
    state.counters["x_per_key"] = perKey / (least / kSmallest);
}

void frames(benchmark::State& state, int keys) {
    const TrackFile small(kSmallest), file(keys);
    Effect few, many;
    few.import(readTrackUse({small.path}, TrackedPins::kTo), kSmallest);
    many.import(readTrackUse({file.path}, TrackedPins::kTo), keys);
    double least = 1e9, seconds = 0;
    for (int i = 0; i < 5; ++i)
        least = std::min(least, secondsOf([&] {
                             for (int frame = 0; frame < 200; ++frame) few.render(frame * 5);
                         }));
    int frame = 0;
    for (auto _ : state) seconds += secondsOf([&] { many.render(frame++ % 5000); });
    state.counters["x_frame"] = seconds / static_cast<double>(state.iterations()) / (least / 200);
}

}  // namespace

int main(int argc, char** argv) {
    for (int keys : {1000, 10000, 100000}) {
        benchmark::RegisterBenchmark(fmt::format("import/keys:{}", keys).c_str(), importKeys, keys)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(fmt::format("frame/keys:{}", keys).c_str(), frames, keys)
            ->Unit(benchmark::kMicrosecond)
            ->Iterations(5000);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
    benchmark::RunSpecifiedBenchmarks();
}
