// Footprints: the vector sampler against the scalar one, what any integral must give, no seam as
// the map's scale changes, and whole frames, also through a lens map.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "Transform/Common/FrameMap.h"
#include "Transform/Common/Transform_Core_Render/Footprint.h"
#include "tests/support/engine_scene.h"
#include "tests/support/simd_targets.h"

namespace {

using namespace zelk;

constexpr unsigned kSeed = 20261126;
constexpr float kOneStep = 1.0f / 255;

/// A float image of four channels, each value(x, y, channel).
struct Image {
    int width, height;
    std::vector<float> values;

    template <class Value>
    Image(int w, int h, Value value) : width(w), height(h) {
        for (int i = 0; i < 4 * w * h; ++i)
            values.push_back(static_cast<float>(value(i / 4 % w, i / 4 / w, i % 4)));
    }
    RenderSettings settings() {
        RenderSettings s;
        s.srcData = values.data();
        s.srcRowBytes = width * 16;
        s.srcMaxX = width - 1;
        s.srcMaxY = height - 1;
        return s;
    }
    FootprintSource source(double side) {
        return {settings(), FootprintSource::levelsFor({0, 0, side, 0, 0, side})};
    }
};

float sampled(FootprintSource const& source, Footprint const& f, int channel = 0) {
    const FootprintSamples samples = samplesOf(source, f);
    float out[4];
    sampleFootprints(source, &samples, 1, out);
    return out[channel];
}

/// Both sides up to `largest` texels, in any direction.
Footprint randomFootprint(Random& random, int width, int height, double largest) {
    auto const side = [&] {
        return random.uniform(-1, 1) * std::pow(largest, random.uniform(0, 1));
    };
    return {random.uniform(-9, width + 9),
            random.uniform(-9, height + 9),
            side(),
            side(),
            side(),
            side()};
}

TEST(Footprint, VectorsGiveTheBitsOfScalarCodeOnEveryInstructionSet) {
    SCOPED_TRACE(kSeed);
    constexpr double kOdd[] = {NAN, INFINITY, -INFINITY, 1e300, 0, -0.0};
    onEveryTarget([&] {
        Random random(kSeed);
        for (int round = 0; round < 300; ++round) {
            Image image(random.integer(1, 70), random.integer(1, 70),
                        [&](int, int, int) { return random.uniform(-0.5, 1.5); });
            auto source = image.source(50);
            std::vector<FootprintSamples> samples;
            for (int i = random.integer(0, 40); i > 0; --i) {
                Footprint f = randomFootprint(random, image.width, image.height, 80);
                double* const fields[] = {&f.u, &f.v, &f.ux, &f.vx, &f.uy, &f.vy};
                if (random.integer(0, 9) == 0)
                    *fields[random.integer(0, 5)] = kOdd[random.integer(0, 5)];
                samples.push_back(samplesOf(source, f));
            }
            std::vector<float> scalar(4 * samples.size()), vector(scalar.size());
            auto const count = static_cast<int>(samples.size());
            sampleFootprints(source, samples.data(), count, scalar.data());
            sampleFootprintsSimd(source, samples.data(), count, vector.data());
            ASSERT_TRUE(samples.empty() ||
                        std::memcmp(scalar.data(), vector.data(), 4 * scalar.size()) == 0)
                << round;
        }
    });
}

// Any mean keeps a constant; one that is symmetric keeps a slope at its centre.
TEST(Footprint, KeepsConstantsAndSlopes) {
    SCOPED_TRACE(kSeed);
    Random random(kSeed);
    constexpr int kSize = 400;
    Image slope(kSize, kSize,
                [](int x, int y, int c) { return c == 3 ? 0.75 : (x + 2 * y) * 1e-3; });
    auto source = slope.source(64);
    ASSERT_GT(source.levels().size(), 3u);
    for (int i = 0; i < 3000; ++i) {
        Footprint f = randomFootprint(random, 1, 1, 40);
        f.u = random.uniform(120, 280), f.v = random.uniform(120, 280);
        EXPECT_NEAR(sampled(source, f), (f.u + 2 * f.v) * 1e-3, 2e-6);
        EXPECT_NEAR(sampled(source, f, 3), 0.75, 2e-6);  // weights round
    }
}

// From a side to one a thousandth longer no value moves by more than the picture's own change.
TEST(Footprint, ShowsNoSeamWhereItsSizeChanges) {
    Random random(kSeed);
    Image noise(256, 256, [&](int, int, int) { return random.uniform(0, 1); });
    auto source = noise.source(200);
    for (double const aspect : {1.0, 0.3, 0.0}) {
        double side = 0.25, largest = 0, at = 0;
        float before = sampled(source, {128.3, 127.6, side, 0, 0, side * aspect});
        for (; side < 150; side *= 1.001) {
            float const now = sampled(source, {128.3, 127.6, side, 0, 0, side * aspect});
            if (std::fabs(now - before) > largest) largest = std::fabs(now - before), at = side;
            before = now;
        }
        EXPECT_LT(largest, 0.03) << "at a side of " << at << ", aspect " << aspect;
    }
}

// A picture of waves up to one a pixel pair, shrunk: the mean of 8 by 8 bilinear samples a pixel.
TEST(Footprint, MeetsAnEightByEightSampledReferenceWhereThePictureShrinks) {
    constexpr int kSize = 512;
    constexpr double kPi = 3.14159265358979;
    auto const zone = [](int x, int y, int) {
        double const dx = x - kSize / 2, dy = y - kSize / 2;
        return 0.5 + 0.5 * std::cos(kPi * (dx * dx + dy * dy) / kSize);
    };
    auto const checker = [](int x, int y, int) { return (x / 8 + y / 8) % 2; };
    Image images[] = {{kSize, kSize, zone}, {kSize, kSize, checker}};
    for (Image& image : images) {
        auto const bilinear = [&](double u, double v) {
            int const x = static_cast<int>(u), y = static_cast<int>(v);
            auto const at = [&](int i, int j) {
                return image.values[4 * ((y + j) * kSize + x + i)];
            };
            double const fx = u - x, fy = v - y;
            return (at(0, 0) * (1 - fx) + at(1, 0) * fx) * (1 - fy) +
                   (at(0, 1) * (1 - fx) + at(1, 1) * fx) * fy;
        };
        for (double const side : {2.5, 5.0, 17.0}) {
            auto source = image.source(side);
            double squares = 0;
            int count = 0;
            for (double v = 20.3; v < kSize - 21; v += side)
                for (double u = 20.7; u < kSize - 21; u += side, ++count) {
                    double sum = 0;
                    for (int k = 0; k < 64; ++k)
                        sum += bilinear(u + ((k % 8 + 0.5) / 8 - 0.5) * side,
                                        v + ((k / 8 + 0.5) / 8 - 0.5) * side);
                    double const error = sampled(source, {u, v, side, 0, 0, side}) - sum / 64;
                    squares += error * error;
                }
            EXPECT_LT(std::sqrt(squares / count) / kOneStep, 5.5) << side;
        }
    }
}

// ---- Whole frames

constexpr int kWidth = 320, kHeight = 240;  // large enough for a team
constexpr Quad kOblique = {0.2, 0.1, 0.85, 0.2, 0.1, 0.9, 0.95, 0.8};

EngineScene obliqueScene(Quad const& to) {
    EngineScene scene;
    scene.setSizes(kWidth, kHeight, 197, 163);
    scene.to = to;
    scene.filter = 1;
    return scene;
}

/// Pixel centres moved by (dx, dy).
std::vector<float> movedMap(double dx, double dy) {
    std::vector<float> positions;
    for (int i = 0; i < kWidth * kHeight; ++i) {
        positions.push_back(static_cast<float>(i % kWidth + 0.5 + dx));
        positions.push_back(static_cast<float>(i / kWidth + 0.5 + dy));
    }
    return positions;
}

// A map that moves the frame is the same as pins that are moved the other way, edges and all, on
// any number of threads.
TEST(Footprint, AMapThatMovesTheFrameMovesThePins) {
    Random random(kSeed);
    const EngineScene still = obliqueScene(kOblique);
    Quad moved = kOblique;
    for (int i = 0; i < 8; i += 2) moved[i] -= 10.25 / kWidth, moved[i + 1] += 7.5 / kHeight;
    GuardedRaster const source = noiseSource(random, still, kFormatARGB32);
    const std::vector<float> away = movedMap(10.25, -7.5), at = movedMap(0, 0);
    for (bool const integrates : {true, false}) {
        auto const render = [&](EngineScene const& scene, std::vector<float> const* positions) {
            const FrameMap map = {kWidth, kHeight, positions ? positions->data() : nullptr,
                                  2 * kWidth};
            ResampleOptions options;
            options.integratesFootprint = integrates;
            if (positions) options.map = &map;
            EngineOptions engine{.threads = 1, .resample = &options};
            const GuardedRaster one = renderScene(scene, source, engine);
            for (engine.threads = 2; engine.threads < 6; ++engine.threads)
                EXPECT_TRUE(one.samePixels(renderScene(scene, source, engine)));
            return one;
        };
        const GuardedRaster through = render(still, &away);
        const GuardedRaster direct = render(obliqueScene(moved), &at);
        const GuardedRaster plain = render(obliqueScene(moved), nullptr);
        int drawn = 0, inside = 0;
        through.forEachChannel([&](int x, int y, int c) {
            drawn += through.get(x, y, 0) != 0;
            ASSERT_NEAR(through.get(x, y, c), direct.get(x, y, c), 2e-3) << x << ", " << y;
            // Without a map the interior is the same; the scan's edges are of its own grid.
            if (std::fabs(through.get(x, y, c) - plain.get(x, y, c)) < 2e-3) ++inside;
        });
        EXPECT_GT(drawn, 80000);
        EXPECT_GT(inside, 4 * (kWidth * kHeight - 1400));
    }
}

// What a map leaves open stays empty, and nothing reads beyond the source, whose outside is no
// number.
TEST(Footprint, MapsWithoutPositionsDrawNothing) {
    Random random(kSeed);
    std::vector<float> positions = movedMap(0, 0);
    for (int i = 0; i < kWidth * kHeight; ++i)
        if (i % kWidth < kWidth / 2) positions[2 * i] = i % 2 ? NAN : INFINITY;
    const FrameMap map = {kWidth, kHeight, positions.data(), 2 * kWidth};
    ResampleOptions options;
    options.integratesFootprint = true;
    options.map = &map;
    EngineOptions engine;
    engine.resample = &options;
    const EngineScene scene = obliqueScene(kOblique);
    const GuardedRaster frame =
        renderScene(scene, noiseSource(random, scene, kFormatARGB32), engine);
    int drawn = 0;
    frame.forEachChannel([&](int x, int y, int c) {
        ASSERT_TRUE(std::isfinite(frame.get(x, y, c)));
        if (x < kWidth / 2) {
            ASSERT_EQ(frame.get(x, y, c), 0);
        }
        drawn += frame.get(x, y, c) != 0;
    });
    EXPECT_GT(drawn, 40000);
}

}  // namespace
