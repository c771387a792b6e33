// The matrix of a render: which pins are refused, and where a point lands that is moved step by
// step without any matrix, for every mode and every order of the 3-D steps.
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/plane.h"

namespace {

using namespace zelk;

constexpr double kDistance = 1.3737387657165527;
constexpr double kRadPerDeg = 0.017453292519943295;

TEST(CalcMatrix, PinsAreTakenOrRefused) {
    double const nan = std::nan("");
    const std::tuple<char const*, Quad, int> shapes[] = {
        {"square", {0, 0, 1, 0, 0, 1, 1, 1}, 0},
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
    for (auto const& [name, pins, result] : shapes) {
        for (int const mode : {2, 3, 4}) {
            SCOPED_TRACE(std::string(name) + ", mode " + std::to_string(mode));
            QV_Mtrx44 matrix;
            CoreRenderArguments core;
            RenderSettings settings;
            core.quadMode = mode;
            matrix.m[5] = settings.fromQuad[0] = 42.0;
            setPins(mode == 4 ? core.fromPins : core.toPins, pins);
            EXPECT_EQ(calcMatrix(matrix, core, settings, 100, 50), result);
            EXPECT_EQ(matrix.m[5] == 42.0, result == 1);
            if (mode == 3) {  // refused To pins leave the From pins unread
                EXPECT_EQ(settings.fromQuad[0], result == 1 ? 42.0 : 0.0);
            }
        }
    }
}

Matrix3 squareToQuad(Quad const& quad) {
    return product(inverse(axesToQuad(kUnitSquare)), axesToQuad(quad));
}

/// Of the unit square, about its centre; lengths and angles are those of a picture of this aspect.
Vector3 repositioned(RenderSettings const& s, double u, double v, double aspect) {
    double const turn = s.repositionRotate * kRadPerDeg;
    double const x = (u - 0.5) * s.repositionScaleX * aspect, y = (v - 0.5) * s.repositionScaleY;
    return {(std::cos(turn) * x - std::sin(turn) * y) / aspect + s.repositionTranslateX / 100 + 0.5,
            std::sin(turn) * x + std::cos(turn) * y + s.repositionTranslateY / 100 + 0.5, 1};
}

/// A point moved by hand; `steps` and `axes` in the order of the calls: it meets them from the
/// back.
Vector3 walk(CoreRenderArguments const& core, std::string steps, std::string axes, Vector3 p,
             double aspect) {
    const Vector3 pivot = {core.centerX - 0.5, core.centerY - 0.5, core.centerZ};
    const Vector3 move = {core.translateX, core.translateY, core.translateZ};
    double const scale[3] = {core.scaleAll * core.scaleX, core.scaleAll * core.scaleY, core.scaleZ};
    double const degrees[3] = {core.rotateX, core.rotateY, core.rotateZ};
    std::reverse(steps.begin(), steps.end());
    std::reverse(axes.begin(), axes.end());
    for (char const step : steps) {
        for (int i = 0; i < 3; ++i) p[i] += step == 't' ? move[i] : pivot[i];
        if (step == 't') continue;
        for (int i = 0; i < 3; ++i) p[i] *= step == 's' ? scale[i] : 1;
        p[0] *= aspect;
        for (char const axis : step == 'r' ? axes : "") {
            int const a = axis - 'x', b = (a + 1) % 3, c = (a + 2) % 3;
            double const sine = std::sin(degrees[a] * kRadPerDeg);
            double const cosine = std::cos(degrees[a] * kRadPerDeg), pb = p[b];
            p[b] = cosine * pb - sine * p[c];
            p[c] = sine * pb + cosine * p[c];
        }
        p[0] /= aspect;
        for (int i = 0; i < 3; ++i) p[i] -= pivot[i];
    }
    return p;
}

TEST(CalcMatrix, MovesAPointAsAWalkByHandDoes) {
    char const* const steps[6] = {"srt", "str", "rst", "rts", "tsr", "trs"};
    char const* const axes[7] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx", ""};
    // Aspects and their reciprocals are exact in single precision, as are pivots of 1/8.
    int const sizes[][2] = {{1920, 960}, {1, 1}, {64, 512}, {333, 333}};
    int compared = 0;
    for (int round = 0; round < 6000; ++round) {
        SCOPED_TRACE("seed and round " + std::to_string(round));
        Random random(static_cast<unsigned>(round));
        QV_Mtrx44 matrix;
        CoreRenderArguments core;
        RenderSettings settings;
        auto const& [width, height] = sizes[random.integer(0, 3)];
        int const mode = core.quadMode = round % 5;
        bool const hasFrom = mode == 3 || mode == 4, hasTo = mode == 2 || mode == 3;
        const Quad from = randomConvexQuad(random), to = randomConvexQuad(random);
        setPins(core.fromPins, from);
        setPins(core.toPins, to);
        core.transformOrder = random.integer(0, 5);
        core.rotationOrder = random.integer(0, 6);
        settings.reposition = random.flip();
        for (double* scale : {&core.scaleAll, &core.scaleX, &core.scaleY, &core.scaleZ,
                              &settings.repositionScaleX, &settings.repositionScaleY})
            *scale = random.uniform(0.5, 1.2) * (random.flip() ? 1 : -1);
        core.scaleZ = std::fabs(core.scaleZ);
        for (double* move : {&core.translateX, &core.translateY, &core.translateZ})
            *move = random.uniform(-0.1, 0.1);
        for (double* percent : {&settings.repositionTranslateX, &settings.repositionTranslateY})
            *percent = random.uniform(-20, 20);
        for (double* angle : {&core.rotateX, &core.rotateY}) *angle = random.uniform(-20, 20);
        for (double* angle : {&core.rotateZ, &settings.repositionRotate})
            *angle = random.uniform(-180, 180);
        for (double* center : {&core.centerX, &core.centerY}) *center = random.integer(0, 8) / 8.0;
        core.centerZ = random.integer(-1, 1) / 8.0;
        CoreRenderArguments meant = core;
        // Turning a picture in depth means nothing once a quad map has taken it out of its plane.
        if (mode != 0) meant.rotateX = meant.rotateY = meant.translateZ = 0;
        ASSERT_EQ(calcMatrix(matrix, core, settings, width, height), 0);
        for (int i = 0; i < 8; ++i) {
            EXPECT_EQ(settings.toQuad[i], (hasTo ? to : kUnitSquare)[i]);
            EXPECT_EQ(settings.fromQuad[i], (hasFrom ? from : kUnitSquare)[i]);
        }

        // From a point of the unit square between the quads back to the source, and on.
        double const aspect = static_cast<double>(width) / height;
        double const u = random.uniform(0, 1), v = random.uniform(0, 1);
        Vector3 source = {u, v, 1}, target = source;
        if (hasFrom) source = zelk::apply(source, squareToQuad(from));
        if (hasTo && settings.reposition) target = repositioned(settings, u, v, aspect);
        if (hasTo) target = zelk::apply(target, squareToQuad(to));
        const Vector3 p =
            walk(meant, steps[core.transformOrder], axes[core.rotationOrder],
                 {target[0] / target[2] - 0.5, target[1] / target[2] - 0.5, 0}, aspect);
        // Pinhole view: depth d fills the frame.
        double const depth = kDistance - p[2];
        if (target[2] < 0.2 || depth < 0.2) continue;  // near a horizon all is rounding
        ++compared;
        double out[4];
        matrix.transform(source[0] / source[2], source[1] / source[2], 0, 1, &out[0], &out[1],
                         &out[2], &out[3]);
        for (int i = 0; i < 2; ++i) {
            int const size = i == 0 ? width : height;
            double const want = size * (0.5 + p[i] * kDistance / depth);
            // The view distance's rounding, 2^-24, moves a pixel by that share of its distance from
            // the frame's centre. All else is in double: maps and depths divide by no less than
            // 0.06, squared where an error of the divisor meets it, numbers of up to 10.
            EXPECT_NEAR(out[i] / out[3], want,
                        std::fabs(want - 0.5 * size) * 0x1p-24 / kDistance + 1e7 * kEps * size);
        }
    }
    EXPECT_GT(compared, 5000);
}

TEST(CalcMatrix, CameraReplacesTheFrustum) {
    QV_Mtrx44 matrix;
    CoreRenderArguments core;
    RenderSettings settings;
    core.useCamera = true;
    Random random(4);
    for (double& e : core.cameraMatrix) e = random.uniform(-1, 1);
    ASSERT_EQ(calcMatrix(matrix, core, settings, 640, 480), 0);
    double const* camera = core.cameraMatrix;
    for (int i = 0; i < 16; ++i) {  // the origin is the picture's centre
        double const moved = i < 12 ? 0 : 0.5 * (camera[i - 12] + camera[i - 8]);
        EXPECT_NEAR(matrix.m[i], camera[i] - moved, 4 * 2 * kEps);
    }
}

}  // namespace
