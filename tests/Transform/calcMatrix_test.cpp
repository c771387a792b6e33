// The matrix of a render: where the corners land, which pins are refused, and every order of the
// 3-D steps against a point that is moved step by step without any matrix.
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/plane.h"

namespace {

using namespace zelk;

constexpr double kDistance = 1.3737387657165527;
constexpr double kRadPerDeg = 0.017453292519943295;

struct Render {
    QV_Mtrx44 matrix;
    CoreRenderArguments core;
    RenderSettings settings;
    int width, height;

    int build() { return calcMatrix(matrix, core, settings, width, height); }
    /// (u, v) has to land on pixel (x, y); `rounding` is a further share of the frame's size.
    void expectAt(double u, double v, double x, double y, double rounding = 0) const {
        // The view distance's rounding, 2^-24, moves a pixel by that share of its distance from the
        // frame's centre. The quad maps, with denominators above 0.06 and elements below 3, round
        // 4e5 times numbers of the frame's size.
        const auto tolerance = [rounding](double target, int size) {
            return std::fabs(target - 0.5 * size) * 0x1p-24 / kDistance +
                   (4e5 * kEps + rounding) * size;
        };
        double ox, oy, oz, ow;
        matrix.transform(u, v, 0.0, 1.0, &ox, &oy, &oz, &ow);
        EXPECT_NEAR(ox / ow, x, tolerance(x, width));
        EXPECT_NEAR(oy / ow, y, tolerance(y, height));
    }
};

TEST(CalcMatrix, CornersLandOnTheToPins) {
    const int sizes[][2] = {{1920, 1080}, {1, 1}, {64, 3000}, {333, 77}};
    for (int round = 0; round < 6000; ++round) {
        SCOPED_TRACE("seed and round " + std::to_string(round));
        Random random(static_cast<unsigned>(round));
        const int mode = round % 5, *size = sizes[round / 5 % 4];
        const Quad from = randomConvexQuad(random), to = randomConvexQuad(random);
        Render render{{}, {}, {}, size[0], size[1]};
        render.core.quadMode = mode;
        setPins(render.core.toPins, to);
        setPins(render.core.fromPins, from);
        // Turning a picture in depth means nothing once a quad map has taken it out of its plane.
        if (mode != 0) render.core.rotateX = render.core.rotateY = render.core.translateZ = 0.1;
        ASSERT_EQ(render.build(), 0);
        const Quad& start = mode == 3 || mode == 4 ? from : kUnitSquare;
        const Quad& end = mode == 2 || mode == 3 ? to : kUnitSquare;
        for (int i = 0; i < 8; i += 2) {
            EXPECT_EQ(render.settings.toQuad[i], end[i]);
            EXPECT_EQ(render.settings.fromQuad[i + 1], start[i + 1]);
            render.expectAt(start[i], start[i + 1], end[i] * size[0], end[i + 1] * size[1]);
        }
    }
}

TEST(CalcMatrix, PinsAreTakenOrRefused) {
    const double nan = std::nan("");
    const struct {
        const char* name;
        Quad pins;
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
        for (const int mode : {2, 3, 4}) {
            SCOPED_TRACE(std::string(shape.name) + ", mode " + std::to_string(mode));
            Render render{{}, {}, {}, 100, 50};
            render.core.quadMode = mode;
            render.matrix.m[5] = render.settings.fromQuad[0] = 42.0;
            setPins(mode == 4 ? render.core.fromPins : render.core.toPins, shape.pins);
            EXPECT_EQ(render.build(), shape.result);
            EXPECT_EQ(render.matrix.m[5] == 42.0, shape.result == 1);
            if (mode == 3) {  // refused To pins leave the From pins unread
                EXPECT_EQ(render.settings.fromQuad[0], shape.result == 1 ? 42.0 : 0.0);
            }
            // The same pins are of no interest to a mode that doesn't use them.
            render.core.quadMode = mode == 4 ? 2 : 4;
            EXPECT_EQ(render.build(), 0);
        }
    }
}

// Turning by any angle keeps lengths and angles in pixels, about the centre, whatever the frame.
// Mode 3 comes from the From quad first, mode 4 doesn't reposition.
TEST(CalcMatrix, RepositionKeepsRightAngles) {
    const Quad from = {0.1, 0.2, 0.9, 0.1, 0.2, 0.9, 1.0, 0.8};
    const int width = 400, height = 100;
    for (int i = 0; i < 9; ++i) {
        const int mode = 2 + i / 3;
        const double angle = std::array{90.0, 33.0, -120.0}[i % 3];
        SCOPED_TRACE("mode " + std::to_string(mode) + ", angle " + std::to_string(angle));
        Render render{{}, {}, {}, width, height};
        render.core.quadMode = mode;
        setPins(render.core.fromPins, mode == 3 ? from : kUnitSquare);
        render.settings.reposition = true;
        render.settings.repositionRotate = angle;
        render.settings.repositionTranslateX = 25;  // percent of the width
        ASSERT_EQ(render.build(), 0);
        const double turn = mode == 4 ? 0.0 : angle * kRadPerDeg;
        const double offset = mode == 4 ? 0.0 : 0.25 * width;
        const Matrix3 start =
            product(inverse(axesToQuad(kUnitSquare)), axesToQuad(mode == 3 ? from : kUnitSquare));
        for (const Point d : {Point{30, 0}, Point{0, 30}, Point{-7, 41}}) {
            const Vector3 at = apply({0.5 + d.x / width, 0.5 + d.y / height, 1}, start);
            const double x = std::cos(turn) * d.x - std::sin(turn) * d.y + offset + width / 2;
            const double y = std::sin(turn) * d.x + std::cos(turn) * d.y + height / 2;
            render.expectAt(at[0] / at[2], at[1] / at[2], x, y);
        }
    }
}

// A point moved by hand; `steps` and `axes` in the order of the calls: it meets them from the back.
Vector3 walk(const CoreRenderArguments& core, std::string steps, std::string axes, Vector3 p,
             double aspect) {
    const Vector3 pivot = {core.centerX - 0.5, core.centerY - 0.5, core.centerZ};
    const Vector3 move = {core.translateX, core.translateY, core.translateZ};
    const double scale[3] = {core.scaleAll * core.scaleX, core.scaleAll * core.scaleY, core.scaleZ};
    const double degrees[3] = {core.rotateX, core.rotateY, core.rotateZ};
    std::reverse(steps.begin(), steps.end());
    std::reverse(axes.begin(), axes.end());
    for (const char step : steps) {
        for (int i = 0; i < 3; ++i) p[i] += step == 't' ? move[i] : pivot[i];
        if (step == 't') continue;
        for (int i = 0; i < 3; ++i) p[i] *= step == 's' ? scale[i] : 1;
        p[0] *= aspect;
        for (const char axis : step == 'r' ? axes : "") {
            const int a = axis - 'x', b = (a + 1) % 3, c = (a + 2) % 3;
            const double sine = std::sin(degrees[a] * kRadPerDeg);
            const double cosine = std::cos(degrees[a] * kRadPerDeg), pb = p[b];
            p[b] = cosine * pb - sine * p[c];
            p[c] = sine * pb + cosine * p[c];
        }
        p[0] /= aspect;
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
        Render render{{}, {}, {}, width, height};
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
        ASSERT_EQ(render.build(), 0);
        const double u = random.uniform(0, 1), v = random.uniform(0, 1);
        const Vector3 p = walk(core, steps[core.transformOrder], axes[core.rotationOrder],
                               {u - 0.5, v - 0.5, 0}, 2);
        // Pinhole view: depth d fills the frame.
        const double depth = kDistance - p[2];
        ASSERT_GT(depth, 0.2);
        // Single precision view distance as above. About 100 roundings of numbers below 10, divided
        // by the depth, squared where the depth's own error meets x / depth^2.
        const double rounding = 100 * 10 * kEps * 10 / (depth * depth);
        render.expectAt(u, v, width * (0.5 + p[0] * kDistance / depth),
                        height * (0.5 + p[1] * kDistance / depth), rounding);
    }
}

TEST(CalcMatrix, CameraReplacesTheFrustum) {
    Render render{{}, {}, {}, 640, 480};
    render.core.useCamera = true;
    Random random(4);
    for (double& e : render.core.cameraMatrix) e = random.uniform(-1, 1);
    ASSERT_EQ(render.build(), 0);
    const double* camera = render.core.cameraMatrix;
    for (int c = 0; c < 4; ++c) {
        for (int r = 0; r < 3; ++r) EXPECT_EQ(render.matrix.m[4 * r + c], camera[4 * r + c]);
        EXPECT_NEAR(render.matrix.m[12 + c], camera[12 + c] - 0.5 * (camera[c] + camera[4 + c]),
                    4 * 2 * kEps);
    }
}

}  // namespace
