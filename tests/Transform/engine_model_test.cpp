// The engine against a deliberately naive model, pixel by pixel, on random scenes: quads of either
// turning, windows inside the frame, source rectangles inside their raster, every quality.
//
// The model tells for every destination pixel by itself what it may hold. Its map comes from two
// triangles of reference, it clips in the source plane instead of in homogeneous space, and
// coverage comes from cuts of the outline, never far from its exact area. Samples come from the
// line function that the quality asks for, called for one pixel: those have a test of their own, to
// the bit.
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
// Coverage against area: two outlines through a pixel, each off by a sub-row, and span ends.
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

/// The spans of a pixel row, in 512ths of a pixel, from cuts of the outline at the upper borders of
/// its 16 sub-rows. The frame's shift and single precision may move an end by a column and a cut up
/// or down: `slack` 1 takes the widest spans that may come of it, -1 the narrowest.
struct RowSpans {
    int span[16][2], maxLeft = -1 << 30, minRight = 1 << 30;
    bool sawEmpty = false;

    RowSpans(Polygon const& outline, int y, int slack) {
        for (int k = 0; k < 16; ++k) {
            double left = slack * 1e6, right = -left;
            for (double const off : {-1e-5, 0.0, 1e-5}) {
                const Cut cut = cutAt(outline, y + k / 16.0 + off);
                left = slack > 0 ? std::min(left, cut.left) : std::max(left, cut.left);
                right = slack > 0 ? std::max(right, cut.right) : std::min(right, cut.right);
            }
            span[k][0] = static_cast<int>(std::ceil(std::min(512 * left, 1e6) - 4e-3 * slack));
            span[k][1] = static_cast<int>(std::floor(std::max(512 * right, -1e6) + 4e-3 * slack));
            if (span[k][0] >= span[k][1]) {
                sawEmpty = true;
                span[k][1] = span[k][0] - 1;
                continue;
            }
            maxLeft = std::max(maxLeft, span[k][0]);
            minRight = std::min(minRight, span[k][1]);
        }
    }
    /// Sub-rows that share no column draw nothing.
    bool isDrawn() const { return maxLeft <= minRight; }
    double coverage(int x) const {
        int columns = 0;
        for (auto const& [left, right] : span)
            columns += std::max(0, std::min(right, 512 * x + 511) - std::max(left, 512 * x) + 1);
        return columns / 8192.0;
    }
    /// Pixels strictly between the innermost ends.
    bool isInterior(int x) const {
        return !sawEmpty && 512 * x > maxLeft && 512 * (x + 1) <= minRight;
    }
};

struct SourcePoint {
    double u, v, errorU, errorV;
    bool known;
};

class NaiveEngine {
public:
    /// `source` is a float raster that outlives the model.
    NaiveEngine(EngineScene const& scene, GuardedRaster const& source, bool fill) : m_scene(scene) {
        mapPicture();
        const QV_RasterInfo info = source.info();
        RenderSettings& s = m_settings;
        s.srcData = info.data;
        s.srcPixelBytes = info.pixelBytes;
        s.srcRowBytes = info.rowBytes;
        s.srcMinX = scene.source.left, s.srcMaxX = scene.source.right;
        s.srcMinY = scene.source.top, s.srcMaxY = scene.source.bottom;
        s.maxValue = 1;
        setKernelTransformSize(&s, scene.sizeIndex, 1.0f);
        setInterpLineFunc(&s, 0, 0, scene.filter == 22 ? 9 : scene.filter, false, 0, 0, false, 0, 0,
                          0, false, true);
        setDefaultSuperSamplePattern(&s);

        using F = LineFuncCP<float>;
        const QV_LineFunc kernel = s.taps > 4 ? F::biCubicFunc : F::biCubicFunc_4x4;
        const QV_LineFunc byQuality[] = {lineFunc, F::bilinearFunc, kernel, F::biCubicFunc_4x4_ss};
        m_interior = fill ? F::fillPolygonFunc : byQuality[scene.quality()];
        m_edge = fill || scene.quality() % 3 == 0 ? m_interior : F::bilinearFunc;
    }

    /// The visible picture, frame pixels.
    Polygon const& outline() const { return m_polygon; }
    /// False when the picture crosses the horizon and its front part misses the window: the engine
    /// then mirrors single corners, which no picture corresponds to.
    bool canTell() const { return m_canTell; }
    /// What the pixel may hold.
    PixelRange value(int x, int y, RowSpans const& narrow, RowSpans const& wide) const {
        const SourcePoint p = sourceOf(x, y);
        // The covered share of the pixel. Nearest neighbour asks for its centre: all or nothing of
        // a little square, but where rounding decides.
        bool const nearest = m_scene.quality() == 0;
        double const half = nearest ? 1e-4 : 0.5, cx = x + 0.5, cy = y + 0.5;
        double const area = areaInside(m_polygon, cx - half, cy - half, cx + half, cy + half);
        double const share = area / (4 * half * half);
        double least = share > 0.999, most = share > 0.001;
        if (!nearest) {
            bool const isDrawn = narrow.isDrawn() && wide.isDrawn();
            bool const mayBeDrawn = narrow.isDrawn() || wide.isDrawn();
            least = isDrawn ? std::max(narrow.coverage(x), share - kCoverageError) : 0.0;
            most = mayBeDrawn ? std::min(wide.coverage(x), share + kCoverageError) : 0.0;
        }
        PixelRange range;
        bool const isLastColumn = x == m_scene.window.right;  // always an edge
        bool const isInside = narrow.isInterior(x) && !isLastColumn;
        if (wide.isInterior(x) && !isLastColumn) range = sampled(m_interior, p);
        const PixelRange edge = sampled(m_edge, p);
        for (std::size_t c = 0; c < 4; ++c) {
            if (!p.known && most > 0) range[c] = {-1, 2};
            if (isInside) continue;
            range[c].include(edge[c].lo * least);
            range[c].include(edge[c].hi * most);
        }
        return range;
    }

private:
    /// The line function's values around the point, as far as its errors reach.
    PixelRange sampled(QV_LineFunc function, SourcePoint const& p) const {
        PixelRange range;
        for (int i = 0; i < 9; ++i) {
            float out[4] = {};
            LineRenderStruct line = {p.u + (i % 3 - 1) * p.errorU,
                                     p.v + (i / 3 - 1) * p.errorV,
                                     1,
                                     0,
                                     0,
                                     0,
                                     0,
                                     1,
                                     0,
                                     out,
                                     nullptr};
            function(&m_settings, &line);
            for (std::size_t c = 0; c < 4; ++c) range[c].include(static_cast<double>(out[c]));
        }
        return range;
    }
    SourcePoint sourceOf(int x, int y) const {
        PixelRect const& s = m_scene.source;
        // Filtered qualities lay the picture half a pixel past the outer pixel centres; nearest
        // neighbour, which truncates, keeps half a pixel inside them.
        double const outset = m_scene.quality() == 0 ? -0.5 : 0.5;
        auto const at = [&](double px, double py, double& u, double& v) {
            const Vector3 unit = apply({px, py, 1}, m_toUnit);
            u = s.left - outset + unit[0] / unit[2] * (s.right - s.left + 2 * outset);
            v = s.top - outset + unit[1] / unit[2] * (s.bottom - s.top + 2 * outset);
            return unit[2] > 0;
        };
        // Narrowing to single precision at up to 64, twice for good measure.
        SourcePoint p = {0, 0, 64 * 0x1p-23, 64 * 0x1p-23, true};
        p.known = at(x + 0.5, y + 0.5, p.u, p.v);
        for (Point const& d : {Point{kShift, 0}, {-kShift, 0}, {0, kShift}, {0, -kShift}}) {
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
        auto const place = [&](Point const& p) { return apply({p.x, p.y, 1}, toFrame); };
        auto const flip = [&](bool wanted) {
            for (double& e : toFrame) e = wanted ? -e : e;
        };
        // Which side of the horizon is in front: the From quad's own corners, if the quad isn't
        // mirrored; else the other side, as far as anything lies there.
        Quad const& f = m_scene.from;
        double const turn = (f[2] - f[0]) * (f[5] - f[1]) - (f[3] - f[1]) * (f[4] - f[0]);
        flip((turn < 0) != (place({f[0], f[1]})[2] < 0));
        const Polygon square = {{0, 0}, {0, 1}, {1, 1}, {1, 0}};
        auto const behind = std::count_if(square.begin(), square.end(),
                                          [&](Point const& p) { return place(p)[2] < 0; });
        flip(behind == 4);
        m_toUnit = inverse(toFrame);

        // The last row and column are cut at 0.99 of their pixels.
        PixelRect const& w = m_scene.window;
        double const sides[4] = {w.left * 1.0, w.top * 1.0, w.right + 0.99, w.bottom + 0.99};
        Polygon visible = keep(square, [&](Point const& p) { return place(p)[2]; });
        for (int i = 0; i < 4; ++i) {
            visible = keep(visible, [&](Point const& p) {
                const double inside = place(p)[i % 2] - sides[i] * place(p)[2];
                return i < 2 ? inside : -inside;
            });
        }
        for (Point const& p : visible)
            m_polygon.push_back({place(p)[0] / place(p)[2], place(p)[1] / place(p)[2]});
        m_canTell = behind == 0 || behind == 4 || std::fabs(signedArea(m_polygon)) > 1e-3;
    }

    EngineScene m_scene;
    mutable RenderSettings m_settings;  // the line functions ask for a void*
    QV_LineFunc m_interior, m_edge;
    Matrix3 m_toUnit;  // frame pixels to unit measure, homogeneous
    Polygon m_polygon;
    bool m_canTell = true;
};

struct ModelCase {
    char const* name;
    int filter, sizeIndex, seeds;
    bool fill = false;
};
void PrintTo(ModelCase const& c, std::ostream* out) { *out << c.name; }

class EngineModel : public testing::TestWithParam<ModelCase> {};

// Formats take turns. In the integer ones every lerp truncates (two in a row: 2 steps of the
// format), the product with coverage a third time, and the kernels round. Rows may be padded, the
// team of any size, and what isn't drawn stays where it isn't to be cleared.
TEST_P(EngineModel, EveryPixelIsInTheModelsRange) {
    auto const& [name, filter, sizeIndex, seeds, fill] = GetParam();
    int values = 0, narrowOnes = 0, kept = 0;
    for (int seed = 1; seed <= seeds; ++seed) {
        Random random(static_cast<unsigned>(seed));
        int const turn = seed / 12;
        auto const format =  // no format has code 4
            static_cast<QV_RasterFormat>(seed % 12 == 4 ? kFormatBGRA32 : seed % 12);
        bool const cleared = seed % 5 > 0;
        double const white = whiteOf(format), untouched = GuardedRaster(format, 1, 1).get(0, 0, 0);
        double const most = white > 1 ? 1 : 1e9, least = 1 - most;  // integers are limited
        double const error = kFloatError + (white > 1 ? 3.1 / white : 0);
        EngineScene scene = randomScene(random, 40);
        scene.filter = filter;
        scene.sizeIndex = sizeIndex;
        const GuardedRaster source = noiseSource(random, scene, format, turn % 2 * 24);
        auto const render = [&, fills = fill](EngineOptions options, int paddingBytes) {
            options.clearOutput = cleared;
            options.fill = fills;
            return renderScene(scene, source, options, paddingBytes);
        };
        const GuardedRaster output = render({}, turn % 3 * 40);
        // In Premiere the engine makes no team.
        for (int const threads : {0, 1, 3, 8})
            EXPECT_TRUE(output.samePixels(render({threads == 0, threads}, 0))) << threads;
        GuardedRaster real(kFormatARGB32, source.width(), source.height());
        real.paint([&](int x, int y, int c) { return source.get(x, y, c) / white; });
        const NaiveEngine model(scene, real, fill);
        for (int row = 0; model.canTell() && row < output.height(); ++row) {
            int const y = row + scene.window.top;
            const RowSpans narrow(model.outline(), y, -1), wide(model.outline(), y, 1);
            PixelRange range;
            for (int i = 0; i < 4 * output.width(); ++i) {
                int const x = i / 4 + scene.window.left;
                if (i % 4 == 0) range = model.value(x, y, narrow, wide);
                const Range r = range[i % 4];
                double const stored = output.get(i / 4, row, i % 4), got = stored / white;
                ++values;
                narrowOnes += r.hi - r.lo < 0.02;
                bool const stays = !cleared && stored == untouched;
                kept += stays;
                if (stays && r.lo <= 0) continue;
                ASSERT_TRUE(got >= std::clamp(r.lo, least, most) - error &&
                            got <= std::clamp(r.hi, least, most) + error)
                    << "seed " << seed << ", pixel " << x << ", " << y << ", channel " << i % 4
                    << ": " << got << " isn't in " << r.lo << " to " << r.hi;
            }
        }
    }
    // The model must say something: most ranges are narrow.
    EXPECT_GT(narrowOnes, values / 2);
    EXPECT_GT(kept, 500);
}

INSTANTIATE_TEST_SUITE_P(
    Qualities, EngineModel,
    testing::Values(ModelCase{"Nearest", 0, 0, 300}, ModelCase{"Bilinear", 1, 0, 300},
                    ModelCase{"Triangle4", 2, 0, 100}, ModelCase{"Keys4", 6, 0, 100},
                    ModelCase{"Parzen4", 9, 0, 100}, ModelCase{"Parzen6", 9, 1, 40},
                    ModelCase{"Keys8", 6, 2, 40}, ModelCase{"Keys10", 6, 3, 40},
                    ModelCase{"SuperSampled", 22, 0, 40}, ModelCase{"FillNearest", 0, 0, 100, true},
                    ModelCase{"Fill", 1, 0, 300, true}),
    [](auto const& which) { return std::string(which.param.name); });

}  // namespace
