// The plane value types: closed forms and their edge cases.
#include "Transform/Common/QV_Poly/PlanePrimitives.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/random_quads.h"

namespace {

TEST(QvLerpDeathTest, EqualInputsStopTheProgram) {
    EXPECT_DEATH(QV_Lerp(1.0f, 0.0f, 1.0f, 2.0f), "m_a != 0.*QV_Lerp.*Transform/Common/QV_Poly");
}

TEST(QvLine2D, NormalizeTrustsTheFlag) {
    const QV_Line2D line = QV_Line2D(1, 1, 4, 5, false).normalized();
    EXPECT_DOUBLE_EQ(line.dx, 0.6);
    EXPECT_DOUBLE_EQ(line.dy, 0.8);
    EXPECT_TRUE(line.m_normalized);
    EXPECT_EQ(QV_Line2D(0, 0, 3, 4, true).normalized().length(), 5.0);
    for (const double size : {0.0, 0.9e-6})
        EXPECT_EQ(QV_Line2D(7, 8, 7, 8 + size, false).normalized(), QV_Line2D(7, 8, 8, 8, true));
    EXPECT_DOUBLE_EQ(QV_Line2D(0, 0, 0, 1.1e-6, false).normalized().dy, 1.0);
}

TEST(QvLine2D, DistanceIsTheCrossProductOverTheLength) {
    zelk::Random random(11);
    for (int i = 0; i < 1000; ++i) {
        double p[6];  // two points of the line, and one beside it
        for (double& c : p) c = random.uniform(-9, 9);
        const QV_Line2D line(p[0], p[1], p[2], p[3], false);
        if (line.length() < 0.1) continue;
        const double want = std::fabs((p[4] - p[0]) * line.dy - (p[5] - p[1]) * line.dx) /
                            std::hypot(line.dx, line.dy);
        // Terms of |(a, b)| |d|^2, at most 25.5 |d|^2, with 6 roundings on either side and axis.
        EXPECT_NEAR(line.distance(p[4], p[5]), want, 2 * 2 * 6 * 25.5 * zelk::kEps)
            << "seed 11, case " << i;
    }
}

TEST(QvMatrix2D, InverseUndoesAndSingularGivesZeros) {
    const QV_Matrix2D matrix(0, 2, -4, 0, 8, 16);  // needs a row exchange; exact in binary
    const QV_Matrix2D product = matrix * matrix.inverse();
    for (int k = 0; k < 9; ++k) EXPECT_EQ(product.m[k], k % 4 == 0 ? 1.0 : 0.0);
    for (const double e : QV_Matrix2D(1, 2, 2, 4, 0, 0).inverse().m) EXPECT_EQ(e, 0.0);
}

TEST(HitTests, TriangleAndQuadByAreas) {
    double area = 0;
    const auto inTriangle = [&](double x, double y) {
        return isPointInTriangle(x, y, 0, 0, 10, 0, 0, 10, area);
    };
    EXPECT_TRUE(inTriangle(2, 2) && inTriangle(0, 0) && inTriangle(5, 5));
    EXPECT_FALSE(inTriangle(5.1, 5) || inTriangle(-0.1, 2) || inTriangle(2, -0.1));
    // Areas are compared: outside by d on a side of 10, the sum is 10 d too large.
    EXPECT_TRUE(inTriangle(5, -0.00009));
    EXPECT_FALSE(inTriangle(5, -0.00011));
    EXPECT_EQ(area, 50.0);
    // Corner 3 pulled in: the quad is a triangle cut at the line from 1 to 2.
    EXPECT_TRUE(isPointInQuad(5.5, 5.5, 0, 0, 10, 0, 0, 10, 6, 6, area));
    EXPECT_FALSE(isPointInQuad(6.5, 6.5, 0, 0, 10, 0, 0, 10, 6, 6, area));
    EXPECT_EQ(area, 60.0);
}

}  // namespace
