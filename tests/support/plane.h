// Plane geometry in its plainest form, for references to test against: convex polygons cut by half
// planes, and projective maps of quads. It shares no formula with the effect's own geometry.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "tests/support/random_quads.h"

namespace zelk {

struct Point {
    double x, y;
};
using Polygon = std::vector<Point>;

/// The part of a convex polygon where f >= 0; f is linear.
template <typename F>
Polygon keep(Polygon const &polygon, F f) {
    Polygon out;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        Point const &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        double const fa = f(a), fb = f(b);
        if (fa >= 0) out.push_back(a);
        if ((fa >= 0) == (fb >= 0)) continue;
        double const t = fa / (fa - fb);
        out.push_back({a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)});
    }
    return out;
}

/// Where a horizontal line enters and leaves a convex polygon; left > right where it misses.
struct Cut {
    double left = 1e30, right = -1e30;
};
inline Cut cutAt(Polygon const &polygon, double y) {
    Cut cut;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        Point const &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        if (std::min(a.y, b.y) > y || std::max(a.y, b.y) < y) continue;
        double const t = a.y == b.y ? 0 : (y - a.y) / (b.y - a.y), x = a.x + t * (b.x - a.x);
        cut.left = std::min({cut.left, x, a.y == b.y ? b.x : x});
        cut.right = std::max({cut.right, x, a.y == b.y ? b.x : x});
    }
    return cut;
}

/// Positive or negative by the polygon's turning.
inline double signedArea(Polygon const &polygon) {
    double twice = 0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        Point const &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
        twice += a.x * b.y - a.y * b.x;
    }
    return 0.5 * twice;
}

/// Of the part of a convex polygon inside x0..x1, y0..y1.
inline double areaInside(Polygon p, double x0, double y0, double x1, double y1) {
    p = keep(p, [=](Point const &a) { return a.x - x0; });
    p = keep(p, [=](Point const &a) { return x1 - a.x; });
    p = keep(p, [=](Point const &a) { return a.y - y0; });
    return std::fabs(signedArea(keep(p, [=](Point const &a) { return y1 - a.y; })));
}

using Matrix3 = std::array<double, 9>;  // row vectors: p' = p M
using Vector3 = std::array<double, 3>;

inline Vector3 apply(Vector3 const &p, Matrix3 const &m) {
    Vector3 out;
    for (std::size_t c = 0; c < 3; ++c) out[c] = p[0] * m[c] + p[1] * m[3 + c] + p[2] * m[6 + c];
    return out;
}

/// First the one map, then the other.
inline Matrix3 product(Matrix3 const &first, Matrix3 const &then) {
    Matrix3 out;
    for (std::size_t r = 0; r < 9; r += 3) {
        const Vector3 row = apply({first[r], first[r + 1], first[r + 2]}, then);
        for (std::size_t c = 0; c < 3; ++c) out[r + c] = row[c];
    }
    return out;
}

/// By cofactors.
inline Matrix3 inverse(Matrix3 const &m) {
    auto const cofactor = [&m](int r, int c) {
        const int r0 = (r + 1) % 3, r1 = (r + 2) % 3, c0 = (c + 1) % 3, c1 = (c + 2) % 3;
        return m[3 * r0 + c0] * m[3 * r1 + c1] - m[3 * r0 + c1] * m[3 * r1 + c0];
    };
    double const det = m[0] * cofactor(0, 0) + m[1] * cofactor(0, 1) + m[2] * cofactor(0, 2);
    Matrix3 out;
    for (int i = 0; i < 9; ++i) out[i] = cofactor(i % 3, i / 3) / det;
    return out;
}

/// The map that sends the three axes to corners 0, 1, 2 and (1, 1, 1) to corner 3: the corners as
/// rows, each times its weight in the sum that makes corner 3.
inline Matrix3 axesToQuad(Quad const &q, double width = 1, double height = 1) {
    Matrix3 rows;
    for (int i = 0; i < 9; ++i)
        rows[i] = i % 3 == 2 ? 1.0 : q[i / 3 * 2 + i % 3] * (i % 3 == 0 ? width : height);
    const Vector3 weights = apply({q[6] * width, q[7] * height, 1.0}, inverse(rows));
    for (int i = 0; i < 9; ++i) rows[i] *= weights[i / 3];
    return rows;
}

}  // namespace zelk
