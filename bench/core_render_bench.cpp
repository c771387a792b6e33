// Speed of one core render: format x quality x threads at 1920 x 1080, through a tilted quad that
// fills the frame, beside a memcpy of the same picture in the same run.
// Edge runs stand beside it.
//
// Each case first checks its result: the threaded render has to give the bytes of the unthreaded
// one, and vector code on every instruction set those of the scalar code. Figures, of the fastest
// of seven: `x_AVX2` and its like, the time of the scalar code over the time of the vector code
// forced to that instruction set; `x_memcpy`, the time of the best one over that of a memcpy of the
// frame. `Mpixel/s` are of destination pixels.
#include <string>

#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "bench/vector_compare.h"
#include "host/PluginHost_Memory_Impl.h"

namespace {

using namespace zelk_bench;

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

void coreRender(benchmark::State& state, Format format, Quality quality, int threads) {
    Picture source = makeNoise(format.pixelBytes / 4, quality.channels);
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
    Picture source = makeNoise(format.pixelBytes / 4, edge.channels), frame(source.size());
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
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
    benchmark::AddCustomContext("line functions", lineFuncSimdTarget());
    benchmark::RunSpecifiedBenchmarks();
}
