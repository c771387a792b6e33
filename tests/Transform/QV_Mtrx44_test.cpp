// The quad and perspective matrix: closed forms where the tests of calcMatrix don't go.
#include "Transform/Common/QV_Poly/QV_Mtrx44.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

namespace {

/// The image of (x, y, z) after the division by w.
std::array<double, 3> mapPoint(QV_Mtrx44 const& matrix, double x, double y, double z = 0) {
    double ox, oy, oz, ow;
    matrix.transform(x, y, z, 1.0, &ox, &oy, &oz, &ow);
    return {ox / ow, oy / ow, oz / ow};
}

TEST(QvMtrx44, QuadWithoutDenominatorIgnoresCorner3) {
    using P = std::array<double, 3>;
    for (double const t : {0.0, 0.25, 1.0, 7.0}) {  // corner 3 anywhere on the line through 1 and 2
        double const quad[8] = {1, 1, 3, 2, 2, 4, 3 - t, 2 + 2 * t};
        QV_Mtrx44 matrix;
        matrix.square2Quad(quad);
        EXPECT_EQ(mapPoint(matrix, 0, 0), (P{1, 1, 0}));
        EXPECT_EQ(mapPoint(matrix, 1, 0), (P{3, 2, 0}));
        EXPECT_EQ(mapPoint(matrix, 0, 1), (P{2, 4, 0}));
    }
    // Not a number isn't the zero case: it must come through.
    double const quad[8] = {0, 0, 1, 0, 0, 1, std::nan(""), 1};
    QV_Mtrx44 matrix;
    matrix.square2Quad(quad);
    EXPECT_TRUE(std::isnan(matrix.m[3]));
}

TEST(QvMtrx44, PerspectiveAndItsInverse) {
    QV_Mtrx44 view;  // a point at distance 2 in a view of 90 degrees
    view.perspective(90, 2.0, 1.0, 3.0);
    auto const seen = mapPoint(view, 1.0, -0.5, -2.0);
    EXPECT_NEAR(seen[0], 0.5, 0x1p-50);
    EXPECT_NEAR(seen[1], -0.5, 0x1p-50);
    EXPECT_DOUBLE_EQ(seen[2], 0.75);  // far (z - near) / (z (far - near)) = 3 * 1 / (2 * 2)
    view.perspectiveInverse(90, 2.0, 1.0, 3.0);
    // Rounding the half angle a (2^-24) moves tan a by a / (sin a cos a) = 1.6 times as much; the
    // tangent itself rounds by 2^-23.
    for (int i = 0; i < 16; ++i)
        EXPECT_NEAR(view.m[i], i % 5 == 0 ? 1.0 : 0.0, 1.6 * 0x1p-24 + 0x1p-23);
}

TEST(QvMtrx44DeathTest, ImpossibleDepthRangesStopTheProgram) {
    QV_Mtrx44 m;
    const std::string nearZero = "zNear != 0.0.*perspective",
                      noDepth = "\\(zFar - zNear\\) != 0.0.*perspective",
                      place = ".*Transform/Common/QV_Poly";
    EXPECT_DEATH(m.perspective(40, 1, 0, 0), nearZero + place);
    EXPECT_DEATH(m.perspective(40, 1, 2, 2), noDepth + place);
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 0, 5), nearZero + "Inverse" + place);
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 5, 5), noDepth + "Inverse" + place);
}

}  // namespace
