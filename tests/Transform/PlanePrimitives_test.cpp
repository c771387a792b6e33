// The plane value types: closed forms and their edge cases.
#include "Transform/Common/QV_Poly/PlanePrimitives.h"

#include <gtest/gtest.h>

#include <cmath>

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
    for (double const size : {0.0, 0.9e-6})
        EXPECT_EQ(QV_Line2D(7, 8, 7, 8 + size, false).normalized(), QV_Line2D(7, 8, 8, 8, true));
    EXPECT_DOUBLE_EQ(QV_Line2D(0, 0, 0, 1.1e-6, false).normalized().dy, 1.0);
}

TEST(QvLine2D, DistanceIsMeasuredAcrossWhateverTheLength) {
    for (double const size : {1.0, 0.5, -8.0}) {
        const QV_Line2D line(1, 2, 1 + 4 * size, 2 + 3 * size, false);
        for (double const along : {0.0, 5.0, -100.0})
            for (double const across : {0.0, 2.5, -10.0})  // in steps of (-3, 4) / 5
                EXPECT_NEAR(
                    line.distance(1 + along * 4 - across * 3 / 5, 2 + along * 3 + across * 4 / 5),
                    std::fabs(across), 1e-12);
    }
}

TEST(QvMatrix2D, InverseUndoesAndSingularGivesZeros) {
    const QV_Matrix2D matrix(0, 2, -4, 0, 8, 16);  // needs a row exchange; exact in binary
    const QV_Matrix2D product = matrix * matrix.inverse();
    for (int k = 0; k < 9; ++k) EXPECT_EQ(product.m[k], k % 4 == 0 ? 1.0 : 0.0);
    for (double const e : QV_Matrix2D(1, 2, 2, 4, 0, 0).inverse().m) EXPECT_EQ(e, 0.0);
}

TEST(HitTests, CompareAreas) {
    double area = 0;
    // Outside by d on a side of 10, the sum of areas is 10 d too large.
    for (double const d : {0.00009, 0.00011})
        EXPECT_EQ(isPointInTriangle(5, -d, 0, 0, 10, 0, 0, 10, area), d < 0.0001);
    EXPECT_TRUE(isPointInQuad(5.5, 5.5, 0, 0, 10, 0, 0, 10, 6, 6, area));
    EXPECT_EQ(area, 60.0);
}

}  // namespace
