// Exact edges against the area of a pixel that another algorithm gives: the outline clipped to the
// pixel's square.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "tests/support/engine_scene.h"
#include "tests/support/plane.h"

namespace {

using zelk::EngineScene;
using zelk::GuardedRaster;
using zelk::Point;
using zelk::Polygon;
using zelk::Quad;

double areaInPixel(Polygon const& outline, int x, int y) {
    return zelk::areaInside(outline, x, y, x + 1, y + 1);
}

/// Fractions of a frame to an outline in pixels.
Polygon outlineOf(Quad const& q, int width, int height) {
    Polygon out;
    for (int i : {0, 2, 6, 4}) out.push_back({q[i] * width, q[i + 1] * height});
    return out;
}

Quad zoomed(Quad quad, double zoom) {
    for (double& c : quad) c = (c - 0.5) * zoom + 0.5;
    return quad;
}

ResampleOptions exactEdges(double featherPx = 0, double chokePx = 0, int kernel = -1) {
    ResampleOptions options;
    options.edges = EdgeCoverage::kExact;
    options.kernel.filter = kernel;
    options.featherPx = featherPx, options.chokePx = chokePx;
    return options;
}

/// Channel 0 white, 1 the column, 2 the row.
GuardedRaster ramps(int width, int height) {
    GuardedRaster source(kFormatARGB32, width, height);
    source.paint([](int x, int y, int c) { return c == 0 ? 1.0 : c == 1 ? x : y; });
    return source;
}

GuardedRaster drawn(int width, int height, Quad const& to, int filter,
                    ResampleOptions const& options, GuardedRaster const& source = ramps(16, 16)) {
    EngineScene scene;
    scene.setSizes(width, height, source.width(), source.height());
    scene.to = to;
    scene.filter = filter;
    scene.sizeIndex = options.kernel.sizeIndex;
    return zelk::renderScene(scene, source, {.resample = &options});
}

// Any quad in any part of a frame; filters of each kind of line function. With any feather and
// choke nothing is written beside the window, as renderScene tells, and coverage is one.
TEST(ExactEdges, CoverageIsTheAreaOfThePixelInsideTheOutline) {
    constexpr unsigned kSeed = 20261126;
    zelk::Random random(kSeed);
    double squares = 0, most = 0;
    int pixels = 0;
    for (int n = 0; n < 1000; ++n) {
        EngineScene scene = zelk::randomScene(random, 90);
        scene.from = zelk::kUnitSquare;
        scene.to = zoomed(scene.to, std::pow(10, random.uniform(-1.3, 0.3)));
        scene.filter = std::array{0, 1, 9}[static_cast<std::size_t>(n % 3)];
        GuardedRaster const source = ramps(scene.source.right + 1, scene.source.bottom + 1);
        auto const render = [&](ResampleOptions const& options, bool clears) {
            return zelk::renderScene(scene, source, {.clearOutput = clears, .resample = &options});
        };
        GuardedRaster const output = render(exactEdges(), true);
        Polygon outline = outlineOf(scene.to, scene.frameWidth, scene.frameHeight);
        for (Point& at : outline) at.x -= scene.window.left, at.y -= scene.window.top;
        output.forEachChannel([&](int x, int y, int c) {
            double const area = areaInPixel(outline, x, y), error = output.get(x, y, 0) - area;
            if (c > 0 || ((area == 0 || area == 1) && error == 0)) return;
            squares += error * error, ++pixels;
            most = std::max(most, std::abs(error));
        });
        double const feather = random.uniform(0, 20), choke = random.uniform(-20, 20);
        render(exactEdges(feather, std::max(choke, 0.)), false);
        GuardedRaster const soft = render(exactEdges(feather, std::max(choke, 0.)), true);
        soft.forEachChannel(
            [&](int x, int y, int) { ASSERT_LE(std::abs(soft.get(x, y, 0) - 0.5), 0.5 + 1e-6); });
    }
    double const rms = std::sqrt(squares / pixels);
    std::printf("seed %u, edge pixels %d, RMS %.3g, largest %.3g\n", kSeed, pixels, rms, most);
    EXPECT_GT(pixels, 50000);
    // Of floats: coverage to 2^-25, and a kernel's weights, which sum to 1 within 2^-21.
    EXPECT_LT(rms, 2e-7);
    EXPECT_LT(most, 6e-7);
}

// Down to a thousandth of a pixel nothing is dropped, and colour comes from under the sliver: the
// layer's rows run across it, and their mean is the middle one.
TEST(ExactEdges, SliversKeepTheirAreaAndTheirColour) {
    constexpr unsigned kSeed = 4711;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    zelk::Random random(kSeed);
    constexpr int kSize = 60;
    GuardedRaster const source = ramps(64, 64);
    for (int n = 0; n < 200; ++n) {
        double const angle = n % 4 ? random.uniform(0, 6.28) : 1.5707963267948966 * (n / 4);
        double const cosine = std::cos(angle), sine = std::sin(angle);
        double const length = random.uniform(5, 25);
        double const width = std::pow(10, random.uniform(-3, -0.05));
        Point const corner = {random.uniform(27, 33), random.uniform(27, 33)};
        Quad to;
        for (int i = 0; i < 4; ++i) {
            double const along = length * (i % 2), across = width * (i / 2);
            to[2 * i] = (corner.x + along * cosine - across * sine) / kSize;
            to[2 * i + 1] = (corner.y + along * sine + across * cosine) / kSize;
        }
        GuardedRaster const output = drawn(kSize, kSize, to, 1, exactEdges(), source);
        double sum = 0, across = 0;
        output.forEachChannel([&](int x, int y, int c) {
            if (c > 0) return;
            sum += output.get(x, y, 0);
            across += output.get(x, y, 2);
            ASSERT_NEAR(output.get(x, y, 0), areaInPixel(outlineOf(to, kSize, kSize), x, y), 1e-7);
        });
        ASSERT_NEAR(sum, length * width, 1e-6 + 1e-4 * length * width) << n;
        ASSERT_NEAR(across / sum, 31.5, 1.0) << n;  // reads at the border count twice
    }
}

// With pins in its corners a layer covers every pixel with 1, not with a little less.
TEST(ExactEdges, ALayerThatFillsTheFrameCoversItWhole) {
    for (auto const& [width, height, zoom] :
         {std::tuple{1, 1, 1.}, {7, 5, 1.}, {1920, 1080, 1.}, {8192, 3, 1.}, {33, 44, 7.}})
        for (int filter : {0, 1}) {
            Quad const to = zoomed(zelk::kUnitSquare, zoom);
            GuardedRaster const output = drawn(width, height, to, filter, exactEdges());
            output.forEachChannel(
                [&](int x, int y, int c) { ASSERT_EQ(c == 0 ? output.get(x, y, 0) : 1.0, 1.0); });
        }
}

// Inside, both scans sample alike; any number of threads gives the same bits.
TEST(ExactEdges, TheInteriorIsTheGridsOnAnyNumberOfThreads) {
    constexpr unsigned kSeed = 99;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    zelk::Random random(kSeed);
    for (int n = 0; n < 6; ++n) {
        EngineScene scene;
        scene.setSizes(240, 170, 30, 20);
        scene.to = zelk::randomConvexQuad(random);
        scene.filter = n % 3 ? 9 : 1;
        GuardedRaster const source = zelk::noiseSource(random, scene, kFormatARGB32);
        GuardedRaster const grid = zelk::renderScene(scene, source);
        ResampleOptions const options = exactEdges(n > 2 ? 5 : 0);
        auto const render = [&](int threads) {
            return zelk::renderScene(scene, source, {.threads = threads, .resample = &options});
        };
        GuardedRaster const exact = render(1);
        for (int threads : {2, 3}) EXPECT_TRUE(exact.samePixels(render(threads)));
        int inside = 0;
        Polygon const outline = outlineOf(scene.to, 240, 170);
        // A position that crosses a step of the weight table, of 2 / 255 pixels, moves a value.
        double const tolerance = scene.filter == 9 ? 0.02 : 1e-4;
        exact.forEachChannel([&](int x, int y, int c) {
            if (x < 4 || y < 4 || x > 235 || y > 165) return;  // the frame's own edges
            for (int k : {-4, 4})
                if (areaInPixel(outline, x + k, y) < 1 || areaInPixel(outline, x, y + k) < 1)
                    return;
            ASSERT_NEAR(exact.get(x, y, c), grid.get(x, y, c), tolerance);
            ++inside;
        });
        EXPECT_GT(inside, 20000);
    }
}

// On an axis-parallel rectangle: a product of two ramps, each the mean over the pixel.
TEST(ExactEdges, FeatherAndChokeHaveTheirClosedFormOnARectangle) {
    constexpr int kSize = 60;
    constexpr double kLeft = 12.3, kRight = 44.75, kTop = 10.5, kBottom = 51.125;
    Quad to = {kLeft, kTop, kRight, kTop, kLeft, kBottom, kRight, kBottom};
    for (double& c : to) c /= kSize;
    for (auto const& [feather, choke] :
         {std::pair{0., 3.4}, {1., 0.}, {3., 0.}, {3., 2.25}, {12., 0.}, {12., 5.}, {0., 30.}}) {
        SCOPED_TRACE(testing::Message() << feather << " " << choke);
        auto const ramp = [f = feather, k = choke](double at, double low, double high) {
            double mean = 0;
            for (double s = at + 1. / 512; s < at + 1; s += 1. / 256) {
                double product = 1. / 256;
                for (double d : {s - low - k, high - k - s}) {
                    double const t = f > 0 ? std::clamp(d / f + 0.5, 0., 1.) : d > 0;
                    product *= t * t * (3 - 2 * t);
                }
                mean += product;
            }
            return mean;
        };
        // The step's own mean is off by up to 1 / 512 a side; a ramp's, taken at 8 / f points, by
        // its curvature 6 / f^2 times a 24th of their distance's square.
        double const tolerance = feather > 0 ? 6.0 / 24 / 64 + 0.001 : 0.005;
        GuardedRaster const output = drawn(kSize, kSize, to, 1, exactEdges(feather, choke));
        output.forEachChannel([&](int x, int y, int c) {
            if (c > 0) return;
            ASSERT_NEAR(output.get(x, y, 0), ramp(x, kLeft, kRight) * ramp(y, kTop, kBottom),
                        tolerance)
                << x << ", " << y;
        });
    }
}

// More taps make a kernel wider about the sample's own place: a ramp stays one, without a jump from
// pixel to pixel, and the border repeats.
TEST(ChosenKernel, KeepsARampAndTheBorderWithAnyTaps) {
    GuardedRaster const source = ramps(32, 8);
    for (int const filter : {2, 4, 6, 9, 20})
        for (int size = 0; size < 4; ++size) {
            ResampleOptions options = exactEdges(0, 0, filter);
            options.kernel.sizeIndex = size;
            GuardedRaster const output = drawn(320, 16, zelk::kUnitSquare, filter, options, source);
            // A row of the table is up to 2 / 255 before its fraction; a widened kernel that is no
            // spline of its pixels ripples.
            for (int x = 0; x < 320; ++x) {
                ASSERT_NEAR(output.get(x, 5, 0), 1, 1e-6);
                if (x < 60 || x >= 260) continue;
                ASSERT_NEAR(output.get(x, 5, 1), (x + 0.5) / 10 - 0.5, 0.08) << filter << size;
            }
        }
}

}  // namespace
