// What limits the line functions: the parts of a frame alone, each within the first cache, beside
// the whole frame and a copy of it, in one run. Frames of 1920 by 1080 with four channels, one
// thread.
//
//   limits_bench [RUNS]      runs of each, 11 if left out
//
//   divide   two divisions a pixel, nothing else
//   places   positions of runs: what divides, and all around it
//   taps     a block's pixels from its positions on, the same block again and again
//   store    the frame's rows, written
//   copy     the frame's rows, read and written
//   frame    the engine's render: all of these, edges, and rows of the source that no cache holds
//
// Milliseconds, medians of interleaved runs. Parts overlap in a frame; none can go below its
// largest.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "bench/limits_bench.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Transform/Common/Transform_Core_Render/LineFuncBilinear-inl.h"
#include "Transform/Common/Transform_Core_Render/LineFuncKernel-inl.h"

HWY_BEFORE_NAMESPACE();
namespace line_simd {
namespace HWY_NAMESPACE {

#if ZELK_LINE_FUNC_SCALAR

void divideAll(LineRenderStruct const&, int) {}
void placeAll(LineRenderStruct const&, int) {}
template <class T, int Taps>
void sampleAll(RenderSettings const&, LineRenderStruct const&, int) {}

#else

/// The compiler takes memory to be read and written here.
HWY_INLINE void keep(void const* p) { asm volatile("" : : "r"(p) : "memory"); }

void divideAll(LineRenderStruct const& line, int pixels) {
    const hn::CappedTag<double, 8> d;
    alignas(64) double x[8], w[8], q[8];
    std::fill(std::begin(x), std::end(x), line.x);
    std::fill(std::begin(w), std::end(w), line.w);
    for (int i = 0; i < 2 * pixels; i += static_cast<int>(hn::MaxLanes(d))) {
        keep(x), keep(w);
        hn::Store(hn::Div(hn::Load(d, x), hn::Load(d, w)), d, q);
        keep(q);
    }
}

void placeAll(LineRenderStruct const& line, int pixels) {
    alignas(64) float u[kBlock], v[kBlock];
    Positions next(line);
    for (int i = 0; i < pixels; i += kBlock) {
        for (int k = 0; k < kBlock; k += kGroup) next.step(u + k, v + k);
        keep(u), keep(v);
    }
}

template <class T, int Taps>
void sampleAll(RenderSettings const& s, LineRenderStruct const& line, int pixels) {
    using Function = std::conditional_t<Taps == 2, Bilinear<T>, Kernel<T, 4, std::max(Taps, 4)> >;
    typename Function::Block b;
    alignas(64) T out[4 * kBlock];
    Positions next(line);
    for (int k = 0; k < kBlock; k += kGroup) next.step(b.u + k, b.v + k);
    for (int i = 0; i < pixels; i += kBlock) {
        Function::splitInside(s, kBlock, b);
        for (int k = 0; k < kBlock; k += kGroup) Function::sampleInside(s, b, k, out + 4 * k);
        keep(out), keep(&b);
    }
}

#endif  // ZELK_LINE_FUNC_SCALAR

template <class T>
void sampleByTaps(RenderSettings const& s, LineRenderStruct const& line, int taps, int pixels) {
    if (taps == 2) return sampleAll<T, 2>(s, line, pixels);
    if (taps == 4) return sampleAll<T, 4>(s, line, pixels);
    sampleAll<T, 8>(s, line, pixels);
}

/// `channelBytes` 1, 2 or 4; `taps` 2, 4 or 8.
void sampleAny(RenderSettings const& s, LineRenderStruct const& line, int channelBytes, int taps,
               int pixels) {
    if (channelBytes == 1) return sampleByTaps<unsigned char>(s, line, taps, pixels);
    if (channelBytes == 2) return sampleByTaps<unsigned short>(s, line, taps, pixels);
    sampleByTaps<float>(s, line, taps, pixels);
}

}  // namespace HWY_NAMESPACE
}  // namespace line_simd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <fmt/format.h>
#include <omp.h>

#include <cstdio>
#include <cstdlib>

#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "bench/medians.h"
#include "host/PluginHost_Memory_Impl.h"

namespace line_simd {
HWY_EXPORT(divideAll);
HWY_EXPORT(placeAll);
HWY_EXPORT(sampleAny);
}  // namespace line_simd

namespace {

using zelk_bench::median;
using zelk_bench::millisecondsOf;

constexpr int kWidth = 1920, kHeight = 1080, kPixels = kWidth * kHeight;

struct Format {
    char const* name;
    QV_RasterFormat code;
    int pixelBytes;
    FormatFunctions functions;
};
template <class Trait>
constexpr Format formatOf(char const* name) {
    return {name, Trait::kFormat, Trait::kPixelBytes, formatFunctionsOf<Trait>()};
}
constexpr Format kFormats[] = {formatOf<PIXEL_ARGB8>("8 bit"), formatOf<PIXEL_ARGB15>("16 bit"),
                               formatOf<PIXEL_ARGB32>("float")};

struct Quality {
    char const* name;
    int filter, sizeIndex, taps;
};
constexpr Quality kQualities[] = {{"bilinear", 1, 0, 2}, {"4 x 4", 4, 0, 4}, {"8 x 8", 12, 2, 8}};

/// The tilted quad of opencv_bench.
constexpr QV_UnitPoint kPins[4] = {{-0.02, -0.03}, {-0.05, 1.06}, {1.04, -0.01}, {1.02, 1.02}};

std::vector<unsigned char> makePicture(Format const& format) {
    std::vector<unsigned char> picture(std::size_t{kPixels} *
                                       static_cast<std::size_t>(format.pixelBytes));
    std::uint32_t state = 12345;
    for (std::size_t i = 0; i < picture.size(); ++i) {
        state = state * 1664525u + 1013904223u;
        if (format.pixelBytes < 16)
            picture[i] = static_cast<unsigned char>(i % 2 == 0 ? state >> 24 : state >> 26);
        else if (i % 4 == 0)
            reinterpret_cast<float&>(picture[i]) = static_cast<float>(state >> 16) / 65536.0f;
    }
    return picture;
}

/// One block in the picture's middle, as a scan of the quad has it.
LineRenderStruct middleRun() {
    LineRenderStruct line{};
    line.x = 600.25, line.y = 500.5, line.w = 1.0;
    line.dx = 0.95, line.dy = 0.004, line.dw = 1e-6;
    line.count = kWidth;
    return line;
}

class Parts {
public:
    Parts(Format const& format, Quality const& quality)
        : m_format(format), m_quality(quality), m_from(makePicture(format)), m_to(m_from.size()) {
        m_settings.srcData = m_from.data();
        m_settings.srcRowBytes = kWidth * format.pixelBytes;
        m_settings.srcPixelBytes = format.pixelBytes;
        m_settings.srcMaxX = kWidth - 1, m_settings.srcMaxY = kHeight - 1;
        m_settings.maxValue = format.functions.maxValue;
        m_settings.taps = quality.taps;
        if (quality.taps > 2)
            setInterpLineFunc(&m_settings, 0, 0, quality.filter, false, 0, 0, false, 0, 0, 0, false,
                              true);
    }

    void render() {
        auto const src = describe(m_from), dst = describe(m_to);
        PluginHost_Memory_Impl host(src, dst);
        CoreRenderArguments core;
        core.quadMode = kQuadFromToTo;
        core.filter = m_quality.filter;
        core.sizeIndex = m_quality.sizeIndex;
        std::copy(std::begin(kPins), std::end(kPins), core.toPins);
        coreTransformRender({&host, core, src, dst, true, false, nullptr, true, false},
                            m_format.functions);
    }
    void sample() {
        HWY_DYNAMIC_DISPATCH(line_simd::sampleAny)
        (m_settings, m_run, m_format.pixelBytes / 4, m_quality.taps, kPixels);
    }
    void place() { HWY_DYNAMIC_DISPATCH(line_simd::placeAll)(m_run, kPixels); }
    void divide() { HWY_DYNAMIC_DISPATCH(line_simd::divideAll)(m_run, kPixels); }
    void store() { std::memset(m_to.data(), 1, m_to.size()); }
    void copy() { std::memcpy(m_to.data(), m_from.data(), m_to.size()); }

private:
    PluginHost_API::RasterInfo describe(std::vector<unsigned char>& picture) const {
        PluginHost_API::RasterInfo info{};
        info.data = picture.data();
        info.format = m_format.code;
        info.width = kWidth, info.height = kHeight;
        info.rowBytes = kWidth * m_format.pixelBytes;
        info.pixelBytes = m_format.pixelBytes;
        info.pixelAspect = info.rangeScale = 1.0f;
        return info;
    }

    Format const& m_format;
    Quality const& m_quality;
    std::vector<unsigned char> m_from, m_to;
    RenderSettings m_settings;
    LineRenderStruct m_run = middleRun();
};

void measure(Format const& format, Quality const& quality, int runs) {
    constexpr void (Parts::*kParts[])() = {&Parts::divide, &Parts::place, &Parts::sample,
                                           &Parts::store,  &Parts::copy,  &Parts::render};
    Parts parts(format, quality);
    std::vector<double> times[std::size(kParts)];
    for (int i = 0; i < runs; ++i)
        for (std::size_t k = 0; k < std::size(kParts); ++k)
            times[k].push_back(millisecondsOf([&] { (parts.*kParts[k])(); }));
    fmt::print("{:7} {:9}", format.name, quality.name);
    for (auto const& part : times) fmt::print(" {:7.2f}", median(part));
    fmt::print("   {:5.2f}\n",
               median(times[5]) / std::max(median(times[1]) + median(times[2]), median(times[4])));
}

}  // namespace

int main(int argc, char** argv) {
    int const runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 11;
    omp_set_num_threads(1);
    fmt::print("parts of a frame alone, line functions {}; medians of {} runs, milliseconds\n",
               lineFuncSimdTarget(), runs);
    fmt::print("{:7} {:9} {:>7} {:>7} {:>7} {:>7} {:>7} {:>7}   {}\n", "format", "quality",
               "divide", "places", "taps", "store", "copy", "frame",
               "frame over places and taps, or copy");
    for (Format const& format : kFormats)
        for (Quality const& quality : kQualities) measure(format, quality, runs);
}
#endif  // HWY_ONCE
