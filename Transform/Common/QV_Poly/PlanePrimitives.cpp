// The arithmetic of the plane value types. Doubles throughout but for QV_Lerp, whose single
// precision is part of how the engine lays the source picture over its polygon.
#include "Transform/Common/QV_Poly/PlanePrimitives.h"

#include <cmath>
#include <utility>

#include "Transform/Common/QV_Poly/QV_Assert.h"

namespace {

constexpr double kShortestDirection = 1e-6;
constexpr double kHitTolerance = 0.001;  // square units

double triangleArea(double ax, double ay, double bx, double by, double cx, double cy) {
    return 0.5 * std::fabs((bx - ax) * (cy - ay) - (cx - ax) * (by - ay));
}

}  // namespace

void QV_FRect::scale(double sx, double sy) {
    left *= sx;
    right *= sx;
    top *= sy;
    bottom *= sy;
}

QV_Lerp::QV_Lerp(float t0, float r0, float t1, float r1) {
    QV_ASSERT(t1 - t0 != 0.0f, "m_a != 0");
    m_a = (r1 - r0) / (t1 - t0);
    m_b = -m_a * t0 + r0;
}

QV_Line2D::QV_Line2D(double x0, double y0, double x1, double y1, bool isNormalized)
    : x(x0), y(y0), dx(x1 - x0), dy(y1 - y0), m_normalized(isNormalized) {}

QV_Line2D::QV_Line2D(QV_Point2D const& a, QV_Point2D const& b, bool isNormalized)
    : QV_Line2D(a.x, a.y, b.x, b.y, isNormalized) {}

bool QV_Line2D::operator==(QV_Line2D const& other) const {
    return x == other.x && y == other.y && dx == other.dx && dy == other.dy;
}

QV_Line2D QV_Line2D::operator*(QV_Matrix2D const& /*matrix*/) const {
    QV_Line2D copy = *this;
    copy.m_normalized = false;
    return copy;
}

void QV_Line2D::translate(double tx, double ty) {
    x += tx;
    y += ty;
}

QV_Line2D QV_Line2D::translated(double tx, double ty) const {
    return {x + tx, y + ty, x + dx + tx, y + dy + ty, false};
}

QV_Point2D QV_Line2D::point(double t) const { return {x + t * dx, y + t * dy}; }

QV_Point2D QV_Line2D::center() const { return point(0.5); }

double QV_Line2D::distance(double px, double py) const {
    double const a = px - x, b = py - y;
    // The part of (a, b) across the direction, times the squared length of the direction.
    double const acrossX = a * dy * dy - b * dx * dy;
    double const acrossY = b * dx * dx - a * dx * dy;
    return std::hypot(acrossX, acrossY) / (dx * dx + dy * dy);
}

double QV_Line2D::length() const { return std::hypot(dx, dy); }

double QV_Line2D::angle() const { return std::atan2(dy, dx); }

void QV_Line2D::normalize() {
    if (m_normalized) return;
    double const len = length();
    if (len < kShortestDirection) {
        dx = 1.0;
        dy = 0.0;
    } else {
        dx /= len;
        dy /= len;
    }
    m_normalized = true;
}

QV_Line2D QV_Line2D::normalized() const {
    QV_Line2D copy = *this;
    copy.normalize();
    return copy;
}

QV_Line2D QV_Line2D::perpendicular() const { return {x, y, -(y + dy), x + dx, false}; }

QV_Matrix2D::QV_Matrix2D(double a, double b, double c, double d, double e, double f)
    : m{a, b, 0, c, d, 0, e, f, 1} {}

QV_Matrix2D QV_Matrix2D::operator*(QV_Matrix2D const& right) const {
    QV_Matrix2D out;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            out.m[3 * r + c] = m[3 * r] * right.m[c] + m[3 * r + 1] * right.m[3 + c] +
                               m[3 * r + 2] * right.m[6 + c];
        }
    }
    return out;
}

QV_Matrix2D QV_Matrix2D::translate(double tx, double ty) const {
    QV_Matrix2D out = *this;
    out.m[6] += tx;
    out.m[7] += ty;
    return out;
}

QV_Matrix2D QV_Matrix2D::scale(double sx, double sy) const {
    QV_Matrix2D out = *this;
    for (int r = 0; r < 9; r += 3) {
        out.m[r] *= sx;
        out.m[r + 1] *= sy;
    }
    return out;
}

QV_Matrix2D QV_Matrix2D::shearx(double k) const {
    QV_Matrix2D out = *this;
    for (int r = 0; r < 9; r += 3) out.m[r] += k * m[r + 1];
    return out;
}

QV_Matrix2D QV_Matrix2D::sheary(double k) const {
    QV_Matrix2D out = *this;
    for (int r = 0; r < 9; r += 3) out.m[r + 1] += k * m[r];
    return out;
}

QV_Matrix2D QV_Matrix2D::rotate(double angle) const {
    double const s = std::sin(angle), c = std::cos(angle);
    QV_Matrix2D out = *this;
    for (int r = 0; r < 9; r += 3) {
        out.m[r] = c * m[r] + s * m[r + 1];
        out.m[r + 1] = c * m[r + 1] - s * m[r];
    }
    return out;
}

// Gauss-Jordan with partial pivoting: what is done to the rows of `left` to make it the identity is
// done to the rows of `right`, the identity at first.
QV_Matrix2D QV_Matrix2D::inverse() const {
    QV_Matrix2D left = *this, right;
    for (int col = 0; col < 3; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 3; ++r) {
            if (std::fabs(left.m[3 * r + col]) > std::fabs(left.m[3 * pivot + col])) pivot = r;
        }
        double const divisor = left.m[3 * pivot + col];
        if (divisor == 0.0) {
            for (double& element : right.m) element = 0.0;
            return right;
        }
        for (int c = 0; c < 3; ++c) {
            std::swap(left.m[3 * pivot + c], left.m[3 * col + c]);
            std::swap(right.m[3 * pivot + c], right.m[3 * col + c]);
            left.m[3 * col + c] /= divisor;
            right.m[3 * col + c] /= divisor;
        }
        for (int r = 0; r < 3; ++r) {
            if (r == col) continue;
            double const factor = left.m[3 * r + col];
            for (int c = 0; c < 3; ++c) {
                left.m[3 * r + c] -= factor * left.m[3 * col + c];
                right.m[3 * r + c] -= factor * right.m[3 * col + c];
            }
        }
    }
    return right;
}

bool isPointInTriangle(double px, double py, double ax, double ay, double bx, double by, double cx,
                       double cy, double& area) {
    area = triangleArea(ax, ay, bx, by, cx, cy);
    double const parts = triangleArea(px, py, ax, ay, bx, by) +
                         triangleArea(px, py, bx, by, cx, cy) +
                         triangleArea(px, py, cx, cy, ax, ay);
    return std::fabs(parts - area) < kHitTolerance;
}

bool isPointInQuad(double px, double py, double x0, double y0, double x1, double y1, double x2,
                   double y2, double x3, double y3, double& area) {
    double first = 0.0, second = 0.0;
    bool const inFirst = isPointInTriangle(px, py, x0, y0, x1, y1, x2, y2, first);
    bool const inSecond = isPointInTriangle(px, py, x3, y3, x1, y1, x2, y2, second);
    area = first + second;
    return inFirst || inSecond;
}
