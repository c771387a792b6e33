// Exact edges against the area of a pixel that another algorithm gives: the outline clipped to the
// pixel's square.
//
// The quad with the worst pixel is written to exact_edges_worst.pgm in the folder of temporary
// files.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <vector>

#include "Transform/Common/ResampleOptions.h"
#include "tests/support/engine_scene.h"

namespace {

using zelk::EngineOptions;
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

ResampleOptions const kExact = [] {
    ResampleOptions options;
    options.edges = EdgeCoverage::kExact;
    return options;
}();

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
    double rms() const { return std::sqrt(squares / static_cast<double>(std::max(pixels, 1L))); }
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

/// The worst pixel's frame, its errors as grey: 128 is none, black and white are the worst.
void writeErrors(GuardedRaster const& output, Polygon const& outline, double most) {
    std::ofstream picture(testing::TempDir() + "exact_edges_worst.pgm", std::ios::binary);
    picture << "P5 " << output.width() << " " << output.height() << " 255\n";
    for (int y = 0; y < output.height(); ++y)
        for (int x = 0; x < output.width(); ++x) {
            double const error = output.get(x, y, 0) - areaInPixel(outline, x, y);
            picture.put(static_cast<char>(std::lround(128 + 127 * error / most)));
        }
}

// Any quad, some of it outside the frame; filters of each kind of line function.
TEST(ExactEdges, CoverageIsTheAreaOfThePixelInsideTheOutline) {
    constexpr unsigned kSeed = 20261126;
    zelk::Random random(kSeed);
    GuardedRaster const source = white(16, 16);
    Errors errors;
    for (int n = 0; n < 1000; ++n) {
        int const width = random.integer(5, 60), height = random.integer(5, 60);
        Quad to = zelk::randomConvexQuad(random);
        double const zoom = random.uniform(0.05, 1.6);
        for (double& c : to) c = (c - 0.5) * zoom + 0.5;
        constexpr int kFilters[] = {0, 1, 9};
        EngineScene const scene = sceneOf(width, height, to, source, kFilters[n % 3]);
        Polygon const outline = outlineOf(to, width, height);
        GuardedRaster const output = zelk::renderScene(scene, source, {.resample = &kExact});
        double const before = errors.most;
        compare(output, outline, errors);
        if (errors.most > before) writeErrors(output, outline, errors.most);
    }
    std::printf("seed %u, edge pixels %ld, RMS %.3g, largest %.3g\n", kSeed, errors.pixels,
                errors.rms(), errors.most);
    EXPECT_GT(errors.pixels, 100000);
    // Of floats: coverage to 2^-25, and a kernel's weights, which sum to 1 within 2^-21.
    EXPECT_LT(errors.rms(), 2e-7);
    EXPECT_LT(errors.most, 6e-7);
}

// Down to a thousandth of a pixel nothing is dropped, and colour comes from under the sliver: the
// layer is a ramp along and across, so that a pixel has its value at the centroid of its area.
TEST(ExactEdges, SliversKeepTheirAreaAndTheirColour) {
    constexpr unsigned kSeed = 4711;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    zelk::Random random(kSeed);
    GuardedRaster source(kFormatARGB32, 64, 64);
    source.paint([](int x, int y, int c) { return c == 0 ? 1.0 : c == 1 ? x : y; });
    constexpr int kSize = 60;
    for (int n = 0; n < 200; ++n) {
        double const angle = n % 4 == 0 ? 1.5707963267948966 * (n / 4) : random.uniform(0, 6.28);
        double const c = std::cos(angle), s = std::sin(angle);
        double const length = random.uniform(5, 25),
                     width = std::pow(10, random.uniform(-3, -0.05));
        At const corner = {random.uniform(27, 33), random.uniform(27, 33)};
        Quad to;
        for (int i = 0; i < 4; ++i) {
            double const along = length * (i % 2), across = width * (i / 2);
            to[2 * i] = (corner.x + along * c - across * s) / kSize;
            to[2 * i + 1] = (corner.y + along * s + across * c) / kSize;
        }
        Polygon const outline = outlineOf(to, kSize, kSize);
        EngineScene const scene = sceneOf(kSize, kSize, to, source, 1);
        GuardedRaster const output = zelk::renderScene(scene, source, {.resample = &kExact});
        double sum = 0, area = 0, across = 0;
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) {
                sum += output.get(x, y, 0);
                across += output.get(x, y, 2);
                area += areaInPixel(outline, x, y);
                ASSERT_NEAR(output.get(x, y, 0), areaInPixel(outline, x, y), 1e-7);
            }
        ASSERT_NEAR(sum, length * width, 1e-6 + 1e-4 * length * width) << n;
        ASSERT_NEAR(sum, area, 1e-6);
        // The mean over an affine map's area is the layer's own, but for reads past the border.
        ASSERT_NEAR(across / sum, 31.5, 1.0) << n;
    }
}

// With pins in its corners a layer covers every pixel with 1, not with a little less.
TEST(ExactEdges, ALayerThatFillsTheFrameCoversItWhole) {
    for (auto const& [width, height, grown] :
         {std::tuple{1, 1, 0.}, {7, 5, 0.}, {1920, 1080, 0.}, {8192, 3, 0.}, {33, 44, 3.}}) {
        GuardedRaster const source = white(9, 9);
        Quad to = zelk::kUnitSquare;
        for (double& c : to) c += c > 0 ? grown : -grown;
        for (int filter : {0, 1}) {
            GuardedRaster const output = zelk::renderScene(
                sceneOf(width, height, to, source, filter), source, {.resample = &kExact});
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) ASSERT_EQ(output.get(x, y, 0), 1.0);
        }
    }
}

// Inside, both scans sample alike; any number of threads gives the same bits.
TEST(ExactEdges, TheInteriorIsTheGridsOnAnyNumberOfThreads) {
    constexpr unsigned kSeed = 99;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    zelk::Random random(kSeed);
    constexpr int kWidth = 240, kHeight = 170;
    for (int n = 0; n < 6; ++n) {
        EngineScene scene;
        scene.setSizes(kWidth, kHeight, 30, 20);
        scene.to = zelk::randomConvexQuad(random);
        scene.filter = n % 3 ? 9 : 1;
        GuardedRaster const source = zelk::noiseSource(random, scene, kFormatARGB32);
        GuardedRaster const grid = zelk::renderScene(scene, source);
        ResampleOptions soft = kExact;
        soft.featherPx = n > 2 ? 5 : 0;
        EngineOptions options{.threads = 1, .resample = &soft};
        GuardedRaster const exact = zelk::renderScene(scene, source, options);
        for (options.threads = 2; options.threads < 4; ++options.threads)
            EXPECT_TRUE(exact.samePixels(zelk::renderScene(scene, source, options)));
        int inside = 0;
        Polygon const outline = outlineOf(scene.to, kWidth, kHeight);
        // A position that crosses a step of the weight table, of 2 / 255 pixels, moves a value.
        double const tolerance = scene.filter == 9 ? 0.02 : 1e-4;
        for (int y = 4; y + 4 < kHeight; ++y)
            for (int x = 4; x + 4 < kWidth; ++x) {
                bool isInside = true;
                for (int k : {-4, 4})
                    isInside = isInside && areaInPixel(outline, x + k, y) == 1 &&
                               areaInPixel(outline, x, y + k) == 1;
                for (int c = 0; isInside && c < 4; ++c)
                    ASSERT_NEAR(exact.get(x, y, c), grid.get(x, y, c), tolerance);
                inside += isInside;
            }
        EXPECT_GT(inside, 5000);
    }
}

// Any part of a frame, any feather and choke: nothing is written beside it, as renderScene tells,
// and coverage is one.
TEST(ExactEdges, StayWithinTheirWindow) {
    constexpr unsigned kSeed = 7;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    zelk::Random random(kSeed);
    for (int n = 0; n < 3000; ++n) {
        EngineScene scene = zelk::randomScene(random, 40);
        double const zoom = std::pow(10, random.uniform(-2, 2));
        for (double& c : scene.to) c = (c - 0.5) * zoom + 0.5;
        scene.filter = n % 2;
        GuardedRaster source(kFormatARGB32, scene.source.right + 1, scene.source.bottom + 1);
        source.paint([](int, int, int) { return 1.0; });
        ResampleOptions options = kExact;
        options.featherPx = random.flip() ? random.uniform(0, 20) : 0;
        options.chokePx = random.flip() ? random.uniform(0, 20) : 0;
        GuardedRaster const output =
            zelk::renderScene(scene, source, {.clearOutput = n % 3 > 0, .resample = &options}, 16);
        for (int y = 0; n % 3 > 0 && y < output.height(); ++y)
            for (int x = 0; x < output.width(); ++x) {
                double const coverage = output.get(x, y, 0);
                ASSERT_TRUE(coverage >= 0 && coverage <= 1) << coverage;
            }
    }
}

// On an axis-parallel rectangle: a product of two ramps, each the mean over the pixel.
TEST(ExactEdges, FeatherAndChokeHaveTheirClosedFormOnARectangle) {
    constexpr int kSize = 60;
    constexpr double kLeft = 12.3, kRight = 44.75, kTop = 10.5, kBottom = 51.125;
    Quad to = {kLeft, kTop, kRight, kTop, kLeft, kBottom, kRight, kBottom};
    for (double& c : to) c /= kSize;
    GuardedRaster const source = white(9, 9);
    for (auto const& [feather, choke] :
         {std::pair{0., 3.4}, {1., 0.}, {3., 0.}, {3., 2.25}, {12., 0.}, {12., 5.}, {0., 30.}}) {
        ResampleOptions options = kExact;
        options.featherPx = feather;
        options.chokePx = choke;
        for (int filter : {0, 1}) {
            GuardedRaster const output = zelk::renderScene(
                sceneOf(kSize, kSize, to, source, filter), source, {.resample = &options});
            auto const ramp = [&, f = feather, k = choke](double at, double low, double high) {
                double mean = 0;
                for (double s = at + 1. / 512; s < at + 1; s += 1. / 256) {
                    double product = 1;
                    for (double d : {s - low - k, high - k - s}) {
                        double const t = f > 0 ? std::clamp(d / f + 0.5, 0., 1.) : d > 0;
                        product *= t * t * (3 - 2 * t);
                    }
                    mean += product / 256;
                }
                return mean;
            };
            SCOPED_TRACE(testing::Message() << feather << " " << choke);
            // The step's own mean is off by up to 1 / 512 a side; a ramp's, taken at 8 / f points,
            // by its curvature 6 / f^2 times a 24th of their distance's square.
            double const tolerance = feather > 0 ? 6.0 / 24 / 64 + 0.001 : 0.005;
            for (int y = 0; y < kSize; ++y)
                for (int x = 0; x < kSize; ++x)
                    ASSERT_NEAR(output.get(x, y, 0),
                                ramp(x, kLeft, kRight) * ramp(y, kTop, kBottom), tolerance)
                        << x << ", " << y;
        }
    }
}

// More taps make a kernel wider about the sample's own place: a ramp stays one, without a jump from
// pixel to pixel, and the border repeats.
TEST(ChosenKernel, KeepsARampAndTheBorderWithAnyTaps) {
    GuardedRaster source(kFormatARGB32, 32, 8);
    source.paint([](int x, int, int c) { return c == 0 ? 1.0 : x; });
    for (int const filter : {2, 4, 6, 9, 20})
        for (int size = 0; size < 4; ++size) {
            EngineScene scene = sceneOf(320, 16, zelk::kUnitSquare, source, filter);
            scene.sizeIndex = size;
            ResampleOptions options = kExact;
            options.kernel.filter = filter;
            GuardedRaster const output = zelk::renderScene(scene, source, {.resample = &options});
            for (int x = 0; x < 320; ++x) {
                double const u = (x + 0.5) / 10 - 0.5;
                ASSERT_NEAR(output.get(x, 5, 0), 1, 1e-6);
                // A row of the table is up to 2 / 255 before its fraction; a widened kernel that is
                // no spline of its pixels ripples.
                if (x >= 60 && x < 260) {
                    ASSERT_NEAR(output.get(x, 5, 1), u, 0.08) << filter << " taps " << 4 + 2 * size;
                }
            }
        }
}

}  // namespace
