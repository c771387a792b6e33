// The matrix of a render: where the corners land, which pins are refused, and every order of the
// 3-D steps against a point that is moved step by step without any matrix.
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>

#include "tests/support/random_quads.h"

namespace {

using zelk::Quad;
using zelk::Random;

constexpr double kEps = 2.220446049250313e-16;
constexpr double kDistance = 1.3737387657165527;
constexpr double kRadPerDeg = 0.017453292519943295;

using Point3 = std::array<double, 3>;

// The view distance is single precision: its rounding, 2^-24, moves a pixel by that share of its
// distance from the frame's centre. On top come the roundings of the quad maps (4e5, see the tests
// of the matrix) on numbers of the frame's size.
double pixelTolerance(double target, int size) {
    return std::fabs(target - 0.5 * size) * 0x1p-24 / kDistance + 4e5 * kEps * size;
}

struct Render {
    QV_Mtrx44 matrix;
    CoreRenderArguments core;
    RenderSettings settings;

    int build(int width, int height) { return calcMatrix(matrix, core, settings, width, height); }
    void setPins(QV_UnitPoint (&pins)[4], const Quad& quad) {
        constexpr int kPinOfCorner[4] = {0, 2, 1, 3};  // Z order to pin order
        for (int i = 0; i < 4; ++i) pins[kPinOfCorner[i]] = {quad[2 * i], quad[2 * i + 1]};
    }
    /// (u, v) has to land on pixel (x, y); `rounding` is a further share of the frame's size.
    void expectAt(double u, double v, double x, double y, int width, int height,
                  double rounding = 0) const {
        double ox, oy, oz, ow;
        matrix.transform(u, v, 0.0, 1.0, &ox, &oy, &oz, &ow);
        EXPECT_NEAR(ox / ow, x, pixelTolerance(x, width) + width * rounding);
        EXPECT_NEAR(oy / ow, y, pixelTolerance(y, height) + height * rounding);
    }
};

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
                    render.expectAt(start[2 * i], start[2 * i + 1], end[2 * i] * size[0],
                                    end[2 * i + 1] * size[1], size[0], size[1]);
                }
            }
        }
    }
}

TEST(CalcMatrix, PinsAreTakenOrRefused) {
    const double nan = std::nan("");
    const struct {
        const char* name;
        Quad pins;  // Z order
        int result;
    } shapes[] = {{"square", {0, 0, 1, 0, 0, 1, 1, 1}, 0},
                  {"mirrored", {1, 0, 0, 0, 1, 1, 0, 1}, 0},
                  {"flipped", {0, 1, 1, 1, 0, 0, 1, 0}, 0},
                  {"bow tie", {0, 0, 1, 0, 1, 1, 0, 1}, 1},
                  {"upright bow tie", {0, 0, 1, 1, 0, 1, 1, 0}, 1},
                  {"concave", {0, 0, 1, 0, 0, 1, 0.25, 0.25}, 1},
                  {"three on a line", {0, 0, 1, 0, 0, 1, 0.5, 0.5}, 0},
                  {"two equal", {0, 0, 1, 0, 0, 1, 1, 0}, 0},
                  {"all on a line", {0, 0, 1, 1, 2, 2, 3, 3}, 1},
                  {"all equal", {0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3, 0.3}, 1},
                  {"not a number", {nan, 0, nan, 0, nan, 1, nan, 1}, 1}};
    for (const auto& shape : shapes) {
        SCOPED_TRACE(shape.name);
        for (const bool asTo : {true, false}) {
            Render render;
            render.core.quadMode = asTo ? 2 : 4;
            render.matrix.m[5] = 42.0;
            render.setPins(asTo ? render.core.toPins : render.core.fromPins, shape.pins);
            EXPECT_EQ(render.build(100, 50), shape.result);
            EXPECT_EQ(render.matrix.m[5] == 42.0, shape.result == 1);
            // The same pins are of no interest to a mode that doesn't use them.
            render.core.quadMode = asTo ? 4 : 2;
            EXPECT_EQ(render.build(100, 50), 0);
        }
        Render both;  // refused To pins leave the From pins unread
        both.core.quadMode = 3;
        both.settings.fromQuad[0] = 42.0;
        both.setPins(both.core.toPins, shape.pins);
        EXPECT_EQ(both.build(100, 50), shape.result);
        EXPECT_EQ(both.settings.fromQuad[0], shape.result == 1 ? 42.0 : 0.0);
    }
}

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
                const double x = std::cos(turn) * d.x - std::sin(turn) * d.y + offset + width / 2;
                const double y = std::sin(turn) * d.x + std::cos(turn) * d.y + height / 2;
                render.expectAt(0.5 + d.x / width, 0.5 + d.y / height, x, y, width, height);
            }
        }
    }
}

// A point moved by hand; `steps` and `axes` in the order of the calls: it meets them from the back.
Point3 walk(const CoreRenderArguments& core, const std::string& steps, const std::string& axes,
            double u, double v, double aspect) {
    Point3 p = {u - 0.5, v - 0.5, 0.0};
    const Point3 pivot = {core.centerX - 0.5, core.centerY - 0.5, core.centerZ};
    const double scale[3] = {core.scaleAll * core.scaleX, core.scaleAll * core.scaleY, core.scaleZ};
    const double degrees[3] = {core.rotateX, core.rotateY, core.rotateZ};
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
        if (*step == 't') {
            p = {p[0] + core.translateX, p[1] + core.translateY, p[2] + core.translateZ};
            continue;
        }
        for (int i = 0; i < 3; ++i) p[i] += pivot[i];
        if (*step == 's') {
            for (int i = 0; i < 3; ++i) p[i] *= scale[i];
        } else {
            p[0] *= aspect;
            for (auto axis = axes.rbegin(); axis != axes.rend(); ++axis) {
                const int a = *axis - 'x', b = (a + 1) % 3, c = (a + 2) % 3;
                const double sine = std::sin(degrees[a] * kRadPerDeg);
                const double cosine = std::cos(degrees[a] * kRadPerDeg), pb = p[b];
                p[b] = cosine * pb - sine * p[c];
                p[c] = sine * pb + cosine * p[c];
            }
            p[0] /= aspect;
        }
        for (int i = 0; i < 3; ++i) p[i] -= pivot[i];
    }
    return p;
}

TEST(CalcMatrix, EveryOrderOfTheSteps) {
    const char* const steps[6] = {"srt", "str", "rst", "rts", "tsr", "trs"};
    const char* const axes[7] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx", ""};
    const int width = 256, height = 128;  // aspect and its reciprocal are exact in single precision
    for (int round = 0; round < 20 * 6 * 7; ++round) {
        SCOPED_TRACE("seed " + std::to_string(round + 1));
        Random random(static_cast<unsigned>(round + 1));
        Render render;
        CoreRenderArguments& core = render.core;
        core.transformOrder = round % 6;
        core.rotationOrder = round / 6 % 7;
        for (double* scale : {&core.scaleAll, &core.scaleX, &core.scaleZ})
            *scale = random.uniform(0.5, 1.2);
        core.scaleY = random.uniform(-1.2, -0.5);
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
        ASSERT_EQ(render.build(width, height), 0);
        const double u = random.uniform(0, 1), v = random.uniform(0, 1);
        const Point3 p = walk(core, steps[core.transformOrder], axes[core.rotationOrder], u, v, 2);
        // Pinhole view: depth d fills the frame.
        const double depth = kDistance - p[2];
        ASSERT_GT(depth, 0.2);
        // Single precision view distance as above. About 100 roundings of numbers below 10, divided
        // by the depth, squared where the depth's own error meets x / depth^2.
        const double rounding = 100 * 10 * kEps * 10 / (depth * depth);
        render.expectAt(u, v, width * (0.5 + p[0] * kDistance / depth),
                        height * (0.5 + p[1] * kDistance / depth), width, height, rounding);
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
