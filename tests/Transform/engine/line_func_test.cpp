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
/// Whether coverage multiplies what is stored, or the sum of taps before it is rounded.
enum class Cover { kNone, kStored, kSum };

struct Method {
    char const* name;
    Sampler sampler;
    Cover cover;
    QV_LineFunc four, one;  ///< by the channels of a pixel; null where there is none
};

template <class T>
std::vector<Method> allMethods() {
    using F = LineFuncCP<T>;
    using S = Sampler;
    using C = Cover;
    // clang-format off
    return {
        {"lineFunc", S::kNearest, C::kNone, lineFunc, lineFunc},
        {"fillPolygonFunc", S::kFill, C::kNone, F::fillPolygonFunc, F::fillPolygonFunc_1},
        {"edgePolygonFunc", S::kFill, C::kStored, F::edgePolygonFunc, F::edgePolygonFunc_1},
        {"bilinearFunc", S::kBilinear, C::kNone, F::bilinearFunc, F::bilinearFunc_1},
        {"edgeBilinearFunc", S::kBilinear, C::kStored, F::edgeBilinearFunc, F::edgeBilinearFunc_1},
        {"edge_noOp_edgeBilinearFunc", S::kBilinear, C::kNone, nullptr, F::edge_noOp_edgeBilinearFunc_1},
        {"biCubicFunc", S::kKernelTaps, C::kNone, F::biCubicFunc, F::biCubicFunc_1},
        {"biCubicFunc_4x4", S::kKernel4x4, C::kNone, F::biCubicFunc_4x4, F::biCubicFunc_4x4_1},
        {"edge_biCubicFunc", S::kKernelTaps, C::kSum, F::edge_biCubicFunc, F::edge_biCubicFunc_1},
        {"edge_biCubicFunc_4x4", S::kKernel4x4, C::kSum, F::edge_biCubicFunc_4x4, F::edge_biCubicFunc_4x4_1},
        {"edge_noOp_edge_biCubicFunc", S::kKernelTaps, C::kNone, nullptr, F::edge_noOp_edge_biCubicFunc_1},
        {"edge_noOp_biCubicFunc_4x4", S::kKernel4x4, C::kNone, nullptr, F::edge_noOp_biCubicFunc_4x4_1},
        {"biCubicFunc_4x4_ss", S::kSuperSampled, C::kNone, F::biCubicFunc_4x4_ss, nullptr},
        {"edgeBiCubicFunc_4x4_ss", S::kSuperSampled, C::kStored, F::edgeBiCubicFunc_4x4_ss, nullptr},
    };
    // clang-format on
}

/// A source plane with padded rows, settings with a table, and one run across and beyond it.
template <class T>
struct Scene {
    static constexpr bool kIsFloat = std::is_floating_point_v<T>;
    static constexpr int kWhite = kIsFloat ? 1 : sizeof(T) == 1 ? 255 : 32768;

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
        auto const uniform = [&random](double low, double high) {
            return std::uniform_real_distribution<double>(low, high)(random);
        };
        for (T& v : source) v = static_cast<T>(kIsFloat ? uniform(-0.2, 1.3) : uniform(0, kWhite));
        for (float& c : coverage) c = static_cast<float>(random() % 8193) / 8192.0f;
        settings.srcData = source.data();
        settings.srcPixelBytes = channels * static_cast<int>(sizeof(T));
        settings.srcRowBytes = rowLength * static_cast<int>(sizeof(T));
        settings.srcMaxX = width - 1;
        settings.srcMaxY = height - 1;
        settings.maxValue = kWhite;
        settings.alphaOffset = channels == 4 ? 3 : 0;
        setKernelTransformSize(&settings, sizeIndex, 1.0f);
        setInterpLineFunc(&settings, 0.333, 0.333, filter, false, 4, 0, false, 0, 0, 0, false,
                          true);
        setDefaultSuperSamplePattern(&settings);
        line.w = uniform(0.5, 2);
        line.x = uniform(-6, width + 6) * line.w;
        line.y = uniform(-6, width + 6) * height / width * line.w;
        line.dx = uniform(-1.5, 1.5), line.dy = uniform(-1.5, 1.5);
        line.dw = uniform(-0.015, 0.015);
        line.count = static_cast<int>(coverage.size());
        line.coverage = coverage.data();
    }

    /// Outside the source the border repeats or all is black.
    float fetch(int x, int y, int c, bool black = false) const {
        if (black && (x < 0 || x >= width || y < 0 || y >= height)) return 0;
        x = std::clamp(x, 0, width - 1);
        y = std::clamp(y, 0, height - 1);
        return static_cast<float>(source[y * rowLength + x * channels + c]);
    }

    /// Positions are limited to the source, where a fraction of 0 leaves a pixel as it is.
    float bilinear(float u, float v, int c) const {
        u = std::clamp(u, 0.0f, static_cast<float>(width - 1));
        v = std::clamp(v, 0.0f, static_cast<float>(height - 1));
        int const x = static_cast<int>(u), y = static_cast<int>(v);
        auto const stored = [](float p, float q, float f) {
            return static_cast<float>(static_cast<T>(p * (1.0f - f) + q * f));
        };
        auto const row = [&](int j) {
            return stored(fetch(x, j, c), fetch(x + 1, j, c), u - static_cast<float>(x));
        };
        return stored(row(y), row(y + 1), v - static_cast<float>(y));
    }

    /// With a fixed 4 taps blocks beyond -2 are read from -3 on.
    float kernelSum(float u, float v, int c, int taps, bool black, bool fixed) const {
        int const iu = static_cast<int>(u), iv = static_cast<int>(v);
        auto const weights = [&](float f) {
            const int row = static_cast<int>((f + 1.0f) * 255.0f * 0.5f);
            return settings.lut + std::clamp(row, 0, 255) * taps;
        };
        auto const first = [&](int whole) {
            const int at = whole - (taps / 2 - 1);
            return fixed && at < -2 ? -3 : at;
        };
        float const* wx = weights(u - static_cast<float>(iu));
        float const* wy = weights(v - static_cast<float>(iv));
        int const x0 = first(iu), y0 = first(iv);
        float result = 0;
        for (int j = 0; j < taps; ++j) {
            float r = wx[0] * fetch(x0, y0 + j, c, black);
            for (int i = 1; i < taps; ++i) r += wx[i] * fetch(x0 + i, y0 + j, c, black);
            result = j == 0 ? wy[0] * r : result + wy[j] * r;
        }
        return result;
    }

    /// The value that `m` has to store for channel c of a pixel.
    T expected(Method const& m, float u, float v, int c, float cover) const {
        constexpr float half = kIsFloat ? 0.0f : 0.5f;
        float const coverSum = m.cover == Cover::kSum ? cover : 1.0f;
        auto const limited = [](auto sum) {
            return kIsFloat ? sum : std::clamp<decltype(sum)>(sum, 0, kWhite);
        };
        T value = kWhite;  // kFill
        if (m.sampler == Sampler::kNearest)
            value = static_cast<T>(fetch(static_cast<int>(u), static_cast<int>(v), c));
        if (m.sampler == Sampler::kBilinear) value = static_cast<T>(bilinear(u, v, c));
        if (m.sampler == Sampler::kKernel4x4) {
            float const sum = kernelSum(u, v, c, 4, channels == 1, true);
            value = static_cast<T>(limited(sum * coverSum + half));
        }
        if (m.sampler == Sampler::kKernelTaps) {
            float const sum = kernelSum(u, v, c, settings.taps, true, false);
            value = static_cast<T>(limited(sum * coverSum) + half);
        }
        if (m.sampler == Sampler::kSuperSampled) {
            double sum = 0;
            for (int k = 0; k < kSuperSamples; ++k)
                sum += kernelSum(static_cast<float>(u + settings.ssOffsetX[k]),
                                 static_cast<float>(v + settings.ssOffsetY[k]), c, 4, false, true) *
                       static_cast<float>(settings.ssWeight[k]);
            value = static_cast<T>(limited(sum + half));
        }
        if (m.cover != Cover::kStored) return value;
        // Four channels between pixels truncate, all else rounds.
        bool const rounds = m.sampler != Sampler::kBilinear || channels == 1;
        return static_cast<T>(static_cast<float>(value) * cover + (rounds ? half : 0.0f));
    }
};

template <class T>
class LineFunctions : public testing::Test {};
using ChannelTypes = testing::Types<unsigned char, unsigned short, float>;
TYPED_TEST_SUITE(LineFunctions, ChannelTypes);

template <class T>
void runAndCheck(Scene<T>& s, Method const& m, int skipped) {
    auto const function = s.channels == 4 ? m.four : m.one;
    if (m.sampler == Sampler::kNearest)  // makes every sum of steps exact, however it is taken
        for (double* v : {&s.line.x, &s.line.y, &s.line.w, &s.line.dx, &s.line.dy, &s.line.dw})
            *v = std::round(*v * 4096) / 4096;
    // The plain scan's functions skip pixels of the row; the others start where they are.
    s.line.skipLeft = m.sampler <= Sampler::kFill ? skipped : 0;
    const T untouched = 77;
    std::vector<T> out((s.line.skipLeft + s.line.count + 1) * s.channels, untouched);
    LineRenderStruct line = s.line;
    line.dest = out.data();
    function(&s.settings, &line);

    for (std::size_t i = 0; i < out.size(); ++i) {
        int const x = static_cast<int>(i) / s.channels - s.line.skipLeft;
        int const c = static_cast<int>(i) % s.channels;
        double const q = s.line.w + x * s.line.dw;
        auto const u = static_cast<float>((s.line.x + x * s.line.dx) / q);
        auto const v = static_cast<float>((s.line.y + x * s.line.dy) / q);
        bool const isFilled = m.sampler != Sampler::kFill || c == s.settings.alphaOffset;
        T want = untouched;
        if (x >= 0 && x < s.line.count && isFilled) want = s.expected(m, u, v, c, s.coverage[x]);
        ASSERT_EQ(out[i], want) << "pixel " << x << " channel " << c << " at " << u << ", " << v
                                << " of " << s.width << " x " << s.height;
    }
    EXPECT_EQ(line.x, s.line.x + s.line.count * s.line.dx);
    EXPECT_EQ(line.y, s.line.y + s.line.count * s.line.dy);
    EXPECT_EQ(line.w, s.line.w + s.line.count * s.line.dw);

    // Positions beyond any picture: reads stay inside the source, as the address sanitizer judges.
    T wild[8];
    float const cover[2] = {1, 0.5f};
    for (double const x : {NAN, INFINITY, -INFINITY, 1e30f, -1e30f, 3e9f, -3e9f, 1.5f}) {
        for (double const y : {x, 1.5}) {
            line = {x, y, 1, 0.25, 0.5, 0, 0, 2, 0, wild, cover};
            function(&s.settings, &line);
        }
    }
}

TYPED_TEST(LineFunctions, EveryMethodGivesTheReferenceBits) {
    std::mt19937 random(kSeed);
    for (Method const& m : allMethods<TypeParam>()) {
        for (int round = 0; round < 320; ++round) {
            SCOPED_TRACE(testing::Message() << m.name << " seed " << kSeed << " round " << round);
            int const channels = round % 2 == 0 ? 4 : 1, each = round / 2;
            if (!(channels == 4 ? m.four : m.one)) continue;
            // The 4 by 4 members read a table of 4 taps; the others whatever the size asks for.
            int const sizeIndex = m.sampler == Sampler::kKernelTaps ? each % 4 : 0;
            Scene<TypeParam> s(channels, sizeIndex, each % kFilterCount, random);
            ASSERT_NO_FATAL_FAILURE(runAndCheck(s, m, each % 3));
        }
    }
}

}  // namespace
