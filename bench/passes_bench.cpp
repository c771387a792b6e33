// Speed of the passes over whole frames of 1920 x 1080 that resample nothing: merging of samples,
// opacity, premultiplication, transfer modes, blurs; in three depths, over noise.
//
// Each case first checks that vector code on every instruction set, and two threads, give the bytes
// of the scalar code. Figures, of the fastest of seven: `x_AVX2` and its like, the time of the
// scalar code over that of the vector code, both on one thread; `x_threads`, the time of the vector
// code on one thread over that on two; `x_opencv`, where the build has OpenCV, its time for the
// same pass over ours, one thread each.
#include <functional>
#include <string>

#include "Transform/Common/Shadow_BlurPass_RenderFunc/BlurFilter.h"
#include "Transform/Common/Shadow_BlurPass_RenderFunc/FractionalRadius.h"
#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "Transform/Common/Transform_Core_Render/ProgressiveBlurKind.h"
#include "Transform/Common/Transform_Core_Render/RampedBlurLines.h"
#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "bench/vector_compare.h"
#include "effect/PixelPasses.h"
#include "host/PluginHost_Memory_Impl.h"
#ifdef ZELK_HAS_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

using namespace zelk_bench;

template <class Trait>
QV_RasterInfo describe(Picture& picture) {
    QV_RasterInfo info{};
    info.data = picture.data();
    info.format = Trait::kFormat;
    info.width = kWidth;
    info.height = kHeight;
    info.rowBytes = kWidth * Trait::kPixelBytes;
    info.pixelBytes = Trait::kPixelBytes;
    info.pixelAspect = info.rangeScale = 1.0f;
    return info;
}

/// Two pictures to work on, and what a case makes of them in `frame`, which starts as the first.
template <class Trait>
struct Scene {
    using T = typename Trait::Channel;
    Picture first = makeNoise(sizeof(T)), second = first, frame = first;

    Scene() {
        std::rotate(second.begin(), second.begin() + 40004 * Trait::kPixelBytes, second.end());
    }
    QV_RasterInfo info(Picture& picture) { return describe<Trait>(picture); }
    T* row(Picture& picture, int y) { return pixelRow<T>(info(picture), y); }
    void restart() { std::memcpy(frame.data(), first.data(), frame.size()); }
#ifdef ZELK_HAS_OPENCV
    cv::Mat matrix(Picture& picture) {
        constexpr int kType = sizeof(T) == 1 ? CV_8UC4 : sizeof(T) == 2 ? CV_16UC4 : CV_32FC4;
        return {kHeight, kWidth, kType, picture.data()};
    }
#endif
};

/// `scalar` and `vector` make the scene's frame; `peer`, if there is one, the same by OpenCV.
template <class Trait>
void measure(benchmark::State& state, Scene<Trait>& scene, std::function<void()> const& scalar,
             std::function<void()> const& vector, std::function<void()> const& peer = {}) {
    auto const restart = [&] { scene.restart(); };
    omp_set_num_threads(1);
    if (!compare(state, scene.frame, scalar, vector, restart)) return;
    const Picture alone = scene.frame;
    omp_set_num_threads(2);
    double const two = secondsOf(vector, restart);
    state.counters["x_threads"] = secondsOf(
                                      [&] {
                                          omp_set_num_threads(1);
                                          vector();
                                          omp_set_num_threads(2);
                                      },
                                      restart) /
                                  two;
    if (scene.frame != alone) return state.SkipWithError("threads change the picture");
    omp_set_num_threads(1);
#ifdef ZELK_HAS_OPENCV
    cv::setNumThreads(1);
    if (peer) state.counters["x_opencv"] = secondsOf(peer, restart) / secondsOf(vector, restart);
#else
    static_cast<void>(peer);
#endif
    for (auto _ : state) vector();
}

template <class Trait>
void merging(benchmark::State& state) {
    Scene<Trait> s;
    constexpr int kIndex = 2;
    constexpr float kWeight = static_cast<float>(1.0 / (kIndex + 1));
    std::function<void()> peer;
#ifdef ZELK_HAS_OPENCV
    peer = [&] {
        cv::Mat mean = s.matrix(s.frame);
        cv::addWeighted(mean, 1.0 - kWeight, s.matrix(s.second), kWeight, 0, mean);
    };
#endif
    measure<Trait>(
        state, s,
        [&] {
            for (int y = 0; y < kHeight; ++y)
                row_pass::merge(s.row(s.frame, y), s.row(s.second, y), 4 * kWidth, kWeight);
        },
        [&] { mergeSample<Trait>(s.info(s.frame), s.info(s.second), kIndex); }, peer);
}

template <class Trait>
void opacity(benchmark::State& state) {
    Scene<Trait> s;
    constexpr double kOpacity = 0.4;
    auto const factor = static_cast<row_pass::AlphaFactor<typename Trait::Channel>>(
        static_cast<float>(kOpacity) * Trait::kWhite);
    measure<Trait>(
        state, s,
        [&] {
            for (int y = 0; y < kHeight; ++y)
                row_pass::multiplyAlpha(s.row(s.frame, y), kWidth, Trait::kAlpha, factor);
        },
        [&] { multiplyAlpha<Trait>(s.info(s.frame), kOpacity); });
}

template <class Trait, bool Divides>
void premultiplication(benchmark::State& state) {
    using T = typename Trait::Channel;
    Scene<Trait> s;
    PluginHost_Memory_Impl host(s.info(s.frame), s.info(s.frame));
    PluginRaster_Memory_Impl raster(s.info(s.frame));
    measure<Trait>(
        state, s,
        [&] {
            for (int i = 0; i < kWidth * kHeight; ++i)
                premult_detail::changePixel<Trait, T, Divides>(s.row(s.frame, 0) + 4 * i,
                                                               Trait::kAlpha);
        },
        [&] { premult_detail::changeColour<Trait, T>(&host, &raster, Divides); });
}

template <class Trait, class Mode>
void transfer(benchmark::State& state) {
    Scene<Trait> s;
    auto const blend = [&s](auto row) {
        blendRasters<Trait>(s.info(s.second), s.info(s.first), s.info(s.frame), {}, row);
    };
    measure<Trait>(
        state, s, [&] { blend(blendPixels<Trait, Mode>); }, [&] { blend(blendRow<Trait, Mode>); });
}

/// A tent blur of whole radius R. OpenCV's peer, two box blurs of R + 1 pixels, is the same kernel.
template <class Trait, int Radius>
void blur(benchmark::State& state) {
    using T = typename Trait::Channel;
    Scene<Trait> s;
    Picture between(s.frame.size());
    PluginHost_Memory_Impl host(s.info(s.frame), s.info(s.frame));
    auto const image = channelPlane<T>(s.info(s.frame), 0);
    auto const scratch = channelPlane<T>(s.info(between), 0);
    std::function<void()> peer;
#ifdef ZELK_HAS_OPENCV
    peer = [&] {
        cv::Mat picture = s.matrix(s.frame), other = s.matrix(between);
        const cv::Size box(Radius + 1, Radius + 1);
        cv::blur(picture, other, box, {-1, -1}, cv::BORDER_REPLICATE);
        cv::blur(other, picture, box, {-1, -1}, cv::BORDER_REPLICATE);
    };
#endif
    measure<Trait>(
        state, s,
        [&] {
            for (int y = 0; y < kHeight; ++y)
                tentBlurLine<T, 4>(image.row(y), scratch.row(y), kWidth, Radius);
            for (int x = 0; x < kWidth; ++x)
                tentBlurLine<T, 4>(scratch.column(x), image.column(x), kHeight, Radius);
        },
        [&] {
            auto info = s.info(s.frame);
            wholeRadiusBlur<T, 4>(&host, info, 0, {Radius, 1.0, false, kBlurKindPlain});
        },
        peer);
}

/// The blur of Super Sample: columns whose radius runs from 2.5 to 20.
template <class Trait>
void rampedColumns(benchmark::State& state) {
    using T = typename Trait::Channel;
    constexpr double kFirst = 2.5, kLast = 20;
    Scene<Trait> s;
    PluginHost_Memory_Impl host(s.info(s.frame), s.info(s.frame));
    auto const image = channelPlane<T>(s.info(s.frame), 0);
    std::vector<T> scratch(3 * 4 * kHeight);
    measure<Trait>(
        state, s,
        [&] {
            ChannelLine<T> const packed{scratch.data(), 4}, smaller{packed.pixel(kHeight), 4},
                larger{smaller.pixel(kHeight), 4};
            for (int x = 0; x < kWidth; ++x) {
                double const t = x / double{kWidth - 1};
                const FractionalRadius radius((1.0 - t) * kFirst + t * kLast);
                copyLine<T, 4>(image.column(x), packed, kHeight);
                tentBlurLine<T, 4>(packed, smaller, kHeight, wholeRadius(radius.whole));
                tentBlurLine<T, 4>(packed, larger, kHeight, wholeRadius(radius.whole + 1));
                if (radius.isWhole()) {
                    copyLine<T, 4>(smaller, image.column(x), kHeight);
                    continue;
                }
                for (int y = 0; y < kHeight; ++y)
                    for (int c = 0; c < 4; ++c)
                        image.column(x).pixel(y)[c] =
                            radius.mix(smaller.pixel(y)[c], larger.pixel(y)[c]);
            }
        },
        [&] {
            auto info = s.info(s.frame);
            interpolatedBlur<T>(&host, info, kFirst, kLast, true);
        });
}

void add(std::string const& name, char const* depth, void (*function)(benchmark::State&)) {
    benchmark::RegisterBenchmark((name + "/" + depth).c_str(), function)
        ->Unit(benchmark::kMillisecond)
        ->MinTime(0.05);
}

template <class Trait>
void addDepth(char const* depth) {
    add("merge", depth, merging<Trait>);
    add("opacity", depth, opacity<Trait>);
    add("premultiply", depth, premultiplication<Trait, false>);
    add("unpremultiply", depth, premultiplication<Trait, true>);
    add("blur/1", depth, blur<Trait, 1>);
    add("blur/20", depth, blur<Trait, 20>);
    add("blur/300", depth, blur<Trait, 300>);
    add("blur/columns", depth, rampedColumns<Trait>);
#define ZELK_MODE(NAME)                                                                    \
    add("transfer/" #NAME, depth,                                                          \
        transfer<Trait, BLEND_##NAME<Trait, typename Trait::Channel, typename Trait::Wide, \
                                     typename Trait::Weight, typename Trait::FORMAT>>);
    ZELK_MODE(BEHIND)
    ZELK_MODE(NORMAL)
    ZELK_MODE(ADD)
    ZELK_MODE(MULTIPLY)
    ZELK_MODE(SCREEN)
    ZELK_MODE(OVERLAY)
    ZELK_MODE(SOFTLIGHT)
    ZELK_MODE(HARDLIGHT)
    ZELK_MODE(DARKEN)
    ZELK_MODE(LIGHTEN)
    ZELK_MODE(DIFFERENCE)
    ZELK_MODE(EXCLUSION)
    ZELK_MODE(COLORDODGE)
    ZELK_MODE(COLORBURN)
    ZELK_MODE(HUE)
    ZELK_MODE(LUMA)
#undef ZELK_MODE
}

}  // namespace

int main(int argc, char** argv) {
    addDepth<PIXEL_ARGB8>("8");
    addDepth<PIXEL_ARGB15>("16");
    addDepth<PIXEL_ARGB32>("float");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
    benchmark::RunSpecifiedBenchmarks();
}
