// The clipper against half-plane facts; both scans against the exact area of the outline in each
// pixel, every pixel being painted once and at its own position; known coverages.
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

Canvas scan(Polygon const& outline, bool area) {
    QV_Poly poly;
    load(poly, zelk::clipped(outline, 0, 0, kSize - 1 + 0.99, kSize - 1 + 0.99));
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
    QV_Poly_box box = {0, 10, 0, 10, 0, 1};
    QV_Poly poly;
    load(poly, {{0, 0}, {0, 10}, {10, 10}, {10, 0}});
    EXPECT_EQ(QV_Poly::poly_clip_to_box(&poly, &box, true), 2);
    load(poly, {{11, 0}, {11, 10}, {12, 10}, {12, 0}});
    EXPECT_EQ(QV_Poly::poly_clip_to_box(&poly, &box, true), 0);
    EXPECT_EQ(poly.m_n, 0);
    load(poly,
         {{-9, 5}, {5, 19}, {5, 30}, {-20, 5}});  // outside by three planes, none of them alone
    EXPECT_EQ(QV_Poly::poly_clip_to_box(&poly, &box, true), 0);
    load(poly, {{-5, 0}, {5, 10}, {5, 5}, {5, 0}});
    EXPECT_EQ(QV_Poly::poly_clip_to_box(&poly, &box, false), 1) << "z planes alone leave x alone";
    EXPECT_EQ(poly.m_n, 4);
}

// Coverage is counted in 16 sub-rows: a sub-row's span differs from the exact one by less than
// 1/512 pixel at each end plus the inclusive end, and its height stands for 1/16. So for a pixel
// the error is at most the change of the exact row coverage within a sixteenth, which is no more
// than what the outline crosses there: 1/16 for each vertical turn plus 3/512.
TEST(Scan, PaintsEachPixelOnceByItsCentreOrItsArea) {
    Random random(kSeed);
    for (int round = 0; round < 4000; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << " round " << round);
        const auto quad = randomQuad(random, -4, kSize + 4);
        const Canvas plain = scan(quad, false), soft = scan(quad, true);
        EXPECT_LT(std::max(plain.worstPosition, soft.worstPosition), 1e-9);
        for (int y = 0; y < kSize - 1; ++y) {
            bool rowIsDrawn = false;  // sub-rows that share no column draw nothing
            for (int x = 0; x < kSize - 1; ++x) {
                ASSERT_LE(std::max(plain.hits[y][x], soft.hits[y][x]), 1);
                const double exact =
                    std::fabs(zelk::signedArea(zelk::clipped(quad, x, y, x + 1, y + 1)));
                // The covered share of a little square about the centre: nothing or all of it,
                // but where rounding decides.
                const double e = 1e-4, cx = x + 0.5, cy = y + 0.5;
                const double share = std::fabs(zelk::signedArea(
                                         zelk::clipped(quad, cx - e, cy - e, cx + e, cy + e))) /
                                     (4 * e * e);
                if (share < 0.001 || share > 0.999) {
                    ASSERT_EQ(plain.hits[y][x] == 1, share > 0.5) << "pixel " << x << ", " << y;
                }
                rowIsDrawn = rowIsDrawn || soft.coverage[y][x] > 0;
                if (!rowIsDrawn || soft.hits[y][x] == 0) continue;
                // Below the last sub-row's upper border each side may still cut into the interior.
                ASSERT_TRUE(exact > 1 - 2.0 / 16 || !soft.interior[y][x]);
                ASSERT_NEAR(soft.coverage[y][x], exact, 2.0 / 16 + 3.0 / 512)
                    << "pixel " << x << ", " << y;
            }
        }
    }
}

TEST(AreaScan, KnownCoverages) {
    const Canvas left = scan({{10.25, 2}, {10.25, 6}, {14, 6}, {14, 2}}, true);
    EXPECT_EQ(left.coverage[3][10], 0.75f);
    EXPECT_FALSE(left.interior[3][10]);
    EXPECT_TRUE(left.interior[3][11]);
    // The right edge lies on a border: its inclusive end leaves 1/512 in the pixel beyond.
    EXPECT_EQ(left.coverage[3][13], 1.0f);
    EXPECT_EQ(left.coverage[3][14], 1.0f / 512);

    const Canvas whole = scan({{10, 2}, {10, 6}, {14, 6}, {14, 2}}, true);
    EXPECT_EQ(whole.coverage[2][10], 1.0f);
    EXPECT_EQ(whole.hits[1][12] + whole.hits[6][12], 0);

    // Rows that are cut are one edge run, with no interior.
    const Canvas cut = scan({{4, 2.5}, {4, 5.25}, {20, 5.25}, {20, 2.5}}, true);
    EXPECT_EQ(cut.coverage[2][10], 0.5f);
    EXPECT_EQ(cut.coverage[5][10], 0.25f);
    EXPECT_FALSE(cut.interior[2][10] || cut.interior[5][10]);
    EXPECT_TRUE(cut.interior[3][10]);

    // The frame's last column ends at 0.99; its last row reaches all sub-rows.
    const Canvas frame = scan({{-9, -9}, {-9, 40}, {40, 40}, {40, -9}}, true);
    EXPECT_EQ(frame.coverage[5][kSize - 1], 507.0f / 512);
    EXPECT_EQ(frame.coverage[kSize - 1][5], 1.0f);

    // A sliver so flat that its sub-rows share no column draws nothing there.
    const Canvas sliver = scan({{1, 4.0}, {23, 4.9}, {23, 4.95}, {1, 4.05}}, true);
    EXPECT_EQ(std::count(&sliver.hits[4][0], &sliver.hits[4][kSize], 1), 0);
}

}  // namespace
