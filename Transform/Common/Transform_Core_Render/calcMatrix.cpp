// Assembles the matrix of a render. Each call multiplies on the left, so a source point meets the
// steps from the last call up to the first:
//
//     unit square -> from quad to square -> reposition -> square to To quad -> centred coordinates
//     -> scale, rotate, translate in the asked order -> camera or frustum -> viewport, pixels
//
// The pivot, the aspect and its reciprocal are single precision; everything else is double.
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"

#include <cmath>
#include <cstring>

#include "Transform/Common/ResampleOptions.h"

namespace {

constexpr double kFieldOfViewDeg = 40.0;
constexpr double kNear = 0.009999999776482582;  // 0.01f
constexpr double kFar = 10000.0;
// 1 / (2 tan(20 degrees)), rounded to single precision: at this distance a plane of height 1 fills
// the view.
constexpr double kViewDistance = 1.3737387657165527;

constexpr double kUnitSquare[8] = {0, 0, 1, 0, 0, 1, 1, 1};

struct Pivot {
    float x, y, z;  // from the centre of the picture, unit measure
    float aspect;   // width / height
};

// Pin order to Z order.
void storeQuad(const QV_UnitPoint (&pins)[4], double (&quad)[8]) {
    constexpr int kPinOfCorner[4] = {0, 2, 1, 3};
    for (int corner = 0; corner < 4; ++corner) {
        quad[2 * corner] = pins[kPinOfCorner[corner]].x;
        quad[2 * corner + 1] = pins[kPinOfCorner[corner]].y;
    }
}

// True if the quad (Z order) is convex, turning either way; one straight corner is allowed.
bool isConvex(double const (&quad)[8]) {
    constexpr int kAlongEdge[4] = {0, 1, 3, 2};
    double x[4], y[4];
    for (int i = 0; i < 4; ++i) {
        x[i] = quad[2 * kAlongEdge[i]];
        y[i] = quad[2 * kAlongEdge[i] + 1];
    }
    unsigned turns = 0;
    for (int i = 0; i < 4; ++i) {
        int const j = (i + 1) % 4, k = (i + 2) % 4;
        double const c = (x[j] - x[i]) * (y[k] - y[j]) - (y[j] - y[i]) * (x[k] - x[j]);
        if (c < 0.0) turns |= 1u;
        if (c > 0.0) turns |= 2u;
    }
    return turns == 1u || turns == 2u;
}

// Stores the pins, or the unit square when they aren't in use. False if the pins are unusable.
bool takeQuad(bool used, const QV_UnitPoint (&pins)[4], double (&quad)[8]) {
    if (!used) {
        std::memcpy(quad, kUnitSquare, sizeof quad);
        return true;
    }
    storeQuad(pins, quad);
    return isConvex(quad);
}

void applyView(QV_Mtrx44& matrix, CoreRenderArguments const& core, float w, float h) {
    if (core.useCamera) {
        std::memcpy(matrix.m, core.cameraMatrix, sizeof matrix.m);
        return;
    }
    matrix.scale(static_cast<double>(w) * 0.5, static_cast<double>(h) * 0.5, 1.0);
    matrix.translate(1.0, 1.0, 0.0);
    matrix.perspective(kFieldOfViewDeg, 1.0, kNear, kFar);
    matrix.translate(0.0, 0.0, -kViewDistance);
}

void applyScale(QV_Mtrx44& matrix, CoreRenderArguments const& core, Pivot const& pivot) {
    matrix.translate(-pivot.x, -pivot.y, -pivot.z);
    matrix.scale(core.scaleAll * core.scaleX, core.scaleAll * core.scaleY, core.scaleZ);
    matrix.translate(pivot.x, pivot.y, pivot.z);
}

void applyTranslate(QV_Mtrx44& matrix, CoreRenderArguments const& core, Pivot const& /*pivot*/) {
    matrix.translate(core.translateX, core.translateY, core.translateZ);
}

void turnAxes(QV_Mtrx44& matrix, CoreRenderArguments const& core) {
    constexpr char kAxes[6][4] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};
    if (core.rotationOrder < 0 || core.rotationOrder > 5) return;
    for (int i = 0; i < 3; ++i) {
        switch (kAxes[core.rotationOrder][i]) {
            case 'x':
                matrix.rotX(core.rotateX);
                break;
            case 'y':
                matrix.rotY(core.rotateY);
                break;
            default:
                matrix.rotZ(core.rotateZ);
                break;
        }
    }
}

void applyRotate(QV_Mtrx44& matrix, CoreRenderArguments const& core, Pivot const& pivot) {
    // Without an angle not even the rounding of the aspect pair may enter.
    if (core.rotateX == 0.0 && core.rotateY == 0.0 && core.rotateZ == 0.0) return;
    matrix.translate(-pivot.x, -pivot.y, -pivot.z);
    matrix.scale(1.0f / pivot.aspect, 1.0, 1.0);
    turnAxes(matrix, core);
    matrix.scale(pivot.aspect, 1.0, 1.0);
    matrix.translate(pivot.x, pivot.y, pivot.z);
}

void applySteps(QV_Mtrx44& matrix, CoreRenderArguments const& core, Pivot const& pivot) {
    using Step = void (*)(QV_Mtrx44&, CoreRenderArguments const&, Pivot const&);
    constexpr Step kSteps[6][3] = {
        {applyScale, applyRotate, applyTranslate}, {applyScale, applyTranslate, applyRotate},
        {applyRotate, applyScale, applyTranslate}, {applyRotate, applyTranslate, applyScale},
        {applyTranslate, applyScale, applyRotate}, {applyTranslate, applyRotate, applyScale},
    };
    if (core.transformOrder < 0 || core.transformOrder > 5) return;
    for (Step step : kSteps[core.transformOrder]) step(matrix, core, pivot);
}

float aspectOf(RenderSettings const& settings, float w, float h) {
    float const own = settings.resample ? settings.resample->frameAspect : 0;
    return own > 0 ? own : w / h;
}

void applyQuadMap(QV_Mtrx44& matrix, int quadMode, RenderSettings const& s, Pivot const& pivot) {
    if (quadMode == kQuadUnitToTo) {
        matrix.square2Quad(s.toQuad);
        if (s.reposition) {
            matrix.inputTransform(s.repositionTranslateX, s.repositionTranslateY,
                                  s.repositionScaleX, s.repositionScaleY, s.repositionRotate,
                                  pivot.x, pivot.y, pivot.z, pivot.aspect);
        }
    } else if (quadMode == kQuadFromToTo) {
        matrix.quad2Quad(s.fromQuad, s.toQuad, s.reposition, s.repositionTranslateX,
                         s.repositionTranslateY, s.repositionScaleX, s.repositionScaleY,
                         s.repositionRotate, pivot.x, pivot.y, pivot.z, pivot.aspect);
    } else if (quadMode == kQuadFromToUnit) {
        matrix.quad2Square(s.fromQuad);
    }
}

}  // namespace

int calcMatrix(QV_Mtrx44& matrix, CoreRenderArguments& core, RenderSettings& settings, int width,
               int height) {
    int const mode = core.quadMode;
    if (!takeQuad(mode == kQuadUnitToTo || mode == kQuadFromToTo, core.toPins, settings.toQuad))
        return 1;
    if (!takeQuad(mode == kQuadFromToTo || mode == kQuadFromToUnit, core.fromPins,
                  settings.fromQuad))
        return 1;

    matrix.unify();
    if (mode != 0) {
        // A quad map has taken the picture out of its own plane; turning it in depth means nothing.
        core.translateZ = 0.0;
        core.rotateX = 0.0;
        core.rotateY = 0.0;
    }
    float const w = static_cast<float>(width), h = static_cast<float>(height);
    const Pivot pivot = {static_cast<float>(core.centerX) - 0.5f,
                         static_cast<float>(core.centerY) - 0.5f, static_cast<float>(core.centerZ),
                         aspectOf(settings, w, h)};
    applyView(matrix, core, w, h);
    applySteps(matrix, core, pivot);
    matrix.translate(-0.5, -0.5, 0.0);
    applyQuadMap(matrix, mode, settings, pivot);

    if (core.renderMode == 1 && isFiltered(settings))
        matrix.scale((w - 1.0f) / w, (h - 1.0f) / h, 1.0);
    return 0;
}

void fillView(QV_Mtrx44& matrix, int width, int height) {
    // Twice the tangent of half the field of view, times the distance: 1 but for its rounding.
    double const zoom = 2.0 * std::tan(kFieldOfViewDeg / 360.0 * 3.141592653589793) * kViewDistance;
    double const centre[2] = {0.5 * width, 0.5 * height};
    for (int row = 0; row < 16; row += 4)
        for (int axis = 0; axis < 2; ++axis)
            matrix.m[row + axis] =
                zoom * matrix.m[row + axis] + (1.0 - zoom) * centre[axis] * matrix.m[row + 3];
}
