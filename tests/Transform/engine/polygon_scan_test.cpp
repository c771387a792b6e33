// The clipper against plain clipping of the plane; both scans against a plain model of each pixel,
// every pixel being painted once and at its own position.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "Transform/Common/QV_Poly/QV_Poly.h"
#include "tests/support/plane.h"

namespace {

using zelk::Point;
using zelk::Polygon;
using zelk::Random;

constexpr unsigned kSeed = 977;
constexpr int kSize = 24;  // of the window, pixels

/// A convex quad of either turning about a centre between the borders, pixels.
Polygon randomQuad(Random& random, double low, double high) {
    const zelk::Quad q = zelk::randomConvexQuad(random);
    const Point c = {random.uniform(low, high), random.uniform(low, high)};
    const double largest = (high - low) / 2;
    const double rx = random.uniform(0.2, largest), ry = random.uniform(0.2, largest);
    Polygon quad;
    for (const int corner : {0, 2, 6, 4})
        quad.push_back({c.x + rx * (q[corner] - 0.5), c.y + ry * (q[corner + 1] - 0.5)});
    return quad;
}

void load(QV_Poly& poly, Polygon const& outline) {
    poly.m_n = static_cast<int>(outline.size());
    poly.m_mask = 399 | kMaskQ;
    for (int i = 0; i < poly.m_n; ++i) {
        Point const p = outline[static_cast<std::size_t>(i)];
        QV_Poly_vert& vertex = poly.m_vert[i] = {};
        vertex.sx = p.x, vertex.sy = p.y;
        vertex.u = p.x - 0.5, vertex.v = p.y - 0.5;
        vertex.sw = vertex.q = 1;
    }
}

/// What a scan painted: coverage by pixel, the kind of run, and how often each pixel was hit.
struct Canvas {
    float coverage[kSize][kSize] = {};
    int hits[kSize][kSize] = {};
    bool interior[kSize][kSize] = {};
    double worstPosition = 0;  ///< of u, v against the pixel's own centre
};

Canvas* g_canvas;                    // the scan's own line functions have no other way to it
std::uint16_t g_row[kSize * kSize];  // destination: its address tells the pixel

template <bool kEdge>
void paint(void*, LineRenderStruct* line) {
    const auto first = static_cast<std::uint16_t*>(line->dest) - g_row + line->skipLeft;
    for (int i = 0; i < line->count; ++i) {
        const int at = static_cast<int>(first) + i, x = at % kSize, y = at / kSize;
        g_canvas->coverage[y][x] += kEdge ? line->coverage[i] : 1.0f;
        g_canvas->hits[y][x] += 1;
        g_canvas->interior[y][x] = !kEdge;
        g_canvas->worstPosition =
            std::max({g_canvas->worstPosition, std::fabs(line->x / line->w - x),
                      std::fabs(line->y / line->w - y)});
        line->x += line->dx, line->y += line->dy, line->w += line->dw;
    }
}

/// Runs a scan over an outline inside the window.
Canvas scan(Polygon const& outline, bool area) {
    QV_Poly poly;
    load(poly, outline);
    poly.m_dstData = reinterpret_cast<unsigned char*>(g_row);
    poly.m_dstRowBytes = kSize * 2;
    poly.m_pixelBytes = 2;
    poly.m_interiorFunc = paint<false>;
    poly.m_edgeFunc = paint<true>;
    Canvas canvas;
    g_canvas = &canvas;
    QV_Window window = {0, 0, kSize - 1, kSize - 1};
    if (area)
        poly.polyAreaScan(&window, 0, 0, kSize - 1, kSize - 1);
    else
        poly.poly_scan(&window, 0, 0, kSize - 1, kSize - 1);
    return canvas;
}

TEST(Clip, RandomQuadsMatchPlainClipping) {
    Random random(kSeed);
    int counts[3] = {};
    for (int round = 0; round < 20000; ++round) {
        const auto quad = randomQuad(random, -6, 16);
        QV_Poly poly;
        load(poly, quad);
        // A homogeneous weight per vertex must not matter: the test is sx against k * sw.
        for (int i = 0; i < 4; ++i) {
            const double w = 0.5 + (i + round) % 5;
            for (double QV_Poly_vert::*f :
                 {&QV_Poly_vert::sx, &QV_Poly_vert::sy, &QV_Poly_vert::sw})
                poly.m_vert[i].*f *= w;
            poly.m_vert[i].sz = 0.5 * poly.m_vert[i].sw;
        }
        QV_Poly_box box = {0, 10, 0, 10, 0, 1};
        const int result = QV_Poly::poly_clip_to_box(&poly, &box, true);
        ++counts[result];
        Polygon got;
        for (QV_Poly_vert const* v = poly.m_vert; v != poly.m_vert + poly.m_n; ++v)
            got.push_back({v->sx / v->sw, v->sy / v->sw});
        ASSERT_LE(poly.m_n, POLY_NMAX);
        ASSERT_EQ(result == 0, poly.m_n == 0);
        // Coordinates up to 27, a handful of roundings each: areas agree to 1e-10.
        ASSERT_NEAR(zelk::signedArea(got), zelk::signedArea(zelk::clipped(quad, 0, 0, 10, 10)),
                    1e-9)
            << "seed " << kSeed << " round " << round;
    }
    EXPECT_GT(std::min({counts[0], counts[1], counts[2]}), 200);
}

TEST(Clip, BordersCountAsInsideAndOutsideOfOnePlaneIsRejected) {
    const struct {
        Polygon outline;
        bool clipXY;
        int result, vertices;
    } cases[] = {{{{0, 0}, {0, 10}, {10, 10}, {10, 0}}, true, 2, 4},
                 {{{11, 0}, {11, 10}, {12, 10}, {12, 0}}, true, 0, 0},
                 {{{-9, 5}, {5, 19}, {5, 30}, {-20, 5}}, true, 0, 0},  // by no plane alone
                 {{{-5, 0}, {5, 10}, {5, 5}, {5, 0}}, false, 1, 4}};   // z planes leave x alone
    for (auto const& c : cases) {
        QV_Poly_box box = {0, 10, 0, 10, 0, 1};
        QV_Poly poly;
        load(poly, c.outline);
        EXPECT_EQ(QV_Poly::poly_clip_to_box(&poly, &box, c.clipXY), c.result);
        EXPECT_EQ(poly.m_n, c.vertices);
    }
}

/// The spans of a pixel row, in 512ths of a pixel, from cuts of the outline at the upper borders of
/// its 16 sub-rows. Single precision may move an end by a column and a cut up or down: `slack` 1
/// takes the widest spans that may come of it, -1 the narrowest.
struct RowSpans {
    int span[16][2], maxLeft = -1 << 30, minRight = 1 << 30;
    bool sawEmpty = false;

    RowSpans(Polygon const& outline, int y, int slack) {
        for (int k = 0; k < 16; ++k) {
            double left = slack * 1e6, right = -left;
            for (const double off : {-1e-5, 0.0, 1e-5}) {
                const zelk::Cut cut = zelk::cutAt(outline, y + k / 16.0 + off);
                left = slack > 0 ? std::min(left, cut.left) : std::max(left, cut.left);
                right = slack > 0 ? std::max(right, cut.right) : std::min(right, cut.right);
            }
            span[k][0] = static_cast<int>(std::ceil(std::min(512 * left, 1e6) - 1e-3 * slack));
            span[k][1] = static_cast<int>(std::floor(std::max(512 * right, -1e6) + 1e-3 * slack));
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
    float coverage(int x) const {
        int columns = 0;
        for (auto const& [left, right] : span)
            columns += std::max(0, std::min(right, 512 * x + 511) - std::max(left, 512 * x) + 1);
        return static_cast<float>(columns) / 8192;
    }
    /// Pixels strictly between the innermost ends, but for the window's last column.
    bool isInterior(int x) const {
        return !sawEmpty && x < kSize - 1 && 512 * x > maxLeft && 512 * (x + 1) <= minRight;
    }
};

TEST(Scan, PaintsEachPixelOnceByItsCentreOrItsSubRows) {
    Random random(kSeed);
    int drawn = 0, interior = 0;
    for (int round = 0; round < 4000; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << " round " << round);
        const auto quad =
            zelk::clipped(randomQuad(random, -4, kSize + 4), 0, 0, kSize - 0.01, kSize - 0.01);
        const Canvas plain = scan(quad, false), soft = scan(quad, true);
        EXPECT_LT(std::max(plain.worstPosition, soft.worstPosition), 1e-9);
        for (int y = 0; y < kSize; ++y) {
            const RowSpans narrow(quad, y, -1), wide(quad, y, 1);
            for (int x = 0; x < kSize; ++x) {
                const auto where = [&] { return testing::Message() << x << ", " << y; };
                ASSERT_LE(std::max(plain.hits[y][x], soft.hits[y][x]), 1) << where();
                // The covered share of a little square about the centre: nothing or all of it,
                // but where rounding decides.
                const double e = 1e-4, cx = x + 0.5, cy = y + 0.5;
                const double share =
                    zelk::areaInside(quad, cx - e, cy - e, cx + e, cy + e) / (4 * e * e);
                if (share < 0.001 || share > 0.999) {
                    ASSERT_EQ(plain.hits[y][x] == 1, share > 0.5) << where();
                }
                if (narrow.isDrawn() != wide.isDrawn()) continue;
                drawn += wide.isDrawn();
                ASSERT_GE(soft.coverage[y][x], narrow.isDrawn() ? narrow.coverage(x) : 0)
                    << where();
                ASSERT_LE(soft.coverage[y][x], wide.isDrawn() ? wide.coverage(x) : 0) << where();
                if (narrow.isInterior(x) != wide.isInterior(x)) continue;
                ASSERT_EQ(soft.interior[y][x], wide.isInterior(x)) << where();
                interior += wide.isInterior(x);
            }
        }
    }
    EXPECT_GT(std::min(drawn, interior), 50000);
}

}  // namespace
