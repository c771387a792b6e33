// The homogeneous clip by itself: the engine's model tells where it cuts.
#include <gtest/gtest.h>

#include "Transform/Common/QV_Poly/QV_Poly.h"

namespace {

TEST(Clip, BordersCountAsInsideAndOutsideOfOnePlaneIsRejected) {
    const struct {
        double corners[4][2];
        bool clipXY;
        int result, vertices;
    } cases[] = {{{{0, 0}, {0, 10}, {10, 10}, {10, 0}}, true, 2, 4},
                 {{{11, 0}, {11, 10}, {12, 10}, {12, 0}}, true, 0, 0},
                 {{{-9, 5}, {5, 19}, {5, 30}, {-20, 5}}, true, 0, 0},  // by no plane alone
                 {{{-5, 0}, {5, 10}, {5, 5}, {5, 0}}, true, 1, 5},
                 {{{-5, 0}, {5, 10}, {5, 5}, {5, 0}}, false, 1, 4}};  // z planes leave x alone
    for (auto const& c : cases) {
        QV_Poly poly;
        poly.m_n = 4;
        poly.m_mask = 399;
        // A homogeneous weight per vertex must not matter: the test is sx against k * sw.
        for (int i = 0; i < 4; ++i) {
            QV_Poly_vert& v = poly.m_vert[i] = {};
            v.sw = i + 0.5, v.sz = 0.5 * v.sw;
            v.sx = c.corners[i][0] * v.sw, v.sy = c.corners[i][1] * v.sw;
        }
        QV_Poly_box box = {0, 10, 0, 10, 0, 1};
        EXPECT_EQ(QV_Poly::poly_clip_to_box(&poly, &box, c.clipXY), c.result);
        EXPECT_EQ(poly.m_n, c.vertices);
    }
}

}  // namespace
