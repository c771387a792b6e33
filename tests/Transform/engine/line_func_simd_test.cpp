// The vector line functions against the scalar ones, on every instruction set of this machine in
// turn: no bit may differ, of single runs and of whole frames. Not a number equals not a number:
// which one comes out of two is the compiler's choice in scalar code too.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/random_quads.h"
#include "tests/support/simd_targets.h"

namespace {

using zelk::Random;
using zelk::same;

constexpr unsigned kSeed = 20261125;

/// Noise; one float in 16 is of no use, in one picture of four.
template <class T>
std::vector<T> noise(Random& random, int size) {
    constexpr double kOdd[] = {NAN, INFINITY, -INFINITY, 1e38, -0.0, 0.0};
    constexpr bool kIsFloat = std::is_floating_point_v<T>;
    double const low = kIsFloat ? -0.5 : 0, high = kIsFloat ? 1.5 : sizeof(T) == 1 ? 255 : 65535;
    bool const isOdd = kIsFloat && random.integer(0, 3) == 0;
    std::vector<T> channels(static_cast<std::size_t>(size));
    for (T& c : channels) c = static_cast<T>(random.uniform(low, high));
    for (std::size_t i = 0; isOdd && i < channels.size(); i += random.integer(1, 31))
        channels[i] = static_cast<T>(kOdd[random.integer(0, 5)]);
    return channels;
}

/// A run across the source and beyond, in perspective; at times over whole and half positions, on
/// all borders and -0 too, or with positions that are far or no numbers.
LineRenderStruct randomRun(Random& random, int width, int height) {
    constexpr double kOdd[] = {0, 1e-300, 1e-12, NAN, INFINITY};
    auto const near = [&](int size) { return random.uniform(-3, size + 3); };
    int const kind = random.integer(0, 9);
    LineRenderStruct r{};
    r.count = random.integer(0, 200);
    if (kind < 7) {
        double const w0 = random.uniform(0.2, 3), w1 = random.uniform(-0.1, 3), n = r.count + 1;
        r.x = near(width) * w0, r.y = near(height) * w0, r.w = w0, r.dw = (w1 - w0) / n;
        r.dx = (near(width) * w1 - r.x) / n, r.dy = (near(height) * w1 - r.y) / n;
    } else {
        r.x = random.integer(-2, width + 2), r.y = random.integer(-2, height + 2), r.w = 1;
        r.dx = random.integer(-2, 2) * 0.5, r.dy = random.integer(-1, 1) * 0.5;
        if (kind == 9) r.x = -r.x, r.y = -r.y, r.w = -1;
    }
    if (kind == 0) r.w = kOdd[random.integer(0, 4)], r.dw = 0;
    return r;
}

struct Slot {
    char const* name;
    QV_LineFunc FormatFunctions::*function;
    int channels;
    bool takesSize;  ///< 4, 6, 8 or 10 taps a side, else 4
};
using F = FormatFunctions;
constexpr Slot kSlots[] = {
    {"bilinear", &F::bilinear, 4, false},
    {"bilinear_1", &F::bilinear_1, 1, false},
    {"edgeBilinear", &F::edgeBilinear, 4, false},
    {"edgeBilinear_1", &F::edgeBilinear_1, 1, false},
    {"edgeNoOpBilinear_1", &F::edgeNoOpBilinear_1, 1, false},
    {"biCubic", &F::biCubic, 4, true},
    {"biCubic_1", &F::biCubic_1, 1, true},
    {"biCubic4x4", &F::biCubic4x4, 4, false},
    {"biCubic4x4_1", &F::biCubic4x4_1, 1, false},
    {"biCubic4x4Ss", &F::biCubic4x4Ss, 4, false},
    {"edgeBiCubic4x4Ss", &F::edgeBiCubic4x4Ss, 4, false},
    {"nearest", &F::nearest, 4, false},
};

/// The pattern of most callers, or offsets and weights of any kind, no numbers too.
void setRandomPattern(Random& random, RenderSettings& s) {
    setDefaultSuperSamplePattern(&s);
    if (random.integer(0, 2) == 0) return;
    for (int k = 0; k < kSuperSamples; ++k) {
        s.ssOffsetX[k] = random.uniform(-2, 2), s.ssOffsetY[k] = random.uniform(-2, 2);
        s.ssWeight[k] = random.uniform(-0.2, 0.5);
    }
    if (random.integer(0, 9) == 0) s.ssWeight[random.integer(0, 8)] = NAN;
    if (random.integer(0, 9) == 0) s.ssOffsetX[random.integer(0, 8)] = NAN;
}

/// One run by both families.
template <class Trait>
void compareRun(Random& random, Slot const& slot) {
    using T = typename Trait::Channel;
    constexpr int kInsets[] = {0, 1, 13};
    int const width = random.integer(1, 70), height = random.integer(1, 70);
    int const rowLength = slot.channels * width + random.integer(0, 13);
    int const inset = std::min(kInsets[random.integer(0, 2)], (std::min(width, height) - 1) / 2);
    auto source = noise<T>(random, rowLength * height);
    RenderSettings s;
    s.srcData = source.data(), s.srcRowBytes = rowLength * static_cast<int>(sizeof(T));
    s.srcPixelBytes = slot.channels * static_cast<int>(sizeof(T));
    s.srcMinX = s.srcMinY = inset, s.maxValue = Trait::kWhite;
    s.srcMaxX = width - 1 - inset, s.srcMaxY = height - 1 - inset;
    setKernelTransformSize(&s, slot.takesSize ? random.integer(0, 3) : 0, 1.0f);
    setInterpLineFunc(&s, 0.333, 0.333, random.integer(0, kFilterCount - 1), false, 4, 0, false, 0,
                      0, 0, false, true);
    setRandomPattern(random, s);
    LineRenderStruct line = randomRun(random, width, height);
    std::vector<float> coverage(static_cast<std::size_t>(line.count));
    for (float& c : coverage) c = static_cast<float>(random.integer(0, 8192)) / 8192.0f;
    line.coverage = coverage.data();
    LineRenderStruct twin = line;
    std::vector<T> want(static_cast<std::size_t>(slot.channels * line.count) + 9, T{77}),
        got = want;
    line.dest = want.data() + 1, twin.dest = got.data() + 1;
    (scalarFunctionsOf<Trait>().*slot.function)(&s, &line);
    (formatFunctionsOf<Trait>().*slot.function)(&s, &twin);
    ASSERT_TRUE(same(want, got) && std::memcmp(&line.x, &twin.x, 6 * sizeof(double)) == 0)
        << slot.name << ", " << s.taps << " taps, " << width << " x " << height << ", inset "
        << inset << ", run of " << line.count;
}

/// Runs of each function, and frames: many where the environment has ZELK_LONG, for work on the
/// twins.
bool isLong() { return std::getenv("ZELK_LONG") != nullptr; }
int runsOfEach() { return isLong() ? 10000 : 300; }
int frames() { return isLong() ? 360 : 24; }

template <class Trait>
struct VectorTwins : testing::Test {};
using Traits = testing::Types<PIXEL_ARGB8, PIXEL_ARGB15, PIXEL_ARGB32>;
TYPED_TEST_SUITE(VectorTwins, Traits);

TYPED_TEST(VectorTwins, RunsHaveTheScalarBits) {
    SCOPED_TRACE(kSeed);
    zelk::onEveryTarget([] {
        Random random(kSeed);
        for (Slot const& slot : kSlots)
            for (int i = 0; i < runsOfEach() && !testing::Test::HasFatalFailure(); ++i)
                compareRun<TypeParam>(random, slot);
    });
}

/// No function of its own twice, and no change to transparent black.
template <class T>
void triple(void const*, void* pixels, int count) {
    for (T* value = static_cast<T*>(pixels); count > 0; --count)
        for (int c = 0; c < 4; ++c, ++value) *value = static_cast<T>(*value * 3);
}

/// The scalar functions draw into a cleared frame on one thread, the twins on one to five into one
/// that the scan has to clear and finish.
TYPED_TEST(VectorTwins, FramesHaveTheScalarBits) {
    using T = typename TypeParam::Channel;
    SCOPED_TRACE(kSeed);
    zelk::onEveryTarget([] {
        Random random(kSeed);
        QV_RasterInfo src{};
        src.format = TypeParam::kFormat, src.width = 183, src.height = 115;
        src.pixelAspect = src.rangeScale = 1;
        for (int i = 0; i < frames(); ++i) {
            bool const isPlane = i % 4 == 3;
            int const channels = isPlane ? 1 : 4;
            src.pixelBytes = channels * static_cast<int>(sizeof(T));
            src.rowBytes = src.width * src.pixelBytes;
            auto source = noise<T>(random, channels * src.width * src.height);
            const std::vector<T> empty(source.size()), used(source.size(), T{77});
            const zelk::Quad quad = zelk::randomConvexQuad(random);
            auto const frame = [&](FormatFunctions const& functions, bool clears) {
                omp_set_num_threads(clears ? 1 + i % 5 : 1);
                auto pixels = clears ? used : empty;
                QV_RasterInfo dst = src;
                src.data = source.data(), dst.data = pixels.data();
                CoreRenderArguments core;
                core.quadMode = kQuadUnitToTo, core.sizeIndex = i % 4;
                core.filter = i % 3 == 0 ? i % 2 : 2 + i % 21;
                zelk::setPins(core.toPins, quad);
                PluginHost_Memory_Impl host(src, dst);
                RenderSettings s;
                s.srcRight = s.dstRight = src.width - 1, s.srcBottom = s.dstBottom = src.height - 1;
                setDefaultSuperSamplePattern(&s);
                if (clears && !isPlane) s.finishFunc = triple<T>;
                coreTransformRender({&host, core, src, dst, clears, isPlane, &s, true, false},
                                    functions);
                return pixels;
            };
            auto want = frame(scalarFunctionsOf<TypeParam>(), false);
            if (!isPlane) triple<T>(nullptr, want.data(), src.width * src.height);
            ASSERT_TRUE(same(want, frame(formatFunctionsOf<TypeParam>(), true))) << "frame " << i;
            ASSERT_FALSE(same(want, empty)) << "frame " << i;
        }
    });
    omp_set_num_threads(omp_get_num_procs());
}

}  // namespace
