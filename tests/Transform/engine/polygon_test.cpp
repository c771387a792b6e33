// The polygon by itself. The engine's model tells where it is cut and what of it a pixel shows:
// here are the borders of the clip and the precision of the scans.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Transform/Common/QV_Poly/QV_Poly.h"

namespace {

using Corners = double[4][2];

void load(QV_Poly& poly, Corners const& corners, bool weighted) {
    poly.m_n = 4;
    poly.m_mask = 399 | kMaskQ;
    for (int i = 0; i < 4; ++i) {
        double const w = weighted ? i + 0.5 : 1, x = corners[i][0], y = corners[i][1];
        QV_Poly_vert& v = poly.m_vert[i] = {};
        v.sx = x * w, v.sy = y * w, v.sz = i % 2 * w, v.sw = w;
        v.u = x + 2 * y - 1.5, v.v = 3 * y - x - 1, v.q = 1;
    }
}

TEST(Clip, BordersCountAsInsideAndOutsideOfOnePlaneIsRejected) {
    const struct {
        Corners corners;
        bool clipXY;
        int result, vertices;
    } cases[] = {{{{0, 0}, {0, 10}, {10, 10}, {10, 0}}, true, 2, 4},
                 {{{11, 0}, {11, 10}, {12, 10}, {12, 0}}, true, 0, 0},
                 {{{-9, 5}, {5, 19}, {5, 30}, {-20, 5}}, true, 0, 0},  // by no plane alone
                 {{{-5, 0}, {5, 10}, {5, 5}, {5, 0}}, true, 1, 5},
                 {{{-5, 0}, {5, 10}, {5, 5}, {5, 0}}, false, 1, 4}};  // z planes leave x alone
    for (auto const& c : cases) {
        QV_Poly poly;
        load(poly, c.corners, true);  // a weight must not matter: the test is sx against k * sw
        QV_Poly_box box = {0, 10, 0, 10, 0, 1};
        EXPECT_EQ(QV_Poly::poly_clip_to_box(&poly, &box, c.clipXY), c.result);
        EXPECT_EQ(poly.m_n, c.vertices);
    }
}

// The texture is laid so that pixel centres have whole positions, and steps are whole.
TEST(Scan, FollowsTheTextureInDouble) {
    unsigned char pixels[24 * 24];
    double worst = 0;
    QV_Poly poly;
    load(poly, {{3.3, 1.7}, {1.1, 13.9}, {17.7, 19.3}, {21.9, 4.1}}, false);
    poly.m_dstData = pixels;
    poly.m_dstRowBytes = 24;
    poly.m_lineArg = &worst;
    poly.m_interiorFunc = poly.m_edgeFunc = [](void* arg, LineRenderStruct* line) {
        for (const double v : {line->x / line->w, line->y / line->w, line->dx, line->dy})
            *static_cast<double*>(arg) =
                std::max(*static_cast<double*>(arg), std::fabs(v - std::round(v)));
        line->x += line->count * line->dx;
    };
    QV_Window window = {0, 0, 23, 23};
    poly.polyAreaScan(&window, 0, 0, 23, 23);
    poly.poly_scan(&window, 0, 0, 23, 23);
    EXPECT_LT(worst, 1e-12);
    EXPECT_GT(worst, 0);
}

}  // namespace
