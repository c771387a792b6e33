// Whole frames of the pipeline over the transform engine, driven through the memory host.
//
// The pictures are ramps in float: bilinear filtering reproduces a ramp, so each output pixel tells
// which source position it was taken from, and a plain map of quads in the test says which it has
// to be.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Transform_Core_Render/PixelRows.h"
#include "effect/Render.h"
#include "tests/support/memory_controls.h"
#include "tests/support/random_quads.h"

namespace {

using Raster = PluginRaster_Memory_Impl;
using zelk::Quad;
using zelk::Random;

constexpr QV_RasterFormat kRendered[] = {kFormatARGB8, kFormatBGRA8, kFormatARGB15, kFormatARGB32,
                                         kFormatBGRA32};
enum View : unsigned { kOriginal, kFrom, kTo, kBoth };
enum Quality : unsigned { kLow, kMedium, kHigh, kSuperSample };

struct Point {
    double x, y;
};

/// A plane projective map, from four pairs of points by Gaussian elimination.
class QuadMap {
public:
    QuadMap(Quad const& from, Quad const& to) {
        double a[8][9] = {};
        for (int i = 0; i < 4; ++i) {
            const double x = from[2 * i], y = from[2 * i + 1], u = to[2 * i], v = to[2 * i + 1];
            const double rows[2][9] = {{x, y, 1, 0, 0, 0, -u * x, -u * y, u},
                                       {0, 0, 0, x, y, 1, -v * x, -v * y, v}};
            std::copy_n(rows[0], 18, a[2 * i]);
        }
        solve(a);
        for (int i = 0; i < 8; ++i) m_h[i] = a[i][8];
        m_sign = denominator({(from[0] + from[2] + from[4] + from[6]) / 4,
                              (from[1] + from[3] + from[5] + from[7]) / 4}) < 0
                     ? -1
                     : 1;
    }
    /// Nothing for a point at or beyond the horizon.
    std::optional<Point> operator()(Point p) const {
        const double w = denominator(p);
        if (w * m_sign < 1e-3) return std::nullopt;
        return Point{(m_h[0] * p.x + m_h[1] * p.y + m_h[2]) / w,
                     (m_h[3] * p.x + m_h[4] * p.y + m_h[5]) / w};
    }

private:
    double denominator(Point p) const { return m_h[6] * p.x + m_h[7] * p.y + 1; }
    static void solve(double (&a)[8][9]) {
        for (int col = 0; col < 8; ++col) {
            int pivot = col;
            for (int r = col; r < 8; ++r)
                if (std::fabs(a[r][col]) > std::fabs(a[pivot][col])) pivot = r;
            std::swap_ranges(a[col], a[col] + 9, a[pivot]);
            for (int r = 0; r < 8; ++r) {
                const double factor = r == col ? 0 : a[r][col] / a[col][col];
                for (int c = col; c < 9; ++c) a[r][c] -= factor * a[col][c];
            }
        }
        for (int r = 0; r < 8; ++r) a[r][8] /= a[r][r];
    }

    double m_h[8];
    double m_sign = 1;
};

constexpr Quad kUnit = {0, 0, 1, 0, 0, 1, 1, 1};

struct Reposition {
    double translateX = 0, translateY = 0, scaleX = 1, scaleY = 1, rotate = 0;

    /// Undoes: about the centre, scale, turn with the picture's aspect, then move.
    Point undo(Point p, double aspect) const {
        const double angle = rotate * 3.14159265358979323846 / 180;
        const double s = std::sin(angle), c = std::cos(angle);
        const double x = (p.x - 0.5 - translateX / 100) * aspect, y = p.y - 0.5 - translateY / 100;
        return {(c * x + s * y) / aspect / scaleX + 0.5, (c * y - s * x) / scaleY + 0.5};
    }
};

struct Scene {
    View view = kBoth;
    bool crop = false;
    Quad from = kUnit, to = kUnit;  ///< Z order, with the offsets in
    Quad fromOffsets{}, toOffsets{};
    Reposition reposition;
};

class Renderer {
public:
    Renderer(QV_RasterFormat format, int width, int height)
        : input(format, width, height, 32),
          output(format, width, height, 16),
          host(input.info(), output.info()) {
        zelk::setDefaultControls(host);
    }
    void set(Scene const& scene) {
        host.setPopup(kParamViewMode, scene.view);
        host.setBool(kParamCropToPins, scene.crop);
        for (int i = 0; i < 4; ++i) {
            setPin(kParamFromUpperLeft + i, scene.from, scene.fromOffsets, i);
            setPin(kParamToUpperLeft + i, scene.to, scene.toOffsets, i);
        }
        for (int i = 0; i < 8; ++i) {
            host.setFloat(kParamFromUpperLeftOffsetX + i, scene.fromOffsets[i]);
            host.setFloat(kParamToUpperLeftOffsetX + i, scene.toOffsets[i]);
        }
        host.setFloat(kParamTranslateX, scene.reposition.translateX);
        host.setFloat(kParamTranslateY, scene.reposition.translateY);
        host.setFloat(kParamScaleX, scene.reposition.scaleX);
        host.setFloat(kParamScaleY, scene.reposition.scaleY);
        host.setAngle(kParamRotate, scene.reposition.rotate);
    }
    PF_Err render() {
        const PF_Err code = Render(&host);
        EXPECT_EQ(host.tally().pixelBuffers, 0);
        EXPECT_EQ(host.tally().rasterObjects, 0);
        return code;
    }
    bool outputIsClear() const {
        for (int y = 0; y < output.info().height; ++y) {
            auto const* row = output.pixel(0, y);
            if (std::any_of(row, row + output.info().width * output.info().pixelBytes,
                            [](unsigned char b) { return b != 0; }))
                return false;
        }
        return true;
    }

    Raster input, output;
    PluginHost_Memory_Impl host;

private:
    void setPin(int index, Quad const& quad, Quad const& offsets, int corner) {
        host.setPoint(index, quad[2 * corner] - offsets[2 * corner] / 100,
                      quad[2 * corner + 1] - offsets[2 * corner + 1] / 100);
    }
};

constexpr int kWidth = 37, kHeight = 29;
constexpr double kAspect = 1.0 * kWidth / kHeight;

double ramp(int channel, double x, double y) {
    return 0.1 + 0.05 * channel + 0.4 * x / kWidth + 0.3 * y / kHeight;
}

void paintRamp(Raster& raster) {
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            for (int c = 0; c < 4; ++c)
                reinterpret_cast<float*>(raster.pixel(x, y))[c] = static_cast<float>(ramp(c, x, y));
}

/// The way of one output point, as fractions of the frame: into the picture between the two passes
/// (where there is one) and into the source.
class Way {
public:
    explicit Way(Scene const& scene)
        : m_scene(scene), m_toInverse(scene.to, kUnit), m_from(kUnit, scene.from) {}

    struct Stations {
        std::optional<Point> between, source;
    };
    Stations operator()(Point p) const {
        if (m_scene.view == kFrom) return {p, m_from(p)};
        const std::optional<Point> square = m_toInverse(p);
        if (!square) return {};
        const Point s = m_scene.reposition.undo(*square, kAspect);
        return {s, m_scene.view == kTo ? s : m_from(s)};
    }

private:
    Scene m_scene;
    QuadMap m_toInverse, m_from;
};

bool isInside(Point p, double marginPx) {
    return p.x * kWidth > marginPx && p.x * kWidth < kWidth - marginPx &&
           p.y * kHeight > marginPx && p.y * kHeight < kHeight - marginPx;
}

enum class Expected { kPicture, kNothing, kUnclear };

/// What a pixel has to show. Two pixels along each edge that something is cut at are left out, and
/// the frame's own border, where pixels are partly covered.
Expected expectedAt(Scene const& scene, Way const& way, int x, int y) {
    const bool crops = scene.view != kBoth || scene.crop;
    bool inside = true, left = true, right = true, above = true, below = true;
    for (const double dx : {-1.0, 0.5, 2.0}) {
        for (const double dy : {-1.0, 0.5, 2.0}) {
            const auto at = way({(x + dx) / kWidth, (y + dy) / kHeight});
            if (!at.source) return Expected::kUnclear;
            inside = inside && isInside(*at.source, 2) && (!crops || isInside(*at.between, 3));
            left = left && (at.source->x < 0 || (crops && at.between->x < 0));
            right = right && (at.source->x > 1 || (crops && at.between->x > 1));
            above = above && (at.source->y < 0 || (crops && at.between->y < 0));
            below = below && (at.source->y > 1 || (crops && at.between->y > 1));
        }
    }
    return inside                            ? Expected::kPicture
           : left || right || above || below ? Expected::kNothing
                                             : Expected::kUnclear;
}

struct Checked {
    int picture = 0, nothing = 0;
    double worst = 0;
};

Checked checkAgainstRamp(Scene const& scene, Renderer const& renderer) {
    const Way way(scene);
    Checked checked;
    for (int y = 1; y < kHeight - 1; ++y) {
        for (int x = 1; x < kWidth - 1; ++x) {
            const Expected expected = expectedAt(scene, way, x, y);
            if (expected == Expected::kUnclear) continue;
            auto const* out = reinterpret_cast<float const*>(renderer.output.pixel(x, y));
            ++(expected == Expected::kPicture ? checked.picture : checked.nothing);
            const Point p = way({(x + 0.5) / kWidth, (y + 0.5) / kHeight}).source.value();
            for (int c = 0; c < 4; ++c) {
                const double value = expected == Expected::kPicture
                                         ? ramp(c, p.x * kWidth - 0.5, p.y * kHeight - 0.5)
                                         : 0;
                checked.worst = std::max(checked.worst, std::fabs(out[c] - value));
            }
        }
    }
    return checked;
}

TEST(PipelineFrames, EveryViewTakesEachPixelFromWhereTheQuadsSay) {
    // A position is narrowed to float (below 64: 2^-19) after a frustum of two single-precision
    // constants (2^-24 of half the frame, 2^-19 again), in each of at most two passes: 2^-17 px,
    // over ramps below 0.4 / 29 a pixel in each axis. The colours: three float lerps a pass and the
    // ramp's own rounding, each half a unit of 2^-24 below 1 but for the factor (1 - f) and the
    // sum, so below 16 x 2^-24.
    const double tolerance = 2 * 0x1p-17 * 0.4 / 29 + 16 * 0x1p-24;
    const unsigned seed = 1984;
    SCOPED_TRACE(seed);
    Random random(seed);
    Checked total;
    for (int round = 0; round < 240; ++round) {
        Scene scene;
        scene.view = static_cast<View>(1 + round % 3);
        scene.crop = random.flip();
        scene.to = zelk::randomConvexQuad(random);
        // Upright rectangles: what the first pass leaves is then a ramp for the second one.
        const double l = random.uniform(-0.1, 0.3), r = random.uniform(0.6, 1.1);
        const double t = random.uniform(-0.1, 0.3), b = random.uniform(0.6, 1.1);
        scene.from = {l, t, r, t, l, b, r, b};
        if (scene.view == kBoth && !scene.crop) scene.from = zelk::randomConvexQuad(random);
        for (int i = 0; i < 8; ++i) {
            scene.fromOffsets[i] = random.uniform(-100, 100);
            scene.toOffsets[i] = random.uniform(-100, 100);
        }
        if (scene.view != kFrom) {
            scene.reposition = {random.uniform(-20, 20), random.uniform(-20, 20),
                                random.uniform(0.7, 1.5), random.uniform(-1.5, -0.7),
                                random.uniform(-180, 180)};
        }
        Renderer renderer(round % 2 ? kFormatARGB32 : kFormatBGRA32, kWidth, kHeight);
        paintRamp(renderer.input);
        renderer.set(scene);
        renderer.host.setPopup(kParamQuality, kMedium);
        ASSERT_EQ(renderer.render(), 0);
        const Checked checked = checkAgainstRamp(scene, renderer);
        EXPECT_LE(checked.worst, tolerance) << "round " << round << " view " << scene.view;
        total.picture += checked.picture;
        total.nothing += checked.nothing;
        total.worst = std::max(total.worst, checked.worst);
    }
    EXPECT_GT(total.picture, 50000);
    EXPECT_GT(total.nothing, 10000);
    RecordProperty("worst", std::to_string(total.worst / tolerance));
}

// From Pins are fractions of the layer, To Pins of the frame; with and without the image between.
TEST(PipelineFrames, LayerAndFrameMayDifferInSize) {
    const unsigned seed = 77;
    SCOPED_TRACE(seed);
    Random random(seed);
    int pixels = 0;
    for (int round = 0; round < 60; ++round) {
        const int frameWidth = 11 + round * 2, frameHeight = 100 - round;
        Raster layer(kFormatARGB32, kWidth, kHeight, 32);
        Raster frame(kFormatARGB32, frameWidth, frameHeight, 16);
        paintRamp(layer);
        PluginHost_Memory_Impl host(layer.info(), frame.info());
        zelk::setDefaultControls(host);
        host.setPopup(kParamQuality, kMedium);
        host.setPopup(kParamViewMode, round % 3 == 2 ? kTo : kBoth);
        host.setBool(kParamCropToPins, round % 3 == 1);
        const Quad to = zelk::randomConvexQuad(random);
        for (int i = 0; i < 4; ++i) host.setPoint(kParamToUpperLeft + i, to[2 * i], to[2 * i + 1]);
        ASSERT_EQ(Render(&host), 0);
        EXPECT_EQ(host.getOutputWidth(), frameWidth);
        const QuadMap toLayer(to, kUnit);
        for (int y = 1; y < frameHeight - 1; ++y)
            for (int x = 1; x < frameWidth - 1; ++x) {
                const auto at = toLayer({(x + 0.5) / frameWidth, (y + 0.5) / frameHeight});
                auto const* out = reinterpret_cast<float const*>(frame.pixel(x, y));
                // Alpha is a ramp too and never below 0.1: less is outside, or partly covered.
                if (!at || !isInside(*at, 1) || out[0] == 0) continue;
                bool edge = false;  // a covered neighbour on every side: no coverage in the value
                for (const double dx : {-1.0, 2.0})
                    for (const double dy : {-1.0, 2.0}) {
                        const auto n = toLayer({(x + dx) / frameWidth, (y + dy) / frameHeight});
                        edge = edge || !n || !isInside(*n, 0);
                    }
                if (edge) continue;
                ++pixels;
                // As for frames of one size, positions below 128 here.
                for (int c = 0; c < 4; ++c)
                    ASSERT_NEAR(out[c], ramp(c, at->x * kWidth - 0.5, at->y * kHeight - 0.5),
                                4 * 0x1p-17 * 0.4 / 29 + 16 * 0x1p-24)
                        << "round " << round << " pixel " << x << ", " << y;
            }
    }
    EXPECT_GT(pixels, 20000);
}

TEST(PipelineFrames, OriginalIsTheInputByteForByte) {
    for (const QV_RasterFormat format : kRendered) {
        Renderer renderer(format, 13, 7);
        Random random(static_cast<unsigned>(format));
        auto* bytes = static_cast<unsigned char*>(renderer.input.info().data);
        for (int i = 0; i < renderer.input.info().rowBytes * 7; ++i)
            bytes[i] = static_cast<unsigned char>(random.integer(0, 255));
        Scene scene;
        scene.view = kOriginal;
        scene.to = {9, 9, 9, 9, 9, 9, 9, 9};
        renderer.set(scene);
        renderer.host.setFloat(kParamCornerPinOpacity, 3);
        EXPECT_EQ(renderer.render(), 0);
        EXPECT_EQ(renderer.host.tally().allocations, 0);
        for (int y = 0; y < 7; ++y)
            EXPECT_EQ(std::memcmp(renderer.input.pixel(0, y), renderer.output.pixel(0, y),
                                  static_cast<std::size_t>(13 * renderer.input.info().pixelBytes)),
                      0);
    }
}

TEST(PipelineFrames, AFromQuadZoomEqualsTheInverseToQuadZoom) {
    for (const Quality quality : {kMedium, kHigh}) {
        for (const bool crop : {false, true}) {
            Scene byFrom, byTo;
            byFrom.from = {0.25, 0.25, 0.75, 0.25, 0.25, 0.75, 0.75, 0.75};
            byTo.to = {-0.5, -0.5, 1.5, -0.5, -0.5, 1.5, 1.5, 1.5};
            byFrom.view = kFrom;
            byTo.crop = crop;
            Renderer a(kFormatARGB32, kWidth, kHeight), b(kFormatARGB32, kWidth, kHeight);
            for (auto* renderer : {&a, &b}) {
                Random random(99);
                forEachPixel<float>(renderer->input.info(), [&random](float* p) {
                    for (int c = 0; c < 4; ++c) p[c] = static_cast<float>(random.uniform(0, 1));
                });
                renderer->set(renderer == &a ? byFrom : byTo);
                renderer->host.setPopup(kParamQuality, quality);
                ASSERT_EQ(renderer->render(), 0);
            }
            // Positions agree to 2^-18 px (see above, one pass each). Between neighbours of random
            // colour a bilinear value moves by at most 1 a pixel in each axis. A kernel row stands
            // for 2/255 px, and a position at its border may fall to either side: with weights
            // that move by below 2 a pixel over four taps in each axis, 2 x 4 x 2 x 2/255.
            const double tolerance =
                quality == kMedium ? 2 * 0x1p-18 + 8 * 0x1p-24 : 2 * 4 * 2 * 2 / 255.0;
            double worst = 0;
            for (int y = 2; y < kHeight - 2; ++y)
                for (int x = 2; x < kWidth - 2; ++x)
                    for (int c = 0; c < 4; ++c)
                        worst = std::max<double>(
                            worst, std::fabs(reinterpret_cast<float*>(a.output.pixel(x, y))[c] -
                                             reinterpret_cast<float*>(b.output.pixel(x, y))[c]));
            EXPECT_LE(worst, tolerance) << "quality " << quality << " crop " << crop;
        }
    }
}

/// Alpha and the three colours of a pixel, as doubles.
std::array<double, 4> channels(Raster const& raster, int x, int y) {
    std::array<double, 4> result{};
    for (std::size_t c = 0; c < 4; ++c) {
        const unsigned char* p = raster.pixel(x, y);
        switch (raster.info().pixelBytes) {
            case 4:
                result[c] = p[c];
                break;
            case 8:
                result[c] = reinterpret_cast<unsigned short const*>(p)[c];
                break;
            default:
                result[c] = reinterpret_cast<float const*>(p)[c];
                break;
        }
    }
    return result;
}

void paintConstant(Raster& raster, double value, double white) {
    for (int y = 0; y < raster.info().height; ++y)
        for (int x = 0; x < raster.info().width; ++x)
            for (int c = 0; c < 4; ++c) {
                unsigned char* p = raster.pixel(x, y);
                const double v = value * white;
                switch (raster.info().pixelBytes) {
                    case 4:
                        p[c] = static_cast<unsigned char>(v);
                        break;
                    case 8:
                        reinterpret_cast<unsigned short*>(p)[c] = static_cast<unsigned short>(v);
                        break;
                    default:
                        reinterpret_cast<float*>(p)[c] = static_cast<float>(v);
                        break;
                }
            }
}

TEST(PipelineFrames, EveryFormatAndQualityKeepsAConstantPicture) {
    for (const QV_RasterFormat format : kRendered) {
        const double white = format == kFormatARGB15 ? 32768 : format < 3 ? 255 : 1;
        for (const Quality quality : {kLow, kMedium, kHigh, kSuperSample}) {
            Renderer renderer(format, kWidth, kHeight);
            paintConstant(renderer.input, 0.75, white);
            const double value = channels(renderer.input, 0, 0)[0];
            Scene scene;
            scene.view = kTo;
            scene.to = {-0.2, -0.1, 1.1, -0.3, -0.1, 1.2, 1.3, 1.1};  // covers the frame
            renderer.set(scene);
            renderer.host.setPopup(kParamQuality, quality);
            ASSERT_EQ(renderer.render(), 0);
            // Low copies. Bilinear truncates two lerps of integers. Kernel weights of a row sum to
            // 1 within four float roundings: integers round back, floats keep the rest.
            const double exact = white == 1 ? 32 * 0x1p-24 : 0;
            const double tolerance = quality == kMedium ? exact + (white == 1 ? 0 : 2) : exact;
            for (int y = 2; y < kHeight - 2; ++y)
                for (int x = 2; x < kWidth - 2; ++x)
                    for (const double c : channels(renderer.output, x, y))
                        ASSERT_NEAR(c, value, tolerance) << "format " << format << " quality "
                                                         << quality << " at " << x << "," << y;
        }
    }
}

TEST(PipelineFrames, HalfOpacityHalvesAlphaAndLeavesColour) {
    for (const QV_RasterFormat format : kRendered) {
        const bool alphaFirst = format != kFormatBGRA8 && format != kFormatBGRA32;
        const double white = format == kFormatARGB15 ? 32768 : format < 3 ? 255 : 1;
        Renderer full(format, kWidth, kHeight), half(format, kWidth, kHeight);
        for (auto* renderer : {&full, &half}) {
            paintConstant(renderer->input, 0.9, white);
            Scene scene;
            scene.to = {0.1, 0.2, 0.9, 0.1, 0.2, 0.8, 0.95, 0.9};
            renderer->set(scene);
            renderer->host.setFloat(kParamSourceOpacity, 20);
        }
        half.host.setFloat(kParamCornerPinOpacity, 50);
        ASSERT_EQ(full.render(), 0);
        ASSERT_EQ(half.render(), 0);
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < kWidth; ++x) {
                const auto a = channels(full.output, x, y), b = channels(half.output, x, y);
                for (std::size_t c = 0; c < 4; ++c) {
                    double expected = a[c];
                    if (c == (alphaFirst ? 0u : 3u)) {  // 127 of 256, 16384 of 32768, a half
                        expected = white == 255     ? std::floor((a[c] * 127 + 128) / 256)
                                   : white == 32768 ? std::floor(a[c] / 2 + 0.5)
                                                    : a[c] / 2;
                    }
                    ASSERT_EQ(b[c], expected) << "format " << format << " channel " << c;
                }
            }
        }
    }
}

TEST(PipelineFrames, UnusablePinsLeaveAClearedFrame) {
    Scene bowTie, line;
    bowTie.to = {0, 0, 1, 1, 0, 1, 1, 0};
    line.from = {0, 0, 0.3, 0.3, 0.6, 0.6, 1, 1};
    for (auto const& scene : {bowTie, line}) {
        Renderer renderer(kFormatARGB8, kWidth, kHeight);
        paintConstant(renderer.input, 1, 255);
        paintConstant(renderer.output, 1, 255);
        renderer.set(scene);
        EXPECT_EQ(renderer.render(), 0);
        EXPECT_TRUE(renderer.outputIsClear());
    }
}

TEST(PipelineFrames, ATransferModeNeedsAHostThatComposites) {
    Renderer renderer(kFormatARGB8, 8, 8);
    renderer.host.setPopup(kParamTransferMode, 2);
    EXPECT_EQ(renderer.render(), 1);
}

}  // namespace
