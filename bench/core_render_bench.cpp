// Speed of one core render: format x quality x threads at 1920 x 1080, through a tilted quad that
// fills the frame, beside a memcpy of the same picture in the same run.
//
// Edge runs and premultiplication of the frame stand beside it.
//
// Each case first checks its result: the threaded render has to give the bytes of the unthreaded
// one, and vector code on every instruction set those of the scalar code. Figures, of the fastest
// of five: `x_AVX2` and its like, the time of the scalar code over the time of the vector code
// forced to that instruction set; `x_memcpy`, the time of the best one over that of a memcpy of the
// frame. `Mpixel/s` are of destination pixels.
#include <benchmark/benchmark.h>
#include <hwy/targets.h>
#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

constexpr int kWidth = 1920, kHeight = 1080;

struct Format {
    char const* name;
    QV_RasterFormat code;
    int pixelBytes;
    FormatFunctions scalar, vector;
};
template <class Trait>
constexpr Format formatOf(char const* name) {
    return {name, Trait::kFormat, Trait::kPixelBytes, scalarFunctionsOf<Trait>(),
            formatFunctionsOf<Trait>()};
}
constexpr Format kFormats[] = {formatOf<PIXEL_ARGB8>("8"), formatOf<PIXEL_ARGB15>("16"),
                               formatOf<PIXEL_ARGB32>("float")};

struct Quality {
    char const* name;
    int filter, sizeIndex, channels;
};
constexpr Quality kQualities[] = {{"nearest", 0, 0, 4},
                                  {"bilinear", 1, 0, 4},
                                  {"4x4", 9, 0, 4},
                                  {"6x6", 12, 1, 4},
                                  {"8x8", 12, 2, 4},
                                  {"superSampled", kFilterSuperSampled, 0, 4},
                                  {"bilinear_plane", 1, 0, 1},
                                  {"4x4_plane", 9, 0, 1},
                                  {"6x6_plane", 12, 1, 1},
                                  {"8x8_plane", 12, 2, 1}};

using Picture = std::vector<unsigned char>;

PluginHost_API::RasterInfo describe(Picture& picture, Format const& format, int channels) {
    PluginHost_API::RasterInfo info{};
    info.data = picture.data();
    info.format = format.code;
    info.width = kWidth;
    info.height = kHeight;
    info.pixelBytes = format.pixelBytes / 4 * channels;
    info.rowBytes = kWidth * info.pixelBytes;
    info.pixelAspect = info.rangeScale = 1.0f;
    return info;
}

/// A picture without structure, every channel within the format's range.
Picture makeNoise(Format const& format, int channelsOfPixel = 4) {
    Picture picture(static_cast<std::size_t>(kWidth) * kHeight * format.pixelBytes / 4 *
                    channelsOfPixel);
    std::uint32_t state = 12345;
    auto const next = [&state] { return (state = state * 1664525u + 1013904223u) >> 16; };
    const std::size_t channels = picture.size() / (static_cast<std::size_t>(format.pixelBytes) / 4);
    for (std::size_t i = 0; i < channels; ++i) {
        const std::uint32_t v = next();
        if (format.pixelBytes == 4) {
            picture[i] = static_cast<unsigned char>(v);
        } else if (format.pixelBytes == 8) {
            auto const channel = static_cast<unsigned short>(v / 2);
            std::memcpy(&picture[i * 2], &channel, sizeof channel);
        } else {
            float const channel = static_cast<float>(v) / 65535.0f;
            std::memcpy(&picture[i * 4], &channel, sizeof channel);
        }
    }
    return picture;
}

/// The corner pin that is timed: slightly tilted, past all four edges of the frame.
CoreRenderArguments tiltedPins(Quality const& quality) {
    CoreRenderArguments core;
    core.quadMode = 3;
    core.filter = quality.filter;
    core.sizeIndex = quality.sizeIndex;
    core.toPins[0] = {-0.02, -0.03};
    core.toPins[1] = {-0.05, 1.06};
    core.toPins[2] = {1.04, -0.01};
    core.toPins[3] = {1.02, 1.02};
    return core;
}

void renderOnce(Picture& source, Picture& frame, Format const& format, Quality const& quality,
                FormatFunctions const& functions) {
    auto const src = describe(source, format, quality.channels);
    auto const dst = describe(frame, format, quality.channels);
    PluginHost_Memory_Impl host(src, dst);
    CoreRenderArguments core = tiltedPins(quality);
    RenderSettings settings;
    settings.srcRight = settings.dstRight = kWidth - 1;
    settings.srcBottom = settings.dstBottom = kHeight - 1;
    setDefaultSuperSamplePattern(&settings);
    coreTransformRender(
        {&host, core, src, dst, true, quality.channels == 1, &settings, true, false}, functions);
}

/// Seconds of the fastest of five calls, each after `prepare`, which is not measured.
template <class Function, class Prepare>
double secondsOf(Function function, Prepare prepare) {
    double best = 1e9;
    for (int i = 0; i < 5; ++i) {
        prepare();
        auto const start = std::chrono::steady_clock::now();
        function();
        benchmark::ClobberMemory();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count());
    }
    return best;
}

/// 0 gives the choice back to the processor.
void forceTarget(std::int64_t target) {
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

void coreRender(benchmark::State& state, Format format, Quality quality, int threads) {
    Picture source = makeNoise(format, quality.channels);
    Picture alone(source.size()), frame(source.size());
    auto const scalar = [&] { renderOnce(source, frame, format, quality, format.scalar); };
    auto const vector = [&] { renderOnce(source, frame, format, quality, format.vector); };
    omp_set_num_threads(1);
    renderOnce(source, alone, format, quality, format.scalar);
    omp_set_num_threads(threads);
    if (!compare(state, frame, scalar, vector, [] {})) return;
    if (frame != alone) {
        state.SkipWithError("threads change the picture");
        return;
    }
    for (auto _ : state) vector();
    double const pixels = static_cast<double>(kWidth) * kHeight;
    state.counters["Mpixel/s"] =
        benchmark::Counter(pixels * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

struct Edge {
    char const* name;
    QV_LineFunc FormatFunctions::*function;
    int channels;
};
constexpr Edge kEdges[] = {{"bilinear", &FormatFunctions::edgeBilinear, 4},
                           {"bilinear_plane", &FormatFunctions::edgeBilinear_1, 1},
                           {"superSampled", &FormatFunctions::edgeBiCubic4x4Ss, 4}};

/// The frame as edge runs of `length` pixels, half covered, slightly slanted. The outline of a
/// polygon alone would take too little of a frame's time.
void edgeRuns(benchmark::State& state, Format format, Edge edge, int length) {
    Picture source = makeNoise(format, edge.channels), frame(source.size());
    auto const info = describe(source, format, edge.channels);
    RenderSettings settings;
    settings.srcData = source.data();
    settings.srcRowBytes = info.rowBytes;
    settings.srcMaxX = kWidth - 1, settings.srcMaxY = kHeight - 1;
    settings.maxValue = format.scalar.maxValue;
    setKernelTransformSize(&settings, 0, 1.0f);
    setInterpLineFunc(&settings, 0, 0, kFilterParzen, false, 0, 0, false, 0, 0, 0, false, true);
    setDefaultSuperSamplePattern(&settings);
    const std::vector<float> coverage(static_cast<std::size_t>(length), 0.5f);
    auto const runs = [&](QV_LineFunc function) {
        for (int i = 0; i + length <= kWidth * kHeight; i += length) {
            LineRenderStruct line{};
            line.x = i % kWidth, line.y = i / kWidth, line.w = 1;
            line.dx = 0.99, line.dy = 0.01, line.dw = 1e-7;
            line.count = length;
            line.dest = frame.data() + static_cast<std::ptrdiff_t>(i) * info.pixelBytes;
            line.coverage = coverage.data();
            function(&settings, &line);
        }
    };
    auto const vector = [&] { runs(format.vector.*edge.function); };
    if (!compare(
            state, frame, [&] { runs(format.scalar.*edge.function); }, vector, [] {}))
        return;
    for (auto _ : state) vector();
}

template <class Trait, bool Divides>
void premultiplication(benchmark::State& state, Format format) {
    using T = typename Trait::Channel;
    const Picture source = makeNoise(format);
    Picture frame(source.size());
    T* const pixels = reinterpret_cast<T*>(frame.data());
    auto const prepare = [&] { std::memcpy(frame.data(), source.data(), frame.size()); };
    auto const scalar = [&] {
        for (int i = 0; i < kWidth * kHeight; ++i)
            premult_detail::changePixel<Trait, T, Divides>(pixels + 4 * i, Trait::kAlpha);
    };
    auto const vector = [&] {
        for (int y = 0; y < kHeight; ++y)
            premultRowSimd(pixels + 4 * y * kWidth, kWidth, Trait::kAlpha, Divides);
    };
    if (!compare(state, frame, scalar, vector, prepare)) return;
    for (auto _ : state) {
        state.PauseTiming();
        prepare();
        state.ResumeTiming();
        vector();
    }
}

void registerPremultiplication() {
    auto const add = [](char const* name, auto function, Format const& format) {
        benchmark::RegisterBenchmark((std::string(name) + format.name).c_str(), function, format)
            ->Unit(benchmark::kMillisecond);
    };
    add("premultiply/", premultiplication<PIXEL_ARGB8, false>, kFormats[0]);
    add("premultiply/", premultiplication<PIXEL_ARGB15, false>, kFormats[1]);
    add("premultiply/", premultiplication<PIXEL_ARGB32, false>, kFormats[2]);
    add("unpremultiply/", premultiplication<PIXEL_ARGB8, true>, kFormats[0]);
    add("unpremultiply/", premultiplication<PIXEL_ARGB15, true>, kFormats[1]);
    add("unpremultiply/", premultiplication<PIXEL_ARGB32, true>, kFormats[2]);
}

}  // namespace

int main(int argc, char** argv) {
    for (Format const& format : kFormats)
        for (Quality const& quality : kQualities)
            for (int threads : {1, 2})
                benchmark::RegisterBenchmark(("coreRender/" + std::string(format.name) + "/" +
                                              quality.name + "/threads:" + std::to_string(threads))
                                                 .c_str(),
                                             coreRender, format, quality, threads)
                    ->UseRealTime()
                    ->Unit(benchmark::kMillisecond);
    for (Format const& format : kFormats)
        for (Edge const& edge : kEdges)
            for (int length : {4, 16})
                benchmark::RegisterBenchmark(("edgeRuns/" + std::string(format.name) + "/" +
                                              edge.name + "/length:" + std::to_string(length))
                                                 .c_str(),
                                             edgeRuns, format, edge, length)
                    ->Unit(benchmark::kMillisecond);
    registerPremultiplication();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
    benchmark::AddCustomContext("line functions", lineFuncSimdTarget());
    benchmark::RunSpecifiedBenchmarks();
}
