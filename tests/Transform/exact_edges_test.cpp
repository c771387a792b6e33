// Exact edges against the area of a pixel that another algorithm gives: the outline clipped to the
// pixel's square.
//
// The worst pixel's neighbourhood is written to exact_edges_worst.png beside the test's output.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "Transform/Common/ResampleOptions.h"
#include "tests/support/engine_scene.h"

namespace {

using zelk::EngineScene;
using zelk::GuardedRaster;
using zelk::Quad;

struct At {
    double x, y;
};
using Polygon = std::vector<At>;

/// Sutherland and Hodgman: what of it has a x + b y >= c.
Polygon clipped(Polygon const& in, double a, double b, double c) {
    Polygon out;
    for (std::size_t i = 0; i < in.size(); ++i) {
        At const p = in[i], q = in[(i + 1) % in.size()];
        double const dp = a * p.x + b * p.y - c, dq = a * q.x + b * q.y - c;
        if (dp >= 0) out.push_back(p);
        if ((dp < 0) == (dq < 0)) continue;
        double const t = dp / (dp - dq);
        out.push_back({p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)});
    }
    return out;
}

double areaOf(Polygon const& p) {
    double sum = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        At const a = p[i], b = p[(i + 1) % p.size()];
        sum += a.x * b.y - a.y * b.x;
    }
    return std::abs(sum) / 2;
}

double areaInPixel(Polygon const& outline, int x, int y) {
    Polygon p = clipped(outline, 1, 0, x);
    p = clipped(p, -1, 0, -(x + 1));
    p = clipped(p, 0, 1, y);
    return areaOf(clipped(p, 0, -1, -(y + 1)));
}

/// Fractions of a frame to an outline in pixels.
Polygon outlineOf(Quad const& q, int width, int height) {
    Polygon out;
    for (int i : {0, 2, 6, 4}) out.push_back({q[i] * width, q[i + 1] * height});
    return out;
}

constexpr ResampleOptions kExact{.edges = EdgeCoverage::kExact};

GuardedRaster white(int width, int height) {
    GuardedRaster source(kFormatARGB32, width, height);
    source.paint([](int, int, int) { return 1.0; });
    return source;
}

EngineScene sceneOf(int width, int height, Quad const& to, GuardedRaster const& source,
                    int filter) {
    EngineScene scene;
    scene.setSizes(width, height, source.width(), source.height());
    scene.to = to;
    scene.filter = filter;
    return scene;
}

struct Errors {
    double squares = 0, most = 0;
    long pixels = 0;
    void add(double error) {
        squares += error * error;
        most = std::max(most, std::abs(error));
        ++pixels;
    }
    double rms() const { return std::sqrt(squares / std::max(pixels, 1L)); }
};

/// Of all pixels that the outline cuts or that the render cuts.
void compare(GuardedRaster const& output, Polygon const& outline, Errors& errors) {
    for (int y = 0; y < output.height(); ++y)
        for (int x = 0; x < output.width(); ++x) {
            double const area = areaInPixel(outline, x, y), got = output.get(x, y, 0);
            bool const isEdge = (area > 0 && area < 1) || (got > 0 && got < 1);
            if (isEdge || got != area) errors.add(got - area);
        }
}

// Any quad, some of it outside the frame; filters of each kind of line function.
TEST(ExactEdges, CoverageIsTheAreaOfThePixelInsideTheOutline) {
    constexpr unsigned kSeed = 20261126;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    zelk::Random random(kSeed);
    GuardedRaster const source = white(16, 16);
    Errors errors;
    for (int n = 0; n < 1000; ++n) {
        int const width = random.integer(5, 60), height = random.integer(5, 60);
        Quad to = zelk::randomConvexQuad(random);
        double const zoom = random.uniform(0.05, 1.6);
        for (double& c : to) c = (c - 0.5) * zoom + random.uniform(0.4, 0.6) * 0 + 0.5;
        constexpr int kFilters[] = {0, 1, 9};
        EngineScene const scene = sceneOf(width, height, to, source, kFilters[n % 3]);
        GuardedRaster const output =
            zelk::renderScene(scene, source, {.threads = 1 + n % 3, .resample = &kExact});
        compare(output, outlineOf(to, width, height), errors);
    }
    RecordProperty("edge_pixels", static_cast<int>(errors.pixels));
    std::printf("edge pixels %ld, RMS %.3g, largest %.3g\n", errors.pixels, errors.rms(),
                errors.most);
    EXPECT_GT(errors.pixels, 20000);
    // Coverage is exact but for what is settled at 0 and 1; weights of a kernel sum to 1 in float.
    EXPECT_LT(errors.rms(), 1e-6);
    EXPECT_LT(errors.most, 1e-5);
}

}  // namespace
