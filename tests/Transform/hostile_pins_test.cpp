// Pins of which no map can be made, or hardly: a render ends within the rows of its window, stays
// inside its rasters and paints nothing beyond a level edge's own pixels.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"
#include "Transform/Common/Transform_Core_Render/transformPoly.h"
#include "host/PluginHost_Memory_Impl.h"
#include "tests/support/engine_scene.h"
#include "tests/support/formats.h"

namespace {

using zelk::GuardedRaster;
using zelk::Quad;
using zelk::Random;

double anyNumber(Random& random) {
    constexpr double kLimits[] = {INFINITY, -INFINITY, NAN, 1e300, -1e300, 1e-300, 1e9, 0.0};
    return kLimits[random.integer(0, 7)];
}

/// A convex quad, most often spoilt: small whole numbers, a doubled corner, one on the diagonal of
/// its neighbours, one moved off it by next to nothing, huge coordinates, or no number at all.
Quad hostileQuad(Random& random) {
    Quad q = zelk::randomConvexQuad(random);
    double const scale = std::pow(10.0, random.uniform(-2, 3));
    for (double& c : q) c = 0.5 + (c - 0.5) * scale;
    int const corner = random.integer(0, 3), other = corner ^ random.integer(1, 3);
    int const next = corner ^ 1, previous = corner ^ 2;
    double const t = random.uniform(0, 1), off = std::pow(10.0, random.uniform(-18, -6));
    int const kind = random.integer(0, 7);
    for (int axis = 0; axis < 2; ++axis) {
        double& c = q[2 * corner + axis];
        double const a = q[2 * next + axis], b = q[2 * previous + axis];
        if (kind == 1) c = q[2 * other + axis];
        if (kind == 2) c = a + t * (b - a);
        if (kind == 3) c = a + t * (b - a) + random.uniform(-off, off);
        if (kind == 4) c = anyNumber(random);
    }
    if (kind == 5) q[random.integer(0, 7)] = anyNumber(random);
    if (kind == 6)
        for (double& c : q) c = std::round(c * 12) / 12;
    return q;
}

struct HostileRender {
    int width, height;
    CoreRenderArguments core;
    RenderSettings settings;

    explicit HostileRender(Random& random)
        : width(random.integer(2, 20)), height(random.integer(2, 20)) {
        constexpr int kFilters[] = {0, 1, 2, 9, 20, 22};
        core.quadMode = random.integer(2, 4);
        core.filter = kFilters[random.integer(0, 5)];
        core.sizeIndex = random.integer(0, 3);
        core.renderMode = std::max(random.integer(-6, 3), 0);
        zelk::setPins(core.toPins, hostileQuad(random));
        zelk::setPins(core.fromPins, hostileQuad(random));
        core.useCamera = random.integer(0, 7) == 0;
        for (double& e : core.cameraMatrix)
            e = random.integer(0, 99) == 0 ? anyNumber(random) : random.uniform(-2, 2);
        const Quad corners = hostileQuad(random);
        for (int i = 0; i < 4; ++i)
            settings.sourceQuad[i] = {corners[2 * i] * width, corners[2 * i + 1] * height};
        settings.dstRight = width - 1, settings.dstBottom = height - 1;
        settings.srcRight = random.integer(1, 15), settings.srcBottom = random.integer(1, 15);
        setDefaultSuperSamplePattern(&settings);
    }

    /// Rows from the polygon's first to its last: as far as a scan may walk. 0: nothing is drawn.
    int rowsToWalk() {
        RenderSettings& s = settings;
        QV_Mtrx44 matrix;
        bool const usesMatrix = s.renderMode < 2;
        if (usesMatrix && calcMatrix(matrix, core, s, width, height) && s.renderMode == 0) return 0;
        QV_FRect target(s.dstLeft, s.dstTop, s.dstRight, s.dstBottom);
        QV_Poly poly;
        const QV_IRect source = {s.srcLeft, s.srcTop, s.srcRight, s.srcBottom};
        if (!transformPoly(nullptr, &poly, &target, source, nullptr, nullptr, &s, &matrix))
            return 0;
        double top = INFINITY, bottom = -INFINITY;
        for (int i = 0; i < poly.m_n; ++i) {
            top = std::min(top, poly.m_vert[i].sy);
            bottom = std::max(bottom, poly.m_vert[i].sy);
        }
        return static_cast<int>(std::floor(bottom) - std::floor(top)) + 1;
    }
};

TEST(HostilePins, RenderWithinTheirWindow) {
    constexpr int kRenders = 50000;
    int const defaultThreads = omp_get_max_threads();
    omp_set_num_threads(1);
    int drawn = 0;
    for (int seed = 1; seed <= kRenders; ++seed) {
        Random random(static_cast<unsigned>(seed));
        HostileRender r(random);
        const QV_RasterFormat format = zelk::kFormats[seed % std::size(zelk::kFormats)].code;
        const GuardedRaster source(format, r.settings.srcRight + 1, r.settings.srcBottom + 1);
        const GuardedRaster output(format, r.width, r.height);
        PluginHost_Memory_Impl host(source.info(), output.info());
        host.setOutputSize(r.width, r.height);
        ASSERT_EQ(CommonRender_CoreTransformRender(&host, r.core, source.info(), output.info(),
                                                   true, false, &r.settings, true, false),
                  0);
        ASSERT_TRUE(source.guardsIntact() && output.guardsIntact()) << "seed " << seed;
        int const rows = r.rowsToWalk();
        drawn += rows > 0;
        ASSERT_LE(rows - r.height, 2) << "seed " << seed << ", " << r.height << " rows";
    }
    omp_set_num_threads(defaultThreads);
    EXPECT_GT(drawn, kRenders / 10);
}

// Edges within a few millionths of a pixel of level, near whole and sixteenth rows: white paints no
// pixel more than one beyond the corners.
TEST(HostilePins, LevelEdgesStayBetweenTheirCorners) {
    constexpr unsigned kQuads = 300;
    constexpr int kWidth = 128, kHeight = 1080;
    int spills = 0;
    for (unsigned seed = 1; seed <= kQuads; ++seed) {
        Random random(seed);
        zelk::EngineScene scene;
        scene.setSizes(kWidth, kHeight, 2, 2);
        GuardedRaster white(kFormatARGB8, 2, 2);
        white.paint([](int, int, int) { return 255.0; });
        auto const level = [&](int row) {
            return row + random.integer(0, 1) * random.integer(0, 15) / 16.0 +
                   random.integer(-4, 4) / 65536.0;
        };
        int const left = random.integer(2, 60), right = left + random.integer(20, 60);
        int const top = random.integer(400, 700), bottom = top + random.integer(2, 300);
        double const y[4] = {level(top), level(top), level(bottom), level(bottom)};
        for (int i = 0; i < 4; ++i)
            scene.to[2 * i] = (i % 2 ? right : left) / double{kWidth},
                         scene.to[2 * i + 1] = y[i] / double{kHeight};
        const GuardedRaster output = zelk::renderScene(scene, white);
        int painted = 0, between = 0;
        for (int row = 0; row < kHeight; ++row) {
            bool const isRow = row >= top - 2 && row <= bottom + 2;
            for (int x = 0; x < kWidth; ++x) {
                bool const isPainted = *output.pixel(x, row) != 0;
                painted += isPainted;
                between += isPainted && isRow && x >= left - 1 && x <= right;
            }
        }
        EXPECT_GT(between, 0);
        spills += painted > between;
    }
    EXPECT_EQ(spills, 0) << "of " << kQuads;
}

TEST(HostilePins, AnEmptySourceDrawsNothingButAFill) {
    for (int const filter : {0, 1, 9, 22}) {
        for (bool const fill : {false, true}) {
            zelk::EngineScene scene;
            scene.setSizes(9, 7, 1, 1);
            scene.source = {0, 0, -1, filter == 1 ? 0 : -1};
            scene.filter = filter;
            const GuardedRaster source(kFormatARGB32, 1, 1);
            const GuardedRaster output = zelk::renderScene(scene, source, {.fill = fill});
            double sum = 0;
            output.forEachChannel([&](int x, int y, int c) { sum += output.get(x, y, c); });
            EXPECT_EQ(sum > 0.0, fill) << filter;
        }
    }
}

// More taps than any render asks for, and a window whose I0 has no finite value.
TEST(HostilePins, WeightTablesHoldTheirRows) {
    for (double const alpha : {3.0, 700.0, 1000.0, -1e9, double{NAN}}) {
        for (int const taps : {10, 11, 32, 1000}) {
            RenderSettings s;
            s.taps = taps;
            setInterpLineFunc(&s, alpha, 0, kFilterKaiser, false, 0, 0, false, 0, 0, 0, false,
                              true);
            int const held = std::min(taps, kMaxTaps);
            for (int row = 0; row < kLutRows; ++row) {
                double sum = 0;
                for (int k = 0; k < held; ++k) sum += s.lut[row * held + k];
                ASSERT_TRUE(std::fabs(sum) < 1e-5 || std::fabs(sum - 1) < 1e-5)
                    << alpha << ", " << taps << " taps, row " << row << ": " << sum;
            }
            EXPECT_EQ(s.taps, taps);
        }
    }
}

}  // namespace
