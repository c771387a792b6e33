// Cost of the plain blur over its radius at 1920 x 1080: format x radius x threads.
//
// The cost per pixel must not grow with the number of taps. The peer in the same run is radius
// 1.9999999, which is taken for a whole one and makes two passes: `x_two_passes` is the time over
// that. All the radii below make four passes and a mix. What still grows with the radius is the
// start of each line, which visits radius + 1 pixels once: at most half a line more. Each case
// first checks its result: the threaded blur has to give the bytes of the unthreaded one.
#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "RenderLib/Transform/CommonRender_progressiveBlur.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;
constexpr float kTwoPasses = 1.9999999f;

struct Format {
    char const* name;
    QV_RasterFormat code;
};
constexpr Format kFormats[] = {
    {"8", kFormatARGB8}, {"16", kFormatARGB15}, {"float", kFormatARGB32}};

/// Stripes and a slope: every channel below white in each format.
void paint(PluginRaster_Memory_Impl const& image) {
    int const depth = image.info().pixelBytes / 4;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth * 4; ++x) {
            unsigned char* pixel = image.pixel(0, y);
            int const v = (x * 7 + y * 13) & 255;
            if (depth == 1)
                pixel[x] = static_cast<unsigned char>(v);
            else if (depth == 2)
                reinterpret_cast<unsigned short*>(pixel)[x] = static_cast<unsigned short>(v * 128);
            else
                reinterpret_cast<float*>(pixel)[x] = static_cast<float>(v) / 255.0f;
        }
}

void blurOnce(PluginRaster_Memory_Impl const& image, float radius) {
    PluginHost_Memory_Impl host({}, image.info());
    QV_Line2D line;
    auto info = image.info();
    CommonRender_progressiveBlur(&host, line, radius, 1.0f, 0.0f, 1.0f, 0, &info, false, -1, false);
}

double secondsOf(PluginRaster_Memory_Impl const& image, float radius) {
    double best = 1e9;
    for (int i = 0; i < 3; ++i) {
        auto const start = std::chrono::steady_clock::now();
        blurOnce(image, radius);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count());
    }
    return best;
}

std::vector<unsigned char> blurredBytes(Format const& format, float radius, int threads) {
    omp_set_num_threads(threads);
    const PluginRaster_Memory_Impl image(format.code, kWidth, kHeight);
    paint(image);
    blurOnce(image, radius);
    return {image.pixel(0, 0), image.pixel(0, kHeight - 1) + image.info().rowBytes};
}

void plainBlur(benchmark::State& state, Format format, float radius, int threads) {
    if (blurredBytes(format, radius, threads) != blurredBytes(format, radius, 1)) {
        state.SkipWithError("threads change the picture");
        return;
    }
    omp_set_num_threads(threads);
    const PluginRaster_Memory_Impl image(format.code, kWidth, kHeight);
    paint(image);
    double const twoPasses = secondsOf(image, kTwoPasses);
    auto const start = std::chrono::steady_clock::now();
    for (auto _ : state) blurOnce(image, radius);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    double const pixels = static_cast<double>(kWidth) * kHeight;
    state.counters["Mpixel/s"] =
        benchmark::Counter(pixels * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["x_two_passes"] =
        taken.count() / static_cast<double>(state.iterations()) / twoPasses;
}

}  // namespace

int main(int argc, char** argv) {
    for (Format const& format : kFormats)
        for (float radius : {1.0f, 2.5f, 20.5f, 200.5f, 500.5f})
            for (int threads : {1, 2})
                benchmark::RegisterBenchmark(("plainBlur/" + std::string(format.name) +
                                              "/radius:" + std::to_string(radius).substr(0, 5) +
                                              "/threads:" + std::to_string(threads))
                                                 .c_str(),
                                             plainBlur, format, radius, threads)
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
    benchmark::RunSpecifiedBenchmarks();
}
