// The quad and perspective matrix: closed forms of the single operations. The tests of calcMatrix
// map random quads.
#include "Transform/Common/QV_Poly/QV_Mtrx44.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/support/random_quads.h"

namespace {

using namespace zelk;

// The image of (x, y, z) after the division by w.
std::array<double, 3> mapPoint(const QV_Mtrx44& matrix, double x, double y, double z = 0) {
    double ox, oy, oz, ow;
    matrix.transform(x, y, z, 1.0, &ox, &oy, &oz, &ow);
    return {ox / ow, oy / ow, oz / ow};
}

// Whatever the matrix holds, an operation must equal the product with what it makes of the
// identity.
TEST(QvMtrx44, EveryOperationMultipliesOnTheLeft) {
    const double quad[8] = {0.1, -0.2, 1.3, 0.1, 0.2, 0.9, 1.1, 1.4};
    const double other[8] = {0.3, 0.1, 0.9, -0.1, -0.2, 1.1, 0.8, 0.7};
    const std::function<void(QV_Mtrx44&)> operations[] = {
        [](QV_Mtrx44& m) { m.translate(0.3, -1.5, 2.5); },
        [](QV_Mtrx44& m) { m.scale(0.3, -1.5, 2.5); },
        [](QV_Mtrx44& m) { m.rotX(31); },
        [](QV_Mtrx44& m) { m.rotY(-123); },
        [](QV_Mtrx44& m) { m.rotZ(250); },
        [](QV_Mtrx44& m) { m.perspective(50, 1.5, 0.5, 20); },
        [](QV_Mtrx44& m) { m.perspectiveInverse(50, 1.5, 0.5, 20); },
        [&](QV_Mtrx44& m) { EXPECT_EQ(m.square2Quad(quad), 1); },
        [&](QV_Mtrx44& m) { EXPECT_EQ(m.quad2Square(quad), 1); },
        [&](QV_Mtrx44& m) {
            EXPECT_EQ(m.quad2Quad(quad, other, true, 10, 20, 1.1, 0.8, 30, 0, 0, 0, 1.5), 1);
        },
        [](QV_Mtrx44& m) { m.inputTransform(10, -20, 1.5, 0.5, 77, 0, 0, 0, 1.25); }};
    Random random(1);
    for (int round = 0; round < 20; ++round) {
        for (const auto& apply : operations) {
            QV_Mtrx44 direct, factor;
            for (double& e : direct.m) e = random.uniform(-2.0, 2.0);
            QV_Mtrx44 product = direct;
            apply(direct);
            apply(factor);
            product.multLeft(factor);
            // At most 8 steps, each with 4 products and sums of numbers below 100.
            for (int i = 0; i < 16; ++i)
                EXPECT_NEAR(direct.m[i], product.m[i], 8 * 8 * 100 * kEps)
                    << "seed 1, round " << round << ", operation " << &apply - operations;
        }
    }
}

TEST(QvMtrx44, QuadWithoutDenominatorIgnoresCorner3) {
    using P = std::array<double, 3>;
    for (const double t : {0.0, 0.25, 1.0, 7.0}) {  // corner 3 anywhere on the line through 1 and 2
        QV_Mtrx44 matrix;
        matrix.square2Quad(Quad{1, 1, 3, 2, 2, 4, 3 - t, 2 + 2 * t}.data());
        EXPECT_EQ(mapPoint(matrix, 0, 0), (P{1, 1, 0}));
        EXPECT_EQ(mapPoint(matrix, 1, 0), (P{3, 2, 0}));
        EXPECT_EQ(mapPoint(matrix, 0, 1), (P{2, 4, 0}));
    }
    // Not a number isn't the zero case: it must come through.
    QV_Mtrx44 matrix;
    matrix.square2Quad(Quad{0, 0, 1, 0, 0, 1, std::nan(""), 1}.data());
    EXPECT_TRUE(std::isnan(matrix.m[3]));
}

TEST(QvMtrx44, PerspectiveAndItsInverse) {
    QV_Mtrx44 view;  // a point at distance 2 in a view of 90 degrees
    view.perspective(90, 1.0, 1.0, 3.0);
    const auto seen = mapPoint(view, 1.0, -0.5, -2.0);
    EXPECT_NEAR(seen[0], 0.5, 4 * kEps);
    EXPECT_NEAR(seen[1], -0.25, 4 * kEps);
    EXPECT_DOUBLE_EQ(seen[2], 0.75);  // far (z - near) / (z (far - near)) = 3 * 1 / (2 * 2)
    view.perspectiveInverse(90, 1.0, 1.0, 3.0);
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
