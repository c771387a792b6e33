// The quad and perspective matrix: closed forms of the single operations, and the maps between
// random quads.
#include "Transform/Common/QV_Poly/QV_Mtrx44.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/random_quads.h"

namespace {

using zelk::Quad;
using zelk::Random;

constexpr double kEps = 2.220446049250313e-16;
constexpr Quad kSquare = {0, 0, 1, 0, 0, 1, 1, 1};

QV_Mtrx44 randomMatrix(Random& random) {
    QV_Mtrx44 matrix;
    for (double& e : matrix.m) e = random.uniform(-2.0, 2.0);
    return matrix;
}

void expectEqual(const QV_Mtrx44& a, const QV_Mtrx44& b, double tolerance) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(a.m[i], b.m[i], tolerance) << "element " << i;
}

// The image of (x, y, 0) after the division by w.
std::array<double, 2> mapPoint(const QV_Mtrx44& matrix, double x, double y) {
    double ox, oy, oz, ow;
    matrix.transform(x, y, 0.0, 1.0, &ox, &oy, &oz, &ow);
    return {ox / ow, oy / ow};
}

struct Operation {
    std::string name;
    std::function<void(QV_Mtrx44&)> apply;
};

// Whatever the matrix holds, an operation must equal the product with what it makes of the
// identity.
TEST(QvMtrx44, EveryOperationMultipliesOnTheLeft) {
    const Quad quad = {0.1, -0.2, 1.3, 0.1, 0.2, 0.9, 1.1, 1.4};
    const Quad other = {0.3, 0.1, 0.9, -0.1, -0.2, 1.1, 0.8, 0.7};
    const std::vector<Operation> operations = {
        {"translate", [](QV_Mtrx44& m) { m.translate(0.3, -1.5, 2.5); }},
        {"scale", [](QV_Mtrx44& m) { m.scale(0.3, -1.5, 2.5); }},
        {"rotX", [](QV_Mtrx44& m) { m.rotX(31); }},
        {"rotY", [](QV_Mtrx44& m) { m.rotY(-123); }},
        {"rotZ", [](QV_Mtrx44& m) { m.rotZ(250); }},
        {"perspective", [](QV_Mtrx44& m) { m.perspective(50, 1.5, 0.5, 20); }},
        {"perspectiveInverse", [](QV_Mtrx44& m) { m.perspectiveInverse(50, 1.5, 0.5, 20); }},
        {"square2Quad", [&](QV_Mtrx44& m) { EXPECT_EQ(m.square2Quad(quad.data()), 1); }},
        {"quad2Square", [&](QV_Mtrx44& m) { EXPECT_EQ(m.quad2Square(quad.data()), 1); }},
        {"quad2Quad",
         [&](QV_Mtrx44& m) {
             EXPECT_EQ(
                 m.quad2Quad(quad.data(), other.data(), true, 10, 20, 1.1, 0.8, 30, 0, 0, 0, 1.5),
                 1);
         }},
        {"inputTransform",
         [](QV_Mtrx44& m) { m.inputTransform(10, -20, 1.5, 0.5, 77, 0, 0, 0, 1.25); }}};
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Random random(seed);
        for (const Operation& operation : operations) {
            SCOPED_TRACE(operation.name + ", seed " + std::to_string(seed));
            const QV_Mtrx44 start = randomMatrix(random);
            QV_Mtrx44 direct = start, factor, product = start;
            operation.apply(direct);
            operation.apply(factor);
            product.multLeft(factor);
            // At most 8 steps, each with 4 products and sums of numbers below 100.
            expectEqual(direct, product, 8 * 8 * 100 * kEps);
        }
    }
}

TEST(QvMtrx44, SquareGoesToQuadAndBack) {
    for (unsigned seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const Quad from = zelk::randomConvexQuad(random), to = zelk::randomConvexQuad(random);
        QV_Mtrx44 there, back, across;
        there.square2Quad(from.data());
        back.quad2Square(from.data());
        across.quad2Quad(from.data(), to.data(), false, 50, 50, 3, 3, 45, 0, 0, 0, 2);
        for (int i = 0; i < 4; ++i) {
            const auto image = mapPoint(there, kSquare[2 * i], kSquare[2 * i + 1]);
            const auto origin = mapPoint(back, from[2 * i], from[2 * i + 1]);
            const auto target = mapPoint(across, from[2 * i], from[2 * i + 1]);
            // These quads have denominators above 0.3 and elements below 3: g and h carry 50
            // roundings, the adjugate 600, the product of both maps 8,100, a mapped point 25,000,
            // and the division by w above 0.06 makes 4e5 of them.
            for (int axis = 0; axis < 2; ++axis) {
                EXPECT_NEAR(image[axis], from[2 * i + axis], 4e5 * kEps);
                EXPECT_NEAR(origin[axis], kSquare[2 * i + axis], 4e5 * kEps);
                EXPECT_NEAR(target[axis], to[2 * i + axis], 4e5 * kEps);
            }
        }
    }
}

TEST(QvMtrx44, AdjugateTimesMatrixIsAMultipleOfTheIdentity) {
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        QV_Mtrx44 matrix = randomMatrix(random);
        const QV_Mtrx44 original = matrix;
        QV_Mtrx44 adjugate = matrix.square2QuadInverse(false);
        expectEqual(matrix, original, 0.0);
        for (int i = 0; i < 4; ++i) {  // the plane product must not see row and column 2
            matrix.m[8 + i] = matrix.m[4 * i + 2] = 0.0;
            EXPECT_EQ(adjugate.m[8 + i], 0.0);
            EXPECT_EQ(adjugate.m[4 * i + 2], 0.0);
        }
        QV_Mtrx44 product = matrix;
        product.multLeft(adjugate);
        const double determinant = product.m[0];
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c) {
                const double want = r == c && r != 2 ? determinant : 0.0;
                // Three products of an element (2) and a minor (8), 5 roundings each, both sides.
                EXPECT_NEAR(product.m[4 * r + c], want, 2 * 3 * 16 * 5 * kEps);
            }
        }
        QV_Mtrx44 overwritten = original;
        overwritten.square2QuadInverse(true);
        expectEqual(overwritten, adjugate, 0.0);
    }
}

TEST(QvMtrx44, QuadWithoutDenominatorIgnoresCorner3) {
    for (const double t : {0.0, 0.25, 1.0, 7.0}) {  // corner 3 anywhere on the line through 1 and 2
        QV_Mtrx44 matrix;
        const Quad quad = {1, 1, 3, 2, 2, 4, 3 - t, 2 + 2 * t};
        matrix.square2Quad(quad.data());
        EXPECT_EQ(mapPoint(matrix, 0, 0), (std::array<double, 2>{1, 1}));
        EXPECT_EQ(mapPoint(matrix, 1, 0), (std::array<double, 2>{3, 2}));
        EXPECT_EQ(mapPoint(matrix, 0, 1), (std::array<double, 2>{2, 4}));
        EXPECT_EQ(mapPoint(matrix, 1, 1), (std::array<double, 2>{4, 5}));
    }
    // Not a number isn't the zero case: it must come through.
    QV_Mtrx44 matrix;
    const Quad quad = {0, 0, 1, 0, 0, 1, std::nan(""), 1};
    matrix.square2Quad(quad.data());
    EXPECT_TRUE(std::isnan(matrix.m[3]));
}

TEST(QvMtrx44, PerspectiveAndItsInverseCancel) {
    Random random(3);
    for (const double fovy : {10.0, 40.0, 90.0, 150.0}) {
        const QV_Mtrx44 before = randomMatrix(random);
        QV_Mtrx44 after = before;
        after.perspective(fovy, 1.5, 0.1, 100.0);
        after.perspectiveInverse(fovy, 1.5, 0.1, 100.0);
        // Rounding the half angle a (2^-24) moves tan a by a / (sin a cos a) <= 5.3 times as much;
        // the tangent itself rounds by 2^-23. Elements are below 2.
        const double tolerance = 2.0 * (5.3 * 0x1p-24 + 0x1p-23);
        expectEqual(after, before, tolerance);
        // Rows 2 and 3 don't meet the tangent. Row 2 gathers terms of 1000 rows' size (far/near).
        for (int i = 8; i < 16; ++i) EXPECT_NEAR(after.m[i], before.m[i], 1000 * 2 * 8 * kEps);
    }
    QV_Mtrx44 projection;  // a point at distance 2 in a view of 90 degrees
    projection.perspective(90, 1.0, 1.0, 3.0);
    double x, y, z, w;
    projection.transform(1.0, -0.5, -2.0, 1.0, &x, &y, &z, &w);
    EXPECT_NEAR(x / w, 0.5, 4 * kEps);
    EXPECT_NEAR(y / w, -0.25, 4 * kEps);
    EXPECT_DOUBLE_EQ(z / w, 0.75);  // far (z - near) / (z (far - near)) = 3 * 1 / (2 * 2)
}

TEST(QvMtrx44DeathTest, ImpossibleDepthRangesStopTheProgram) {
    QV_Mtrx44 m;
    const char* const place = ".*Transform/Common/QV_Poly";
    EXPECT_DEATH(m.perspective(40, 1, 0, 0), std::string("zNear != 0.0.*perspective") + place);
    EXPECT_DEATH(m.perspective(40, 1, 2, 2),
                 std::string("\\(zFar - zNear\\) != 0.0.*perspective") + place);
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 0, 5),
                 std::string("zNear != 0.0.*perspectiveInverse") + place);
    EXPECT_DEATH(m.perspectiveInverse(40, 1, 5, 5),
                 std::string("\\(zFar - zNear\\) != 0.0.*perspectiveInverse") + place);
}

}  // namespace
