// The matrix of a render: where the corners land, which pins are refused, and every order of the
// 3-D steps against a point that is moved step by step without any matrix.
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <ostream>
#include <string>

#include "tests/support/random_quads.h"

namespace {

using zelk::Quad;
using zelk::Random;

constexpr double kEps = 2.220446049250313e-16;
constexpr double kDistance = 1.3737387657165527;
constexpr double kRadPerDeg = 0.017453292519943295;
constexpr int kPinOfCorner[4] = {0, 2, 1, 3};  // Z order to pin order

struct Render {
    QV_Mtrx44 matrix;
    CoreRenderArguments core;
    RenderSettings settings;

    int build(int width, int height) { return calcMatrix(matrix, core, settings, width, height); }
    void setPins(QV_UnitPoint (&pins)[4], const Quad& quad) {
        for (int i = 0; i < 4; ++i) pins[kPinOfCorner[i]] = {quad[2 * i], quad[2 * i + 1]};
    }
    QV_UnitPoint map(double x, double y) const {
        double ox, oy, oz, ow;
        matrix.transform(x, y, 0.0, 1.0, &ox, &oy, &oz, &ow);
        return {ox / ow, oy / ow};
    }
};

// The view distance is single precision: its rounding, 2^-24, moves a pixel by that share of its
// distance from the frame's centre. On top come the roundings of the quad maps (4e5, see the tests
// of the matrix) on numbers of the frame's size.
double pixelTolerance(double target, int size) {
    return std::fabs(target - 0.5 * size) * 0x1p-24 / kDistance + 4e5 * kEps * size;
}

TEST(CalcMatrix, CornersLandOnTheToPins) {
    const int sizes[][2] = {{1920, 1080}, {1, 1}, {64, 3000}, {333, 77}};
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Random random(seed);
        const Quad from = zelk::randomConvexQuad(random), to = zelk::randomConvexQuad(random);
        const Quad square = {0, 0, 1, 0, 0, 1, 1, 1};
        for (const auto& size : sizes) {
            for (int mode : {0, 1, 2, 3, 4}) {
                SCOPED_TRACE("seed " + std::to_string(seed) + ", mode " + std::to_string(mode));
                Render render;
                render.core.quadMode = mode;
                render.setPins(render.core.toPins, to);
                render.setPins(render.core.fromPins, from);
                ASSERT_EQ(render.build(size[0], size[1]), 0);
                const Quad& start = mode == 3 || mode == 4 ? from : square;
                const Quad& end = mode == 2 || mode == 3 ? to : square;
                for (int i = 0; i < 4; ++i) {
                    EXPECT_EQ(render.settings.toQuad[2 * i], end[2 * i]);
                    EXPECT_EQ(render.settings.fromQuad[2 * i + 1], start[2 * i + 1]);
                    const QV_UnitPoint p = render.map(start[2 * i], start[2 * i + 1]);
                    const double x = end[2 * i] * size[0], y = end[2 * i + 1] * size[1];
                    EXPECT_NEAR(p.x, x, pixelTolerance(x, size[0]));
                    EXPECT_NEAR(p.y, y, pixelTolerance(y, size[1]));
                }
            }
        }
    }
}

struct PinCase {
    const char* name;
    Quad pins;  // Z order
    int result;
};

void PrintTo(const PinCase& c, std::ostream* out) { *out << c.name; }

class CalcMatrixPins : public testing::TestWithParam<PinCase> {};

TEST_P(CalcMatrixPins, AreTakenOrRefused) {
    const PinCase& c = GetParam();
    for (const bool asTo : {true, false}) {
        Render render;
        render.core.quadMode = asTo ? 2 : 4;
        render.matrix.m[5] = 42.0;
        render.setPins(asTo ? render.core.toPins : render.core.fromPins, c.pins);
        EXPECT_EQ(render.build(100, 50), c.result);
        EXPECT_EQ(render.matrix.m[5] == 42.0, c.result == 1);
        // The same pins are of no interest to a mode that doesn't use them.
        render.core.quadMode = asTo ? 4 : 2;
        EXPECT_EQ(render.build(100, 50), 0);
    }
    Render both;  // refused To pins leave the From pins unread
    both.core.quadMode = 3;
    both.settings.fromQuad[0] = 42.0;
    both.setPins(both.core.toPins, c.pins);
    EXPECT_EQ(both.build(100, 50), c.result);
    EXPECT_EQ(both.settings.fromQuad[0], c.result == 1 ? 42.0 : 0.0);
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, CalcMatrixPins,
    testing::Values(PinCase{"Square", {0, 0, 1, 0, 0, 1, 1, 1}, 0},
                    PinCase{"Mirrored", {1, 0, 0, 0, 1, 1, 0, 1}, 0},
                    PinCase{"Flipped", {0, 1, 1, 1, 0, 0, 1, 0}, 0},
                    PinCase{"BowTie", {0, 0, 1, 0, 1, 1, 0, 1}, 1},
                    PinCase{"BowTieUpright", {0, 0, 1, 1, 0, 1, 1, 0}, 1},
                    PinCase{"Concave", {0, 0, 1, 0, 0, 1, 0.25, 0.25}, 1},
                    PinCase{"ThreeOnALine", {0, 0, 1, 0, 0, 1, 0.5, 0.5}, 0},
                    PinCase{"TwoEqual", {0, 0, 1, 0, 0, 1, 1, 0}, 0},
                    PinCase{"AllOnALine", {0, 0, 1, 1, 2, 2, 3, 3}, 1},
                    PinCase{"AllEqual", {0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3}, 1},
                    PinCase{"NotANumber",
                            {std::nan(""), 0, std::nan(""), 0, std::nan(""), 1, std::nan(""), 1},
                            1}),
    [](const auto& shape) { return std::string(shape.param.name); });

// Turning by any angle keeps lengths and angles in pixels, about the centre, whatever the frame.
TEST(CalcMatrix, RepositionKeepsRightAngles) {
    for (const int mode : {2, 3, 4}) {
        for (const double angle : {90.0, 33.0, -120.0}) {
            SCOPED_TRACE("mode " + std::to_string(mode) + ", angle " + std::to_string(angle));
            Render render;
            render.core.quadMode = mode;
            render.settings.reposition = true;
            render.settings.repositionRotate = angle;
            render.settings.repositionTranslateX = 25;  // percent of the width
            const int width = 400, height = 100;
            ASSERT_EQ(render.build(width, height), 0);
            const bool acts = mode != 4;
            const double turn = acts ? angle * kRadPerDeg : 0.0;
            const double offset = acts ? 0.25 * width : 0.0;
            for (const auto& d : {QV_UnitPoint{30, 0}, QV_UnitPoint{0, 30}, QV_UnitPoint{-7, 41}}) {
                const QV_UnitPoint p = render.map(0.5 + d.x / width, 0.5 + d.y / height);
                const double x = std::cos(turn) * d.x - std::sin(turn) * d.y + offset + width / 2;
                const double y = std::sin(turn) * d.x + std::cos(turn) * d.y + height / 2;
                EXPECT_NEAR(p.x, x, pixelTolerance(x, width));
                EXPECT_NEAR(p.y, y, pixelTolerance(y, height));
            }
        }
    }
}

// One point on its way through the steps, moved by hand.
struct Traveller {
    double x, y, z;

    void move(double dx, double dy, double dz) { *this = {x + dx, y + dy, z + dz}; }
    void stretch(double sx, double sy, double sz) { *this = {x * sx, y * sy, z * sz}; }
    void turn(char axis, double degrees) {
        const double s = std::sin(degrees * kRadPerDeg), c = std::cos(degrees * kRadPerDeg);
        if (axis == 'x') *this = {x, c * y - s * z, s * y + c * z};
        if (axis == 'y') *this = {c * x + s * z, y, c * z - s * x};
        if (axis == 'z') *this = {c * x - s * y, s * x + c * y, z};
    }
};

// `steps` and `axes` in the order of the calls: a point meets them from the back.
Traveller walk(const CoreRenderArguments& core, const std::string& steps, const std::string& axes,
               double u, double v, double width, double height) {
    Traveller p = {u - 0.5, v - 0.5, 0.0};
    const double cx = core.centerX - 0.5, cy = core.centerY - 0.5, cz = core.centerZ;
    const double aspect = width / height;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        if (*step == 't') {
            p.move(core.translateX, core.translateY, core.translateZ);
            continue;
        }
        p.move(cx, cy, cz);
        if (*step == 's') {
            p.stretch(core.scaleAll * core.scaleX, core.scaleAll * core.scaleY, core.scaleZ);
        } else {
            p.stretch(aspect, 1, 1);
            for (auto axis = axes.rbegin(); axis != axes.rend(); ++axis) {
                p.turn(*axis, *axis == 'x'   ? core.rotateX
                              : *axis == 'y' ? core.rotateY
                                             : core.rotateZ);
            }
            p.stretch(1 / aspect, 1, 1);
        }
        p.move(-cx, -cy, -cz);
    }
    return p;
}

TEST(CalcMatrix, EveryOrderOfTheSteps) {
    const char* const steps[6] = {"srt", "str", "rst", "rts", "tsr", "trs"};
    const char* const axes[7] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx", ""};
    const int width = 256, height = 128;  // aspect and its reciprocal are exact in single precision
    for (unsigned seed = 1; seed <= 20; ++seed) {
        Random random(seed);
        Render render;
        CoreRenderArguments& core = render.core;
        core.scaleAll = random.uniform(0.5, 1.2);
        core.scaleX = random.uniform(0.5, 1.2);
        core.scaleY = random.uniform(-1.2, -0.5);
        core.scaleZ = random.uniform(0.5, 1.2);
        core.translateX = random.uniform(-0.3, 0.3);
        core.translateY = random.uniform(-0.3, 0.3);
        core.translateZ = random.uniform(-0.1, 0.1);
        core.rotateX = random.uniform(-20, 20);
        core.rotateY = random.uniform(-10, 10);
        core.rotateZ = random.uniform(-180, 180);
        // Multiples of 1/8: exact as single precision pivots.
        core.centerX = random.integer(0, 8) / 8.0;
        core.centerY = random.integer(0, 8) / 8.0;
        core.centerZ = random.integer(-1, 1) / 8.0;
        for (core.transformOrder = 0; core.transformOrder < 6; ++core.transformOrder) {
            for (core.rotationOrder = 0; core.rotationOrder < 7; ++core.rotationOrder) {
                SCOPED_TRACE("seed " + std::to_string(seed) + ", orders " +
                             std::to_string(core.transformOrder) + " " +
                             std::to_string(core.rotationOrder));
                ASSERT_EQ(render.build(width, height), 0);
                const double u = random.uniform(0, 1), v = random.uniform(0, 1);
                const Traveller p = walk(core, steps[core.transformOrder], axes[core.rotationOrder],
                                         u, v, width, height);
                // Pinhole view: depth d fills the frame.
                const double depth = kDistance - p.z;
                ASSERT_GT(depth, 0.2);
                const QV_UnitPoint got = render.map(u, v);
                const double x = width * (0.5 + p.x * kDistance / depth);
                const double y = height * (0.5 + p.y * kDistance / depth);
                // Single precision view distance as above. About 100 roundings of numbers below 10,
                // divided by the depth, squared where the depth's own error meets x / depth^2.
                const double rounding = 100 * 10 * kEps * 10 / (depth * depth);
                EXPECT_NEAR(got.x, x, pixelTolerance(x, width) + width * rounding);
                EXPECT_NEAR(got.y, y, pixelTolerance(y, height) + height * rounding);
            }
        }
    }
}

TEST(CalcMatrix, CameraReplacesTheFrustum) {
    Render render;
    render.core.useCamera = true;
    Random random(4);
    for (double& e : render.core.cameraMatrix) e = random.uniform(-1, 1);
    ASSERT_EQ(render.build(640, 480), 0);
    const double* camera = render.core.cameraMatrix;
    for (int c = 0; c < 4; ++c) {
        for (int r = 0; r < 3; ++r) EXPECT_EQ(render.matrix.m[4 * r + c], camera[4 * r + c]);
        EXPECT_NEAR(render.matrix.m[12 + c], camera[12 + c] - 0.5 * (camera[c] + camera[4 + c]),
                    4 * 2 * kEps);
    }
}

}  // namespace
