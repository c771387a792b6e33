// The plane value types: closed forms, their edge cases, and the inverse against the product.
#include "Transform/Common/QV_Poly/PlanePrimitives.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/support/random_quads.h"

namespace {

using zelk::Random;

constexpr double kEps = 2.220446049250313e-16;

TEST(QvLerpDeathTest, EqualInputsStopTheProgram) {
    EXPECT_DEATH(QV_Lerp(1.0f, 0.0f, 1.0f, 2.0f), "m_a != 0.*QV_Lerp.*Transform/Common/QV_Poly");
}

TEST(QvLine2D, NormalizeTrustsTheFlag) {
    QV_Line2D line(1, 1, 4, 5, false);
    const QV_Line2D copy = line.normalized();
    EXPECT_EQ(line.length(), 5.0);
    line.normalize();
    EXPECT_EQ(line, copy);
    EXPECT_DOUBLE_EQ(line.dx, 0.6);
    EXPECT_DOUBLE_EQ(line.dy, 0.8);
    EXPECT_TRUE(line.m_normalized && copy.m_normalized);
    EXPECT_EQ(QV_Line2D(0, 0, 3, 4, true).normalized().length(), 5.0);
    for (const double size : {0.0, 0.9e-6}) {
        const QV_Line2D point = QV_Line2D(7, 8, 7, 8 + size, false).normalized();
        EXPECT_EQ(point.dx, 1.0);
        EXPECT_EQ(point.dy, 0.0);
        EXPECT_TRUE(point.m_normalized);
    }
    EXPECT_DOUBLE_EQ(QV_Line2D(0, 0, 0, 1.1e-6, false).normalized().dy, 1.0);
}

TEST(QvLine2D, DistanceIsTheCrossProductOverTheLength) {
    Random random(11);
    for (int i = 0; i < 1000; ++i) {
        const double x = random.uniform(-9, 9), y = random.uniform(-9, 9);
        const QV_Line2D line(x, y, random.uniform(-9, 9), random.uniform(-9, 9), false);
        const double px = random.uniform(-9, 9), py = random.uniform(-9, 9);
        if (line.length() < 0.1) continue;
        const double want =
            std::fabs((px - x) * line.dy - (py - y) * line.dx) / std::hypot(line.dx, line.dy);
        // Terms of |(a, b)| |d|^2, at most 25.5 |d|^2, with 6 roundings on either side and axis.
        EXPECT_NEAR(line.distance(px, py), want, 2 * 2 * 6 * 25.5 * kEps) << "seed 11, case " << i;
    }
}

TEST(QvMatrix2D, InverseTimesMatrixIsTheIdentity) {
    Random random(5);
    int tried = 0;
    for (int i = 0; i < 1000; ++i) {
        QV_Matrix2D matrix;
        for (double& e : matrix.m) e = random.uniform(-1, 1);
        if (i % 2 == 0) matrix.m[0] = 0.0;  // needs a row exchange
        const QV_Matrix2D inverse = matrix.inverse();
        double largest = 0;
        for (const double e : inverse.m) largest = std::fmax(largest, std::fabs(e));
        if (largest > 100) continue;  // near singular: nothing to expect
        ++tried;
        const QV_Matrix2D product = matrix * inverse;
        for (int k = 0; k < 9; ++k) {
            // Elimination's residual: 3 n^2 growth * eps * |A| |A^-1|, n = 3, growth at most 4.
            EXPECT_NEAR(product.m[k], k % 4 == 0 ? 1.0 : 0.0, 3 * 9 * 4 * 3 * 100 * kEps)
                << "seed 5, case " << i;
        }
    }
    EXPECT_GT(tried, 800);
    for (const double e : QV_Matrix2D(1, 2, 2, 4, 0, 0).inverse().m) EXPECT_EQ(e, 0.0);
}

TEST(HitTests, Triangle) {
    struct Case {
        double x, y;
        bool inside;
    };
    double area = 0;
    for (const Case& c : {Case{2, 2, true}, Case{5, 0, true}, Case{0, 0, true}, Case{5, 5, true},
                          Case{5.1, 5, false}, Case{-0.1, 2, false}, Case{2, -0.1, false}}) {
        EXPECT_EQ(isPointInTriangle(c.x, c.y, 0, 0, 10, 0, 0, 10, area), c.inside)
            << c.x << ", " << c.y;
        EXPECT_EQ(area, 50.0);
        // The turning of the corners takes no part.
        EXPECT_EQ(isPointInTriangle(c.x, c.y, 0, 0, 0, 10, 10, 0, area), c.inside);
    }
    // Areas are compared: outside by d on a side of 10, the sum is 10 d too large.
    EXPECT_TRUE(isPointInTriangle(5, -0.00009, 0, 0, 10, 0, 0, 10, area));
    EXPECT_FALSE(isPointInTriangle(5, -0.00011, 0, 0, 10, 0, 0, 10, area));
    EXPECT_TRUE(isPointInTriangle(0.021, 0.0, 0, 0, 0.02, 0, 0, 0.02, area));  // tiny: near will do
}

TEST(HitTests, QuadInZOrder) {
    double area = 0;
    EXPECT_TRUE(isPointInQuad(9, 9, 0, 0, 10, 0, 0, 10, 10, 10, area));
    EXPECT_EQ(area, 100.0);
    EXPECT_FALSE(isPointInQuad(11, 9, 0, 0, 10, 0, 0, 10, 10, 10, area));
    // Corner 3 pulled in: the quad is a triangle cut at the line from 1 to 2.
    EXPECT_TRUE(isPointInQuad(5.5, 5.5, 0, 0, 10, 0, 0, 10, 6, 6, area));
    EXPECT_EQ(area, 60.0);
    EXPECT_FALSE(isPointInQuad(6.5, 6.5, 0, 0, 10, 0, 0, 10, 6, 6, area));
    Random random(7);
    for (int i = 0; i < 500; ++i) {
        const zelk::Quad q = zelk::randomConvexQuad(random);
        const double u = random.uniform(0, 1), v = random.uniform(0, 1);
        double p[2];  // a weighted mean of the corners lies inside a convex quad
        for (int axis = 0; axis < 2; ++axis) {
            p[axis] = (1 - u) * (1 - v) * q[axis] + u * (1 - v) * q[2 + axis] +
                      (1 - u) * v * q[4 + axis] + u * v * q[6 + axis];
        }
        EXPECT_TRUE(isPointInQuad(p[0], p[1], q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7], area))
            << "seed 7, case " << i;
    }
}

}  // namespace
