// All 21 line functions of the three channel types, and the one that copies, against one plain
// reference: every pixel is computed from scratch by the formula, from single fetches, and has to
// agree to the bit. Blocks read in place and blocks read through a copy thus agree at the borders.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/lineFunc.h"

namespace {

constexpr unsigned kSeed = 20240607;

enum class Sampler { kNearest, kFill, kBilinear, kKernel4x4, kKernelTaps, kSuperSampled };
enum class Border { kRepeat, kBlack };
enum class Cover { kNone, kTruncate, kRound, kBeforeRounding };

struct Method {
    char const* name;
    Sampler sampler;
    Border border;
    Cover cover;
    int channels;
    QV_LineFunc function;
};

template <class T>
std::vector<Method> allMethods() {
    using F = LineFuncCP<T>;
    using S = Sampler;
    using B = Border;
    using C = Cover;
    // clang-format off
    return {
        {"lineFunc", S::kNearest, B::kRepeat, C::kNone, 4, lineFunc},
        {"lineFunc of one channel", S::kNearest, B::kRepeat, C::kNone, 1, lineFunc},
        {"fillPolygonFunc", S::kFill, B::kRepeat, C::kNone, 4, F::fillPolygonFunc},
        {"fillPolygonFunc_1", S::kFill, B::kRepeat, C::kNone, 1, F::fillPolygonFunc_1},
        {"edgePolygonFunc", S::kFill, B::kRepeat, C::kRound, 4, F::edgePolygonFunc},
        {"edgePolygonFunc_1", S::kFill, B::kRepeat, C::kRound, 1, F::edgePolygonFunc_1},
        {"bilinearFunc", S::kBilinear, B::kRepeat, C::kNone, 4, F::bilinearFunc},
        {"bilinearFunc_1", S::kBilinear, B::kRepeat, C::kNone, 1, F::bilinearFunc_1},
        {"edgeBilinearFunc", S::kBilinear, B::kRepeat, C::kTruncate, 4, F::edgeBilinearFunc},
        {"edgeBilinearFunc_1", S::kBilinear, B::kRepeat, C::kRound, 1, F::edgeBilinearFunc_1},
        {"edge_noOp_edgeBilinearFunc_1", S::kBilinear, B::kRepeat, C::kNone, 1, F::edge_noOp_edgeBilinearFunc_1},
        {"biCubicFunc", S::kKernelTaps, B::kBlack, C::kNone, 4, F::biCubicFunc},
        {"biCubicFunc_1", S::kKernelTaps, B::kBlack, C::kNone, 1, F::biCubicFunc_1},
        {"biCubicFunc_4x4", S::kKernel4x4, B::kRepeat, C::kNone, 4, F::biCubicFunc_4x4},
        {"biCubicFunc_4x4_1", S::kKernel4x4, B::kBlack, C::kNone, 1, F::biCubicFunc_4x4_1},
        {"edge_biCubicFunc", S::kKernelTaps, B::kBlack, C::kBeforeRounding, 4, F::edge_biCubicFunc},
        {"edge_biCubicFunc_1", S::kKernelTaps, B::kBlack, C::kBeforeRounding, 1, F::edge_biCubicFunc_1},
        {"edge_biCubicFunc_4x4", S::kKernel4x4, B::kRepeat, C::kBeforeRounding, 4, F::edge_biCubicFunc_4x4},
        {"edge_biCubicFunc_4x4_1", S::kKernel4x4, B::kBlack, C::kBeforeRounding, 1, F::edge_biCubicFunc_4x4_1},
        {"edge_noOp_edge_biCubicFunc_1", S::kKernelTaps, B::kBlack, C::kNone, 1, F::edge_noOp_edge_biCubicFunc_1},
        {"edge_noOp_biCubicFunc_4x4_1", S::kKernel4x4, B::kBlack, C::kNone, 1, F::edge_noOp_biCubicFunc_4x4_1},
        {"biCubicFunc_4x4_ss", S::kSuperSampled, B::kRepeat, C::kNone, 4, F::biCubicFunc_4x4_ss},
        {"edgeBiCubicFunc_4x4_ss", S::kSuperSampled, B::kRepeat, C::kRound, 4, F::edgeBiCubicFunc_4x4_ss},
    };
    // clang-format on
}

/// A source plane with padded rows, settings with a table, and one run across and beyond it.
template <class T>
struct Scene {
    int width, height, channels, rowLength;
    std::vector<T> source;
    RenderSettings settings;
    std::vector<float> coverage;
    LineRenderStruct line{};

    Scene(int channelCount, int sizeIndex, int filter, std::mt19937& random)
        : width(1 + static_cast<int>(random() % 12)),
          height(1 + static_cast<int>(random() % 9)),
          channels(channelCount),
          rowLength(width * channelCount + 5),
          source(static_cast<std::size_t>(rowLength) * height),
          coverage(random() % 24) {
        constexpr bool isFloat = std::is_floating_point_v<T>;
        const auto uniform = [&random](double low, double high) {
            return std::uniform_real_distribution<double>(low, high)(random);
        };
        const double white = isFloat ? 1 : sizeof(T) == 1 ? 255 : 32768;
        for (T& v : source) v = static_cast<T>(isFloat ? uniform(-0.2, 1.3) : uniform(0, white));
        settings.srcData = source.data();
        settings.srcPixelBytes = channels * static_cast<int>(sizeof(T));
        settings.srcRowBytes = rowLength * static_cast<int>(sizeof(T));
        settings.srcMaxX = width - 1;
        settings.srcMaxY = height - 1;
        settings.maxValue = static_cast<int>(white);
        settings.alphaOffset = channels == 4 ? 3 : 0;
        setKernelTransformSize(&settings, sizeIndex, 1.0f);
        setInterpLineFunc(&settings, 0.333, 0.333, filter, false, 4, 0, false, 0, 0, 0, false,
                          true);
        setDefaultSuperSamplePattern(&settings);
        line.w = uniform(0.5, 2);
        line.x = uniform(-6, width + 6) * line.w;
        line.y = uniform(-6, width + 6) * height / width * line.w;
        line.dx = uniform(-1.5, 1.5);
        line.dy = uniform(-1.5, 1.5);
        line.dw = uniform(-0.015, 0.015);
        line.count = static_cast<int>(coverage.size());
        for (float& c : coverage) c = static_cast<float>(random() % 8193) / 8192.0f;
        line.coverage = coverage.data();
    }

    /// Makes every sum of steps exact, in whatever order it is taken.
    void roundSteps() {
        for (double* v : {&line.x, &line.y, &line.w, &line.dx, &line.dy, &line.dw})
            *v = std::round(*v * 4096) / 4096;
    }

    float fetch(int x, int y, int c, Border border) const {
        const bool inside = x >= 0 && x < width && y >= 0 && y < height;
        if (!inside && border == Border::kBlack) return 0;
        x = std::clamp(x, 0, width - 1);
        y = std::clamp(y, 0, height - 1);
        return static_cast<float>(
            source[static_cast<std::size_t>(y) * rowLength + x * channels + c]);
    }
};

/// Positions are limited to the source, where a fraction of 0 leaves a pixel as it is.
template <class T>
float bilinear(Scene<T> const& s, float u, float v, int c) {
    u = std::clamp(u, 0.0f, static_cast<float>(s.width - 1));
    v = std::clamp(v, 0.0f, static_cast<float>(s.height - 1));
    const int x = static_cast<int>(u), y = static_cast<int>(v);
    const auto stored = [](float p, float q, float f) {
        return static_cast<float>(static_cast<T>(p * (1.0f - f) + q * f));
    };
    const auto row = [&](int j) {
        return stored(s.fetch(x, j, c, Border::kRepeat), s.fetch(x + 1, j, c, Border::kRepeat),
                      u - static_cast<float>(x));
    };
    return stored(row(y), row(y + 1), v - static_cast<float>(y));
}

template <class T>
float kernelSum(Scene<T> const& s, float u, float v, int c, int taps, Border border, bool raise) {
    const int iu = static_cast<int>(u), iv = static_cast<int>(v);
    const auto row = [](float f) {
        return std::clamp(static_cast<int>((f + 1.0f) * 255.0f * 0.5f), 0, 255);
    };
    float const* wx = s.settings.lut + row(u - static_cast<float>(iu)) * taps;
    float const* wy = s.settings.lut + row(v - static_cast<float>(iv)) * taps;
    int x0 = iu - (taps / 2 - 1), y0 = iv - (taps / 2 - 1);
    if (raise) {
        if (x0 < -2) x0 = -3;
        if (y0 < -2) y0 = -3;
    }
    float result = 0;
    for (int j = 0; j < taps; ++j) {
        float r = wx[0] * s.fetch(x0, y0 + j, c, border);
        for (int i = 1; i < taps; ++i) r += wx[i] * s.fetch(x0 + i, y0 + j, c, border);
        result = j == 0 ? wy[0] * r : result + wy[j] * r;
    }
    return result;
}

template <class T>
T rounded(Scene<T> const& s, double sum) {
    if (std::is_floating_point_v<T>) return static_cast<T>(sum);
    return static_cast<T>(
        std::clamp<double>(std::trunc(sum), s.settings.minValue, s.settings.maxValue));
}

/// The value that `method` has to store for channel c of a pixel.
template <class T>
T expected(Scene<T> const& s, Method const& m, float u, float v, int c, float coverage) {
    constexpr bool isFloat = std::is_floating_point_v<T>;
    constexpr float half = isFloat ? 0.0f : 0.5f;
    const float cover = m.cover == Cover::kBeforeRounding ? coverage : 1.0f;
    T value{};
    if (m.sampler == Sampler::kNearest) {
        const int x = static_cast<int>(u), y = static_cast<int>(v);
        value = static_cast<T>(s.fetch(x, y, c, Border::kRepeat));
    } else if (m.sampler == Sampler::kFill) {
        value = static_cast<T>(s.settings.maxValue);
    } else if (m.sampler == Sampler::kBilinear) {
        value = static_cast<T>(bilinear(s, u, v, c));
    } else if (m.sampler == Sampler::kKernel4x4) {
        value = rounded(s, kernelSum(s, u, v, c, 4, m.border, true) * cover + half);
    } else if (m.sampler == Sampler::kKernelTaps) {
        float sum = kernelSum(s, u, v, c, s.settings.taps, m.border, false) * cover;
        if (!isFloat) sum = std::clamp(sum, 0.0f, static_cast<float>(s.settings.maxValue));
        value = static_cast<T>(sum + half);
    } else {
        double sum = 0;
        for (int k = 0; k < kSuperSamples; ++k)
            sum +=
                kernelSum(s, static_cast<float>(u + s.settings.ssOffsetX[k]),
                          static_cast<float>(v + s.settings.ssOffsetY[k]), c, 4, m.border, true) *
                static_cast<float>(s.settings.ssWeight[k]);
        value = rounded(s, isFloat ? sum : sum + 0.5);
    }
    if (m.cover == Cover::kTruncate) value = static_cast<T>(static_cast<float>(value) * coverage);
    if (m.cover == Cover::kRound)
        value = static_cast<T>(static_cast<float>(value) * coverage + half);
    return value;
}

template <class T>
class LineFunctions : public testing::Test {};
using ChannelTypes = testing::Types<unsigned char, unsigned short, float>;
TYPED_TEST_SUITE(LineFunctions, ChannelTypes);

TYPED_TEST(LineFunctions, EveryMethodGivesTheReferenceBits) {
    using T = TypeParam;
    std::mt19937 random(kSeed);
    for (Method const& m : allMethods<T>()) {
        for (int round = 0; round < 160; ++round) {
            // The 4 by 4 members read a table of 4 taps; the others whatever the size asks for.
            const int sizeIndex = m.sampler == Sampler::kKernelTaps ? round % 4 : 0;
            Scene<T> s(m.channels, sizeIndex, round % kFilterCount, random);
            if (m.sampler == Sampler::kNearest) s.roundSteps();
            // The plain scan's functions skip pixels of the row; the others start where they are.
            s.line.skipLeft = m.sampler <= Sampler::kFill ? round % 3 : 0;
            const int first = s.line.skipLeft, end = first + s.line.count;
            const T untouched = static_cast<T>(77);
            std::vector<T> out(static_cast<std::size_t>((end + 1) * m.channels), untouched);
            LineRenderStruct line = s.line;
            line.dest = out.data();
            m.function(&s.settings, &line);

            for (int i = 0; i < static_cast<int>(out.size()); ++i) {
                const int x = i / m.channels - first, c = i % m.channels;
                const double q = s.line.w + x * s.line.dw;
                const auto u = static_cast<float>((s.line.x + x * s.line.dx) / q);
                const auto v = static_cast<float>((s.line.y + x * s.line.dy) / q);
                const bool isFilled = m.sampler != Sampler::kFill || m.channels == 1 || c == 3;
                T want = untouched;
                if (x >= 0 && x < s.line.count && isFilled)
                    want = expected(s, m, u, v, c, s.coverage[static_cast<std::size_t>(x)]);
                ASSERT_EQ(out[static_cast<std::size_t>(i)], want)
                    << m.name << " seed " << kSeed << " round " << round << " pixel " << x
                    << " channel " << c << " at " << u << ", " << v << " of " << s.width << " x "
                    << s.height;
            }
            EXPECT_EQ(line.x, s.line.x + s.line.count * s.line.dx);
            EXPECT_EQ(line.y, s.line.y + s.line.count * s.line.dy);
            EXPECT_EQ(line.w, s.line.w + s.line.count * s.line.dw);
        }
    }
}

// Reads stay inside the source: the address sanitizer is the judge.
TYPED_TEST(LineFunctions, WildPositionsAreHarmless) {
    using T = TypeParam;
    std::mt19937 random(kSeed);
    const double nan = std::nan(""), inf = INFINITY;
    const float cover[2] = {1, 0.5f};
    for (Method const& m : allMethods<T>()) {
        Scene<T> s(m.channels, 0, 9, random);
        T out[8];
        for (double x : {nan, inf, -inf, 1e30, -1e30, 3e9, -3e9})
            for (double y : {nan, inf, -1e30, 1.5}) {
                LineRenderStruct wild = {x, y, 1, 0.25, 0.5, 0, 0, 2, 0, out, cover};
                m.function(&s.settings, &wild);
            }
    }
}

}  // namespace
