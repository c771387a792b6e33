// The engine against a deliberately naive model, pixel by pixel, on random scenes: quads of either
// turning, windows inside the frame, source rectangles inside their raster, every quality.
//
// The model tells for every destination pixel by itself what it may hold. Its map comes from two
// triangles of reference, it clips in the source plane instead of in homogeneous space, and
// coverage is the polygon's area in the pixel. Samples come from the line function that the quality
// asks for, called for one pixel: those have a test of their own, to the bit.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/lineFunc.h"
#include "tests/support/engine_scene.h"
#include "tests/support/plane.h"

namespace {

using namespace zelk;

// The view distance is single precision, which moves a pixel by 4.4e-8 of its way from the centre.
constexpr double kShift = 64 * 4.4e-8;
// Two outlines through a pixel, each off by a sub-row, and span ends; see the scan's own test.
constexpr double kCoverageError = 2.0 / 16 + 3.0 / 512;
// Single precision sums of values up to 1 with weights whose absolute sum is below 2.
constexpr double kFloatError = 2 * 2 * 20 * 0x1p-24;

struct Range {
    double lo = 1e9, hi = -1e9;
    void include(double value) {
        lo = std::min(lo, value);
        hi = std::max(hi, value);
    }
};
using PixelRange = std::array<Range, 4>;

struct SourcePoint {
    double u, v, errorU, errorV;
    bool known;
};

class NaiveEngine {
public:
    /// `source` is a float raster that outlives the model.
    NaiveEngine(const EngineScene& scene, const GuardedRaster& source) : m_scene(scene) {
        mapPicture();
        const QV_RasterInfo info = source.info();
        RenderSettings& s = m_settings;
        s.srcData = info.data;
        s.srcPixelBytes = info.pixelBytes;
        s.srcRowBytes = info.rowBytes;
        s.srcMinX = scene.source.left, s.srcMaxX = scene.source.right;
        s.srcMinY = scene.source.top, s.srcMaxY = scene.source.bottom;
        setKernelTransformSize(&s, scene.sizeIndex, 1.0f);
        setInterpLineFunc(&s, 0, 0, scene.filter == 22 ? 9 : scene.filter, false, 0, 0, false, 0, 0,
                          0, false, true);
        setDefaultSuperSamplePattern(&s);

        using F = LineFuncCP<float>;
        const QV_LineFunc kernel = s.taps > 4 ? F::biCubicFunc : F::biCubicFunc_4x4;
        const QV_LineFunc byQuality[] = {lineFunc, F::bilinearFunc, kernel, F::biCubicFunc_4x4_ss};
        m_interior = byQuality[scene.quality()];
        m_edge = scene.quality() % 3 == 0 ? m_interior : F::bilinearFunc;
    }

    /// False when the picture crosses the horizon and its front part misses the window: the engine
    /// then mirrors single corners, which no picture corresponds to.
    bool canTell() const { return m_canTell; }
    /// Every sub-row around the pixel covers it and its neighbours.
    bool isInterior(int x, int y) const {
        return areaInside(m_polygon, x - 1.01, y - 0.01, x + 2.01, y + 1.01) > 3.02 * 1.02 - 1e-9;
    }
    /// What the pixel may hold if its row is drawn: rows whose sub-rows share no column are not.
    PixelRange value(int x, int y) const {
        const SourcePoint p = sourceOf(x, y);
        const bool nearest = m_scene.quality() == 0;
        // The covered share of the pixel. Nearest neighbour asks for its centre: all or nothing of
        // a little square, but where rounding decides.
        const double half = nearest ? 1e-4 : 0.5, cx = x + 0.5, cy = y + 0.5;
        const auto areaOf = [&](double reach) {
            return areaInside(m_polygon, cx - reach, cy - reach, cx + reach, cy + reach);
        };
        const double share = areaOf(half) / (4 * half * half);
        double least = std::clamp(share - kCoverageError, 0.0, 1.0);
        double most = areaOf(0.6) == 0 ? 0.0 : std::clamp(share + kCoverageError, 0.0, 1.0);
        if (nearest) least = share > 0.999, most = share > 0.001;

        PixelRange range;
        const bool inside = !nearest && isInterior(x, y);
        if (inside || least > 1 - 2 * kCoverageError) range = sampled(m_interior, p);
        const PixelRange edge = sampled(m_edge, p);
        for (std::size_t c = 0; c < 4; ++c) {
            if (!p.known && most > 0) range[c] = {-1, 2};
            if (inside) continue;
            range[c].include(edge[c].lo * least);
            range[c].include(edge[c].hi * most);
        }
        return range;
    }

private:
    /// The line function's values around the point, as far as its errors reach.
    PixelRange sampled(QV_LineFunc function, const SourcePoint& p) const {
        PixelRange range;
        for (const double u : {p.u - p.errorU, p.u, p.u + p.errorU}) {
            for (const double v : {p.v - p.errorV, p.v, p.v + p.errorV}) {
                float out[4];
                LineRenderStruct line = {u, v, 1, 0, 0, 0, 0, 1, 0, out, nullptr};
                function(&m_settings, &line);
                for (std::size_t c = 0; c < 4; ++c) range[c].include(static_cast<double>(out[c]));
            }
        }
        return range;
    }
    SourcePoint sourceOf(int x, int y) const {
        const PixelRect& s = m_scene.source;
        // Filtered qualities lay the picture half a pixel past the outer pixel centres; nearest
        // neighbour, which truncates, keeps half a pixel inside them.
        const double outset = m_scene.quality() == 0 ? -0.5 : 0.5;
        const auto at = [&](double px, double py, double& u, double& v) {
            const Vector3 unit = apply({px, py, 1}, m_toUnit);
            u = s.left - outset + unit[0] / unit[2] * (s.right - s.left + 2 * outset);
            v = s.top - outset + unit[1] / unit[2] * (s.bottom - s.top + 2 * outset);
            return unit[2] > 0;
        };
        // Narrowing to single precision at up to 64, twice for good measure.
        SourcePoint p = {0, 0, 64 * 0x1p-23, 64 * 0x1p-23, true};
        p.known = at(x + 0.5, y + 0.5, p.u, p.v);
        for (const Point& d : {Point{kShift, 0}, {-kShift, 0}, {0, kShift}, {0, -kShift}}) {
            double u, v;
            p.known = at(x + 0.5 + d.x, y + 0.5 + d.y, u, v) && p.known;
            p.errorU = std::max(p.errorU, 64 * 0x1p-23 + std::fabs(u - p.u));
            p.errorV = std::max(p.errorV, 64 * 0x1p-23 + std::fabs(v - p.v));
        }
        // Beyond a third of a step of the weight table a range could hide more than one step.
        p.known = p.known && p.errorU < 0.0025 && p.errorV < 0.0025;
        return p;
    }
    void mapPicture() {
        Matrix3 toFrame = product(inverse(axesToQuad(m_scene.from)),
                                  axesToQuad(m_scene.to, m_scene.frameWidth, m_scene.frameHeight));
        const auto place = [&](const Point& p) { return apply({p.x, p.y, 1}, toFrame); };
        const auto flip = [&](bool wanted) {
            for (double& e : toFrame) e = wanted ? -e : e;
        };
        // Which side of the horizon is in front: the From quad's own corners, if the quad isn't
        // mirrored; else the other side, as far as anything lies there.
        const Quad& f = m_scene.from;
        const double turn = (f[2] - f[0]) * (f[5] - f[1]) - (f[3] - f[1]) * (f[4] - f[0]);
        flip((turn < 0) != (place({f[0], f[1]})[2] < 0));
        const Polygon square = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
        const auto behind = std::count_if(square.begin(), square.end(),
                                          [&](const Point& p) { return place(p)[2] < 0; });
        flip(behind == 4);
        m_toUnit = inverse(toFrame);

        // The last row and column are cut at 0.99 of their pixels.
        const PixelRect& w = m_scene.window;
        const double sides[4] = {w.left * 1.0, w.top * 1.0, w.right + 0.99, w.bottom + 0.99};
        Polygon visible = keep(square, [&](const Point& p) { return place(p)[2]; });
        for (int i = 0; i < 4; ++i) {
            visible = keep(visible, [&](const Point& p) {
                const double inside = place(p)[i % 2] - sides[i] * place(p)[2];
                return i < 2 ? inside : -inside;
            });
        }
        for (const Point& p : visible)
            m_polygon.push_back({place(p)[0] / place(p)[2], place(p)[1] / place(p)[2]});
        m_canTell = behind == 0 || behind == 4 || std::fabs(signedArea(m_polygon)) > 1e-3;
    }

    EngineScene m_scene;
    mutable RenderSettings m_settings;  // the line functions ask for a void*
    QV_LineFunc m_interior, m_edge;
    Matrix3 m_toUnit;   // frame pixels to unit measure, homogeneous
    Polygon m_polygon;  // the visible picture, frame pixels
    bool m_canTell = true;
};

struct ModelCase {
    const char* name;
    int filter, sizeIndex, seeds;
};
void PrintTo(const ModelCase& c, std::ostream* out) { *out << c.name; }

class EngineModel : public testing::TestWithParam<ModelCase> {
protected:
    int pixels = 0, narrow = 0;

    void compareRow(const NaiveEngine& model, const EngineScene& scene, const GuardedRaster& output,
                    int y) {
        bool isDrawn = false;
        for (int i = 0; i < 4 * output.width(); ++i)
            isDrawn = isDrawn || output.get(i / 4, y, i % 4) != 0;
        for (int i = 0; i < output.width(); ++i) {
            const int x = i + scene.window.left, frameY = y + scene.window.top;
            if (!isDrawn && scene.quality() > 0 && !model.isInterior(x, frameY)) continue;
            const PixelRange range = model.value(x, frameY);
            for (int c = 0; c < 4; ++c) {
                const Range r = range[static_cast<std::size_t>(c)];
                const double got = output.get(i, y, c);
                ++pixels;
                narrow += r.hi - r.lo < 0.02;
                ASSERT_TRUE(got >= r.lo - kFloatError && got <= r.hi + kFloatError)
                    << "pixel " << x << ", " << frameY << ", channel " << c << ": " << got
                    << " isn't in " << r.lo << " to " << r.hi;
            }
        }
    }
};

TEST_P(EngineModel, EveryPixelIsInTheModelsRange) {
    for (int seed = 1; seed <= GetParam().seeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(static_cast<unsigned>(seed));
        EngineScene scene = randomScene(random, 40);
        scene.filter = GetParam().filter;
        scene.sizeIndex = GetParam().sizeIndex;
        const GuardedRaster source = noiseSource(random, scene, kFormatARGB32);
        const GuardedRaster output = renderScene(scene, source);
        const NaiveEngine model(scene, source);
        for (int y = 0; model.canTell() && y < output.height(); ++y) {
            ASSERT_NO_FATAL_FAILURE(compareRow(model, scene, output, y));
        }
    }
    // The model must say something: most ranges are narrow.
    EXPECT_GT(narrow, pixels / 2);
}

INSTANTIATE_TEST_SUITE_P(
    Qualities, EngineModel,
    testing::Values(ModelCase{"Nearest", 0, 0, 300}, ModelCase{"Bilinear", 1, 0, 300},
                    ModelCase{"Triangle4", 2, 0, 100}, ModelCase{"Keys4", 6, 0, 100},
                    ModelCase{"Parzen4", 9, 0, 100}, ModelCase{"Parzen6", 9, 1, 40},
                    ModelCase{"Keys8", 6, 2, 40}, ModelCase{"Keys10", 6, 3, 40},
                    ModelCase{"SuperSampled", 22, 0, 40}),
    [](const auto& which) { return std::string(which.param.name); });

}  // namespace
