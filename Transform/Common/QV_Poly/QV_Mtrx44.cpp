// Row operations of the 4x4 matrix. An elementary operation needs no full product: multiplying on
// the left mixes whole rows, the projective column included.
#include "Transform/Common/QV_Poly/QV_Mtrx44.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "Transform/Common/QV_Poly/QV_Assert.h"

namespace {

constexpr double kRadPerDeg = 0.017453292519943295;      // pi / 180
constexpr double kHalfRadPerDeg = 0.008726646259971648;  // pi / 360: halves a field of view

struct SinCos {
    double s, c;
};

SinCos sinCosDeg(double degrees) {
    double const radians = degrees * kRadPerDeg;
    return {std::sin(radians), std::cos(radians)};
}

void scaleRow(double* row, double factor) {
    for (int c = 0; c < 4; ++c) row[c] *= factor;
}

// (a, b) := (c a + s b, c b - s a), element by element.
void turnRows(double* a, double* b, SinCos t) {
    for (int i = 0; i < 4; ++i) {
        double const oldA = a[i];
        a[i] = t.c * oldA + t.s * b[i];
        b[i] = t.c * b[i] - t.s * oldA;
    }
}

}  // namespace

void QV_Mtrx44::unify() {
    for (int i = 0; i < 16; ++i) m[i] = i % 5 == 0 ? 1.0 : 0.0;
}

void QV_Mtrx44::multLeft(QV_Mtrx44 const& b) {
    double product[16];
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            product[4 * r + c] = b.m[4 * r] * m[c] + b.m[4 * r + 1] * m[4 + c] +
                                 b.m[4 * r + 2] * m[8 + c] + b.m[4 * r + 3] * m[12 + c];
        }
    }
    std::memcpy(m, product, sizeof m);
}

void QV_Mtrx44::translate(double x, double y, double z) {
    for (int c = 0; c < 4; ++c) m[12 + c] += x * m[c] + y * m[4 + c] + z * m[8 + c];
}

void QV_Mtrx44::scale(double x, double y, double z) {
    scaleRow(m, x);
    scaleRow(m + 4, y);
    scaleRow(m + 8, z);
}

void QV_Mtrx44::rotX(double degrees) { turnRows(m + 4, m + 8, sinCosDeg(degrees)); }

void QV_Mtrx44::rotY(double degrees) { turnRows(m + 8, m, sinCosDeg(degrees)); }

void QV_Mtrx44::rotZ(double degrees) { turnRows(m, m + 4, sinCosDeg(degrees)); }

void QV_Mtrx44::transform(double x, double y, double z, double w, double* ox, double* oy,
                          double* oz, double* ow) const {
    *ox = m[0] * x + m[4] * y + m[8] * z + m[12] * w;
    *oy = m[1] * x + m[5] * y + m[9] * z + m[13] * w;
    *oz = m[2] * x + m[6] * y + m[10] * z + m[14] * w;
    *ow = m[3] * x + m[7] * y + m[11] * z + m[15] * w;
}

void QV_Mtrx44::perspective(double fovy, double aspect, double zNear, double zFar) {
    QV_ASSERT(zNear != 0.0, "zNear != 0.0");
    QV_ASSERT((zFar - zNear) != 0.0, "(zFar - zNear) != 0.0");
    double const t = std::tan(fovy * kHalfRadPerDeg);
    double const p = 1.0 / (t * zNear);
    double const q = aspect * p;
    double const r = -1.0 / zNear;
    double const u = -zFar / (zFar - zNear);
    double const v = -r * u;
    scaleRow(m, p);
    scaleRow(m + 4, q);
    for (int c = 0; c < 4; ++c) {
        double const row2 = m[8 + c];
        m[8 + c] = r * m[12 + c] + v * row2;
        m[12 + c] = u * row2;
    }
}

void QV_Mtrx44::perspectiveInverse(double fovy, double aspect, double zNear, double zFar) {
    QV_ASSERT(zNear != 0.0, "zNear != 0.0");
    QV_ASSERT((zFar - zNear) != 0.0, "(zFar - zNear) != 0.0");
    double const t = static_cast<double>(std::tan(static_cast<float>(fovy * kHalfRadPerDeg)));
    double const p = t * zNear;
    double const q = p / aspect;
    double const u = (zNear - zFar) / zFar;
    scaleRow(m, p);
    scaleRow(m + 4, q);
    for (int c = 0; c < 4; ++c) {
        double const row2 = m[8 + c];
        m[8 + c] = u * m[12 + c];
        m[12 + c] -= zNear * row2;
    }
}

// N = (a d 0 g | b e 0 h | 0 0 1 0 | x0 y0 0 1): (x, y) goes to
// ((a x + b y + x0) / (g x + h y + 1), (d x + e y + y0) / (g x + h y + 1)). g and h follow from
// corner 3, the rest from corners 0, 1 and 2.
int QV_Mtrx44::square2Quad(double const* quad) {
    double const x0 = quad[0], y0 = quad[1], x1 = quad[2], y1 = quad[3];
    double const x2 = quad[4], y2 = quad[5], x3 = quad[6], y3 = quad[7];
    double const dx1 = x1 - x3, dx2 = x2 - x3, sx = x0 - x1 + x3 - x2;
    double const dy1 = y1 - y3, dy2 = y2 - y3, sy = y0 - y1 + y3 - y2;
    double const den = dx1 * dy2 - dx2 * dy1;
    double const inv = den == 0.0 ? 0.0 : 1.0 / den;
    double const g = (sx * dy2 - dx2 * sy) * inv;
    double const h = (dx1 * sy - sx * dy1) * inv;
    double const a = x1 - x0 + g * x1, b = x2 - x0 + h * x2;
    double const d = y1 - y0 + g * y1, e = y2 - y0 + h * y2;
    double const rows[16] = {a, d, 0, g, b, e, 0, h, 0, 0, 1, 0, x0, y0, 0, 1};
    QV_Mtrx44 n;
    std::memcpy(n.m, rows, sizeof n.m);
    multLeft(n);
    return 1;
}

QV_Mtrx44 QV_Mtrx44::square2QuadInverse(bool overwrite) {
    QV_Mtrx44 out;
    out.m[0] = m[5] * m[15] - m[7] * m[13];
    out.m[1] = m[3] * m[13] - m[1] * m[15];
    out.m[3] = m[1] * m[7] - m[3] * m[5];
    out.m[4] = m[7] * m[12] - m[4] * m[15];
    out.m[5] = m[0] * m[15] - m[3] * m[12];
    out.m[7] = m[3] * m[4] - m[0] * m[7];
    out.m[12] = m[4] * m[13] - m[5] * m[12];
    out.m[13] = m[1] * m[12] - m[0] * m[13];
    out.m[15] = m[0] * m[5] - m[1] * m[4];
    out.m[10] = 0.0;
    if (overwrite) *this = out;
    return out;
}

int QV_Mtrx44::quad2Square(double const* quad) {
    QV_Mtrx44 u;
    u.square2Quad(quad);
    u.square2QuadInverse(true);
    multLeft(u);
    return 1;
}

int QV_Mtrx44::quad2Quad(double const* fromQuad, double const* toQuad, bool useInput,
                         double offsetX, double offsetY, double scaleX, double scaleY,
                         double rotation, double centerX, double centerY, double centerZ,
                         double aspect) {
    QV_Mtrx44 t;
    t.square2Quad(toQuad);
    if (useInput) {
        QV_Mtrx44 input;
        input.inputTransform(offsetX, offsetY, scaleX, scaleY, rotation, centerX, centerY, centerZ,
                             aspect);
        t.multLeft(input);
    }
    t.quad2Square(fromQuad);
    multLeft(t);
    return 1;
}

void QV_Mtrx44::inputTransform(double offsetX, double offsetY, double scaleX, double scaleY,
                               double rotation, double /*centerX*/, double /*centerY*/,
                               double /*centerZ*/, double aspect) {
    translate(0.5, 0.5, 0.0);
    translate(offsetX * 0.01, offsetY * 0.01, 0.0);
    scale(1.0 / aspect, 1.0, 1.0);
    rotZ(rotation);
    scale(aspect, 1.0, 1.0);
    scale(scaleX, scaleY, 1.0);
    translate(-0.5, -0.5, 0.0);
}

void QV_Mtrx44::print() const {
    std::printf("Matrix = \n");
    for (int r = 0; r < 4; ++r) {
        std::printf("\t%f %f %f %f \n", m[4 * r], m[4 * r + 1], m[4 * r + 2], m[4 * r + 3]);
    }
}
