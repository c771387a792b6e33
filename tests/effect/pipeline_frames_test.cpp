// Whole frames of the pipeline over the transform engine, driven through the memory host.
//
// The pictures are ramps in float: bilinear filtering reproduces a ramp, so each output pixel tells
// which source position it was taken from, and a plain map of quads in the test says which it has
// to be.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "effect/Render.h"
#include "effect/TransferMenu.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"
#include "tests/support/plane.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::GuardedRaster;
using zelk::Point;
using zelk::Quad;
using zelk::Random;

constexpr QV_RasterFormat kRendered[] = {kFormatARGB8, kFormatBGRA8, kFormatARGB15, kFormatARGB32,
                                         kFormatBGRA32};
enum View : unsigned { kOriginal, kFrom, kTo, kBoth };
enum Quality : unsigned { kLow, kMedium, kHigh, kSuperSample };
constexpr Quad kUnit = {0, 0, 1, 0, 0, 1, 1, 1};

/// A plane projective map by four pairs of points. Nothing for a point at or beyond the horizon.
class QuadMap {
public:
    QuadMap(Quad const& from, Quad const& to)
        : m_map(zelk::product(zelk::inverse(zelk::axesToQuad(from)), zelk::axesToQuad(to))),
          m_centre{(from[0] + from[2] + from[4] + from[6]) / 4,
                   (from[1] + from[3] + from[5] + from[7]) / 4, 1} {}
    std::optional<Point> operator()(Point p) const {
        const zelk::Vector3 at = zelk::apply({p.x, p.y, 1}, m_map);
        if (at[2] / zelk::apply(m_centre, m_map)[2] < 1e-3) return std::nullopt;
        return Point{at[0] / at[2], at[1] / at[2]};
    }

private:
    zelk::Matrix3 m_map;
    zelk::Vector3 m_centre;
};

struct Scene {
    View view = kBoth;
    bool crop = false;
    Quad from = kUnit, to = kUnit;  ///< Z order, with the offsets in
    Quad fromOffsets{}, toOffsets{};
    double translateX = 0, translateY = 0, scaleX = 1, scaleY = 1, rotate = 0;

    /// Undoes Reposition: about the centre, scale, turn with the picture's aspect, then move.
    Point undoReposition(Point p, double aspect) const {
        const double angle = rotate * 3.14159265358979323846 / 180;
        const double s = std::sin(angle), c = std::cos(angle);
        const double x = (p.x - 0.5 - translateX / 100) * aspect, y = p.y - 0.5 - translateY / 100;
        return {(c * x + s * y) / aspect / scaleX + 0.5, (c * y - s * x) / scaleY + 0.5};
    }
};

constexpr int kWidth = 37, kHeight = 29;  // of the layer

/// A layer and a frame of one format, and the memory host over them.
class Renderer {
public:
    explicit Renderer(QV_RasterFormat format, int frameWidth = kWidth, int frameHeight = kHeight,
                      MemoryHostFamily family = MemoryHostFamily::kNone)
        : input(format, kWidth, kHeight, 32),
          output(format, frameWidth, frameHeight, 16),
          host(input.info(), output.info(), family) {
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
        host.setFloat(kParamTranslateX, scene.translateX);
        host.setFloat(kParamTranslateY, scene.translateY);
        host.setFloat(kParamScaleX, scene.scaleX);
        host.setFloat(kParamScaleY, scene.scaleY);
        host.setAngle(kParamRotate, scene.rotate);
    }
    void paintConstant(double value) {
        const double stored = value * zelk::whiteOf(input.format());
        input.paint([=](int, int, int) { return stored; });
    }
    PF_Err render() {
        const PF_Err code = Render(&host);
        EXPECT_EQ(host.tally().pixelBuffers, 0);
        EXPECT_EQ(host.tally().rasterObjects, 0);
        EXPECT_TRUE(input.guardsIntact() && output.guardsIntact());
        return code;
    }

    GuardedRaster input, output;
    PluginHost_Memory_Impl host;

private:
    void setPin(int index, Quad const& quad, Quad const& offsets, int corner) {
        host.setPoint(index, quad[2 * corner] - offsets[2 * corner] / 100,
                      quad[2 * corner + 1] - offsets[2 * corner + 1] / 100);
    }
};

double ramp(int channel, double x, double y) {
    return 0.1 + 0.05 * channel + 0.4 * x / kWidth + 0.3 * y / kHeight;
}

/// The way of one output point, as fractions: into the picture between the two passes (where there
/// is one) and into the source.
struct Stations {
    std::optional<Point> between, source;
};
class Way {
public:
    explicit Way(Scene const& scene)
        : m_scene(scene), m_toInverse(scene.to, kUnit), m_from(kUnit, scene.from) {}
    Stations operator()(Point p) const {
        if (m_scene.view == kFrom) return {p, m_from(p)};
        const std::optional<Point> square = m_toInverse(p);
        if (!square) return {};
        const Point s = m_scene.undoReposition(*square, 1.0 * kWidth / kHeight);
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
Expected expectedAt(Scene const& scene, Way const& way, int x, int y, int width, int height) {
    const bool crops = scene.view != kBoth || scene.crop;
    bool inside = true, left = true, right = true, above = true, below = true;
    for (const double dx : {-1.0, 0.5, 2.0}) {
        for (const double dy : {-1.0, 0.5, 2.0}) {
            const Stations at = way({(x + dx) / width, (y + dy) / height});
            if (!at.source) return Expected::kUnclear;
            Point const &s = *at.source, &b = crops ? *at.between : s;
            inside = inside && isInside(s, 2) && (!crops || isInside(b, 3));
            left = left && std::min(s.x, b.x) < 0;
            right = right && std::max(s.x, b.x) > 1;
            above = above && std::min(s.y, b.y) < 0;
            below = below && std::max(s.y, b.y) > 1;
        }
    }
    if (inside) return Expected::kPicture;
    return left || right || above || below ? Expected::kNothing : Expected::kUnclear;
}

struct Checked {
    int picture = 0, nothing = 0;
};

void checkAgainstRamp(Scene const& scene, GuardedRaster const& output, double tolerance,
                      Checked& checked) {
    const Way way(scene);
    const int width = output.width(), height = output.height();
    double worst = 0;
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < width - 1; ++x) {
            const Expected expected = expectedAt(scene, way, x, y, width, height);
            if (expected == Expected::kUnclear) continue;
            ++(expected == Expected::kPicture ? checked.picture : checked.nothing);
            const Point p = way({(x + 0.5) / width, (y + 0.5) / height}).source.value();
            for (int c = 0; c < 4; ++c) {
                const double value = expected == Expected::kPicture
                                         ? ramp(c, p.x * kWidth - 0.5, p.y * kHeight - 0.5)
                                         : 0;
                worst = std::max(worst, std::fabs(output.get(x, y, c) - value));
            }
        }
    }
    EXPECT_LE(worst, tolerance);
}

/// Renders ramps by `rounds` random scenes. `ownFrame`: the frame has a size of its own; From Pins
/// are fractions of the layer, To Pins of the frame.
Checked renderRamps(unsigned seed, int rounds, bool ownFrame) {
    // A position is narrowed to float (below 64: 2^-19; below 128: twice that) after a frustum of
    // two single-precision constants (2^-24 of half the frame, 2^-19 again), in each of at most two
    // passes: 2^-17 px, over ramps below 0.4 / 29 a pixel in each axis. The colours: three float
    // lerps a pass and the ramp's own rounding, each half a unit of 2^-24 below 1 but for the
    // factor (1 - f) and the sum, so below 16 x 2^-24.
    const double tolerance = (ownFrame ? 4 : 2) * 0x1p-17 * 0.4 / 29 + 16 * 0x1p-24;
    Random random(seed);
    Checked checked;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", round " << round);
        Scene scene;
        scene.view = ownFrame ? round % 3 == 2 ? kTo : kBoth : static_cast<View>(1 + round % 3);
        scene.crop = random.flip();
        scene.to = zelk::randomConvexQuad(random);
        if (!ownFrame) {
            // Upright rectangles: what the first pass leaves is then a ramp for the second one.
            const double l = random.uniform(-0.1, 0.3), r = random.uniform(0.6, 1.1);
            const double t = random.uniform(-0.1, 0.3), b = random.uniform(0.6, 1.1);
            scene.from = {l, t, r, t, l, b, r, b};
            if (scene.view == kBoth && !scene.crop) scene.from = zelk::randomConvexQuad(random);
            for (Quad* offsets : {&scene.fromOffsets, &scene.toOffsets})
                for (double& offset : *offsets) offset = random.uniform(-100, 100);
        }
        if (!ownFrame && scene.view != kFrom) {
            scene.translateX = random.uniform(-20, 20);
            scene.translateY = random.uniform(-20, 20);
            scene.scaleX = random.uniform(0.7, 1.5);
            scene.scaleY = random.uniform(-1.5, -0.7);
            scene.rotate = random.uniform(-180, 180);
        }
        Renderer renderer(round % 2 ? kFormatARGB32 : kFormatBGRA32,
                          ownFrame ? 11 + 2 * round : kWidth, ownFrame ? 100 - round : kHeight);
        renderer.input.paint([](int x, int y, int c) { return ramp(c, x, y); });
        renderer.set(scene);
        renderer.host.setPopup(kParamQuality, kMedium);
        EXPECT_EQ(renderer.render(), 0);
        EXPECT_EQ(renderer.host.getOutputWidth(), renderer.output.width());
        checkAgainstRamp(scene, renderer.output, tolerance, checked);
    }
    return checked;
}

TEST(PipelineFrames, EveryViewTakesEachPixelFromWhereTheQuadsSay) {
    const Checked total = renderRamps(1984, 240, false);
    EXPECT_GT(total.picture, 50000);
    EXPECT_GT(total.nothing, 10000);
}

TEST(PipelineFrames, LayerAndFrameMayDifferInSize) {
    const Checked total = renderRamps(77, 60, true);
    EXPECT_GT(total.picture, 20000);
    EXPECT_GT(total.nothing, 10000);
}

TEST(PipelineFrames, EveryFormatAndQualityKeepsAConstantPicture) {
    for (const QV_RasterFormat format : kRendered) {
        const bool isFloat = zelk::whiteOf(format) == 1;
        for (const Quality quality : {kLow, kMedium, kHigh, kSuperSample}) {
            Renderer renderer(format);
            renderer.paintConstant(0.75);
            Scene scene;
            scene.view = kTo;
            scene.to = {-0.2, -0.1, 1.1, -0.3, -0.1, 1.2, 1.3, 1.1};  // covers the frame
            renderer.set(scene);
            renderer.host.setPopup(kParamQuality, quality);
            ASSERT_EQ(renderer.render(), 0);
            // Low copies. Bilinear truncates two lerps of integers. Kernel weights of a row sum to
            // 1 within four float roundings: integers round back, floats keep the rest.
            const double tolerance = isFloat ? 32 * 0x1p-24 : quality == kMedium ? 2 : 0;
            const double value = renderer.input.get(0, 0, 0);
            renderer.output.forEachChannel([&](int x, int y, int c) {
                if (std::min(x, y) < 2 || x >= kWidth - 2 || y >= kHeight - 2) return;
                ASSERT_NEAR(renderer.output.get(x, y, c), value, tolerance)
                    << "format " << format << " quality " << quality << " at " << x << "," << y;
            });
        }
    }
}

TEST(PipelineFrames, HalfOpacityHalvesAlphaAndLeavesColour) {
    for (const QV_RasterFormat format : kRendered) {
        const int alpha = format == kFormatBGRA8 || format == kFormatBGRA32 ? 3 : 0;
        const double white = zelk::whiteOf(format);
        Renderer full(format), half(format);
        for (auto* renderer : {&full, &half}) {
            renderer->paintConstant(0.9);
            Scene scene;
            scene.to = {0.1, 0.2, 0.9, 0.1, 0.2, 0.8, 0.95, 0.9};
            renderer->set(scene);
            renderer->host.setFloat(kParamSourceOpacity, 20);
            renderer->host.setFloat(kParamCornerPinOpacity, renderer == &half ? 50 : 100);
            ASSERT_EQ(renderer->render(), 0);
        }
        full.output.forEachChannel([&](int x, int y, int c) {
            double expected = full.output.get(x, y, c);
            if (c == alpha) {  // 127 of 256, 16384 of 32768, a half
                expected = white == 255     ? std::floor((expected * 127 + 128) / 256)
                           : white == 32768 ? std::floor(expected / 2 + 0.5)
                                            : expected / 2;
            }
            ASSERT_EQ(half.output.get(x, y, c), expected) << "format " << format;
        });
    }
}

TEST(PipelineFrames, UnusablePinsLeaveAClearedFrame) {
    Scene bowTie, line;
    bowTie.to = {0, 0, 1, 1, 0, 1, 1, 0};
    line.from = {0, 0, 0.3, 0.3, 0.6, 0.6, 1, 1};
    for (auto const& scene : {bowTie, line}) {
        Renderer renderer(kFormatARGB8);
        renderer.paintConstant(1);
        renderer.set(scene);
        EXPECT_EQ(renderer.render(), 0);
        renderer.output.forEachChannel(
            [&](int x, int y, int c) { ASSERT_EQ(renderer.output.get(x, y, c), 0); });
    }
}

TEST(PipelineFrames, AroundTheOriginalALargerFrameIsClear) {
    Renderer renderer(kFormatARGB15, kWidth + 3, kHeight + 2);
    renderer.paintConstant(1);
    renderer.host.setPopup(kParamViewMode, kOriginal);
    EXPECT_EQ(renderer.render(), 0);
    renderer.output.forEachChannel([&](int x, int y, int c) {
        ASSERT_EQ(renderer.output.get(x, y, c), x < kWidth && y < kHeight ? 32768 : 0);
    });
}

// The pipeline's own compositing against its pieces: what each family of hosts does around it, with
// the pass from a host that does nothing.
template <class T>
void expectTransfer(MemoryHostFamily family, unsigned entry, unsigned seed) {
    using C = typename T::Channel;
    using F = typename T::FORMAT;
    SCOPED_TRACE(testing::Message() << "format " << T::kFormat << " family " << int(family)
                                    << " entry " << entry << " seed " << seed);
    const bool noAlpha = family == MemoryHostFamily::kAVX1 || family == MemoryHostFamily::kAVX2;
    const bool associated = family == MemoryHostFamily::kFXPLUG;
    Renderer pass(T::kFormat), whole(T::kFormat, kWidth, kHeight, family);
    for (Renderer* renderer : {&pass, &whole}) {
        Random random(seed);
        Scene scene;
        scene.to = zelk::randomConvexQuad(random);
        renderer->set(scene);
        renderer->input.paint([&](int, int, int channel) {
            const bool isWhite = renderer == &pass && noAlpha && channel == T::kAlpha;
            const double value = random.integer(0, 256) / 256.0;
            return isWhite ? T::kWhite : std::floor(value * T::kWhite * 256) / 256;
        });
    }
    whole.host.setPopup(kParamTransferMode, entry);
    whole.host.setFloat(kParamCornerPinOpacity, 60);
    whole.host.setFloat(kParamSourceOpacity, 70);
    ASSERT_EQ(pass.render(), 0);
    ASSERT_EQ(whole.render(), 0);

    PluginRaster_Memory_Impl work(pass.input.info()), out(pass.output.info());
    if (associated)
        for (PluginRaster_API* raster : {&work, &out})
            UnPremult<T, C, typename T::Wide, typename T::Weight, F>({}, &pass.host, raster);
    const bool isFloatScreen = T::kIsFloat && entry == 6;
    transferByMode<T>(isFloatScreen ? PF_Xfer_ADD : transferModeOfEntry(int(entry)), &pass.host,
                      static_cast<float>(60 * 0.01), static_cast<float>(70 * 0.01), &out, &work,
                      &out);
    if (noAlpha || associated)
        Premult<T, C, typename T::Wide, typename T::Weight, F>({}, &pass.host, &out);
    int differ = 0;
    whole.output.forEachChannel([&](int x, int y, int c) {
        const double want = noAlpha && c == T::kAlpha ? 0 : pass.output.get(x, y, c);
        const double got = whole.output.get(x, y, c);
        // Colour beyond white, as dividing by alpha gives it, can make hue 0 times infinity.
        differ += got != want && !(std::isnan(got) && std::isnan(want));
    });
    EXPECT_EQ(differ, 0);
}

TEST(PipelineFrames, CompositesOnItsOwnInEveryFamilyFormatAndMode) {
    for (const auto family : {MemoryHostFamily::kNone, MemoryHostFamily::kAVX1,
                              MemoryHostFamily::kAVX2, MemoryHostFamily::kFXPLUG})
        for (unsigned entry = 1; entry < 23; ++entry) {
            expectTransfer<PIXEL_ARGB8>(family, entry, entry);
            expectTransfer<PIXEL_BGRA8>(family, entry, entry);
            expectTransfer<PIXEL_ARGB15>(family, entry, entry);
            expectTransfer<PIXEL_ARGB32>(family, entry, entry);
            expectTransfer<PIXEL_BGRA32>(family, entry, entry);
        }
    Renderer otherFrame(kFormatARGB8, kWidth + 3, kHeight);  // no source of the frame's size
    otherFrame.host.setPopup(kParamTransferMode, 2);
    EXPECT_EQ(otherFrame.render(), 1);
}

}  // namespace
