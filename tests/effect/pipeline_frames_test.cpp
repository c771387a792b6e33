// Whole frames of the pipeline over the transform engine, driven through the memory host.
//
// The pictures are ramps in float: bilinear filtering reproduces a ramp, so each output pixel tells
// which source position it was taken from, and a plain map of quads in the test says which it has
// to be.
#include <algorithm>
#include <cmath>
#include <optional>

#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/TransferModes.h"
#include "effect/PixelPasses.h"
#include "effect/Render.h"
#include "params/TransferMenu.h"
#include "tests/effect/premultiply.h"
#include "tests/support/guarded_raster.h"
#include "tests/support/memory_controls.h"
#include "tests/support/plane.h"
#include "tests/support/random_quads.h"

namespace {

using zelk::GuardedRaster;
using zelk::Point;
using zelk::Quad;
using zelk::Random;

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
    ViewModeEntry view = kViewBothPins;
    bool crop = false;
    Quad from = kUnit, to = kUnit;  ///< Z order, with the offsets in
    Quad fromOffsets{}, toOffsets{};
    double translateX = 0, translateY = 0, scaleX = 1, scaleY = 1, rotate = 0;

    /// Undoes Reposition: about the centre, scale, turn with the picture's aspect, then move.
    Point undoReposition(Point p, double aspect) const {
        double const angle = rotate * 3.14159265358979323846 / 180;
        double const s = std::sin(angle), c = std::cos(angle);
        double const x = (p.x - 0.5 - translateX / 100) * aspect, y = p.y - 0.5 - translateY / 100;
        return {(c * x + s * y) / aspect / scaleX + 0.5, (c * y - s * x) / scaleY + 0.5};
    }
};

constexpr int kWidth = 37, kHeight = 29;  // of the layer

/// Writes down in which order images go back, each by its place among those made.
struct Host : PluginHost_Memory_Impl {
    using PluginHost_Memory_Impl::PluginHost_Memory_Impl;
    PluginRaster_API* allocRaster(int w, int h, PixelType type, int& error, int flags) override {
        return made.emplace_back(PluginHost_Memory_Impl::allocRaster(w, h, type, error, flags));
    }
    int deallocRaster(PluginRaster_API* raster) override {
        order += std::to_string(std::ranges::find(made, raster) - made.begin());
        return PluginHost_Memory_Impl::deallocRaster(raster);
    }
    std::vector<PluginRaster_API*> made;
    std::string order;
};

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
        setQuad(kParamFromUpperLeft, kParamFromUpperLeftOffsetX, scene.from, scene.fromOffsets);
        setQuad(kParamToUpperLeft, kParamToUpperLeftOffsetX, scene.to, scene.toOffsets);
        host.setFloat(kParamTranslateX, scene.translateX);
        host.setFloat(kParamTranslateY, scene.translateY);
        host.setFloat(kParamScaleX, scene.scaleX);
        host.setFloat(kParamScaleY, scene.scaleY);
        host.setAngle(kParamRotate, scene.rotate);
    }
    PF_Err render() {
        const PF_Err code = Render(&host);
        EXPECT_EQ(host.tally().pixelBuffers, 0);
        EXPECT_EQ(host.tally().rasterObjects, 0);
        EXPECT_TRUE(input.guardsIntact() && output.guardsIntact());
        return code;
    }

    GuardedRaster input, output;
    Host host;

private:
    void setQuad(int firstPin, int firstOffset, Quad const& quad, Quad const& offsets) {
        for (int i = 0; i < 8; ++i) host.setFloat(firstOffset + i, offsets[i]);
        for (int i = 0; i < 4; ++i)
            host.setPoint(firstPin + i, quad[2 * i] - offsets[2 * i] / 100,
                          quad[2 * i + 1] - offsets[2 * i + 1] / 100);
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
struct Way {
    Scene scene;
    QuadMap toInverse{scene.to, kUnit}, from{kUnit, scene.from};

    Stations operator()(Point p) const {
        if (scene.view == kViewFromPins) return {p, from(p)};
        const std::optional<Point> square = toInverse(p);
        if (!square) return {};
        const Point s = scene.undoReposition(*square, 1.0 * kWidth / kHeight);
        return {s, scene.view == kViewToPins ? s : from(s)};
    }
};

bool isWithin(Point p, double marginPx) {
    return p.x * kWidth > marginPx && p.x * kWidth < kWidth - marginPx &&
           p.y * kHeight > marginPx && p.y * kHeight < kHeight - marginPx;
}

enum class Expected { kPicture, kNothing, kUnclear };

/// What a pixel has to show. Two pixels along each edge that something is cut at are left out, and
/// the frame's own border, where pixels are partly covered.
Expected expectedAt(Way const& way, int x, int y, GuardedRaster const& frame) {
    bool const crops = way.scene.view != kViewBothPins || way.scene.crop;
    int inside = 0, outside = 0;  // of nine points around the pixel
    for (double const dx : {-1.0, 0.5, 2.0})
        for (double const dy : {-1.0, 0.5, 2.0}) {
            const Stations at = way({(x + dx) / frame.width(), (y + dy) / frame.height()});
            if (!at.source) return Expected::kUnclear;
            Point const &s = *at.source, &b = crops ? *at.between : s;
            inside += isWithin(s, 2) && (!crops || isWithin(b, 3));
            outside += !isWithin(s, 0) || !isWithin(b, 0);
        }
    return inside == 9    ? Expected::kPicture
           : outside == 9 ? Expected::kNothing
                          : Expected::kUnclear;
}

struct Checked {
    int picture = 0, nothing = 0;
};

void checkAgainstRamp(Way const& way, GuardedRaster const& output, double tolerance,
                      Checked& checked) {
    double worst = 0;
    output.forEachChannel([&](int x, int y, int c) {
        if (x < 1 || y < 1 || x >= output.width() - 1 || y >= output.height() - 1) return;
        const Expected expected = expectedAt(way, x, y, output);
        if (expected == Expected::kUnclear) return;
        const bool shows = expected == Expected::kPicture;
        if (c == 0) ++(shows ? checked.picture : checked.nothing);
        const Point p =
            way({(x + 0.5) / output.width(), (y + 0.5) / output.height()}).source.value();
        const double value = shows ? ramp(c, p.x * kWidth - 0.5, p.y * kHeight - 0.5) : 0;
        worst = std::max(worst, std::fabs(output.get(x, y, c) - value));
    });
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
    double const tolerance = (ownFrame ? 4 : 2) * 0x1p-17 * 0.4 / 29 + 16 * 0x1p-24;
    Random random(seed);
    Checked checked;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", round " << round);
        Scene scene;
        scene.view = ownFrame ? round % 3 == 2 ? kViewToPins : kViewBothPins
                              : static_cast<ViewModeEntry>(1 + round % 3);
        scene.crop = random.flip();
        scene.to = zelk::randomConvexQuad(random);
        if (!ownFrame) {
            // Upright rectangles: what the first pass leaves is then a ramp for the second one.
            double const l = random.uniform(-0.1, 0.3), r = random.uniform(0.6, 1.1);
            double const t = random.uniform(-0.1, 0.3), b = random.uniform(0.6, 1.1);
            scene.from = {l, t, r, t, l, b, r, b};
            if (scene.view == kViewBothPins && !scene.crop)
                scene.from = zelk::randomConvexQuad(random);
            for (Quad* offsets : {&scene.fromOffsets, &scene.toOffsets})
                for (double& offset : *offsets) offset = random.uniform(-100, 100);
        }
        if (!ownFrame && scene.view != kViewFromPins) {
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
        renderer.host.setPopup(kParamQuality, kQualityMedium);
        EXPECT_EQ(renderer.render(), 0);
        EXPECT_EQ(renderer.host.getOutputWidth(), renderer.output.width());
        checkAgainstRamp(Way{scene}, renderer.output, tolerance, checked);
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

/// 60 percent: 153 of 256, 19660 of 32768, or the number itself.
template <class T>
double fadedAlpha(double alpha) {
    if (T::kIsFloat) return static_cast<float>(alpha) * static_cast<float>(60 * 0.01);
    return T::kWhite == 255 ? std::floor((alpha * 153 + 128) / 256)
                            : std::floor((alpha * 19660 + 16384) / 32768);
}

// The pipeline's own compositing against its pieces: what each family of hosts does around it, with
// the pass from a host that does nothing. Entry 0 has no transfer, only an opacity.
template <class T>
void expectTransfer(MemoryHostFamily family, unsigned entry) {
    SCOPED_TRACE(testing::Message() << "format " << T::kFormat << " family " << int(family)
                                    << " entry and seed " << entry);
    bool const noAlpha = family == MemoryHostFamily::kAVX1 || family == MemoryHostFamily::kAVX2;
    bool const associated = family == MemoryHostFamily::kFXPLUG;
    Renderer pass(T::kFormat), whole(T::kFormat, kWidth, kHeight, family);
    for (Renderer* renderer : {&pass, &whole}) {
        Random random(entry);
        Scene scene;
        scene.to = zelk::randomConvexQuad(random);
        renderer->set(scene);
        renderer->host.setPopup(kParamQuality, 2 + entry % 2);  // the end is softened too
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
        for (GuardedRaster* raster : {&pass.input, &pass.output})
            zelk_test::changeColour<T>(true, raster->info());
    if (entry == 0)
        pass.output.paint([&](int x, int y, int c) {
            const double value = pass.output.get(x, y, c);
            return c == T::kAlpha ? fadedAlpha<T>(value) : value;
        });
    else
        transferByMode<T>(T::kIsFloat && entry == 6 ? PF_Xfer_ADD : transferModeOfEntry(int(entry)),
                          &pass.host, static_cast<float>(60 * 0.01), static_cast<float>(70 * 0.01),
                          &out, &work, &out);
    if (noAlpha || associated) zelk_test::changeColour<T>(false, pass.output.info());
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
    for (auto const family : {MemoryHostFamily::kNone, MemoryHostFamily::kAVX1,
                              MemoryHostFamily::kAVX2, MemoryHostFamily::kFXPLUG})
        for (unsigned entry = 0; entry < 23; ++entry) {
#define EXPECT_TRANSFER(NAME) expectTransfer<PIXEL_##NAME>(family, entry);
            ZELK_FRAME_FORMATS(EXPECT_TRANSFER)
#undef EXPECT_TRANSFER
        }
    Renderer otherFrame(kFormatARGB8, kWidth + 3, kHeight);  // no source of the frame's size
    otherFrame.host.setPopup(kParamTransferMode, 2);
    otherFrame.set({kViewFromPins, false, {0.5, 0, 1, 0, 0, 1, 1, 1}});
    EXPECT_EQ(otherFrame.render(), 1);
    EXPECT_EQ(otherFrame.host.getOutputWidth(), kWidth + 3) << "not the pass's";
    Renderer smaller(kFormatARGB8, kWidth, kHeight - 1);  // with rectangles that it can't hold
    RenderSettings rectangles;
    smaller.host.setUserData(&rectangles);
    EXPECT_EQ(smaller.render(), 1);
    Renderer larger(kFormatARGB8, kWidth + 1, kHeight);  // cleared where the layer ends
    larger.host.setUserData(&rectangles);
    larger.host.setPopup(kParamViewMode, kViewFromPins);
    EXPECT_EQ(larger.render() + larger.output.get(kWidth, 0, 0), 0);
}

/// A layer of black and white pixels in turn, in a frame that is so many times as large.
struct Checkered : Renderer {
    Checkered(Scene const& scene, unsigned quality, int times = 1)
        : Renderer(kFormatBGRA8, times * kWidth, times * kHeight) {
        input.paint([](int x, int y, int) { return (x ^ y) % 2 * 255; });
        set(scene);
        host.setPopup(kParamQuality, quality);
    }
};

TEST(PipelineFrames, OnlyAKernelSoftensAtRestAndLowMixesNothing) {
    for (unsigned i = 0; i < 6; ++i) {
        Scene scene;
        scene.translateX = i % 2;  // a third of a pixel
        Checkered renderer(scene, i / 2);
        EXPECT_EQ(renderer.render(), 0);
        EXPECT_EQ(std::fmod(renderer.output.get(9, 9, 0), 255) != 0, i > 2) << "quality " << i / 2;
    }
}

// Pins that shrink nothing leave the fade alone, by the lesser scale; in a frame of twice the size
// those at half of it. A To view starts from the layer itself.
TEST(PipelineFrames, SuperSampleAtRestIsHighOfAFadedLayer) {
    for (int const times : {1, 2})
        for (const ViewModeEntry view : {kViewToPins, kViewBothPins}) {
            Scene scene{view};
            for (double& pin : scene.to) pin /= times;
            Checkered super(scene, 3, times), high(scene, 2, times);
            for (Renderer* renderer : {&super, &high}) renderer->host.setScale(1, 0.5);
            super.host.setFloat(kParamSuperSampleSoftness, 0.9);
            super.host.setFloat(kParamSuperSampleEdge, 12);
            if (view == kViewBothPins) fadeBorder<PIXEL_BGRA8>(high.input.info(), 7);
            EXPECT_EQ(super.render() + high.render(), 0);
            EXPECT_TRUE(super.output.samePixels(high.output));
            EXPECT_TRUE(super.host.order.ends_with("120")) << "interim, softened, working copy";
        }
}

// High softens even a frame at rest, so a first pass that runs shows.
TEST(PipelineFrames, TheFirstPassIsLeftOutOnlyAtRestWithinATolerance) {
    auto const runs = [](int index, double change) {
        Scene scene;
        scene.view = kViewFromPins;
        double* const values[] = {&scene.translateX, &scene.translateY, &scene.scaleX,
                                  &scene.scaleY,     &scene.rotate,     &scene.fromOffsets[3],
                                  &scene.to[3]};
        (index < 8 ? scene.from[static_cast<std::size_t>(index)] : *values[index - 8]) += change;
        Checkered renderer(scene, 2);
        if (index == 13) renderer.host.setPoint(kParamFromUpperRight, 1, 0);
        EXPECT_EQ(renderer.render(), 0);
        return !renderer.output.samePixels(renderer.input);
    };
    for (int index = 0; index < 13; ++index) {
        EXPECT_FALSE(runs(index, 0.9e-5)) << index;
        EXPECT_TRUE(runs(index, -1.1e-5)) << index;
    }
    EXPECT_FALSE(runs(13, 50) || runs(14, 0.5)) << "offsets and To Pins don't count";
}

}  // namespace
